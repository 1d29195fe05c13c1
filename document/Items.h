#pragma once

// What stands in brackets of a document: members, elements and entries, found from tokens alone.
//
//     { title = "Harbour" origin = Point(1, 2) }     members: a name, an equals sign, a value; nothing between them
//     [1, 2] (1, 2)                                  elements, with commas between them
//     ["one" -> 1, "two" -> 2]                       entries: elements with an arrow
//
// Of text that is no data source something is found as well; it is for who reads it to refuse it.

#include <kelmDocument/Document.h>
#include <kelmDocument/Part.h>
#include <kelmDocument/api.h>

namespace kelm
{

struct Item
{
    Span m_span = {};      // from its first token to its last
    Span m_name = {};      // of a member; empty for others
    Span m_key = {};       // of an entry; empty for others
    Span m_value = {};     // behind the equals sign or the arrow; all of an element
    Span m_separator = {}; // the comma behind it; empty where there is none

    // Where it ends, with the comma.
    std::size_t GetEnd() const { return m_separator.IsEmpty() ? m_span.m_end : m_separator.m_end; }
};

// Goes through the items of brackets. Valid until the next edit.
class KELM_DOCUMENT_API ItemWalk
{
public:
    ItemWalk(const Document& document, const Part& brackets);

    // From one of the items on, which begins there.
    ItemWalk(const Document& document, const Part& brackets, std::size_t begin);

    // False at the end.
    bool Next(Item& item);

private:
    bool IsAtMember() const { return m_now.Is(TOKEN_IDENTIFIER) && m_behind.Is(TOKEN_EQUAL); }
    bool IsAtEnd() const { return m_now.m_span.IsEmpty(); }
    void Advance();

    PartWalk m_walk;
    bool m_hasMembers;
    Part m_now{};    // empty at the end
    Part m_behind{}; // the token behind that one
};

} // namespace kelm
