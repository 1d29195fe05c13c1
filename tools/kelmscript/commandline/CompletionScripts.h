#pragma once

#include "Options.h"

namespace kelm::tool
{

// `kelmscript completion`: what shells complete the command line by.
int RunCompletion(const Options& options);

} // namespace kelm::tool
