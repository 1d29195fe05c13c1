#include <klUtils/text/ExpressionParser.h>

#include <klUtils/ToString.h>
#include <support/Expect.h>
#include <support/InCLocale.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <random>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace kelm
{
namespace
{

// One of the thirteen reads, with its value written as text.
struct TypedRead
{
    const char* m_typeName;
    std::string (*m_read)(ExpressionParser& parser);
};

template <auto Read>
std::string ReadNumber(ExpressionParser& parser)
{
    const auto value = (parser.*Read)(false);
    if constexpr (std::is_same_v<decltype(value), const uint64> || std::is_floating_point_v<decltype(value)>)
        return ToStdString(NumberText(value));
    else
        return std::to_string(static_cast<long>(value));
}

constexpr TypedRead s_integerReads[] = {
    {"int8", ReadNumber<&ExpressionParser::ParseInt8>},     {"int16", ReadNumber<&ExpressionParser::ParseInt16>},
    {"int32", ReadNumber<&ExpressionParser::ParseInt32>},   {"int64", ReadNumber<&ExpressionParser::ParseInt64>},
    {"uint8", ReadNumber<&ExpressionParser::ParseUInt8>},   {"uint16", ReadNumber<&ExpressionParser::ParseUInt16>},
    {"uint32", ReadNumber<&ExpressionParser::ParseUInt32>}, {"uint64", ReadNumber<&ExpressionParser::ParseUInt64>}};

constexpr TypedRead s_floatReads[] = {{"float32", ReadNumber<&ExpressionParser::ParseFloat32>},
                                      {"float64", ReadNumber<&ExpressionParser::ParseFloat64>}};

constexpr TypedRead s_otherReads[] = {
    {"bool", [](ExpressionParser& parser) { return std::string(parser.ParseBool(false) ? "true" : "false"); }},
    {"character", [](ExpressionParser& parser) { return std::string(1, parser.ParseChar(false)); }},
    {"string", [](ExpressionParser& parser) { return ToStdString(parser.ParseString(false)); }}};

const TypedRead& ReadOf(const std::string& typeName)
{
    for (const TypedRead& read : s_integerReads)
        if (read.m_typeName == typeName)
            return read;
    for (const TypedRead& read : s_floatReads)
        if (read.m_typeName == typeName)
            return read;
    for (const TypedRead& read : s_otherReads)
        if (read.m_typeName == typeName)
            return read;
    throw std::invalid_argument(typeName);
}

// Reads a value that other text follows, and checks that nothing of that was taken.
std::string ReadValue(const TypedRead& read, const std::string& text)
{
    const std::string whole = text + " /* */ next";
    ExpressionParser parser;
    parser.Init(ViewOf(whole));
    const std::string value = read.m_read(parser);
    EXPECT_EQ(parser.GetTokenString(), "next") << read.m_typeName << " " << text;
    return value;
}

::testing::AssertionResult Fails(const TypedRead& read, const std::string& text, ssize_t offset,
                                 const std::string& message)
{
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    return ThrowsLexScannerException([&] { read.m_read(parser); }, ViewOf(text), offset, message);
}

struct Range
{
    const char* m_typeName;
    const char* m_least;
    const char* m_belowLeast; // without its sign
    const char* m_greatest;
    const char* m_aboveGreatest;
    const char* m_greatestHex;
    const char* m_aboveGreatestHex;
};

constexpr Range s_signedRanges[] = {
    {"int8", "-128", "129", "127", "128", "0x7f", "0x80"},
    {"int16", "-32768", "32769", "32767", "32768", "0x7FFF", "0x8000"},
    {"int32", "-2147483648", "2147483649", "2147483647", "2147483648", "0x7fffffff", "0x80000000"},
    {"int64", "-9223372036854775808", "9223372036854775809", "9223372036854775807", "9223372036854775808",
     "0x7fffffffffffffff", "0x8000000000000000"}};

constexpr Range s_unsignedRanges[] = {
    {"uint8", "0", "", "255", "256", "0xff", "0x100"},
    {"uint16", "0", "", "65535", "65536", "0xffff", "0x10000"},
    {"uint32", "0", "", "4294967295", "4294967296", "0xffffffff", "0x100000000"},
    {"uint64", "0", "", "18446744073709551615", "18446744073709551616", "0xffffffffffffffff", "0x10000000000000000"}};

std::string OutOfRange(const std::string& value, const char* typeName)
{
    return "Value " + value + " is out of range of " + typeName;
}

void ExpectUpperBound(const Range& range)
{
    const TypedRead& read = ReadOf(range.m_typeName);
    EXPECT_EQ(ReadValue(read, range.m_greatest), range.m_greatest);
    EXPECT_EQ(ReadValue(read, range.m_greatestHex), range.m_greatest);
    EXPECT_EQ(ReadValue(read, "000000000000000000000" + std::string(range.m_greatest)), range.m_greatest);
    EXPECT_EQ(ReadValue(read, "0"), "0");
    for (const char* const tooMuch : {range.m_aboveGreatest, range.m_aboveGreatestHex, "18446744073709551616",
                                      "100000000000000000000000000", "0xfffffffffffffffff"})
        EXPECT_TRUE(Fails(read, std::string(" ") + tooMuch, 1, OutOfRange(tooMuch, range.m_typeName)));
}

TEST(SignedReads, TakeTheWholeRangeOfTheirTypeAndNothingOutside)
{
    for (const Range& range : s_signedRanges)
    {
        ExpectUpperBound(range);
        const TypedRead& read = ReadOf(range.m_typeName);
        EXPECT_EQ(ReadValue(read, range.m_least), range.m_least);
        EXPECT_EQ(ReadValue(read, std::string("-") + range.m_aboveGreatestHex), range.m_least);
        EXPECT_EQ(ReadValue(read, std::string("- ") + (range.m_least + 1)), range.m_least);
        EXPECT_EQ(ReadValue(read, std::string("+") + range.m_greatest), range.m_greatest);
        EXPECT_EQ(ReadValue(read, "-0"), "0");
        for (const char* const tooMuch : {range.m_belowLeast, "18446744073709551615", "99999999999999999999999"})
            EXPECT_TRUE(
                Fails(read, std::string("-") + tooMuch, 1, OutOfRange(std::string("-") + tooMuch, range.m_typeName)));
        EXPECT_TRUE(Fails(read, std::string("+") + range.m_aboveGreatest, 1,
                          OutOfRange(range.m_aboveGreatest, range.m_typeName)));
    }
}

TEST(UnsignedReads, TakeTheWholeRangeOfTheirTypeAndNoSign)
{
    for (const Range& range : s_unsignedRanges)
    {
        ExpectUpperBound(range);
        const TypedRead& read = ReadOf(range.m_typeName);
        for (const std::string sign : {"-", "+"})
            for (const char* const value : {"0", "1"})
                EXPECT_TRUE(
                    Fails(read, sign + value, 0, std::string("Expected ") + range.m_typeName + " when read " + sign));
    }
}

template <class Int>
void ExpectEveryValueReads(const TypedRead& read)
{
    for (int value = std::numeric_limits<Int>::min() - 3; value <= std::numeric_limits<Int>::max() + 3; ++value)
    {
        const std::string text = std::to_string(value);
        const bool isInside = value == static_cast<Int>(value);
        if (isInside)
        {
            ASSERT_EQ(ReadValue(read, text), text);
        }
        else if (value >= 0 || std::is_signed_v<Int>)
        {
            ASSERT_TRUE(Fails(read, text, value < 0, OutOfRange(text, read.m_typeName)));
        }
    }
}

TEST(IntegerReads, TakeEveryValueOfTheSmallTypes)
{
    ExpectEveryValueReads<int8>(ReadOf("int8"));
    ExpectEveryValueReads<uint8>(ReadOf("uint8"));
    ExpectEveryValueReads<int16>(ReadOf("int16"));
    ExpectEveryValueReads<uint16>(ReadOf("uint16"));
}

TEST(IntegerReads, RefuseWhatIsNoInteger)
{
    for (const TypedRead& read : s_integerReads)
    {
        for (const char* const token : {"1.0", "1e3", "true", "'1'", "\"1\"", "x", "inf", "(", "--"})
            EXPECT_TRUE(Fails(read, std::string(" ") + token, 1,
                              std::string("Expected ") + read.m_typeName + " when read " + token));
        EXPECT_TRUE(Fails(read, "", 0, std::string("Expected ") + read.m_typeName + " when read end of text"));
    }
    EXPECT_TRUE(Fails(ReadOf("int8"), "- -1", 2, "Expected int8 when read -"));
    EXPECT_TRUE(Fails(ReadOf("int32"), "-x", 1, "Expected int32 when read x"));
    EXPECT_TRUE(Fails(ReadOf("int64"), "+", 1, "Expected int64 when read end of text"));
}

struct ValueRow
{
    const char* m_typeName;
    std::string m_text;
    std::string m_value;
};

TEST(FloatReads, TakeTheNearestValueOfFloatsAndIntegers)
{
    const ValueRow rows[] = {
        {"float64", "1.5", "1.5"},
        {"float64", "-1.5", "-1.5"},
        {"float64", "+ .5", "0.5"},
        {"float64", "7", "7.0"},
        {"float64", "-0", "-0.0"},
        {"float64", "0x10", "16.0"},
        {"float64", "-0xffffffffffffffff", "-18446744073709551616.0"},
        {"float64", "9007199254740993", "9007199254740992.0"},
        {"float64", "123456789012345678901234567890", "1.2345678901234568e+29"},
        {"float64", "1.7976931348623157e308", "1.7976931348623157e+308"},
        {"float64", "-4.9e-324", "-5e-324"},
        {"float64", "1e-400", "0.0"},
        {"float64", "00000000000000000000", "0.0"},
        {"float64", "-0.0000000000000000000", "-0.0"},
        {"float32", "0.0000000000000000000", "0.0"},
        {"float64", "-1e-400", "-0.0"},
        {"float64", "inf", "inf"},
        {"float64", "-inf", "-inf"},
        {"float64", "+inf", "inf"},
        {"float64", "nan", "nan"},
        {"float64", "-nan", "nan"},
        {"float32", "1.5", "1.5"},
        {"float32", "-7", "-7.0"},
        {"float32", "0.1", "0.1"},
        {"float32", "0xff", "255.0"},
        {"float32", "16777217", "16777216.0"},
        // Rounding to double first would lose the last digit and then round down to the even neighbour.
        {"float32", "16777217.000000001", "16777218.0"},
        {"float32", "3.4028235e38", "3.4028235e+38"},
        {"float32", "340282346638528859811704183484516925440", "3.4028235e+38"},
        {"float32", "1e-46", "0.0"},
        {"float32", "1.4e-45", "1e-45"},
        {"float32", "inf", "inf"},
        {"float32", "-inf", "-inf"},
        {"float32", "nan", "nan"},
    };
    for (const ValueRow& row : rows)
        EXPECT_EQ(ReadValue(ReadOf(row.m_typeName), row.m_text), row.m_value) << row.m_typeName << " " << row.m_text;
}

struct ErrorRow
{
    const char* m_typeName;
    std::string m_text;
    ssize_t m_offset;
    std::string m_message;
};

void ExpectErrors(const std::vector<ErrorRow>& rows)
{
    for (const ErrorRow& row : rows)
        EXPECT_TRUE(Fails(ReadOf(row.m_typeName), row.m_text, row.m_offset, row.m_message))
            << row.m_typeName << " " << row.m_text;
}

TEST(FloatReads, RefuseWhatIsBeyondTheirRangeOrNoNumber)
{
    ExpectErrors(
        {{"float64", "1e309", 0, "Value 1e309 is out of range of float64"},
         {"float64", " -1e309", 2, "Value -1e309 is out of range of float64"},
         {"float64", "0x10000000000000000", 0, "Value 0x10000000000000000 is out of range of float64"},
         {"float64", std::string(400, '9'), 0, "Value " + std::string(80, '9') + "... is out of range of float64"},
         {"float32", "3.5e38", 0, "Value 3.5e38 is out of range of float32"},
         {"float32", "-1e39", 1, "Value -1e39 is out of range of float32"},
         {"float32", "1e400", 0, "Value 1e400 is out of range of float32"},
         {"float32", "340282366920938463463374607431768211456", 0,
          "Value 340282366920938463463374607431768211456 is out of range of float32"},
         {"float64", "x", 0, "Expected float64 when read x"},
         {"float64", "infinity", 0, "Expected float64 when read infinity"},
         {"float64", "NaN", 0, "Expected float64 when read NaN"},
         {"float64", "'inf'", 0, "Expected float64 when read 'inf'"},
         {"float64", "true", 0, "Expected float64 when read true"},
         {"float64", "--1", 0, "Expected float64 when read --"},
         {"float64", "- -1", 2, "Expected float64 when read -"},
         {"float64", "-", 1, "Expected float64 when read end of text"},
         {"float32", "", 0, "Expected float32 when read end of text"},
         {"float32", "-x", 1, "Expected float32 when read x"}});
}

TEST(BoolReads, TakeTrueAndFalseAlone)
{
    EXPECT_EQ(ReadValue(ReadOf("bool"), "true"), "true");
    EXPECT_EQ(ReadValue(ReadOf("bool"), "false"), "false");
    ExpectErrors({{"bool", "1", 0, "Expected bool when read 1"},
                  {"bool", " 0", 1, "Expected bool when read 0"},
                  {"bool", "True", 0, "Expected bool when read True"},
                  {"bool", "truely", 0, "Expected bool when read truely"},
                  {"bool", "'true'", 0, "Expected bool when read 'true'"},
                  {"bool", "!true", 0, "Expected bool when read !"},
                  {"bool", "", 0, "Expected bool when read end of text"}});
}

TEST(CharacterReads, TakeAQuotedLiteralOfOneByte)
{
    const ValueRow rows[] = {{"character", "'a'", "a"},          {"character", "\"a\"", "a"},
                             {"character", R"('\n')", "\n"},     {"character", R"('\'')", "'"},
                             {"character", R"('\xff')", "\xFF"}, {"character", R"('\0')", std::string(1, '\0')}};
    for (const ValueRow& row : rows)
        EXPECT_EQ(ReadValue(ReadOf(row.m_typeName), row.m_text), row.m_value) << row.m_text;
    ExpectErrors({{"character", "''", 0, "Character literal '' does not hold exactly one byte"},
                  {"character", " 'ab'", 1, "Character literal 'ab' does not hold exactly one byte"},
                  {"character", "'\xC3\xA9'", 0, "Character literal '\xC3\xA9' does not hold exactly one byte"},
                  {"character", R"('\q')", 0, R"(Malformed escape \q in string literal: unknown escape)"},
                  {"character", "a", 0, "Expected character when read a"},
                  {"character", "65", 0, "Expected character when read 65"},
                  {"character", "", 0, "Expected character when read end of text"}});
}

TEST(StringReads, TakeAQuotedLiteralOfEitherKind)
{
    const ValueRow rows[] = {{"string", "''", ""},
                             {"string", "\"\"", ""},
                             {"string", "'a \"b\"'", "a \"b\""},
                             {"string", R"("tab\there")", "tab\there"},
                             {"string", R"('\u20AC')", "\xE2\x82\xAC"},
                             {"string", "'caf\xC3\xA9'", "caf\xC3\xA9"},
                             {"string", R"('a\0b')", std::string("a\0b", 3)}};
    for (const ValueRow& row : rows)
        EXPECT_EQ(ReadValue(ReadOf(row.m_typeName), row.m_text), row.m_value) << row.m_text;
    ExpectErrors(
        {{"string", R"( 'ab\x1')", 1, R"(Malformed escape \x1 in string literal: \x takes two hexadecimal digits)"},
         {"string", R"('\uD800')", 0, R"(Malformed escape \uD800 in string literal: not a Unicode character)"},
         {"string", "a", 0, "Expected string when read a"},
         {"string", "1", 0, "Expected string when read 1"},
         {"string", "", 0, "Expected string when read end of text"}});
}

TEST(TypedReads, PassOnAnErrorInTheTokenBehindTheValue)
{
    for (const auto& [typeName, text] :
         {std::pair("int8", "1"), std::pair("uint64", "1"), std::pair("float32", "1"), std::pair("bool", "true"),
          std::pair("character", "'a'"), std::pair("string", "'a'")})
    {
        const std::string whole = std::string(text) + " 'open";
        EXPECT_TRUE(
            Fails(ReadOf(typeName), whole, static_cast<ssize_t>(whole.find("'open")), "Unterminated string literal"));
    }
}

template <class Int, auto Read>
void ExpectReadsBack(Int value)
{
    const std::string text = std::to_string(value);
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    RC_ASSERT((parser.*Read)(false) == value);
    RC_ASSERT(parser.m_token.m_type == TOKEN_END);

    if constexpr (std::is_unsigned_v<Int>)
    {
        char hex[32];
        std::snprintf(hex, sizeof hex, "0x%lx", static_cast<unsigned long>(value));
        parser.Init(hex);
        RC_ASSERT((parser.*Read)(false) == value);
    }
}

// Values of every magnitude, where uniform bits would nearly all be large.
template <class Int>
Int Spread(uint64 bits, uint8 shift)
{
    return static_cast<Int>(static_cast<Int>(bits) >> (shift % (8 * sizeof(Int))));
}

RC_GTEST_PROP(IntegerReads, TakeBackWhatWasWritten, (uint64 bits, uint8 shift))
{
    ExpectReadsBack<int32, &ExpressionParser::ParseInt32>(Spread<int32>(bits, shift));
    ExpectReadsBack<int64, &ExpressionParser::ParseInt64>(Spread<int64>(bits, shift));
    ExpectReadsBack<uint32, &ExpressionParser::ParseUInt32>(Spread<uint32>(bits, shift));
    ExpectReadsBack<uint64, &ExpressionParser::ParseUInt64>(Spread<uint64>(bits, shift));
}

RC_GTEST_PROP(FloatReads, TakeBackWhatWasWritten, (uint64 bits))
{
    const auto wide = std::bit_cast<float64>(bits);
    const auto narrow = std::bit_cast<float32>(static_cast<uint32>(bits));
    RC_PRE(!std::isnan(wide) && !std::isnan(narrow));

    const std::string wideText = ToStdString(NumberText(wide));
    ExpressionParser parser;
    parser.Init(ViewOf(wideText));
    RC_ASSERT(std::bit_cast<uint64>(parser.ParseFloat64(false)) == bits);

    const std::string narrowText = ToStdString(NumberText(narrow));
    parser.Init(ViewOf(narrowText));
    RC_ASSERT(std::bit_cast<uint32>(parser.ParseFloat32(false)) == static_cast<uint32>(bits));
}

// Of every power of ten and any number of digits, and of numbers halfway between two floats with their neighbours.
TEST(FloatReads, OfFloat32GiveTheNearestOne)
{
    std::mt19937_64 random(3);
    const auto expectNearest = [](uint64 digits, int power)
    {
        const std::string text = std::to_string(digits) + "e" + std::to_string(power);
        const float expected = FloatOf(text.c_str());
        if (std::isinf(expected))
            return;
        ExpressionParser parser;
        parser.Init({text.data(), text.data() + text.size()});
        ASSERT_EQ(std::bit_cast<uint32>(parser.ParseFloat32(false)), std::bit_cast<uint32>(expected)) << text;
    };
    for (int power = -70; power <= 40; ++power)
        for (int i = 0; i < 1000; ++i)
        {
            const uint64 bits = random();
            expectNearest(bits >> (i % 64), power);
        }
    uint64 powerOfFive = 1;
    for (int power = 0; power <= 10; ++power, powerOfFive *= 5)
        for (int i = 0; i < 1000; ++i)
        {
            const uint64 halfway = uint64(1) << 24 | random() >> 40 | 1;
            for (const uint64 neighbour : {halfway * powerOfFive - 1, halfway * powerOfFive, halfway * powerOfFive + 1})
                expectNearest(neighbour, -power);
        }
}

TEST(ExpressionParser, KnowsNoFile)
{
    ExpressionParser parser;
    parser.Init("1");
    xstring file("before");
    ssize_t line = 7;
    EXPECT_FALSE(parser.GetFilenameAndLineNumberAtCurrentPosition(file, line));
    EXPECT_EQ(file, "before");
    EXPECT_EQ(line, 7);
}

} // namespace
} // namespace kelm
