// What the literals of tokens are worth.

#include "LibraryOutcomes.h"

#include <klUtils/LiteralException.h>
#include <klUtils/text/LsScanToken.h>
#include <support/ReferenceLiterals.h>

#include <gtest/gtest.h>

namespace kelm::reference
{
namespace
{

template <class Get>
std::string LibraryLiteral(const LSToken& token, Get get)
{
    try
    {
        return get(token) + " ";
    }
    catch (const LiteralException& e)
    {
        return ToStdString(e.m_description) + " ";
    }
    catch (const LexScannerException& e)
    {
        return ToldError(e, token.m_str) + " ";
    }
}

template <class Get>
std::string ReferenceLiteral(const std::string& literal, Get get, bool isPlaced = false)
{
    try
    {
        return get(literal) + " ";
    }
    catch (const LiteralError& e)
    {
        return (isPlaced ? ToldError(TextError{e.m_message, 0}) : e.m_message) + " ";
    }
}

std::string LibraryLiterals(const LSToken& token)
{
    const auto get = [&](auto read) { return LibraryLiteral(token, read); };
    switch (token.m_type)
    {
    case TOKEN_INTEGER:
        return get([](const LSToken& t) { return std::to_string(t.GetLiteralInt64()); }) +
               get([](const LSToken& t) { return std::to_string(t.GetLiteralInt32()); });
    case TOKEN_HEX_INTEGER:
        return get([](const LSToken& t) { return std::to_string(t.GetLiteralHexInt64()); }) +
               get([](const LSToken& t) { return std::to_string(t.GetLiteralHexInt32()); });
    case TOKEN_FLOAT: return get([](const LSToken& t) { return ToldBits(t.GetLiteralDouble()); });
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING:
    {
        // A literal without a value leaves what was there.
        xstring text("before");
        const std::string outcome = LibraryLiteral(token,
                                                   [&](const LSToken& t)
                                                   {
                                                       t.GetLiteralString(text);
                                                       return ToStdString(SubString(text));
                                                   });
        return outcome + ToStdString(SubString(text)) +
               get([](const LSToken& t) { return std::string(1, t.GetLiteralCharacter()); });
    }
    default: return "";
    }
}

std::string ReferenceLiterals(EToken kind, const std::string& literal)
{
    using Text = const std::string&;
    switch (kind)
    {
    case TOKEN_INTEGER:
        return ReferenceLiteral(literal, [](Text t) { return std::to_string(GetLiteralInt64(t)); }) +
               ReferenceLiteral(
                   literal, [](Text t) { return std::to_string(GetLiteralInt32(t)); }, true);
    case TOKEN_HEX_INTEGER:
        return ReferenceLiteral(literal, [](Text t) { return std::to_string(GetLiteralHexInt64(t)); }) +
               ReferenceLiteral(literal, [](Text t) { return std::to_string(GetLiteralHexInt32(t)); });
    case TOKEN_FLOAT: return ReferenceLiteral(literal, [](Text t) { return ToldBits(GetLiteralDouble(t)); });
    case TOKEN_SINGLE_QUOTED_STRING:
    case TOKEN_DOUBLE_QUOTED_STRING:
    {
        std::string text = "before";
        const std::string outcome = ReferenceLiteral(literal, [&](Text t) { return text = GetLiteralString(t); });
        return outcome + text +
               ReferenceLiteral(literal, [](Text t) { return std::string(1, GetLiteralCharacter(t)); });
    }
    default: return "";
    }
}

std::string LibraryTokenLiterals(SubString text, Random)
{
    try
    {
        SubString rest = text;
        return LibraryLiterals(LsScanToken(rest, false));
    }
    catch (const LexScannerException& e)
    {
        return ToldError(e, text);
    }
}

std::string ReferenceTokenLiterals(const std::string& text, Random)
{
    try
    {
        const Token token = ScanToken(text, 0, false);
        return ReferenceLiterals(token.m_kind, TextOf(text, token));
    }
    catch (const TextError& e)
    {
        return ToldError(e);
    }
}

TEST(LSToken, GivesTheValueOfAnyNumber)
{
    Compare({50, [](Random& random, Random) { return AnyNumber(random) + (random.OneIn(2) ? AnySpace(random) : ""); },
             LibraryTokenLiterals, ReferenceTokenLiterals});
}

TEST(LSToken, GivesTheValueOfAnyFloat)
{
    Compare(
        {40, [](Random& random, Random) { return AnyFloat(random); }, LibraryTokenLiterals, ReferenceTokenLiterals});
}

TEST(LSToken, GivesTheContentsOfAnyQuotedText)
{
    Compare({50, [](Random& random, Random) { return OftenWhole(random, AnyQuoted(random), 8); }, LibraryTokenLiterals,
             ReferenceTokenLiterals});
}

// In a quoted text of each length, an escape at each of its places.
TEST(LSToken, ResolvesAnEscapeAtEveryPlace)
{
    static constexpr const char* s_escapes[] = {"\\n",     "\\\\",        "\\'",     "\\x41", "\\u00e9",
                                                "\\u20ac", "\\U0001F600", "\\\\\\n", "\\q",   "\\x4g",
                                                "\\ud800", "\\\xc3\xa9",  "\\0"};
    static constexpr std::size_t s_maxLength = 70;
    const auto makeText = [](std::size_t index)
    {
        const char* const escape = s_escapes[index % std::size(s_escapes)];
        std::size_t at = index / std::size(s_escapes);
        std::size_t length = 0;
        for (; at > length; ++length)
            at -= length + 1;
        return "\"" + std::string(length, 'a').insert(at, escape) + "\"";
    };
    CompareAll(std::size(s_escapes) * (s_maxLength + 1) * (s_maxLength + 2) / 2, makeText,
               {25, {}, LibraryTokenLiterals, ReferenceTokenLiterals});
}

// Tokens that no scanner delivers: their text alone counts.
TEST(LSToken, RefusesNumbersThatAreNone)
{
    static constexpr EToken s_kinds[] = {TOKEN_INTEGER, TOKEN_HEX_INTEGER, TOKEN_FLOAT};
    const auto draw = [](Random& random, Random) { return OftenWhole(random, AnyNumber(random), 3); };
    const auto library = [](SubString text, Random choice) { return LibraryLiterals({choice.Of(s_kinds), text}); };
    const auto reference = [](const std::string& text, Random choice)
    { return ReferenceLiterals(choice.Of(s_kinds), text); };
    Compare({5, draw, library, reference});
}

} // namespace
} // namespace kelm::reference
