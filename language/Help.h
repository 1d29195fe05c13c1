#pragma once

// What is told of a place of a document: of what stands there, and of the body that is being written.

#include <kelmLanguage/Situation.h>

#include <optional>
#include <string>
#include <vector>

namespace kelm::language
{

struct Hover
{
    Span m_span; // of what it tells
    std::string m_described;
};

// Nothing where nothing is known.
std::optional<Hover> HoverAt(const Document& document, const Types& types, std::size_t at);

// The body by position around a place.
struct Signature
{
    std::string m_label;                  // "Point(double x, double y)"
    std::vector<Span> m_parts = {};       // of the label: the members
    std::vector<std::string> m_docs = {}; // theirs
    std::size_t m_active = 0;             // of the member whose value is written
};
std::optional<Signature> SignatureAt(const Document& document, const Types& types, std::size_t at);

} // namespace kelm::language
