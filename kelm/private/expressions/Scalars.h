#pragma once

// The steps of typed programs: operations on numbers and bools whose kinds are known, in registers.

#include <kelm/private/expressions/Program.h>
#include <klObject/types/ETypeByteCode.h>

#include <cstddef>

namespace kelm::evaluation
{

// Where an operand of known kind is.
enum class From : uint8
{
    Register,
    Stack, // a left one, whose right one is in the register
    Memory,
    Parameter, // so many octets behind the beginning of the parameters
};

// Replaces two numbers by what the operator gives of them; null where there is no step for it. What is in memory is a
// float64 or an int64.
Step FindCombination(std::size_t token, Kind leftKind, From left, Kind rightKind, From right);

// The kind of a combination's result.
Kind KindOfCombination(std::size_t token, Kind left, Kind right);

// The kind of value that a variable of a scalar type has; None of one that is none, or may not fit.
Kind KindOfScalar(ETypeByteCode type);

// A variable of a scalar type, in m_left: into the register or a slot. Parameters are of the types of their kinds.
Step LoadStep(ETypeByteCode type);
Step PushStep(ETypeByteCode type);
Step LoadParameterStep(Kind kind);
Step PushParameterStep(Kind kind);

// m_offset octets behind the address in the register.
Step LoadAtAddressStep(ETypeByteCode type);

// The register to a slot, and back.
Step SpillStep(Kind kind);
Step UnspillStep(Kind kind);

// Of the register.
Step NegateStep(Kind kind);
Step ComplementStep();
Step NotStep();
Step ToFloatStep(); // an integer

// m_function of the register's float; outside of its domain the general operation m_code, whose m_index is m_count,
// says what is wrong.
Step FunctionStep(Domain domain);

// The least or greatest of m_count numbers of one kind, which are in slots.
Step ExtremeStep(bool isLeast, Kind kind);

// Branches.
Step JumpIfNotStep();
Step AndJumpStep(bool isInSlot); // where it jumps, the bool goes on in a slot
Step OrJumpStep(bool isInSlot);
Step SpillAndJumpStep(Kind kind);

// The address of a place into the register: a parameter's (m_index), that of a slot from the stack's bottom (m_index),
// an element's of a list (the known place m_index) whose index is a variable, a parameter, or in the register.
Step ParameterAddressStep();
Step ObjectAddressStep(); // the object that a Value, m_left, is then
Step LocalAddressStep();
Step ElementStep(From index);
Step ElementOfSlotStep(); // the list is in a slot

// The known place m_index, in a slot; or one of its type, m_offset octets behind the address in the register.
Step PushPlaceStep();
Step SpillPlaceStep();

Step EndStep(Kind kind);

} // namespace kelm::evaluation
