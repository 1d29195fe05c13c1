// Which stack it is, and how much of it there is: unknown bounds, limits that change, hosts' own stacks, the reserve.

#include <klUtils/StackSegment.h>

#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Emulation.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <functional>
#include <memory>
#include <new>
#include <vector>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <ucontext.h>
#include <unistd.h>

#if !defined(KELM_TEST_ASAN) && !defined(KELM_TEST_TSAN)
#define KELM_TEST_PLAIN 1 // sanitizers want files, address space, and the thread library's answers for themselves
#endif

#ifdef KELM_TEST_PLAIN
static thread_local bool t_isThreadLibraryShortOfMemory = false;

// What libklUtils.so calls.
extern "C" int pthread_getattr_np(pthread_t thread, pthread_attr_t* attributes) noexcept
{
    using Function = int (*)(pthread_t, pthread_attr_t*);
    static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "pthread_getattr_np"));
    return t_isThreadLibraryShortOfMemory ? ENOMEM : real(thread, attributes);
}
#endif

namespace kelm
{
namespace
{

constexpr std::size_t operator""_KiB(unsigned long long count)
{
    return static_cast<std::size_t>(count) << 10;
}

constexpr std::size_t s_stackSizes[] = {64_KiB, 256_KiB, 512_KiB, 8192_KiB};

// Where the main thread is needed, or limits change: the program anew, with nothing but this test.
class InAProcessOfItsOwn : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

using StackBounds = InAProcessOfItsOwn;
using StackReserve = InAProcessOfItsOwn;
using StackMemory = InAProcessOfItsOwn;

void SetSoftLimit(int resource, rlim_t value)
{
    rlimit limit;
    getrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
    limit.rlim_cur = value;
    setrlimit(static_cast<__rlimit_resource_t>(resource), &limit);
}

[[noreturn]] void ExitAsExpected(bool isAsExpected)
{
#ifdef KELM_COVERAGE
    std::exit(isAsExpected ? 0 : 1); // which writes what has run
#endif
    std::_Exit(isAsExpected ? 0 : 1);
}

// --- Bounds ----------------------------------------------------------------------------------------------------------

TEST_F(StackBounds, OfTheMainThreadNeedNoFile)
{
    EXPECT_EXIT(
        {
            SetSoftLimit(RLIMIT_NOFILE, 0);
            ExitAsExpected(!IsStackLow() && Descend(s_depth / 10) == s_depth / 10);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(StackBounds, OfTheMainThreadFollowItsLimit)
{
    if (IsEmulated())
        GTEST_SKIP() << "an emulator does not pass on limits of memory";
    const auto isLowBelow = [](std::size_t bytes)
    {
        bool isLow = false;
        WithStackInUse(bytes, [&] { isLow = IsStackLow(); });
        return isLow;
    };
    EXPECT_EXIT(
        {
            SetSoftLimit(RLIMIT_STACK, 1024_KiB);
            const bool wasLow = isLowBelow(900_KiB);
            SetSoftLimit(RLIMIT_STACK, 8192_KiB);
            const bool isLow = isLowBelow(900_KiB);
            ExitAsExpected(wasLow && !isLow && !isLowBelow(7000_KiB) && isLowBelow(8050_KiB));
        },
        testing::ExitedWithCode(0), "");
}

// The same with a spare segment at hand: looked at from time to time.
TEST_F(StackBounds, OfTheMainThreadFollowItsLimitWhileNoSegmentIsNeeded)
{
    EXPECT_EXIT(
        {
            SetSoftLimit(RLIMIT_STACK, 1024_KiB);
            CallOnFreshSegment([] {});
            bool isLow = false;
            WithStackInUse(900_KiB, [&] { isLow = IsStackLow(); });
            SetSoftLimit(RLIMIT_STACK, 8192_KiB);
            for (int i = 0; isLow && i < 100; ++i)
                WithStackInUse(900_KiB, [&] { isLow = IsStackLow(); });
            ExitAsExpected(!isLow);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(StackBounds, OfTheMainThreadMayBeSmallOrHuge)
{
    for (const rlim_t size : {rlim_t(256_KiB), rlim_t(512_KiB), rlim_t(1) << 30, RLIM_INFINITY})
        EXPECT_EXIT(
            {
                SetSoftLimit(RLIMIT_STACK, size);
                ExitAsExpected(Descend(s_depth / 10) == s_depth / 10);
            },
            testing::ExitedWithCode(0), "")
            << size;
}

#ifdef KELM_TEST_PLAIN
TEST(UnknownStackBounds, AreNeverTakenForEndless)
{
    for (const std::size_t stackSize : s_stackSizes)
    {
        bool wasLow = false;
        long levels = 0;
        bool isLowLater = true;
        RunOnThread(stackSize,
                    [&]
                    {
                        t_isThreadLibraryShortOfMemory = true;
                        wasLow = IsStackLow();
                        levels = Descend(s_depth / 10);
                        t_isThreadLibraryShortOfMemory = false;
                        isLowLater = IsStackLow();
                    });
        EXPECT_TRUE(wasLow) << stackSize;
        EXPECT_EQ(levels, s_depth / 10) << stackSize;
        EXPECT_EQ(isLowLater, stackSize < 2 * GetStackReserve()) << stackSize; // learned when it can be
    }
}
#endif

TEST_F(StackBounds, OfASegmentAreNotTakenForTheThreads)
{
    for (const std::size_t stackSize : s_stackSizes)
    {
        long levels = 0;
        RunOnThread(stackSize,
                    [&]
                    {
                        CallOnFreshSegment([] { IsStackLow(); });
                        levels = Descend(s_depth / 10);
                    });
        EXPECT_EQ(levels, s_depth / 10) << stackSize;
    }
}

// --- Stacks of the host ----------------------------------------------------------------------------------------------

// A function on a stack of its own, which may go back to its caller in the midst and be resumed.
class Coroutine
{
public:
    Coroutine(std::size_t stackSize, std::function<void(Coroutine&)> body) : m_stack(stackSize), m_body(std::move(body))
    {
        getcontext(&m_own);
        m_own.uc_stack.ss_sp = m_stack.data();
        m_own.uc_stack.ss_size = m_stack.size();
        m_own.uc_link = &m_caller;
        makecontext(&m_own, Enter, 0);
    }
    Coroutine(const Coroutine&) = delete;
    Coroutine& operator=(const Coroutine&) = delete;

    const void* Low() const { return m_stack.data(); }
    std::size_t Size() const { return m_stack.size(); }
    void Resume()
    {
        s_entered = this;
        swapcontext(&m_caller, &m_own);
    }
    void Yield() { swapcontext(&m_own, &m_caller); }

private:
    static void Enter()
    {
        Coroutine& self = *s_entered;
        self.m_body(self);
    }

    static thread_local Coroutine* s_entered;
    std::vector<char> m_stack;
    std::function<void(Coroutine&)> m_body;
    ucontext_t m_caller{};
    ucontext_t m_own{};
};

thread_local Coroutine* Coroutine::s_entered = nullptr;

#ifdef KELM_TEST_PLAIN // the sanitizers would have to be told of each switch

// On the main thread, whose stack lies above everything, and on others.
void OnSeveralThreads(const std::function<void()>& f)
{
    f();
    for (const std::size_t stackSize : s_stackSizes)
        RunOnThread(stackSize, f);
}

TEST(HostsStack, CountsAsLowWhileNothingIsKnownOfIt)
{
    OnSeveralThreads(
        []
        {
            IsStackLow(); // the thread's own stack is known by now
            for (const std::size_t stackSize : s_stackSizes)
            {
                bool wasLow = false;
                long levels = 0;
                Coroutine coroutine(stackSize,
                                    [&](Coroutine&)
                                    {
                                        wasLow = IsStackLow();
                                        levels = Descend(s_depth / 100);
                                    });
                coroutine.Resume();
                EXPECT_TRUE(wasLow) << stackSize;
                EXPECT_EQ(levels, s_depth / 100) << stackSize;
            }
        });
}

TEST(HostsStack, IsUsedAsFarAsItsHostSays)
{
    OnSeveralThreads(
        []
        {
            const bool wasLowBefore = IsStackLow();
            for (const std::size_t stackSize : s_stackSizes)
                for (const bool isSaidOutside : {false, true})
                {
                    bool wasLow = true, wasLowDeeper = false;
                    long levels = 0;
                    const auto body = [&]
                    {
                        wasLow = IsStackLow();
                        WithStackInUse(stackSize - 48_KiB, [&] { wasLowDeeper = IsStackLow(); });
                        levels = Descend(s_depth / 100);
                    };
                    Coroutine coroutine(stackSize,
                                        [&](Coroutine& self)
                                        {
                                            if (isSaidOutside)
                                                return body();
                                            const OnStack here(self.Low(), self.Size());
                                            body();
                                        });
                    if (isSaidOutside)
                    {
                        const OnStack there(coroutine.Low(), coroutine.Size());
                        coroutine.Resume();
                    }
                    else
                        coroutine.Resume();
                    EXPECT_EQ(wasLow, stackSize < 2 * GetStackReserve()) << stackSize;
                    EXPECT_TRUE(wasLowDeeper) << stackSize;
                    EXPECT_EQ(levels, s_depth / 100) << stackSize;
                    EXPECT_EQ(IsStackLow(), wasLowBefore);
                }
        });
}

// Coroutines that are left while they are on a segment, and whose calls end in another order than they began.
TEST(HostsStack, MayBeLeftInTheMidstOfACall)
{
    OnSeveralThreads(
        []
        {
            constexpr int count = 8;
            std::vector<long> levels(count);
            std::vector<std::unique_ptr<Coroutine>> coroutines;
            for (std::size_t i = 0; i < count; ++i)
                coroutines.push_back(std::make_unique<Coroutine>(64_KiB + i % 3 * 256_KiB,
                                                                 [&levels, i](Coroutine& self)
                                                                 {
                                                                     const auto yieldTwice = [&]
                                                                     {
                                                                         self.Yield();
                                                                         const long below = Descend(s_depth / 1000);
                                                                         self.Yield();
                                                                         levels[i] += below;
                                                                     };
                                                                     if (i % 2 == 0)
                                                                     {
                                                                         const OnStack here(self.Low(), self.Size());
                                                                         levels[i] +=
                                                                             Descend(s_depth / 1000, yieldTwice);
                                                                     }
                                                                     else
                                                                         levels[i] +=
                                                                             Descend(s_depth / 1000, yieldTwice);
                                                                 }));
            for (const auto& coroutine : coroutines)
                coroutine->Resume();
            EXPECT_EQ(Descend(s_depth / 1000), s_depth / 1000);
            CallOnFreshSegment(
                [&]
                {
                    for (const auto& coroutine : coroutines)
                        coroutine->Resume();
                    EXPECT_EQ(Descend(s_depth / 1000), s_depth / 1000);
                });
            for (const auto& coroutine : coroutines)
            {
                coroutine->Resume();
                EXPECT_EQ(Descend(s_depth / 1000), s_depth / 1000);
            }
            EXPECT_EQ(levels, std::vector<long>(count, 2 * (s_depth / 1000)));
        });
}

// The segment of one thread's coroutine, given back on another.
TEST(HostsStack, MayMoveToAnotherThread)
{
    long levels = 0;
    Coroutine coroutine(256_KiB, [&](Coroutine& self) { levels = Descend(s_depth / 100, [&] { self.Yield(); }); });
    RunOnThread(512_KiB,
                [&]
                {
                    {
                        const OnStack there(coroutine.Low(), coroutine.Size());
                        coroutine.Resume();
                    }
                    EXPECT_EQ(Descend(s_depth / 100), s_depth / 100);
                });
    {
        const OnStack there(coroutine.Low(), coroutine.Size());
        coroutine.Resume();
    }
    EXPECT_EQ(levels, s_depth / 100);
    EXPECT_FALSE(IsStackLow());
}

bool s_wasLowInHandler;

TEST(HostsStack, OfASignalHandlerCountsAsLow)
{
    std::vector<char> memory(64_KiB);
    stack_t stack{};
    stack.ss_sp = memory.data();
    stack.ss_size = memory.size();
    stack_t before;
    ASSERT_EQ(sigaltstack(&stack, &before), 0);
    struct sigaction action
    {
    };
    action.sa_handler = [](int) { s_wasLowInHandler = IsStackLow(); };
    action.sa_flags = SA_ONSTACK;
    struct sigaction handlerBefore;
    sigaction(SIGUSR1, &action, &handlerBefore);
    IsStackLow();
    s_wasLowInHandler = false;
    raise(SIGUSR1);
    EXPECT_TRUE(s_wasLowInHandler);
    sigaction(SIGUSR1, &handlerBefore, nullptr);
    sigaltstack(&before, nullptr);
}

#endif

// --- The reserve -----------------------------------------------------------------------------------------------------

// Recurses, and at each level uses what is promised behind the check.
[[gnu::noinline]] long DescendAndUse(long depth, std::size_t bytes)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { return DescendAndUse(depth, bytes); });
    WithStackInUse(bytes);
    if (depth == 0)
        return 0;
    const volatile long one = 1;
    const long below = DescendAndUse(depth - 1, bytes);
    return below + one;
}

TEST_F(StackReserve, IsThereBehindEachCheckOnAnyStack)
{
    for (const std::size_t stackSize : s_stackSizes)
    {
        long levels = 0;
        RunOnThread(stackSize, [&] { levels = DescendAndUse(20'000, GetStackReserve() - 8_KiB); });
        EXPECT_EQ(levels, 20'000) << stackSize;
    }
}

TEST_F(StackReserve, CanBeSet)
{
    for (const std::size_t reserve : {64_KiB, std::size_t(100'000), 40'000_KiB})
        for (const std::size_t stackSize : {64_KiB, 8192_KiB})
            EXPECT_EXIT(
                {
                    SetStackReserve(reserve);
                    long levels = 0;
                    RunOnThread(stackSize, [&] { levels = DescendAndUse(300, reserve - 8_KiB); });
                    ExitAsExpected(GetStackReserve() == reserve && levels == 300);
                },
                testing::ExitedWithCode(0), "")
                << reserve << ' ' << stackSize;
}

TEST_F(StackReserve, HoldsAtOnceWhereItIsSet)
{
    EXPECT_EXIT(
        {
            const bool before = IsStackLow();
            SetStackReserve(5000_KiB); // more than half of 8 MiB
            const bool after = IsStackLow();
            bool there = true;
            CallOnFreshSegment([&] { there = IsStackLow(); });
            SetStackReserve(1);
            ExitAsExpected(!before && after && !there && !IsStackLow() && GetStackReserve() == 64_KiB);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(StackReserve, MakesAStackOfLessThanTwiceItsSizeLowAtEveryEntry)
{
    for (const std::size_t stackSize : s_stackSizes)
    {
        bool wasLow = false, wasLowAgain = false;
        RunOnThread(stackSize,
                    [&]
                    {
                        wasLow = IsStackLow();
                        CallOnFreshSegment([] {});
                        wasLowAgain = IsStackLow();
                    });
        EXPECT_EQ(wasLow, stackSize < 2 * GetStackReserve()) << stackSize;
        EXPECT_EQ(wasLowAgain, wasLow) << stackSize;
    }
}

TEST_F(StackReserve, EndsInMemoryThatMayNotBeTouched)
{
    for (const std::size_t distance : {std::size_t(1), 4_KiB, 32_KiB, 64_KiB})
        EXPECT_DEATH(CallOnFreshSegment([&] { *reinterpret_cast<volatile char*>(t_stackInUse.m_low - distance) = 1; }),
                     "")
            << distance;
}

// --- Memory ----------------------------------------------------------------------------------------------------------

#ifdef KELM_TEST_PLAIN
TEST_F(StackMemory, RunsOutAsBadAlloc)
{
    if (IsEmulated())
        GTEST_SKIP() << "an emulator does not pass on limits of memory";
    const auto isOut = [](long depth)
    {
        try
        {
            Descend(depth);
            return false;
        }
        catch (const std::bad_alloc&)
        {
            return true;
        }
    };
    EXPECT_EXIT(
        {
            rlimit unlimited;
            getrlimit(RLIMIT_AS, &unlimited);
            bool isAsExpected = Descend(1000) == 1000;
            SetSoftLimit(RLIMIT_AS, rlim_t(128) << 20);
            isAsExpected =
                isAsExpected && isOut(s_depth / 4) && isOut(s_depth / 4) && Descend(s_depth / 100) == s_depth / 100;
            setrlimit(RLIMIT_AS, &unlimited);
            ExitAsExpected(isAsExpected && !isOut(s_depth / 4));
        },
        testing::ExitedWithCode(0), "");
}

// As many mappings as the system allows, but for one: it is had for a segment, and none for its guard.
TEST_F(StackMemory, IsNotHadWithoutAGuard)
{
    if (IsEmulated())
        GTEST_SKIP() << "an emulator has mappings of its own";
    EXPECT_EXIT(
        {
            std::vector<void*> pages(200'000); // more than any system allows, neighbours of which are unlike
            std::size_t count = 0;
            const auto map = [&](std::size_t i)
            { return mmap(nullptr, 4_KiB, i % 2 == 0 ? PROT_NONE : PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0); };
            while (count < pages.size() && (pages[count] = map(count)) != MAP_FAILED)
                ++count;
            const auto canCross = []
            {
                try
                {
                    CallOnFreshSegment([] {});
                    return true;
                }
                catch (const std::bad_alloc&)
                {
                    return false;
                }
            };
            const auto unmapLast = [&] { munmap(pages[--count], 4_KiB); };
            bool isAsExpected = count < pages.size() && !canCross();
            unmapLast();
            isAsExpected = isAsExpected && !canCross() && !canCross(); // nothing of it is left
            for (int i = 0; i < 8; ++i)
                unmapLast();
            ExitAsExpected(isAsExpected && canCross());
        },
        testing::ExitedWithCode(0), "");
}
#endif

} // namespace
} // namespace kelm
