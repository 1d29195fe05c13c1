#pragma once

// What a value is written as, in pieces: its members, elements and entries on all levels, found in one go through the
// text. Equal values of pieces have one number, so that none is compared as a text.

#include <kelmDocument/Part.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kelm::editing
{

// Numbers of texts, and of what consists of things that have numbers: the same number, the same octets. None is 0.
class PieceNumbers
{
public:
    std::size_t OfText(std::string_view text);

    // Of what has a number with something more behind it.
    std::size_t OfBoth(std::size_t former, std::size_t latter);

private:
    struct Hash
    {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
        std::size_t operator()(const std::pair<std::size_t, std::size_t>& both) const;
    };

    std::size_t m_last = 0;
    std::unordered_map<std::string, std::size_t, Hash, std::equal_to<>> m_texts;
    std::unordered_map<std::pair<std::size_t, std::size_t>, std::size_t, Hash> m_both;
};

struct Piece
{
    Span m_span = {};     // from its first token to its last
    Span m_head = {};     // a member's name, an entry's key; empty for others
    Span m_value = {};    // behind the equals sign or the arrow
    Span m_brackets = {}; // the first ones of the value; empty for none
    bool m_hasComma = false;
    std::size_t m_first = 0;  // of the pieces in the brackets ...
    std::size_t m_count = 0;  // ... of so many
    std::size_t m_number = 0; // of the value, once it has one
};

class PieceTree
{
public:
    // Of nothing that is written.
    PieceTree() = default;

    // Of what Reading::Written writes, with or without blanks, or of an entry of that.
    explicit PieceTree(std::string text);

    // Of what is written, where it is, with numbers.
    PieceTree(std::optional<std::string> text, PieceNumbers& numbers);

    std::string_view GetText() const { return m_text; }

    // All of the value; null where nothing is written.
    const Piece* GetWhole() const { return m_pieces.empty() ? nullptr : &m_pieces.back(); }

    std::span<const Piece> Inside(const Piece& piece) const
    {
        return std::span(m_pieces).subspan(piece.m_first, piece.m_count);
    }

private:
    void Number(PieceNumbers& numbers);

    std::string m_text;
    std::vector<Piece> m_pieces; // those in brackets side by side; behind them what the brackets belong to
};

} // namespace kelm::editing
