#pragma once

// What a class description lists: fields and options. KELM_MODEL, KELM_FIELD and KELM_MODEL_OF make the fields.

#include <klObject/describe/FieldType.h>
#include <klUtils/types.h>

#include <cstddef>
#include <tuple>
#include <type_traits>

namespace kelm
{

// A field of the model, of type T: reached by paths, kept by persistence, written by data sources.
template <class T>
struct ModelField
{
    using FieldTypeOf = FieldType<T>;

    ConstStringZ m_name;
    ssize_t m_offset;
    int64 m_rsn1 = 0;  // the release that added it
    int64 m_rsn2 = -1; // the release that dropped it; -1 while it is present

    constexpr ModelField AddedIn(int64 rsn) const { return {m_name, m_offset, rsn, m_rsn2}; }
    constexpr ModelField DroppedIn(int64 rsn) const { return {m_name, m_offset, m_rsn1, rsn}; }

    // The field described with typedefs in its type: As<Metres>() or As<xvector<Metres>>().
    template <class U>
    constexpr ModelField<U> As() const
    {
        static_assert(std::is_same_v<typename FieldType<U>::Value, T>,
                      "the field's type is not the one of the typedef");
        return {m_name, m_offset, m_rsn1, m_rsn2};
    }
};

// A field that data sources write as well, but that is no part of the model.
template <class T>
struct OrdinaryField
{
    using FieldTypeOf = FieldType<T>;

    ConstStringZ m_name;
    ssize_t m_offset;

    template <class U>
    constexpr OrdinaryField<U> As() const
    {
        static_assert(std::is_same_v<typename FieldType<U>::Value, T>,
                      "the field's type is not the one of the typedef");
        return {m_name, m_offset};
    }
};

// The member of class T whose model is the model of the class described.
template <class T>
struct EmbeddedModel
{
    using Class = T;
    using FieldTypeOf = FieldType<T>;

    ssize_t m_offset;
};

template <class T>
constexpr ModelField<T> MakeModelField(ConstStringZ name, std::size_t offset)
{
    return {name, static_cast<ssize_t>(offset)};
}
template <class T>
constexpr OrdinaryField<T> MakeOrdinaryField(ConstStringZ name, std::size_t offset)
{
    return {name, static_cast<ssize_t>(offset)};
}
template <class T>
constexpr EmbeddedModel<T> MakeEmbeddedModel(std::size_t offset)
{
    return {static_cast<ssize_t>(offset)};
}

template <class M>
inline constexpr bool s_isModelField = false;
template <class T>
inline constexpr bool s_isModelField<ModelField<T>> = true;

template <class M>
inline constexpr bool s_isOrdinaryField = false;
template <class T>
inline constexpr bool s_isOrdinaryField<OrdinaryField<T>> = true;

template <class M>
inline constexpr bool s_isEmbeddedModel = false;
template <class T>
inline constexpr bool s_isEmbeddedModel<EmbeddedModel<T>> = true;

// The TypeTables of all members, in order.
template <class... Ms>
TypeTables<typename Ms::FieldTypeOf...> TablesOfMembers(const std::tuple<Ms...>&);

} // namespace kelm
