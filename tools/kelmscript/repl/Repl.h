#pragma once

#include "../commandline/Options.h"

namespace kelm::tool
{

// `kelmscript repl`: a prompt at a terminal; in a pipe the same without one, whose exit code tells of failures.
int RunRepl(const Options& options);

} // namespace kelm::tool
