#pragma once

#include "Options.h"

namespace kelm::tool
{

// `kelmscript manual`: pages for man, of what help tells.
int RunManual(const Options& options);

} // namespace kelm::tool
