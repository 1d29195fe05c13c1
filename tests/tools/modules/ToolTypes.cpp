#include "ToolTypes.h"

#include <klPersistStore/Target.h>

namespace
{

constexpr kelm::dsTargetRelease0 s_releases[] = {{"first", {2021, 1, 1}}, {"second", {2022, 1, 1}}};
constexpr kelm::dsTarget s_target = {"Tests/ToolTypes", 0, nullptr, 2, s_releases};

} // namespace

extern "C" __attribute__((visibility("default"))) void Register_Project_klToolTypes()
{
    static bool s_called = false;
    if (s_called)
        return;
    s_called = true;
    kelm::RegisterTypes<tool::Colour, tool::Point, tool::Extent, tool::Note, tool::Scene, tool::Sealed, tool::Frame,
                        tool::Faulty>(kelm::RegisterTarget(s_target));
}
