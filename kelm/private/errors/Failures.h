#pragma once

// From what goes wrong inside to the one error that leaves.

#include <kelm/Error.h>
#include <kelm/Slot.h>
#include <klUtils/types.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::evaluation
{

// A text that is refused, at the token at a place in it.
struct Rejected
{
    Failure m_failure;
    std::size_t m_place;
};

[[noreturn, gnu::cold]] void ThrowAt(ErrorKind kind, std::string_view message, std::size_t place);

// Where a name does not exist, however long it is.
std::string UnknownMessage(std::string_view name);

std::string CountMessage(std::string_view name, std::size_t count, int32 min, int32 max);

// With the place, its line, and the nearest names.
Error MakeError(std::string_view text, const Failure& failure, std::size_t place, std::string fieldPath = {});

} // namespace kelm::evaluation
