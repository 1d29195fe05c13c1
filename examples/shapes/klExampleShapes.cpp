// A loadable module: a shared library that brings described types into a host. The host loads it and calls its
// Register_Project function, which is found by its name, that of the library:
//
//     kelmscript --module build/release/lib/libklExampleShapes.so print examples/data/garden.kds
//
// A module registers what it stands on, then its own target, which is its identity, and its types under that.

#include "Garden.h"
#include "People.h"

#include <klObject/describe/Describe.h>
#include <klPersistStore/Target.h>
#include <klPersistStore/klPersistStore.h>

namespace
{

constexpr kelm::dsTargetRelease0 s_releases[] = {{"Release 1.0", {2024, 3, 20}}, {"Release 1.1", {2025, 3, 20}}};
constexpr kelm::dsTarget s_target = {"Kelm/Examples/klExampleShapes", 0, nullptr, 2, s_releases};

void RegisterPeople(kelm::XTarget* target)
{
    using namespace people;
    kelm::RegisterTypes<Role, Address, Contact, Person, Club>(target);
}

void RegisterGarden(kelm::XTarget* target)
{
    using namespace garden;
    kelm::RegisterTypes<Season, Level, Metres, Point, Colour, Material, Plant, Circle, Rectangle, Outline, Shape, Pond,
                        Layer, Plan>(target);
}

} // namespace

extern "C" __attribute__((visibility("default"))) void Register_Project_klExampleShapes()
{
    static bool s_called = false;
    if (s_called)
        return;
    s_called = true;
    Register_Project_klPersistStore();
    kelm::XTarget* const target = kelm::RegisterTarget(s_target);
    RegisterPeople(target);
    RegisterGarden(target);
}
