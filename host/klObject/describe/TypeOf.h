#pragma once

// From any C++ type that a field may have to its byte code, registered: TypeOf<std::vector<Order>>().

#include <klObject/describe/FieldType.h>
#include <klObject/describe/RegisterUsed.h>
#include <klObject/describe/StructMember.h>
#include <klObject/types/ReflectionByteCode.h>

namespace kelm
{

template <class T>
inline constexpr bool s_isDescribable = FieldType<T>::Obstacle == EObstacle::None;

template <class T>
requires s_isDescribable<T>
inline constexpr TypeTables<FieldType<T>> s_tablesOfType{};

// Registers T where that is described, and what it is made of.
template <class T>
void EnsureRegistered()
{
    static const bool s_isRegistered = RegisterUsed(s_tablesOfType<T>.m_uses.data());
    static_cast<void>(s_isRegistered);
}

// Whether it is: where not, with the one message. Whoever asks leaves the rest out then.
template <class T>
constexpr bool CheckDescribable()
{
    static_assert(
        s_isDescribable<T>,
        "the type is neither a number or text, nor described (KELM_DESCRIBE, KELM_DESCRIBE_ENUM), nor made of "
        "such; pointers, and views of what others own, cannot be described");
    return s_isDescribable<T> && CheckMembers<T>();
}

template <class T>
ReflectionByteCode TypeOf()
{
    if constexpr (CheckDescribable<T>())
    {
        EnsureRegistered<T>();
        return {s_tablesOfType<T>.ByteCode(0), s_tablesOfType<T>.m_names.data(), s_tablesOfType<T>.Functions(0)};
    }
    else
        return {};
}

} // namespace kelm
