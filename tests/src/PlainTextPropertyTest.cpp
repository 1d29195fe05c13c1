// The fast way through plain text against the token stream: a comment put where it forces the latter changes neither
// what is read, nor the message and the place of an error, nor where the parser stands afterwards.

#include "DataSources.h"
#include "FieldPaths.h"

#include <klKelmScript/KSParser.h>
#include <support/Script.h>

#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include <bit>
#include <cstring>
#include <string>
#include <tuple>
#include <vector>

namespace kelm
{
namespace
{

// --- Two spellings of one text ---------------------------------------------------------------------------------------

const std::string s_comment = "/**/";

std::string WithoutComments(std::string text)
{
    for (std::size_t at = text.find(s_comment); at != std::string::npos; at = text.find(s_comment, at))
        text.erase(at, s_comment.size());
    return text;
}

// Where a place in a text is when its comments are taken out.
ssize_t OffsetWithoutComments(const std::string& text, const char* p)
{
    return static_cast<ssize_t>(WithoutComments(std::string(text.data(), p)).size());
}

// Comments are only where AddBreak puts them: what is added holds none.
struct TwoSpellings
{
    std::string m_plain;
    std::string m_broken;

    TwoSpellings& Add(const std::string& text)
    {
        m_plain += text;
        m_broken += text;
        return *this;
    }
    TwoSpellings& AddBreak()
    {
        m_broken += s_comment;
        return *this;
    }

    // Whether no comment has come to lie inside quotes, where it would be text.
    bool DifferInCommentsAlone() const
    {
        SubString rest = ViewOf(m_broken);
        try
        {
            for (LSToken token = LsScanToken(rest, true); !(token == TOKEN_END); token = LsScanToken(rest, false))
                if (!(token == TOKEN_COMMENT) && ToStdString(token.m_str).find(s_comment) != std::string::npos)
                    return false;
        }
        catch (const LexScannerException&)
        {
            // An open quote: nothing behind it is read.
        }
        return true;
    }
};

std::string PlacedToken(const LSToken& token, const std::string& text)
{
    return std::to_string(token.m_type) + " '" + WithoutComments(ToStdString(token.m_str)) + "' at " +
           std::to_string(OffsetWithoutComments(text, token.m_str.m_p1));
}

// What read(parser, value) comes to, with the parser's state after it, as if the text had no comments.
template <class Parser, class F>
std::string OutcomeOfReading(const std::string& text, F read)
{
    Parser parser;
    const auto evaluate = [&]
    {
        KSValue value(true);
        try
        {
            parser.Init(ViewOf(text));
            read(parser, value);
        }
        catch (LexScannerException& e)
        {
            e.m_pos = text.data() + OffsetWithoutComments(text, e.m_pos);
            throw;
        }
        return value;
    };
    const std::string outcome = WithoutComments(OutcomeOf(evaluate, ViewOf(text)));
    return outcome + "; token " + PlacedToken(parser.m_token, text) + ", previous " +
           PlacedToken(parser.m_prevToken, text) + ", rest at " +
           std::to_string(OffsetWithoutComments(text, parser.m_str.m_p1));
}

// --- What texts are made of ------------------------------------------------------------------------------------------

template <class T>
T OneOf(const std::vector<T>& choices)
{
    return choices[static_cast<std::size_t>(
        *rc::gen::resize(100, rc::gen::inRange(0, static_cast<int>(choices.size()))))];
}

std::string AnySpace()
{
    return OneOf<std::string>({" ", " ", "\n", "\t", " \r\n", "\v\f"});
}

// Without slashes and asterisks, which would begin comments.
std::string AnyCharacters()
{
    static const std::string s_characters = "00112233445566778899.eE+-xX_aA'\"\\ \t\n={}[](),:@";
    const int size = *rc::gen::inRange(1, 9);
    std::string text;
    for (int i = 0; i < size; ++i)
        text += OneOf(std::vector<char>(s_characters.begin(), s_characters.end()));
    return text;
}

std::string AnyDigits()
{
    return std::to_string(*rc::gen::arbitrary<int64>() >> (8 * *rc::gen::inRange(0, 8)));
}

// Numbers at the edges of the types, in every form; texts, names; and what is almost one of them.
std::string AnyLiteral()
{
    switch (OneOf<int>({0, 0, 0, 1, 1, 2}))
    {
    case 1: return AnyDigits();
    case 2: return AnyCharacters();
    }
    return OneOf<std::string>({"0",
                               "-0",
                               "- 1",
                               "+1",
                               "007",
                               "0x10",
                               "-0x10",
                               "127",
                               "128",
                               "-128",
                               "-129",
                               "255",
                               "256",
                               "32767",
                               "32768",
                               "-32768",
                               "-32769",
                               "65535",
                               "65536",
                               "2147483647",
                               "2147483648",
                               "-2147483648",
                               "-2147483649",
                               "4294967295",
                               "4294967296",
                               "9223372036854775807",
                               "9223372036854775808",
                               "-9223372036854775808",
                               "-9223372036854775809",
                               "18446744073709551615",
                               "18446744073709551616",
                               "999999999999999999",
                               "1000000000000000000",
                               "000000000000000000000000001",
                               "1.5",
                               "-1.5",
                               "1.",
                               ".5",
                               "1e5",
                               "1E+5",
                               "1e-5",
                               "1e",
                               "1e+",
                               "1e400",
                               "1e-400",
                               "-0.0",
                               "1.7976931348623157e308",
                               "4.9e-324",
                               "9007199254740993",
                               "9007199254740993.0",
                               "1e22",
                               "1e23",
                               "123456789.123456789012345",
                               "123456789012345678901234567890",
                               "12abc",
                               "1.5x",
                               "1..2",
                               "1u",
                               "inf",
                               "true",
                               "false",
                               "Red",
                               "Green",
                               "None",
                               "Low",
                               "High",
                               "'a'",
                               "\"a\"",
                               "''",
                               "\"\"",
                               "'ab'",
                               "'a\\n'",
                               "\"a\nb\"",
                               "'a\tb'",
                               "\"a\"\"b\"",
                               "\"it's\"",
                               "\"\xc3\xa9\"",
                               "\"\xff\"",
                               "\"open",
                               "'",
                               "(1)",
                               "{}",
                               "=1",
                               "_"});
}

// --- Data sources ----------------------------------------------------------------------------------------------------

// Floats by their bits: a zero has a sign.
auto ContentsOf(const hand::Scalars& s)
{
    return std::make_tuple(s.m_bool, s.m_int8, s.m_int16, s.m_int32, s.m_int64, s.m_uint8, s.m_uint16, s.m_uint32,
                           s.m_uint64, std::bit_cast<uint32>(s.m_float32), std::bit_cast<uint64>(s.m_float64),
                           s.m_char8, s.m_char16, ToStdString(SubString(s.m_string8)), s.m_color, s.m_level);
}

struct Member
{
    std::string m_name;
    std::vector<std::string> m_literals; // that suit it
};

const std::vector<Member> s_members = {
    {"bool", {"true", "false"}},
    {"int8", {"0", "127", "-128", "-1"}},
    {"int16", {"00300", "32767", "-32768"}},
    {"int32", {"70000", "2147483647", "-2147483648"}},
    {"int64", {"5000000000", "9223372036854775807", "-9223372036854775807"}},
    {"uint8", {"0", "255", "0x10"}},
    {"uint16", {"256", "65535"}},
    {"uint32", {"65536", "4294967295"}},
    {"uint64", {"7", "18446744073709551615"}},
    {"float32", {"1.5", "-2", "1e9"}},
    {"float64", {"0", "-0.0", "2.25", "-1e-5", "1E+5", "123456789012345678"}},
    {"char8", {"'a'", "\"b\""}},
    {"char16", {"'a'", "\"b\""}},
    {"string8", {"''", "'a'", "\"it's\"", "'a\\n'", "'a' 'b'"}},
    {"color", {"Red", "Crimson", "None"}},
    {"level", {"Low", "High"}},
    {"nope", {"1"}},
};

// A comment behind a member's name is nothing plain.
RC_GTEST_FIXTURE_PROP(HandmadeTest, MembersAreReadPlainlyAsByTokens, ())
{
    TwoSpellings texts;
    texts.Add("{");
    const int numMembers = *rc::gen::inRange(1, 5);
    for (int i = 0; i < numMembers; ++i)
    {
        const Member member = OneOf(s_members);
        const std::string literal = OneOf<int>({0, 1, 1, 1}) == 0 ? AnyLiteral() : OneOf(member.m_literals);
        texts.Add(AnySpace() + member.m_name).AddBreak().Add("=" + literal + AnySpace());
    }
    texts.Add("}");
    RC_LOG() << texts.m_plain << std::endl;
    RC_PRE(texts.DifferInCommentsAlone());

    const auto read = [](const std::string& text, hand::Scalars& scalars)
    {
        return OutcomeOfReading<ExpressionParser>(
            text, [&](ExpressionParser& parser, KSValue&)
            { ParseClassVariable(parser, hand::ClassOf<hand::Scalars>(), &scalars); });
    };
    hand::Scalars plain;
    hand::Scalars byTokens;
    const std::string outcome = read(texts.m_plain, plain);
    RC_ASSERT(outcome == read(texts.m_broken, byTokens));
    RC_ASSERT(ContentsOf(plain) == ContentsOf(byTokens));
    RC_CLASSIFY(outcome.compare(0, 4, "bool") == 0, "valid");
}

// What may stand for a point in a list of them, most often a body of named members.
std::string AnyPoint()
{
    const std::string space = OneOf<int>({0, 1}) == 0 ? "" : AnySpace();
    if (OneOf<int>({0, 1, 1, 1}) == 0)
        return OneOf<std::string>({"{}",
                                   "(1,2)",
                                   "( 1 , 2 )",
                                   "Point{x=1}",
                                   "geom.Point (3, 4)",
                                   "{ x = 1 y = 2 x = 3 }",
                                   "{x=1 y=}",
                                   "{x=1 z=2}",
                                   "{x==1}",
                                   "{1}",
                                   "{x=1",
                                   "{x=1;}",
                                   "{x=1.5}",
                                   "x",
                                   "",
                                   "{{",
                                   "{x=1}{y=2}",
                                   "Point",
                                   "(1)",
                                   "{\"x\"=1}",
                                   "{x=1 'y",
                                   "{x=99999999999}"});
    return space + "{" + space + "x=" + AnyDigits().substr(0, 4) + AnySpace() +
           "y =" + OneOf<std::string>({"1", "-7"}) + space + "}" + space;
}

// A comment behind the opening brace of an element is nothing plain, nor is one behind the element.
RC_GTEST_FIXTURE_PROP(HandmadeTest, InstancesAreReadPlainlyAsByTokens, ())
{
    TwoSpellings texts;
    texts.Add("[");
    const int numPoints = *rc::gen::inRange(0, 6);
    for (int i = 0; i < numPoints; ++i)
    {
        const std::string point = AnyPoint();
        const std::size_t body = point.find('{') + 1; // 0 where there is none
        texts.Add(i == 0 ? "" : ",").Add(point.substr(0, body)).AddBreak().Add(point.substr(body)).AddBreak();
    }
    texts.Add(OneOf<std::string>({"]", "]", "]", ",]", ""}));
    RC_LOG() << texts.m_plain << std::endl;
    RC_PRE(texts.DifferInCommentsAlone());

    constexpr uint8 byteCode[] = {FT_VECTOR, FT_CLASS, 0, 0};
    static constexpr ConstStringZ s_names[] = {"hand::geom::Point"};
    const auto read = [&](const std::string& text, xvector<hand::Point>& points)
    {
        return OutcomeOfReading<ExpressionParser>(text,
                                                  [&](ExpressionParser& parser, KSValue&) {
                                                      ParseVariable(parser, {byteCode, s_names, nullptr}, &points);
                                                  });
    };
    xvector<hand::Point> plain;
    xvector<hand::Point> byTokens;
    const std::string outcome = read(texts.m_plain, plain);
    RC_ASSERT(outcome == read(texts.m_broken, byTokens));
    RC_ASSERT(plain.size() == byTokens.size());
    for (ssize_t i = 0; i < plain.size(); ++i)
        RC_ASSERT(plain[i].m_x == byTokens[i].m_x && plain[i].m_y == byTokens[i].m_y);
    RC_CLASSIFY(outcome.compare(0, 4, "bool") == 0, "valid");
}

// Mostly such as suit every number.
std::string AnyElement()
{
    return OneOf<int>({0, 1, 1, 1, 1}) == 0 ? AnyLiteral() : OneOf<std::string>({"0", "1", "007", "12", "100", "127"});
}

// A comment behind an element is nothing plain.
template <class T>
void CheckElements(ETypeByteCode code)
{
    TwoSpellings texts;
    texts.Add("[");
    const int numElements = *rc::gen::inRange(1, 6);
    for (int i = 0; i < numElements; ++i)
        texts.Add((i == 0 ? "" : ",") + AnySpace() + AnyElement() + AnySpace()).AddBreak();
    texts.Add(OneOf<std::string>({"]", ",]"}));
    RC_LOG() << texts.m_plain << std::endl;
    RC_PRE(texts.DifferInCommentsAlone());

    const uint8 byteCode[] = {FT_VECTOR, static_cast<uint8>(code)};
    const auto read = [&](const std::string& text, xvector<T>& elements)
    {
        return OutcomeOfReading<ExpressionParser>(text,
                                                  [&](ExpressionParser& parser, KSValue&) {
                                                      ParseVariable(parser, {byteCode, nullptr, nullptr}, &elements);
                                                  });
    };
    xvector<T> plain;
    xvector<T> byTokens;
    const std::string outcome = read(texts.m_plain, plain);
    RC_ASSERT(outcome == read(texts.m_broken, byTokens));
    RC_ASSERT(plain.size() == byTokens.size());
    if (!plain.empty())
        RC_ASSERT(std::memcmp(plain.data(), byTokens.data(), static_cast<std::size_t>(plain.size()) * sizeof(T)) == 0);
    RC_CLASSIFY(outcome.compare(0, 4, "bool") == 0, "valid");
}

RC_GTEST_PROP(PlainText, ElementsAreReadAsByTokens, ())
{
    using Check = void (*)();
    OneOf<Check>({[] { CheckElements<int8>(FT_INT8); }, [] { CheckElements<int16>(FT_INT16); },
                  [] { CheckElements<int32>(FT_INT32); }, [] { CheckElements<int64>(FT_INT64); },
                  [] { CheckElements<uint8>(FT_UINT8); }, [] { CheckElements<uint16>(FT_UINT16); },
                  [] { CheckElements<uint32>(FT_UINT32); }, [] { CheckElements<uint64>(FT_UINT64); },
                  [] { CheckElements<float32>(FT_FLOAT32); }, [] { CheckElements<float64>(FT_FLOAT64); },
                  [] { CheckElements<bool>(FT_BOOL); }, [] { CheckElements<xchar>(FT_CHAR8); }})();
}

// --- Paths -----------------------------------------------------------------------------------------------------------

std::string OutcomeOfWalk(ptr<IObject> object, const std::string& text, Reached& reached)
{
    return OutcomeOfReading<ExpressionParser>(
        text, [&](ExpressionParser& parser, KSValue&)
        { reached.m_address = NavigatePathToField(object, parser, reached.m_type, true); });
}

// Outside the macros, which would show what the pointers point to.
bool IsSamePlace(const Reached& a, const Reached& b)
{
    return a.m_address == b.m_address && a.m_type.m_bc == b.m_type.m_bc &&
           a.m_type.m_stringTable == b.m_type.m_stringTable && a.m_type.m_mapOrSetFns == b.m_type.m_mapOrSetFns;
}

// The form that takes a text, against a walk by tokens.
void CheckTextForm(ptr<IObject> object, const std::string& text, const std::string& outcome, const Reached& expected)
{
    Reached reached{};
    xstring message;
    const std::string assertion = OutcomeOf(
        [&]
        {
            reached.m_address = NavigatePathToField(object, xstring(ViewOf(text)), reached.m_type, true, message);
            return KSValue(true);
        });
    RC_ASSERT(IsSamePlace(reached, expected));
    RC_ASSERT((reached.m_address == nullptr) == (outcome.compare(0, 4, "bool") != 0));
    if (outcome.find("KelmAssertionError") == 0)
        RC_ASSERT(outcome.compare(0, assertion.size(), assertion) == 0);
    else
        RC_ASSERT(message.empty() == (reached.m_address != nullptr));
}

// A comment anywhere makes it a walk by tokens.
void CheckPath(ptr<IObject> object, const std::vector<std::string>& fields)
{
    TwoSpellings texts;
    texts.Add("." + OneOf(fields));
    const int numParts = *rc::gen::inRange(0, 5);
    for (int i = 0; i < numParts; ++i)
        texts.Add(OneOf<int>({0, 1, 1}) == 0
                      ? "." + OneOf(fields)
                      : OneOf<std::string>(
                            {"[0]",  "[1]",  "[2]",  "[[0]",  "[[1]",  "[[5]", "[",     "]",           ".",
                             "..",   "[12]", "[-1]", "[01]",  "[0x1]", "[1a]", "[1.5]", "[000000012]", "[4294967296]",
                             "[1 ]", "[ 1]", ".x",   ".nope", "x",     "$",    "\"",    "'",           " ",
                             "\t",   "::",   "1",    ".1",    "\x80",  "#",    "\n",    "\n#",         "->"}));
    texts.AddBreak();
    RC_LOG() << texts.m_plain << std::endl;
    RC_PRE(texts.DifferInCommentsAlone());

    Reached plain{};
    Reached byTokens{};
    const std::string outcome = OutcomeOfWalk(object, texts.m_plain, plain);
    RC_ASSERT(outcome == OutcomeOfWalk(object, texts.m_broken, byTokens));
    RC_ASSERT(IsSamePlace(plain, byTokens));
    CheckTextForm(object, texts.m_plain, outcome, byTokens);
    RC_CLASSIFY(byTokens.m_address != nullptr, "valid");
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, PathsIntoContainersAreWalkedPlainlyAsByTokens, ())
{
    const ptr<IObject> object = hand::New<hand::Containers>();
    hand::As<hand::Containers>(object).m_points.resize(2);
    hand::As<hand::Containers>(object).m_vecs = {{1, 2}, {3}};
    CheckPath(object, {"fixed", "matrix", "corners", "vec", "points", "vecs", "dyn", "dynPoints", "x"});
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, PathsThroughHandlesAreWalkedPlainlyAsByTokens, ())
{
    const ptr<IObject> object = hand::New<hand::Node>();
    hand::As<hand::Node>(object).m_next = object;
    hand::As<hand::Node>(object).m_kids = {object, nullptr};
    CheckPath(object, {"next", "next", "kids", "points", "ref", "value", "name", "x"});
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, PathsToUnusualFieldsAreWalkedPlainlyAsByTokens, ())
{
    using Make = ptr<IObject> (*)();
    const ptr<IObject> object = OneOf<Make>({hand::New<hand::Outer>, hand::New<hand::Wrapper>, hand::New<hand::Evolved>,
                                             hand::New<hand::Qualified>, hand::New<hand::Impossible>,
                                             hand::New<hand::Bare>, hand::New<hand::Orphan>})();
    CheckPath(object, {"wrapper", "wrapper",    "at",      "at",    "b",      "x",       "inner", "id",
                       "kept",    "old",        "again",   "twice", "number", "spot",    "chain", "fixed",
                       "items",   "constItems", "flagged", "map",   "set",    "pointer", "lost"});
}

RC_GTEST_FIXTURE_PROP(HandmadeTest, NamesOnPathsAreReadPlainlyAsByTokens, ())
{
    std::vector<std::string> names(std::begin(hand::Named::Names), std::end(hand::Named::Names));
    names.insert(names.end(), {"", "abc", "abcdefghijkl", std::string("a\0", 2), "a\xae", "a\xdb"});
    CheckPath(hand::New<hand::Named>(), names);
}

// --- Expressions -----------------------------------------------------------------------------------------------------

// The sizes of the integers keep a shift from making the least one, which division by -1 would fault at.
std::string AnyOperand()
{
    return OneOf<std::string>({"0",
                               "1",
                               "2",
                               "7",
                               "007",
                               "12",
                               "123456789012345678",
                               "1234567890123456789",
                               "99999999999999999999",
                               "0x1f",
                               "1.5",
                               "2.0",
                               "1e3",
                               "12abc",
                               "1.2.3",
                               "'a'",
                               "\"bc\"",
                               "true",
                               "false",
                               "name",
                               "- 2",
                               "~ 1",
                               "! 0",
                               "( 3",
                               "( 4 )",
                               "int ( 5 )",
                               "len ( '' )",
                               "1 ( 2 )",
                               "2 . 3",
                               "1 [ 0 ]",
                               "@",
                               ")"});
}

std::string AnyOperator()
{
    return OneOf<std::string>({"+",  "-", "*",  "/",  "%",  "^^", "^", "&", "|",  "&&", "||", "<<", ">>", "<",
                               "<=", ">", ">=", "==", "!=", "?",  ":", "=", "+=", ")",  "]",  ",",  "."});
}

// A comment behind an operator hides the integer that follows it.
RC_GTEST_PROP(PlainText, ExpressionsAreEvaluatedAsByTokens, ())
{
    TwoSpellings texts;
    texts.Add(AnyOperand());
    const int numOperators = *rc::gen::inRange(0, 7);
    for (int i = 0; i < numOperators; ++i)
        texts.Add(AnySpace() + AnyOperator() + " ").AddBreak().Add(AnyOperand());
    RC_LOG() << texts.m_plain << std::endl;
    RC_PRE(texts.DifferInCommentsAlone());

    const auto evaluate = [](const std::string& text) {
        return OutcomeOfReading<KSParser>(text,
                                          [](KSParser& parser, KSValue& value) { parser.ParseExpression(value); });
    };
    const std::string outcome = evaluate(texts.m_plain);
    RC_ASSERT(outcome == evaluate(texts.m_broken));
    RC_CLASSIFY(outcome.find("Exception") == std::string::npos, "valid");
}

} // namespace
} // namespace kelm
