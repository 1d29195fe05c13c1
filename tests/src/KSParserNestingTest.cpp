// Nesting without a limit but memory.

#include <klKelmScript/KSParser.h>

#include <support/Script.h>

#include <gtest/gtest.h>

#include <string>

#include <pthread.h>

namespace kelm
{
namespace
{

// Sanitizers multiply the size of every frame; a tenth is deep enough to cross many stack segments.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KELM_HAS_LARGE_FRAMES
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KELM_HAS_LARGE_FRAMES
#endif
#endif
#ifdef KELM_HAS_LARGE_FRAMES
constexpr std::size_t s_depth = 100000;
#else
constexpr std::size_t s_depth = 1000000;
#endif

std::string Repeated(const std::string& text, std::size_t count)
{
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
        result += text;
    return result;
}

TEST(DeeplyNestedExpressions, EvaluateInParentheses)
{
    EXPECT_EQ(OutcomeOfText(Repeated("(", s_depth) + "7" + Repeated(")", s_depth)), "int64 7");
    EXPECT_EQ(OutcomeOfText(Repeated("(1+", s_depth) + "0" + Repeated(")", s_depth)),
              "int64 " + std::to_string(s_depth));
}

TEST(DeeplyNestedExpressions, EvaluateInPrefixOperators)
{
    EXPECT_EQ(OutcomeOfText(Repeated("- ", s_depth) + "7"), "int64 7");
    EXPECT_EQ(OutcomeOfText(Repeated("~", s_depth) + "7"), "int64 7");
    EXPECT_EQ(OutcomeOfText(Repeated("!", s_depth) + "true"), "bool true");
    EXPECT_EQ(OutcomeOfText(Repeated("+ ", s_depth) + "2.5"), "float64 2.5");
}

TEST(DeeplyNestedExpressions, EvaluateInConditionals)
{
    EXPECT_EQ(OutcomeOfText(Repeated("false ? 1 : ", s_depth) + "2"), "int64 2");
    EXPECT_EQ(OutcomeOfText(Repeated("true ? ", s_depth) + "2" + Repeated(" : 1", s_depth)), "int64 2");
}

TEST(DeeplyNestedExpressions, EvaluateInBuiltIns)
{
    EXPECT_EQ(OutcomeOfText(Repeated("int(", s_depth) + "2.5" + Repeated(")", s_depth)), "int64 2");
    EXPECT_EQ(OutcomeOfText(Repeated("cos(", s_depth) + "0.5" + Repeated(")", s_depth)),
              OutcomeOfText(Repeated("cos(", 1000) + "0.5" + Repeated(")", 1000))); // its fixed point
}

TEST(DeeplyNestedExpressions, FailWithTheErrorAndPlaceOfTheInnermost)
{
    EXPECT_EQ(OutcomeOfText(Repeated("(", s_depth)),
              "LexScannerException at " + std::to_string(s_depth) + ": Unexpected end of text after ( in expression");
}

// Every form that nests, less deeply: unwinding takes longer than evaluating.
TEST(DeeplyNestedExpressions, FailWhateverTheyAreMadeOf)
{
    constexpr std::size_t depth = s_depth / 10;
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
    EXPECT_EQ(OutcomeOfText(Repeated(text, s_depth / 10)), "LexScannerException at " +
                                                               std::to_string(text.size() * (s_depth / 10)) +
                                                               ": Unexpected end of text after ( in expression");
}

void* EvaluateDeeply(void* outcome)
{
    *static_cast<std::string*>(outcome) = OutcomeOfText(Repeated("(", s_depth) + "7" + Repeated(")", s_depth));
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
