#include <klUtils/IException.h>

namespace kelm
{

IException::~IException() = default;

} // namespace kelm
