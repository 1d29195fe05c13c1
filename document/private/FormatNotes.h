#pragma once

// What the walk over a text has found, kept for the layout: four octets a piece, and a number where one does not fit.
//
//     Notes notes;
//     notes.Add(comment); notes.Add(piece, traits, width, keyWidth); ...
//     for (NoteReader reader(text, notes); reader.Next();) ...

#include <kelmDocument/private/FormatPieces.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <string_view>
#include <vector>

namespace kelm::formatting
{

// Of a token what a layout has to know beside its piece.
struct Traits
{
    Kind m_kind;
    Where m_where;
    bool m_isBehindBlank;       // on one line: before it, or the comments before it
    bool m_isBlankBehindOthers; // between these comments and it
    bool m_isInColumn;          // whether it is a separator that can be in one
};

class Notes
{
public:
    void Add(const Comment& comment);
    [[gnu::always_inline]] inline void Add(const Piece& piece, const Traits& traits, std::size_t width,
                                           std::size_t keyWidth);

    // Right behind the token that was added last.
    void AddComma() { m_notes.back().m_bits |= 1U << HAS_COMMA; }

private:
    friend class NoteReader;

    struct Note
    {
        uint16 m_bits;
        uint8 m_space; // the size of the white space
        uint8 m_size;  // of the piece
    };
    static_assert(sizeof(Note) == 4);

    // Stands for one that is among the numbers.
    static constexpr uint8 s_isLong = std::numeric_limits<uint8>::max();

    // A comment's three traits stand where a token's Where does.
    enum Bit : unsigned
    {
        KIND = 0,
        WHERE = 4,
        IS_LINE = 4,
        IS_HASH = 5,
        IS_MULTI_LINE = 6,
        BREAKS = 8,
        IS_KEPT = 10,
        IS_BEHIND_BLANK = 11,
        IS_BLANK_BEHIND_OTHERS = 12,
        IS_IN_COLUMN = 13,
        HAS_WIDTH = 14, // other than its size
        HAS_COMMA = 15,
    };
    static constexpr unsigned s_enumMask = 15;
    static constexpr unsigned s_breaksMask = 3;

    [[gnu::always_inline]] inline void Add(const Piece& piece, unsigned bits, std::size_t width);
    void AddNumbers(std::size_t space, std::size_t size, std::size_t width);

    std::vector<Note> m_notes;
    std::vector<std::size_t> m_numbers; // in the order in which they are asked for
};

class NoteReader : public Found
{
public:
    NoteReader(std::string_view text, const Notes& notes)
        : m_next(notes.m_notes.data()), m_past(m_next + notes.m_notes.size()), m_number(notes.m_numbers.data())
    {
        m_piece.m_span.m_end = MarkSizeOf(text);
    }

    // To the next token; false behind the end.
    [[gnu::always_inline]] inline bool Next();

    std::size_t GetTokenWidth() const { return m_width; }
    bool HasComma() const { return Has(Notes::HAS_COMMA); } // right behind it, which is no piece
    bool CanBeInColumn() const { return Has(Notes::IS_IN_COLUMN); }
    std::size_t GetKeyWidth() const { return m_keyWidth; } // of those that can

    // Were all of the text on one line.
    bool IsBlankBefore() const { return Has(Notes::IS_BEHIND_BLANK); }
    bool IsBlankBehindComments() const { return Has(Notes::IS_BLANK_BEHIND_OTHERS); }

private:
    bool Has(unsigned bit) const { return (m_bits >> bit & 1) != 0; }
    std::size_t NumberOr(uint8 size) { return size == Notes::s_isLong ? *m_number++ : size; }
    [[gnu::always_inline]] inline void TakePiece();
    void TakeComment();

    const Notes::Note* m_next;
    const Notes::Note* m_past;
    const std::size_t* m_number;
    unsigned m_bits = 0;
    std::size_t m_width = 0;
    std::size_t m_keyWidth = 0;
};

// --- Inside ----------------------------------------------------------------------------------------------------------

inline void Notes::Add(const Piece& piece, unsigned bits, std::size_t width)
{
    const std::size_t space = piece.GetSpace().GetSize();
    const std::size_t size = piece.m_span.GetSize();
    bits |= piece.m_numBreaks << BREAKS | unsigned{piece.m_isKept} << IS_KEPT | unsigned{width != size} << HAS_WIDTH;
    m_notes.push_back({static_cast<uint16>(bits), static_cast<uint8>(space), static_cast<uint8>(size)});
    if ((space | size) >= s_isLong || width != size) [[unlikely]]
        AddNumbers(space, size, width);
}

inline void Notes::Add(const Piece& piece, const Traits& traits, std::size_t width, std::size_t keyWidth)
{
    Add(piece,
        static_cast<unsigned>(traits.m_kind) << KIND | static_cast<unsigned>(traits.m_where) << WHERE |
            unsigned{traits.m_isBehindBlank} << IS_BEHIND_BLANK |
            unsigned{traits.m_isBlankBehindOthers} << IS_BLANK_BEHIND_OTHERS |
            unsigned{traits.m_isInColumn} << IS_IN_COLUMN,
        width);
    if (traits.m_isInColumn)
        m_numbers.push_back(keyWidth);
}

inline void NoteReader::TakePiece()
{
    const Notes::Note& note = *m_next++;
    const std::size_t spaceBegin = m_piece.m_span.m_end + (HasComma() ? 1 : 0);
    m_bits = note.m_bits;
    m_kind = static_cast<Kind>(m_bits >> Notes::KIND & Notes::s_enumMask);
    const std::size_t begin = spaceBegin + NumberOr(note.m_space);
    m_piece.m_spaceBegin = spaceBegin;
    m_piece.m_span = {begin, begin + NumberOr(note.m_size)};
    m_piece.m_numBreaks = m_bits >> Notes::BREAKS & Notes::s_breaksMask;
    m_mostBreaks = std::max(m_mostBreaks, m_piece.m_numBreaks);
    m_piece.m_isKept = Has(Notes::IS_KEPT);
    m_width = Has(Notes::HAS_WIDTH) ? *m_number++ : m_piece.m_span.GetSize();
}

inline bool NoteReader::Next()
{
    if (m_next == m_past)
        return false;
    m_comments.clear();
    m_mostBreaks = 0;
    for (TakePiece(); GetKind() == Kind::Comment; TakePiece())
        TakeComment();
    m_where = static_cast<Where>(m_bits >> Notes::WHERE & Notes::s_enumMask);
    if (CanBeInColumn())
        m_keyWidth = *m_number++;
    return true;
}

} // namespace kelm::formatting
