#pragma once

// s_typeOf<T>: a C++ type as the rooms below know it. HoldsHandles<T>: whether collected objects hang on it.

#include <klObject/describe/Describe.h>
#include <klObject/describe/TypeOf.h>
#include <klObject/describe/TypeParts.h>

#include <type_traits>

namespace kelm
{

// A type that is registered on first use. Constant data but for that.
struct UsedType
{
    // Throws TypeNameException where another type has the name already.
    ReflectionByteCode Get() const
    {
        m_ensureRegistered();
        return {m_bc, m_stringTable, m_mapOrSetFns};
    }

    const uint8* m_bc;
    const ConstStringZ* m_stringTable;
    const PtrMapOrSetFns* m_mapOrSetFns;
    void (*m_ensureRegistered)();
    const ReflectedClass* m_class; // which this program describes; null for others
};

template <class T>
constexpr const ReflectedClass* ClassOf()
{
    if constexpr (DescribedClass<T>)
        return &RecordOf<T>::s_record;
    else
        return nullptr;
}

template <class T>
inline constexpr UsedType s_typeOf = {s_tablesOfType<T>.ByteCode(0), s_tablesOfType<T>.m_names.data(),
                                      s_tablesOfType<T>.Functions(0), EnsureRegistered<T>, ClassOf<T>()};

// --- handles

template <class T>
struct IsHandle
{
    static constexpr bool s_has = false;
    static constexpr bool s_isWhole = false;
};
struct IsHandleItself
{
    static constexpr bool s_has = true;
    static constexpr bool s_isWhole = true;
};
template <class I>
struct IsHandle<ptr<I>> : IsHandleItself
{
};
template <class C>
struct IsHandle<pref<C>> : IsHandleItself
{
};
template <>
struct IsHandle<prefbase> : IsHandleItself
{
};

// Whether a T holds handles of collected objects, at any depth.
template <class T>
inline constexpr bool HoldsHandles = HasPart<T, IsHandle>;

} // namespace kelm
