#pragma once

// What a class description lists: fields and options. KELM_MODEL, KELM_FIELD and KELM_MODEL_OF make the fields.

#include <klObject/describe/FieldType.h>
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

    std::array<Member, NumMembers> m_members;
};

template <class... Ms>
constexpr MemberList<Ms...> ListMembers(const Ms&... members)
{
    return {{static_cast<const Member&>(members)...}};
}

} // namespace kelm
