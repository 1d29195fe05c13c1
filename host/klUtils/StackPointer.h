#pragma once

// Where the running stack is. One instruction where the processor is known; elsewhere the frame of the caller, which
// lies a little above.

#include <cstdint>

namespace kelm
{

[[gnu::always_inline]] inline std::uintptr_t StackPointer()
{
#if defined(__x86_64__)
    std::uintptr_t pointer;
    asm("mov %%rsp, %0" : "=r"(pointer));
    return pointer;
#elif defined(__aarch64__)
    std::uintptr_t pointer;
    asm("mov %0, sp" : "=r"(pointer));
    return pointer;
#else
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
#endif
}

} // namespace kelm
