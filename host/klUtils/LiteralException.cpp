#include <klUtils/LiteralException.h>

#include <klUtils/xostream.h>

namespace kelm
{

LiteralException::LiteralException(ConstStringZ description) : m_description(description) {}

LiteralException::LiteralException(const xstring& description) : m_description(description) {}

LiteralException::~LiteralException() = default;

void LiteralException::Write(xostream& os) const
{
    os << m_description;
}

const char* LiteralException::what() const noexcept
{
    return m_description.c_str();
}

} // namespace kelm
