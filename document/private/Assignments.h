#pragma once

// Many edits of one document at once, each of which gives a scalar or a text another value that is written once and
// stays where it is. The document is read twice altogether, and what stands in brackets is looked at once.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/Layout.h>
#include <kelmDocument/private/Spot.h>
#include <kelmDocument/private/Subject.h>

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kelm::editing
{

class Assignments
{
public:
    // Throws kelm::Error where the document cannot be read.
    Assignments(const Document& document, const Reading& reading) : m_document(document), m_subject(reading, document)
    {
    }

    // False where the edit is none such, or an error: then it is the end of them.
    bool TryAdd(std::string_view path, std::string_view value);

    // The changed document; nothing where it would not read as it is to.
    std::optional<Document> TryTake() const;

private:
    // A value that is written once, and where.
    struct Place
    {
        Spot m_spot;
        Span m_value;
    };

    // What stands in a value's brackets.
    struct Contents
    {
        Part m_brackets;
        std::vector<Item> m_items;
        std::unordered_map<std::string_view, std::size_t> m_names; // of items that have one; s_several of several
        std::map<std::string, std::size_t> m_keys;                 // likewise, as they are written, once they are known
    };
    static constexpr std::size_t s_several = static_cast<std::size_t>(-1);

    bool TryFind(std::string_view path, Place& place);
    static bool TryEnter(Spot& spot);
    bool TryStepToMember(std::string_view name, Place& place);
    bool TryStepToElement(std::string_view text, Place& place);
    bool TryStepToPayload(std::string_view text, Place& place);
    Contents* FindContents(Span value);
    void NoteKeys(const Spot& map, Contents& contents) const;
    bool HasComments(Span value) const;
    std::string_view TextOf(Span span) const { return span.In(m_document.GetText()); }

    const Document& m_document;
    Subject m_subject;                                                   // is made to be what is expected
    Span m_wholeSpan;                                                    // once it is known
    std::unordered_map<std::size_t, std::optional<Contents>> m_contents; // by where values begin
    struct Replacement
    {
        Span m_value;
        std::string m_text;
    };
    std::map<std::size_t, Replacement> m_replacements; // by where they begin
};

} // namespace kelm::editing
