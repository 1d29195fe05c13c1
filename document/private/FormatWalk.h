#pragma once

// A document's tokens as the grammar has them without types, each with the comments before it and with what it is to
// the token before: what a layout is made of. The walk stops at the first token that no data source has there.
//
//     text  ::= body | name body?
//     body  ::= "{" ( Identifier "=" value )* "}" | "(" ( value ( "," value )* )? ")"
//     value ::= name* ( sign? number | Literal | body | list ), or names alone
//     list  ::= "[" ( item ( "," item )* )? "]", each item a value, or each one "value -> value"

#include <kelmDocument/Diagnose.h>
#include <kelmDocument/Part.h>
#include <klUtils/types.h>

#include <cstddef>
#include <optional>
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

// A token or a comment, and the white space before it.
struct Piece
{
    Span m_space;
    Span m_span;
    std::size_t m_lineStart; // of the line that it begins on
    uint8 m_numBreaks;       // before it: none, one or more
    bool m_isKept;           // whether the white space is to stay as it is
};

struct Comment : Piece
{
    bool m_isLine; // which a line break ends
    bool m_isHash; // which begins its line
    bool m_isMultiLine;
};

// How many characters a text has.
std::size_t WidthOf(std::string_view text);

class FormatWalk
{
public:
    explicit FormatWalk(std::string_view text);

    // To the next token; the last one is the end of the text. False at an error.
    bool Next();
    const std::optional<Diagnostic>& GetError() const { return m_error; }

    // --- What it has come to

    EToken GetToken() const { return m_token; }
    const Piece& GetPiece() const { return m_piece; }
    const std::vector<Comment>& GetComments() const { return m_comments; } // before the token
    Where GetWhere() const { return m_where; }

    // The brackets that the token stands in; of a bracket those around it for an opening one, its own for a closing
    // one. Undefined outside of all.
    EToken GetOpening() const { return m_opening; }
    bool HasArrows() const { return !m_levels.empty() && m_levels.back().m_arrows == Arrows::Some; }
    std::size_t GetDepth() const { return m_levels.size(); }

    bool BeginsItem() const { return m_where == Where::Open || m_where == Where::Item || m_where == Where::AfterComma; }
    // How many of the comments belong to what is before them and begin on its line, between items.
    std::size_t CountBehind() const { return m_comments.empty() ? 0 : CountCommentsBehind(); }
    // Whether a line break stands before it or a comment of it; a blank line.
    bool IsBehindBreak() const { return m_piece.m_numBreaks > 0 || (!m_comments.empty() && IsCommentBehind(1)); }
    bool IsBehindBlankLine() const { return m_piece.m_numBreaks > 1 || (!m_comments.empty() && IsCommentBehind(2)); }

    // Between a name or a key, which is not laid out over several lines, and its value.
    bool IsSeparator() const { return m_isSeparator; }
    bool CanBeInColumn() const { return m_isSeparator && m_isKeyPlain; }
    std::size_t GetKeyWidth() const { return m_flatBegin - 1 - m_keyBegin; }

    // --- Were all of the text on one line

    bool IsBlankBefore() const { return m_isBehindBlank; } // before the token, or the comments before it
    bool IsBlankBehindComments() const;                    // between them and the token
    std::size_t GetFlatBegin() const { return m_flatBegin; }
    std::size_t GetFlatEnd() const { return m_flatEnd; }
    std::size_t GetTokenWidth() const { return m_flatEnd - m_flatBegin; }

    // Line breaks in the text up to the token.
    std::size_t CountBreaks() const { return m_numBreaks; }
    // Whether lines end as on Windows: the first one does whose end may be changed.
    bool IsCrLf() const { return m_lineEnd == LineEnd::CrLf; }

private:
    enum class State : uint8
    {
        Text,      // nothing has been read
        FirstItem, // behind an opening bracket
        NextItem,  // behind a comma
        Member,    // behind its name
        Value,     // behind an equals sign or an arrow
        Sign,      // behind a sign
        Name,      // behind a name in a value
        Dot,       // behind a separator of names
        Done,      // behind a value
    };
    enum class Arrows : uint8
    {
        Unknown,
        None,
        Some,
    };
    enum class LineEnd : uint8
    {
        Unknown,
        Lf,
        CrLf,
    };
    struct Level
    {
        EToken m_opening;
        Arrows m_arrows = Arrows::Unknown;
        bool m_isBehindArrow = false; // in the item
    };

    [[gnu::always_inline]] inline bool FindBlankBefore() const;
    [[gnu::always_inline]] inline bool PassSpace();
    bool PassAnySpace();
    void PassComment(const char* past);
    void CountLines(const char* from, const char* to);
    void NoteLineEnd(const char* space);
    std::size_t CountCommentsBehind() const;
    bool IsCommentBehind(int numBreaks) const;
    [[gnu::always_inline]] inline void Measure();
    void MeasureComments();
    [[gnu::always_inline]] inline bool Take();
    inline bool TakeItem(Where where);
    inline bool TakeValue();
    inline bool TakeWhatFollows();
    inline bool GoTo(State state);
    inline bool Separate(State state);
    bool Expect(ConstStringZ what);
    bool Fail(std::string message, Span token);
    bool IsBeforeEqualsSign() const;
    std::size_t OffsetOf(const char* p) const { return static_cast<std::size_t>(p - m_begin); }

    const char* m_begin;
    const char* m_end;
    const char* m_place; // behind the token
    std::vector<Level> m_levels;
    State m_state = State::Text;
    EToken m_token = TOKEN_UNDEF;
    Where m_where = Where::Begin;
    EToken m_opening = TOKEN_UNDEF; // of the innermost level
    bool m_isTight = false;         // no blank before it
    bool m_isBehindBlank = false;
    bool m_isSeparator = false;
    bool m_isKeyPlain = false;
    bool m_isOff = false; // behind "fmt: off"
    LineEnd m_lineEnd = LineEnd::Unknown;
    Piece m_piece{};
    std::vector<Comment> m_comments;
    std::size_t m_spaceBegin = 0;
    std::size_t m_lineStart = 0;
    std::size_t m_numBreaks = 0;
    std::size_t m_keyBegin = 0;
    std::size_t m_flatBegin = 0;
    std::size_t m_flatEnd = 0;
    std::optional<Diagnostic> m_error;
};

} // namespace kelm::formatting
