// A module that registers a class, for the tests that close it.

#include <klObject/describe/Describe.h>

namespace ofModule
{

struct Thing
{
    kelm::int32 m_number = 3;
};

} // namespace ofModule

KELM_CLASS(ofModule::Thing, KELM_MODEL(m_number))

extern "C"
{
    __attribute__((visibility("default"))) extern int s_stateOfModule;
    int s_stateOfModule = 0;

    __attribute__((visibility("default"))) void RegisterOfModule();
    void RegisterOfModule()
    {
        kelm::RegisterTypes<ofModule::Thing>(nullptr);
        ++s_stateOfModule;
    }
}
