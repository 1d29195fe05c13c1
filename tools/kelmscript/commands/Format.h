#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript fmt`
int RunFormat(const Options& options);

} // namespace kelm::tool
