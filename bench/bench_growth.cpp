// How the cost grows: each kind of input from 1 KiB to 64 MiB, on one thread and on two at once.
//
//     bench_growth [--json FILE] [--largest BYTES] [--kind TEXT]     (kinds whose name contains TEXT)

#include "support/ExpressionTexts.h"
#include "support/ObjectTexts.h"
#include "support/ObjectTypes.h"
#include "support/ThreadTime.h"

#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseDataSource.h>
#include <klUtils/text/ParserBase.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <fstream>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace kelm;
using namespace kelm::bench;

constexpr long s_smallest = 1024;
constexpr long s_step = 4;
constexpr int s_rounds = 7;
constexpr double s_minSample = 2e6; // nanoseconds

// --- The kinds of input: a text of about so many bytes, and what reads it

struct Kind
{
    const char* m_name;
    std::string (*m_text)(long bytes);
    void (*m_read)(const xstring& text);
};

void EvaluateText(const xstring& text)
{
    KSParser parser;
    parser.Init(text);
    KSValue value;
    parser.ParseExpression(value);
}

void ScanText(const xstring& text)
{
    ParserBase parser;
    for (parser.Init(text); parser.m_token.m_type != TOKEN_END; parser.ReadNextToken())
    {
    }
}

void ReadText(const xstring& text)
{
    ReadObject(text);
}

// The text of as many things as come near that size. Later things may be longer than earlier ones.
std::string OfSize(long bytes, std::string (*make)(long count))
{
    constexpr int corrections = 3;
    std::string text;
    double count = 50;
    for (int i = 0; i < corrections; ++i)
    {
        text = make(static_cast<long>(count));
        count = std::max(1.0, count * static_cast<double>(bytes) / static_cast<double>(text.size()));
    }
    return text;
}

const Kind s_kinds[] = {
    {"tokens of a program text",
     [](long bytes)
     {
         return OfSize(bytes,
                       [](long count)
                       {
                           std::string text;
                           for (long i = 0; i < count; ++i)
                               text += "move(x + 12.5, \"name\") // a note\n";
                           return text;
                       });
     },
     ScanText},
    {"chain of integers", [](long bytes) { return OfSize(bytes, ChainText); }, EvaluateText},
    {"nested parentheses", [](long bytes) { return NestedText(bytes / 2); }, EvaluateText},
    {"concatenated strings",
     [](long bytes) { return OfSize(bytes, [](long count) { return ConcatenationText(s_ourSpelling, count, 18); }); },
     EvaluateText},
    {"one long string", [](long bytes) { return ConcatenationText(s_ourSpelling, 1, bytes); }, EvaluateText},
    {"integers",
     [](long bytes) { return OfSize(bytes, [](long count) { return TextsOf(MakeIntegers(count)).m_ours; }); },
     ReadText},
    {"doubles of 17 digits",
     [](long bytes) { return OfSize(bytes, [](long count) { return TextsOf(MakeDoubles(count)).m_ours; }); }, ReadText},
    {"records", [](long bytes) { return OfSize(bytes, [](long count) { return TextsOf(MakeRecords(count)).m_ours; }); },
     ReadText},
    {"map of strings to integers",
     [](long bytes) { return OfSize(bytes, [](long count) { return TextsOf(MakeCounts(count)).m_ours; }); }, ReadText},
    {"objects in objects",
     [](long bytes)
     {
         return OfSize(bytes,
                       [](long count)
                       {
                           std::string text;
                           for (long i = 0; i < count; ++i)
                               text += "sample::Link{number=1 next=";
                           return text + "null" + std::string(static_cast<std::size_t>(count), '}');
                       });
     },
     ReadText},
};

// --- Measuring

struct Point
{
    long m_bytes;
    int m_threads;
    double m_nanosecondsPerByte; // of the bytes that all threads read together
};

// The processor time of the thread that took longest: what the whole takes where every thread has a core to itself.
double Time(const Kind& kind, const xstring& text, int threads, long calls)
{
    std::vector<double> times(static_cast<std::size_t>(threads));
    const auto work = [&](double& time)
    {
        const double start = GetThreadNanoseconds();
        for (long i = 0; i < calls; ++i)
            kind.m_read(text);
        time = GetThreadNanoseconds() - start;
    };
    std::vector<std::thread> others;
    for (std::size_t i = 1; i < times.size(); ++i)
        others.emplace_back(work, std::ref(times[i]));
    work(times[0]);
    for (std::thread& other : others)
        other.join();
    return *std::max_element(times.begin(), times.end());
}

// One and several threads in turns; the best of the rounds, the one that the machine disturbed least. What is read is
// collected outside the measured time.
std::vector<Point> Measure(const Kind& kind, long bytes, const std::vector<int>& threadCounts)
{
    const std::string made = kind.m_text(bytes);
    const xstring text(made.data(), static_cast<ssize_t>(made.size()));
    const auto sample = [&](int threads, long calls)
    {
        const double time = Time(kind, text, threads, calls);
        CollectGarbage();
        return time;
    };
    const long calls = std::max(1L, static_cast<long>(s_minSample / sample(1, 1)));

    std::vector<double> best(threadCounts.size(), std::numeric_limits<double>::infinity());
    for (int round = 0; round < s_rounds; ++round)
        for (std::size_t t = 0; t < threadCounts.size(); ++t)
            best[t] = std::min(best[t], sample(threadCounts[t], calls));

    std::vector<Point> points;
    for (std::size_t t = 0; t < threadCounts.size(); ++t)
    {
        const double bytesRead = static_cast<double>(text.size()) * static_cast<double>(calls) * threadCounts[t];
        points.push_back({text.size(), threadCounts[t], best[t] / bytesRead});
    }
    return points;
}

struct Options
{
    std::string m_json;
    long m_largest = 64L << 20;
    std::string m_kind;
};

bool ReadOptions(int argc, char** argv, Options& options)
{
    for (int i = 1; i + 1 < argc; i += 2)
    {
        const std::string name = argv[i];
        if (name == "--json")
            options.m_json = argv[i + 1];
        else if (name == "--largest")
            options.m_largest = std::stol(argv[i + 1]);
        else if (name == "--kind")
            options.m_kind = argv[i + 1];
        else
            return false;
    }
    return argc % 2 == 1;
}

void Run(const Options& options)
{
    RegisterBenchTypes();
    std::vector<int> threadCounts = {1};
    if (std::thread::hardware_concurrency() >= 2)
        threadCounts.push_back(2);

    std::string json;
    for (const Kind& kind : s_kinds)
    {
        if (std::string(kind.m_name).find(options.m_kind) == std::string::npos)
            continue;
        json += std::string(json.empty() ? "" : ",\n") + "    {\"name\": \"" + kind.m_name + "\", \"points\": [";
        const char* separator = "";
        std::printf("%s\n", kind.m_name);
        for (long bytes = s_smallest; bytes <= options.m_largest; bytes *= s_step)
            for (const Point& point : Measure(kind, bytes, threadCounts))
            {
                std::printf("    %10ld bytes  %d threads  %8.3f ns a byte\n", point.m_bytes, point.m_threads,
                            point.m_nanosecondsPerByte);
                std::fflush(stdout);
                json += separator + std::string("{\"bytes\": ") + std::to_string(point.m_bytes) +
                        ", \"threads\": " + std::to_string(point.m_threads) +
                        ", \"ns\": " + std::to_string(point.m_nanosecondsPerByte) + '}';
                separator = ", ";
            }
        json += "]}";
    }
    if (!options.m_json.empty())
        std::ofstream(options.m_json) << "{\n  \"kinds\": [\n" << json << "\n  ]\n}\n";
}

} // namespace

int main(int argc, char** argv)
{
    Options options;
    if (!ReadOptions(argc, argv, options))
    {
        std::fputs("usage: bench_growth [--json FILE] [--largest BYTES] [--kind TEXT]\n", stderr);
        return 2;
    }
    try
    {
        Run(options);
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "bench_growth: %s\n", e.what());
        return 1;
    }
    return 0;
}
