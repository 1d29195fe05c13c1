#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript each`
int RunEach(const Options& options);

} // namespace kelm::tool
