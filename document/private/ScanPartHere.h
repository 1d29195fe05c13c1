#pragma once

// ScanPart for those who want what is short and common inlined. What a part is depends on the characters from it on, on
// whether a line begins there, and on nothing else; so reading may begin at any part.

#include <kelmDocument/Part.h>
#include <klUtils/text/private/Scan.h>

namespace kelm
{

inline constexpr std::string_view s_byteOrderMark = "\xEF\xBB\xBF";

// So many octets behind a part can decide where it ends, at most: of "1" those of "e+5".
inline constexpr std::size_t s_longestLook = 4;

// Of a part what is not its beginning.
struct ScannedPart
{
    PartKind m_kind;
    EToken m_token;
    const char* m_past;
};

ScannedPart ScanAnyPart(const char* begin, const char* p, const char* end);

// The part at `p`, in the text that begins at `begin`.
[[gnu::always_inline]] inline ScannedPart ScanPartHere(const char* begin, const char* p, const char* end)
{
    if (text::Spaces::In(*p))
        return {PartKind::Space, TOKEN_UNDEF, text::SkipSpace(p, end)};
    text::Lexeme lexeme;
    if (text::TryScanHere(p, end, lexeme))
        return {PartKind::Token, lexeme.m_kind, lexeme.m_past};
    if (text::StartOf(*p) == text::Start::Digit)
    {
        const char* past = p + 1;
        while (past != end && text::HasProperty(*past, text::CHAR_DIGIT))
            ++past;
        const bool hasPoint = past != end && *past == '.';
        if (hasPoint)
            do
                ++past;
            while (past != end && text::HasProperty(*past, text::CHAR_DIGIT));
        if (past == end || !text::HasProperty(*past, text::CHAR_IN_NUMBER))
            return {PartKind::Token, hasPoint ? TOKEN_FLOAT : TOKEN_INTEGER, past};
    }
    return ScanAnyPart(begin, p, end);
}

} // namespace kelm
