#pragma once

// Many members, elements and entries at once that are taken out of a document, each written once. The document is read
// twice altogether.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/OncePlaces.h>

#include <cstddef>
#include <map>
#include <string_view>

namespace kelm::editing
{

class Removals
{
public:
    // Throws kelm::Error where the document cannot be read.
    Removals(const Document& document, const Reading& reading)
        : m_document(document), m_layout(m_document), m_places(m_document, reading)
    {
    }
    Removals(const Removals&) = delete;
    Removals& operator=(const Removals&) = delete;

    // False where what the path leads to is none such, where what is taken out depends on one before it, or at an
    // error: then it is the end of them.
    bool TryAdd(std::string_view path);

    // The changed document. Throws kelm::Error where it cannot be read.
    Document Take();

private:
    bool HasLostItsLine(const OncePlaces::Place& place) const;
    void RemoveCommaOf(const OncePlaces::Place& list);
    bool IsWholeLines(Span removed) const;
    bool TouchesOthers(Span item, Span removed) const;

    Document m_document;
    Layout m_layout;
    OncePlaces m_places;
    std::map<std::size_t, Span> m_removed;            // by where they begin
    std::map<std::size_t, OncePlaces::Place> m_lists; // of which something is removed, by where they begin
};

} // namespace kelm::editing
