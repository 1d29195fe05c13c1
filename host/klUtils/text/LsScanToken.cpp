#include <klUtils/text/LsScanToken.h>

#include <klUtils/text/private/Scan.h>

#include <algorithm>

namespace kelm
{

LSToken LsScanToken(SubString& s, bool atLineStart)
{
    text::Lexeme lexeme;
    if (!text::Scan(s.m_p1, s.m_p2, atLineStart, lexeme))
        text::ThrowScanFailure(s.m_p1, s.m_p2, atLineStart);
    s.m_p1 = lexeme.m_past;
    return lexeme.GetToken();
}

int64 GetLineNumber(SubString text, const char* pos)
{
    return 1 + text::Count('\n', text.m_p1, std::clamp(pos, text.m_p1, text.m_p2));
}

} // namespace kelm
