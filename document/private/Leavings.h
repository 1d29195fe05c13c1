#pragma once

// What stands between the items of brackets while some are taken out, one after the other: each goes with what Layout
// takes with it, which depends on what its neighbours have left by then. It is looked at in a text of no more than
// that.

#include <kelmDocument/Document.h>
#include <kelmDocument/private/OncePlaces.h>

#include <cstddef>
#include <map>
#include <string>

namespace kelm::editing
{

class Leavings
{
public:
    // Of a document that stays as it is.
    explicit Leavings(const Document& document) : m_document(document) {}

    // An item of the same brackets as the others, which its place has not taken out yet.
    void Remove(const OncePlaces::Place& place);

    // Calls change(span, text) for each span of the document that has become another text, in order.
    template <class Change>
    void ForEachChange(const Change& change) const
    {
        for (const auto& [begin, gap] : m_gaps)
            change(Span{begin, gap.m_end}, gap.m_text);
    }

private:
    // From behind an item, or the opening bracket, to the next one that is left, or to the closing bracket.
    struct Gap
    {
        std::size_t m_end;
        std::string m_text;
    };
    std::string TakeGap(std::size_t begin, std::size_t end);

    const Document& m_document;
    std::map<std::size_t, Gap> m_gaps; // that have become others, by where they begin
};

} // namespace kelm::editing
