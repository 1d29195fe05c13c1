// All that is wrong with a text, by either policy.

#include "EditedTypes.h"
#include "OrderTypes.h"

#include <kelm/private/errors/Source.h>
#include <kelmDocument/Diagnose.h>
#include <support/Cases.h>
#include <support/OwnMembers.h>
#include <support/ReferenceTexts.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

namespace
{

using orders::Order;
using reference::Random;

std::string Told(std::string_view text, const std::vector<Diagnostic>& diagnostics)
{
    std::string told;
    for (const Diagnostic& diagnostic : diagnostics)
        told += std::to_string(diagnostic.m_place) + " [" + std::string(diagnostic.m_token.In(text)) + "] " +
                (diagnostic.m_severity == Severity::Warning ? "warning: " : "") + diagnostic.m_message +
                (diagnostic.m_note.empty() ? "" : " (" + diagnostic.m_note + ")") + "\n";
    return told;
}

struct DiagnosticRow
{
    std::string m_text;
    std::string m_told;
};

TEST(Diagnose, TellsEachMistakeAndItsToken)
{
    yard::Register();
    const DiagnosticRow rows[] = {
        {"yard::Ship { title = \"a\" }", ""},
        {"yard::Ship { titel = 'a' area = x isOpen = 1 tags = [1, 'a', 3] }",
         "19 [titel] Unknown member 'titel' of class yard::Ship (did you mean title?)\n"
         "32 [x] Expected float64 when read x\n43 [1] Expected bool when read 1 (a bool is true or false)\n"
         "56 ['a'] Expected int32 when read 'a'\n"},
        // In the standard library's lists and maps too.
        {"yard::Ship { list = [1, x, 3, y] map = [\"a\" -> x, 5 -> 1] set = [1, \"b\", 2] pair = [x, y] }",
         "24 [x] Expected int32 when read x\n30 [y] Expected int32 when read y\n"
         "47 [x] Expected int32 when read x\n50 [5] Expected string when read 5\n"
         "65 [1] Expected string when read 1\n73 [2] Expected string when read 2\n"
         "84 [x] Expected int32 when read x\n87 [y] Expected int32 when read y\n"},
        {"yard::Ship { title = 'a', area = 1 }",
         "24 [,] Expected identifier when read , (nothing stands between members, no comma either)\n"},
        {"yard::Ship { title = 'a' title = 'b' } more",
         "25 [title] warning: member 'title' is written twice (it is written here already)\n"
         "39 [more] warning: the text after the data source is not read\n"},
    };
    for (const DiagnosticRow& row : rows)
        EXPECT_EQ(Told(row.m_text, Diagnose(row.m_text)), row.m_told) << row.m_text;
}

TEST(Diagnose, GoesByTheRulesOfAProgramsTypes)
{
    const DiagnosticRow rows[] = {
        {"{ customer = \"a\" }", ""},
        {"orders::Order { customer = \"a\" codes = [3] }", ""},
        {"{ number = 3 }\x01", "13 [}] Member 'customer' of class orders::Order is required\n14 [\x01] Illegal "
                               "character 0x01 outside quotes\n"},
        {"{ number = 3 }", "13 [}] Member 'customer' of class orders::Order is required\n"},
        {"{ customer = \"a\" number = -1 isOpen = 5 }", "26 [-] Member 'number' of class orders::Order refuses -1\n38 "
                                                        "[5] Expected bool when read 5 (a bool is true or false)\n"},
        {"{ customer = \"a\" number = 1 number = x rates = [1] customer = \"b\" }",
         "28 [number] Member 'number' of class orders::Order is written twice\n37 [x] Expected int32 when read x\n"
         "48 [1] Expected string when read 1\n51 [customer] Member 'customer' of class orders::Order is written "
         "twice\n"},
        // What is misspelt is not missing as well.
        {"{ custmer = \"a\" number = x }",
         "2 [custmer] Unknown member 'custmer' of class orders::Order (did you mean customer?)\n"
         "25 [x] Expected int32 when read x\n"},
        {"{ customer = \"a\" lines = [{ item = 1 }, { itm = \"b\" quantity = x }] gift = { price = a } }",
         "35 [1] Expected string when read 1\n42 [itm] Unknown member 'itm' of class orders::Line (did you mean "
         "item?)\n63 [x] Expected int32 when read x\n85 [a] Expected float64 when read a\n"},
        {"{ customer = \"a\" } more", "19 [more] Expected end of text when read more\n"},
        {"wrong.Order { customer = \"a\" }", "0 [wrong.Order] Expected orders::Order when read wrong::Order\n"},
        {"", "0 [] Expected { when read end of text\n"},
    };
    for (const DiagnosticRow& row : rows)
        EXPECT_EQ(Told(row.m_text, Diagnose(row.m_text, DocumentPolicy::Of<Order>())), row.m_told) << row.m_text;
    const std::string unknown = "{ customer = \"a\" colour = [RED, { }] number = x colour = 1 }";
    EXPECT_EQ(Told(unknown, Diagnose(unknown, DocumentPolicy::Of<Order>(UnknownMembers::PassOver))),
              "46 [x] Expected int32 when read x\n");
    const std::string list = "[1, x, 3, y]";
    EXPECT_EQ(Told(list, Diagnose(list, DocumentPolicy::Of<std::vector<int>>())),
              "4 [x] Expected int32 when read x\n10 [y] Expected int32 when read y\n");
    kelm::Register<orders::Shelf, orders::Book>();
    const std::string shelf = "orders::Shelf { name = 1 next = orders::Book { pages = x } }";
    EXPECT_EQ(Told(shelf, Diagnose(shelf, DocumentPolicy::Of<Object>())),
              "23 [1] Expected string when read 1\n55 [x] Expected int32 when read x\n");
    EXPECT_EQ(Told(shelf, Diagnose(shelf, DocumentPolicy::Of<Root<orders::Shelf>>())),
              "23 [1] Expected string when read 1\n55 [x] Expected int32 when read x\n");
}

TEST(Diagnose, GoesOnInMembersOfOurOwnTypes)
{
    kelm::Register<own::Person>();
    const DiagnosticRow rows[] = {
        {"{ map = [1 -> [1], 2 -> [2], 1 -> [3]] }", ""},
        {"{ map = [1 -> [x], 1 -> [y, 2], z -> []] cached = a }",
         "15 [x] Expected int32 when read x\n25 [y] Expected int32 when read y\n32 [z] Expected int32 when read z\n50 "
         "[a] Expected int32 when read a\n"},
        {"{ choice = list [1, x] cached = y }",
         "20 [x] Expected int32 when read x\n32 [y] Expected int32 when read y\n"},
        {"{ choice = text 'a' cached = y }", "11 [text] Unknown member 'text' of variant own::Choice (there are int32, "
                                             "string and list)\n29 [y] Expected int32 when read y\n"},
        {"{ owner = null cached = x }",
         "10 [null] Expected object when read null\n24 [x] Expected int32 when read x\n"},
        {"{ owner = own::Person { name = 1 } cached = x }",
         "31 [1] Expected string when read 1\n44 [x] Expected int32 when read x\n"},
        {"{ both = [x, y] cached = z }", "10 [x] Expected int32 when read x\n13 [y] Expected bool when read y (a bool "
                                         "is true or false)\n25 [z] Expected int32 when read z\n"},
        {"{ both = [1] cached = x }", "11 []] Expected , when read ]\n22 [x] Expected int32 when read x\n"},
        {"{ cached = 1 cached = x }",
         "13 [cached] Member 'cached' of class own::Holder is written twice\n22 [x] Expected int32 when read x\n"},
    };
    for (const DiagnosticRow& row : rows)
        EXPECT_EQ(Told(row.m_text, Diagnose(row.m_text, DocumentPolicy::Of<Root<own::Holder>>())), row.m_told)
            << row.m_text;
}

TEST(Diagnose, TellsAHundredErrorsAtMost)
{
    std::string text = "[";
    for (int i = 0; i < 150; ++i)
        text += i == 0 ? "x" : ", x";
    EXPECT_EQ(Diagnose(text + "]", DocumentPolicy::Of<std::vector<int>>()).size(), 100U);
}

// --- On texts that are damaged

std::size_t NumCases()
{
    return NumberIn("KELM_DOCUMENT_CASES", 8000);
}

uint64 Seed()
{
    return NumberIn("KELM_DOCUMENT_SEED", 1);
}

struct Member
{
    const char* m_right;
    const char* m_wrong;
};
constexpr Member s_members[] = {
    {"customer = \"a\"", "customer = a"},
    {"number = 5", "number = -5"},
    {"lines = [{ item = \"b\" }, (\"c\", 2, 1)]", "lines = [{ item = 5 }, (\"c\", 2, 1)]"},
    {"codes = [1, 2]", "codes = [1, x]"},
    {"rates = [\"a\" -> 1]", "rates = [\"a\" 1]"},
    {"prices = [\"a\" -> 1, \"b\" -> 2]", "prices = [\"a\" -> 1, \"b\" -> x]"},
    {"tags = [\"a\"]", "tags = [a]"},
    {"gift = { price = 1 }", "gift = { prize = 1 }"},
    {"extra = Line { item = \"a\" }", "extra = Lime { item = \"a\" }"},
    {"place = (1, 2)", "place = (1, 2, 3)"},
    {"corners = [{}, { x = 1 }]", "corners = [{}, { z = 1 }]"},
    {"flags = [true, false]", "flags = [true, 0]"},
    {"rows = [[1], [2, 3]]", "rows = [[1], [2, 3.5]]"},
    {"isOpen = true", "isOpn = true"},
};

// With so many mistakes in members of their own.
std::string DrawOrder(Random& random, std::size_t& numMistakes)
{
    std::string text = random.OneIn(2) ? "orders::Order {" : "{";
    numMistakes = 0;
    for (const Member& member : s_members)
    {
        const bool isWrong = random.OneIn(4);
        numMistakes += isWrong ? 1U : 0U;
        text += std::string(random.OneIn(2) ? " " : " // c\n") + (isWrong ? member.m_wrong : member.m_right);
    }
    return text + " }";
}

TEST(Diagnose, TellsAsManyErrorsOfAProgramsTypesAsThereAreMistakes)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases() / 8; ++i)
    {
        std::size_t numMistakes = 0;
        const std::string text = DrawOrder(random, numMistakes);
        const std::vector<Diagnostic> diagnostics = Diagnose(text, DocumentPolicy::Of<Order>());
        ASSERT_EQ(diagnostics.size(), numMistakes) << text << "\n" << Told(text, diagnostics);
    }
}

std::string FirstOf(std::string_view text, const std::vector<Diagnostic>& diagnostics)
{
    const auto first = std::find_if(diagnostics.begin(), diagnostics.end(),
                                    [](const Diagnostic& d) { return d.m_severity == Severity::Error; });
    if (first == diagnostics.end())
        return "";
    const Place place = PlaceOf({"", text}, first->m_place);
    return std::to_string(place.m_line) + ":" + std::to_string(place.m_column) + " " + first->m_message;
}

TEST(Diagnose, BeginsWithTheErrorOfReading)
{
    Random random(Seed());
    for (std::size_t i = 0; i < NumCases() / 2; ++i)
    {
        std::size_t numMistakes = 0;
        std::string text = DrawOrder(random, numMistakes);
        for (std::size_t n = random.Below(3); n-- > 0;)
            reference::Damage(random, text);
        const auto unknown = random.OneIn(2) ? UnknownMembers::Refuse : UnknownMembers::PassOver;
        if (text.starts_with("\xEF\xBB\xBF")) // which columns do not count
            continue;
        const Result<Order> order = TryRead<Order>(text, unknown);
        const std::string first = order ? ""
                                        : std::to_string(order.GetError().GetLine()) + ":" +
                                              std::to_string(order.GetError().GetColumn()) + " " +
                                              order.GetError().GetMessage();
        const std::vector<Diagnostic> diagnostics = Diagnose(text, DocumentPolicy::Of<Order>(unknown));
        ASSERT_EQ(FirstOf(text, diagnostics), first) << text << "\n" << Told(text, diagnostics);
    }
}

} // namespace

} // namespace kelm
