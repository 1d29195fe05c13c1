#include <kelm/Error.h>

#include <kelm/Result.h>
#include <kelm/private/errors/ErrorOf.h>
#include <klUtils/text/ExpressionParser.h>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

namespace kelm
{

namespace
{

struct KindOfMessageRow
{
    std::string_view m_message;
    ErrorKind m_kind;
};

const KindOfMessageRow s_kindRows[] = {
    {"Expected { when read 5", ErrorKind::Syntax},
    {"Expected end of text when read foo", ErrorKind::Syntax},
    {"Expected identifier when read int32", ErrorKind::Syntax},
    {"Expected int32 when read \"three\"", ErrorKind::Type},
    {"Expected geom::Point when read Circle", ErrorKind::Type},
    {"Expected string when read ,", ErrorKind::Type},
    {"Unterminated string literal", ErrorKind::Syntax},
    {"Value 300 is out of range of int8", ErrorKind::Range},
    {"Vector index 7 out of range", ErrorKind::Range},
    {"Array index -1 out of range", ErrorKind::Range},
    {"null dereference", ErrorKind::Range},
    {"Unknown member 'x' of class C", ErrorKind::Name},
    {"Unknown value '7' of enum E", ErrorKind::Name},
    {"Member 'x' of class C is written twice", ErrorKind::Name},
    {"Member 'x' of class C is required", ErrorKind::Check},
    {"Member 'x' of class C refuses 7", ErrorKind::Check},
    {"Identifier x is not a model field of class C", ErrorKind::Name},
    {"'C' is not a registered class name", ErrorKind::Name},
    {"'C' doesn't support dynamic creation", ErrorKind::Type},
    {"'C' is not persistable", ErrorKind::Type},
};

TEST(KindOfMessage, FollowsFromItsWords)
{
    for (const KindOfMessageRow& row : s_kindRows)
        EXPECT_EQ(KindOfMessage(row.m_message), row.m_kind) << row.m_message;
}

struct PlaceRow
{
    std::string m_text;
    std::size_t m_offset;
    std::size_t m_size;
    int64 m_line;
    int64 m_column;
    std::string m_excerpt;
};

const PlaceRow s_places[] = {
    {"ab = 'xyz'", 5, 5, 1, 6, "ab = 'xyz'\n     ^~~~~"},
    {"ab = 'xyz'", 5, 0, 1, 6, "ab = 'xyz'\n     ^"},
    {"ab = 'xyz'", 10, 0, 1, 11, "ab = 'xyz'\n          ^"},
    {"one\n\ttwo = 3\n", 11, 1, 2, 8, "\ttwo = 3\n\t      ^"},
    {"one\r\ntwo\r\n", 5, 3, 2, 1, "two\n^~~"},
    // A token that goes on over the line's end is marked as far as that.
    {"x = \"a\nb\" y", 4, 5, 1, 5, "x = \"a\n    ^~"},
    // Columns are characters; a wide one takes two places on a terminal, a combining one none.
    {"\xC3\xA4\xE6\xBC\xA2 = \xE6\xBC\xA2", 8, 3, 1, 6, "\xC3\xA4\xE6\xBC\xA2 = \xE6\xBC\xA2\n      ^~"},
    {"a\x01 b", 3, 1, 1, 4, "a\xEF\xBF\xBD b\n   ^"},
    {"", 0, 0, 1, 1, "\n^"},
};

TEST(ErrorAt, HasItsPlaceAndTheWholeTokenMarked)
{
    for (const PlaceRow& row : s_places)
    {
        const Error error = ErrorAt(ErrorKind::Range, "no good", {"a.kds", row.m_text}, row.m_offset, row.m_size, ".x");
        const std::string place = "a.kds:" + std::to_string(row.m_line) + ":" + std::to_string(row.m_column);
        EXPECT_EQ(error.what(), place + ": error: no good\n" + row.m_excerpt) << row.m_text;
        EXPECT_EQ(error.GetLine(), row.m_line) << row.m_text;
        EXPECT_EQ(error.GetColumn(), row.m_column) << row.m_text;
        EXPECT_EQ(error.GetExcerpt(), row.m_excerpt) << row.m_text;
        EXPECT_EQ(error.GetSource(), "a.kds");
        EXPECT_EQ(error.GetMessage(), "no good");
        EXPECT_EQ(error.GetFieldPath(), ".x");
        EXPECT_EQ(error.GetKind(), ErrorKind::Range);
        EXPECT_THAT(error.GetSuggestions(), ::testing::IsEmpty());
    }
}

TEST(ErrorAt, SuggestsTheNearestNamesBehindTheMessage)
{
    const Error error =
        ErrorAt(ErrorKind::Name, "Unexpected flase after ( in expression", {s_textName, "(flase)"}, 1, 5);
    EXPECT_STREQ(error.what(), "<text>:1:2: error: Unexpected flase after ( in expression; did you mean false?\n"
                               "(flase)\n"
                               " ^~~~~");
    EXPECT_THAT(error.GetSuggestions(), ::testing::ElementsAre("false"));
    EXPECT_EQ(error.GetMessage(), "Unexpected flase after ( in expression");
}

TEST(ErrorWithoutPlace, HasNone)
{
    const Error error = ErrorWithoutPlace(ErrorKind::File, "cannot read a.kds: no", "a.kds");
    EXPECT_STREQ(error.what(), "error: cannot read a.kds: no");
    EXPECT_EQ(error.GetLine(), 0);
    EXPECT_EQ(error.GetColumn(), 0);
    EXPECT_EQ(error.GetExcerpt(), "");
    EXPECT_EQ(error.GetSource(), "a.kds");
}

struct ScanRow
{
    std::string m_text; // of values of int32
    std::string m_what;
};

const ScanRow s_scanRows[] = {
    {"1 'a b' 2", "<text>:1:3: error: Expected int32 when read 'a b'\n1 'a b' 2\n  ^~~~~"},
    {"1", "<text>:1:2: error: Expected int32 when read end of text\n1\n ^"},
    {"1 \"a", "<text>:1:3: error: Unterminated string literal\n1 \"a\n  ^"},
    {"1 3000000000 ", "<text>:1:3: error: Value 3000000000 is out of range of int32\n1 3000000000 \n  ^~~~~~~~~~"},
};

TEST(ErrorOf, MarksTheTokenThatAnExceptionIsAbout)
{
    for (const ScanRow& row : s_scanRows)
        try
        {
            ExpressionParser parser;
            parser.Init(std::string_view(row.m_text));
            while (true)
                parser.ParseInt32(false);
        }
        catch (const LexScannerException& e)
        {
            EXPECT_EQ(ErrorOf(e, {s_textName, row.m_text}).what(), row.m_what);
        }
}

TEST(ErrorOf, HasNoPlaceOutsideTheText)
{
    const std::string text = "a b";
    const LexScannerException elsewhere("null dereference", LSToken());
    EXPECT_STREQ(ErrorOf(elsewhere, {s_textName, text}).what(), "error: null dereference");
}

TEST(ErrorOf, AnAssertionIsInternalButWhereInputReachesIt)
{
    EXPECT_EQ(ErrorOf(KelmAssertionError("p", "src/ParseDataSource", 1)).GetMessage(),
              "a persistent reference takes an object, not null");
    EXPECT_EQ(ErrorOf(KelmAssertionError("p", "src/ParseDataSource", 1)).GetKind(), ErrorKind::Type);
    EXPECT_EQ(ErrorOf(KelmAssertionError("r", "src/KSValue", 1)).GetKind(), ErrorKind::Internal);
}

// --- results

Error AnError()
{
    return ErrorWithoutPlace(ErrorKind::Check, "refused");
}

TEST(Result, HoldsAValueOrAnError)
{
    Result<std::string> good = std::string("text");
    ASSERT_TRUE(good);
    EXPECT_EQ(*good, "text");
    EXPECT_EQ(good->size(), 4U);
    EXPECT_EQ(good.GetError().GetKind(), ErrorKind::Internal);

    const Result<std::string> bad = AnError();
    EXPECT_FALSE(bad);
    EXPECT_EQ(bad.GetError().GetKind(), ErrorKind::Check);
    EXPECT_THROW(*bad, Error);
    EXPECT_THROW(bad->size(), Error);
}

TEST(Result, MovesAValueOut)
{
    Result<std::unique_ptr<int>> result = std::make_unique<int>(7);
    const std::unique_ptr<int> value = *std::move(result);
    EXPECT_EQ(*value, 7);
    EXPECT_FALSE(*result);
}

TEST(Result, OfVoidHoldsAnErrorOrNone)
{
    EXPECT_TRUE(Result<void>());
    EXPECT_NO_THROW(*Result<void>());
    const Result<void> bad = AnError();
    EXPECT_FALSE(bad);
    EXPECT_THROW(*bad, Error);
    EXPECT_STREQ(bad.GetError().what(), "error: refused");
}

static_assert(std::is_nothrow_copy_constructible_v<Error> && std::is_nothrow_copy_assignable_v<Error>);
static_assert(!std::is_convertible_v<Result<int>, bool>);

// What a temporary gives outlives it.
template <class T, class Got>
concept GivesText = std::is_same_v<decltype(std::declval<T>().GetMessage()), Got> &&
    std::is_same_v<decltype(std::declval<T>().GetSource()), Got> &&
    std::is_same_v<decltype(std::declval<T>().GetExcerpt()), Got> &&
    std::is_same_v<decltype(std::declval<T>().GetFieldPath()), Got>;
static_assert(GivesText<const Error&, const std::string&> && GivesText<Error&, const std::string&>);
static_assert(GivesText<const Error, std::string> && GivesText<Error, std::string>);

TEST(Result, OfATemporaryIsKept)
{
    const auto make = [](bool isGood) -> Result<std::vector<std::string>>
    {
        if (isGood)
            return std::vector<std::string>{"a text that is too long to lie in the string itself", "b"};
        return Error({.m_kind = ErrorKind::Name, .m_message = "unknown", .m_suggestions = {"near", "nearer"}});
    };
    std::string all;
    for (const std::string& text : *make(true))
        all += text + ' ';
    for (const std::string& name : make(false).GetError().GetSuggestions())
        all += name + ' ';
    const Error& error = make(false).GetError();
    EXPECT_EQ(all + error.GetMessage(), "a text that is too long to lie in the string itself b near nearer unknown");
    EXPECT_EQ(make(true)->back(), "b");
    const Error& none = make(true).GetError();
    EXPECT_EQ(none.GetKind(), ErrorKind::Internal);
}

} // namespace

} // namespace kelm
