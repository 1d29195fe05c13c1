#pragma once

#include <klUtils/api.h>

namespace kelm
{

// Keeps the module, a shared library or a program, in which the address lies mapped until the process ends, however
// often it is closed. Whoever keeps pointers into modules says so of each. An address in no module is let through.
KLUTILS_API void KeepMapped(const void* address);

} // namespace kelm
