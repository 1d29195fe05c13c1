#pragma once

#include <ctime>

namespace kelm::bench
{

// This thread's processor time, which other programs on the machine do not add to. Asking for it takes a system call.
inline double GetThreadNanoseconds()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return 1e9 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec);
}

} // namespace kelm::bench
