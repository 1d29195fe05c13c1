#pragma once

// Applies the operations of a recorded expression.

#include <kelm/Expression.h>
#include <kelm/Slot.h>
#include <kelm/private/Program.h>

#include <cstddef>

namespace kelm::evaluation
{

struct Evaluation
{
    const Program* m_program;
    const Record* const* m_records; // the program's own, or those of the same names in another scope
    const Scope* m_scope;
    const Slot* m_parameters;
};

// False, with why and where, where the expression has no value or the receiver refuses it. What a program's functions
// throw passes through.
bool Execute(const Evaluation& evaluation, const Receiver& receiver, Failure& failure, std::size_t& place);

} // namespace kelm::evaluation
