#pragma once

// While one lives, the system gives the process no further memory. Not for the main thread, whose stack grows; what
// has been released may be had again, so what is to fail asks for much. Sanitizers and emulators want memory of their
// own: where there can be none, the test is passed over.

#include <support/Depth.h>
#include <support/Emulation.h>

#include <sys/resource.h>

namespace kelm
{

class NoMoreMemory
{
public:
    static bool CanBe()
    {
#if defined(KELM_TEST_ASAN) || defined(KELM_TEST_TSAN)
        return false;
#else
        return !IsEmulated();
#endif
    }

    NoMoreMemory()
    {
        getrlimit(RLIMIT_AS, &m_before);
        rlimit none = m_before;
        none.rlim_cur = 1;
        setrlimit(RLIMIT_AS, &none);
    }
    ~NoMoreMemory()
    {
        setrlimit(RLIMIT_AS, &m_before);
    }
    NoMoreMemory(const NoMoreMemory&) = delete;
    NoMoreMemory& operator=(const NoMoreMemory&) = delete;

private:
    rlimit m_before{};
};

} // namespace kelm
