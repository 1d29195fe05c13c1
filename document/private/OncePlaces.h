#pragma once

// Where paths lead whose values are written once: the document is read once, and what stands in brackets is looked at
// once, however many paths there are.

#include <kelmDocument/Document.h>
#include <kelmDocument/Items.h>
#include <kelmDocument/private/Remaining.h>
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

class OncePlaces
{
    // What stands in a value's brackets.
    struct Contents
    {
        Part m_brackets;
        std::vector<Item> m_items;
        std::unordered_map<std::string_view, std::size_t> m_names = {}; // of items that have one; s_several of several
        std::map<std::string, std::size_t> m_keys = {}; // likewise, as they are written, once they are known
        std::vector<std::string> m_allOfKeys = {};      // those of which any may depend on the one before it
        Remaining m_left = Remaining(m_items.size());   // which of the items have not been taken out
        ssize_t m_numAdded = 0;                         // how many the value has more by now
    };
    static constexpr std::size_t s_several = static_cast<std::size_t>(-1);

public:
    // Throws kelm::Error where the document, which must stay as it is, cannot be read.
    OncePlaces(const Document& document, const Reading& reading) : m_document(document), m_subject(reading, document) {}

    // A value that is written once, and where.
    struct Place
    {
        Spot m_spot;
        Span m_value;
        Contents* m_contents; // of the brackets in which it stands; null of the whole
        std::size_t m_index;  // there
        bool m_isApart;       // whether others say the same without it

        const Part& GetBrackets() const { return m_contents->m_brackets; }
        const std::vector<Item>& GetItems() const { return m_contents->m_items; }
        const Remaining& GetLeft() const { return m_contents->m_left; }

        // Paths that come go by what is left.
        void TakeOut() const { m_contents->m_left.Remove(m_index); }
    };

    // False where it is none such, or an error.
    bool TryFind(std::string_view path, Place& place);

    // Takes the last step off a path where that stands in brackets; what it says there.
    static std::optional<std::string_view> TakeLastBrackets(std::string_view& path);

    // Whether a value is written in brackets; paths that come know that it has one more, where these begin.
    bool HasBrackets(const Place& place) { return FindContents(place.m_value) != nullptr; }
    std::size_t NoteAdded(const Place& place);

    // Whether a changed document reads as what the values were made to be.
    bool ReadsSo(const Document& changed) const;

    // What the document reads as. Spots lead to its values.
    const Subject& GetSubject() const { return m_subject; }
    const Reading& GetReading() const { return m_subject.GetReading(); }

private:
    static bool TryEnter(Spot& spot);
    bool TryStepToMember(std::string_view name, Place& place);
    bool TryStepToElement(std::string_view text, Place& place);
    bool TryStepToPayload(std::string_view text, Place& place);
    static void StepTo(Contents& contents, std::size_t index, Spot spot, bool isApart, Place& place);
    Contents* FindContents(Span value);
    void NoteKeys(const Spot& map, Contents& contents) const;
    bool IsKeyApart(const Spot& map, const Contents& contents, std::size_t index) const;
    std::string_view KeyText(const Spot& map, const Item& item) const
    {
        return TextOf(map.IsSet() ? item.m_value : item.m_key);
    }
    std::string_view TextOf(Span span) const { return span.In(m_document.GetText()); }

    const Document& m_document;
    Subject m_subject;
    Span m_wholeSpan;                                                    // once it is known
    std::unordered_map<std::size_t, std::optional<Contents>> m_contents; // by where values begin
};

} // namespace kelm::editing
