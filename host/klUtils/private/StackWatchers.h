#pragma once

// Those who watch where stacks are: AddressSanitizer and ThreadSanitizer are told of every change of stack, valgrind of
// every stack that there is. Nothing where none of them is built in.

#include <cstddef>
#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
#define KELM_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KELM_ASAN 1
#endif
#endif
#if defined(__SANITIZE_THREAD__)
#define KELM_TSAN 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KELM_TSAN 1
#endif
#endif

#ifdef KELM_ASAN
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#endif
#ifdef KELM_TSAN
#include <sanitizer/tsan_interface.h>
#endif

namespace kelm
{

#if defined(KELM_ASAN)

// One call on another stack. Lives on the caller's stack, while the call runs.
class WatchedCall
{
public:
    WatchedCall(void (*call)(void*), void* context, void* low, std::size_t size) : m_call(call), m_context(context)
    {
        ASAN_UNPOISON_MEMORY_REGION(low, size); // what an earlier call has left there
        __sanitizer_start_switch_fiber(&m_fakeStack, low, size);
    }
    ~WatchedCall()
    {
        __sanitizer_finish_switch_fiber(m_fakeStack, nullptr, nullptr);
        if (!m_hasReturned)
            __asan_handle_no_return(); // a throw clears the stack that it is on, not the frames that it passes here
    }
    WatchedCall(const WatchedCall&) = delete;
    WatchedCall& operator=(const WatchedCall&) = delete;

    // What is to be called there, with this as its context.
    static void Run(void* call)
    {
        WatchedCall& self = *static_cast<WatchedCall*>(call);
        const Arrival arrival;
        self.m_call(self.m_context);
        self.m_hasReturned = true;
    }

private:
    struct Arrival
    {
        Arrival() { __sanitizer_finish_switch_fiber(nullptr, &m_callersLow, &m_callersSize); }
        ~Arrival() { __sanitizer_start_switch_fiber(nullptr, m_callersLow, m_callersSize); }
        Arrival(const Arrival&) = delete;
        Arrival& operator=(const Arrival&) = delete;

        const void* m_callersLow = nullptr;
        std::size_t m_callersSize = 0;
    };

    void (*m_call)(void*);
    void* m_context;
    bool m_hasReturned = false;
    void* m_fakeStack = nullptr;
};

#elif defined(KELM_TSAN)

// The sanitizer follows a limited number of calls on each fiber.
class WatchedCall
{
public:
    WatchedCall(void (*call)(void*), void* context, void*, std::size_t) : m_call(call), m_context(context)
    {
        __tsan_switch_to_fiber(m_fiber, 0);
    }
    ~WatchedCall()
    {
        __tsan_switch_to_fiber(m_callersFiber, 0);
        __tsan_destroy_fiber(m_fiber);
    }
    WatchedCall(const WatchedCall&) = delete;
    WatchedCall& operator=(const WatchedCall&) = delete;

    static void Run(void* call)
    {
        WatchedCall& self = *static_cast<WatchedCall*>(call);
        self.m_call(self.m_context);
    }

private:
    void (*m_call)(void*);
    void* m_context;
    void* m_callersFiber = __tsan_get_current_fiber();
    void* m_fiber = __tsan_create_fiber(0);
};

#endif

// valgrind takes a small change of the stack pointer for a change of the stack's size, unless it knows both stacks. Its
// requests are instructions that do nothing elsewhere.
enum EValgrindRequest : std::uintptr_t
{
    VALGRIND_REGISTER_STACK = 0x1501, // low, high; answers an identity
    VALGRIND_FORGET_STACK = 0x1502    // identity
};

inline std::uintptr_t AskValgrind(EValgrindRequest request, std::uintptr_t first, std::uintptr_t second = 0)
{
    std::uintptr_t answer = 0;
#if defined(__x86_64__)
    const std::uintptr_t question[6] = {request, first, second};
    asm volatile("rolq $3, %%rdi; rolq $13, %%rdi; rolq $61, %%rdi; rolq $51, %%rdi; xchgq %%rbx, %%rbx"
                 : "=d"(answer)
                 : "a"(question), "0"(answer)
                 : "cc", "memory");
#else
    static_cast<void>(request);
    static_cast<void>(first);
    static_cast<void>(second);
#endif
    return answer;
}

} // namespace kelm
