#pragma once

#include <kelmLanguage/Types.h>

#include <string>
#include <vector>

namespace kelm::tool
{

// Registers the library's own types, then loads the modules that KELMSCRIPT_MODULES names (colons between them; whole
// paths, or names of files in the folders of KELMSCRIPT_MODULE_PATH) and those given, each once, and calls their
// Register_Project_NAME, where NAME is that of the file libNAME.so. False, after an error was reported, where one
// cannot be loaded. Modules stay loaded until the process ends.
bool LoadModules(const std::vector<std::string>& modules);

// Registers the types that catalogues tell of, files that `types --dump` and kelm::WriteTypes write. False, after an
// error was reported, where that cannot be.
bool LoadTypes(const std::vector<std::string>& catalogues);

// The same, where nothing is reported: empty, or why not.
std::string TryLoadTypes(const std::vector<std::string>& catalogues);

// The types that are registered since catalogues told of them, as they told it: what is registered has neither all of
// that, nor the size and the offsets of the types themselves.
const language::Types& ToldTypes();

// The files that LoadModules would load, or look for.
std::vector<std::string> FilesOfModules(const std::vector<std::string>& modules);

} // namespace kelm::tool
