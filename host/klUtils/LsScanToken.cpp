#include <klUtils/LsScanToken.h>

#include <klUtils/LexScannerException.h>
#include <klUtils/private/Scan.h>
#include <klUtils/xostream.h>

#include <algorithm>

namespace kelm
{

namespace scan
{

namespace
{

// The offending characters as a token of no kind, for the error's place and text.
LSToken OffendingToken(const char* start, const char* end)
{
    return {TOKEN_UNDEF, {start, end}};
}

} // namespace

void ThrowIllegalCharacter(const char* start)
{
    static constexpr char s_hexDigits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(*start);
    StringStream message(64);
    message << "Illegal character 0x" << s_hexDigits[byte >> 4] << s_hexDigits[byte & 15] << " outside quotes";
    throw LexScannerException(message.GetString(), OffendingToken(start, start + 1));
}

void ThrowMalformedNumber(const char* start, const char* end)
{
    const char* const past =
        std::find_if_not(start, end, [](char c) { return HasProperty(c, CHAR_IDENTIFIER) || c == '.'; });
    StringStream message(64);
    message << "Malformed number " << LSToken{TOKEN_INTEGER, {start, past}};
    throw LexScannerException(message.GetString(), OffendingToken(start, past));
}

void ThrowUnterminatedLiteral(const char* start)
{
    throw LexScannerException("Unterminated string literal", OffendingToken(start, start + 1));
}

void ThrowUnterminatedComment(const char* start)
{
    throw LexScannerException("Unterminated comment", OffendingToken(start, start + 2));
}

} // namespace scan

LSToken LsScanToken(SubString& s, bool atLineStart)
{
    const char* p = s.m_p1;
    const LSToken token = scan::ScanToken(p, s.m_p2, atLineStart);
    s.m_p1 = p;
    return token;
}

int64 GetLineNumber(SubString text, const char* pos)
{
    return 1 + std::count(text.m_p1, std::clamp(pos, text.m_p1, text.m_p2), '\n');
}

} // namespace kelm
