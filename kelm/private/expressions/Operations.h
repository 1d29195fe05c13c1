#pragma once

// What the operators, signs and built-in functions make of values, in each of the languages. The functions are those of
// script values, but for what the natural language has of its own.

#include <kelm/Language.h>
#include <kelm/Slot.h>
#include <klKelmScript/private/BuiltIns.h>
#include <klKelmScript/private/Operators.h>
#include <klUtils/types.h>

#include <cstddef>
#include <string>

namespace kelm::evaluation
{

inline constexpr std::size_t s_numTokenIndices = TOKEN_HASH - TOKEN_END + 1;
constexpr std::size_t IndexOfToken(EToken token)
{
    return static_cast<std::size_t>(token - TOKEN_END);
}

// The right operand is released where this succeeds; where it does not, both stay as they are.
using BinaryFunction = bool (*)(Slot& a, Slot& b, std::size_t token, Failure& failure);
using PrefixFunction = bool (*)(Slot& a, std::size_t token, Failure& failure);

struct Operations
{
    BinaryFunction m_binary[s_numTokenIndices] = {}; // by the operator; of an assignment, what it combines by
    PrefixFunction m_prefix[s_numTokenIndices] = {};
};

extern const Operations s_operations[2]; // by Language

inline const Operations& OperationsOf(Language language)
{
    return s_operations[static_cast<int>(language)];
}

// A built-in function of the language, of its one argument.
bool ApplyBuiltIn(Language language, const BuiltIn& builtIn, Slot& a, Failure& failure);

// A variable of a scalar or text type becomes its value; every other value stays.
bool Load(Slot& slot, Failure& failure);

// False, with the error that a value does not become a thing of that name.
bool FailConversion(Failure& failure, const Slot& slot, ConstStringZ name);

// As for messages: "float64", "string", the name of a class.
std::string NameOfType(const Slot& slot);
// Of a place, as its variable is declared: "float32", "integer".
std::string NameOfVariable(const Slot& place);

// A value as messages show it.
std::string Written(const Slot& slot);

} // namespace kelm::evaluation
