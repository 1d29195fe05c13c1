// What a program's own code sees of the parser when an expression runs it, and that a value of its is destroyed.

#include <klKelmScript/KSParser.h>

#include <klKelmScript/klKelmScript.h>
#include <klObject/describe/Describe.h>
#include <klObject/describe/TypeOf.h>
#include <klObject/values/ReflectedVariable.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <string>

namespace watch
{

// Notes the parser's tokens when it is destroyed.
struct Onlooker
{
    ~Onlooker()
    {
        ++s_destroyed;
        if (s_parser != nullptr)
            s_seen +=
                kelm::ToStdString(s_parser->m_prevToken.m_str) + "," + kelm::ToStdString(s_parser->m_token.m_str) + " ";
    }

    int id = 0;

    static inline const kelm::KSParser* s_parser = nullptr;
    static inline std::string s_seen;
    static inline int s_destroyed = 0;
};

} // namespace watch

template <>
inline constexpr bool kelm::IsRelocatable<watch::Onlooker> = true;

KELM_CLASS(watch::Onlooker, KELM_MODEL(id))

namespace kelm
{
namespace
{

using watch::Onlooker;

// Makes the value one that holds an onlooker.
void HoldOnlooker(KSValue& value)
{
    Register_Project_klKelmScript();
    EnsureRegistered<Onlooker>();
    value = KSValue(ReflectedValue());
    auto& reflected = value.as<ReflectedValue>();
    reflected.m_rbc = TypeOf<Onlooker>();
    reflected.m_data.resize(sizeof(Onlooker));
    ConstructReflectedVariable(reflected.m_rbc, reflected.m_data.data());
}

TEST(EvaluationBorder, ShowsTheTokenWhoseValueTakesThePlaceOfAnother)
{
    const struct
    {
        const char* m_text;
        const char* m_seen; // the token before and the current one
    } rows[] = {
        {"1", ",1 "},
        {"(1)", "(,1 "},
        {"((2.5))", "(,2.5 "},
        {"('a')", "(,'a' "},
        {"(\"b\\n\")", "(,\"b\\n\" "},
        {"(true)", "true,) "},
        {"(0x1F)", "(,0x1F "},
        {"-(7)", "(,7 "},
    };
    for (const auto& row : rows)
    {
        KSParser parser;
        KSValue value;
        HoldOnlooker(value);
        parser.Init(SubString(row.m_text));
        Onlooker::s_seen.clear();
        Onlooker::s_parser = &parser;
        parser.ParseExpression(value);
        Onlooker::s_parser = nullptr;
        EXPECT_EQ(Onlooker::s_seen, row.m_seen) << row.m_text;
    }
}

// Leaves with what a handler of the fault sees of the parser.
void DivideAndLook(const char* text)
{
    std::signal(SIGFPE,
                [](int)
                {
                    const KSParser& parser = *Onlooker::s_parser;
                    const bool isThere = ToStdString(parser.m_prevToken.m_str) == "1" || //
                                         ToStdString(parser.m_prevToken.m_str) == "1.0";
                    std::_Exit(isThere && ToStdString(parser.m_token.m_str) == "+" ? 42 : 1);
                });
    KSParser parser;
    Onlooker::s_parser = &parser;
    parser.Init(SubString(text));
    KSValue value;
    parser.ParseExpression(value);
}

TEST(EvaluationBorderDeathTest, ShowsTheTokenBehindADivisionThatFaults)
{
    for (const char* text : {"(-9223372036854775807 - 1) / -1 + 2", "(-9223372036854775807 - 1) % -1 + 2",
                             "-9223372036854775808.0 / -1.0 + 2", "(-9223372036854775807 - 1) / -1.0 + 2"})
        EXPECT_EXIT(DivideAndLook(text), ::testing::ExitedWithCode(42), "") << text;
}

TEST(EvaluationBorder, ValuesAreDestroyedWithTheirVariable)
{
    const int before = Onlooker::s_destroyed;
    {
        KSValue value;
        HoldOnlooker(value);
    }
    EXPECT_EQ(Onlooker::s_destroyed, before + 1);
    {
        KSValue value;
        HoldOnlooker(value);
        value = KSValue();
        EXPECT_EQ(Onlooker::s_destroyed, before + 2);
    }
    EXPECT_EQ(Onlooker::s_destroyed, before + 2);
}

} // namespace
} // namespace kelm
