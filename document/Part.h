#pragma once

// What a text consists of: parts, each a run of its octets. Put together they are the text, whatever it holds.

#include <kelmDocument/api.h>
#include <klUtils/text/EToken.h>
#include <klUtils/types.h>

#include <cstddef>
#include <string_view>

namespace kelm
{

// A run of octets of a text.
struct Span
{
    std::size_t m_begin = 0;
    std::size_t m_end = 0;

    std::size_t GetSize() const { return m_end - m_begin; }
    bool IsEmpty() const { return m_begin == m_end; }
    std::string_view In(std::string_view text) const { return text.substr(m_begin, m_end - m_begin); }

    friend bool operator==(const Span&, const Span&) = default;
};

enum class PartKind : uint8
{
    Mark,     // the byte order mark in front of a text
    Space,    // white space
    Comment,  // to the end of its line, without the line break; or up to its "*/"
    Token,    // what the readers see
    Wrong,    // characters that form no token
    Brackets, // an opening bracket, what stands behind it, and the closing one where there is one
};

struct Part
{
    PartKind m_kind;
    EToken m_token; // of a token; of brackets the opening one's; TOKEN_UNDEF of all others
    Span m_span;
    bool m_isClosed = false; // of brackets

    bool Is(EToken token) const { return m_kind == PartKind::Token && m_token == token; }

    // Whether readers pass over it.
    bool IsPassed() const { return m_kind <= PartKind::Comment; }

    // What stands between brackets.
    Span GetInside() const { return {m_span.m_begin + 1, m_span.m_end - (m_isClosed ? 1 : 0)}; }

    friend bool operator==(const Part&, const Part&) = default;
};

// Opening and closing ones take turns.
constexpr bool IsBracket(EToken token)
{
    return TOKEN_LEFT_PAREN <= token && token <= TOKEN_RIGHT_SQUARE;
}
constexpr bool IsOpeningBracket(EToken token)
{
    return IsBracket(token) && (token - TOKEN_LEFT_PAREN) % 2 == 0;
}
constexpr bool IsClosingBracket(EToken token)
{
    return IsBracket(token) && (token - TOKEN_LEFT_PAREN) % 2 == 1;
}
static_assert(IsOpeningBracket(TOKEN_LEFT_CURLY) && IsClosingBracket(TOKEN_RIGHT_PAREN));
static_assert(TOKEN_RIGHT_SQUARE == TOKEN_LEFT_PAREN + 5);

// The bracket that closes what that one opens.
constexpr EToken ClosingBracketOf(EToken opening)
{
    return static_cast<EToken>(opening + 1);
}
static_assert(ClosingBracketOf(TOKEN_LEFT_PAREN) == TOKEN_RIGHT_PAREN);
static_assert(ClosingBracketOf(TOKEN_LEFT_CURLY) == TOKEN_RIGHT_CURLY);
static_assert(ClosingBracketOf(TOKEN_LEFT_SQUARE) == TOKEN_RIGHT_SQUARE);

// The part at `at`, where one begins before the end of the text. A bracket is a token here, and no Brackets.
KELM_DOCUMENT_API Part ScanPart(std::string_view text, std::size_t at);

} // namespace kelm
