#pragma once

#include <kelmLanguage/Types.h>

#include <string>

namespace kelm::language
{

// A JSON Schema (2020-12) of the objects of a class as `kelmscript print --json` writes them and `convert` reads them.
// It says no less than readers ask for, but for what functions check.
std::string SchemaOf(const Types& types, const CatalogueClass& entry);

} // namespace kelm::language
