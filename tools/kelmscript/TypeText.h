#pragma once

#include <klObject/types/ReflectionByteCode.h>

#include <string>

namespace kelm::tool
{

// A reflected type as C++ would write it: "xvector<int32>", "const xstring&", "float64[3][2]". Metadata is passed over;
// of a named type the registered name is written, whether or not it is known. A null byte code is "void".
std::string TypeText(ReflectionByteCode type);

} // namespace kelm::tool
