#pragma once

#include <kelm/api.h>
#include <klObject/types/ReflectionByteCode.h>

#include <string>

namespace kelm
{

// A reflected type as C++ would write it: "xvector<int32>", "const xstring&", "float64[3][2]". Metadata is passed over;
// of a named type the registered name is written, whether or not it is known. A null byte code is "void".
KELM_API std::string TypeText(ReflectionByteCode type);

} // namespace kelm
