#include <support/ReferenceComparison.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include <sys/mman.h>
#include <unistd.h>

namespace kelm::reference
{

namespace
{

constexpr uint64 s_defaultSeed = 20080824;
constexpr uint64 s_defaultCases = 1000000;
constexpr int s_maxFailures = 3; // of one test
constexpr int s_maxShrinkSteps = 4000;

bool TryGetNumber(const char* name, uint64& value)
{
    const char* const text = std::getenv(name);
    if (text != nullptr && *text != '\0')
        value = std::strtoull(text, nullptr, 10);
    return text != nullptr && *text != '\0';
}

struct Settings
{
    uint64 m_seed = s_defaultSeed;
    uint64 m_cases = s_defaultCases;
    uint64 m_case = 0;
    bool m_isOneCase = false;

    Settings()
    {
        TryGetNumber("KELM_READING_SEED", m_seed);
        TryGetNumber("KELM_READING_CASES", m_cases);
        m_isOneCase = TryGetNumber("KELM_READING_CASE", m_case);
    }
};

const Settings& GetSettings()
{
    static const Settings s_settings;
    return s_settings;
}

// --- Where texts lie -------------------------------------------------------------------------------------------------

// Readable pages between two that are not.
class GuardedPages
{
public:
    GuardedPages()
    {
        void* const all = ::mmap(nullptr, s_size + 2 * s_page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (all == MAP_FAILED || ::mprotect(static_cast<char*>(all) + s_page, s_size, PROT_READ | PROT_WRITE) != 0)
            throw std::runtime_error("no pages for texts");
        m_begin = static_cast<char*>(all) + s_page;
    }

    SubString Place(const std::string& text, Random& random)
    {
        if (text.size() + 2 * s_margin > s_size)
            throw NotForComparison();
        switch (random.Below(4))
        {
        case 0: return PutAt(m_begin, text);
        case 1: return PutAt(PutNeighbours(random), text);
        }
        return PutAt(m_begin + s_size - text.size(), text);
    }

private:
    static constexpr std::size_t s_page = 4096;
    static constexpr std::size_t s_size = 64 * s_page;
    static constexpr std::size_t s_margin = 128;

    static SubString PutAt(char* place, const std::string& text)
    {
        std::memcpy(place, text.data(), text.size());
        return {place, place + text.size()};
    }

    // Fills the room with bytes that would go on with any text, and picks a place among them.
    char* PutNeighbours(Random& random)
    {
        static const char* const s_neighbours[] = {"9",  "e",  "_", "'", "\"", "\\",   " ",
                                                   "\n", "*/", "/", "=", "]",  "\x80", ","};
        const std::string neighbour = random.Of(s_neighbours);
        for (std::size_t i = 0; i < s_neighboured; ++i)
            m_begin[i] = neighbour[i % neighbour.size()];
        return m_begin + 64 + random.Below(64);
    }

    static constexpr std::size_t s_neighboured = 1024;

    char* m_begin;
};

GuardedPages& GetGuardedPages()
{
    static GuardedPages s_pages;
    return s_pages;
}

// --- One case --------------------------------------------------------------------------------------------------------

// A case's seeds: one draws its text, the other places it and makes all its other choices.
struct CaseSeeds
{
    uint64 m_text;
    uint64 m_choice;
};

CaseSeeds SeedsOf(const std::string& test, uint64 number)
{
    uint64 hash = GetSettings().m_seed;
    for (const char c : test)
        hash = hash * 1099511628211u + static_cast<unsigned char>(c);
    Random random(hash + number * 0x100000001b3u);
    return {random.Next(), random.Next()};
}

struct Outcomes
{
    std::string m_library;
    std::string m_reference;
    bool m_isCase = true;

    bool Differ() const { return m_isCase && m_library != m_reference; }
};

Outcomes GetOutcomes(const Comparison& comparison, const std::string& text, uint64 choice)
{
    Outcomes outcomes;
    try
    {
        Random random(~choice);
        const SubString placed = GetGuardedPages().Place(text, random);
        outcomes.m_reference = comparison.m_reference(text, Random(choice));
        outcomes.m_library = comparison.m_library(placed, Random(choice));
    }
    catch (const NotForComparison&)
    {
        outcomes.m_isCase = false;
    }
    return outcomes;
}

// The shortest text found by taking parts out that still makes the two differ.
std::string Shrink(const Comparison& comparison, std::string text, uint64 choice)
{
    int steps = 0;
    for (std::size_t part = text.size(); part > 0; part /= 2)
        for (std::size_t at = 0; at < text.size() && steps < s_maxShrinkSteps;)
        {
            std::string shorter = text;
            shorter.erase(at, part);
            ++steps;
            if (GetOutcomes(comparison, shorter, choice).Differ())
                text = shorter;
            else
                at += part;
        }
    return text;
}

// --- What runs when a reading crashes --------------------------------------------------------------------------------

char s_running[256];

void TellRunning(int signal)
{
    const ssize_t written = ::write(STDERR_FILENO, s_running, std::strlen(s_running));
    static_cast<void>(written);
    std::signal(signal, SIG_DFL);
}

class CrashTeller
{
public:
    CrashTeller()
    {
        struct sigaction action = {};
        action.sa_handler = TellRunning;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        for (std::size_t i = 0; i < std::size(s_signals); ++i)
            ::sigaction(s_signals[i], &action, &m_before[i]);
    }
    ~CrashTeller()
    {
        for (std::size_t i = 0; i < std::size(s_signals); ++i)
            ::sigaction(s_signals[i], &m_before[i], nullptr);
    }
    CrashTeller(const CrashTeller&) = delete;
    CrashTeller& operator=(const CrashTeller&) = delete;

private:
    static constexpr int s_signals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGABRT};
    struct sigaction m_before[std::size(s_signals)];
};

std::string NameOfRunningTest()
{
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    return std::string(test.test_suite_name()) + "." + test.name();
}

void CompareCase(const Comparison& comparison, const std::string& text, uint64 choice)
{
    const Outcomes whole = GetOutcomes(comparison, text, choice);
    if (GetSettings().m_isOneCase)
        std::printf("%s  text      %s\n  reference %s\n", s_running, ::testing::PrintToString(text).c_str(),
                    ::testing::PrintToString(whole.m_reference).c_str());
    if (!whole.Differ())
        return;
    const std::string smallest = Shrink(comparison, text, choice);
    const Outcomes outcomes = GetOutcomes(comparison, smallest, choice);
    ADD_FAILURE() << s_running << "  text      " << ::testing::PrintToString(smallest) << "\n  library   "
                  << ::testing::PrintToString(outcomes.m_library) << "\n  reference "
                  << ::testing::PrintToString(outcomes.m_reference);
}

// Compares the texts makeText(number, random, choice) for each of the numbers below `end`.
template <class MakeText>
void CompareCases(const Comparison& comparison, uint64 end, MakeText makeText)
{
    const CrashTeller teller;
    const Settings& settings = GetSettings();
    const std::string test = NameOfRunningTest();
    const ::testing::TestResult& result = *::testing::UnitTest::GetInstance()->current_test_info()->result();
    for (uint64 number = settings.m_isOneCase ? settings.m_case : 0; number < end; ++number)
    {
        std::snprintf(s_running, sizeof s_running, "%s: KELM_READING_SEED=%llu KELM_READING_CASE=%llu\n", test.c_str(),
                      static_cast<unsigned long long>(settings.m_seed), static_cast<unsigned long long>(number));
        const CaseSeeds seeds = SeedsOf(test, number);
        Random random(seeds.m_text);
        CompareCase(comparison, makeText(number, random, Random(seeds.m_choice)), seeds.m_choice);
        if (settings.m_isOneCase || result.total_part_count() >= s_maxFailures)
            return;
    }
}

uint64 GetNumCases(const Comparison& comparison)
{
    return std::max<uint64>(1, GetSettings().m_cases * static_cast<uint64>(comparison.m_share) / 1000);
}

} // namespace

void Compare(const Comparison& comparison)
{
    CompareCases(comparison, GetNumCases(comparison),
                 [&](uint64, Random& random, Random choice) { return comparison.m_draw(random, choice); });
}

void CompareAll(std::size_t count, const std::function<std::string(std::size_t index)>& makeText,
                const Comparison& comparison)
{
    const uint64 numCases = GetNumCases(comparison);
    const bool areAll = numCases >= count;
    CompareCases(comparison, areAll ? count : numCases,
                 [&](uint64 number, Random& random, Random)
                 { return makeText(areAll ? static_cast<std::size_t>(number) : random.Below(count)); });
}

// --- Outcomes --------------------------------------------------------------------------------------------------------

std::string Told(std::size_t number)
{
    return std::to_string(number);
}

std::string ToldBits(float value)
{
    return std::isnan(value) ? "nan" : "f" + std::to_string(std::bit_cast<uint32>(value));
}

std::string ToldBits(double value)
{
    return std::isnan(value) ? "nan" : "d" + std::to_string(std::bit_cast<uint64>(value));
}

std::string ToldError(const TextError& e)
{
    return "LexScannerException at " + Told(e.m_place) + ": " + e.m_message;
}

std::string ToldToken(int32 kind, std::size_t begin, std::size_t end)
{
    return std::to_string(kind) + "[" + Told(begin) + "," + Told(end) + ")";
}

std::string ToldState(const Stream& stream)
{
    const Token& token = stream.m_token;
    const Token& previous = stream.m_prevToken;
    return " at " + ToldToken(token.m_kind, token.m_begin, token.m_end) + " behind " +
           ToldToken(previous.m_kind, previous.m_begin, previous.m_end) + " rest " + Told(stream.m_rest);
}

} // namespace kelm::reference
