#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kelm::language
{

// "a b" as "a%20b", slashes as they are.
std::string PercentEncoded(std::string_view path);

// "/a b" as "file:///a%20b".
std::string UriOfPath(std::string_view path);

// Nothing of what is no file here.
std::optional<std::string> PathOfUri(std::string_view uri);

} // namespace kelm::language
