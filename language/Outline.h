#pragma once

// The parts of a document that are worth a line in an outline, and those that can be folded away.

#include <kelmDocument/Document.h>
#include <kelmLanguage/Types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kelm::language
{

enum class SymbolKind : uint8
{
    Object, // the data source, and what has a body
    List,
    Map,
    Member, // any other value
};

struct Symbol
{
    std::string m_name;   // of a member, an element's index, a key as it is written
    std::string m_detail; // the class, what the object is called, a short value
    SymbolKind m_kind;
    Span m_span;  // all of it
    Span m_named; // what names it
    std::size_t m_depth;
};

// In the order of the text, what is inside of something behind it. Of lists, elements that have brackets; of long and
// of deep texts the first ones.
std::vector<Symbol> OutlineOf(const Document& document, const Types& types);

enum class FoldKind : uint8
{
    Brackets,
    Comment, // one of several lines, or several of one line
};

struct Fold
{
    Span m_span; // brackets with what is in them; ends within its last line
    FoldKind m_kind;
};

// In the order of their beginnings.
std::vector<Fold> FoldsOf(const Document& document);

} // namespace kelm::language
