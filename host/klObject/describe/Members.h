#pragma once

// What a class description lists: fields and options. KELM_MODEL, KELM_FIELD and KELM_MODEL_OF make the fields.

#include <klObject/describe/FieldType.h>
#include <klUtils/IsRelocatable.h>
#include <klUtils/types.h>

#include <array>
#include <cstddef>
#include <type_traits>

namespace kelm
{

// A field of the model, of type T: reached by paths, kept by persistence, written by data sources.
template <class T>
struct ModelField : Member
{
    using FieldTypeOf = FieldType<T>;

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

    // The field described with typedefs in its type: As<Metres>() or As<xvector<Metres>>().
    template <class U>
    constexpr ModelField<U> As() const
    {
        static_assert(std::is_same_v<typename FieldType<U>::Value, T>,
                      "the field's type is not the one of the typedef");
        return {*this};
    }
};

// A field that data sources write as well, but that is no part of the model.
template <class T>
struct OrdinaryField : Member
{
    using FieldTypeOf = FieldType<T>;

    template <class U>
    constexpr OrdinaryField<U> As() const
    {
        static_assert(std::is_same_v<typename FieldType<U>::Value, T>,
                      "the field's type is not the one of the typedef");
        return {*this};
    }
};

// The member of class T whose model is the model of the class described.
template <class T>
struct EmbeddedModel : Member
{
    using FieldTypeOf = FieldType<T>;

    template <class Check>
    static constexpr bool CheckModel(Check check)
    {
        if constexpr (requires { Description<T>::Members(); })
            return check(Description<T>::Members().m_members);
        return true; // nothing is known of types described by hand
    }
};

template <class T>
constexpr ModelField<T> MakeModelField(ConstStringZ name, std::size_t offset)
{
    return {{MEMBER_MODEL_FIELD, name, static_cast<ssize_t>(offset)}};
}
template <class T>
constexpr OrdinaryField<T> MakeOrdinaryField(ConstStringZ name, std::size_t offset)
{
    return {{MEMBER_ORDINARY_FIELD, name, static_cast<ssize_t>(offset)}};
}
template <class T>
constexpr EmbeddedModel<T> MakeEmbeddedModel(std::size_t offset)
{
    return {{MEMBER_EMBEDDED_MODEL, nullptr, static_cast<ssize_t>(offset)}};
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

    // Whether the class T has no members but these (and a virtual table, and padding), and all can be moved as bytes.
    template <class T>
    static constexpr bool IsRelocatableClass(const std::array<Member, NumMembers>& members)
    {
        struct Extent
        {
            ssize_t m_size;
            ssize_t m_alignment;
            bool m_isRelocatable;
        };
        constexpr auto extentOf = []<class M>(const M*) -> Extent
        {
            if constexpr (requires { typename M::FieldTypeOf::Value; })
            {
                using Value = std::remove_cv_t<typename M::FieldTypeOf::Value>;
                return {sizeof(Value), alignof(Value), IsRelocatable<Value>};
            }
            return {0, 1, true};
        };
        constexpr std::array<Extent, NumMembers> extents = {extentOf(static_cast<const Ms*>(nullptr))...};

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

template <class... Ms>
constexpr MemberList<Ms...> ListMembers(const Ms&... members)
{
    return {{static_cast<const Member&>(members)...}};
}

// A described class moves as bytes if its description tells of all that is in it, and all of that does.
template <Described T>
requires(std::derived_from<Description<T>, ClassDescription> &&
         !AnswersIsRelocatable<T>) inline constexpr bool IsRelocatable<T> =
    std::is_trivially_copyable_v<T> ||
    decltype(Description<T>::Members())::template IsRelocatableClass<T>(Description<T>::Members().m_members);

} // namespace kelm
