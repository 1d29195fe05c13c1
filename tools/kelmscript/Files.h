#pragma once

#include "Source.h"

#include <optional>
#include <string>
#include <string_view>

namespace kelm::tool
{

// The whole of a file, "-" being standard input. Nothing, after an error was reported, where it cannot be read.
std::optional<SourceText> ReadFile(const std::string& path);

// Gives a file new contents, whole or not at all: they are written beside it and take its place, its permissions and
// (through symbolic links) its name. False, after an error was reported, where that cannot be done.
bool ReplaceFile(const std::string& path, std::string_view contents);

} // namespace kelm::tool
