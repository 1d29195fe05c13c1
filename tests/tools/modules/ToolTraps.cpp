// Classes of which the second object, and every other one behind it, does what no class should; the first is the one by
// which the tool sees what new objects hold. And one of which the first does, where the environment asks for that.

#include <klObject/describe/Describe.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include <unistd.h>

namespace
{

std::string GetTrap()
{
    const char* const trap = std::getenv("KELM_TRAP");
    return trap != nullptr ? trap : "";
}

void HangIf(bool condition)
{
    for (volatile bool goesOn = condition; goesOn;)
    {
    }
}

} // namespace

namespace trap
{

struct Born
{
    Born()
    {
        if (GetTrap() == "crash at birth")
            std::raise(SIGABRT);
        HangIf(GetTrap() == "hang at birth");
    }
    kelm::int32 x = 1;
};

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

struct Box
{
    kelm::xvector<Crash> crashes;
};

struct Hang
{
    Hang()
    {
        static int s_count = 0;
        HangIf(++s_count > 1);
    }
    kelm::int32 x = 0;
};

struct Wait
{
    Wait()
    {
        static int s_count = 0;
        if (++s_count > 1)
            pause();
    }
    kelm::int32 x = 0;
};

struct Good
{
    kelm::int32 x = 0;
};

} // namespace trap

KELM_CLASS(trap::Born, KELM_MODEL(x))
KELM_CLASS(trap::Crash, KELM_MODEL(x))
KELM_CLASS(trap::Box, KELM_MODEL(crashes))
KELM_CLASS(trap::Hang, KELM_MODEL(x))
KELM_CLASS(trap::Wait, KELM_MODEL(x))
KELM_CLASS(trap::Good, KELM_MODEL(x))

// Crashes, hangs and speaks at once where the environment says so.
extern "C" __attribute__((visibility("default"))) void Register_Project_klToolTraps()
{
    if (GetTrap() == "crash")
        std::raise(SIGABRT);
    HangIf(GetTrap() == "hang");
    if (GetTrap() == "speak")
        std::puts("Content-Length: 2\r\n\r\n[]");
    static bool s_called = false;
    if (s_called)
        return;
    s_called = true;
    if (GetTrap() == "speak without end")
        std::thread(
            []
            {
                while (true)
                    std::fputs("and so on\n", stderr);
            })
            .detach();
    kelm::RegisterTypes<trap::Born, trap::Crash, trap::Box, trap::Hang, trap::Wait, trap::Good>(nullptr);
}
