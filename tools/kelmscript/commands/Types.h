#pragma once

#include "../commandline/Options.h"

#include <string>

namespace kelm::tool
{

// Writes the names of all that is registered, by kind.
void ListTypes();

// Writes one type or function as C++ would declare it, with offsets and releases. The name may be the last part of a
// qualified one. False, after an error was reported, where it is that of none or of several.
bool ShowType(const std::string& name);

// `kelmscript types` and `schema`
int RunTypes(const Options& options);
int RunSchema(const Options& options);

} // namespace kelm::tool
