#include <klUtils/text/LSToken.h>

#include <klUtils/ToString.h>
#include <klUtils/text/LsScanToken.h>
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
#include <string>

namespace kelm
{
namespace
{

// The one token of a text that outlives it.
LSToken TokenOf(SubString text)
{
    SubString rest = text;
    const LSToken token = LsScanToken(rest, false);
    EXPECT_TRUE(rest.empty()) << ToStdString(text);
    return token;
}

LSToken TokenOf(const std::string& text)
{
    return TokenOf(ViewOf(text));
}

LSToken TokenOf(const char* text)
{
    return TokenOf(SubString(text));
}

// A token as no scanner delivers it.
LSToken MadeUp(EToken kind, const char* text)
{
    return {kind, text};
}

TEST(Token, IsUndefinedAndEmptyAtFirst)
{
    const LSToken token;
    EXPECT_EQ(token.GetType(), TOKEN_UNDEF);
    EXPECT_TRUE(token.m_str.empty());
    EXPECT_EQ(token.GetTokenString(), "");
}

TEST(Token, ComparesWithKindsTextsAndTokens)
{
    const std::string a = "ab", alsoA = "ab";
    EXPECT_TRUE(TokenOf(a) == TOKEN_IDENTIFIER);
    EXPECT_TRUE(TokenOf(a) != TOKEN_INTEGER);
    EXPECT_TRUE(TokenOf(a) == "ab");
    EXPECT_TRUE(TokenOf(a) != "abc");
    EXPECT_TRUE(TokenOf(a) != "a");
    EXPECT_TRUE(TokenOf(a) == TokenOf(alsoA));
    EXPECT_TRUE((LSToken{TOKEN_IDENTIFIER, "ab"}) != (LSToken{TOKEN_UNDEF, "ab"}));
    EXPECT_EQ(TokenOf(a).GetTokenString(), "ab");
}

struct IntegerRow
{
    const char* m_text;
    int64 m_value;
};

TEST(IntegerLiterals, ReadTheWholeRangeOfInt64)
{
    const IntegerRow rows[] = {{"0", 0},
                               {"7", 7},
                               {"007", 7},
                               {"999999999999999999", 999999999999999999},
                               {"9223372036854775807", std::numeric_limits<int64>::max()},
                               {"00000000000000000000000000000000000042", 42}};
    for (const IntegerRow& row : rows)
        EXPECT_EQ(TokenOf(row.m_text).GetLiteralInt64(), row.m_value) << row.m_text;
}

TEST(IntegerLiterals, OutsideInt64AreRefused)
{
    for (const char* text : {"9223372036854775808", "9999999999999999999", "18446744073709551615",
                             "18446744073709551616", "100000000000000000000000"})
        EXPECT_TRUE(ThrowsLiteralException([&] { TokenOf(text).GetLiteralInt64(); },
                                           std::string("Integer literal ") + text + " is out of range of int64"));
}

TEST(IntegerLiterals, ReadTheWholeRangeOfInt32)
{
    const IntegerRow rows[] = {{"0", 0}, {"2147483647", 2147483647}, {"0002147483647", 2147483647}};
    for (const IntegerRow& row : rows)
        EXPECT_EQ(TokenOf(row.m_text).GetLiteralInt32(), row.m_value) << row.m_text;
}

TEST(IntegerLiterals, OutsideInt32AreAScannerErrorAtTheToken)
{
    for (const char* text : {"2147483648", "4294967295", "4294967296", "18446744073709551616"})
        EXPECT_TRUE(ThrowsLexScannerException([&] { TokenOf(text).GetLiteralInt32(); }, text, 0,
                                              std::string("Integer literal ") + text + " is out of range of int32"));
}

TEST(HexadecimalLiterals, ReadAllBitsOfTheType)
{
    const IntegerRow rows[] = {{"0x0", 0},
                               {"0X1f", 31},
                               {"0xABCDEF", 0xABCDEF},
                               {"0x000000000000000000001", 1},
                               {"0x7fffffffffffffff", std::numeric_limits<int64>::max()},
                               {"0x8000000000000000", std::numeric_limits<int64>::min()},
                               {"0xffffffffffffffff", -1}};
    for (const IntegerRow& row : rows)
        EXPECT_EQ(TokenOf(row.m_text).GetLiteralHexInt64(), row.m_value) << row.m_text;

    const IntegerRow rows32[] = {{"0x7fffffff", 2147483647}, {"0x80000000", -2147483648LL}, {"0xFFFFFFFF", -1}};
    for (const IntegerRow& row : rows32)
        EXPECT_EQ(TokenOf(row.m_text).GetLiteralHexInt32(), row.m_value) << row.m_text;
}

TEST(HexadecimalLiterals, BeyondTheTypeAreRefused)
{
    EXPECT_TRUE(ThrowsLiteralException([] { TokenOf("0x10000000000000000").GetLiteralHexInt64(); },
                                       "Hexadecimal literal 0x10000000000000000 is out of range of int64"));
    for (const char* text : {"0x100000000", "0x10000000000000000"})
        EXPECT_TRUE(ThrowsLiteralException([&] { TokenOf(text).GetLiteralHexInt32(); },
                                           std::string("Hexadecimal literal ") + text + " is out of range of int32"));
}

TEST(FloatLiterals, ReadTheNearestDouble)
{
    const struct
    {
        std::string m_text;
        double m_value;
    } rows[] = {{"0.0", 0.0},
                {"1.", 1.0},
                {".5", 0.5},
                {"1e9", 1e9},
                {"1E+2", 100.0},
                {"1.e-2", 0.01},
                {"00.10", 0.1},
                {"123456789.123456789", 123456789.123456789},
                {"9007199254740992.0", 9007199254740992.0},
                {"9007199254740993.0", 9007199254740992.0}, // halfway: to the even neighbour
                {"9007199254740993.00000000000000000001", 9007199254740994.0},
                {"18446744073709551616.0", 18446744073709551616.0}, // its digits overflow 64 bits
                {"1e22", 1e22},
                {"1e23", 1e23}, // the first power of ten that is not exact
                {"3e-23", 3e-23},
                {"1.7976931348623157e308", std::numeric_limits<double>::max()},
                {"2.2250738585072014e-308", std::numeric_limits<double>::min()},
                {"4.9e-324", std::numeric_limits<double>::denorm_min()},
                {"2e-324", 0.0},
                {"1e-400", 0.0},
                {"1e-99999999999999999999", 0.0},
                {"0e99999999999999999999", 0.0},
                {"0.0e400", 0.0},
                {".0e400", 0.0}, // no digit counts
                {"." + std::string(30, '0'), 0.0},
                {"0." + std::string(18, '0'), 0.0},
                {"0." + std::string(19, '0'), 0.0}, // no digit is left when leading zeros are not counted
                {std::string(30, '0') + "." + std::string(30, '0') + "e5", 0.0},
                {"0." + std::string(400, '0') + "1e401", 1.0},
                {"1" + std::string(400, '0') + "e-400", 1.0},
                {"0." + std::string(1000, '0') + "1", 0.0}};
    for (const auto& row : rows)
        EXPECT_EQ(std::bit_cast<uint64>(TokenOf(row.m_text).GetLiteralDouble()), std::bit_cast<uint64>(row.m_value))
            << row.m_text;
}

TEST(FloatLiterals, BeyondTheRangeOfDoubleAreRefused)
{
    for (const char* text : {"1e309", "1.7976931348623159e308", "1e99999999999999999999", "0.1e310"})
        EXPECT_TRUE(ThrowsLiteralException([&] { TokenOf(text).GetLiteralDouble(); },
                                           std::string("Float literal ") + text + " is out of range of float64"));
}

TEST(NumberLiterals, ThatNoScannerDeliversAreMalformed)
{
    for (const char* text : {"", "abc", "-1", "1x", "1 ", "1.5", "123456789012345678901x"})
    {
        EXPECT_TRUE(ThrowsLiteralException([&] { MadeUp(TOKEN_INTEGER, text).GetLiteralInt64(); },
                                           std::string("Integer literal ") + text + " is malformed"));
        EXPECT_TRUE(ThrowsLexScannerException([&] { MadeUp(TOKEN_INTEGER, text).GetLiteralInt32(); }, text, 0,
                                              std::string("Integer literal ") + text + " is malformed"));
    }
    for (const char* text : {"", "0", "0x", "ff", "1x1", "0xg", "0x-1", "-0x1"})
        EXPECT_TRUE(ThrowsLiteralException([&] { MadeUp(TOKEN_HEX_INTEGER, text).GetLiteralHexInt64(); },
                                           std::string("Hexadecimal literal ") + text + " is malformed"));
    for (const char* text : {"", ".", "e", "e5", ".e5", "1e", "1e+", "1e+-5", "1.5.5", "-1.5", "+1", "1.5x", "inf"})
        EXPECT_TRUE(ThrowsLiteralException([&] { MadeUp(TOKEN_FLOAT, text).GetLiteralDouble(); },
                                           std::string("Float literal ") + text + " is malformed"));
}

RC_GTEST_PROP(FloatLiterals, ReadWhatToStringWrites, (uint64 bits))
{
    const double value = std::abs(std::bit_cast<double>(bits));
    RC_PRE(std::isfinite(value));
    const std::string text = ToStdString(ToString(value));
    RC_ASSERT(TokenOf(text).m_type == TOKEN_FLOAT);
    RC_ASSERT(std::bit_cast<uint64>(TokenOf(text).GetLiteralDouble()) == std::bit_cast<uint64>(value));
}

RC_GTEST_PROP(FloatLiterals, ReadTheSameAsTheStandardLibrary, (uint64 digits, uint8 point, int16 exponent))
{
    std::string text = std::to_string(digits);
    text.insert(point % (text.size() + 1), ".");
    text += "e" + std::to_string(exponent % 300);
    const double expected = DoubleOf(text.c_str());
    RC_PRE(std::isfinite(expected));
    RC_ASSERT(std::bit_cast<uint64>(TokenOf(text).GetLiteralDouble()) == std::bit_cast<uint64>(expected));
}

// How many literals each of the next tests reads for one power of ten.
constexpr int s_numDraws = 2000;

void ExpectReadsLikeTheStandardLibrary(uint64 digits, int power)
{
    const std::string text = std::to_string(digits) + "e" + std::to_string(power);
    const double expected = DoubleOf(text.c_str());
    if (std::isinf(expected))
        return;
    ASSERT_EQ(std::bit_cast<uint64>(TokenOf(text).GetLiteralDouble()), std::bit_cast<uint64>(expected)) << text;
}

TEST(FloatLiterals, OfAnyNumberOfDigitsReadTheNearestDouble)
{
    std::mt19937_64 random(1);
    for (int power = -345; power <= 308; ++power)
        for (int i = 0; i < s_numDraws / 5; ++i)
        {
            const uint64 bits = random();
            ExpectReadsLikeTheStandardLibrary(bits >> (i % 64), power);
        }
}

// Numbers that lie exactly between two doubles go to the one whose significand is even, their neighbours to the near
// one.
TEST(FloatLiterals, HalfwayBetweenTwoDoublesReadTheEvenOne)
{
    std::mt19937_64 random(2);
    const auto oddNumberOf54Bits = [&] { return uint64(1) << 53 | random() >> 11 | 1; };
    const auto expectAround = [](uint64 digits, int power)
    {
        for (const uint64 neighbour : {digits - 1, digits, digits + 1})
            ExpectReadsLikeTheStandardLibrary(neighbour, power);
    };
    uint64 powerOfFive = 1;
    for (int power = 0; power <= 22; ++power, powerOfFive *= 5)
        for (int i = 0; i < s_numDraws; ++i)
        {
            // An odd number that the power of five takes to 54 bits.
            expectAround((oddNumberOf54Bits() / powerOfFive) | 1, power);
            if (power <= 4)
                expectAround(oddNumberOf54Bits() * powerOfFive, -power);
        }
}

struct StringRow
{
    std::string m_inside; // between the quotes
    std::string m_contents;
};

TEST(StringLiterals, ResolveEveryEscapeInBothKindsOfQuotes)
{
    const StringRow rows[] = {
        {"", ""},
        {"abc", "abc"},
        {R"(\n)", "\n"},
        {R"(\t)", "\t"},
        {R"(\r)", "\r"},
        {R"(\a)", "\a"},
        {R"(\b)", "\b"},
        {R"(\f)", "\f"},
        {R"(\v)", "\v"},
        {R"(\\)", "\\"},
        {R"(\')", "'"},
        {R"(\")", "\""},
        {R"(\?)", "?"},
        {R"(\0)", std::string(1, '\0')},
        {R"(a\0b)", std::string("a\0b", 3)},
        {R"(\012)", std::string("\0"
                                "12",
                                3)}, // octal escapes there are none
        {R"(\x41)", "A"},
        {R"(\xfF)", "\xFF"},
        {R"(\x00)", std::string(1, '\0')},
        {R"(\x414)", "A4"},
        {R"(\u0041)", "A"},
        {R"(\u00e9)", "\xC3\xA9"},
        {R"(\u20AC)", "\xE2\x82\xAC"},
        {R"(\uFFFF)", "\xEF\xBF\xBF"},
        {R"(\u0000)", std::string(1, '\0')},
        {R"(\uD7FF)", "\xED\x9F\xBF"},
        {R"(\uE000)", "\xEE\x80\x80"},
        {R"(\U0001F600)", "\xF0\x9F\x98\x80"},
        {R"(\U0010FFFF)", "\xF4\x8F\xBF\xBF"},
        {R"(\U00000041)", "A"},
        {R"(a\tb\nc)", "a\tb\nc"},
        {R"(\\n)", "\\n"},
        {"caf\xC3\xA9", "caf\xC3\xA9"},
        {"\xFF\x80", "\xFF\x80"}, // bytes pass through, UTF-8 or not
        {std::string("a\0b", 3), std::string("a\0b", 3)},
        {std::string(1000, 'x') + R"(\n)", std::string(1000, 'x') + "\n"},
    };
    for (const StringRow& row : rows)
        for (const char quote : {'\'', '"'})
        {
            const std::string text = quote + row.m_inside + quote;
            xstring contents("before");
            TokenOf(text).GetLiteralString(contents);
            EXPECT_EQ(ToStdString(contents), row.m_contents) << text;
        }
}

TEST(StringLiterals, KeepTheOtherKindOfQuoteAsItIs)
{
    xstring contents;
    TokenOf("'say \"hi\"'").GetLiteralString(contents);
    EXPECT_EQ(contents, "say \"hi\"");
    TokenOf("\"it's\"").GetLiteralString(contents);
    EXPECT_EQ(contents, "it's");
}

TEST(StringLiterals, WithAMalformedEscapeSayWhichAndLeaveTheOutputAlone)
{
    const StringRow rows[] = {
        {R"(\q)", R"(Malformed escape \q in string literal: unknown escape)"},
        {R"(ab\ c)", R"(Malformed escape \  in string literal: unknown escape)"},
        {R"(\1)", R"(Malformed escape \1 in string literal: unknown escape)"},
        {"\\\xC3\xA9!", "Malformed escape \\\xC3\xA9 in string literal: unknown escape"},
        {std::string("\\\0", 2), std::string("Malformed escape \\\0 in string literal: unknown escape", 53)},
        {R"(\x)", R"(Malformed escape \x in string literal: \x takes two hexadecimal digits)"},
        {R"(\x4)", R"(Malformed escape \x4 in string literal: \x takes two hexadecimal digits)"},
        {R"(\x4g)", R"(Malformed escape \x4 in string literal: \x takes two hexadecimal digits)"},
        {R"(\u123)", R"(Malformed escape \u123 in string literal: \u takes four hexadecimal digits)"},
        {R"(\u+123)", R"(Malformed escape \u in string literal: \u takes four hexadecimal digits)"},
        {R"(\U0001F60)", R"(Malformed escape \U0001F60 in string literal: \U takes eight hexadecimal digits)"},
        {R"(\uD800)", R"(Malformed escape \uD800 in string literal: not a Unicode character)"},
        {R"(\uDFFF)", R"(Malformed escape \uDFFF in string literal: not a Unicode character)"},
        {R"(\U00110000)", R"(Malformed escape \U00110000 in string literal: not a Unicode character)"},
        {R"(\UFFFFFFFF)", R"(Malformed escape \UFFFFFFFF in string literal: not a Unicode character)"},
        {R"(good\nbad\q)", R"(Malformed escape \q in string literal: unknown escape)"},
    };
    for (const StringRow& row : rows)
        for (const char quote : {'\'', '"'})
        {
            const std::string text = quote + row.m_inside + quote;
            xstring contents("before");
            EXPECT_TRUE(ThrowsLiteralException([&] { TokenOf(text).GetLiteralString(contents); }, row.m_contents))
                << text;
            EXPECT_EQ(contents, "before");
        }
}

TEST(StringLiterals, ThatNoScannerDeliversAreMalformed)
{
    xstring contents;
    for (const char* text : {"", "'", "ab", "'ab", "ab'", "'ab\"", "\"ab'"})
        EXPECT_TRUE(ThrowsLiteralException([&] { MadeUp(TOKEN_SINGLE_QUOTED_STRING, text).GetLiteralString(contents); },
                                           std::string("String literal ") + text + " is malformed"));
    EXPECT_TRUE(ThrowsLiteralException([&] { MadeUp(TOKEN_SINGLE_QUOTED_STRING, "'\\'").GetLiteralString(contents); },
                                       "Malformed escape \\ in string literal: nothing follows the backslash"));
}

TEST(CharacterLiterals, AreLiteralsOfOneByte)
{
    const struct
    {
        const char* m_text;
        char m_value;
    } rows[] = {{"'a'", 'a'},      {"\"a\"", 'a'},    {R"('\n')", '\n'},
                {R"('\'')", '\''}, {R"('\0')", '\0'}, {R"('\xFF')", '\xFF'}};
    for (const auto& row : rows)
        EXPECT_EQ(TokenOf(row.m_text).GetLiteralCharacter(), row.m_value) << row.m_text;

    for (const char* text : {"''", "'ab'", "'\xC3\xA9'", R"("\u00e9")"})
        EXPECT_TRUE(
            ThrowsLiteralException([&] { TokenOf(text).GetLiteralCharacter(); },
                                   std::string("Character literal ") + text + " does not hold exactly one byte"));
    const std::string withZero("'\0b'", 4);
    EXPECT_TRUE(ThrowsLiteralException([&] { TokenOf(withZero).GetLiteralCharacter(); },
                                       "Character literal " + withZero + " does not hold exactly one byte"));
    EXPECT_TRUE(ThrowsLiteralException([] { TokenOf(R"('\q')").GetLiteralCharacter(); },
                                       R"(Malformed escape \q in string literal: unknown escape)"));
}

RC_GTEST_PROP(StringLiterals, ReadBackAnyBytesWrittenAsHexadecimalEscapes, (const std::string& bytes))
{
    std::string text = "'";
    for (const char c : bytes)
    {
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        text += escape;
    }
    text += "'";
    xstring contents;
    TokenOf(text).GetLiteralString(contents);
    RC_ASSERT(ToStdString(contents) == bytes);
}

TEST(TokenInMessages, IsItsOwnText)
{
    for (const char* text : {"abc", "<<=", "0x1F", "'it\\n'", "1.50"})
        EXPECT_EQ(WrittenText(TokenOf(text)), text);
    EXPECT_EQ(WrittenText(TokenOf("  ")), "end of text");
    EXPECT_EQ(WrittenText(LSToken()), "start of text");
}

TEST(TokenInMessages, IsCutWhenItIsLong)
{
    const std::string a79(79, 'a');
    const std::string euro = "\xE2\x82\xAC";
    const std::string face = "\xF0\x9F\x98\x80";
    const std::string q = "'", dots = "...";
    const struct
    {
        std::string m_text;
        std::string m_written;
    } rows[] = {{a79 + "b", a79 + "b"},
                {a79 + "bc", a79 + "b" + dots},
                {std::string(5000, 'a'), std::string(80, 'a') + dots},
                {q + std::string(77, 'a') + euro + q, q + std::string(77, 'a') + dots}, // the cut would split it
                {q + std::string(76, 'a') + euro + q, q + std::string(76, 'a') + euro + dots},
                {q + std::string(78, 'a') + euro + q, q + std::string(78, 'a') + dots},
                {q + std::string(76, 'a') + face + q, q + std::string(76, 'a') + dots},
                {q + std::string(79, 'a') + face + q, q + std::string(79, 'a') + dots},
                // Stray continuation bytes are no character that could be split.
                {q + std::string(100, '\x80') + q, q + std::string(76, '\x80') + dots}};
    for (const auto& row : rows)
        EXPECT_EQ(WrittenText(TokenOf(row.m_text)), row.m_written);
}

} // namespace
} // namespace kelm
