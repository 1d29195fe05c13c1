#include <klUtils/TracerX.h>

#include <support/DeepStack.h>
#include <support/Expect.h>
#include <support/NoMoreMemory.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kelm
{
namespace
{

// Installs itself as the trace sink while it lives.
class Recorder
{
public:
    Recorder() { SetTraceSink(&Record, this); }
    ~Recorder() { SetTraceSink(nullptr, nullptr); }
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    std::vector<std::string> m_texts;

private:
    static void Record(SubString text, void* context)
    {
        auto& self = *static_cast<Recorder*>(context);
        const std::lock_guard lock(self.m_mutex);
        self.m_texts.push_back(ToStdString(text));
    }

    std::mutex m_mutex;
};

TEST(TracerX, HandsItsWholeTextToTheSinkWhenItEnds)
{
    Recorder recorder;
    {
        TracerX tracer;
        tracer << "Error: " << xstring("a\0b", 3) << 1 << "\n";
        EXPECT_TRUE(recorder.m_texts.empty());
    }
    EXPECT_EQ(recorder.m_texts, (std::vector<std::string>{std::string("Error: a\0b1\n", 12)}));
}

TEST(TracerX, WritesToStandardErrorWhereNoSinkIsInstalled)
{
    {
        const Recorder recorder; // installed and removed again
    }
    ::testing::internal::CaptureStderr();
    {
        TracerX tracer;
        tracer << "to the standard error\n";
    }
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "to the standard error\n");
}

TEST(TracerX, IsLostWhereThereIsNoMemoryForIt)
{
    if (!NoMoreMemory::CanBe())
        GTEST_SKIP() << "memory cannot run out here";
    Recorder recorder;
    const xstring piece(std::string(std::size_t(1) << 20, 'x'));
    RunOnThread(s_smallStack,
                [&]
                {
                    std::optional<TracerX> tracer(std::in_place);
                    for (int i = 0; i < 64; ++i) // more than any free piece of the heap
                        *tracer << piece;
                    const NoMoreMemory none;
                    tracer.reset();
                });
    EXPECT_TRUE(recorder.m_texts.empty());
    {
        TracerX tracer;
        tracer << "again";
    }
    EXPECT_EQ(recorder.m_texts.size(), 1U);
}

TEST(TracerX, OfManyThreadsArriveWhole)
{
    constexpr int numThreads = 4, numTexts = 200;
    Recorder recorder;
    std::vector<std::thread> threads;
    for (int t = 0; t < numThreads; ++t)
        threads.emplace_back(
            [t]
            {
                for (int i = 0; i < numTexts; ++i)
                {
                    TracerX tracer;
                    tracer << "thread " << t << " text " << i;
                }
            });
    for (std::thread& thread : threads)
        thread.join();

    std::vector<std::string> expected;
    for (int t = 0; t < numThreads; ++t)
        for (int i = 0; i < numTexts; ++i)
            expected.push_back("thread " + std::to_string(t) + " text " + std::to_string(i));
    std::sort(expected.begin(), expected.end());
    std::sort(recorder.m_texts.begin(), recorder.m_texts.end());
    EXPECT_EQ(recorder.m_texts, expected);
}

} // namespace
} // namespace kelm
