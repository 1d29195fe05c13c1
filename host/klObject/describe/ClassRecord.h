#pragma once

// ClassRecord<T>: the descriptor of a described class, which follows from its description. Constant data, complete
// before the program begins. With it, what the records of all kinds have in common.

#include <klObject/GcObject.h>
#include <klObject/TypeOps.h>
#include <klObject/describe/Members.h>

#include <array>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <tuple>
#include <type_traits>

namespace kelm
{

// Whether no two of several arrays' elements have the same name. By hash: compilers count the steps.
template <class... Arrays>
constexpr bool HaveDistinctNames(const Arrays&... arrays)
{
    std::array<std::string_view, 2 * (std::tuple_size_v<Arrays> + ...) + 1> slots{};
    const auto insert = [&](std::string_view name)
    {
        std::size_t slot = 0;
        for (const char c : name)
            slot = (slot * 31 + static_cast<unsigned char>(c)) % slots.size();
        while (!slots[slot].empty() && slots[slot] != name)
            slot = (slot + 1) % slots.size();
        const bool isNew = slots[slot].empty();
        slots[slot] = name;
        return isNew;
    };
    const auto insertAll = [&](const auto& array)
    {
        for (const auto& element : array)
            if (!insert(element.m_name))
                return false;
        return true;
    };
    return (insertAll(arrays) && ...);
}

template <class Array>
constexpr auto DataOrNull(const Array& array) -> decltype(array.data())
{
    return array.empty() ? nullptr : array.data();
}

template <class T>
inline constexpr TypeOps s_typeOps = MakeTypeOps<T>();

template <class T>
struct DescribedRecord
{
    static_assert(IsQualifiedName(Description<T>::s_name),
                  "a type is described under its full name, identifiers with \"::\" between them");
};

template <class M>
inline constexpr bool s_lacksFunctions = false;
template <class T>
inline constexpr bool s_lacksFunctions<OrdinaryField<T>> = FieldType<T>::HasFunctions;

// What the members of a description are.
struct MemberCounts
{
    std::size_t m_modelFields;
    std::size_t m_ordinaryFields;
    std::size_t m_embeddedModels;
    std::size_t m_lackFunctions;
    bool m_isPersistable;
    bool m_isCreatable;
};

constexpr std::size_t CountTrue(std::initializer_list<bool> flags)
{
    std::size_t count = 0;
    for (const bool flag : flags)
        count += flag;
    return count;
}

template <class... Ms>
constexpr MemberCounts CountMembers(const std::tuple<Ms...>&)
{
    return {CountTrue({s_isModelField<Ms>...}),
            CountTrue({s_isOrdinaryField<Ms>...}),
            CountTrue({s_isEmbeddedModel<Ms>...}),
            CountTrue({s_lacksFunctions<Ms>...}),
            CountTrue({std::is_same_v<Ms, Persistable>...}) > 0,
            CountTrue({std::is_same_v<Ms, NotCreatable>...}) == 0};
}

template <class T>
class ClassRecord : DescribedRecord<T>
{
    static constexpr auto s_members = Description<T>::Members();
    static constexpr MemberCounts s_counts = CountMembers(s_members);

    static_assert(
        s_counts.m_lackFunctions == 0,
        "an ordinary field cannot hold a map or set, at any depth: only model fields carry the functions that "
        "it needs; describe it with KELM_MODEL");
    static_assert(
        s_counts.m_embeddedModels == 0 || (s_counts.m_embeddedModels == 1 && s_counts.m_modelFields == 0),
        "a class lists its model fields (KELM_MODEL) or has the model of one member (KELM_MODEL_OF), not both");

    static constexpr decltype(TablesOfMembers(s_members)) s_tables{};

    // Calls add(member, byte code, functions) with each member.
    template <class Add>
    static constexpr void ForEachMember(Add add)
    {
        std::size_t i = 0;
        const auto addNext = [&](const auto& member)
        {
            add(member, s_tables.ByteCode(i), s_tables.Functions(i));
            ++i;
        };
        std::apply([&](const auto&... members) { (addNext(members), ...); }, s_members);
    }

    static constexpr auto s_fields = []
    {
        std::array<ReflectedField, s_counts.m_ordinaryFields> fields{};
        std::size_t n = 0;
        ForEachMember(
            [&](const auto& member, const uint8* bc, const PtrMapOrSetFns*)
            {
                if constexpr (s_isOrdinaryField<std::decay_t<decltype(member)>>)
                    fields[n++] = {member.m_name, member.m_offset, bc};
            });
        return fields;
    }();

    // One for each model field, or the one of the embedded model.
    static constexpr auto s_modelFields = []
    {
        std::array<ReflectedModelField, s_counts.m_modelFields + s_counts.m_embeddedModels> fields{};
        std::size_t n = 0;
        ForEachMember(
            [&]<class M>(const M& member, const uint8* bc, const PtrMapOrSetFns* functions)
            {
                if constexpr (s_isModelField<M>)
                    fields[n++] = {member.m_name, member.m_offset, bc, member.m_rsn1, member.m_rsn2, functions};
                else if constexpr (s_isEmbeddedModel<M>)
                    fields[n++] = {RegisteredName<typename M::Class>(), member.m_offset, bc, 0, -1, nullptr};
            });
        return fields;
    }();

    static_assert(HaveDistinctNames(s_fields, s_modelFields), "two fields have the same name");

    static constexpr std::array<ConstStringZ, 2> s_interfaces = {RegisteredName<IObject>(),
                                                                 RegisteredName<IPersistable>()};

public:
    static constinit inline const ReflectedClass s_record = []
    {
        ReflectedClass record;
        record.m_name = Description<T>::s_name;
        record.m_size = sizeof(T);
        record.m_fields = DataOrNull(s_fields);
        record.m_numFields = s_fields.size();
        record.m_modelFields = DataOrNull(s_modelFields);
        record.m_numModelFields = s_counts.m_modelFields;
        record.m_stringTable = s_tables.m_names.data();
        record.m_interfaces = s_interfaces.data();
        record.m_numInterfaces = s_counts.m_isPersistable ? 2 : 1;
        record.m_objectFns = &GcObjectFns<T>;
        if constexpr (s_counts.m_isCreatable && std::is_default_constructible_v<T>)
            record.m_createFn = &CreateGcObject<T>;
        record.m_ops = &s_typeOps<T>;
        return record;
    }();
};

} // namespace kelm
