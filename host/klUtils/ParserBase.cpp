#include <klUtils/ParserBase.h>

#include <klUtils/private/Scan.h>
#include <klUtils/xostream.h>

namespace kelm
{

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

inline void ParserBase::ReadToken(bool atLineStart)
{
    const char* p = m_str.m_p1;
    LSToken token = scan::ScanToken(p, m_str.m_p2, atLineStart);
    while (scan::IsComment(token.m_type))
        token = scan::ScanToken(p, m_str.m_p2, false);
    m_token = token;
    m_str.m_p1 = p;
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

} // namespace kelm
