#include <kelm/Fields.h>

#include "DoorTypes.h"

#include <support/InCLocale.h>

#include <gmock/gmock.h>

#include <array>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

namespace door
{

struct Bin
{
    std::string name;
    double weight = 1.5;
    kelm::int32 count = 2;
    std::vector<Bin> inner;
};

// Members of the standard library's types, one in another.
struct Stock
{
    std::vector<Bin> bins = std::vector<Bin>(2);
    std::vector<bool> flags = {true, false};
    std::vector<std::vector<double>> table = {{1, 2}, {3}};
    std::map<std::string, double> rates = {{"EUR", 1.5}, {"a key of more than fifteen characters", 4}, {"\xC3\xA4", 5}};
    std::map<std::string, Bin, std::less<>> byName = {{"a", {}}};
    std::unordered_map<std::string, std::vector<kelm::int32>> lists = {{"primes", {2, 3, 5}}};
    std::map<kelm::int32, Bin> byNumber = {{-7, {}}, {16, {}}};
    std::map<unsigned char, double> small = {{200, 8}};
    std::map<Colour, double> byColour = {{Colour::DEEP_BLUE, 9}};
    std::map<double, double> byFloat = {{0.5, 10}};
    std::set<std::string> names = {"x"};
    std::optional<double> discount = 0.25;
    std::optional<double> nothing;
    std::optional<Bin> spare = Bin{};
    std::optional<Bin> noSpare;
    std::unique_ptr<Bin> owned = std::make_unique<Bin>();
    std::shared_ptr<std::vector<double>> shared = std::make_shared<std::vector<double>>(3, 6.5);
    std::optional<std::map<std::string, kelm::int32>> more = std::map<std::string, kelm::int32>{{"k", 12}};
    std::unique_ptr<std::vector<std::unique_ptr<double>>> deep =
        std::make_unique<std::vector<std::unique_ptr<double>>>(2);
    std::array<std::optional<kelm::int32>, 2> pair = {1, std::nullopt};
    std::variant<kelm::int32, Bin> either = Bin{};
    std::pair<kelm::int32, double> both = {1, 2.5};
    const std::vector<double> fixed = {1};
    std::vector<double> checked = {1, 2};
};

inline bool HasElements(const std::vector<double>& list)
{
    return !list.empty() && list[0] > 0;
}

} // namespace door

KELM_DESCRIBE(door::Bin, name, weight, count, inner)
KELM_CLASS(door::Stock, KELM_MODEL(bins), KELM_MODEL(flags), KELM_MODEL(table), KELM_MODEL(rates), KELM_MODEL(byName),
           KELM_MODEL(lists), KELM_MODEL(byNumber), KELM_MODEL(small), KELM_MODEL(byColour), KELM_MODEL(byFloat),
           KELM_MODEL(names), KELM_MODEL(discount), KELM_MODEL(nothing), KELM_MODEL(spare), KELM_MODEL(noSpare),
           KELM_MODEL(owned), KELM_MODEL(shared), KELM_MODEL(more), KELM_MODEL(deep), KELM_MODEL(pair),
           KELM_MODEL(either), KELM_MODEL(both), KELM_MODEL(fixed), KELM_MODEL(checked).Check(door::HasElements))

namespace kelm
{

namespace
{

using door::Circle;
using door::Colour;
using door::Line;
using door::Order;
using door::Shape;

class Fields : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { Register<Colour, Line, Order, Shape, Circle>(); }

    Fields()
    {
        m_order.customer = "Ada";
        m_order.lines.push_back({"nut", 7, 0.25});
        m_order.lines.push_back({"bolt", 2, 3});
        m_order.rates["EUR"] = 1.5;
        m_order.big = std::numeric_limits<uint64>::max();
        m_order.colour = Colour::DEEP_BLUE;
        m_order.matrix[1] = -4;
    }

    Order m_order;
};

// --- getting

template <class T>
std::string Shown(const Result<T>& result)
{
    if (!result)
        return result.GetError().GetMessage();
    if constexpr (std::is_same_v<T, bool>)
        return *result ? "true" : "false";
    else if constexpr (std::is_arithmetic_v<T>)
    {
        const InCLocale here;
        return std::to_string(*result);
    }
    else
        return std::string(static_cast<std::string_view>(*result));
}

struct GetRow
{
    std::string m_path;
    std::string m_int32;
    std::string m_double;
    std::string m_bool;
    std::string m_text;
};

std::string Misfit(const std::string& wanted, const std::string& value)
{
    return "No implicit conversion from value " + value + " to " + wanted;
}

GetRow NoBoolNoText(std::string path, std::string asInt32, std::string asDouble, const std::string& value)
{
    return {std::move(path), std::move(asInt32), std::move(asDouble), Misfit("bool", value), Misfit("xstring", value)};
}

const GetRow s_getRows[] = {
    NoBoolNoText(".lines[0].quantity", "7", "7.000000", "7"),
    NoBoolNoText(".lines [ +1 ] . price", "3", "3.000000", "3.0"),
    NoBoolNoText(".lines[0].price", Misfit("int32", "0.25"), "0.250000", "0.25"),
    NoBoolNoText(".rates[\"EUR\"]", Misfit("int32", "1.5"), "1.500000", "1.5"),
    NoBoolNoText(".rates['EUR']", Misfit("int32", "1.5"), "1.500000", "1.5"),
    NoBoolNoText(".big", "Value 18446744073709551615 is out of range of int32", "18446744073709551616.000000",
                 "18446744073709551615"),
    NoBoolNoText(".matrix[0x1]", "-4", "-4.000000", "-4"),
    {".isOpen", Misfit("int32", "false"), Misfit("float64", "false"), "false", Misfit("xstring", "false")},
    {".customer", Misfit("int32", "Ada"), Misfit("float64", "Ada"), Misfit("bool", "Ada"), "Ada"},
    {".colour", Misfit("int32", "DEEP_BLUE"), Misfit("float64", "DEEP_BLUE"), Misfit("bool", "DEEP_BLUE"), "DEEP_BLUE"},
    {".letter", Misfit("int32", "a"), Misfit("float64", "a"), Misfit("bool", "a"), "a"},
};

TEST_F(Fields, AreGivenByTheTableOfConversions)
{
    for (const GetRow& row : s_getRows)
    {
        EXPECT_EQ(Shown(TryGet<int>(m_order, row.m_path)), row.m_int32) << row.m_path;
        EXPECT_EQ(Shown(TryGet<double>(m_order, row.m_path)), row.m_double) << row.m_path;
        EXPECT_EQ(Shown(TryGet<bool>(m_order, row.m_path)), row.m_bool) << row.m_path;
        EXPECT_EQ(Shown(TryGet<xstring>(m_order, row.m_path)), row.m_text) << row.m_path;
    }
    EXPECT_EQ(Get<uint64>(m_order, ".big"), std::numeric_limits<uint64>::max());
    EXPECT_EQ(Get<char>(m_order, ".letter"), 'a');
    EXPECT_EQ(Get<std::string>(m_order, ".customer[0][0]"), "A");
    EXPECT_EQ(TryGet<int>(m_order, ".customer[0][1]").GetError().GetKind(), ErrorKind::Range);
    EXPECT_EQ(Get<Colour>(m_order, ".colour"), Colour::DEEP_BLUE);
    EXPECT_EQ(Get<float>(m_order, ".ratio"), 0.5F);
}

TEST_F(Fields, ThatAreWholesAreCopied)
{
    const auto lines = Get<xvector<Line>>(m_order, ".lines");
    EXPECT_EQ(lines[1].item, "bolt");
    EXPECT_EQ(Get<Line>(m_order, ".lines[1]").item, "bolt");
    EXPECT_EQ((Get<xmap<xstring, double>>(m_order, ".rates")["EUR"]), 1.5);
    EXPECT_EQ(Get<Order>(m_order, "").customer, "Ada");
    EXPECT_EQ(TryGet<Circle>(m_order, ".lines[1]").GetError().GetMessage(), Misfit("door::Circle", "of door::Line"));
    EXPECT_EQ(TryGet<xvector<int32>>(m_order, ".lines").GetError().GetMessage(),
              Misfit("xvector<int32>", "of xvector<door::Line>"));
    EXPECT_EQ(Get<int>(lines, "[0].quantity"), 7);
}

// --- failures

struct PathErrorRow
{
    std::string m_path;
    ErrorKind m_kind;
    std::string m_message;
    int64 m_column;
    std::string m_caret;
};

const PathErrorRow s_pathErrors[] = {
    {".nosuch", ErrorKind::Name, "Identifier nosuch is not a model field of class door::Order", 2, "^~~~~~"},
    {".lines[0].qantity", ErrorKind::Name, "Identifier qantity is not a model field of class door::Line", 11,
     "^~~~~~~"},
    {".lines[7].item", ErrorKind::Range, "Vector index 7 out of range", 9, "^"},
    {".lines[-1]", ErrorKind::Range, "Vector index -1 out of range", 10, "^"},
    {".matrix[2]", ErrorKind::Range, "Array index 2 out of range", 10, "^"},
    {".rates['USD']", ErrorKind::Range, "Key USD is not there", 13, "^"},
    {".rates[5]", ErrorKind::Type, Misfit("xstring", "5"), 9, "^"},
    {".lines['a']", ErrorKind::Type, "Expected int32 when read 'a'", 8, "^~~"},
    {".lines[99999999999]", ErrorKind::Range, "Value 99999999999 is out of range of int32", 8, "^~~~~~~~~~~"},
    {".lines[0", ErrorKind::Syntax, "Expected ] when read end of text", 9, "^"},
    {".lines.item", ErrorKind::Type, ". not available on list of door::Line", 8, "^~~~"},
    {".tiny.x", ErrorKind::Type, ". not available on int64", 7, "^"},
    {".tiny[0]", ErrorKind::Type, "[] not available on int64", 8, "^"},
    {"tiny", ErrorKind::Syntax, "Expected end of text when read tiny", 1, "^~~~"},
    {".", ErrorKind::Syntax, "Expected identifier when read end of text", 2, "^"},
    {".tiny tiny", ErrorKind::Syntax, "Expected end of text when read tiny", 7, "^~~~"},
    {".customer", ErrorKind::Type, Misfit("float64", "Ada"), 2, "^~~~~~~~"},
    {".\x01", ErrorKind::Syntax, "Illegal character 0x01 outside quotes", 2, "^"},
};

void ExpectPathError(const Error& error, const PathErrorRow& row)
{
    EXPECT_EQ(error.GetKind(), row.m_kind) << row.m_path;
    EXPECT_EQ(error.GetMessage(), row.m_message) << row.m_path;
    EXPECT_EQ(error.GetLine(), 1) << row.m_path;
    EXPECT_EQ(error.GetColumn(), row.m_column) << row.m_path;
    EXPECT_EQ(error.GetExcerpt().substr(error.GetExcerpt().find('^')), row.m_caret) << row.m_path;
    EXPECT_EQ(error.GetSource(), "<text>");
}

TEST_F(Fields, PathsThatLeadNowhereSayWhere)
{
    for (const PathErrorRow& row : s_pathErrors)
    {
        ExpectPathError(TryGet<double>(m_order, row.m_path).GetError(), row);
        try
        {
            Get<double>(m_order, row.m_path);
            ADD_FAILURE() << row.m_path;
        }
        catch (const Error& e)
        {
            ExpectPathError(e, row);
        }
    }
    EXPECT_THAT(TryGet<int>(m_order, ".custmer").GetError().GetSuggestions(), ::testing::ElementsAre("customer"));
}

// --- setting

struct SetRow
{
    std::function<Result<void>(Order&)> m_set;
    std::string m_path;
    std::string m_outcome; // of the text at the path, or why it was not set
};

template <class V>
SetRow Setting(const char* path, V value, std::string outcome)
{
    return {[=](Order& order) { return TrySet(order, path, value); }, path, std::move(outcome)};
}

TEST_F(Fields, AreSetByTheSameTable)
{
    const SetRow rows[] = {
        Setting(".tiny", 5, "5"),
        Setting(".tiny", 5.0, "5"),
        Setting(".tiny", 300, "Value 300 is out of range of int8"),
        Setting(".tiny", 2.5, Misfit("int8", "2.5")),
        Setting(".tiny", "5", Misfit("int8", "5")),
        Setting(".tiny", true, Misfit("int8", "true")),
        Setting(".tiny", std::numeric_limits<double>::quiet_NaN(), Misfit("int8", "nan")),
        Setting(".tiny", std::numeric_limits<double>::infinity(), "Value inf is out of range of int8"),
        Setting(".big", -1, "Value -1 is out of range of uint64"),
        Setting(".big", 18446744073709551614U, "18446744073709551614"),
        Setting(".ratio", 1e300, "Value 1e+300 is out of range of float32"),
        Setting(".ratio", 7, "7.0"),
        Setting(".isOpen", true, "true"),
        Setting(".isOpen", 1, Misfit("bool", "1")),
        Setting(".customer", std::string("Bob"), "Bob"),
        Setting(".customer", 5, Misfit("xstring", "5")),
        Setting(".letter", "z", "z"),
        Setting(".letter", "zz", Misfit("char", "zz")),
        Setting(".colour", "RED", "RED"),
        Setting(".colour", Colour::RED, "RED"),
        Setting(".colour", "BLACK", "Unknown member 'BLACK' of enum door::Colour"),
        Setting(".lines[1].price", 9, "9.0"),
        Setting(".lines[1]", Line{"cog", 1, 2}, "of door::Line"),
        Setting(".lines[1]", Circle(), Misfit("door::Line", "of door::Circle")),
        Setting(".codes", xvector<int32>{8}, "of xvector<int32>"),
        Setting(".rates['EUR']", 2, "2.0"),
        Setting(".rates['new']", 3, "3.0"),
        Setting(".rates['new']", "3", Misfit("float64", "3")),
    };
    for (const SetRow& row : rows)
    {
        Order order = m_order;
        const std::string before = Write(order);
        const Result<void> result = row.m_set(order);
        if (!result)
        {
            EXPECT_EQ(result.GetError().GetMessage(), row.m_outcome) << row.m_path;
            EXPECT_EQ(Write(order), before) << row.m_path;
            EXPECT_EQ(result.GetError().GetLine(), 1) << row.m_path;
            continue;
        }
        const Error error = TryGet<Shape>(order, row.m_path).GetError(); // which shows a scalar
        EXPECT_EQ(error.GetMessage(), Misfit("door::Shape", row.m_outcome)) << row.m_path;
        EXPECT_NE(Write(order), before) << row.m_path;
    }
}

TEST_F(Fields, OfObjectsAreReachedThroughHandles)
{
    const Object chain = Read<Object>("door::Shape { name = \"first\" next = door::Circle { radius = 2 } }");
    EXPECT_EQ(Get<double>(chain, ".next.radius"), 2);
    Set(chain, ".next.radius", 5);
    EXPECT_EQ(Get<Circle>(chain, ".next").radius, 5);
    const Root<Shape> root = Read<Root<Shape>>("{ next = door::Shape { name = 'inner' } }");
    Set(root, ".next.name", "x");
    EXPECT_EQ(Get<xstring>(root, ".next.name"), "x");
    EXPECT_TRUE(Has(root, ".next"));
    EXPECT_TRUE(Has(root, ".next.name"));
    EXPECT_FALSE(Has(root, ".next.next"));
    EXPECT_FALSE(Has(root, ".next.next.name"));
    EXPECT_FALSE(Has(root, ".nosuch"));
    EXPECT_EQ(TryGet<double>(root, ".next.next.radius").GetError().GetMessage(), "null dereference");
    Set(root, ".next", nullptr);
    EXPECT_FALSE(Has(root, ".next"));
    EXPECT_FALSE(Has(Object(), ".name"));
    EXPECT_EQ(TryGet<int>(Object(), ".name").GetError().GetKind(), ErrorKind::Range);
}

TEST_F(Fields, AreThereOrNot)
{
    EXPECT_TRUE(Has(m_order, ".lines[1]"));
    EXPECT_FALSE(Has(m_order, ".lines[2]"));
    EXPECT_TRUE(Has(m_order, ".rates['EUR']"));
    EXPECT_FALSE(Has(m_order, ".rates['USD']"));
    EXPECT_THROW(Has(m_order, ".lines["), Error);
    EXPECT_THROW(Has(m_order, ".tiny.x"), Error);
}

// --- of the standard library's types

struct StandardRow
{
    std::string m_path;
    std::string m_got; // as a double, or why not
    std::string m_set; // the same after 3 has been set
};

// Values go another way than numbers.
const StandardRow s_standardRows[] = {
    {".bins[1].weight", "1.500000", "3.000000"},
    {".bins [ 0x1 ] . count", "2.000000", "3.000000"},
    {".bins[2].weight", "Range Vector index 2 out of range", "Range Vector index 2 out of range"},
    {".bins[-1].weight", "Range Vector index -1 out of range", "Range Vector index -1 out of range"},
    {".bins['a'].weight", "Type Expected int32 when read 'a'", "Type Expected int32 when read 'a'"},
    {".bins[1].name", "Type No implicit conversion from value  to float64",
     "Type No implicit conversion from value 3 to string"},
    {".bins[1]", "Type No implicit conversion from value of door::Bin to float64",
     "Type No implicit conversion from value 3 to door::Bin"},
    {".bins.weight", "Type . not available on list of door::Bin", "Type . not available on list of door::Bin"},
    {".bins[0].inner[0].weight", "Range Vector index 0 out of range", "Range Vector index 0 out of range"},
    {".flags[0]", "Type No implicit conversion from value true to float64",
     "Type No implicit conversion from value 3 to bool"},
    {".table[0][1]", "2.000000", "3.000000"},
    {".table[1][1]", "Range Vector index 1 out of range", "Range Vector index 1 out of range"},
    {".rates['EUR']", "1.500000", "3.000000"},
    {".rates [ \"EUR\" ] ", "1.500000", "3.000000"},
    {".rates[\"E\\x55R\"]", "1.500000", "3.000000"},
    {".rates['a key of more than fifteen characters']", "4.000000", "3.000000"},
    {".rates['\xC3\xA4']", "5.000000", "3.000000"},
    {".rates[EUR]", "1.500000", "3.000000"},
    {".rates['USD']", "Range Key USD is not there", "3.000000"},
    {".rates[5]", "Type No implicit conversion from value 5 to string",
     "Type No implicit conversion from value 5 to string"},
    {".rates['EUR'", "Syntax Expected ] when read end of text", "Syntax Expected ] when read end of text"},
    {".byName['a'].count", "2.000000", "3.000000"},
    {".byName['b'].count", "Range Key b is not there", "Range Key b is not there"},
    {".lists['primes'][2]", "5.000000", "3.000000"},
    {".byNumber[-7].weight", "1.500000", "3.000000"},
    {".byNumber[0x10].weight", "1.500000", "3.000000"},
    {".byNumber[8].weight", "Range Key 8 is not there", "Range Key 8 is not there"},
    {".byNumber[4294967289].weight", "Range Value 4294967289 is out of range of int32",
     "Range Value 4294967289 is out of range of int32"},
    {".small[200]", "8.000000", "3.000000"},
    {".small[-56]", "Range Value -56 is out of range of uint8", "Range Value -56 is out of range of uint8"},
    {".small[1]", "Range Key 1 is not there", "3.000000"},
    {".byColour[DEEP_BLUE]", "9.000000", "3.000000"},
    {".byColour['DEEP_BLUE']", "9.000000", "3.000000"},
    {".byFloat[0.5]", "10.000000", "3.000000"},
    {".discount", "0.250000", "3.000000"},
    {".nothing", "Range null dereference", "3.000000"},
    {".spare.count", "2.000000", "3.000000"},
    {".noSpare.count", "Range null dereference", "Range null dereference"},
    {".owned.weight", "1.500000", "3.000000"},
    {".shared[2]", "6.500000", "3.000000"},
    {".more['k']", "12.000000", "3.000000"},
    {".deep[1]", "Range null dereference", "3.000000"},
    {".pair[0]", "1.000000", "3.000000"},
    {".pair[1]", "Range null dereference", "3.000000"},
    {".either.weight", "1.500000", "3.000000"},
    {".both[1]", "2.500000", "3.000000"},
    {".fixed[0]", "1.000000", "Type Can't assign to const float64"},
    {".checked[0]", "1.000000", "3.000000"},
};

std::string ShownWithKind(const Error& error)
{
    constexpr std::string_view kinds[] = {"Syntax", "Name", "Type", "Range", "Check"};
    return std::string(kinds[static_cast<std::size_t>(error.GetKind())]) + " " + error.GetMessage();
}

TEST(StandardFields, AreReachedAlikeInEveryWay)
{
    for (const StandardRow& row : s_standardRows)
        for (const std::string comment : {"", "/**/"})
        {
            const std::string path = comment + row.m_path;
            door::Stock stock;
            const Result<double> before = TryGet<double>(stock, path);
            EXPECT_EQ(before ? Shown(before) : ShownWithKind(before.GetError()), row.m_got) << path;
            if (!before)
            {
                const Error error = TryGet<double>(stock, row.m_path).GetError();
                EXPECT_EQ(before.GetError().GetColumn(), error.GetColumn() + std::ssize(comment)) << path;
            }
            const std::string text = Write(stock);
            const Result<void> set = comment.empty() ? TrySet(stock, path, 3) : TrySet(stock, path, Value(3));
            EXPECT_EQ(set ? Shown(TryGet<double>(stock, row.m_path)) : ShownWithKind(set.GetError()), row.m_set)
                << path;
            EXPECT_EQ(Write(stock) == text, !set || row.m_got == row.m_set) << path;
            EXPECT_TRUE(!before || Has(stock, path)) << path;
        }
}

// From a list itself, and into a map of ours: on the short way and on the long one, which a comment asks for.
TEST(StandardFields, AreReachedFromListsAndInOurMaps)
{
    const auto check = [](auto whole, const std::string& path, const std::string& expected)
    {
        for (const std::string& comment : {std::string(), std::string("/**/")})
        {
            const Result<double> got = TryGet<double>(whole, comment + path);
            EXPECT_EQ(got ? Shown(got)
                          : ShownWithKind(got.GetError()) + " " +
                                std::to_string(got.GetError().GetColumn() - static_cast<int>(comment.size())),
                      expected)
                << comment << path;
            auto changed = whole;
            const Result<void> set = TrySet(changed, comment + path, 3);
            EXPECT_EQ(set ? Shown(TryGet<double>(changed, path)) : ShownWithKind(set.GetError()),
                      set ? "3.000000" : expected.substr(0, expected.rfind(' ')))
                << comment << path;
        }
    };
    std::vector<Line> lines(2);
    lines[1].price = 8.5;
    lines[1].quantity = 4;
    check(lines, "[1].price", "8.500000");
    check(lines, "[ 1 ].quantity", "4.000000");
    check(lines, "[01].price", "8.500000");
    check(lines, "[2].price", "Range Vector index 2 out of range 3");
    check(lines, "[-1].price", "Range Vector index -1 out of range 4");
    check(lines, "[1]x", "Syntax Expected end of text when read x 4");
    check(lines, "[1].nothing", "Name Identifier nothing is not a model field of class door::Line 5");
    check(lines, "[12345678901].price", "Range Value 12345678901 is out of range of int32 2");
    check(lines, "[", "Syntax Expected value when read end of text 2");
    check(std::vector<double>{1.5, 2.5}, "[1]", "2.500000");
    check(std::vector<std::vector<double>>{{1}, {2, 3}}, "[1][1]", "3.000000");
    check(std::array<double, 2>{4, 5}, "[1]", "5.000000");
    check(xvector<Line>{Line{}, Line{"x", 2, 7.5}}, "[1].price", "7.500000");
    check(xvector<int32>{3, 9}, "[1]", "9.000000");
    check(xvector<int32>{3, 9}, "[2]", "Range Vector index 2 out of range 3");
    check(std::map<std::string, double>{{"a", 6}}, "[\"a\"]", "6.000000");
    Order order;
    order.rates = {{"EUR", 1.5}, {"a", 2}};
    check(order, ".rates[\"EUR\"]", "1.500000");
    check(order, ".rates[\"\\x61\"]", "2.000000");
    EXPECT_EQ(ShownWithKind(TryGet<double>(order, ".rates[\"USD\"]").GetError()), "Range Key USD is not there");
    Set(order, ".rates[\"USD\"]", 4);
    EXPECT_EQ(order.rates["USD"], 4);
    EXPECT_EQ(ShownWithKind(TryGet<double>(order, ".rates[").GetError()),
              "Syntax Expected value when read end of text");
    EXPECT_EQ(ShownWithKind(TrySet(order, ".lines[", 1).GetError()), "Syntax Expected value when read end of text");
}

TEST(StandardFields, AreCheckedWhereverTheyAreSet)
{
    door::Stock stock;
    EXPECT_EQ(TrySet(stock, ".checked[0]", -1).GetError().GetMessage(),
              "Member 'checked' of class door::Stock refuses -1");
    EXPECT_EQ(TrySet(stock, ".checked", std::vector<double>()).GetError().GetKind(), ErrorKind::Check);
    EXPECT_EQ(stock.checked, (std::vector<double>{1, 2}));
    Set(stock, ".checked", std::vector<double>{5});
    EXPECT_EQ((Get<std::vector<double>>(stock, ".checked")), std::vector<double>{5});
}

TEST(StandardFields, AreGotAsWhatTheyAre)
{
    door::Stock stock;
    stock.bins[1].name = "nails";
    EXPECT_EQ(Get<std::string>(stock, ".bins[1].name"), "nails");
    Set(stock, ".bins[1].name", "a name of more than fifteen characters");
    EXPECT_EQ(Get<std::string>(stock, ".bins[1].name"), stock.bins[1].name);
    EXPECT_EQ(Get<std::optional<double>>(stock, ".discount"), 0.25);
    EXPECT_EQ(Get<std::optional<double>>(stock, ".nothing"), std::nullopt);
    Set(stock, ".discount", std::nullopt);
    EXPECT_EQ(stock.discount, std::nullopt);
    EXPECT_EQ((Get<std::map<unsigned char, double>>(stock, ".small")), stock.small);
    EXPECT_EQ(Get<int>(stock, ".bins[0].count"), 2);
}

TEST(StandardFields, SayWhichNameOfAnEnumeratorIsUnknown)
{
    door::Stock stock;
    const auto expect = [](const Error& error)
    {
        EXPECT_STREQ(error.what(), "<text>:1:11: error: Unknown member 'DEEP_BLU' of enum door::Colour; did you mean "
                                   "DEEP_BLUE?\n.byColour[DEEP_BLU]\n          ^~~~~~~~");
        EXPECT_EQ(error.GetKind(), ErrorKind::Name);
    };
    expect(TryGet<double>(stock, ".byColour[DEEP_BLU]").GetError());
    expect(TrySet(stock, ".byColour[DEEP_BLU]", 1).GetError());
}

TEST(StandardFields, TakeWholeObjectsOfValues)
{
    door::Stock stock;
    const door::Bin bin{"new", 7, 8, {}};
    Set(stock, ".bins[0]", Value(bin));
    EXPECT_EQ(stock.bins[0].name, "new");
    Set(stock, ".noSpare", Value(bin));
    EXPECT_EQ(stock.noSpare->weight, 7);
    Set(stock, ".byName['b']", Value(bin));
    EXPECT_EQ(stock.byName["b"].count, 8);
    EXPECT_EQ(TrySet(stock, ".table", Value(bin)).GetError().GetKind(), ErrorKind::Type);
}

} // namespace

} // namespace kelm
