#include <klUtils/ParserBase.h>

#include <klUtils/private/Scan.h>
#include <klUtils/xostream.h>

namespace kelm
{

[[gnu::always_inline]] inline void ParserBase::ReadToken(bool atLineStart)
{
    const char* p = m_str.m_p1;
    const char* start = p;
    EToken kind = scan::ScanToken(p, start, m_str.m_p2, atLineStart);
    while (scan::IsComment(kind))
        [[unlikely]] kind = scan::ScanToken(p, start, m_str.m_p2, false);
    m_token = {kind, {start, p}};
    m_str.m_p1 = p;
}

void ParserBase::Init(SubString text)
{
    m_str = text;
    m_token = {TOKEN_UNDEF, {text.m_p1, text.m_p1}};
    m_prevToken = m_token;
    ReadToken(true);
}

void ParserBase::ReadNextToken()
{
    m_prevToken = m_token;
    ReadToken(false);
}

void ParserBase::ContinueBehind(const char* lastToken)
{
    m_str.m_p1 = lastToken;
    ReadToken(false);
    ReadNextToken();
}

void ParserBase::ThrowAtToken(const xstring& description) const
{
    throw LexScannerException(description, m_token);
}

void ParserBase::ThrowExpectedException(ConstStringZ what) const
{
    StringStream message(4096);
    message << "Expected " << what << " when read " << m_token;
    ThrowAtToken(message.GetString());
}

xstring ParserBase::ParseIdentifier()
{
    if (m_token.m_type != TOKEN_IDENTIFIER)
        ThrowExpectedException("identifier");
    xstring text(m_token.m_str);
    ReadNextToken();
    return text;
}

xstring ParserBase::ParsePath()
{
    xstring path;
    while (true)
    {
        if (m_token.m_type != TOKEN_IDENTIFIER)
            ThrowExpectedException("identifier");
        path.append(m_token.m_str);
        ReadNextToken();
        if (m_token.m_type != TOKEN_COLON_COLON && m_token.m_type != TOKEN_DOT)
            return path;
        path.append("::", 2);
        ReadNextToken();
    }
}

} // namespace kelm
