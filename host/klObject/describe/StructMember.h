#pragma once

// KELM_CHECK_MEMBER and KELM_STRUCT_MEMBER: what KELM_DESCRIBE makes of each name that it is given, a member's or a
// base class's. KELM_CHECK_TYPE: what KELM_MODEL and its kin make of the type of their member. CheckMembers: all that
// is told of a class's members that cannot be described.

#include <klObject/describe/Members.h>

#include <cstddef>
#include <string_view>
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

// Of a member of a type that has an obstacle. WHOLE is what it is called.
#define KELM_REFUSE_TYPE(WHOLE, NAME)                                                                                  \
    KELM_REFUSE_MEMBER(NotDescribed, NAME,                                                                             \
                       WHOLE " cannot be described: its type, or one in it, is not described (with KELM_DESCRIBE, "    \
                             "KELM_DESCRIBE_ENUM or a longer form, before it is used)")                                \
    KELM_REFUSE_MEMBER(NotNamed, NAME,                                                                                 \
                       WHOLE " cannot be described: it is or holds a kelm::xvariant whose alternatives have no names " \
                             "(KELM_VARIANT gives them)")                                                              \
    KELM_REFUSE_MEMBER(Pointer, NAME,                                                                                  \
                       WHOLE " cannot be described: it is or holds a pointer, which does not say who owns what (use "  \
                             "std::unique_ptr, std::shared_ptr or kelm::ptr)")                                         \
    KELM_REFUSE_MEMBER(Number, NAME,                                                                                   \
                       WHOLE " cannot be described: it is or holds a long double, a wchar_t, or a duration of no "     \
                             "whole number of nanoseconds")                                                            \
    KELM_REFUSE_MEMBER(NotCreatable, NAME,                                                                             \
                       WHOLE " cannot be described: it holds a type without a default constructor")                    \
    KELM_REFUSE_MEMBER(NotRelocatable, NAME,                                                                           \
                       WHOLE " cannot be described: a container of ours in it holds a type that cannot be moved as "   \
                             "bytes (use std::vector, std::map)")                                                      \
    KELM_REFUSE_MEMBER(Ambiguous, NAME,                                                                                \
                       WHOLE " cannot be described: what is optional in it may be null itself, and one null would "    \
                             "mean two things")                                                                        \
    KELM_REFUSE_MEMBER(SameNames, NAME,                                                                                \
                       WHOLE " cannot be described: two alternatives of a std::variant have the same name")            \
    KELM_REFUSE_MEMBER(KeysNotFound, NAME,                                                                             \
                       WHOLE " cannot be described: the keys of a map or set in it have no operator<, or, where it "   \
                             "is unordered, no std::hash or operator==")                                               \
    KELM_REFUSE_MEMBER(MapInKey, NAME,                                                                                 \
                       WHOLE " cannot be described: the keys of an xmap or xset in it hold a map or set themselves, "  \
                             "whose functions would not be found (put it in a described class)")                       \
    KELM_REFUSE_MEMBER(NotPersistable, NAME,                                                                           \
                       WHOLE " cannot be described: the class C of a pref<C> in it is not persistable (describe it "   \
                             "with the option kelm::Persistable())")                                                   \
    KELM_REFUSE_MEMBER(MapInField, NAME,                                                                               \
                       WHOLE " cannot be an ordinary field: it holds an xmap or xset, whose functions only model "     \
                             "fields carry (describe it with KELM_MODEL)")

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
        KELM_REFUSE_TYPE(#TYPE "::" #NAME, NAME)                                                                       \
    }

// The same of a member Self_ of a description.
#define KELM_CHECK_TYPE(NAME)                                                                                          \
    []<class Self_>(Self_*) -> void                                                                                    \
    {                                                                                                                  \
        constexpr ::kelm::EObstacle obstacle = Self_::Obstacle;                                                        \
        KELM_REFUSE_TYPE(#NAME, NAME)                                                                                  \
    }

#define KELM_OBSTACLE_TO_MEMBER(SELF, NAME)                                                                            \
    []<class S>(S*)                                                                                                    \
    {                                                                                                                  \
        if constexpr (std::is_same_v<S, ::kelm::NoClass>)                                                              \
            return ::kelm::EObstacle::None;                                                                            \
        else if constexpr (requires { &S::NAME; })                                                                     \
        {                                                                                                              \
            if constexpr (std::is_member_object_pointer_v<decltype(&S::NAME)>)                                         \
                return ::kelm::FieldType<decltype(S::NAME)>::Obstacle;                                                 \
            else                                                                                                       \
                return ::kelm::EObstacle::NoField;                                                                     \
        }                                                                                                              \
        else if constexpr (requires { typename S::NAME; })                                                             \
            return ::kelm::CheckBase<typename S::NAME, S>();                                                           \
        else                                                                                                           \
            return ::kelm::EObstacle::NoMember;                                                                        \
    }(static_cast<SELF*>(nullptr))

#define KELM_STRUCT_MEMBER(SELF, NAME)                                                                                 \
    []<class S>(S*)                                                                                                    \
    {                                                                                                                  \
        if constexpr (requires { &S::NAME; })                                                                          \
        {                                                                                                              \
            if constexpr (std::is_member_object_pointer_v<decltype(&S::NAME)>)                                         \
                return ::kelm::MakeModelField<decltype(S::NAME)>(#NAME, offsetof(S, NAME));                            \
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

// What stands for an enumeration in the place of a class, of which the description itself tells.
struct NoClass
{
};
template <class T>
using ClassItself = std::conditional_t<std::is_enum_v<T>, NoClass, T>;

// Whether one of the names has a "::" in it.
constexpr bool HasQualifiedName(std::string_view names)
{
    return names.find("::") != std::string_view::npos;
}

// What there is to say behind a mistake or not, for KELM_CHECK_NAMES.
template <bool>
struct GoesOn
{
};
#ifdef __clang__
template <>
struct [[deprecated("that is all there is to say")]] GoesOn<false>{};
#endif

template <class Base, class S>
inline constexpr bool s_isDescribedBase = requires
{
    Description<Base>::template Members<S>();
};

// Which tells of its own members.
template <class Base, class S>
constexpr EObstacle CheckBase();

// A base class, and its members at their places in the class S.
template <class Base, class S>
constexpr auto ListBase()
{
    if constexpr (s_isDescribedBase<Base, S>)
        return ListMembers(MakeBase<Base, S>(), Description<Base>::template Members<S>());
    else
        return MemberList<>{};
}

template <class Member>
void CheckField()
{
    typename Member::Refusal()(static_cast<Member*>(nullptr));
}

template <class... Ms>
constexpr bool AreDescribable(const MemberList<Ms...>&)
{
    return ((Ms::Obstacle == EObstacle::None) && ...);
}
template <class T, class... Ms>
constexpr void CheckEach(const MemberList<Ms...>&)
{
    if constexpr (std::is_base_of_v<StructDescription, Description<T>>)
        static_cast<void>(&Description<T>::template Check<>);
    else
        (static_cast<void>(&CheckField<Ms>), ...);
}

// Whether all members of T, where that is a described class, can be described; fails to compile with the one message
// where not. Whoever uses a description asks this first and leaves the rest out then. The functions that fail are named
// here and not called: their mistakes are told at few steps from the program, since compilers come to them when they
// are through with what is on the way.
template <class T>
constexpr bool CheckMembers()
{
    if constexpr (DescribedClass<T>)
    {
        CheckEach<T>(Description<T>::Members());
        return AreDescribable(Description<T>::Members());
    }
    else
        return true;
}

template <class Base, class S>
constexpr EObstacle CheckBase()
{
    if constexpr (s_isDescribedBase<Base, S>)
    {
        static_cast<void>(CheckMembers<Base>());
        return EObstacle::None;
    }
    else
        return EObstacle::BaseNotDescribed;
}

} // namespace kelm
