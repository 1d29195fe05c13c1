#include <klUtils/text/ParserBase.h>

#include <klUtils/text/private/Cursor.h>
#include <klUtils/text/private/TypedReads.h>

namespace kelm
{

void ParserBase::ReadToken(bool atLineStart)
{
    if (!text::FindTokenHere(m_str.m_p1, m_str.m_p2, atLineStart, m_token)) [[unlikely]]
        text::ThrowScanFailure(m_str.m_p1, m_str.m_p2, atLineStart);
    m_str.m_p1 = m_token.m_str.m_p2;
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

void ParserBase::ThrowAtToken(const xstring& description) const
{
    throw LexScannerException(description, m_token);
}

void ParserBase::ThrowExpectedException(ConstStringZ what) const
{
    text::Cursor(*this).ThrowExpected(what);
}

xstring ParserBase::ParseIdentifier()
{
    text::ParserCursor cursor(*this);
    return xstring(text::ReadIdentifier(cursor));
}

xstring ParserBase::ParsePath()
{
    text::ParserCursor cursor(*this);
    return text::ReadPath(cursor);
}

} // namespace kelm
