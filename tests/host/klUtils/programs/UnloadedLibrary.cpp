// A program that is not linked with libklUtils.so, but opens it, uses a segment, and closes it while threads live that
// have used one as well.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <pthread.h>

namespace
{

using RunOnFreshSegment = void (*)(void (*)(void*), void*);

void Count(void* count)
{
    ++*static_cast<int*>(count);
}

struct Shared
{
    RunOnFreshSegment m_run;
    pthread_barrier_t m_hasRun, m_isClosed;
};

void* RunThread(void* argument)
{
    Shared& shared = *static_cast<Shared*>(argument);
    int count = 0;
    shared.m_run(Count, &count);
    pthread_barrier_wait(&shared.m_hasRun);
    pthread_barrier_wait(&shared.m_isClosed);
    return count == 1 ? argument : nullptr;
}

TEST(UnloadedLibrary, IsThereForThreadsThatEndLater)
{
    for (int round = 0; round < 3; ++round)
    {
        void* const library = dlopen(KELM_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library, nullptr) << dlerror();
        Shared shared{};
        shared.m_run = reinterpret_cast<RunOnFreshSegment>(dlsym(library, "_ZN4kelm17RunOnFreshSegmentEPFvPvES0_"));
        ASSERT_NE(shared.m_run, nullptr);
        pthread_barrier_init(&shared.m_hasRun, nullptr, 2);
        pthread_barrier_init(&shared.m_isClosed, nullptr, 2);
        pthread_t thread{};
        ASSERT_EQ(pthread_create(&thread, nullptr, RunThread, &shared), 0);
        int count = 0;
        shared.m_run(Count, &count);
        EXPECT_EQ(count, 1);
        pthread_barrier_wait(&shared.m_hasRun);
        EXPECT_EQ(dlclose(library), 0);
        pthread_barrier_wait(&shared.m_isClosed);
        void* result = nullptr;
        pthread_join(thread, &result);
        EXPECT_EQ(result, &shared);
    }
}

} // namespace
