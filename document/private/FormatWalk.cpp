#include <kelmDocument/private/FormatWalk.h>

#include <kelmDocument/private/ScanPartHere.h>

#include <klUtils/text/private/Messages.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <utility>

namespace kelm::formatting
{

namespace
{

// Of the first character: white space, or perhaps a comment.
constexpr std::array<bool, 256> s_beginsPassed = []
{
    std::array<bool, 256> begins{};
    for (const char c : {' ', '\t', '\n', '\v', '\f', '\r', '/', '#'})
        begins[static_cast<unsigned char>(c)] = true;
    return begins;
}();

bool IsNumber(EToken token)
{
    return token == TOKEN_INTEGER || token == TOKEN_FLOAT || token == TOKEN_HEX_INTEGER;
}

bool IsLiteral(EToken token)
{
    return token == TOKEN_DOUBLE_QUOTED_STRING || token == TOKEN_SINGLE_QUOTED_STRING;
}

// What a line comment says, without what makes it one.
std::string_view SaidBy(std::string_view comment)
{
    comment.remove_prefix(comment.starts_with('#') ? 1 : 2);
    const std::size_t begin = std::min(comment.find_first_not_of(" \t"), comment.size());
    const std::size_t end = comment.find_last_not_of(" \t\r") + 1;
    return comment.substr(begin, std::max(begin, end) - begin);
}

} // namespace

std::size_t WidthOf(std::string_view text)
{
    constexpr auto isCharacter = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), isCharacter));
}

FormatWalk::FormatWalk(std::string_view text)
    : m_begin(text.data()), m_end(text.data() + text.size()), m_place(text.data())
{
    if (text.starts_with(s_byteOrderMark))
        m_place += s_byteOrderMark.size();
    m_spaceBegin = m_lineStart = OffsetOf(m_place);
}

// --- White space and comments

// Up to the next token, and past it.
bool FormatWalk::PassSpace()
{
    m_comments.clear();
    const char* p = m_place;
    p += p != m_end && *p == ' ' ? 1 : 0;
    if (p == m_end || s_beginsPassed[static_cast<unsigned char>(*p)])
        return PassAnySpace();
    const ScannedPart part = ScanPartHere(m_begin, p, m_end);
    if (part.m_kind != PartKind::Token) [[unlikely]]
        return PassAnySpace();
    m_token = part.m_token;
    m_place = part.m_past;
    m_piece.m_space = {m_spaceBegin, OffsetOf(p)};
    m_piece.m_span = {m_piece.m_space.m_end, OffsetOf(m_place)};
    m_piece.m_lineStart = m_lineStart;
    m_piece.m_numBreaks = 0;
    m_piece.m_isKept = m_isOff;
    m_spaceBegin = m_piece.m_span.m_end;
    return true;
}

bool FormatWalk::PassAnySpace()
{
    std::size_t numBreaks = m_numBreaks;
    const char* p = m_place;
    ScannedPart part{PartKind::Token, TOKEN_END, m_end};
    for (; p != m_end; p = part.m_past)
    {
        part = ScanPartHere(m_begin, p, m_end);
        if (part.m_kind == PartKind::Space)
        {
            if (part.m_past == p + 1 && *p != '\n')
                continue;
            CountLines(p, part.m_past);
            if (m_lineEnd == LineEnd::Unknown && m_numBreaks != numBreaks && !m_isOff)
                NoteLineEnd(p);
        }
        else if (part.m_kind == PartKind::Comment)
        {
            m_piece = {{m_spaceBegin, OffsetOf(p)},
                       {OffsetOf(p), OffsetOf(part.m_past)},
                       m_lineStart,
                       static_cast<uint8>(std::min<std::size_t>(m_numBreaks - numBreaks, 2)),
                       m_isOff};
            PassComment(part.m_past);
            numBreaks = m_numBreaks;
        }
        else
            break;
    }
    if (part.m_kind == PartKind::Wrong)
    {
        const text::ScanFailure failure = text::DescribeScanFailure(p, m_end, p == m_begin || p[-1] == '\n');
        const std::size_t begin = OffsetOf(failure.m_token.m_str.m_p1);
        return Fail(std::string(failure.m_message.view()), {begin, std::max(begin, OffsetOf(part.m_past))});
    }
    m_token = p == m_end ? TOKEN_END : part.m_token;
    m_place = p == m_end ? m_end : part.m_past;
    m_piece = {{m_spaceBegin, OffsetOf(p)},
               {OffsetOf(p), OffsetOf(m_place)},
               m_lineStart,
               static_cast<uint8>(std::min<std::size_t>(m_numBreaks - numBreaks, 2)),
               m_isOff};
    m_spaceBegin = OffsetOf(m_place);
    return true;
}

// m_piece is the comment.
void FormatWalk::PassComment(const char* past)
{
    const std::string_view text = m_piece.m_span.In({m_begin, m_end});
    const bool isHash = text[0] == '#';
    const bool isLine = isHash || text[1] == '/';
    const std::size_t numBreaks = m_numBreaks;
    if (!isLine)
        CountLines(m_begin + m_piece.m_span.m_begin, past);
    m_comments.push_back({m_piece, isLine, isHash, m_numBreaks != numBreaks});
    m_spaceBegin = m_piece.m_span.m_end;
    if (!isLine)
        return;
    const std::string_view said = SaidBy(text);
    if (said == (m_isOff ? "fmt: on" : "fmt: off"))
        m_isOff = !m_isOff;
}

void FormatWalk::CountLines(const char* from, const char* to)
{
    while ((from = static_cast<const char*>(std::memchr(from, '\n', static_cast<std::size_t>(to - from)))) != nullptr)
    {
        ++m_numBreaks;
        m_lineStart = OffsetOf(++from);
    }
}

// Behind a comment that has a carriage return of its own, a line can end in one way alone.
void FormatWalk::NoteLineEnd(const char* space)
{
    if (space != m_begin && space[-1] == '\r')
        return;
    const char* const end = std::find(space, m_end, '\n');
    m_lineEnd = end != space && end[-1] == '\r' ? LineEnd::CrLf : LineEnd::Lf;
}

bool FormatWalk::IsCommentBehind(int numBreaks) const
{
    return std::any_of(m_comments.begin(), m_comments.end(),
                       [&](const Comment& c) { return c.m_numBreaks >= numBreaks; });
}

std::size_t FormatWalk::CountCommentsBehind() const
{
    if (m_where == Where::Begin)
        return 0;
    const auto other =
        std::find_if(m_comments.begin(), m_comments.end(), [](const Comment& c) { return c.m_numBreaks > 0; });
    const bool isAlsoBefore = other == m_comments.end() && m_piece.m_numBreaks == 0;
    if (isAlsoBefore && (m_where == Where::Open || m_where == Where::AfterComma || m_where == Where::Empty))
        return 0;
    return static_cast<std::size_t>(other - m_comments.begin());
}

// --- Widths

bool FormatWalk::FindBlankBefore() const
{
    constexpr auto bitOf = [](auto... where) { return ((1U << static_cast<int>(where)) | ...); };
    constexpr unsigned always = bitOf(Where::Item, Where::AfterComma);
    constexpr unsigned inCurly = bitOf(Where::Open, Where::Close);
    constexpr unsigned loose = bitOf(Where::Inside);
    constexpr unsigned blanksOf[] = {always | loose, always | loose | inCurly, always, always | inCurly};
    const bool isCurly = GetOpening() == TOKEN_LEFT_CURLY;
    unsigned blanks = blanksOf[(isCurly ? 1 : 0) + (m_isTight ? 2 : 0)];
    if (!m_comments.empty()) [[unlikely]]
        blanks |= bitOf(Where::Inside, Where::Comma, Where::Close, Where::End) | (isCurly ? bitOf(Where::Empty) : 0);
    return (blanks >> static_cast<int>(m_where) & 1) != 0;
}

bool FormatWalk::IsBlankBehindComments() const
{
    switch (m_where)
    {
    case Where::Close:
    case Where::Empty: return GetOpening() == TOKEN_LEFT_CURLY;
    case Where::Comma: return false;
    default: return true;
    }
}

void FormatWalk::Measure()
{
    m_isBehindBlank = FindBlankBefore();
    m_flatBegin = m_flatEnd + (m_isBehindBlank ? 1 : 0);
    if (!m_comments.empty()) [[unlikely]]
        MeasureComments();
    const std::string_view token = m_piece.m_span.In({m_begin, m_end});
    m_flatEnd = m_flatBegin + (IsLiteral(m_token) ? WidthOf(token) : token.size());
    if (BeginsItem())
    {
        m_keyBegin = m_flatBegin;
        m_isKeyPlain = m_piece.m_numBreaks > 0 || CountBehind() == m_comments.size();
    }
}

void FormatWalk::MeasureComments()
{
    for (const Comment& comment : m_comments)
    {
        m_flatBegin += WidthOf(comment.m_span.In({m_begin, m_end}));
        m_isKeyPlain &= !comment.m_isLine && !comment.m_isMultiLine;
    }
    m_flatBegin += m_comments.size() - (IsBlankBehindComments() ? 0 : 1);
}

// --- Grammar

bool FormatWalk::GoTo(State state)
{
    m_state = state;
    return true;
}

bool FormatWalk::Separate(State state)
{
    m_isSeparator = true;
    return GoTo(state);
}

bool FormatWalk::TakeValue()
{
    if (IsOpeningBracket(m_token))
        return GoTo(State::FirstItem);
    if (IsNumber(m_token) || IsLiteral(m_token))
        return GoTo(State::Done);
    if (m_token == TOKEN_MINUS || m_token == TOKEN_PLUS)
        return GoTo(State::Sign);
    return m_token == TOKEN_IDENTIFIER ? GoTo(State::Name) : Expect("value");
}

bool FormatWalk::TakeItem(Where where)
{
    m_where = where;
    m_levels.back().m_isBehindArrow = false;
    if (GetOpening() != TOKEN_LEFT_CURLY)
        return TakeValue();
    return m_token == TOKEN_IDENTIFIER ? GoTo(State::Member) : Expect("identifier");
}

bool FormatWalk::TakeWhatFollows()
{
    if (m_levels.empty())
    {
        m_where = Where::End;
        return m_token == TOKEN_END || Expect("end of text");
    }
    Level& level = m_levels.back();
    const bool isClosing = m_token == ClosingBracketOf(level.m_opening);
    if (level.m_opening == TOKEN_LEFT_CURLY && !isClosing)
        return m_token == TOKEN_IDENTIFIER ? TakeItem(Where::Item) : Expect("identifier");
    if (level.m_opening == TOKEN_LEFT_SQUARE && !level.m_isBehindArrow)
    {
        const bool isArrow = m_token == TOKEN_MINUS_GREATER;
        if (isArrow ? level.m_arrows == Arrows::None : level.m_arrows == Arrows::Some)
            return Expect(isArrow ? "," : "->");
        level.m_isBehindArrow = isArrow;
        level.m_arrows = isArrow ? Arrows::Some : Arrows::None;
        if (isArrow)
            return Separate(State::Value);
    }
    m_where = isClosing ? Where::Close : Where::Comma;
    if (isClosing)
        return GoTo(State::Done);
    return m_token == TOKEN_COMMA ? GoTo(State::NextItem) : Expect(",");
}

bool FormatWalk::Take()
{
    m_where = Where::Inside;
    switch (m_state)
    {
    case State::Text:
        m_where = Where::Begin;
        if (m_token == TOKEN_IDENTIFIER)
            return GoTo(State::Name);
        if (m_token == TOKEN_LEFT_CURLY || m_token == TOKEN_LEFT_PAREN)
            return GoTo(State::FirstItem);
        return Expect("identifier");
    case State::FirstItem:
        if (m_token != ClosingBracketOf(GetOpening()))
            return TakeItem(Where::Open);
        m_where = Where::Empty;
        return GoTo(State::Done);
    case State::NextItem: return TakeItem(Where::AfterComma);
    case State::Member: return m_token == TOKEN_EQUAL ? Separate(State::Value) : Expect("=");
    case State::Value: return TakeValue();
    case State::Sign:
        m_isTight = true;
        return IsNumber(m_token) || m_token == TOKEN_IDENTIFIER ? GoTo(State::Done) : Expect("number");
    case State::Dot: m_isTight = true; return m_token == TOKEN_IDENTIFIER ? GoTo(State::Name) : Expect("identifier");
    case State::Name:
        m_isTight = m_token == TOKEN_DOT || m_token == TOKEN_COLON_COLON;
        if (m_isTight)
            return GoTo(State::Dot);
        m_isTight = m_token == TOKEN_LEFT_PAREN;
        if (m_levels.empty() ? m_token == TOKEN_LEFT_CURLY || m_token == TOKEN_LEFT_PAREN
                             : m_token != TOKEN_IDENTIFIER || GetOpening() != TOKEN_LEFT_CURLY || !IsBeforeEqualsSign())
        {
            const bool isOfValue = IsOpeningBracket(m_token) || IsNumber(m_token) || IsLiteral(m_token) ||
                                   m_token == TOKEN_IDENTIFIER || m_token == TOKEN_MINUS || m_token == TOKEN_PLUS;
            if (isOfValue)
                return TakeValue();
        }
        return TakeWhatFollows();
    case State::Done: return TakeWhatFollows();
    }
    return false;
}

bool FormatWalk::Next()
{
    if (IsOpeningBracket(m_token))
    {
        m_levels.push_back({m_token});
        m_opening = m_token;
    }
    else if (IsClosingBracket(m_token))
    {
        m_levels.pop_back();
        m_opening = m_levels.empty() ? TOKEN_UNDEF : m_levels.back().m_opening;
        m_isKeyPlain = false;
    }
    m_isTight = m_isSeparator = false;
    if (!PassSpace() || !Take())
        return false;
    Measure();
    return true;
}

bool FormatWalk::IsBeforeEqualsSign() const
{
    for (const char* p = m_place; p != m_end;)
    {
        const ScannedPart part = ScanPartHere(m_begin, p, m_end);
        if (part.m_kind != PartKind::Space && part.m_kind != PartKind::Comment)
            return part.m_token == TOKEN_EQUAL;
        p = part.m_past;
    }
    return false;
}

bool FormatWalk::Expect(ConstStringZ what)
{
    const Span token = m_piece.m_span;
    const LSToken found(m_token, {m_begin + token.m_begin, m_begin + token.m_end});
    return Fail(std::string(text::ExpectedMessage(what, found).view()), token);
}

bool FormatWalk::Fail(std::string message, Span token)
{
    m_error = Diagnostic{Severity::Error, std::move(message), token.m_begin, token, {}, 0};
    return false;
}

} // namespace kelm::formatting
