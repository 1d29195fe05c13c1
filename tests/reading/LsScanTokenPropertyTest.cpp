// One token after another, comments included, and the lines that places lie in.

#include "LibraryOutcomes.h"

#include <klUtils/text/LsScanToken.h>

#include <gtest/gtest.h>

namespace kelm::reference
{
namespace
{

std::string LibraryTokens(SubString text, Random choice)
{
    std::string outcome;
    SubString rest = text;
    bool atLineStart = choice.OneIn(2);
    try
    {
        while (true)
        {
            const LSToken token = LsScanToken(rest, atLineStart);
            outcome += ToldToken(token, text) + (token.m_str.m_p2 == rest.m_p1 ? " " : " but stands elsewhere");
            if (token == TOKEN_END)
                return outcome;
            atLineStart = false;
        }
    }
    catch (const LexScannerException& e)
    {
        return outcome + ToldError(e, text) + " rest " + Told(PlaceIn(text, rest.m_p1));
    }
}

std::string ReferenceTokens(const std::string& text, Random choice)
{
    std::string outcome;
    std::size_t rest = 0;
    bool atLineStart = choice.OneIn(2);
    try
    {
        while (true)
        {
            const Token token = ScanToken(text, rest, atLineStart);
            outcome += ToldToken(token.m_kind, token.m_begin, token.m_end) + " ";
            rest = token.m_end;
            if (token.m_kind == TOKEN_END)
                return outcome;
            atLineStart = false;
        }
    }
    catch (const TextError& e)
    {
        return outcome + ToldError(e) + " rest " + Told(rest);
    }
}

std::string AnyTokens(Random& random, Random)
{
    std::string text;
    for (std::size_t n = random.Below(12); n > 0; --n)
        text += AnySpace(random) + AnyToken(random);
    return OftenWhole(random, text + AnySpace(random), 3);
}

TEST(LsScanToken, DeliversTheTokensOfAnyText)
{
    Compare({100, AnyTokens, LibraryTokens, ReferenceTokens});
}

TEST(LsScanToken, DeliversTheTokensOfAnyBytes)
{
    const auto draw = [](Random& random, Random)
    {
        std::string text;
        for (std::size_t n = random.Below(20); n > 0; --n)
            text += AnyBytes(random);
        return text;
    };
    Compare({30, draw, LibraryTokens, ReferenceTokens});
}

// A run of characters, one of which may be another.
struct RunRow
{
    const char* m_before;
    char m_character;
    const char* m_other; // in its place; null where there is none
    const char* m_behind;
};

constexpr RunRow s_runs[] = {
    {"", ' ', nullptr, "a"},   {"", ' ', "\n", "#x"},      {"", '\t', "x", ""},        {"a", '\n', "#", "b"},
    {"", ' ', "\x01", "a"},    {"", '\r', "\xa0", ""},     {"", 'a', nullptr, ""},     {"", 'z', "9", "+"},
    {"", '_', "\xc3", "x"},    {"", 'a', "@", "b"},        {"", 'Z', "[", "b"},        {"x", 'a', "`", "b"},
    {"x", 'a', "{", "b"},      {"", '7', nullptr, ""},     {"", '0', ".", "9"},        {"", '9', "e", "1"},
    {"1.", '5', "e", ""},      {"1.", '5', "x", ""},       {"1.", '5', "..", ""},      {"1e", '5', ".", ""},
    {"0x", 'f', nullptr, ""},  {"0x", 'A', "g", ""},       {"0x", '9', "/", "1"},      {".", '5', "e+", "3"},
    {"'", 'a', nullptr, "'"},  {"\"", 'a', nullptr, "\""}, {"'", 'a', "\\'", "'"},     {"\"", ' ', "\\\\", "\""},
    {"'", 'a', "\n", "'"},     {"'", 'a', "'", "'"},       {"\"", 'a', "'", "\""},     {"'", 'a', "\\\n", "'"},
    {"'", '\\', nullptr, "'"}, {"'", '\\', "a", "'"},      {"\"", '\xe9', "\r", "\""}, {"'", 'a', "\\", ""},
    {"//", 'a', "\n", "b"},    {"//", '/', "*", ""},       {"//", '\\', "\r\n", "'"},  {"#", 'a', "\n", "b"},
    {"#", '#', "\n#", "#"},    {"/*", 'a', "*/", "b"},     {"/*", '*', "/", "b"},      {"/*", '*', nullptr, "/b"},
    {"/*", '/', "*", "*/"},    {"/*", ' ', nullptr, ""},   {"/*", '\n', "\"", "*/#"},  {"/*", 'a', "* /", "*/"},
    {"", '(', "'", ""},        {"", '<', "=", ""},         {"", '=', "==", "="},       {"", '.', "1", ""},
    {"", '/', " ", ""},        {"", '-', ">", ""},         {"", '#', "\n", ""},        {"", '^', "=", "="},
};

constexpr std::size_t s_maxRun = 130;

// Each run in each length, with the other character at each of its places, or nowhere.
std::string TextOfRun(std::size_t index)
{
    const RunRow& row = s_runs[index % std::size(s_runs)];
    std::size_t at = index / std::size(s_runs);
    std::size_t size = 0;
    for (; at > size; ++size)
        at -= size + 1;
    std::string run(size, row.m_character);
    if (row.m_other != nullptr && at < size)
        run.replace(at, 1, row.m_other);
    return row.m_before + run + row.m_behind;
}

TEST(LsScanToken, DeliversRunsOfEveryLength)
{
    constexpr std::size_t numPlaces = (s_maxRun + 1) * (s_maxRun + 2) / 2;
    CompareAll(std::size(s_runs) * numPlaces, TextOfRun, {130, {}, LibraryTokens, ReferenceTokens});
}

TEST(GetLineNumber, CountsTheLineEndsBeforeAPlace)
{
    const auto draw = [](Random& random, Random)
    {
        std::string text;
        for (std::size_t n = random.Below(8); n > 0; --n)
            text += std::string(AnyLength(random), random.OneIn(3) ? '\n' : 'a') + (random.OneIn(2) ? "\n" : "\r\n");
        return text;
    };
    const auto placeIn = [](std::size_t size, Random& choice) { return choice.Below(size + 1); };
    Compare({10, draw,
             [&](SubString text, Random choice) {
                 return std::to_string(
                     GetLineNumber(text, text.m_p1 + placeIn(static_cast<std::size_t>(text.size()), choice)));
             },
             [&](const std::string& text, Random choice)
             { return std::to_string(GetLine(text, placeIn(text.size(), choice))); }});
}

} // namespace
} // namespace kelm::reference
