#pragma once

#include <klObject/types/ReflectionByteCode.h>

namespace kelm
{

// The order of two types: by the codes of the underlying types, then by what follows these. Names are compared as
// texts, since each string table has its own.
int CompareTypes(ReflectionByteCode a, ReflectionByteCode b);

} // namespace kelm
