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

constexpr EToken s_lastToken = TOKEN_HASH;

constexpr std::array<Kind, s_lastToken - TOKEN_END + 1> s_kinds = []
{
    std::array<Kind, s_lastToken - TOKEN_END + 1> kinds{};
    for (std::size_t i = 0; i < kinds.size(); ++i)
    {
        const auto token = static_cast<EToken>(static_cast<int>(i) + TOKEN_END);
        kinds[i] = IsOpeningBracket(token) ? Kind::Opening : IsClosingBracket(token) ? Kind::Closing : Kind::Other;
    }
    const auto set = [&](Kind kind, auto... tokens)
    { ((kinds[static_cast<std::size_t>(tokens - TOKEN_END)] = kind), ...); };
    set(Kind::End, TOKEN_END);
    set(Kind::Number, TOKEN_INTEGER, TOKEN_HEX_INTEGER, TOKEN_FLOAT);
    set(Kind::Literal, TOKEN_SINGLE_QUOTED_STRING, TOKEN_DOUBLE_QUOTED_STRING);
    set(Kind::Name, TOKEN_IDENTIFIER);
    set(Kind::Sign, TOKEN_PLUS, TOKEN_MINUS);
    set(Kind::Comma, TOKEN_COMMA);
    return kinds;
}();

bool CanBeginValue(Kind kind)
{
    return Kind::Number <= kind && kind <= Kind::Opening;
}

// "#fmt: on"
constexpr std::size_t s_shortestSwitch = 8;

// What a line comment says, without what makes it one.
std::string_view SaidBy(std::string_view comment)
{
    comment.remove_prefix(comment.starts_with('#') ? 1 : 2);
    const std::size_t begin = std::min(comment.find_first_not_of(" \t"), comment.size());
    const std::size_t end = comment.find_last_not_of(" \t\r") + 1;
    return comment.substr(begin, std::max(begin, end) - begin);
}

} // namespace

FormatWalk::FormatWalk(std::string_view text)
    : m_begin(text.data()), m_end(text.data() + text.size()), m_place(text.data())
{
    m_place += MarkSizeOf(text);
    m_spaceBegin = OffsetOf(m_place);
}

// --- White space and comments

// Up to the next token, and past it.
bool FormatWalk::PassSpace()
{
    m_comments.clear();
    m_mostBreaks = 0;
    const char* p = m_place;
    if (p != m_end && text::Spaces::In(*p))
    {
        const bool isOneBlank = *p == ' ' && p + 1 != m_end && !text::Spaces::In(p[1]);
        p = isOneBlank ? p + 1 : PassLines(p);
    }
    ScannedPart part = PartAt(p);
    if (part.m_kind != PartKind::Token) [[unlikely]]
    {
        while (part.m_kind == PartKind::Comment)
        {
            PassComment(p, part.m_past);
            p = PassLines(part.m_past);
            part = PartAt(p);
        }
        if (part.m_kind == PartKind::Wrong)
            return Refuse(p, part.m_past);
    }
    m_token = part.m_token;
    m_place = part.m_past;
    m_piece = TakePiece(p, m_place);
    return true;
}

ScannedPart FormatWalk::PartAt(const char* p) const
{
    return p == m_end ? ScannedPart{PartKind::Token, TOKEN_END, m_end} : ScanPartHere(m_begin, p, m_end);
}

Piece FormatWalk::TakePiece(const char* p, const char* past)
{
    const Span span{OffsetOf(p), OffsetOf(past)};
    const auto numBreaks = static_cast<unsigned>(std::min<std::size_t>(m_numBreaks - m_numBreaksBefore, 2));
    const Piece piece{m_spaceBegin, span, numBreaks, m_isOff};
    m_spaceBegin = span.m_end;
    m_numBreaksBefore = m_numBreaks;
    m_mostBreaks = std::max(m_mostBreaks, numBreaks);
    return piece;
}

// Past white space, which is most often a line break and an indent.
const char* FormatWalk::PassLines(const char* space)
{
    const char* p = space;
    const std::size_t numBreaks = m_numBreaks;
    while (p != m_end && text::Spaces::In(*p))
    {
        m_numBreaks += *p == '\n' ? 1 : 0;
        p = text::SkipRun<text::Only<' '>>(p + 1, m_end);
    }
    if (m_lineEnd == LineEnd::Unknown && m_numBreaks != numBreaks && !m_isOff)
        NoteLineEnd(space);
    return p;
}

void FormatWalk::PassComment(const char* begin, const char* past)
{
    const std::string_view text(begin, past);
    const bool isHash = *begin == '#';
    const bool isLine = isHash || begin[1] == '/';
    const auto numBreaks = isLine ? 0 : text::Count('\n', begin, past);
    m_comments.push_back({TakePiece(begin, past), isLine, isHash, numBreaks != 0, WidthOf(text)});
    m_numBreaks = m_numBreaksBefore += static_cast<std::size_t>(numBreaks);
    if (isLine && text.size() >= s_shortestSwitch && SaidBy(text) == (m_isOff ? "fmt: on" : "fmt: off"))
        m_isOff = !m_isOff;
}

bool FormatWalk::Refuse(const char* p, const char* past)
{
    const text::ScanFailure failure = text::DescribeScanFailure(p, m_end, p == m_begin || p[-1] == '\n');
    const std::size_t begin = OffsetOf(failure.m_token.m_str.m_p1);
    return Fail(std::string(failure.m_message.view()), {begin, std::max(begin, OffsetOf(past))});
}

// Behind a comment that has a carriage return of its own, a line can end in one way alone.
void FormatWalk::NoteLineEnd(const char* space)
{
    if (space != m_begin && space[-1] == '\r')
        return;
    const char* const end = std::find(space, m_end, '\n');
    m_lineEnd = end != space && end[-1] == '\r' ? LineEnd::CrLf : LineEnd::Lf;
}

// --- Widths

bool FormatWalk::FindBlankBefore() const
{
    constexpr auto bitOf = [](auto... where) { return ((1U << static_cast<int>(where)) | ...); };
    constexpr unsigned always = bitOf(Where::Item, Where::AfterComma, Where::Inside);
    constexpr unsigned inCurly = bitOf(Where::Open, Where::Close);
    constexpr unsigned beforeComment = bitOf(Where::Comma, Where::Close, Where::End);
    const bool isCurly = GetOpening() == TOKEN_LEFT_CURLY;
    unsigned blanks = always | (isCurly ? inCurly : 0);
    if (!m_comments.empty()) [[unlikely]]
        blanks |= beforeComment | (isCurly ? bitOf(Where::Empty) : 0);
    else if (m_isTight) // which is inside of an item
        return false;
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
    const Span token = m_piece.m_span;
    m_flatEnd = m_flatBegin + (m_kind == Kind::Literal ? WidthOf(token.In({m_begin, m_end})) : token.GetSize());
    if (BeginsItem())
    {
        m_keyBegin = m_flatBegin;
        m_isKeyPlain = m_piece.m_numBreaks > 0 || m_comments.empty() || CountBehind() == m_comments.size();
    }
}

void FormatWalk::MeasureComments()
{
    for (const Comment& comment : m_comments)
    {
        m_flatBegin += comment.m_width;
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
    switch (m_kind)
    {
    case Kind::Number:
    case Kind::Literal: return GoTo(State::Done);
    case Kind::Name: return GoTo(State::Name);
    case Kind::Sign: return TakeSign();
    case Kind::Opening: return GoTo(State::FirstItem);
    default: return Expect("value");
    }
}

// A sign and the number right behind it are one piece.
bool FormatWalk::TakeSign()
{
    if (m_place == m_end || !text::HasProperty(*m_place, text::CHAR_DIGIT))
        return GoTo(State::Sign);
    const ScannedPart part = ScanPartHere(m_begin, m_place, m_end);
    if (part.m_kind != PartKind::Token)
        return GoTo(State::Sign);
    m_place = part.m_past;
    m_piece.m_span.m_end = m_spaceBegin = OffsetOf(m_place);
    m_kind = Kind::Number;
    return GoTo(State::Done);
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
        return m_kind == Kind::Number || m_kind == Kind::Name ? GoTo(State::Done) : Expect("number");
    case State::Dot: m_isTight = true; return m_token == TOKEN_IDENTIFIER ? GoTo(State::Name) : Expect("identifier");
    case State::Name:
        m_isTight = m_token == TOKEN_DOT || m_token == TOKEN_COLON_COLON;
        if (m_isTight)
            return GoTo(State::Dot);
        m_isTight = m_token == TOKEN_LEFT_PAREN;
        if (m_levels.empty() ? m_token == TOKEN_LEFT_CURLY || m_token == TOKEN_LEFT_PAREN
                             : m_token != TOKEN_IDENTIFIER || GetOpening() != TOKEN_LEFT_CURLY || !IsBeforeEqualsSign())
        {
            if (CanBeginValue(m_kind))
                return TakeValue();
        }
        return TakeWhatFollows();
    case State::Done: return TakeWhatFollows();
    }
    return false;
}

bool FormatWalk::Next()
{
    if (m_kind == Kind::Opening)
    {
        m_levels.push_back({m_token});
        m_opening = m_token;
    }
    else if (m_kind == Kind::Closing)
        Leave();
    m_isTight = m_isSeparator = false;
    if (!PassSpace())
        return false;
    m_kind = s_kinds[static_cast<std::size_t>(m_token - TOKEN_END)];
    if (!Take())
        return false;
    Measure();
    return true;
}

void FormatWalk::Leave()
{
    m_levels.pop_back();
    m_opening = m_levels.empty() ? TOKEN_UNDEF : m_levels.back().m_opening;
    m_isKeyPlain = false;
    m_kind = Kind::Other;
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
