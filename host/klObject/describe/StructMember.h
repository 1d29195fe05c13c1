#pragma once

// KELM_CHECK_MEMBER and KELM_STRUCT_MEMBER: what KELM_DESCRIBE makes of each name that it is given, a member's or a
// base class's.

#include <klObject/describe/Members.h>

#include <cstddef>
#include <type_traits>

// As ForEach.h says.
#pragma GCC system_header

// Fails to compile, with the text, where there is that obstacle to describing the member. The message is whole here, so
// that the line which the compiler writes says all. clang shows the macros on the way of every error but one at what
// the program itself wrote: a function of the member's name is called that may not be.
#ifdef __clang__
#define KELM_REFUSE_MEMBER(OBSTACLE, NAME, TEXT)                                                                       \
    if constexpr (obstacle == ::kelm::EObstacle::OBSTACLE)                                                             \
    {                                                                                                                  \
        struct Refused_                                                                                                \
        {                                                                                                              \
            __attribute__((unavailable(TEXT))) static constexpr void NAME(Self_*) {}                                   \
        };                                                                                                             \
        Refused_::NAME(nullptr);                                                                                       \
    }
#else
#define KELM_REFUSE_MEMBER(OBSTACLE, NAME, TEXT)                                                                       \
    static_assert(::kelm::s_isNot<obstacle, ::kelm::EObstacle::OBSTACLE>, TEXT);
#endif

// Decided where the description is used, when all types that it needs have been described.
#define KELM_CHECK_MEMBER(TYPE, NAME)                                                                                  \
    {                                                                                                                  \
        constexpr ::kelm::EObstacle obstacle = KELM_OBSTACLE_TO_MEMBER(Self_, NAME);                                   \
        KELM_REFUSE_MEMBER(NoMember, NAME,                                                                             \
                           #TYPE " has no member or base class " #NAME                                                 \
                                 " that can be described (a bit-field or a reference cannot)")                         \
        KELM_REFUSE_MEMBER(NoField, NAME, #TYPE "::" #NAME " cannot be described: it is static, or a function")        \
        KELM_REFUSE_MEMBER(BaseNotDescribed, NAME,                                                                     \
                           #TYPE ": the base class " #NAME " is not described with KELM_DESCRIBE")                     \
        KELM_REFUSE_MEMBER(NotDescribed, NAME,                                                                         \
                           #TYPE "::" #NAME " cannot be described: its type, or one in it, is not described (with "    \
                                 "KELM_DESCRIBE or KELM_DESCRIBE_ENUM, before it is used)")                            \
        KELM_REFUSE_MEMBER(Pointer, NAME,                                                                              \
                           #TYPE "::" #NAME " cannot be described: it is or holds a pointer, which does not say who "  \
                                 "owns what (use std::unique_ptr, std::shared_ptr or kelm::ptr)")                      \
        KELM_REFUSE_MEMBER(Number, NAME,                                                                               \
                           #TYPE "::" #NAME " cannot be described: it is or holds a long double, a wchar_t, or a "     \
                                 "duration of no whole number of nanoseconds")                                         \
        KELM_REFUSE_MEMBER(NotCreatable, NAME,                                                                         \
                           #TYPE "::" #NAME " cannot be described: it holds a type without a default constructor")     \
        KELM_REFUSE_MEMBER(NotRelocatable, NAME,                                                                       \
                           #TYPE "::" #NAME " cannot be described: a container of ours in it holds a type that "       \
                                 "cannot be moved as bytes (use std::vector, std::map)")                               \
        KELM_REFUSE_MEMBER(Ambiguous, NAME,                                                                            \
                           #TYPE "::" #NAME " cannot be described: what is optional in it may be null itself, and "    \
                                 "one null would mean two things")                                                     \
        KELM_REFUSE_MEMBER(SameNames, NAME,                                                                            \
                           #TYPE "::" #NAME " cannot be described: two alternatives of a std::variant have the same "  \
                                 "name")                                                                               \
        KELM_REFUSE_MEMBER(KeysNotFound, NAME,                                                                         \
                           #TYPE "::" #NAME " cannot be described: the keys of a map or set in it have no operator<, " \
                                 "or, where it is unordered, no std::hash or operator==")                              \
    }

#define KELM_OBSTACLE_TO_MEMBER(SELF, NAME)                                                                            \
    []<class S>(S*)                                                                                                    \
    {                                                                                                                  \
        if constexpr (requires { &S::NAME; })                                                                          \
        {                                                                                                              \
            if constexpr (std::is_member_object_pointer_v<decltype(&S::NAME)>)                                         \
                return ::kelm::FieldType<decltype(S::NAME)>::Obstacle;                                                 \
            else                                                                                                       \
                return ::kelm::EObstacle::NoField;                                                                     \
        }                                                                                                              \
        else if constexpr (requires { typename S::NAME; })                                                             \
            return ::kelm::s_isDescribedBase<typename S::NAME, S> ? ::kelm::EObstacle::None                            \
                                                                  : ::kelm::EObstacle::BaseNotDescribed;               \
        else                                                                                                           \
            return ::kelm::EObstacle::NoMember;                                                                        \
    }(static_cast<SELF*>(nullptr))

#define KELM_STRUCT_MEMBER(SELF, NAME)                                                                                 \
    []<class S>(S*)                                                                                                    \
    {                                                                                                                  \
        if constexpr (requires { &S::NAME; })                                                                          \
        {                                                                                                              \
            if constexpr (std::is_member_object_pointer_v<decltype(&S::NAME)>)                                         \
                return ::kelm::MakeStructField<decltype(S::NAME)>(#NAME, offsetof(S, NAME));                           \
            else                                                                                                       \
                return ::kelm::MemberList<>{};                                                                         \
        }                                                                                                              \
        else if constexpr (requires { typename S::NAME; })                                                             \
            return ::kelm::ListBase<typename S::NAME, S>();                                                            \
        else                                                                                                           \
            return ::kelm::MemberList<>{};                                                                             \
    }(static_cast<SELF*>(nullptr))

namespace kelm
{

// By a name, of which compilers tell no more than that it is false; of a comparison they tell all of the macros again.
template <EObstacle Obstacle, EObstacle Other>
inline constexpr bool s_isNot = Obstacle != Other;

// Where there is an obstacle, the one message is said already.
template <class M>
constexpr auto MakeStructField(ConstStringZ name, std::size_t offset)
{
    if constexpr (FieldType<M>::Obstacle == EObstacle::None)
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
