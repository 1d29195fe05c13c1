// Editing by the front door's policy: lists that are written are what they are, a body alone is a document.

#include "OrderTypes.h"

#include <kelmDocument/Editor.h>

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace kelm
{

namespace
{

using orders::Order;
using Edited = Result<bool> (DocumentEditor::*)(std::string_view, std::string_view);

template <class T>
std::string After(const std::string& text, Edited edit, std::string_view path, std::string_view value)
{
    Document document = Document::Parse(text);
    DocumentEditor editor(document, DocumentPolicy::Of<T>());
    const Result<bool> result = edit != nullptr ? (editor.*edit)(path, value) : editor.Remove(path);
    if (result)
        return std::string(document.GetText());
    EXPECT_EQ(document.GetText(), text);
    return "error: " + result.GetError().GetMessage();
}

struct EditRow
{
    std::string m_text;
    Edited m_edit; // null to remove
    std::string_view m_path;
    std::string_view m_value;
    std::string m_after;
};

constexpr Edited s_remove = nullptr;

TEST(DocumentPolicy, EditsWhatAProgramReads)
{
    const EditRow rows[] = {
        {"{ customer = \"a\" }", &DocumentEditor::Set, ".customer", "\"b\"", "{ customer = \"b\" }"},
        {"orders.Order { customer = \"a\" }", &DocumentEditor::Set, ".number", "3",
         "orders.Order { customer = \"a\" number = 3 }"},
        // Lists and maps are what is written.
        {"{ customer = \"a\" codes = [7, 8] }", &DocumentEditor::Set, ".codes[0]", "9",
         "{ customer = \"a\" codes = [9, 8] }"},
        {"{ customer = \"a\" }", &DocumentEditor::Set, ".codes[1]", "9", "{ customer = \"a\" codes = [1, 9] }"},
        {"{ customer = \"a\" }", &DocumentEditor::Insert, ".codes", "9", "{ customer = \"a\" codes = [1, 2, 9] }"},
        {"{ customer = \"a\" codes = [7] }", &DocumentEditor::Set, ".codes", "[]", "{ customer = \"a\" codes = [] }"},
        {"{ customer = \"a\" codes = [7] }", &DocumentEditor::Add, ".codes", "[8]", "{ customer = \"a\" codes = [8] }"},
        {"{ customer = \"a\" codes = [7, 8] }", s_remove, ".codes[0]", "", "{ customer = \"a\" codes = [8] }"},
        {"{ customer = \"a\" prices = [\"x\" -> 1, \"x\" -> 2] }", &DocumentEditor::Set, ".prices[\"x\"]", "3",
         "{ customer = \"a\" prices = [\"x\" -> 1, \"x\" -> 3] }"},
        {"{ customer = \"a\" rates = [\"x\" -> 1] }", &DocumentEditor::Rename, ".rates[\"x\"]", "\"y\"",
         "{ customer = \"a\" rates = [\"y\" -> 1] }"},
        {"{ customer = \"a\" lines = [{ item = \"x\" }] }", &DocumentEditor::Set, ".lines[0].quantity", "5",
         "{ customer = \"a\" lines = [{ item = \"x\" quantity = 5 }] }"},
        {"{ customer = \"a\" place = { x = 1 } }", &DocumentEditor::Set, ".place", "{ y = 3 }",
         "{ customer = \"a\" place = { y = 3 } }"},
        // What reading refuses.
        {"{ customer = \"a\" }", s_remove, ".customer", "",
         "error: Member 'customer' of class orders::Order is required"},
        {"{ customer = \"a\" }", &DocumentEditor::Set, ".number", "-3",
         "error: Member 'number' of class orders::Order refuses -3"},
        {"{ customer = \"a\" }", &DocumentEditor::Set, ".place", "{ x = 1 x = 2 }",
         "error: Member 'x' of class orders::Place is written twice"},
        {"{ customer = \"a\" } more", &DocumentEditor::Set, ".number", "3",
         "error: Expected end of text when read more"},
        {"{ customer = \"a\" number = 1 number = 2 }", &DocumentEditor::Set, ".number", "3",
         "error: Member 'number' of class orders::Order is written twice"},
    };
    for (const EditRow& row : rows)
        EXPECT_EQ(After<Order>(row.m_text, row.m_edit, row.m_path, row.m_value), row.m_after)
            << row.m_text << "\n"
            << row.m_path << " " << row.m_value;
}

TEST(DocumentPolicy, EditsListsAndObjects)
{
    EXPECT_EQ(After<std::vector<int>>("[1, 2]", &DocumentEditor::Set, "[1]", "3"), "[1, 3]");
    EXPECT_EQ(After<std::vector<int>>("[1, 2] // two\n", &DocumentEditor::Insert, "", "3"), "[1, 2, 3] // two\n");
    kelm::Register<orders::Shelf, orders::Book>();
    const std::string shelf = "orders::Shelf { next = orders::Book { pages = 5 } }";
    const std::string after = "orders::Shelf { next = orders::Book { pages = 6 } }";
    EXPECT_EQ(After<Object>(shelf, &DocumentEditor::Set, ".next.pages", "6"), after);
    EXPECT_EQ(After<Root<orders::Shelf>>(shelf, &DocumentEditor::Set, ".next.pages", "6"), after);
    EXPECT_EQ(After<Root<orders::Shelf>>("{ next = orders::Book { pages = 5 } }", s_remove, ".next", ""), "{ }");
}

} // namespace

} // namespace kelm
