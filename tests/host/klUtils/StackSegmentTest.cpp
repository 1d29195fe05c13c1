#include <klUtils/StackSegment.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/xvector.h>
#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Expect.h>
#include <support/NoMoreMemory.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include <pthread.h>

namespace kelm
{
namespace
{

TEST(StackSegment, LetsARecursionGoOnFarBeyondTheThreadsStack)
{
    EXPECT_FALSE(IsStackLow());
    EXPECT_EQ(Descend(s_depth), s_depth);
    EXPECT_FALSE(IsStackLow());
    EXPECT_EQ(Descend(s_depth / 10), s_depth / 10); // and again
}

TEST(StackSegment, PassesOnAnExceptionThrownDeepDown)
{
    const LSToken token{TOKEN_IDENTIFIER, "x"};
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_TRUE(ThrowsLexScannerException(
            [&] { Descend(s_depth / 10, [&] { throw LexScannerException("deep down", token); }); }, token.m_str, 0,
            "deep down"));
        EXPECT_FALSE(IsStackLow());
    }
}

TEST(StackSegment, LetsAnExceptionBeCaughtOnTheSegmentThatThrowsIt)
{
    bool isCaught = false;
    Descend(s_depth / 10,
            [&]
            {
                try
                {
                    throw std::runtime_error("here");
                }
                catch (const std::runtime_error&)
                {
                    isCaught = true;
                }
            });
    EXPECT_TRUE(isCaught);
}

TEST(StackSegment, DestroysWhatAnExceptionPasses)
{
    int alive = 0;
    struct Guard
    {
        explicit Guard(int& count) : m_count(count) { ++m_count; }
        ~Guard() { --m_count; }
        int& m_count;
    };
    const std::function<void(int)> descend = [&](int depth)
    {
        const Guard guard(alive);
        if (depth == 0)
            throw std::runtime_error("bottom");
        CallOnFreshSegment([&] { descend(depth - 1); });
    };
    EXPECT_THROW(descend(10), std::runtime_error);
    EXPECT_EQ(alive, 0);
}

TEST(StackSegment, RunsTheCallOnAnotherStackAndComesBack)
{
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    std::uintptr_t there = 0;
    const auto call = [&] { there = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); };
    CallOnFreshSegment(call);
    EXPECT_GT(here > there ? here - there : there - here, std::uintptr_t(64) * 1024);
}

TEST(StackSegment, ReturnsWhatTheCallDoes)
{
    EXPECT_EQ(CallOnFreshSegment([] { return 4711; }), 4711);

    // A value is handed on, not copied, and needs no empty state.
    struct Owner
    {
        explicit Owner(int number) : m_number(std::make_unique<int>(number)) {}
        std::unique_ptr<int> m_number;
    };
    const Owner owner = CallOnFreshSegment([] { return Owner(17); });
    EXPECT_EQ(*owner.m_number, 17);

    // A reference is to the very object.
    int number = 0;
    static_assert(std::is_same_v<decltype(CallOnFreshSegment([&]() -> int& { return number; })), int&>);
    EXPECT_EQ(&CallOnFreshSegment([&]() -> int& { return number; }), &number);
}

TEST(StackSegment, IsKeptForTheNextCallAndNeverSharedByTwo)
{
    const auto here = [] { return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); };
    std::uintptr_t first = 0, second = 0, inner = 0;
    CallOnFreshSegment([&] { first = here(); });
    CallOnFreshSegment(
        [&]
        {
            second = here();
            CallOnFreshSegment([&] { inner = here(); });
        });
    const auto distance = [](std::uintptr_t a, std::uintptr_t b) { return a > b ? a - b : b - a; };
    EXPECT_LT(distance(first, second), std::uintptr_t(64) * 1024);
    EXPECT_GT(distance(second, inner), std::uintptr_t(64) * 1024);
}

TEST(StackSegment, ServesAThreadWithASmallStack)
{
    long levels = 0;
    RunOnThread(s_smallStack, [&] { levels = Descend(s_depth / 10); });
    EXPECT_EQ(levels, s_depth / 10);
}

TEST(StackSegment, PassesOnAnExceptionInAThreadWithASmallStack)
{
    EXPECT_THROW(
        RunOnThread(s_smallStack, [] { Descend(s_depth / 10, [] { throw std::runtime_error("deep down"); }); }),
        std::runtime_error);
}

TEST(StackSegment, ServesManyThreadsAtOnce)
{
    constexpr int numThreads = 4;
    std::vector<long> levels(numThreads);
    std::vector<pthread_t> threads(numThreads);
    for (int i = 0; i < numThreads; ++i)
        ASSERT_EQ(pthread_create(
                      &threads[static_cast<std::size_t>(i)], nullptr,
                      [](void* argument) -> void*
                      {
                          *static_cast<long*>(argument) = Descend(s_depth / 10);
                          return nullptr;
                      },
                      &levels[static_cast<std::size_t>(i)]),
                  0);
    for (const pthread_t thread : threads)
        ASSERT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(levels, std::vector<long>(numThreads, s_depth / 10));
}

struct Nested
{
    xvector<Nested> m_children;
};

} // namespace

template <>
inline constexpr bool IsRelocatable<Nested> = true;

namespace
{

TEST(StackSegment, LetsADestructorRunToAnyDepth)
{
    Nested chain;
    for (long i = 0; i < s_depth / 10; ++i)
    {
        Nested outer;
        outer.m_children.push_back(std::move(chain));
        chain = std::move(outer);
    }
    chain.m_children.clear();
    EXPECT_TRUE(chain.m_children.empty());
    EXPECT_FALSE(IsStackLow());
}

TEST(CallWithEnoughStack, RunsInPlaceWhileThereIsRoom)
{
    std::uintptr_t there = 0;
    CallWithEnoughStack([&]() noexcept { there = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0)); });
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    EXPECT_LT(here > there ? here - there : there - here, std::uintptr_t(64) * 1024);
}

TEST(CallWithEnoughStack, RunsInPlaceWhereNoSegmentIsToBeHad)
{
    if (!NoMoreMemory::CanBe())
        GTEST_SKIP() << "memory cannot run out here";
    std::ptrdiff_t distance = 0;
    RunOnThread(s_smallStack,
                [&]
                {
                    EXPECT_TRUE(IsStackLow());
                    const NoMoreMemory none;
                    const auto* const here = static_cast<char*>(__builtin_frame_address(0));
                    CallWithEnoughStack([&]() noexcept
                                        { distance = here - static_cast<char*>(__builtin_frame_address(0)); });
                });
    EXPECT_GT(distance, 0);
    EXPECT_LT(distance, static_cast<std::ptrdiff_t>(s_smallStack));
}

} // namespace
} // namespace kelm
