#include <kelmDocument/private/FormatShapes.h>

#include <kelmDocument/private/FormatWalk.h>

#include <algorithm>

namespace kelm::formatting
{

namespace
{

// Longer texts stand on lines of their own.
constexpr std::size_t s_widestShortText = 12;

// What is wider is taken to be as wide.
constexpr uint32 s_widest = std::numeric_limits<uint32>::max() - 1;

uint32 Saturated(std::size_t width)
{
    return static_cast<uint32>(std::min<std::size_t>(width, s_widest));
}

class Measurement
{
public:
    Measurement(std::string_view text, Shapes& shapes) : m_text(text), m_walk(text), m_shapes(shapes) {}

    std::optional<Diagnostic> Make()
    {
        while (m_walk.Next())
        {
            AddNotes();
            if (m_walk.GetKind() == Kind::End)
                break;
            Take();
            if (m_walk.NextComma())
                TakeComma();
            m_flatEndBefore = m_walk.GetFlatEnd();
        }
        m_shapes.m_isCrLf = m_walk.IsCrLf();
        return m_walk.GetError();
    }

private:
    // Brackets that are open.
    struct Level
    {
        std::size_t m_bracket;
        std::size_t m_flatBegin;
        std::size_t m_numBreaks;
        std::size_t m_rowBegin = 0; // on one line
        uint32 m_numInRow = 0;
        uint32 m_numInFirstRow = 0;
        bool m_isGrid = true;
        bool m_keepsRows = false;
        bool m_hasBrackets = false;
        bool m_hasLongTexts = false;
        bool m_beginsLine = false; // the item
        bool m_hasPadding = false; // before a separator of the column
        bool m_isInColumn = false;
        std::size_t m_column = 0;     // of m_keyWidths
        std::size_t m_firstPlace = 0; // of m_places
    };

    [[gnu::always_inline]] inline void AddNotes();
    void Take();
    void TakeComma();
    void WidenClosed();
    void TakeItem(Level& level);
    void TakeSeparator(Level& level);
    void TakeOpening();
    void TakeClosing(Level& level);
    void EndRow(Level& level);
    void EndColumn(Level& level);
    bool IsRowBreaking() const;

    std::string_view m_text;
    FormatWalk m_walk;
    Shapes& m_shapes;
    std::vector<Level> m_levels;
    std::vector<std::size_t> m_places; // of separators in the open columns; s_nowhere within their lines
    std::size_t m_flatEndBefore = 0;
    std::size_t m_closed = 0; // the bracket of the last token, plus 1
};

void Measurement::AddNotes()
{
    bool isBlankBehindComments = false;
    if (!m_walk.GetComments().empty()) [[unlikely]]
    {
        for (const Comment& comment : m_walk.GetComments())
            m_shapes.m_notes.Add(comment);
        isBlankBehindComments = m_walk.IsBlankBehindComments();
    }
    const bool isInColumn = m_walk.CanBeInColumn();
    m_shapes.m_notes.Add(
        m_walk.GetPiece(),
        {m_walk.GetKind(), m_walk.GetWhere(), m_walk.IsBlankBefore(), isBlankBehindComments, isInColumn},
        m_walk.GetTokenWidth(), isInColumn ? m_walk.GetKeyWidth() : 0);
}

void Measurement::Take()
{
    const Kind kind = m_walk.GetKind();
    if (!m_levels.empty())
    {
        Level& level = m_levels.back();
        if (!m_walk.GetComments().empty() || m_walk.IsBehindBlankLine()) [[unlikely]]
            level.m_keepsRows |= IsRowBreaking();
        if (m_walk.BeginsItem())
            TakeItem(level);
        else if (m_walk.IsSeparator())
            TakeSeparator(level);
        else if (m_walk.GetWhere() == Where::Comma)
            WidenClosed();
        level.m_hasLongTexts |= kind == Kind::Literal && m_walk.GetTokenWidth() > s_widestShortText;
    }
    m_closed = 0;
    if (kind == Kind::Opening)
        TakeOpening();
    else if (kind == Kind::Closing)
        TakeClosing(m_levels.back());
}

// What AddNotes and Take do for a comma right behind the token.
void Measurement::TakeComma()
{
    m_shapes.m_notes.AddComma();
    WidenClosed();
}

// By the comma behind it.
void Measurement::WidenClosed()
{
    if (m_closed != 0)
        ++m_shapes.m_brackets[m_closed - 1].m_width;
}

// Whether what stands before the token makes lines that cannot be filled: comments that a line break is beside, and
// blank lines.
bool Measurement::IsRowBreaking() const
{
    const Where where = m_walk.GetWhere();
    if (where == Where::AfterComma && m_walk.IsBehindBlankLine())
        return true;
    const std::vector<Comment>& comments = m_walk.GetComments();
    if (comments.empty())
        return false;
    const auto isBreaking = [](const Comment& c) { return c.m_isLine || c.m_isMultiLine; };
    if (std::any_of(comments.begin(), comments.end(), isBreaking))
        return true;
    return where != Where::Inside && where != Where::Comma && m_walk.IsBehindBreak(); // there they come on one line
}

void Measurement::TakeItem(Level& level)
{
    const bool isFirst = m_walk.GetWhere() == Where::Open;
    const bool isBehindBreak = m_walk.IsBehindBreak();
    level.m_beginsLine = m_walk.GetPiece().m_numBreaks > 0;
    if (!isFirst && isBehindBreak)
        EndRow(level);
    if (isFirst || isBehindBreak)
        level.m_rowBegin = m_walk.GetFlatBegin();
    ++level.m_numInRow;
    if (!isFirst && m_walk.IsBehindBlankLine())
        EndColumn(level);
}

void Measurement::EndRow(Level& level)
{
    Shape& shape = m_shapes.m_brackets[level.m_bracket];
    shape.m_widestRow = std::max(shape.m_widestRow, Saturated(m_flatEndBefore - level.m_rowBegin));
    if (level.m_numInFirstRow == 0)
        level.m_numInFirstRow = level.m_numInRow;
    level.m_isGrid &= level.m_numInRow == level.m_numInFirstRow;
    level.m_numInRow = 0;
}

void Measurement::TakeSeparator(Level& level)
{
    const Piece& piece = m_walk.GetPiece();
    if (!m_walk.CanBeInColumn() || piece.m_isKept)
        return;
    if (!level.m_isInColumn)
    {
        level.m_isInColumn = true;
        level.m_hasPadding = false;
        level.m_column = m_shapes.m_keyWidths.size();
        level.m_firstPlace = m_places.size();
        m_shapes.m_keyWidths.push_back(0);
    }
    uint32& width = m_shapes.m_keyWidths[level.m_column];
    width = std::max(width, Saturated(m_walk.GetKeyWidth()));
    level.m_hasPadding |= piece.m_numBreaks == 0 && piece.GetSpace().GetSize() > 1;
    m_places.push_back(level.m_beginsLine && piece.m_numBreaks == 0 ? piece.m_span.m_begin : s_nowhere);
}

void Measurement::EndColumn(Level& level)
{
    if (!level.m_isInColumn)
        return;
    level.m_isInColumn = false;
    if (!level.m_hasPadding || !AreInColumn(m_text, std::span(m_places).subspan(level.m_firstPlace)))
        m_shapes.m_keyWidths[level.m_column] = 0;
    m_places.resize(level.m_firstPlace);
}

void Measurement::TakeOpening()
{
    if (!m_levels.empty())
        m_levels.back().m_hasBrackets = true;
    m_levels.push_back({m_shapes.m_brackets.size(), m_walk.GetFlatBegin(), m_walk.CountBreaks()});
    m_shapes.m_brackets.emplace_back();
}

void Measurement::TakeClosing(Level& level)
{
    EndColumn(level);
    const uint32 numInLastRow = level.m_numInRow;
    const bool isGrid = level.m_isGrid;
    EndRow(level);
    Shape& shape = m_shapes.m_brackets[level.m_bracket];
    shape.m_width = Saturated(m_walk.GetFlatEnd() - level.m_flatBegin);
    shape.m_hasBreak = m_walk.CountBreaks() != level.m_numBreaks;
    if (m_walk.GetOpening() != TOKEN_LEFT_CURLY && !m_walk.HasArrows() && !level.m_hasBrackets)
    {
        shape.m_isGrid = !level.m_keepsRows && isGrid && numInLastRow <= level.m_numInFirstRow;
        shape.m_rows = level.m_keepsRows ? Rows::Kept : level.m_hasLongTexts ? Rows::Single : Rows::Filled;
    }
    m_closed = level.m_bracket + 1;
    m_levels.pop_back();
}

} // namespace

// By a majority vote: the candidate is the only one that can have it.
bool AreInColumn(std::string_view text, std::span<const std::size_t> places)
{
    std::vector<std::size_t> columns;
    for (const std::size_t at : places)
        columns.push_back(at == s_nowhere ? s_nowhere : WidthOf(Span{LineStartOf(text, at), at}.In(text)));
    std::size_t candidate = s_nowhere;
    std::size_t lead = 0;
    for (const std::size_t column : columns)
    {
        if (lead == 0)
            candidate = column;
        lead += column == candidate ? 1 : std::size_t{0} - 1;
    }
    const auto count = static_cast<std::size_t>(std::count(columns.begin(), columns.end(), candidate));
    return candidate != s_nowhere && 2 * count > columns.size();
}

std::optional<Diagnostic> FindShapes(std::string_view text, Shapes& shapes)
{
    return Measurement(text, shapes).Make();
}

} // namespace kelm::formatting
