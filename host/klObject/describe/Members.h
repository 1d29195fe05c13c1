#pragma once

// What a class description lists: fields and options. KELM_MODEL, KELM_FIELD and KELM_MODEL_OF make the fields.

#include <klObject/describe/FieldType.h>
#include <klUtils/IsRelocatable.h>
#include <klUtils/types.h>

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>

namespace kelm
{

// What is called with a member and fails to compile where that has an obstacle. KELM_MODEL and its kin make one that
// tells the member's name.
struct RefuseField
{
    template <class M>
    void operator()(M*) const
    {
        static_assert(M::Obstacle == EObstacle::None,
                      "a member cannot be described: its type, or one in it, is none that a field may have");
    }
};

// A function that needs no object to be called.
template <class F>
concept StatelessFunction = std::is_class_v<F> && std::is_empty_v<F> && std::is_default_constructible_v<F>;

// A field of the model, of type T: reached by paths, kept by persistence, written by data sources. F is the function
// that checks it, where that is one with an address.
template <class T, class F = NoFunction, class R = RefuseField>
struct ModelField : Member
{
    using FieldTypeOf = FieldType<T>;
    using Refusal = R;
    static constexpr EObstacle Obstacle = FieldTypeOf::Obstacle;
    using Type = T;
    using Function = F;

    F m_function = {}; // hides that of all members

    constexpr ModelField AddedIn(int64 rsn) const
    {
        ModelField field = *this;
        field.m_rsn1 = rsn;
        return field;
    }
    constexpr ModelField DroppedIn(int64 rsn) const
    {
        ModelField field = *this;
        field.m_rsn2 = rsn;
        return field;
    }

    // The field under another name than the member's.
    constexpr ModelField Named(ConstStringZ name) const
    {
        ModelField field = *this;
        field.m_name = name;
        return field;
    }

    // What editors show of the field.
    constexpr ModelField Doc(ConstStringZ text) const
    {
        ModelField field = *this;
        field.m_doc = text;
        return field;
    }

    // Texts must give the field.
    constexpr ModelField Required() const
    {
        ModelField field = *this;
        field.m_rule.m_isRequired = true;
        return field;
    }

    // The field has such values alone as `function` is true of: a function, or a lambda that captures nothing.
    template <class G>
    constexpr auto Check([[maybe_unused]] G function) const
    {
        if constexpr (!requires(const T& value) { static_cast<bool>(function(value)); })
        {
            static_assert(s_isNever<G>, "a check takes the field's value and returns whether it may be");
            return *this;
        }
        else if constexpr (StatelessFunction<G>)
        {
            ModelField field = *this;
            field.m_rule.m_check = [](const void* value)
            { return static_cast<bool>(G()(*static_cast<const T*>(value))); };
            return field;
        }
        else
        {
            static_assert(std::is_pointer_v<G>, "a check is a function, or a lambda that captures nothing");
            return ModelField<T, G, R>{static_cast<const Member&>(*this), function};
        }
    }

    // The field described with typedefs in its type: As<Metres>() or As<xvector<Metres>>().
    template <class U>
    constexpr ModelField<U, F, R> As() const
    {
        static_assert(std::is_same_v<typename FieldType<U>::Value, T>,
                      "the field's type is not the one of the typedef");
        return {static_cast<const Member&>(*this), m_function};
    }
};

// A field that data sources write as well, but that is no part of the model.
template <class T, class R = RefuseField>
struct OrdinaryField : Member
{
    using FieldTypeOf = FieldType<T>;
    using Refusal = R;
    static constexpr EObstacle Obstacle =
        FirstObstacle({FieldTypeOf::Obstacle, FieldTypeOf::HasFunctions ? EObstacle::MapInField : EObstacle::None});

    constexpr OrdinaryField Doc(ConstStringZ text) const
    {
        OrdinaryField field = *this;
        field.m_doc = text;
        return field;
    }

    template <class U>
    constexpr OrdinaryField<U, R> As() const
    {
        static_assert(std::is_same_v<typename FieldType<U>::Value, T>,
                      "the field's type is not the one of the typedef");
        return {*this};
    }
};

// To a class as the one whose model another has. Nothing is known of types described by hand.
template <class T>
constexpr EObstacle FindObstacleToModel()
{
    if constexpr (DescribedClass<T>)
    {
        for (const Member& member : Description<T>::Members().m_members)
            if (member.m_kind == MEMBER_MODEL_FIELD)
                return EObstacle::None;
        return EObstacle::NoModel;
    }
    else
        return HandDescribed<T> ? EObstacle::None : EObstacle::NotAClass;
}

// The member of class T whose model is the model of the class described.
struct RefuseModel
{
    template <class M>
    void operator()(M*) const
    {
        static_assert(s_isNot<M::Obstacle, EObstacle::NotAClass>,
                      "KELM_MODEL_OF takes a member whose type is a described class");
        static_assert(s_isNot<M::Obstacle, EObstacle::NoModel>,
                      "KELM_MODEL_OF takes a member whose class lists model fields itself (KELM_MODEL)");
    }
};

template <class T>
struct EmbeddedModel : Member
{
    using FieldTypeOf = FieldType<T>;
    using Refusal = RefuseModel;
    static constexpr EObstacle Obstacle = FindObstacleToModel<T>();

    template <class Check>
    static constexpr bool CheckModel(Check check)
    {
        if constexpr (DescribedClass<T>)
            return check(Description<T>::Members().m_members);
        return true; // nothing is known of types described by hand
    }
};

template <class T, class R = RefuseField>
constexpr ModelField<T, NoFunction, R> MakeModelField(ConstStringZ name, std::size_t offset, R = {})
{
    return {{MEMBER_MODEL_FIELD, name, static_cast<ssize_t>(offset)}, {}};
}
template <class T, class R = RefuseField>
constexpr OrdinaryField<T, R> MakeOrdinaryField(ConstStringZ name, std::size_t offset, R = {})
{
    return {{MEMBER_ORDINARY_FIELD, name, static_cast<ssize_t>(offset)}};
}
template <class T>
constexpr EmbeddedModel<T> MakeEmbeddedModel(std::size_t offset)
{
    return {{MEMBER_EMBEDDED_MODEL, nullptr, static_cast<ssize_t>(offset)}};
}

// A base class of the class described: objects of the class are seen as its objects, too.
struct BaseClass : Member
{
    using FieldTypeOf = NoFieldType;
};
template <class Base, class Derived>
constexpr BaseClass MakeBase()
{
    static_assert(std::is_base_of_v<Base, Derived>, "KELM_BASE takes a base class");
    static_assert(Described<Base>, "KELM_BASE takes a described class");
    BaseClass base{{MEMBER_BASE, Description<Base>::s_name}};
    base.m_fromDerived = [](void* derived) -> void* { return static_cast<Base*>(static_cast<Derived*>(derived)); };
    return base;
}

// All members of a description. Their types only matter for the tables, which a plain loop can follow.
template <class... Ms>
struct MemberList
{
    using Tables = TypeTables<typename Ms::FieldTypeOf...>;

    static constexpr std::size_t NumMembers = sizeof...(Ms);

    // Whether `check` holds for the members of the class whose model is embedded; true where none is.
    template <class Check>
    static constexpr bool CheckEmbeddedModel(Check check)
    {
        return (Ms::CheckModel(check) && ...);
    }

    // Of what a member takes in the class. No lambda inside of what asks: clang 14 would find it undefined there.
    struct Extent
    {
        ssize_t m_size;
        ssize_t m_alignment;
        bool m_isRelocatable;
    };
    template <class M>
    static constexpr Extent ExtentOf()
    {
        if constexpr (requires { typename M::FieldTypeOf::Value; })
        {
            using Type = std::remove_cv_t<typename M::FieldTypeOf::Value>;
            return {sizeof(Type), alignof(Type), IsRelocatable<Type>};
        }
        return {0, 1, true};
    }

    // Whether the class T has no members but these (and a virtual table, and padding), and all can be moved as bytes.
    template <class T>
    static constexpr bool IsRelocatableClass(const std::array<Member, NumMembers>& members)
    {
        constexpr std::array<Extent, NumMembers> extents = {ExtentOf<Ms>()...};

        ssize_t end = std::is_polymorphic_v<T> ? sizeof(void*) : 0;
        for (;;) // from member to member, by their offsets
        {
            std::size_t next = NumMembers;
            for (std::size_t i = 0; i < NumMembers; ++i)
                if (extents[i].m_size > 0 && members[i].m_offset >= end &&
                    (next == NumMembers || members[i].m_offset < members[next].m_offset))
                    next = i;
            if (next == NumMembers)
                return static_cast<ssize_t>(sizeof(T)) - end < static_cast<ssize_t>(alignof(T));
            if (!extents[next].m_isRelocatable || members[next].m_offset - end >= extents[next].m_alignment)
                return false;
            end = members[next].m_offset + extents[next].m_size;
        }
    }

    std::array<Member, NumMembers> m_members;
};

// Members of which some are checked by a function that has an address.
template <class... Ms>
struct CheckedMemberList : MemberList<Ms...>
{
    using Types = std::tuple<Ms...>;

    std::tuple<typename Ms::Function...> m_functions;
};

// The members of a base class stand among those of the class as a list of their own.
template <class M>
inline constexpr bool s_isMemberList = requires
{
    M::NumMembers;
};
template <class M>
requires(!s_isMemberList<M>) constexpr MemberList<M> AsList(const M& member)
{
    return {{static_cast<const Member&>(member)}};
}
template <class... Ms>
constexpr const MemberList<Ms...>& AsList(const MemberList<Ms...>& list)
{
    return list;
}
template <class... As, class... Bs>
constexpr MemberList<As..., Bs...> operator+(const MemberList<As...>& a, const MemberList<Bs...>& b)
{
    MemberList<As..., Bs...> both{};
    std::size_t size = 0;
    for (const Member& member : a.m_members)
        both.m_members[size++] = member;
    for (const Member& member : b.m_members)
        both.m_members[size++] = member;
    return both;
}

template <class... Ms>
constexpr auto ListMembers(const Ms&... members)
{
    if constexpr ((s_isMemberList<Ms> || ...))
        return (MemberList<>{} + ... + AsList(members));
    else if constexpr ((std::is_pointer_v<typename Ms::Function> || ...))
        return CheckedMemberList<Ms...>{{{static_cast<const Member&>(members)...}}, {members.m_function...}};
    else
        return MemberList<Ms...>{{static_cast<const Member&>(members)...}};
}

// A described class moves as bytes if its description tells of all that is in it, and all of that does.
template <DescribedClass T>
requires(!AnswersIsRelocatable<T>) inline constexpr bool IsRelocatable<T> =
    std::is_trivially_copyable_v<T> ||
    decltype(Description<T>::Members())::template IsRelocatableClass<T>(Description<T>::Members().m_members);

} // namespace kelm
