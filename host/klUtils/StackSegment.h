#pragma once

// Recursion without a limit but memory. A function that recurses with its input asks, at one place that every cycle
// of its recursion passes, whether the running stack is low, and goes on in a fresh stack segment when it is:
//
//     Result Parse(...)
//     {
//         if (IsStackLow())
//             return CallOnFreshSegment([&] { return Parse(...); });
//         ...
//     }
//
// Behind the check there is always the reserve (SetStackReserve): that much is there for what runs until the next one.
// A stack smaller than twice the reserve is low from its first frame on, and so is one that nothing is known of: a
// host's coroutine, unless the host says where it lies (OnStack).
//
// A segment belongs to the one call that runs on it; then it is returned to the system, but for one that each thread
// keeps for its next call. Segments double in size, from 1 to 16 MiB, with at least 64 KiB below that may not be
// touched. Exceptions, a thread's end or cancellation, backtraces and debuggers pass through; what the call does to
// rounding mode, exception flags and signal mask stays. Throws std::bad_alloc where no segment can be had.
//
// All of this works at any time on any thread, while a thread or the program ends as well.

#include <klUtils/StackPointer.h>
#include <klUtils/api.h>

#include <cstddef>
#include <cstdint>
#include <new>
#include <optional>
#include <type_traits>
#include <utility>

namespace kelm
{

// What of a stack ordinary recursion may use, and where the whole of it begins. All 0: an unknown one.
struct StackInUse
{
    std::uintptr_t m_limit = 0;
    std::uintptr_t m_room = 0; // from the limit to the stack's end; 0 where all of it is low
    std::uintptr_t m_low = 0;

    std::uintptr_t High() const { return m_limit + m_room; }
    bool Contains(std::uintptr_t address) const { return m_low <= address && address < High(); }
    bool HasRoomAt(std::uintptr_t address) const { return address - m_limit < m_room; }
};

// The last stack that the thread is known to have been on. Used through IsStackLow alone.
extern constinit thread_local StackInUse t_stackInUse KLUTILS_API __attribute__((tls_model("initial-exec")));

// The slow half of IsStackLow: learns which stack it is, and decides exactly.
KLUTILS_API bool IsStackLowHere(std::uintptr_t stackPointer);

// Runs call(context) on a fresh segment, and returns or throws what it does.
KLUTILS_API void RunOnFreshSegment(void (*call)(void*), void* context);

// One comparison, and no call: whether IsStackLow has to be asked. What lies outside the stack, on either side, has no
// room.
inline bool MayStackBeLow()
{
    return __builtin_expect(!t_stackInUse.HasRoomAt(StackPointer()), 0);
}

// One comparison as well, when there is room.
inline bool IsStackLow()
{
    const std::uintptr_t stackPointer = StackPointer();
    return __builtin_expect(!t_stackInUse.HasRoomAt(stackPointer), 0) && IsStackLowHere(stackPointer);
}

// Calls f there, and returns what it does: nothing, a value or a reference.
template <class F>
std::invoke_result_t<F&> CallOnFreshSegment(F&& f)
{
    using Result = std::invoke_result_t<F&>;
    using Function = std::remove_reference_t<F>;
    if constexpr (std::is_void_v<Result>)
        RunOnFreshSegment([](void* context) { (*static_cast<Function*>(context))(); },
                          const_cast<void*>(static_cast<const void*>(&f)));
    else if constexpr (std::is_reference_v<Result>)
        return *CallOnFreshSegment([&f] { return &f(); });
    else
    {
        std::optional<Result> result;
        CallOnFreshSegment([&f, &result] { result.emplace(f()); });
        return *std::move(result);
    }
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

// Says, while it lives, that the thread runs on the stack of `size` bytes from `low` on. For a coroutine's stack: in
// the coroutine, or better around each switch into it, which serves one that moves between threads as well. Without it
// the stack is taken for an unknown one, which costs a segment at each entry.
class KLUTILS_API OnStack
{
public:
    OnStack(const void* low, std::size_t size) noexcept;
    ~OnStack();
    OnStack(const OnStack&) = delete;
    OnStack& operator=(const OnStack&) = delete;

private:
    const StackInUse m_before;
};

// The reserve: how many bytes of stack whatever runs between two checks may use, a host's own functions among it. Holds
// at once on the calling thread, on others when they next change their stack: a program sets it at its beginning. Less
// than 64 KiB is taken for 64 KiB.
KLUTILS_API void SetStackReserve(std::size_t bytes);
KLUTILS_API std::size_t GetStackReserve();

} // namespace kelm
