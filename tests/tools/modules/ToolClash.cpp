// A module whose registration fails: another one has its name.

#include <klObject/describe/Describe.h>

namespace tool
{

struct Scene
{
    int size = 0;
};

} // namespace tool

KELM_CLASS(tool::Scene, KELM_MODEL(size))

extern "C" __attribute__((visibility("default"))) void Register_Project_klToolClash()
{
    kelm::RegisterTypes<tool::Scene>(nullptr);
}
