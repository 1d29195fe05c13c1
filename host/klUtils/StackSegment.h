#pragma once

// Recursion without a limit but memory. A function that recurses with its input asks, at one place that every cycle
// of its recursion passes, whether the thread's stack runs low, and goes on in a fresh stack segment when it does:
//
//     void Parse(...)
//     {
//         if (IsStackLow())
//             return CallOnFreshSegment([&] { Parse(...); });
//         ...
//     }
//
// A segment belongs to the one call that runs on it. After it the segment is returned to the system, but for one that
// each thread keeps for its next call. Exceptions leave the call as usual. On a stack that is not the thread's own and
// not one of these segments (a host's coroutine), nothing is known and nothing is switched. Throws std::bad_alloc where
// no segment can be had.

#include <klUtils/api.h>

#include <cstdint>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace kelm
{

// The lowest address that ordinary recursion may reach on the running thread; the highest address while it is not yet
// known. Read through IsStackLow alone.
extern constinit thread_local std::uintptr_t t_stackLimit KLUTILS_API __attribute__((tls_model("initial-exec")));

// The slow half of IsStackLow: learns the thread's bounds, and decides exactly.
KLUTILS_API bool IsStackLowHere(std::uintptr_t frame);

// Runs call(context) on a fresh segment, and returns or throws what it does.
KLUTILS_API void RunOnFreshSegment(void (*call)(void*), void* context);

// One comparison when there is room.
inline bool IsStackLow()
{
    const auto frame = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return __builtin_expect(frame < t_stackLimit, 0) && IsStackLowHere(frame);
}

template <class F>
void CallOnFreshSegment(F&& f)
{
    using Function = std::remove_reference_t<F>;
    RunOnFreshSegment([](void* context) { (*static_cast<Function*>(context))(); },
                      const_cast<void*>(static_cast<const void*>(std::addressof(f))));
}

// For destructors: runs f, which throws nothing, on a fresh segment where the stack is low and a segment can be had,
// and in place otherwise.
template <class F>
void CallWithEnoughStack(F&& f) noexcept
{
    static_assert(noexcept(f()));
    if (IsStackLow())
    {
        try
        {
            return CallOnFreshSegment(f);
        }
        catch (const std::bad_alloc&)
        {
            // No segment: what is left of this stack has to do.
        }
    }
    f();
}

} // namespace kelm
