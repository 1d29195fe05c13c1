#pragma once

// What a layout is made of: pieces, which are tokens and comments, each with the white space before it.

#include <kelmDocument/Part.h>
#include <klUtils/types.h>

#include <cstddef>
#include <string_view>
#include <vector>

namespace kelm::formatting
{

// What a token is to the one before it.
enum class Where : uint8
{
    Begin,      // the first of the text
    Open,       // the first in brackets
    Item,       // of a member, behind another one
    AfterComma, // of an element or entry, behind another one
    Comma,
    Inside, // of an item
    Close,  // the bracket behind the last item
    Empty,  // the bracket behind its opening one
    End,    // of the text
};

// What a piece is to the grammar.
enum class Kind : uint8
{
    Comment,
    Number, // with its sign where nothing is between; this and what follows up to an opening bracket can begin a value
    Literal,
    Name,
    Sign,
    Opening,
    Closing,
    Comma,
    Other,
    End, // of the text
};

// A token or a comment, and the white space before it.
struct Piece
{
    std::size_t m_spaceBegin;
    Span m_span;
    unsigned m_numBreaks; // before it: none, one or more
    bool m_isKept;        // whether the white space is to stay as it is

    Span GetSpace() const { return {m_spaceBegin, m_span.m_begin}; }
};

struct Comment : Piece
{
    bool m_isLine; // which a line break ends
    bool m_isHash; // which begins its line
    bool m_isMultiLine;
    std::size_t m_width;
};

// A token with the comments before it, and what it is to the token before.
class Found
{
public:
    const Piece& GetPiece() const { return m_piece; }
    const std::vector<Comment>& GetComments() const { return m_comments; } // before the token
    Kind GetKind() const { return m_kind; }
    Where GetWhere() const { return m_where; }

    bool BeginsItem() const { return m_where == Where::Open || m_where == Where::Item || m_where == Where::AfterComma; }
    // How many of the comments belong to what is before them and begin on its line, between items.
    std::size_t CountBehind() const { return m_comments.empty() ? 0 : CountCommentsBehind(); }
    // Whether a line break stands before it or a comment of it; a blank line.
    bool IsBehindBreak() const { return m_mostBreaks > 0; }
    bool IsBehindBlankLine() const { return m_mostBreaks > 1; }

protected:
    Piece m_piece{};
    std::vector<Comment> m_comments;
    unsigned m_mostBreaks = 0; // before it or a comment of it
    Kind m_kind = Kind::Other;
    Where m_where = Where::Begin;

private:
    std::size_t CountCommentsBehind() const;
};

// How many characters a text has.
std::size_t WidthOf(std::string_view text);

// Of the mark in front of it, if there is one.
std::size_t MarkSizeOf(std::string_view text);

// Where the line begins that a place is on; behind the mark in front of the text.
std::size_t LineStartOf(std::string_view text, std::size_t at);

} // namespace kelm::formatting
