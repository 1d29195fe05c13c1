#pragma once

// What leaks on purpose, where leaks are looked for.

#include "Depth.h"

#ifdef KELM_TEST_ASAN
#include <sanitizer/lsan_interface.h>
#endif

namespace kelm
{

// While it exists, memory that is allocated may leak: the last key of a map and the alternatives that variants held
// before are not destroyed.
class ExpectedLeaks
{
public:
#ifdef KELM_TEST_ASAN
    ExpectedLeaks()
    {
        __lsan_disable();
    }
    ~ExpectedLeaks()
    {
        __lsan_enable();
    }
#else
    ExpectedLeaks() {}
#endif
    ExpectedLeaks(const ExpectedLeaks&) = delete;
    ExpectedLeaks& operator=(const ExpectedLeaks&) = delete;
};

} // namespace kelm
