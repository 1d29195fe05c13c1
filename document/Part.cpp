#include <kelmDocument/Part.h>

#include <kelmDocument/private/ScanPartHere.h>

namespace kelm
{

namespace
{

// One that goes on to the end of its line, which is in front of the line break.
ScannedPart LineCommentTo(const char* past, const char* end)
{
    const bool isBeforeBreak = past != end && *past == '\n' && past[-1] == '\r';
    return {PartKind::Comment, TOKEN_UNDEF, past - (isBeforeBreak ? 1 : 0)};
}

} // namespace

[[gnu::noinline]] ScannedPart ScanAnyPart(const char* begin, const char* p, const char* end)
{
    // Most are comments.
    const char second = *p == '/' && p + 1 != end ? p[1] : '\0';
    if (second == '/' || (*p == '#' && p != begin && p[-1] == '\n'))
        return LineCommentTo(text::SkipLine(p, end), end);
    if (second == '*')
        if (const char* const past = text::SkipBlockComment(p, end); past != nullptr)
            return {PartKind::Comment, TOKEN_UNDEF, past};
    const std::string_view all(begin, static_cast<std::size_t>(end - begin));
    const bool hasMark = all.starts_with(s_byteOrderMark);
    const char* const behindMark = begin + (hasMark ? s_byteOrderMark.size() : 0);
    if (p == begin && hasMark)
        return {PartKind::Mark, TOKEN_UNDEF, behindMark};
    text::Lexeme lexeme;
    if (!text::Scan(p, end, p == behindMark || p[-1] == '\n', lexeme))
        return {PartKind::Wrong, TOKEN_UNDEF, text::SkipWrong(p, end)};
    if (text::IsComment(lexeme.m_kind))
        return LineCommentTo(lexeme.m_past, end);
    return {PartKind::Token, lexeme.m_kind, lexeme.m_past};
}

Part ScanPart(std::string_view text, std::size_t at)
{
    const char* const begin = text.data();
    const ScannedPart part = ScanPartHere(begin, begin + at, begin + text.size());
    return {part.m_kind, part.m_token, {at, static_cast<std::size_t>(part.m_past - begin)}};
}

} // namespace kelm
