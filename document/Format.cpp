// A layout is made of one walk over the text, which finds the shapes of brackets and notes each piece; then, of the
// notes, the white space before each comment and token is decided on. Decisions wait in a queue up to the end of their
// line, or of the lines whose comments stand in a column, since what follows can change them.

#include <kelmDocument/Format.h>

#include <kelmDocument/private/FormatNotes.h>
#include <kelmDocument/private/FormatShapes.h>

#include <kelm/private/errors/ErrorOf.h>

#include <algorithm>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

namespace kelm
{

namespace
{

using namespace formatting;

// Lines are indented no further: deep texts stay readable, and of a size.
constexpr std::size_t s_mostLevels = 16;

// What stands between two pieces: blanks, or the end of a line and blanks.
struct Spacing
{
    Span m_place;
    std::size_t m_numBlanks;
    uint8 m_numBreaks;
    bool m_isCrLf;
};

// The white space that spacings are written as.
class Spaces
{
public:
    std::string_view Of(const Spacing& spacing)
    {
        if (m_numBlanks < spacing.m_numBlanks)
            Grow(spacing.m_numBlanks);
        const std::size_t breakSize = spacing.m_isCrLf ? 2 : 1;
        const std::string& line = spacing.m_isCrLf ? m_crLf : m_lf;
        const char* const begin = line.data() + (s_mostBreaks - spacing.m_numBreaks) * breakSize;
        return {begin, spacing.m_numBreaks * breakSize + spacing.m_numBlanks};
    }

private:
    static constexpr std::size_t s_mostBreaks = 2;

    void Grow(std::size_t numBlanks)
    {
        m_lf.append(numBlanks - m_numBlanks, ' ');
        m_crLf.append(numBlanks - m_numBlanks, ' ');
        m_numBlanks = numBlanks;
    }

    std::size_t m_numBlanks = 0; // that each ends in
    std::string m_lf = "\n\n";
    std::string m_crLf = "\r\n\r\n";
};

// Where spacings go, in their order: those that are other than what is written.
class Receiver
{
public:
    Receiver() = default;
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;
    virtual ~Receiver() = default;
    virtual void Take(Span removed, std::string_view space) = 0;
};

// Of what begins a line. A blank line that is written stays, but not behind what leads.
int BreaksBefore(const Piece& piece, bool isBehindLead)
{
    return isBehindLead || piece.m_numBreaks < 2 ? 1 : 2;
}

// Decides on all white space of a text.
class Layouter
{
public:
    Layouter(std::string_view text, const FormatOptions& options, const Shapes& shapes, Span range, Receiver& receiver)
        : m_text(text)
        , m_options(options)
        , m_shapes(shapes)
        , m_range(range)
        , m_receiver(receiver)
        , m_walk(text, shapes.m_notes)
    {
    }

    void Make();

private:
    // Brackets that are open.
    struct Level
    {
        std::size_t m_indent = 0; // of lines in it
        bool m_isFlat = false;    // on one line
        Rows m_rows = Rows::Single;
        bool m_isInColumn = false;
        uint32 m_keyWidth = 0;          // of the column; 0 where there is none
        bool m_beginsWithComma = false; // whether the line does
        bool m_canBreak = false;        // whether a line can begin with the item that is being laid out
        Span m_itemSpace = {};          // the white space before it
        std::size_t m_item = 0;         // the first queued spacing of what is behind that, or of that itself
        std::size_t m_itemPlace = 0;    // where it begins in its line
    };
    // A comment behind what else is on its line.
    struct LineComment
    {
        std::size_t m_spacing; // before it, queued
        std::size_t m_place;   // where the line ends before that
        std::size_t m_written; // where it begins in the text; s_nowhere where its line does not end behind it
        bool m_hasPadding;
    };

    Level& GetLevel() { return m_levels.back(); }
    bool IsFlat() const { return !m_levels.empty() && m_levels.back().m_isFlat; }
    std::size_t IndentOf(std::size_t depth) const { return std::min(depth, s_mostLevels) * m_options.m_indent; }
    std::size_t GetIndent() const { return m_levels.empty() ? 0 : m_levels.back().m_indent; }

    void PutFlat();
    void PutBetween();
    void PutInside();
    void PutToken();
    void TakeOpening();
    std::size_t CountPadding();
    bool BeginItem(std::size_t numBehind);
    void PutComments(std::size_t numBehind, bool& isOnLine, bool& isLead);
    void PutBehind(const Comment& comment, bool isWrittenSo);
    inline void AllowBreak(const Piece& first);
    void BreakBefore(Level& level);

    inline void Put(const Piece& piece, std::size_t numBlanks, int numBreaks = 0);
    inline bool IsWrittenSo(Span space, std::size_t numBlanks) const;
    void Change(const Piece& piece, std::size_t numBlanks, int numBreaks);
    void PutComment(const Comment& comment, std::size_t numBlanks, int numBreaks = 0);
    bool IsKept(const Piece& piece) const;
    void Keep(const Piece& piece);
    void EndLine(int numBreaks);
    void EndCommentColumn()
    {
        if (!m_commentColumn.empty())
            AlignComments();
    }
    void AlignComments();
    bool IsInColumn(std::span<const LineComment> comments) const;
    void Send();

    std::string_view m_text;
    const FormatOptions& m_options;
    const Shapes& m_shapes;
    Span m_range;
    Receiver& m_receiver;
    NoteReader m_walk;

    std::vector<Level> m_levels;
    std::size_t m_bracket = 0; // the next one's shape
    std::size_t m_column = 0;  // the next one's width

    Spaces m_spaces;
    std::vector<Spacing> m_queue;
    bool m_isAwaited = false; // whether the next one can change, though it is as written
    std::size_t m_place = 0;  // in the line
    std::size_t m_lineIndent = 0;
    bool m_isBehindCr = false; // which a line feed alone would take from a comment

    std::optional<LineComment> m_lineComment; // of the line
    std::vector<LineComment> m_commentColumn; // of the lines before it, queued
    std::size_t m_commentIndent = 0;          // of these lines
};

void Layouter::Make()
{
    while (m_walk.Next())
    {
        const Where where = m_walk.GetWhere();
        if (IsFlat())
            PutFlat();
        else if (where == Where::Inside || where == Where::Comma)
            PutInside();
        else
            PutBetween();
        PutToken();
    }
    EndLine(2);
    Send();
}

void Layouter::PutToken()
{
    const Kind kind = m_walk.GetKind();
    if (kind == Kind::Opening)
        TakeOpening();
    m_place += m_walk.GetTokenWidth();
    if (kind == Kind::Closing)
        m_levels.pop_back();
    if (m_walk.HasComma())
    {
        GetLevel().m_beginsWithComma = false;
        ++m_place;
    }
    if (kind == Kind::Comma || m_walk.HasComma())
        BreakBefore(GetLevel());
}

void Layouter::TakeOpening()
{
    const Shape& shape = m_shapes.m_brackets[m_bracket++];
    Level level{.m_indent = IndentOf(m_levels.size() + 1)};
    level.m_isFlat = IsFlat() || (!shape.m_hasBreak && m_place + shape.m_width <= m_options.m_width);
    const bool isGrid = shape.m_isGrid && level.m_indent + shape.m_widestRow <= m_options.m_width;
    level.m_rows = isGrid ? Rows::Kept : shape.m_rows;
    m_levels.push_back(level);
}

// --- On one line

void Layouter::PutFlat()
{
    const std::vector<Comment>& comments = m_walk.GetComments();
    std::size_t numBlanks = m_walk.IsBlankBefore() ? 1 : 0;
    for (const Comment& comment : comments)
    {
        PutComment(comment, numBlanks);
        numBlanks = 1;
    }
    if (!comments.empty() && !m_walk.IsBlankBehindComments())
        numBlanks = 0;
    CountPadding(); // of columns that have no width here
    Put(m_walk.GetPiece(), numBlanks);
}

// --- Inside of an item

// What follows a line comment goes on a level deeper; but brackets that open stand below what they belong to.
void Layouter::PutInside()
{
    const bool isComma = m_walk.GetWhere() == Where::Comma;
    const std::size_t deeper = GetIndent() + m_options.m_indent;
    bool isBehindLine = false;
    std::size_t numBlanks = m_walk.IsBlankBefore() ? 1 : 0;
    for (const Comment& comment : m_walk.GetComments())
    {
        if (isBehindLine || comment.m_isHash || (comment.m_isLine && comment.m_numBreaks > 0))
            PutComment(comment, comment.m_isHash ? 0 : deeper, 1);
        else
            PutComment(comment, numBlanks);
        isBehindLine = comment.m_isLine;
        numBlanks = m_walk.IsBlankBehindComments() ? 1 : 0;
    }
    if (m_walk.CanBeInColumn())
        numBlanks += CountPadding();
    if (isBehindLine)
        Put(m_walk.GetPiece(), isComma || m_walk.GetKind() == Kind::Opening ? GetIndent() : deeper, 1);
    else
        Put(m_walk.GetPiece(), numBlanks);
    if (isComma)
        GetLevel().m_beginsWithComma = isBehindLine;
}

// What an equals sign or arrow has before it beyond one blank. Columns are counted as FormatShapes counts them.
std::size_t Layouter::CountPadding()
{
    if (!m_walk.CanBeInColumn() || m_walk.GetPiece().m_isKept)
        return 0;
    Level& level = GetLevel();
    if (!level.m_isInColumn)
    {
        level.m_isInColumn = true;
        level.m_keyWidth = m_shapes.m_keyWidths[m_column++];
    }
    return level.m_isFlat || level.m_keyWidth == 0 ? 0 : level.m_keyWidth - m_walk.GetKeyWidth();
}

// --- Between items

// A piece goes on a line of its own, but for comments that are behind something, what is written behind a comment on
// the same line, and the items of a row.
void Layouter::PutBetween()
{
    const std::vector<Comment>& comments = m_walk.GetComments();
    const Piece& token = m_walk.GetPiece();
    const Where where = m_walk.GetWhere();
    if (where == Where::AfterComma && comments.empty() && GetLevel().m_rows == Rows::Filled &&
        !GetLevel().m_beginsWithComma) // most elements of long lists
    {
        AllowBreak(token);
        return Put(token, 1);
    }
    const bool isClosing = where == Where::Close || where == Where::Empty;
    if (isClosing)
        BreakBefore(GetLevel());
    const std::size_t numBehind = m_walk.CountBehind();
    bool isOnLine = m_walk.BeginsItem() && BeginItem(numBehind);
    bool isLead = where == Where::Begin || where == Where::Open || where == Where::Empty; // no blank line may follow
    if (!comments.empty()) [[unlikely]]
        PutComments(numBehind, isOnLine, isLead);
    else if (where == Where::Begin || where == Where::Empty)
        return Put(token, 0);
    if (isClosing || where == Where::End)
        Put(token, isClosing ? IndentOf(m_levels.size() - 1) : 0, 1);
    else if (isOnLine)
        Put(token, 1);
    else
        Put(token, GetIndent(), BreaksBefore(token, isLead));
}

// Whether the first piece of an item stays on the line, as it may in a row.
bool Layouter::BeginItem(std::size_t numBehind)
{
    Level& level = GetLevel();
    level.m_canBreak = false;
    if (m_walk.GetWhere() != Where::Open && m_walk.IsBehindBlankLine())
        level.m_isInColumn = false;
    const bool beginsWithComma = std::exchange(level.m_beginsWithComma, false);
    if (m_walk.GetWhere() != Where::AfterComma || numBehind > 0)
        return false;
    const Piece& first = m_walk.GetComments().empty() ? m_walk.GetPiece() : m_walk.GetComments().front();
    const bool isInRow = level.m_rows != Rows::Single || beginsWithComma;
    const bool isFilled = level.m_rows == Rows::Filled && !beginsWithComma;
    if (!isInRow || (!isFilled && first.m_numBreaks > 0))
        return false;
    AllowBreak(first);
    return true;
}

// Those before a token between items; then tells of the token what it has told of the first of them.
void Layouter::PutComments(std::size_t numBehind, bool& isOnLine, bool& isLead)
{
    const std::vector<Comment>& comments = m_walk.GetComments();
    const bool isAtBegin = m_walk.GetWhere() == Where::Begin;
    const Comment* comment = comments.data();
    const Comment* const end = comment + comments.size();
    if (const Comment* const behindEnd = comment + numBehind; comment != behindEnd)
    {
        PutBehind(*comment, behindEnd != end || m_walk.GetPiece().m_numBreaks > 0);
        while (++comment != behindEnd)
            PutComment(*comment, 1);
    }
    for (bool isFirst = isAtBegin; comment != end; isFirst = false)
    {
        const bool hasBreak = !isOnLine && !isFirst;
        const std::size_t numBlanks = isOnLine ? 1 : isFirst ? 0 : GetIndent();
        PutComment(*comment, comment->m_isHash ? 0 : numBlanks, hasBreak ? BreaksBefore(*comment, isLead) : 0);
        isLead &= !hasBreak && !isAtBegin;
        ++comment;
        isOnLine = (comment != end ? *comment : m_walk.GetPiece()).m_numBreaks == 0;
    }
}

// A comment on the line of what it is behind. It can be in a column with others if its line ends there in the text too.
void Layouter::PutBehind(const Comment& comment, bool isWrittenSo)
{
    const std::size_t place = m_place;
    m_isAwaited = true;
    PutComment(comment, 1);
    if (comment.m_isMultiLine || IsKept(comment))
        return;
    m_lineComment = {m_queue.size() - 1, place, isWrittenSo ? comment.m_span.m_begin : s_nowhere,
                     comment.GetSpace().GetSize() > 1};
}

// Before an item that is put on the line of another one, a blank behind it.
void Layouter::AllowBreak(const Piece& first)
{
    Level& level = GetLevel();
    level.m_canBreak = level.m_rows != Rows::Single && !IsKept(first);
    level.m_itemSpace = first.GetSpace();
    level.m_item = m_queue.size();
    level.m_itemPlace = m_place + 1;
}

// The item has been put, or what closes its brackets comes: it goes on another line if it has no room here.
void Layouter::BreakBefore(Level& level)
{
    if (!std::exchange(level.m_canBreak, false) || m_place <= m_options.m_width)
        return;
    const Spacing spacing{level.m_itemSpace, GetIndent(), 1, m_shapes.m_isCrLf};
    const auto place = m_queue.begin() + static_cast<std::ptrdiff_t>(level.m_item);
    if (place != m_queue.end() && place->m_place == level.m_itemSpace)
        *place = spacing;
    else
        m_queue.insert(place, spacing);
    m_place = spacing.m_numBlanks + (m_place - level.m_itemPlace);
    m_lineIndent = spacing.m_numBlanks;
    EndCommentColumn();
    if (!m_lineComment)
        Send();
}

// --- Pieces

bool Layouter::IsKept(const Piece& piece) const
{
    return piece.m_isKept || piece.m_span.m_begin - m_range.m_begin > m_range.GetSize(); // or before it, which wraps
}

void Layouter::Put(const Piece& piece, std::size_t numBlanks, int numBreaks)
{
    if (IsKept(piece))
        return Keep(piece);
    if (numBreaks > 0 || m_isAwaited || !IsWrittenSo(piece.GetSpace(), numBlanks))
        return Change(piece, numBlanks, numBreaks);
    m_place += numBlanks;
}

// Most often there is none or one.
bool Layouter::IsWrittenSo(Span space, std::size_t numBlanks) const
{
    return numBlanks < 2 && space.GetSize() == numBlanks && (numBlanks == 0 || m_text[space.m_begin] == ' ');
}

void Layouter::Change(const Piece& piece, std::size_t numBlanks, int numBreaks)
{
    if (numBreaks > 0)
        EndLine(numBreaks);
    m_queue.push_back({piece.GetSpace(), numBlanks, static_cast<uint8>(numBreaks), m_shapes.m_isCrLf || m_isBehindCr});
    m_isBehindCr = m_isAwaited = false;
    m_place = numBlanks + (numBreaks > 0 ? 0 : m_place);
    if (numBreaks > 0)
        m_lineIndent = numBlanks;
}

void Layouter::PutComment(const Comment& comment, std::size_t numBlanks, int numBreaks)
{
    Put(comment, numBlanks, numBreaks);
    m_isBehindCr = m_text[comment.m_span.m_end - 1] == '\r';
    if (!comment.m_isMultiLine)
    {
        m_place += comment.m_width;
        return;
    }
    const std::string_view text = comment.m_span.In(m_text);
    m_place = WidthOf(text.substr(text.rfind('\n') + 1));
    m_lineComment.reset();
    if (!m_levels.empty())
        GetLevel().m_canBreak = false;
}

void Layouter::Keep(const Piece& piece)
{
    m_isBehindCr = m_isAwaited = false;
    if (piece.m_numBreaks == 0)
    {
        m_place += piece.GetSpace().GetSize();
        return;
    }
    EndLine(2);
    m_place = m_lineIndent = piece.m_span.m_begin - LineStartOf(m_text, piece.m_span.m_begin);
}

// --- Lines

void Layouter::EndLine(int numBreaks)
{
    if (!m_levels.empty())
        GetLevel().m_canBreak = false;
    if (!m_lineComment || m_lineIndent != m_commentIndent)
        EndCommentColumn();
    m_commentIndent = m_lineIndent;
    if (m_lineComment)
        m_commentColumn.push_back(*std::exchange(m_lineComment, std::nullopt));
    if (numBreaks > 1)
        EndCommentColumn();
    if (m_commentColumn.empty())
        Send();
}

// Comments that were written in a column stand in one, behind the longest line.
void Layouter::AlignComments()
{
    if (IsInColumn(m_commentColumn))
    {
        std::size_t place = 0;
        for (const LineComment& comment : m_commentColumn)
            place = std::max(place, comment.m_place);
        for (const LineComment& comment : m_commentColumn)
            m_queue[comment.m_spacing].m_numBlanks = place - comment.m_place + 1;
    }
    m_commentColumn.clear();
}

bool Layouter::IsInColumn(std::span<const LineComment> comments) const
{
    if (std::none_of(comments.begin(), comments.end(), [](const LineComment& c) { return c.m_hasPadding; }))
        return false;
    std::vector<std::size_t> places;
    for (const LineComment& comment : comments)
        places.push_back(comment.m_written);
    return AreInColumn(m_text, places);
}

void Layouter::Send()
{
    for (const Spacing& spacing : m_queue)
        if (const std::string_view space = m_spaces.Of(spacing); space != spacing.m_place.In(m_text))
            m_receiver.Take(spacing.m_place, space);
    m_queue.clear();
}

// --- What is made of it

class TextReceiver : public Receiver
{
public:
    explicit TextReceiver(std::string_view text) : m_text(text), m_made(text.size() + text.size() / 8, '\0') {}

    void Take(Span removed, std::string_view space) override
    {
        const std::string_view kept = Span{m_taken, removed.m_begin}.In(m_text);
        char* const p = MakeRoom(kept.size() + space.size() + s_short);
        const bool isShort = kept.size() <= s_short && m_text.size() - m_taken >= s_short; // most often
        if (isShort)
            std::memcpy(p, kept.data(), s_short);
        else
            std::memcpy(p, kept.data(), kept.size());
        if (space.size() == 1)
            p[kept.size()] = space.front();
        else
            std::memcpy(p + kept.size(), space.data(), space.size());
        m_size += kept.size() + space.size();
        m_taken = removed.m_end;
    }

    std::string GetText()
    {
        m_made.resize(m_size);
        m_made.append(m_text, m_taken);
        return std::move(m_made);
    }

private:
    static constexpr std::size_t s_short = 16; // so many octets are copied at once

    char* MakeRoom(std::size_t size)
    {
        if (m_made.size() - m_size < size)
            m_made.resize(std::max(2 * m_made.size(), m_size + size));
        return m_made.data() + m_size;
    }

    std::string_view m_text;
    std::size_t m_taken = 0;
    std::string m_made; // and room behind it
    std::size_t m_size = 0;
};

class ChangesReceiver : public Receiver
{
public:
    void Take(Span removed, std::string_view space) override { m_changes.push_back({removed, std::string(space)}); }

    std::vector<SpaceChange> m_changes;
};

Error ErrorOf(const Diagnostic& diagnostic, std::string_view text)
{
    const std::string_view source = WithoutByteOrderMark(text);
    const std::size_t mark = text.size() - source.size();
    return ErrorAt(ErrorKind::Syntax, diagnostic.m_message, {"<text>", source}, diagnostic.m_place - mark,
                   diagnostic.m_token.GetSize());
}

// The lines that a range touches.
Span LinesOf(std::string_view text, Span range)
{
    const std::size_t begin = range.m_begin == 0 ? 0 : text.rfind('\n', range.m_begin - 1) + 1;
    return {begin, std::min(text.find('\n', std::max(begin, range.m_end)), text.size())};
}

} // namespace

Result<std::string> Format(std::string_view text, const FormatOptions& options)
{
    Shapes shapes;
    if (const std::optional<Diagnostic> error = FindShapes(text, shapes))
        return ErrorOf(*error, text);
    TextReceiver receiver(text);
    Layouter(text, options, shapes, {0, text.size()}, receiver).Make();
    return receiver.GetText();
}

Result<std::vector<SpaceChange>> FormatLines(std::string_view text, Span range, const FormatOptions& options)
{
    Shapes shapes;
    if (const std::optional<Diagnostic> error = FindShapes(text, shapes))
        return ErrorOf(*error, text);
    ChangesReceiver receiver;
    Layouter(text, options, shapes, LinesOf(text, range), receiver).Make();
    return std::move(receiver.m_changes);
}

std::optional<Diagnostic> FindSyntaxError(std::string_view text)
{
    Shapes shapes;
    return FindShapes(text, shapes);
}

} // namespace kelm
