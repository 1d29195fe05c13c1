#pragma once

// What is wrong with a document as far as its types tell, without reading it: names that do not exist. And what mends
// that, and what else can be changed at a place.

#include <kelmDocument/Document.h>
#include <kelmLanguage/TypedWalk.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kelm::language
{

struct Finding
{
    std::string m_message; // what readers say of it
    Span m_span;
    std::vector<std::string> m_nearest; // that may be meant
};

// Errors in the order of the text, at most so many: characters that form no token, brackets without their other half,
// and names that do not exist.
std::vector<Finding> FindingsOf(const Document& document, const Types& types, std::size_t most);

struct Replacement
{
    Span m_removed;
    std::string m_inserted;
};

struct Change
{
    std::string m_title;
    bool m_isMending = false;                // what is wrong
    std::vector<Replacement> m_replacements; // in the order of the text
};

// That could be made to what is in a range: the nearest names in place of one that does not exist, the members that
// programs require, a body with names in place of one by position.
std::vector<Change> ChangesAt(const Document& document, const Types& types, Span range);

} // namespace kelm::language
