#pragma once

// s_typeOf<T>: a C++ type as the rooms below know it. HoldsHandles<T>: whether collected objects hang on it.

#include <klObject/describe/Describe.h>
#include <klObject/describe/TypeOf.h>

#include <array>
#include <cstddef>
#include <type_traits>

namespace kelm
{

template <class T>
concept DescribedClass = Described<T> && std::is_base_of_v<ClassDescription, Description<T>>;

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

// A type as what it is made of: types may be made of each other in circles.
struct TypeParts
{
    bool m_isHandle = false;
    const TypeParts* const* m_parts = nullptr; // ends with a null; null itself where there are none
};

template <class T>
struct PartsOf
{
    static constexpr TypeParts s_parts = {};
};

template <class... Ts>
struct PartsOfAll
{
    static constexpr const TypeParts* s_all[] = {&PartsOf<std::remove_cv_t<Ts>>::s_parts..., nullptr};
    static constexpr TypeParts s_parts = {false, s_all};
};

template <template <class...> class Container, class... Ts>
requires(!Described<Container<Ts...>>) struct PartsOf<Container<Ts...>> : PartsOfAll<Ts...>
{
};
template <class T, std::size_t N>
struct PartsOf<std::array<T, N>> : PartsOfAll<T>
{
};
template <class T, std::size_t N>
struct PartsOf<T[N]> : PartsOfAll<T>
{
};

struct HandleParts
{
    static constexpr TypeParts s_parts = {true, nullptr};
};
template <class I>
struct PartsOf<ptr<I>> : HandleParts
{
};
template <class C>
struct PartsOf<pref<C>> : HandleParts
{
};
template <>
struct PartsOf<prefbase> : HandleParts
{
};

template <class T>
struct PartOfField;
template <class T>
struct PartOfField<FieldType<T>>
{
    static constexpr const TypeParts* s_part = &PartsOf<std::remove_cv_t<T>>::s_parts;
};
template <>
struct PartOfField<NoFieldType>
{
    static constexpr TypeParts s_none = {};
    static constexpr const TypeParts* s_part = &s_none;
};

template <class... Ms>
struct PartsOfMembers
{
    static constexpr const TypeParts* s_all[] = {PartOfField<typename Ms::FieldTypeOf>::s_part..., nullptr};
    static constexpr TypeParts s_parts = {false, s_all};
};
template <class... Ms>
PartsOfMembers<Ms...> PartsOfList(const MemberList<Ms...>&);

template <Described T>
requires std::is_base_of_v<ClassDescription, Description<T>>
struct PartsOf<T> : decltype(PartsOfList(Description<T>::Members()))
{
};

// The types that have been looked at.
struct SeenParts
{
    static constexpr std::size_t s_most = 1024;

    const TypeParts* m_seen[s_most] = {};
    std::size_t m_count = 0;
};

constexpr bool HasHandle(const TypeParts& type, SeenParts& seen)
{
    if (type.m_isHandle || type.m_parts == nullptr)
        return type.m_isHandle;
    for (std::size_t i = 0; i < seen.m_count; ++i)
        if (seen.m_seen[i] == &type)
            return false;
    if (seen.m_count < SeenParts::s_most)
        seen.m_seen[seen.m_count++] = &type;
    for (const TypeParts* const* part = type.m_parts; *part != nullptr; ++part)
        if (HasHandle(**part, seen))
            return true;
    return false;
}

// Whether a T holds handles of collected objects, at any depth.
template <class T>
inline constexpr bool HoldsHandles = []
{
    SeenParts seen;
    return HasHandle(PartsOf<T>::s_parts, seen);
}();

} // namespace kelm
