#pragma once

// The built-in names of the language: what each takes in its brackets, and what it makes of that.

#include <klKelmScript/private/KSValueOperations.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/text/private/CharTable.h>
#include <klUtils/text/private/ShortText.h>
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

// Where the name that begins at `p` is that of one of the constants, which are asked for more often than all the rest:
// its end, and the value. Null otherwise.
inline const char* FindConstant(const char* p, const char* end, bool& value)
{
    if (end - p < 4)
        return nullptr;
    const uint32 word = LoadWord<uint32>(p);
    p += 4;
    value = word == WordOf("true");
    if (!value && (word != WordOf("fals") || p == end || *p++ != 'e'))
        return nullptr;
    return p == end || !text::HasProperty(*p, text::CHAR_IDENTIFIER) ? p : nullptr;
}

} // namespace kelm
