#pragma once

// From any C++ type that a field may have to its byte code, registered: TypeOf<std::vector<Order>>().

#include <klObject/describe/FieldType.h>
#include <klObject/describe/RegisterUsed.h>
#include <klObject/types/ReflectionByteCode.h>

namespace kelm
{

template <class T>
inline constexpr TypeTables<FieldType<T>> s_tablesOfType{};

// Registers T where that is described, and what it is made of.
template <class T>
void EnsureRegistered()
{
    static const bool s_isRegistered = RegisterUsed(s_tablesOfType<T>.m_uses.data());
    static_cast<void>(s_isRegistered);
}

template <class T>
ReflectionByteCode TypeOf()
{
    EnsureRegistered<T>();
    return {s_tablesOfType<T>.ByteCode(0), s_tablesOfType<T>.m_names.data(), s_tablesOfType<T>.Functions(0)};
}

} // namespace kelm
