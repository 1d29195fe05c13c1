#pragma once

// The built-in names of the language: what each takes in its brackets, and what it makes of that.

#include <klKelmScript/private/KSValueOperations.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>

#include <span>

namespace kelm
{

enum class Argument : uint8
{
    None, // no brackets: a constant
    Any,
    Float,
    PositiveFloat,
};

struct BuiltIn
{
    SubString m_name;
    ConstStringZ m_summary; // for help
    Argument m_argument;
    bool m_constant = false;
    void (*m_apply)(KSValue& literal) = nullptr; // in place of an argument of any kind
    double (*m_function)(double) = nullptr;      // of a float
};

// All of them, in an order for readers.
KLKELMSCRIPT_API std::span<const BuiltIn> GetBuiltIns();

// The one of that name, or null.
KLKELMSCRIPT_API const BuiltIn* FindBuiltIn(SubString name);

} // namespace kelm
