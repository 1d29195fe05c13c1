// Classes of which the second object, and every other one behind it, does what no class should. The first is the one by
// which the tool sees what new objects hold.

#include <klObject/describe/Describe.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace trap
{

struct Crash
{
    Crash()
    {
        static int s_count = 0;
        if (++s_count > 1)
            std::raise(SIGABRT);
    }
    kelm::int32 x = 0;
};

struct Hang
{
    Hang()
    {
        static int s_count = 0;
        for (volatile bool goesOn = ++s_count > 1; goesOn;)
        {
        }
    }
    kelm::int32 x = 0;
};

struct Good
{
    kelm::int32 x = 0;
};

} // namespace trap

KELM_CLASS(trap::Crash, KELM_MODEL(x))
KELM_CLASS(trap::Hang, KELM_MODEL(x))
KELM_CLASS(trap::Good, KELM_MODEL(x))

// Crashes, hangs and speaks at once where the environment says so.
extern "C" __attribute__((visibility("default"))) void Register_Project_klToolTraps()
{
    const char* const trap = std::getenv("KELM_TRAP");
    const std::string what = trap != nullptr ? trap : "";
    if (what == "crash")
        std::raise(SIGABRT);
    for (volatile bool goesOn = what == "hang"; goesOn;)
    {
    }
    if (what == "speak")
        std::puts("Content-Length: 2\r\n\r\n[]");
    static bool s_called = false;
    if (s_called)
        return;
    s_called = true;
    kelm::RegisterTypes<trap::Crash, trap::Hang, trap::Good>(nullptr);
}
