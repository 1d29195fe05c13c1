#pragma once

// While an OutOfMemory lives, no memory can be had on its thread, but for the first few allocations where it says so,
// and those behind the one that failed where it fails once. For programs that are built with OutOfMemory.cpp.

namespace kelm
{

class OutOfMemory
{
public:
    explicit OutOfMemory(long allocationsLeft = 0, bool failsOnce = false);
    ~OutOfMemory();
    OutOfMemory(const OutOfMemory&) = delete;
    OutOfMemory& operator=(const OutOfMemory&) = delete;

    static bool HasFailed(); // the present or last one on this thread
};

} // namespace kelm
