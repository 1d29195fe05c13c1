#pragma once

// The classes as the peers read them, of the standard library's types.

#include "ClassLists.h"

#include <concepts>
#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

namespace plain
{

using String = std::string;
template <class T>
using List = std::vector<T>;
using Counts = std::map<std::string, std::int64_t>;

#include "DefineClasses.inc"

} // namespace plain
