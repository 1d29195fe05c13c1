#pragma once

// Variables of reflected types, copied as far as they are described.

#include <kelm/Slot.h>
#include <kelm/api.h>
#include <klObject/types/ReflectionByteCode.h>

namespace kelm::evaluation
{

// Whether a variable of that type can become equal to another: nothing of it is const.
bool CanBeAssigned(ReflectionByteCode type);

// Makes a new variable equal to another one of its type. What unique pointers lead to is copied too, what shared ones
// and handles lead to is shared. Where it throws, the new one is a variable still.
KELM_API void CopyVariable(ReflectionByteCode type, void* to, const void* from);

// Exchanges two variables of a type that can be assigned.
void ExchangeVariables(ReflectionByteCode type, void* a, void* b) noexcept;

// The type of a place, of an object itself too, which has no byte code of its own.
class TypeAt
{
public:
    explicit TypeAt(const Slot& place);
    TypeAt(const TypeAt&) = delete;
    TypeAt& operator=(const TypeAt&) = delete;

    const ReflectionByteCode& Get() const { return m_type; }

private:
    static constexpr uint8 s_class[] = {FT_CLASS, 0, 0};

    ConstStringZ m_name[1] = {};
    ReflectionByteCode m_type;
};

} // namespace kelm::evaluation
