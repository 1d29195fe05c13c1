// The typed reads: their values, their errors and what they leave behind, one after another on one text.

#include "LibraryOutcomes.h"

#include <klUtils/text/ExpressionParser.h>
#include <support/ReferenceLiterals.h>

#include <gtest/gtest.h>

namespace kelm::reference
{
namespace
{

struct TypedRead
{
    std::string (*m_library)(ExpressionParser& parser);
    std::string (*m_reference)(Stream& stream);
    std::string (*m_draw)(Random& random); // a text that often suits it
};

template <class T>
std::string ToldValue(T value)
{
    if constexpr (std::is_floating_point_v<T>)
        return ToldBits(value);
    else
        return std::to_string(value);
}

std::string ToldValue(const std::string& value)
{
    return "'" + value + "'";
}

std::string ToldValue(const xstring& value)
{
    return ToldValue(ToStdString(SubString(value)));
}

template <auto Parse>
std::string LibraryRead(ExpressionParser& parser)
{
    return ToldValue((parser.*Parse)(false));
}

template <class Int>
std::string ReadInteger(Stream& stream)
{
    static const std::string s_name = (std::is_signed_v<Int> ? "int" : "uint") + std::to_string(8 * sizeof(Int));
    return ToldValue(ParseInteger<Int>(stream, s_name));
}

template <class Float>
std::string ReadFloat(Stream& stream)
{
    return ToldValue(ParseFloat<Float>(stream, sizeof(Float) == 4 ? "float32" : "float64"));
}

std::string ReadBool(Stream& stream)
{
    return ToldValue(ParseBool(stream));
}

std::string ReadChar(Stream& stream)
{
    return ToldValue(ParseChar(stream));
}

std::string ReadString(Stream& stream)
{
    return ToldValue(ParseString(stream));
}

std::string AnyBool(Random& random)
{
    static constexpr const char* s_words[] = {"true", "false", "true", "false", "True", "tru", "truer", "falsee", "1"};
    return random.Of(s_words);
}

std::string AnySigned(Random& random)
{
    static constexpr const char* s_signs[] = {"", "", "", "-", "-", "+", "- ", "--", "+-", "-/**/", "-\n"};
    return random.Of(s_signs) + (random.OneIn(2) ? AnyNumberNearLimits(random) : std::to_string(random.Below(300)));
}

std::string AnySignedFloat(Random& random)
{
    static constexpr const char* s_words[] = {"inf",   "nan", "-inf", "-nan", "infinity",
                                              "- inf", "NaN", "0",    "-0",   "-0.0"};
    if (random.OneIn(12))
        return random.Of(s_words);
    return (random.OneIn(3) ? "-" : "") + (random.OneIn(4) ? AnyNumber(random) : AnyFloat(random));
}

std::string AnyCharacter(Random& random)
{
    static constexpr const char* s_characters[] = {"'a'",        "\"b\"",     "'\\n'", "'\\x80'", "''",
                                                   "'ab'",       "'\\u00e9'", "'\\q'", "'\\x7F'", "'\"'",
                                                   "'\xc3\xa9'", "'\xff'",    "'\\''"};
    return random.OneIn(4) ? AnyQuoted(random) : random.Of(s_characters);
}

constexpr TypedRead s_reads[] = {
    {LibraryRead<&ExpressionParser::ParseBool>, ReadBool, AnyBool},
    {LibraryRead<&ExpressionParser::ParseInt8>, ReadInteger<int8>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseInt16>, ReadInteger<int16>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseInt32>, ReadInteger<int32>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseInt64>, ReadInteger<int64>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseUInt8>, ReadInteger<uint8>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseUInt16>, ReadInteger<uint16>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseUInt32>, ReadInteger<uint32>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseUInt64>, ReadInteger<uint64>, AnySigned},
    {LibraryRead<&ExpressionParser::ParseFloat32>, ReadFloat<float32>, AnySignedFloat},
    {LibraryRead<&ExpressionParser::ParseFloat64>, ReadFloat<float64>, AnySignedFloat},
    {LibraryRead<&ExpressionParser::ParseChar>, ReadChar, AnyCharacter},
    {LibraryRead<&ExpressionParser::ParseString>, ReadString, AnyQuoted},
};

constexpr std::size_t s_maxReads = 8;

// What is behind a value may be anything that ends its token, or not.
std::string AnyValue(Random& random, const TypedRead& read)
{
    if (random.OneIn(20))
        return AnyToken(random);
    return read.m_draw(random) + (random.OneIn(10) ? AnyOperator(random) : "") +
           (random.OneIn(20) ? "" : AnyBreak(random));
}

// Values for the reads that the case will choose.
std::string AnyValues(Random& random, Random choice)
{
    std::string text = AnySpace(random);
    for (std::size_t n = random.Below(s_maxReads + 1); n > 0; --n)
        text += AnyValue(random, choice.Of(s_reads));
    return OftenWhole(random, text, 6);
}

std::string LibraryReads(SubString text, Random choice)
{
    ExpressionParser parser;
    std::string outcome;
    try
    {
        parser.Init(text);
        for (std::size_t i = 0; i < s_maxReads; ++i)
        {
            outcome += choice.Of(s_reads).m_library(parser);
            outcome += ToldState(parser, text) + "\n";
        }
    }
    catch (const LexScannerException& e)
    {
        outcome += ToldError(e, text);
    }
    return outcome + ToldState(parser, text);
}

std::string ReferenceReads(const std::string& text, Random choice)
{
    Stream stream(text);
    std::string outcome;
    try
    {
        stream.Init();
        for (std::size_t i = 0; i < s_maxReads; ++i)
        {
            outcome += choice.Of(s_reads).m_reference(stream);
            outcome += ToldState(stream) + "\n";
        }
    }
    catch (const TextError& e)
    {
        outcome += ToldError(e);
    }
    return outcome + ToldState(stream);
}

TEST(ExpressionParser, ReadsValuesOfAllTypes)
{
    Compare({120, AnyValues, LibraryReads, ReferenceReads});
}

// One type after another, since one error ends a case.
TEST(ExpressionParser, ReadsAnyTokenAsAnyType)
{
    Compare({30, [](Random& random, Random) { return AnySpace(random) + AnyToken(random) + AnySpace(random); },
             LibraryReads, ReferenceReads});
}

} // namespace
} // namespace kelm::reference
