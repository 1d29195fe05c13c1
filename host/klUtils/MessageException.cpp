#include <klUtils/MessageException.h>

#include <klUtils/xostream.h>

#include <utility>

namespace kelm
{

MessageException::MessageException(xstring description) : m_description(std::move(description)) {}

MessageException::~MessageException() = default;

void MessageException::Write(xostream& os) const
{
    os << m_description;
}

const char* MessageException::what() const noexcept
{
    return m_description.c_str();
}

} // namespace kelm
