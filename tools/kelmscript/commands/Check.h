#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript check`
int RunCheck(const Options& options);

} // namespace kelm::tool
