#pragma once

#include "Options.h"

namespace kelm::tool
{

// `kelmscript each`
int RunEach(const Options& options);

} // namespace kelm::tool
