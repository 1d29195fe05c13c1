#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript lsp`. Modules are loaded by the process beside the server.
int RunLsp(const Options& options);

} // namespace kelm::tool
