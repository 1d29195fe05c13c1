#pragma once

// The version of the headers that a program is compiled with, and of the libraries that it runs with. Semantic: before
// 1.0 the minor number says that a program may need changes.

#include <klUtils/api.h>

// The build reads these three lines.
#define KELM_VERSION_MAJOR 0
#define KELM_VERSION_MINOR 1
#define KELM_VERSION_PATCH 0

// One number that grows with the version: 102003 is 10.20.3.
#define KELM_VERSION (KELM_VERSION_MAJOR * 10000 + KELM_VERSION_MINOR * 100 + KELM_VERSION_PATCH)

// The same as text: "0.1.0".
#define KELM_VERSION_TEXT                                                                                              \
    KELM_VERSION_QUOTE(KELM_VERSION_MAJOR)                                                                             \
    "." KELM_VERSION_QUOTE(KELM_VERSION_MINOR) "." KELM_VERSION_QUOTE(KELM_VERSION_PATCH)
#define KELM_VERSION_QUOTE(NUMBER)          KELM_VERSION_QUOTE_AS_IT_IS(NUMBER)
#define KELM_VERSION_QUOTE_AS_IT_IS(NUMBER) #NUMBER

namespace kelm
{

// The version of the library that the program has loaded, as KELM_VERSION and KELM_VERSION_TEXT have it.
KLUTILS_API int GetVersion() noexcept;
KLUTILS_API const char* GetVersionText() noexcept;

} // namespace kelm
