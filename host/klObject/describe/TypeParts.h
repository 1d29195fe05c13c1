#pragma once

// HasPart<T, Property>: whether a type, or one of those that it is made of at any depth, has a property. What the
// compiler says of a container of the standard library it says whatever its elements are, and of a class with such a
// member too; so it is the description that is asked.

#include <klObject/describe/Description.h>
#include <klObject/describe/FieldType.h>
#include <klObject/describe/Members.h>
#include <klObject/objects/prefbase.h>

#include <array>
#include <cstddef>
#include <type_traits>

namespace kelm
{

// A type as what it is made of: types may be made of each other in circles.
struct TypeParts
{
    bool m_has = false;                        // the property
    const TypeParts* const* m_parts = nullptr; // ends with a null; null itself where there are none
};

// Property<T>::s_has is that of the type itself. Where Property<T>::s_isWhole, its parts do not matter.
template <class T, template <class> class Property>
struct PartsOf
{
    static constexpr TypeParts s_parts = {Property<T>::s_has};
};

template <class T, template <class> class Property, class... Ts>
struct PartsOfAll
{
    static constexpr const TypeParts* s_all[] = {&PartsOf<std::remove_cv_t<Ts>, Property>::s_parts..., nullptr};
    static constexpr TypeParts s_parts = {Property<T>::s_has, s_all};
};

template <template <class...> class Container, class... Ts, template <class> class Property>
requires(!Described<Container<Ts...>> &&
         !Property<Container<Ts...>>::s_isWhole) struct PartsOf<Container<Ts...>, Property>
    : PartsOfAll<Container<Ts...>, Property, Ts...>
{
};
template <class T, std::size_t N, template <class> class Property>
struct PartsOf<std::array<T, N>, Property> : PartsOfAll<std::array<T, N>, Property, T>
{
};
template <class T, std::size_t N, template <class> class Property>
struct PartsOf<T[N], Property> : PartsOfAll<T[N], Property, T>
{
};

// Of handles what they lead to is no part.
template <class T, template <class> class Property>
struct HandleParts
{
    static constexpr TypeParts s_parts = {Property<T>::s_has};
};
template <class I, template <class> class Property>
struct PartsOf<ptr<I>, Property> : HandleParts<ptr<I>, Property>
{
};
template <class C, template <class> class Property>
struct PartsOf<pref<C>, Property> : HandleParts<pref<C>, Property>
{
};

// By their addresses alone, as those above: a circle may be entered anywhere.
template <class T, template <class> class Property>
struct PartOfField;
template <class T, template <class> class Property>
struct PartOfField<FieldType<T>, Property> : PartsOf<std::remove_cv_t<typename FieldType<T>::Value>, Property>
{
};
template <template <class> class Property>
struct PartOfField<NoFieldType, Property>
{
    static constexpr TypeParts s_parts = {};
};

template <class T, template <class> class Property, class... Ms>
struct PartsOfMembers
{
    static constexpr const TypeParts* s_all[] = {&PartOfField<typename Ms::FieldTypeOf, Property>::s_parts..., nullptr};
    static constexpr TypeParts s_parts = {Property<T>::s_has, s_all};
};
template <class T, template <class> class Property, class... Ms>
PartsOfMembers<T, Property, Ms...> PartsOfList(const MemberList<Ms...>&);

template <DescribedClass T, template <class> class Property>
struct PartsOf<T, Property> : decltype(PartsOfList<T, Property>(Description<T>::Members()))
{
};

// The types that have been looked at.
struct SeenParts
{
    static constexpr std::size_t s_most = 1024;

    const TypeParts* m_seen[s_most] = {};
    std::size_t m_count = 0;
};

constexpr bool HasAnyPart(const TypeParts& type, SeenParts& seen)
{
    if (type.m_has || type.m_parts == nullptr)
        return type.m_has;
    for (std::size_t i = 0; i < seen.m_count; ++i)
        if (seen.m_seen[i] == &type)
            return false;
    if (seen.m_count < SeenParts::s_most)
        seen.m_seen[seen.m_count++] = &type;
    for (const TypeParts* const* part = type.m_parts; *part != nullptr; ++part)
        if (HasAnyPart(**part, seen))
            return true;
    return false;
}

template <class T, template <class> class Property>
inline constexpr bool HasPart = []
{
    SeenParts seen;
    return HasAnyPart(PartsOf<T, Property>::s_parts, seen);
}();

// What shares what it leads to can be copied whatever that is, and so can what makes room for it.
template <class T>
inline constexpr bool s_isNoPart = requires(const T& pointer)
{
    pointer.use_count();
}
|| requires(T& allocator)
{
    allocator.deallocate(allocator.allocate(1), 1);
};

// A vector of what cannot be copied says of itself that it can, and so does a class that has one.
template <class T>
struct CannotBeCopied
{
    static constexpr bool s_has = !std::is_copy_constructible_v<std::remove_all_extents_t<T>>;
    static constexpr bool s_isWhole = s_isNoPart<T>;
};
template <class T>
struct CannotBeAssigned
{
    static constexpr bool s_has = !std::is_copy_assignable_v<std::remove_all_extents_t<T>>;
    static constexpr bool s_isWhole = s_isNoPart<T>;
};

} // namespace kelm
