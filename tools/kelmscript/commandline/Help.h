#pragma once

#include "Options.h"

namespace kelm::tool
{

// `kelmscript help`
int RunHelp(const Options& options);

} // namespace kelm::tool
