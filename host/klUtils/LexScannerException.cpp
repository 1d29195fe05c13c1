#include <klUtils/LexScannerException.h>

#include <klUtils/text/LsScanToken.h>
#include <klUtils/text/private/Messages.h>
#include <klUtils/xostream.h>

namespace kelm
{

LexScannerException::LexScannerException(const xstring& description, LSToken t)
    : MessageException(description), m_lineNumber(-1), m_pos(t.m_str.m_p1)
{
}

LexScannerException::LexScannerException(const LexScannerException& other) = default;
LexScannerException& LexScannerException::operator=(const LexScannerException& other) = default;
LexScannerException::~LexScannerException() = default;

void LexScannerException::Write(xostream& os) const
{
    if (!m_filename.empty())
        os << m_filename << ": ";
    if (m_lineNumber >= 0)
        text::WriteLineBefore(os, m_lineNumber);
    os << m_description;
}

void LexScannerException::LocateIn(SubString text)
{
    if (m_lineNumber < 0)
        m_lineNumber = GetLineNumber(text, m_pos);
}

xstring LexScannerException::GetWrittenText() const
{
    StringStream written(256);
    Write(written);
    return written.GetString();
}

} // namespace kelm
