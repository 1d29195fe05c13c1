#pragma once

// Many members, elements and entries at once that are taken out of a document, each written once. The document is read
// twice altogether.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/Leavings.h>
#include <kelmDocument/private/OncePlaces.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string_view>

namespace kelm::editing
{

class Removals
{
public:
    // Throws kelm::Error where the document, which must stay as it is, cannot be read.
    Removals(const Document& document, const Reading& reading) : m_document(document), m_places(document, reading) {}

    // False where what the path leads to is none such, where something in it has been taken out before, or at an error:
    // then it is the end of them.
    bool TryAdd(std::string_view path);

    // The changed document. Throws kelm::Error where it cannot be read.
    std::optional<Document> TryTake() const;

private:
    const Document& m_document;
    OncePlaces m_places;
    std::map<std::size_t, Leavings> m_leavings; // of brackets, by where they begin
};

} // namespace kelm::editing
