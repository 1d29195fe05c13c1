#include <klUtils/KelmAssertionError.h>

#include <klUtils/MessageOf.h>

namespace kelm
{

KelmAssertionError::KelmAssertionError(ConstStringZ condition, ConstStringZ file, int line)
    : MessageException(MessageOf("assertion failed: ", condition, " (", file, ":", line, ")"))
    , m_condition(condition)
    , m_file(file)
    , m_line(line)
{
}

KelmAssertionError::~KelmAssertionError() = default;

void ThrowKelmAssertionError(ConstStringZ condition, ConstStringZ file, int line)
{
    throw KelmAssertionError(condition, file, line);
}

} // namespace kelm
