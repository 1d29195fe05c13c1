// Threads and programs that end: deep values are destroyed late, and nothing stays mapped.

#include <klUtils/StackSegment.h>

#include <klUtils/xvector.h>
#include <support/DeepStack.h>
#include <support/Depth.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>

#include <pthread.h>

namespace kelm
{
namespace
{

struct Nested
{
    xvector<Nested> m_children;
};

} // namespace

template <>
inline constexpr bool IsRelocatable<Nested> = true;

namespace
{

// Deep enough to need segments on any thread.
Nested MakeDeep()
{
    Nested chain;
    for (long i = 0; i < s_depth / 50; ++i)
    {
        Nested outer;
        outer.m_children.push_back(std::move(chain));
        chain = std::move(outer);
    }
    return chain;
}

// Counts as destroyed when all of it is.
struct Owner
{
    ~Owner()
    {
        m_value.m_children.clear();
        if (m_numDestroyed != nullptr)
            ++*m_numDestroyed;
    }
    Nested m_value;
    int* m_numDestroyed = nullptr;
};

class LateDestruction : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

Owner& StaticOwner()
{
    static Owner owner;
    return owner;
}

Owner& ThreadsOwner()
{
    thread_local Owner owner;
    return owner;
}

// A static variable is destroyed after everything of the main thread, be it made before or behind its first segment.
TEST_F(LateDestruction, OfAStaticValue)
{
    for (const bool isMadeFirst : {false, true})
        EXPECT_EXIT(
            {
                if (isMadeFirst)
                    StaticOwner();
                Descend(s_depth / 50);
                StaticOwner().m_value = MakeDeep();
                std::exit(0);
            },
            testing::ExitedWithCode(0), "");
}

TEST_F(LateDestruction, OfAThreadsValueOnTheMainThread)
{
    for (const bool isMadeFirst : {false, true})
        EXPECT_EXIT(
            {
                if (isMadeFirst)
                    ThreadsOwner();
                Descend(s_depth / 50);
                ThreadsOwner().m_value = MakeDeep();
                StaticOwner().m_value = MakeDeep();
                std::exit(0);
            },
            testing::ExitedWithCode(0), "");
}

TEST_F(LateDestruction, OfAThreadsValue)
{
    for (const std::size_t stackSize : {s_smallStack, std::size_t(8) << 20})
        for (const bool isMadeFirst : {false, true})
        {
            int numDestroyed = 0;
            RunOnThread(stackSize,
                        [&]
                        {
                            if (isMadeFirst)
                                ThreadsOwner();
                            Descend(s_depth / 50);
                            ThreadsOwner().m_value = MakeDeep();
                            ThreadsOwner().m_numDestroyed = &numDestroyed;
                        });
            EXPECT_EQ(numDestroyed, 1);
        }
}

void DeleteOwner(void* owner)
{
    delete static_cast<Owner*>(owner);
}

// Keys made before and behind the first segment, so that their destructors run on both sides of any other key's.
TEST_F(LateDestruction, OfAValueThatAKeyOwns)
{
    pthread_key_t keys[8];
    int numDestroyed = 0;
    for (int i = 0; i < 8; ++i)
    {
        ASSERT_EQ(pthread_key_create(&keys[i], DeleteOwner), 0);
        if (i == 3)
            Descend(s_depth / 50);
    }
    for (const std::size_t stackSize : {s_smallStack, std::size_t(8) << 20})
    {
        numDestroyed = 0;
        RunOnThread(stackSize,
                    [&]
                    {
                        for (const pthread_key_t key : keys)
                            pthread_setspecific(key, new Owner{MakeDeep(), &numDestroyed});
                    });
        EXPECT_EQ(numDestroyed, 8);
    }
    for (const pthread_key_t key : keys)
        pthread_key_delete(key);
}

int NumMappings()
{
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);)
        ++count;
    return count;
}

TEST(ThreadsSegments, AreGoneWithTheThread)
{
    const auto runSome = []
    {
        for (int i = 0; i < 50; ++i)
            RunOnThread(s_smallStack,
                        []
                        {
                            Descend(s_depth / 50);
                            CallOnFreshSegment([] { CallOnFreshSegment([] {}); });
                        });
    };
    runSome();
    const int before = NumMappings();
    runSome();
    EXPECT_LT(NumMappings(), before + 25);
}

} // namespace
} // namespace kelm
