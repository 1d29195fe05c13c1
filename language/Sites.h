#pragma once

// What is made of all the names of a document: colours, and hints between values.

#include <kelmDocument/Document.h>
#include <kelmLanguage/TypedWalk.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace kelm::language
{

// Calls back for each name that is in a range, or partly.
void ForEachName(const Document& document, const Types& types, Span range,
                 const std::function<void(const NameSite&)>& call);

// --- Colours

enum class TokenKind : uint8
{
    Namespace, // of a qualified name, the parts before the last one
    Class,
    Member,
    Enumerator,
    Keyword, // null, true, false, inf, nan
    Number,
    String,
    Comment,
};

struct ColouredToken
{
    Span m_span;
    TokenKind m_kind;
};

// In the order of the text. Brackets, operators and names that mean nothing have none.
std::vector<ColouredToken> TokensOf(const Document& document, const Types& types);

// --- Hints

// In front of a value of a body by position: the member that it is.
struct Hint
{
    std::size_t m_place;
    std::string m_label;
};
std::vector<Hint> HintsOf(const Document& document, const Types& types, Span range);

} // namespace kelm::language
