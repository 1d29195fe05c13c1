#pragma once

// How a document is laid out where something is put into it or taken out: which comments go with an item, where lines
// are, what stands between neighbours. Of tokens alone; each call changes the document.

#include <kelmDocument/Document.h>
#include <kelmDocument/Items.h>

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::editing
{

// An item that is put into brackets. A member's text is laid out like its neighbours'.
struct NewItem
{
    std::string m_name = {};   // of a member
    std::string m_text = {};   // without its name
    std::string m_above = {};  // comments on lines of their own
    std::string m_behind = {}; // a comment on the same line
};

// Where an item is in brackets, or is to be.
struct ItemPlace
{
    // Of what is behind all of them, or where nothing is known of what is before.
    ItemPlace(std::size_t index) : m_index(index) {}
    ItemPlace(std::size_t index, std::size_t lead) : m_index(index), m_lead(lead) {}

    // Of items of which those before it are where they were.
    ItemPlace(std::size_t index, std::span<const Item> items)
        : m_index(index), m_lead(index >= s_numBefore ? items[index - s_numBefore].m_span.m_begin : 0)
    {
    }

    // How many items before it have to do with how it is laid out.
    static constexpr std::size_t s_numBefore = 2;

    std::size_t m_index;
    std::size_t m_lead =
        0; // where the first of these begins, so that no more need be looked at; 0 where that is unknown
};

// What was written without blanks, with those that a layout gives it on one line.
std::string Spaced(const std::string& value);

// Of names and numbers: side by side, two of them would be one token.
bool IsInWord(char c);

// A text as it is put between two others: with blanks where its tokens would be others without.
std::string Apart(std::string_view before, std::string_view text, std::string_view behind);

// The part that begins there; brackets are one.
Part PartAt(const Document& document, std::size_t at);

// What stands in brackets, in order.
std::vector<Item> ItemsOf(const Document& document, const Part& brackets);

// The brackets of a value: of a class its body, of a list or map all of it; none where it has none.
std::optional<Part> BracketsOf(const Document& document, Span value);

class Layout
{
public:
    explicit Layout(Document& document) : m_document(document) {}

    // A value's tokens are replaced; comments between those of a value without brackets stay.
    void ReplaceValue(Span value, std::string_view text);

    // With its comments: those above it on lines of their own, unless a blank line parts them, and those behind it on
    // the same line.
    void RemoveItem(const Part& brackets, const ItemPlace& place);

    // What RemoveItem takes, as it would be put in somewhere else.
    NewItem GetItem(const Part& brackets, const ItemPlace& place) const;

    // A member of a class that is written as `value`, which gets a body where it has none; where the declaration has
    // it: behind the nearest one before it, or before the first.
    void InsertMember(Span value, std::span<const std::string_view> members, const NewItem& item);

    // Before the item of that place, or behind the last one.
    void InsertItem(const Part& brackets, const ItemPlace& place, const NewItem& item);

    // Makes "(1, 2)" "{ x = 1 y = 2 }".
    void NameItems(const Part& brackets, std::span<const std::string_view> names);

    // Of the line there; and what lines end with.
    std::string IndentAt(std::size_t at) const;
    std::string NewLine() const;

private:
    struct Group;
    struct Surroundings;

    Surroundings Around(const Part& brackets, const ItemPlace& place) const;
    std::string_view GetText() const { return m_document.GetText(); }
    Group GroupOf(const Part& brackets, const std::vector<Item>& items, std::size_t index) const;
    std::vector<Part> PartsOf(Span span) const;
    std::size_t LineStart(std::size_t at) const;
    bool IsBlank(Span span) const;
    bool BeginsLine(std::size_t at) const;
    bool EndsLine(std::size_t at) const;
    bool EndsInLineComment(Span comments) const;
    std::string LineWith(const std::string& indent, const NewItem& item) const;
    Span WithSpace(Span removed) const;
    void Replace(Span removed, std::string_view text);
    std::string MemberText(const std::vector<Item>& items, std::size_t index, const NewItem& item) const;
    void InsertFirst(const Part& brackets, const NewItem& item);

    Document& m_document;
};

} // namespace kelm::editing
