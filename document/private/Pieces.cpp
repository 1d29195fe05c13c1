#include <kelmDocument/private/Pieces.h>

namespace kelm::editing
{

// --- Numbers ---------------------------------------------------------------------------------------------------------

std::size_t PieceNumbers::Hash::operator()(const std::pair<std::size_t, std::size_t>& both) const
{
    constexpr std::size_t spread = 0x9E3779B97F4A7C15; // of the golden ratio
    const std::size_t mixed = (both.first * spread) ^ both.second;
    return (mixed ^ (mixed >> 29)) * spread;
}

std::size_t PieceNumbers::OfText(std::string_view text)
{
    const auto known = m_texts.find(text);
    return known != m_texts.end() ? known->second : m_texts.emplace(text, ++m_last).first->second;
}

std::size_t PieceNumbers::OfBoth(std::size_t former, std::size_t latter)
{
    const auto [known, isNew] = m_both.try_emplace({former, latter}, m_last + 1);
    m_last += isNew ? 1 : 0;
    return known->second;
}

// --- The tree --------------------------------------------------------------------------------------------------------

namespace
{

// The tokens of a text with the one behind each.
class Tokens
{
public:
    explicit Tokens(std::string_view text) : m_text(text)
    {
        Advance();
        Advance();
    }

    bool IsAtEnd() const { return m_now.m_span.IsEmpty(); }
    bool IsAtMember() const { return m_now.Is(TOKEN_IDENTIFIER) && m_behind.Is(TOKEN_EQUAL); }
    const Part& GetNow() const { return m_now; }
    const Part& GetBehind() const { return m_behind; }

    void Advance()
    {
        m_now = m_behind;
        m_behind = {};
        while (m_at < m_text.size() && (m_behind.m_span.IsEmpty() || m_behind.IsPassed()))
        {
            m_behind = ScanPart(m_text, m_at);
            m_at = m_behind.m_span.m_end;
        }
        if (m_behind.IsPassed())
            m_behind = {};
    }

private:
    std::string_view m_text;
    std::size_t m_at = 0;
    Part m_now{};
    Part m_behind{}; // empty at the end
};

// Makes pieces of tokens, one after the other.
class PieceMaker
{
public:
    explicit PieceMaker(std::string_view text) : m_tokens(text) {}

    // Those in brackets side by side; behind them what the brackets belong to.
    std::vector<Piece> Make() &&
    {
        for (; !m_tokens.IsAtEnd(); m_tokens.Advance())
        {
            const Part& now = m_tokens.GetNow();
            const bool isInBrackets = !m_levels.empty();
            const bool isInBody = isInBrackets && m_levels.back().m_hasMembers;
            if (isInBody && m_tokens.IsAtMember())
                BeginMember();
            else if (isInBrackets && IsClosingBracket(now.m_token))
                Close(now.m_span);
            else if (isInBrackets && !isInBody && now.Is(TOKEN_COMMA))
                EndItem();
            else if (!isInBody && now.Is(TOKEN_MINUS_GREATER) && m_open.back().m_head.IsEmpty())
                MakeKey(now.m_span);
            else
                Extend(now);
        }
        m_pieces.push_back(m_open.front());
        return std::move(m_pieces);
    }

private:
    struct Level
    {
        std::size_t m_begin;
        std::size_t m_first; // of its pieces, among those that are open
        bool m_hasMembers;
        bool m_isInItem = false;
    };

    void BeginMember()
    {
        const Span name = m_tokens.GetNow().m_span;
        const std::size_t end = m_tokens.GetBehind().m_span.m_end;
        m_open.push_back({.m_span = {name.m_begin, end}, .m_head = name, .m_value = {end, end}});
        m_levels.back().m_isInItem = true;
        m_tokens.Advance();
    }

    void EndItem()
    {
        m_open.back().m_hasComma = true;
        m_levels.back().m_isInItem = false;
    }

    // Of what has been an element so far.
    void MakeKey(Span arrow)
    {
        const Span key = m_open.back().m_span;
        m_open.back() = {.m_span = {key.m_begin, arrow.m_end}, .m_head = key, .m_value = {arrow.m_end, arrow.m_end}};
    }

    // What is there, or what begins here, by a token.
    void Extend(const Part& token)
    {
        if (!m_levels.empty() && !m_levels.back().m_isInItem)
        {
            m_open.push_back({.m_span = token.m_span});
            m_levels.back().m_isInItem = true;
        }
        Piece& piece = m_open.back();
        if (piece.m_span.IsEmpty())
            piece.m_span.m_begin = token.m_span.m_begin;
        if (piece.m_value.IsEmpty())
            piece.m_value.m_begin = token.m_span.m_begin;
        piece.m_span.m_end = piece.m_value.m_end = token.m_span.m_end;
        if (IsOpeningBracket(token.m_token))
            m_levels.push_back({token.m_span.m_begin, m_open.size(), token.m_token == TOKEN_LEFT_CURLY});
    }

    void Close(Span bracket)
    {
        const Level level = m_levels.back();
        m_levels.pop_back();
        const std::size_t first = m_pieces.size();
        m_pieces.insert(m_pieces.end(), m_open.begin() + static_cast<std::ptrdiff_t>(level.m_first), m_open.end());
        m_open.resize(level.m_first);
        Piece& outer = m_open.back();
        outer.m_span.m_end = outer.m_value.m_end = bracket.m_end;
        if (!outer.m_brackets.IsEmpty())
            return;
        outer.m_brackets = {level.m_begin, bracket.m_end};
        outer.m_first = first;
        outer.m_count = m_pieces.size() - first;
    }

    Tokens m_tokens;
    std::vector<Piece> m_open = std::vector<Piece>(1); // the whole, and what stands in brackets that are open
    std::vector<Level> m_levels;                       // brackets that are open
    std::vector<Piece> m_pieces;
};

} // namespace

PieceTree::PieceTree(std::string text) : m_text(std::move(text)), m_pieces(PieceMaker(m_text).Make()) {}

PieceTree::PieceTree(std::optional<std::string> text, PieceNumbers& numbers)
{
    if (!text)
        return;
    *this = PieceTree(std::move(*text));
    Number(numbers);
}

// Pieces come behind what is in their brackets.
void PieceTree::Number(PieceNumbers& numbers)
{
    const auto ofText = [&](std::size_t begin, std::size_t end) { return numbers.OfText(Span{begin, end}.In(m_text)); };
    for (Piece& piece : m_pieces)
    {
        if (piece.m_brackets.IsEmpty())
        {
            piece.m_number = ofText(piece.m_value.m_begin, piece.m_value.m_end);
            continue;
        }
        std::size_t number = ofText(piece.m_value.m_begin, piece.m_brackets.m_begin + 1);
        for (const Piece& part : Inside(piece))
        {
            if (!part.m_head.IsEmpty())
                number = numbers.OfBoth(number, ofText(part.m_span.m_begin, part.m_value.m_begin));
            number = numbers.OfBoth(number, part.m_number);
        }
        piece.m_number = numbers.OfBoth(number, ofText(piece.m_brackets.m_end - 1, piece.m_value.m_end));
    }
}

} // namespace kelm::editing
