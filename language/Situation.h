#pragma once

// What is at a place of a document, by its types: the brackets around it, the name there, and what could be written.

#include <kelmLanguage/TypedWalk.h>

#include <optional>
#include <vector>

namespace kelm::language
{

struct Situation
{
    std::vector<Frame> m_frames;             // around the place, the outermost first: the text itself
    std::vector<Expectation> m_expectations; // what could stand there; one where a name stands there
    std::optional<NameSite> m_name;          // that is there, or ends there
    std::optional<Span> m_scalar;            // likewise
    const TypeNode* m_scalarType = nullptr;
    std::vector<std::string_view> m_siblings; // where a member could stand: those that the body has, but for this one
    bool m_isInPassed = false;                // the place is in a comment or a quoted text
};

// Reads the brackets that the place is in, and none beside them.
Situation SituationAt(const Document& document, const Types& types, std::size_t at);

} // namespace kelm::language
