#pragma once

// What is said of a name that stands for nothing where it is written: what it is elsewhere, or which names are near.

#include <kelm/Slot.h>

#include <cstddef>
#include <string_view>

namespace kelm
{
class Scope;
}

namespace kelm::evaluation
{

// Of a name alone. Always false.
[[gnu::cold]] bool FailUnknownName(const Scope* scope, std::string_view name, Failure& failure);

// Of a member that an object does not have. Always false: the failure says more where it is a function.
[[gnu::cold]] bool FailMember(const Scope* scope, std::string_view name, Failure& failure);

// In the text that is being recorded: of a name alone, and of one behind an object, as a function of that.
[[noreturn, gnu::cold]] void ThrowUnknownName(const Scope* scope, std::string_view name, std::size_t place);
[[noreturn, gnu::cold]] void ThrowUnknownMember(const Scope* scope, std::string_view name, std::size_t place);

} // namespace kelm::evaluation
