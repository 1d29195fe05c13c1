#include <klObject/values/WriteVariable.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <random>
#include <string>

namespace kelm
{
namespace
{

std::string Quoted(const std::string& text)
{
    const uint8 bc[] = {FT_STRING8};
    const xstring variable(text.data(), static_cast<ssize_t>(text.size()));
    StringStream os(64);
    WriteVariable(os, ReflectionByteCode(bc, nullptr), &variable);
    const xstring quoted = os.GetString();
    return {quoted.begin(), quoted.end()};
}

// --- By the definition, one by one -----------------------------------------------------------------------------------

std::string Utf8(uint32 codePoint)
{
    const auto byte = [](uint32 bits) { return static_cast<char>(bits); };
    const auto continuation = [&](int shift) { return byte(0x80 | (codePoint >> shift & 0x3F)); };
    if (codePoint < 0x80)
        return {byte(codePoint)};
    if (codePoint < 0x800)
        return {byte(0xC0 | codePoint >> 6), continuation(0)};
    if (codePoint < 0x10000)
        return {byte(0xE0 | codePoint >> 12), continuation(6), continuation(0)};
    return {byte(0xF0 | codePoint >> 18), continuation(12), continuation(6), continuation(0)};
}

// The length of the form that begins there of a code point beyond ASCII; 0 where there is none.
std::size_t LengthOfCodePoint(const std::string& text, std::size_t at)
{
    for (const std::size_t length : {2U, 3U, 4U})
    {
        const std::string form = text.substr(at, length);
        uint32 codePoint = static_cast<uint8>(form[0]) & (0x7FU >> length);
        for (const char c : form.substr(1))
            codePoint = codePoint << 6 | (static_cast<uint8>(c) & 0x3FU);
        const bool isOne = codePoint <= 0x10FFFF && (codePoint < 0xD800 || codePoint > 0xDFFF);
        if (isOne && form.size() == length && form == Utf8(codePoint))
            return length;
    }
    return 0;
}

std::string Escaped(char c)
{
    switch (c)
    {
    case '\n': return "\\n";
    case '\t': return "\\t";
    case '\r': return "\\r";
    case '"': return "\\\"";
    case '\\': return "\\\\";
    }
    if (' ' <= c && c <= '~')
        return {c};
    char number[5];
    std::snprintf(number, sizeof number, "\\x%02X", static_cast<unsigned>(static_cast<uint8>(c)));
    return number;
}

std::string QuotedSlowly(const std::string& text)
{
    std::string quoted = "\"";
    for (std::size_t at = 0; at < text.size();)
        if (const std::size_t length = LengthOfCodePoint(text, at))
        {
            quoted += text.substr(at, length);
            at += length;
        }
        else
            quoted += Escaped(text[at++]);
    return quoted + "\"";
}

// --- What is written -------------------------------------------------------------------------------------------------

TEST(QuotedText, EscapesWhatDoesNotStandForItself)
{
    const struct
    {
        std::string m_value;
        const char* m_text;
    } rows[] = {
        {"", "\"\""},
        {"it's plain", "\"it's plain\""},
        {"say \"a\\b\"", "\"say \\\"a\\\\b\\\"\""},
        {"a\nb\tc\rd", "\"a\\nb\\tc\\rd\""},
        {std::string("a\0001", 3), "\"a\\x001\""},
        {"\x1B\x7F", "\"\\x1B\\x7F\""},
        {"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x99\x82", "\"gr\xC3\xBC\xC3\x9F \xE2\x82\xAC \xF0\x9F\x99\x82\""},
        {"\xC3", "\"\\xC3\""},                                 // cut short
        {"\xC3\xBC\xFF\xC3\xBC", "\"\xC3\xBC\\xFF\xC3\xBC\""}, // a byte that is never UTF-8
        {"\xC0\xAF", "\"\\xC0\\xAF\""},                        // overlong
        {"\xED\xA0\x80", "\"\\xED\\xA0\\x80\""},               // a surrogate
        {"\xF4\x90\x80\x80", "\"\\xF4\\x90\\x80\\x80\""},      // beyond the last code point
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Quoted(row.m_value), row.m_text);
        EXPECT_EQ(QuotedSlowly(row.m_value), row.m_text);
    }
}

TEST(QuotedText, OfAnyLengthIsEscapedAtAnyPlace)
{
    for (std::size_t length = 0; length < 40; ++length)
        for (const std::string special : {"",
                                          "\n",
                                          "\"",
                                          "\\",
                                          "\x1F",
                                          "\x7F",
                                          "\xFF",
                                          " ",
                                          "~",
                                          "!",
                                          "[",
                                          "]",
                                          "#",
                                          "\xC3\xBC",
                                          "\xE2\x82\xAC",
                                          "\xE2\x82",
                                          "\xF0\x9F\x99\x82",
                                          "\xF0\x9F\x99",
                                          "\xC3\n",
                                          "\xFF\n",
                                          "\"\"\"\"\"\"\"\"\"\"\"\""})
            for (std::size_t at = 0; at <= length; ++at)
            {
                std::string text(length, 'x');
                text.insert(at, special);
                ASSERT_EQ(Quoted(text), QuotedSlowly(text));
            }
}

// Within a block and at its end.
TEST(QuotedText, KnowsEveryBeginningOfACodePoint)
{
    for (int first = 0; first < 256; ++first)
        for (const int second : {0x00, 0x61, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xFF})
            for (const std::string behind : {"", "\x80", "\xBF\x80"})
                for (const std::size_t at : {0U, 13U, 14U, 15U})
                {
                    std::string text(at, 'x');
                    text += static_cast<char>(first);
                    text += static_cast<char>(second);
                    text += behind;
                    ASSERT_EQ(Quoted(text), QuotedSlowly(text)) << std::hex << first << ' ' << second;
                }
}

TEST(QuotedText, OfRandomCodePointsAndBytesIsWhatTheDefinitionSays)
{
    constexpr uint32 bounds[] = {0x80,   0x7FF,  0x800,   0xFFF,   0x1000,  0xCFFF,   0xD7FF,
                                 0xE000, 0xFFFF, 0x10000, 0x3FFFF, 0xFFFFF, 0x100000, 0x10FFFF};
    constexpr char bytes[] =
        "\x7F\x80\x8F\x90\x9F\xA0\xBF\xC0\xC1\xC2\xDF\xE0\xE1\xED\xEE\xEF\xF0\xF1\xF4\xF5\xFF\n\"\\";
    std::mt19937 random(7); // NOLINT(cert-msc51-cpp): the same texts in each run
    const auto below = [&random](std::size_t count) { return random() % count; };
    for (int i = 0; i < 50'000; ++i)
    {
        const std::size_t pieces = below(40);
        const std::size_t strangeness = 2 + below(60);
        std::string text;
        for (std::size_t piece = 0; piece < pieces; ++piece)
            if (below(strangeness) == 0)
                text += bytes[below(std::size(bytes) - 1)];
            else if (below(2) == 0)
                text += Utf8(bounds[below(std::size(bounds))]);
            else
                text += static_cast<char>('a' + below(26));
        ASSERT_EQ(Quoted(text), QuotedSlowly(text));
    }
}

} // namespace
} // namespace kelm
