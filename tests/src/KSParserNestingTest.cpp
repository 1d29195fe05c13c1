// Nesting without a limit but memory.

#include <klKelmScript/KSParser.h>

#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Script.h>

#include <gtest/gtest.h>

#include <string>

#include <pthread.h>

namespace kelm
{
namespace
{

TEST(DeeplyNestedExpressions, EvaluateInParentheses)
{
    EXPECT_EQ(OutcomeOfText(Repeated("(", s_nesting) + "7" + Repeated(")", s_nesting)), "int64 7");
    EXPECT_EQ(OutcomeOfText(Repeated("(1+", s_nesting) + "0" + Repeated(")", s_nesting)),
              "int64 " + std::to_string(s_nesting));
}

TEST(DeeplyNestedExpressions, EvaluateInPrefixOperators)
{
    EXPECT_EQ(OutcomeOfText(Repeated("- ", s_nesting) + "7"), "int64 7");
    EXPECT_EQ(OutcomeOfText(Repeated("~", s_nesting) + "7"), "int64 7");
    EXPECT_EQ(OutcomeOfText(Repeated("!", s_nesting) + "true"), "bool true");
    EXPECT_EQ(OutcomeOfText(Repeated("+ ", s_nesting) + "2.5"), "float64 2.5");
}

// Where every operand is one too many for the stack.
TEST(DeeplyNestedExpressions, EvaluateOnASmallStack)
{
    const ExpressionRow rows[] = {
        {"-(1)", "int64 -1"},
        {"- - ~(1 + 2 * 3)", "int64 -8"},
        {"!(true ? false : true) && true", "bool true"},
        {"-len(1)", "KSValueException: len() not available on int64"},
        {"-(1", "LexScannerException at 3: Expected ) when read end of text"},
    };
    for (const ExpressionRow& row : rows)
    {
        std::string outcome;
        RunOnThread(s_smallStack, [&] { outcome = OutcomeOfText(row.m_text); });
        EXPECT_EQ(outcome, row.m_outcome) << row.m_text;
    }
}

// Numbers of more digits than any reading of their own keeps.
TEST(LongNumbers, AreReadToTheLastDigit)
{
    const std::string many((1 << 20) + 100, '1');
    const std::string exponent = std::to_string(many.size());
    const ExpressionRow rows[] = {
        {many + "e-" + exponent, "float64 0.1111111111111111"},
        {many + "e-1" + exponent, "float64 0.0"},
        {"0." + many, "float64 0.1111111111111111"},
    };
    for (const ExpressionRow& row : rows)
        EXPECT_EQ(OutcomeOfText(row.m_text), row.m_outcome) << row.m_text.substr(many.size());
    EXPECT_EQ(OutcomeOfText(many + ".0"),
              "LexScannerException at 0: Float literal " + many.substr(0, 80) + "... is out of range of float64");
}

TEST(DeeplyNestedExpressions, EvaluateInConditionals)
{
    EXPECT_EQ(OutcomeOfText(Repeated("false ? 1 : ", s_nesting) + "2"), "int64 2");
    EXPECT_EQ(OutcomeOfText(Repeated("true ? ", s_nesting) + "2" + Repeated(" : 1", s_nesting)), "int64 2");
}

TEST(DeeplyNestedExpressions, EvaluateInBuiltIns)
{
    EXPECT_EQ(OutcomeOfText(Repeated("int(", s_nesting) + "2.5" + Repeated(")", s_nesting)), "int64 2");
    EXPECT_EQ(OutcomeOfText(Repeated("cos(", s_nesting) + "0.5" + Repeated(")", s_nesting)),
              OutcomeOfText(Repeated("cos(", 1000) + "0.5" + Repeated(")", 1000))); // its fixed point
}

// Each level would take as long as the whole text is, if it copied that.
TEST(DeeplyNestedExpressions, JoinTextsInTimeThatGrowsWithThem)
{
    const auto repeated = [](const char* begin, const char* middle, const char* end)
    { return Repeated(begin, s_nesting / 4) + middle + Repeated(end, s_nesting / 4); };
    const auto joined = [](const char* begin, const char* middle, const char* end)
    { return "string " + Repeated(begin, s_nesting / 4) + middle + Repeated(end, s_nesting / 4); };
    const std::string half = "'" + std::string(s_nesting / 4, 'x') + "'";
    EXPECT_EQ(OutcomeOfText(repeated("'a'+(", "'b'", ")")), joined("a", "b", ""));
    EXPECT_EQ(OutcomeOfText(repeated("(", "'b'", "+'a')")), joined("", "b", "a"));
    EXPECT_EQ(OutcomeOfText(repeated("'ab'+(", "'c'", "+'de')")), joined("ab", "c", "de"));
    EXPECT_EQ(OutcomeOfText(repeated("string(", half.c_str(), ")")), "string " + std::string(s_nesting / 4, 'x'));
}

TEST(DeeplyNestedExpressions, FailWithTheErrorAndPlaceOfTheInnermost)
{
    EXPECT_EQ(OutcomeOfText(Repeated("(", s_nesting)),
              "LexScannerException at " + std::to_string(s_nesting) + ": Unexpected end of text after ( in expression");
}

// Every form that nests, less deeply: unwinding takes longer than evaluating.
TEST(DeeplyNestedExpressions, FailWhateverTheyAreMadeOf)
{
    constexpr int depth = s_nesting / 10;
    const auto at = [](std::size_t offset, const std::string& message)
    { return "LexScannerException at " + std::to_string(offset) + ": " + message; };
    const ExpressionRow rows[] = {
        {Repeated("(", depth) + "1/0", "KSValueException: Division by zero error"},
        {Repeated("(", depth) + "1e999", at(depth, "Float literal 1e999 is out of range of float64")},
        {Repeated("(", depth) + "len('a')", "KelmAssertionError: 0 (src/KSValue)"},
        {Repeated("(", depth) + "7" + Repeated(")", depth - 1), at(2 * depth, "Expected ) when read end of text")},
        {Repeated("- ", depth), at(2 * depth, "Unexpected end of text after - in expression")},
        {Repeated("sin(", depth) + "1" + Repeated(")", depth),
         at(4 * depth + 1, "No implicit conversion from value 1 to float64")},
        {Repeated("1[", depth), at(2 * depth, "Unexpected end of text after [ in expression")},
        {Repeated("1(", depth), at(2 * depth, "Unexpected end of text after ( in expression")},
        {Repeated("1(2,", depth) + "3" + Repeated(")", depth),
         "KSValueException: Function call not implemented currently"},
        {Repeated("true ? ", depth), at(7 * depth, "Unexpected end of text after ? in expression")},
        {Repeated("true ? 1 : ", depth), at(11 * depth, "Unexpected end of text after : in expression")},
        {Repeated("int(", depth) + "'x'", at(4 * depth + 3, "Expected ) when read end of text")},
    };
    for (const ExpressionRow& row : rows)
        EXPECT_EQ(OutcomeOfText(row.m_text), row.m_outcome) << row.m_text.substr(0, 20);
}

// Values on the way are destroyed while a failure passes: a leak otherwise.
TEST(DeeplyNestedExpressions, ReleaseWhatTheyHeld)
{
    const std::string text = "'a text that is too long to lie inside its string' + (";
    EXPECT_EQ(OutcomeOfText(Repeated(text, s_nesting / 10)), "LexScannerException at " +
                                                                 std::to_string(text.size() * (s_nesting / 10)) +
                                                                 ": Unexpected end of text after ( in expression");
}

void* EvaluateDeeply(void* outcome)
{
    *static_cast<std::string*>(outcome) = OutcomeOfText(Repeated("(", s_nesting) + "7" + Repeated(")", s_nesting));
    return nullptr;
}

TEST(DeeplyNestedExpressions, EvaluateOnAThreadWithALittleStack)
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 512 * 1024);
    pthread_t thread;
    std::string outcome;
    ASSERT_EQ(pthread_create(&thread, &attributes, EvaluateDeeply, &outcome), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(outcome, "int64 7");
}

} // namespace
} // namespace kelm
