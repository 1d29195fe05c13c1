// Eight threads evaluate, navigate, build and write at once, and register nothing. What a class, a variant or an
// enumeration works out when it is first used (index, plan, model) is worked out by all of them at the same moment:
// each round uses a class that nobody has used. Run under ThreadSanitizer it says whether they may.

#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <map>
#include <optional>
#include <string>
#include <thread>
#include <vector>

// A part, its choice and a whole of it, under names of their own.
#define KELM_TEST_ROUND(n)                                                                                             \
    namespace round##n                                                                                                 \
    {                                                                                                                  \
        enum class Colour : int                                                                                        \
        {                                                                                                              \
            RED,                                                                                                       \
            GREEN = 5                                                                                                  \
        };                                                                                                             \
        struct Part                                                                                                    \
        {                                                                                                              \
            double x = 0;                                                                                              \
            kelm::xstring name;                                                                                        \
            Colour colour = Colour::RED;                                                                               \
        };                                                                                                             \
        struct Whole                                                                                                   \
        {                                                                                                              \
            kelm::xvector<Part> parts;                                                                                 \
            kelm::xmap<kelm::int32, Part> byNumber;                                                                    \
            std::map<std::string, std::optional<int>> foreign;                                                         \
            Part fixed[2];                                                                                             \
            kelm::ptr<kelm::IObject> next;                                                                             \
        };                                                                                                             \
    }                                                                                                                  \
    KELM_ENUM(round##n::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN))                                                    \
    KELM_CLASS(round##n::Part, KELM_MODEL(x), KELM_MODEL(name), KELM_MODEL(colour))                                    \
    KELM_CLASS(round##n::Whole, KELM_MODEL(parts), KELM_MODEL(byNumber), KELM_MODEL(foreign), KELM_MODEL(fixed),       \
               KELM_MODEL(next))

#define KELM_TEST_TYPES(n) round##n::Colour, round##n::Part, round##n::Whole

KELM_TEST_ROUND(0)
KELM_TEST_ROUND(1)
KELM_TEST_ROUND(2)
KELM_TEST_ROUND(3)
KELM_TEST_ROUND(4)
KELM_TEST_ROUND(5)
KELM_TEST_ROUND(6)
KELM_TEST_ROUND(7)

namespace kelm
{

namespace
{

constexpr int s_numThreads = 8;
constexpr int s_numRounds = 8;

// What one thread finds; threads say nothing to the test themselves.
struct Findings
{
    std::vector<std::string> m_wrong;

    void Expect(bool holds, const std::string& what)
    {
        if (!holds)
            m_wrong.push_back(what);
    }
};

const std::string& Body()
{
    static const std::string s_body = "{ parts = [{ x = 1.5 name = 'first' colour = GREEN }, { x = -2.25 name = "
                                      "'second' }] byNumber = [1 -> { x = 3 }] "
                                      "foreign = ['a' -> 7] fixed = [{ x = 1 name = 'f' }, { x = 2 name = 'g' }] }";
    return s_body;
}

std::string ClassName(int round)
{
    return "round" + std::to_string(round) + ".Whole";
}

void ReadAndWrite(int round, Findings& findings)
{
    const std::string name = ClassName(round);
    const std::string inner = name + Body();
    const std::string text = name + Body().substr(0, Body().size() - 1) + " next = " + inner + "}";
    xstring error;
    const GcRoot object(ParseDataSourceFromString(xstring(text), error));
    findings.Expect(bool(object.get()), "not read: " + std::string(error.view()));
    if (!object.get())
        return;
    StringStream os(4096);
    WriteObject(os, object.get());
    const xstring written = os.GetString();
    const GcRoot again(ParseDataSourceFromString(written, error));
    StringStream second(4096);
    WriteObject(second, again.get());
    findings.Expect(second.GetString() == written, "written otherwise: " + std::string(written.view()));

    ReflectionByteCode type;
    const void* const x = NavigatePathToField(object.get(), xstring(".next.parts[1].x"), type, (round & 1) != 0, error);
    findings.Expect(x != nullptr && *static_cast<const double*>(x) == -2.25, "another field");
    findings.Expect(NavigatePathToField(object.get(), xstring(".parts[2].x"), type, false, error) == nullptr,
                    "a field that is none");

    findings.Expect(!ParseDataSourceFromString(xstring(name + "{ parts = [{ colour = BLUE }] }"), error),
                    "a wrong colour");
    findings.Expect(!ParseDataSourceFromString(xstring(name + "{ prats = [] }"), error), "a wrong member");
}

void EvaluateSome(Findings& findings)
{
    struct Row
    {
        const char* m_text;
        double m_value; // none where the text is wrong
    };
    constexpr double none = -1;
    constexpr Row rows[] = {
        {"1 + 2 * 3", 7},
        {"(7 ^^ 2 > 40) ? 0x10 : 2", 16},
        {"is_string('a' + 'b') && true ? 5.5 : 6", 5.5},
        {"cos(0.0) + 97", 98},
        {"1 + nothing", none},
        {"(1", none},
    };
    for (int i = 0; i < 20; ++i)
        for (const Row& row : rows)
            try
            {
                KSParser parser;
                parser.Init(row.m_text);
                KSValue value;
                parser.ParseExpression(value);
                findings.Expect(As<double>(value, true) == row.m_value, row.m_text);
            }
            catch (const LexScannerException&)
            {
                findings.Expect(row.m_value == none, row.m_text);
            }
}

TEST(Threads, EvaluateNavigateBuildAndWriteAtOnce)
{
    Register_Project_klKelmScript();
    RegisterTypes<KELM_TEST_TYPES(0), KELM_TEST_TYPES(1), KELM_TEST_TYPES(2), KELM_TEST_TYPES(3), KELM_TEST_TYPES(4),
                  KELM_TEST_TYPES(5), KELM_TEST_TYPES(6), KELM_TEST_TYPES(7)>(nullptr);

    std::barrier begin(s_numThreads);
    std::array<Findings, s_numThreads> findings;
    std::vector<std::thread> threads;
    for (Findings& own : findings)
        threads.emplace_back(
            [&begin, &own]
            {
                for (int round = 0; round < s_numRounds; ++round)
                {
                    begin.arrive_and_wait();
                    ReadAndWrite(round, own);
                    EvaluateSome(own);
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    for (const Findings& own : findings)
        EXPECT_EQ(own.m_wrong, std::vector<std::string>());
    EXPECT_EQ(CollectGarbage().m_live, 0);
}

} // namespace

} // namespace kelm
