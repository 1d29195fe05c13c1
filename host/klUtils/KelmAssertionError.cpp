#include <klUtils/KelmAssertionError.h>

#include <klUtils/xostream.h>

namespace kelm
{

KelmAssertionError::KelmAssertionError(ConstStringZ condition, ConstStringZ file, int line)
    : m_condition(condition), m_file(file), m_line(line)
{
    StringStream message(256);
    message << "assertion failed: " << m_condition << " (" << m_file << ":" << m_line << ")";
    m_message = message.GetString();
}

KelmAssertionError::~KelmAssertionError() = default;

void KelmAssertionError::Write(xostream& os) const
{
    os << m_message;
}

const char* KelmAssertionError::what() const noexcept
{
    return m_message.c_str();
}

void ThrowKelmAssertionError(ConstStringZ condition, ConstStringZ file, int line)
{
    throw KelmAssertionError(condition, file, line);
}

} // namespace kelm
