#include <kelmDocument/Part.h>

#include <kelmDocument/private/ScanPartHere.h>

namespace kelm
{

[[gnu::noinline]] ScannedPart ScanAnyPart(const char* begin, const char* p, const char* end)
{
    const std::string_view all(begin, static_cast<std::size_t>(end - begin));
    const bool hasMark = all.starts_with(s_byteOrderMark);
    const char* const behindMark = begin + (hasMark ? s_byteOrderMark.size() : 0);
    if (p == begin && hasMark)
        return {PartKind::Mark, TOKEN_UNDEF, behindMark};
    text::Lexeme lexeme;
    if (!text::Scan(p, end, p == behindMark || p[-1] == '\n', lexeme))
        return {PartKind::Wrong, TOKEN_UNDEF, text::SkipWrong(p, end)};
    if (text::IsComment(lexeme.m_kind))
    {
        const bool isBeforeBreak = lexeme.m_past != end && *lexeme.m_past == '\n' && lexeme.m_past[-1] == '\r';
        return {PartKind::Comment, TOKEN_UNDEF, lexeme.m_past - (isBeforeBreak ? 1 : 0)};
    }
    return {PartKind::Token, lexeme.m_kind, lexeme.m_past};
}

Part ScanPart(std::string_view text, std::size_t at)
{
    const char* const begin = text.data();
    const ScannedPart part = ScanPartHere(begin, begin + at, begin + text.size());
    return {part.m_kind, part.m_token, {at, static_cast<std::size_t>(part.m_past - begin)}};
}

} // namespace kelm
