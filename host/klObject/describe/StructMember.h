#pragma once

// KELM_STRUCT_MEMBER: what KELM_DESCRIBE makes of each name that it is given, a member's or a base class's.

#include <klObject/describe/Members.h>

#include <cstddef>
#include <type_traits>

// As ForEach.h says.
#pragma GCC system_header

// Decided where the description is used, when all types that it needs have been described. The messages are whole
// here, so that the line which the compiler writes says all.
#define KELM_STRUCT_MEMBER(TYPE, NAME)                                                                                 \
    []<class S>(S*)                                                                                                    \
    {                                                                                                                  \
        if constexpr (requires { &S::NAME; })                                                                          \
        {                                                                                                              \
            if constexpr (std::is_member_object_pointer_v<decltype(&S::NAME)>)                                         \
            {                                                                                                          \
                using M = decltype(S::NAME);                                                                           \
                constexpr ::kelm::EObstacle obstacle = ::kelm::FieldType<M>::Obstacle;                                 \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::NotDescribed>,                              \
                              #TYPE "::" #NAME " cannot be described: its type, or one in it, is not described (with " \
                                    "KELM_DESCRIBE or KELM_DESCRIBE_ENUM, before it is used)");                        \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::Pointer>,                                   \
                              #TYPE "::" #NAME " cannot be described: it is or holds a pointer, which does not say "   \
                                    "who owns what (use std::unique_ptr, std::shared_ptr or kelm::ptr)");              \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::Number>,                                    \
                              #TYPE "::" #NAME " cannot be described: it is or holds a long double, a wchar_t, or a "  \
                                    "duration of no whole number of nanoseconds");                                     \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::NotCreatable>,                              \
                              #TYPE "::" #NAME " cannot be described: it holds a type without a default constructor"); \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::NotRelocatable>,                            \
                              #TYPE "::" #NAME " cannot be described: a container of ours in it holds a type that "    \
                                    "cannot be moved as bytes (use std::vector, std::map)");                           \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::Ambiguous>,                                 \
                              #TYPE "::" #NAME " cannot be described: what is optional in it may be null itself, and " \
                                    "one null would mean two things");                                                 \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::SameNames>,                                 \
                              #TYPE "::" #NAME " cannot be described: two alternatives of a std::variant have the "    \
                                    "same name");                                                                      \
                static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::KeysNotFound>,                              \
                              #TYPE "::" #NAME " cannot be described: the keys of a map or set in it have no "         \
                                    "operator<, or, where it is unordered, no std::hash or operator==");               \
                return ::kelm::MakeStructField<M, obstacle>(#NAME, offsetof(S, NAME));                                 \
            }                                                                                                          \
            else                                                                                                       \
            {                                                                                                          \
                static_assert(::kelm::s_isNever<S>,                                                                    \
                              #TYPE "::" #NAME " cannot be described: it is static, or a function");                   \
                return ::kelm::MemberList<>{};                                                                         \
            }                                                                                                          \
        }                                                                                                              \
        else if constexpr (requires { typename S::NAME; })                                                             \
        {                                                                                                              \
            static_assert(::kelm::s_isDescribedBase<typename S::NAME, S>,                                              \
                          #TYPE ": the base class " #NAME " is not described with KELM_DESCRIBE");                     \
            return ::kelm::ListBase<typename S::NAME, S>();                                                            \
        }                                                                                                              \
        else                                                                                                           \
        {                                                                                                              \
            static_assert(::kelm::s_isNever<S>, #TYPE " has no member or base class " #NAME " that can be described "  \
                                                      "(a bit-field or a reference cannot)");                          \
            return ::kelm::MemberList<>{};                                                                             \
        }                                                                                                              \
    }(static_cast<Self_*>(nullptr))

namespace kelm
{

// By a name, of which compilers tell no more than that it is false; of a comparison they tell all of the macros again.
template <EObstacle Obstacle, EObstacle Other>
inline constexpr bool s_isNot = Obstacle != Other;

// Where there is an obstacle, the one message is said already.
template <class M, EObstacle O>
constexpr auto MakeStructField(ConstStringZ name, std::size_t offset)
{
    if constexpr (O == EObstacle::None)
        return MakeModelField<M>(name, offset);
    else
        return MakeModelField<int>(name, offset);
}

template <class Base, class S>
inline constexpr bool s_isDescribedBase = requires
{
    Description<Base>::template Members<S>();
};

// A base class, and its members at their places in the class S.
template <class Base, class S>
constexpr auto ListBase()
{
    if constexpr (s_isDescribedBase<Base, S>)
        return ListMembers(MakeBase<Base, S>(), Description<Base>::template Members<S>());
    else
        return MemberList<>{};
}

} // namespace kelm
