#pragma once

// Deep recursions, and threads with stacks of a given size to run them on.

#include <klUtils/StackSegment.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <exception>
#include <functional>

#include <alloca.h>
#include <pthread.h>
#include <unistd.h>

namespace kelm
{

// Recurses `depth` deep, calls `atBottom` there, and returns the number of levels.
[[gnu::noinline]] inline long Descend(
    long depth, const std::function<void()>& atBottom = [] {})
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { return Descend(depth, atBottom); });
    if (depth == 0)
    {
        atBottom();
        return 0;
    }
    const volatile long one = 1; // read behind the call, so that no compiler turns the recursion into a loop
    const long below = Descend(depth - 1, atBottom);
    return below + one;
}

// Touches that many bytes of the stack, and calls `f` where they are in use.
[[gnu::noinline]] inline void WithStackInUse(
    std::size_t bytes, const std::function<void()>& f = [] {})
{
    volatile char* const block = static_cast<volatile char*>(alloca(bytes));
    for (std::size_t i = bytes; i >= 1024; i -= 1024) // downwards, as a stack grows
        block[i - 1] = 1;
    f();
    block[0] = 1;
}

// The same with whatever leaves that many bytes of a thread's stack.
inline void WithStackLeft(std::size_t bytes, const std::function<void()>& f)
{
    pthread_attr_t attributes;
    EXPECT_EQ(pthread_getattr_np(pthread_self(), &attributes), 0);
    void* lowest = nullptr;
    std::size_t size = 0;
    EXPECT_EQ(pthread_attr_getstack(&attributes, &lowest, &size), 0);
    pthread_attr_destroy(&attributes);
    const auto room =
        static_cast<std::size_t>(static_cast<char*>(__builtin_frame_address(0)) - static_cast<char*>(lowest));
    ASSERT_GT(room, bytes);
    WithStackInUse(room - bytes, f);
}

// Starts a thread whose stack has `stackSize` bytes, or the least that the system allows.
inline pthread_t StartThread(std::size_t stackSize, void* (*run)(void*), void* context)
{
    pthread_attr_t attributes;
    EXPECT_EQ(pthread_attr_init(&attributes), 0);
    const auto least = static_cast<std::size_t>(sysconf(_SC_THREAD_STACK_MIN));
    EXPECT_EQ(pthread_attr_setstacksize(&attributes, std::max(stackSize, least)), 0);
    pthread_t thread{};
    EXPECT_EQ(pthread_create(&thread, &attributes, run, context), 0);
    pthread_attr_destroy(&attributes);
    return thread;
}

// Runs `f` on a thread whose stack has `stackSize` bytes, and rethrows what it throws.
inline void RunOnThread(std::size_t stackSize, const std::function<void()>& f)
{
    struct Work
    {
        const std::function<void()>& m_function;
        std::exception_ptr m_failure;
    } work{f, nullptr};

    const auto run = [](void* argument) -> void*
    {
        Work& received = *static_cast<Work*>(argument);
        try
        {
            received.m_function();
        }
        catch (const std::exception&)
        {
            received.m_failure = std::current_exception();
        }
        return nullptr;
    };
    ASSERT_EQ(pthread_join(StartThread(stackSize, run, &work), nullptr), 0);
    if (work.m_failure)
        std::rethrow_exception(work.m_failure);
}

} // namespace kelm
