// The token stream: the current token, the one before it and the rest, whatever is asked of it and whatever fails.

#include "LibraryOutcomes.h"

#include <klUtils/text/ParserBase.h>

#include <gtest/gtest.h>

namespace kelm::reference
{
namespace
{

constexpr std::size_t s_maxOperations = 60;

// Most often one that suits the current token, so that few cases end early.
template <class Parser>
std::string OneOperation(Parser& parser, bool isName, Random& choice)
{
    const std::size_t operation = choice.Below(40);
    if (operation == 0)
        parser.ParseGivenToken(TOKEN_EQUAL, "=");
    else if (operation == 1)
        parser.ParseGivenToken(TOKEN_DOT, ".");
    else if (operation == 2 || (isName && operation < 10))
        return parser.ParseIdentifier().c_str();
    else if (operation == 3 || (isName && operation < 20))
        return parser.ParsePath().c_str();
    else
        parser.ReadNextToken();
    return "";
}

std::string LibraryStream(SubString text, Random choice)
{
    ParserBase parser;
    std::string outcome;
    try
    {
        parser.Init(text);
        for (std::size_t i = 0; i < s_maxOperations; ++i)
        {
            outcome += ToldState(parser, text) + "\n";
            if (parser.m_token == TOKEN_END && choice.OneIn(2))
                break;
            outcome += OneOperation(parser, parser.m_token == TOKEN_IDENTIFIER, choice);
        }
    }
    catch (const LexScannerException& e)
    {
        outcome += ToldError(e, text);
    }
    return outcome + ToldState(parser, text);
}

std::string ReferenceStream(const std::string& text, Random choice)
{
    Stream stream(text);
    std::string outcome;
    try
    {
        stream.Init();
        for (std::size_t i = 0; i < s_maxOperations; ++i)
        {
            outcome += ToldState(stream) + "\n";
            if (stream.m_token.m_kind == TOKEN_END && choice.OneIn(2))
                break;
            outcome += OneOperation(stream, stream.m_token.m_kind == TOKEN_IDENTIFIER, choice);
        }
    }
    catch (const TextError& e)
    {
        outcome += ToldError(e);
    }
    return outcome + ToldState(stream);
}

TEST(ParserBase, ReadsTheTokensOfAnyText)
{
    const auto draw = [](Random& random, Random)
    {
        std::string text;
        for (std::size_t n = random.Below(10); n > 0; --n)
            text += AnySpace(random) + AnyToken(random);
        return OftenWhole(random, text + AnySpace(random), 3);
    };
    Compare({40, draw, LibraryStream, ReferenceStream});
}

TEST(ParserBase, ReadsNamesAndPaths)
{
    static constexpr const char* s_separators[] = {".", ".", "::", "::", "=", ",", " ", ":", "..", "->"};
    const auto draw = [](Random& random, Random)
    {
        std::string text;
        for (std::size_t n = 1 + random.Below(8); n > 0; --n)
            text += AnyName(random) + AnySpace(random) + random.Of(s_separators) + AnySpace(random);
        return OftenWhole(random, text, 3);
    };
    Compare({30, draw, LibraryStream, ReferenceStream});
}

// Tokens about as long as messages show, with a character of several bytes at each place where they are cut.
TEST(ParserBase, ShowsTokensOfEveryLengthInMessages)
{
    static constexpr const char* s_characters[] = {"",     "\xc3\xa9",         "\xe2\x82\xac", "\xf0\x9f\x98\x80",
                                                   "\x80", "\x80\x80\x80\x80", "\xff",         "\x80\x80\x80\x80\x80"};
    static constexpr std::size_t s_maxBefore = 90;
    static constexpr std::size_t s_maxBehind = 12;
    const auto makeText = [](std::size_t index)
    {
        const std::string character = s_characters[index % std::size(s_characters)];
        index /= std::size(s_characters);
        return "'" + std::string(index % s_maxBefore, 'a') + character + std::string(index / s_maxBefore, 'b') + "'";
    };
    const auto library = [](SubString text, Random)
    {
        ParserBase parser;
        try
        {
            parser.Init(text);
            parser.ThrowExpectedException("x");
        }
        catch (const LexScannerException& e)
        {
            return ToldError(e, text);
        }
    };
    const auto reference = [](const std::string& text, Random)
    {
        Stream stream(text);
        try
        {
            stream.Init();
            stream.ThrowExpected("x");
        }
        catch (const TextError& e)
        {
            return ToldError(e);
        }
    };
    CompareAll(std::size(s_characters) * s_maxBefore * s_maxBehind, makeText, {10, {}, library, reference});
}

} // namespace
} // namespace kelm::reference
