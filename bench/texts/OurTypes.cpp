// A module for the command line tool: the classes of the texts.

#include "OurClasses.h"

extern "C" __attribute__((visibility("default"))) void Register_Project_kelmBenchTypes()
{
    static const bool isRegistered = []
    {
        ours::RegisterOurClasses();
        return true;
    }();
    static_cast<void>(isRegistered);
}
