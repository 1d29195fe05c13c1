#include <klUtils/LiteralException.h>

namespace kelm
{

LiteralException::~LiteralException() = default;

} // namespace kelm
