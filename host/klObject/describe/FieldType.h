#pragma once

// FieldType<T>: what a field of the C++ type T is in byte code. One specialisation for each kind of type; one that has
// none has an obstacle to being described, of which the compile error tells (StructMember.h).
//
// Each has
//     Value              the C++ type itself: T, with described typedefs replaced by what they stand for
//     HasFunctions       whether a map or set lies in it, so that it needs a function table
//     Obstacle           why T cannot be described; None where it can
//     Emit(TypeEmitter&) appends the byte code, and the functions in the order of the byte code

#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Description.h>
#include <klObject/describe/RegisterUsed.h>
#include <klObject/describe/TypeEmitter.h>
#include <klObject/describe/TypeName.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klUtils/IsRelocatable.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <array>
#include <concepts>
#include <initializer_list>
#include <type_traits>

namespace kelm
{

template <class T>
struct PlainFieldType
{
    using Value = T;
    static constexpr bool HasFunctions = false;
    static constexpr EObstacle Obstacle = EObstacle::None;
};

// A type that cannot be described. What it emits does not matter: whoever describes something refuses it.
template <class T, EObstacle O>
struct UndescribedFieldType
{
    using Value = T;
    static constexpr bool HasFunctions = false;
    static constexpr EObstacle Obstacle = O;
    static constexpr void Emit(TypeEmitter& out) { out.Code(FT_INT32); }
};

template <class T>
struct FieldType : UndescribedFieldType<T, EObstacle::NotDescribed>
{
};

template <class T>
requires(std::is_pointer_v<T> || std::is_reference_v<T>) struct FieldType<T>
    : UndescribedFieldType<T, EObstacle::Pointer>
{
};

template <class T>
requires(std::is_same_v<T, long double> || std::is_same_v<T, wchar_t>) struct FieldType<T>
    : UndescribedFieldType<T, EObstacle::Number>
{
};

// --- numbers, characters, strings

template <class T>
concept PlainInteger = std::integral<T> && std::is_same_v<T, std::remove_cv_t<T>> && !std::is_same_v<T, bool> &&
                       (std::is_same_v<T, std::make_signed_t<T>> || std::is_same_v<T, std::make_unsigned_t<T>>);

// The code of a type that one code describes; FT_NOT_REFLECTED for all others.
template <class T>
inline constexpr ETypeByteCode s_scalarCode = FT_NOT_REFLECTED;
template <>
inline constexpr ETypeByteCode s_scalarCode<bool> = FT_BOOL;
template <>
inline constexpr ETypeByteCode s_scalarCode<char> = FT_CHAR8;
template <>
inline constexpr ETypeByteCode s_scalarCode<char8_t> = FT_CHAR8;
template <>
inline constexpr ETypeByteCode s_scalarCode<char16_t> = FT_CHAR16;
template <>
inline constexpr ETypeByteCode s_scalarCode<char32_t> = FT_UINT32;
template <>
inline constexpr ETypeByteCode s_scalarCode<float> = FT_FLOAT32;
template <>
inline constexpr ETypeByteCode s_scalarCode<double> = FT_FLOAT64;
template <>
inline constexpr ETypeByteCode s_scalarCode<xstring> = FT_STRING8;
template <>
inline constexpr ETypeByteCode s_scalarCode<xstring16> = FT_STRING16;
template <PlainInteger T>
inline constexpr ETypeByteCode s_scalarCode<T> = sizeof(T) == 1   ? (std::is_signed_v<T> ? FT_INT8 : FT_UINT8)
                                                 : sizeof(T) == 2 ? (std::is_signed_v<T> ? FT_INT16 : FT_UINT16)
                                                 : sizeof(T) == 4 ? (std::is_signed_v<T> ? FT_INT32 : FT_UINT32)
                                                 : sizeof(T) == 8 ? (std::is_signed_v<T> ? FT_INT64 : FT_UINT64)
                                                                  : (std::is_signed_v<T> ? FT_INT128 : FT_UINT128);

template <class T>
requires(s_scalarCode<T> != FT_NOT_REFLECTED) struct FieldType<T> : PlainFieldType<T>
{
    static constexpr void Emit(TypeEmitter& out) { out.Code(s_scalarCode<T>); }
};

// --- named types: described, or with hooks written by hand

template <Described T>
struct FieldType<T> : PlainFieldType<T>
{
    static constexpr void Emit(TypeEmitter& out)
    {
        static_cast<void>(CheckMembers<T>());
        out.Name(Description<T>::s_code, RegisteredName<T>(), UseType<T>);
    }
};

// A typedef stands for its type, maps and sets in it included.
template <Described T>
requires std::derived_from<Description<T>, TypedefDescription>
struct FieldType<T>
{
    using Value = typename FieldType<typename Description<T>::Type>::Value;
    static constexpr bool HasFunctions = FieldType<Value>::HasFunctions;
    static constexpr EObstacle Obstacle = EObstacle::None;
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Name(FT_TYPEDEF, RegisteredName<T>(), UseType<T>);
        out.FunctionsOnly([&] { FieldType<Value>::Emit(out); });
    }
};

inline constexpr ETypeByteCode CodeOfDescriptor(const ReflectedClass*)
{
    return FT_CLASS;
}
inline constexpr ETypeByteCode CodeOfDescriptor(const ReflectedVariant*)
{
    return FT_VARIANT;
}
inline constexpr ETypeByteCode CodeOfDescriptor(const ReflectedEnum*)
{
    return FT_ENUM;
}
inline constexpr ETypeByteCode CodeOfDescriptor(const ReflectedInterface*)
{
    return FT_INTERFACE;
}

template <HandDescribed T>
struct FieldType<T> : PlainFieldType<T>
{
    static_assert(IsQualifiedName(RegisteredName<T>()), "the type T has a name that it cannot be registered by");

    static constexpr void Emit(TypeEmitter& out)
    {
        constexpr ETypeByteCode code = CodeOfDescriptor(static_cast<HandWrittenDescriptor<T>*>(nullptr));
        out.Name(code, RegisteredName<T>(), UseType<T>);
    }
};

template <class... As>
requires(!Described<xvariant<As...>>) struct FieldType<xvariant<As...>>
    : UndescribedFieldType<xvariant<As...>, EObstacle::NotNamed>
{
};

// --- qualifiers and arrays

template <class T>
requires(!std::is_array_v<T>) struct FieldType<const T>
{
    using Value = const typename FieldType<T>::Value;
    static constexpr bool HasFunctions = FieldType<T>::HasFunctions;
    static constexpr EObstacle Obstacle = FieldType<T>::Obstacle;
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_CONST);
        FieldType<T>::Emit(out);
    }
};

template <class T, std::size_t N>
struct FieldType<T[N]>
{
    static_assert(N <= 0x7FFFFFFF);

    using Value = typename FieldType<T>::Value[N];
    static constexpr bool HasFunctions = FieldType<T>::HasFunctions;
    static constexpr EObstacle Obstacle = FieldType<T>::Obstacle;
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_ARRAY);
        out.Int32(static_cast<int32>(N));
        FieldType<T>::Emit(out);
    }
};

template <class T, std::size_t N>
requires(N > 0) struct FieldType<std::array<T, N>>
{
    static_assert(sizeof(std::array<typename FieldType<T>::Value, N>) == N * sizeof(typename FieldType<T>::Value));

    using Value = std::array<typename FieldType<T>::Value, N>;
    static constexpr bool HasFunctions = FieldType<T>::HasFunctions;
    static constexpr EObstacle Obstacle = FieldType<T>::Obstacle;
    static constexpr void Emit(TypeEmitter& out) { FieldType<T[N]>::Emit(out); }
};

// --- containers

constexpr EObstacle FirstObstacle(std::initializer_list<EObstacle> obstacles)
{
    for (const EObstacle obstacle : obstacles)
        if (obstacle != EObstacle::None)
            return obstacle;
    return EObstacle::None;
}

// To a type as the element of a container that moves its elements as bytes. A type that is described by hand may be
// more than is known of it.
template <class T>
constexpr EObstacle FindObstacleToMoving()
{
    if constexpr (FieldType<T>::Obstacle != EObstacle::None || HandDescribed<T>)
        return FieldType<T>::Obstacle;
    else
        return IsRelocatable<typename FieldType<T>::Value> ? EObstacle::None : EObstacle::NotRelocatable;
}

// To a type as the key of a map, or as the element of a set, of ours.
template <class T>
constexpr EObstacle FindObstacleToKey()
{
    constexpr bool isOrdered = requires(const typename FieldType<T>::Value& key)
    {
        key < key;
    };
    return FirstObstacle({FindObstacleToMoving<T>(), FieldType<T>::HasFunctions ? EObstacle::MapInKey : EObstacle::None,
                          isOrdered ? EObstacle::None : EObstacle::KeysNotFound});
}

template <class T>
struct FieldType<xvector<T>>
{
    using Value = xvector<typename FieldType<T>::Value>;
    static constexpr bool HasFunctions = FieldType<T>::HasFunctions;
    static constexpr EObstacle Obstacle = FindObstacleToMoving<T>();
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_VECTOR);
        FieldType<T>::Emit(out);
    }
};

template <class T>
struct FieldType<xdynarray<T>>
{
    using Value = xdynarray<typename FieldType<T>::Value>;
    static constexpr bool HasFunctions = FieldType<T>::HasFunctions;
    static constexpr EObstacle Obstacle = FindObstacleToMoving<T>();
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_DYNARRAY);
        FieldType<T>::Emit(out);
    }
};

template <class K, class V>
struct FieldType<xmap<K, V>>
{
    using Key = typename FieldType<K>::Value;
    using Payload = typename FieldType<V>::Value;
    using Value = xmap<Key, Payload>;
    static constexpr bool HasFunctions = true;
    static constexpr EObstacle Obstacle = FirstObstacle({FindObstacleToKey<K>(), FindObstacleToMoving<V>()});
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_MAP);
        PtrMapOrSetFns functions;
        if constexpr (Obstacle == EObstacle::None)
            functions.mapFns = &MapFunctions<Key, Payload>::table;
        out.Functions(functions);
        FieldType<K>::Emit(out);
        FieldType<V>::Emit(out);
    }
};

template <class T>
struct FieldType<xset<T>>
{
    using Element = typename FieldType<T>::Value;

    using Value = xset<Element>;
    static constexpr bool HasFunctions = true;
    static constexpr EObstacle Obstacle = FindObstacleToKey<T>();
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_SET);
        PtrMapOrSetFns functions;
        if constexpr (Obstacle == EObstacle::None)
            functions.setFns = &SetFunctions<Element>::table;
        out.Functions(functions);
        FieldType<T>::Emit(out);
    }
};

// --- handles

template <class I>
struct FieldType<ptr<I>> : PlainFieldType<ptr<I>>
{
    static_assert(HandDescribed<I>, "the interface I of this ptr<I> has no _GetReflected");

    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_INTERFACE_POINTER);
        FieldType<I>::Emit(out);
    }
};

// Whether a described class has the option; nothing is known of types described by hand.
template <class T>
constexpr bool IsPersistable()
{
    if constexpr (Described<T>)
    {
        for (const Member& member : Description<T>::Members().m_members)
            if (member.m_kind == MEMBER_PERSISTABLE)
                return true;
        return false;
    }
    return true;
}

// What it references is a class; prefbase itself references any persistable object.
template <class T>
struct FieldType<pref<T>> : PlainFieldType<pref<T>>
{
    static constexpr EObstacle Obstacle = IsPersistable<T>() ? EObstacle::None : EObstacle::NotPersistable;
    static constexpr void Emit(TypeEmitter& out)
    {
        out.Code(FT_PREF);
        FieldType<T>::Emit(out);
    }
};

template <>
struct FieldType<prefbase> : PlainFieldType<prefbase>
{
    static constexpr void Emit(TypeEmitter& out) { FieldType<pref<IPersistable>>::Emit(out); }
};

} // namespace kelm
