#pragma once

// A call on another stack. Where the processor is known it is a call as any other, between two moves of the stack
// pointer, and the unwind information says where the caller's frame lies: whatever unwinds the stack passes
// (exceptions, a thread's end or cancellation, backtraces, debuggers), and what the call does to rounding mode,
// exception flags and signal mask stays. No system call.
//
// On other processors the C library switches contexts: exceptions pass, a thread's end does not, and the signal mask is
// the caller's again after the call.

#include <cstddef>

namespace kelm
{

// Calls call(context) on the stack of `size` bytes from `low` on. Both are multiples of 16.
void CallOnStack(void (*call)(void*), void* context, void* low, std::size_t size);

} // namespace kelm
