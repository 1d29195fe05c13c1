#pragma once

// Many edits of one document at once, each of which gives a scalar or a text another value that is written once and
// stays where it is. The document is read twice altogether.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/OncePlaces.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace kelm::editing
{

class Assignments
{
public:
    // Throws kelm::Error where the document cannot be read.
    Assignments(const Document& document, const Reading& reading) : m_document(document), m_places(document, reading) {}

    // False where the edit is none such, or an error: then it is the end of them.
    bool TryAdd(std::string_view path, std::string_view value);

    // The changed document; nothing where it would not read as it is to.
    std::optional<Document> TryTake() const;

private:
    bool HasComments(Span value) const;

    const Document& m_document;
    OncePlaces m_places; // of the values that are made to be what is expected
    struct Replacement
    {
        Span m_value;
        std::string m_text;
    };
    std::map<std::size_t, Replacement> m_replacements; // by where they begin
};

} // namespace kelm::editing
