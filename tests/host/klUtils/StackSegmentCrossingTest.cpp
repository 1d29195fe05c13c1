// A call on a segment is a call as any other: what passes it, what stays behind it, what it costs.

#include <klUtils/StackSegment.h>

#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Emulation.h>
#include <support/InCLocale.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include <execinfo.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <unwind.h>

namespace kelm
{
namespace
{

TEST(Crossing, KeepsWhatTheCallDidToTheRoundingMode)
{
    for (const int mode : {FE_UPWARD, FE_TOWARDZERO, FE_TONEAREST})
    {
        CallOnFreshSegment([&] { std::fesetround(mode); });
        EXPECT_EQ(std::fegetround(), mode);
    }
}

TEST(Crossing, KeepsTheExceptionFlagsThatTheCallRaised)
{
    const auto divide = []
    {
        volatile double one = 1, zero = 0;
        one = one / zero;
    };
    std::feclearexcept(FE_ALL_EXCEPT);
    divide();
    const int raised = std::fetestexcept(FE_ALL_EXCEPT); // none under an emulator that knows no flags
    std::feclearexcept(FE_ALL_EXCEPT);
    CallOnFreshSegment(divide);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), raised);
    std::feclearexcept(FE_ALL_EXCEPT);
}

TEST(Crossing, KeepsTheSignalMaskThatTheCallSet)
{
    sigset_t usr2, mask;
    sigemptyset(&usr2);
    sigaddset(&usr2, SIGUSR2);
    CallOnFreshSegment([&] { pthread_sigmask(SIG_BLOCK, &usr2, nullptr); });
    pthread_sigmask(SIG_UNBLOCK, &usr2, &mask);
    EXPECT_EQ(sigismember(&mask, SIGUSR2), 1);
}

TEST(Crossing, LeavesErrnoAsTheCallLeftIt)
{
    CallOnFreshSegment([] {});
    CallOnFreshSegment([] { errno = 4711; });
    EXPECT_EQ(errno, 4711);
}

TEST(Crossing, HasAnAlignedStackThere)
{
    CallOnFreshSegment(
        []
        {
            alignas(64) volatile char block[64];
            block[0] = 1;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&block) % 64, 0u);
            const InCLocale here;
            EXPECT_EQ(std::to_string(2.5L), "2.500000"); // vector instructions on the stack
        });
}

TEST(Crossing, LetsExceptionsThroughMany)
{
    struct Level
    {
        static void Run(int depth)
        {
            if (depth == 0)
                throw std::runtime_error("bottom");
            try
            {
                CallOnFreshSegment([&] { Run(depth - 1); });
            }
            catch (const std::runtime_error& e)
            {
                throw std::runtime_error(e.what() + std::string("."));
            }
        }
    };
    try
    {
        Level::Run(20);
        FAIL();
    }
    catch (const std::runtime_error& e)
    {
        EXPECT_EQ(e.what(), "bottom" + std::string(20, '.'));
    }
}

struct CountedGuard
{
    explicit CountedGuard(int& count) : m_count(count) { ++m_count; }
    ~CountedGuard() { --m_count; }
    CountedGuard(const CountedGuard&) = delete;
    CountedGuard& operator=(const CountedGuard&) = delete;
    int& m_count;
};

// A thread that ends at the bottom of a recursion over several segments: all frames are left on the way.
struct Ending
{
    void (*m_end)();
    int m_alive = 0;
    int m_mostAlive = 0;
    bool m_hasReturned = false;

    void Run(int depth)
    {
        const CountedGuard guard(m_alive);
        m_mostAlive = std::max(m_mostAlive, m_alive);
        if (depth == 0)
            m_end();
        else
            CallOnFreshSegment([&] { Run(depth - 1); });
        m_hasReturned = true;
    }
    static void* RunThread(void* ending)
    {
        static_cast<Ending*>(ending)->Run(4);
        return nullptr;
    }
};

#ifndef KELM_TEST_TSAN // which does not know forced unwinding
TEST(Crossing, LetsAThreadEnd)
{
    for (const std::size_t stackSize : {s_smallStack, std::size_t(8) << 20})
    {
        Ending ending{[] { pthread_exit(reinterpret_cast<void*>(4711)); }};
        void* result = nullptr;
        pthread_join(StartThread(stackSize, Ending::RunThread, &ending), &result);
        EXPECT_EQ(result, reinterpret_cast<void*>(4711));
        EXPECT_EQ(ending.m_mostAlive, 5);
        EXPECT_EQ(ending.m_alive, 0);
        EXPECT_FALSE(ending.m_hasReturned);
    }
}

TEST(Crossing, LetsAThreadBeCancelled)
{
    for (const std::size_t stackSize : {s_smallStack, std::size_t(8) << 20})
    {
        Ending ending{[]
                      {
                          pthread_cancel(pthread_self());
                          pthread_testcancel();
                      }};
        void* result = nullptr;
        pthread_join(StartThread(stackSize, Ending::RunThread, &ending), &result);
        EXPECT_EQ(result, PTHREAD_CANCELED);
        EXPECT_EQ(ending.m_mostAlive, 5);
        EXPECT_EQ(ending.m_alive, 0);
        EXPECT_FALSE(ending.m_hasReturned);
    }
}
#endif

// Beginnings of the functions whose frames an unwinder sees.
std::vector<std::uintptr_t> SeenFunctions()
{
    std::vector<std::uintptr_t> functions;
    _Unwind_Backtrace(
        [](_Unwind_Context* context, void* seen)
        {
            static_cast<std::vector<std::uintptr_t>*>(seen)->push_back(
                static_cast<std::uintptr_t>(_Unwind_GetRegionStart(context)));
            return _URC_NO_REASON;
        },
        &functions);
    return functions;
}

[[gnu::noinline]] std::vector<std::uintptr_t> SeenThroughThree()
{
    std::vector<std::uintptr_t> seen;
    CallOnFreshSegment([&] { CallOnFreshSegment([&] { CallOnFreshSegment([&] { seen = SeenFunctions(); }); }); });
    return seen;
}

TEST(Crossing, IsSeenThroughByUnwinders)
{
    const std::vector<std::uintptr_t> seen = SeenThroughThree();
    const auto numSeen = [&](auto* function)
    { return std::count(seen.begin(), seen.end(), reinterpret_cast<std::uintptr_t>(function)); };
    EXPECT_EQ(numSeen(&SeenFunctions), 1);
    EXPECT_EQ(numSeen(&SeenThroughThree), 1);
    EXPECT_EQ(numSeen(&RunOnFreshSegment), 3);
}

TEST(Crossing, IsSeenThroughByBacktraces)
{
    void* frames[200];
    const int outside = backtrace(frames, 200);
    int inside = 0;
    CallOnFreshSegment([&] { inside = backtrace(frames, 200); });
    EXPECT_GT(inside, outside);
    EXPECT_LT(inside, 200);
}

#if !defined(KELM_TEST_ASAN) && !defined(KELM_TEST_TSAN) && (defined(__x86_64__) || defined(__aarch64__))
// Any system call but read, write and exit kills the process here.
TEST(Crossing, TakesNoSystemCall)
{
    if (IsEmulated())
        GTEST_SKIP() << "an emulator makes system calls of its own";
    EXPECT_EXIT(
        {
            CallOnFreshSegment([] {});
            prctl(PR_SET_SECCOMP, SECCOMP_MODE_STRICT);
            int count = 0;
            for (int i = 0; i < 1000; ++i)
                CallOnFreshSegment([&] { ++count; });
            syscall(SYS_exit, count == 1000 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}
#endif

} // namespace
} // namespace kelm
