#pragma once

// Many values at once that are put behind the last one of a list, set or map which is written once. The document is
// read twice altogether.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/OncePlaces.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::editing
{

class Additions
{
public:
    // Throws kelm::Error where the document cannot be read.
    Additions(const Document& document, const Reading& reading) : m_document(document), m_places(document, reading) {}

    // False where the edit is none such, or an error: then it is the end of them.
    bool TryAdd(std::string_view path, std::string_view value);

    // The changed document; nothing where it would not read as it is to.
    std::optional<Document> TryTake() const;

private:
    bool TryPut(const Spot& container, std::string_view value) const;
    bool TryPutUnder(const Spot& map, std::string_view key, std::string_view value) const;

    const Document& m_document;
    OncePlaces m_places; // of the values that are made to be what is expected
    // The items of brackets, by where these begin, the last ones first: what is before them stays where it is.
    std::map<std::size_t, std::vector<std::string>, std::greater<>> m_items;
};

} // namespace kelm::editing
