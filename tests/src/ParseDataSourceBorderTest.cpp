// What a program's own code sees of the parser when reading runs it: the parser is at the token whose value is about to
// be made. And values in values are read once.

#include <klKelmScript/ParseDataSource.h>

#include <klKelmScript/klKelmScript.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/describe/TypeOf.h>
#include <klUtils/xvector.h>
#include <support/ExactText.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <array>
#include <compare>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace border
{

// Notes the current token and its place whenever one is made or destroyed.
struct Onlooker
{
    Onlooker() { Look('+'); }
    Onlooker(const Onlooker& other) : id(other.id) {}
    Onlooker& operator=(const Onlooker&) = default;
    ~Onlooker() { Look('-'); }

    friend bool operator<(const Onlooker& a, const Onlooker& b) { return a.id < b.id; }
    friend bool operator==(const Onlooker& a, const Onlooker& b) { return a.id == b.id; }

    static void Look(char what)
    {
        if (s_parser != nullptr)
            s_seen += what + kelm::ToStdString(s_parser->m_token.m_str) + '@' +
                      std::to_string(s_parser->m_token.m_str.m_p1 - s_text) + ' ';
    }

    int id = 0;

    static inline const kelm::ExpressionParser* s_parser = nullptr;
    static inline const char* s_text = nullptr;
    static inline std::string s_seen;
};

using Choice = kelm::xvariant<kelm::int32, Onlooker>;
using Other = kelm::xvariant<Onlooker, kelm::int32>; // a new one holds an onlooker

// Looks whenever two are compared.
struct Compared
{
    int id = 0;
    friend bool operator<(const Compared& a, const Compared& b)
    {
        Onlooker::Look('<');
        return a.id < b.id;
    }
};

// More than a map's key takes on the stack.
struct LargeKey
{
    std::array<kelm::int64, 40> numbers = {};
    friend auto operator<=>(const LargeKey&, const LargeKey&) = default;
};

enum class Colour : int
{
    RED,
    GREEN = 5
};

struct Inner
{
    bool flag = false;
    double number = 0;
    Colour colour = Colour::RED;
    kelm::xstring name;
    kelm::xvector<int> numbers;
    kelm::xvector<kelm::xvector<int>> lists;
};

struct Whole
{
    kelm::xvector<Onlooker> ours;
    kelm::xvector<Choice> choices;
    kelm::xvector<Other> others;
    Choice choice;
    kelm::xmap<kelm::int32, Onlooker> byNumber;
    kelm::xmap<Onlooker, kelm::int32> numbers;
    kelm::xmap<Compared, kelm::int32> byCompared;
    std::vector<Onlooker> list;
    std::map<int, Onlooker> map;
    std::optional<Onlooker> perhaps;
    std::variant<int, Onlooker> either;
    std::map<Onlooker, int> byOnlooker;
    std::map<Compared, int> mapByCompared;
    std::map<LargeKey, int> byLargeKey;
    Inner inner;
    int behind = 0;
};

} // namespace border

template <>
inline constexpr bool kelm::IsRelocatable<border::Onlooker> = true;

KELM_CLASS(border::Onlooker, KELM_MODEL(id))
KELM_VARIANT(border::Choice, "number", "onlooker")
KELM_VARIANT(border::Other, "onlooker", "number")
KELM_CLASS(border::Compared, KELM_MODEL(id))
KELM_CLASS(border::LargeKey, KELM_MODEL(numbers))
KELM_ENUM(border::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN))
KELM_CLASS(border::Inner, KELM_MODEL(flag), KELM_MODEL(number), KELM_MODEL(colour), KELM_MODEL(name),
           KELM_MODEL(numbers), KELM_MODEL(lists))
KELM_CLASS(border::Whole, KELM_MODEL(ours), KELM_MODEL(choices), KELM_MODEL(others), KELM_MODEL(choice),
           KELM_MODEL(byNumber), KELM_MODEL(numbers), KELM_MODEL(byCompared), KELM_MODEL(list), KELM_MODEL(map),
           KELM_MODEL(perhaps), KELM_MODEL(either), KELM_MODEL(byOnlooker), KELM_MODEL(mapByCompared),
           KELM_MODEL(byLargeKey), KELM_MODEL(inner), KELM_MODEL(behind))

namespace kelm
{
namespace
{

using border::Onlooker;
using border::Whole;

// What is seen while the text is read into the value.
std::string SeenWhileReading(const std::string& text, Whole& whole)
{
    Register_Project_klKelmScript();
    EnsureRegistered<Whole>();
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    Onlooker::s_seen.clear();
    Onlooker::s_text = text.data();
    Onlooker::s_parser = &parser;
    ParseVariable(parser, TypeOf<Whole>(), &whole);
    Onlooker::s_parser = nullptr;
    EXPECT_EQ(parser.m_token.m_type, TOKEN_END) << text;
    return Onlooker::s_seen;
}

TEST(ReadingBorder, ShowsTheTokenWhoseValueIsMade)
{
    const struct
    {
        const char* m_text;
        const char* m_seen;
        const char* m_seenAgain; // in the same variable
    } rows[] = {
        {"{ ours = [{ id = 1 }, { id = 2 }] }", "+{@10 +{@22 ", "+{@10 +{@22 "},
        {"{ choices = [onlooker { id = 1 }, number 7, onlooker {}] }", "+{@22 +{@53 ", "+{@22 +{@53 "},
        {"{ others = [number 7, number 8] }", "+number@12 +number@22 ", "+number@12 +number@22 "},
        {"{ choice = onlooker { id = 1 } }", "+{@20 ", "+{@20 "},
        {"{ byNumber = [1 -> { id = 1 }, 2 -> {}] }", "+{@19 +{@36 ", ""},
        {"{ numbers = [{ id = 1 } -> 10] }", "+[@12 ", "+[@12 "}, // one key for the whole map, never destroyed
        {"{ list = [{ id = 1 }, {}] }", "+{@10 +{@22 -{@22 ", "-[@9 -[@9 +{@10 +{@22 "},
        {"{ map = [1 -> { id = 1 }, 2 -> {}] }", "+{@14 +{@31 ", "-[@8 -[@8 +{@14 +{@31 "},
        {"{ perhaps = { id = 1 } }", "+{@12 ", "-{@12 +{@12 "},
        {"{ either = Onlooker { id = 1 } }", "+{@20 ", "-{@20 +{@20 "},
        {"{ byOnlooker = [{ id = 1 } -> 10, {} -> 20] }", "+{@16 -10@30 +{@34 -20@40 ",
         "-[@15 -[@15 +{@16 -10@30 +{@34 -20@40 "},
    };
    for (const auto& row : rows)
    {
        Whole whole;
        EXPECT_EQ(SeenWhileReading(row.m_text, whole), row.m_seen) << row.m_text;
        EXPECT_EQ(SeenWhileReading(row.m_text, whole), row.m_seenAgain) << row.m_text;
    }
}

// Insertion compares keys, which the program may watch: the payload is not read yet.
TEST(ReadingBorder, ShowsThePayloadThatIsInserted)
{
    const struct
    {
        const char* m_text;
        const char* m_seen;
    } rows[] = {
        {"{ byCompared = [{ id = 1 } -> 10, { id = 2 } -> 20] }", "<20@48 <20@48 "},
        {"{ mapByCompared = [{ id = 1 } -> 10, { id = 2 } -> 20] }", "<20@51 <20@51 <20@51 "},
    };
    for (const auto& row : rows)
    {
        Whole whole;
        EXPECT_EQ(SeenWhileReading(row.m_text, whole), row.m_seen) << row.m_text;
    }
}

TEST(ReadingBorder, IsCrossedOnceForEachValue)
{
    Whole whole;
    SeenWhileReading("{ inner = { numbers = [1, 2] lists = [[1], [], [2, 3]] } behind = 7 }", whole);
    EXPECT_EQ(whole.inner.numbers, (xvector<int>{1, 2}));
    EXPECT_EQ(whole.inner.lists, (xvector<xvector<int>>{{1}, {}, {2, 3}}));
    EXPECT_EQ(whole.behind, 7);
}

// Wherever a text is cut, nobody looks at what is behind it.
TEST(ReadingBorder, IsNotCrossedBehindTheText)
{
    Register_Project_klKelmScript();
    EnsureRegistered<Whole>();
    const std::string_view text =
        "{ inner = { flag = true flag = false number = -1.5e3 number = .5 colour = GREEN "
        "colour = 5 name = \"a\\x41\\u00e9\\n\" name = 'b\\\\' /* c */ numbers = [1, 0x1F, -123456789] "
        "lists = [[12], []] } behind = 12345678 // d\n byNumber = [1 -> { id = 1 }] }";
    const auto read = [](SubString in)
    {
        Whole whole;
        try
        {
            ExpressionParser parser;
            parser.Init(in);
            ParseVariable(parser, TypeOf<Whole>(), &whole);
            return std::string("read");
        }
        catch (const LexScannerException& e)
        {
            return ToStdString(e.m_description) + " at " + std::to_string(e.m_pos - in.m_p1);
        }
        catch (const LiteralException& e)
        {
            return ToStdString(e.m_description);
        }
    };
    for (std::size_t size = 0; size <= text.size(); ++size)
    {
        const std::string part(text, 0, size);
        const ExactText exact(part);
        EXPECT_EQ(read(exact.View()), read(ViewOf(part))) << part;
    }
}

TEST(ForeignMap, TakesKeysOfAnySize)
{
    Whole whole;
    std::string key;
    for (int i = 0; i < 40; ++i)
        key += (i == 0 ? "" : ", ") + std::to_string(i);
    SeenWhileReading("{ byLargeKey = [{ numbers = [" + key + "] } -> 1, {} -> 2] }", whole);
    ASSERT_EQ(whole.byLargeKey.size(), 2u);
    EXPECT_EQ(whole.byLargeKey.begin()->second, 2);
    EXPECT_EQ(whole.byLargeKey.rbegin()->first.numbers[39], 39);
}

} // namespace
} // namespace kelm
