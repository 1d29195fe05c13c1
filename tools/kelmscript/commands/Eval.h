#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript eval`
int RunEval(const Options& options);

} // namespace kelm::tool
