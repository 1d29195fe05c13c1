#pragma once

// While an OutOfMemory lives, no memory can be had on its thread, but for the first few allocations where it says so.
// For programs that are built with OutOfMemory.cpp.

namespace kelm
{

class OutOfMemory
{
public:
    explicit OutOfMemory(long allocationsLeft = 0);
    ~OutOfMemory();
    OutOfMemory(const OutOfMemory&) = delete;
    OutOfMemory& operator=(const OutOfMemory&) = delete;
};

} // namespace kelm
