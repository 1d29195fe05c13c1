#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript set`, `unset`, `add` and `mv`: changes of files where their values are written
int RunSet(const Options& options);
int RunUnset(const Options& options);
int RunAdd(const Options& options);
int RunMove(const Options& options);

} // namespace kelm::tool
