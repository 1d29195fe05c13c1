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
#include <kelmDocument/private/FormatPieces.h>
#include <kelmDocument/private/ScanPartHere.h>
#include <klUtils/types.h>

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace kelm::formatting
{

class FormatWalk : public Found
{
public:
    explicit FormatWalk(std::string_view text);

    // To the next token; the last one is the end of the text. False at an error.
    bool Next();
    const std::optional<Diagnostic>& GetError() const { return m_error; }

    // The same to a comma right behind the token, as most are, which is no piece of its own then. False for all else.
    [[gnu::always_inline]] inline bool NextComma();

    // --- What it has come to

    EToken GetToken() const { return m_token; }

    // The brackets that the token stands in; of a bracket those around it for an opening one, its own for a closing
    // one. Undefined outside of all.
    EToken GetOpening() const { return m_opening; }
    bool HasArrows() const { return !m_levels.empty() && m_levels.back().m_arrows == Arrows::Some; }

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
    [[gnu::always_inline]] inline ScannedPart PartAt(const char* p) const;
    [[gnu::always_inline]] inline Piece TakePiece(const char* p, const char* past);
    void PassComment(const char* begin, const char* past);
    const char* PassLines(const char* space);
    void NoteLineEnd(const char* space);
    [[gnu::always_inline]] inline void Measure();
    void MeasureComments();
    [[gnu::always_inline]] inline bool Take();
    inline bool TakeItem(Where where);
    inline bool TakeValue();
    bool TakeSign();
    void Leave();
    inline bool TakeWhatFollows();
    inline bool GoTo(State state);
    inline bool Separate(State state);
    bool Expect(ConstStringZ what);
    bool Refuse(const char* p, const char* past);
    bool Fail(std::string message, Span token);
    bool IsBeforeEqualsSign() const;
    std::size_t OffsetOf(const char* p) const { return static_cast<std::size_t>(p - m_begin); }

    const char* m_begin;
    const char* m_end;
    const char* m_place; // behind the token
    std::vector<Level> m_levels;
    State m_state = State::Text;
    EToken m_token = TOKEN_UNDEF;
    EToken m_opening = TOKEN_UNDEF; // of the innermost level
    bool m_isTight = false;         // no blank before it
    bool m_isBehindBlank = false;
    bool m_isSeparator = false;
    bool m_isKeyPlain = false;
    bool m_isOff = false; // behind "fmt: off"
    LineEnd m_lineEnd = LineEnd::Unknown;
    std::size_t m_spaceBegin = 0;
    std::size_t m_numBreaks = 0;
    std::size_t m_numBreaksBefore = 0; // up to the end of the last piece
    std::size_t m_keyBegin = 0;
    std::size_t m_flatBegin = 0;
    std::size_t m_flatEnd = 0;
    std::optional<Diagnostic> m_error;
};

// --- Inside ----------------------------------------------------------------------------------------------------------

inline bool FormatWalk::NextComma()
{
    if (m_place == m_end || *m_place != ',' || (m_state != State::Done && m_state != State::Name))
        return false;
    if (m_kind == Kind::Closing)
        Leave();
    if (m_opening == TOKEN_LEFT_SQUARE)
    {
        Level& level = m_levels.back();
        if (!level.m_isBehindArrow && level.m_arrows == Arrows::Some)
            return false;
        level.m_arrows = level.m_isBehindArrow ? Arrows::Some : Arrows::None;
    }
    else if (m_opening != TOKEN_LEFT_PAREN)
        return false;
    ++m_place;
    ++m_spaceBegin;
    ++m_flatEnd;
    m_kind = Kind::Comma;
    m_state = State::NextItem;
    return true;
}

} // namespace kelm::formatting
