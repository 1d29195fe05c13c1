#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript convert`
int RunConvert(const Options& options);

} // namespace kelm::tool
