#pragma once

// What could be written at a place of a document.

#include <kelmDocument/Document.h>
#include <kelmLanguage/Types.h>

#include <cstddef>
#include <string>
#include <vector>

namespace kelm::language
{

enum class CompletionKind : uint8
{
    Class,
    Member,
    Enumerator,
    Alternative,
    Word,  // null, true, false
    Value, // a value, or the beginning of one
};

struct Completion
{
    std::string m_label;
    CompletionKind m_kind;
    std::string m_detail = {};    // such as a type
    std::string m_described = {}; // Markdown
    // What is written. "$0" is where one goes on writing; no other dollar sign stands there.
    std::string m_text = {};
};

struct Completions
{
    Span m_replaced;                   // by each of them
    std::vector<Completion> m_choices; // the likeliest first
};

Completions Complete(const Document& document, const Types& types, std::size_t at);

} // namespace kelm::language
