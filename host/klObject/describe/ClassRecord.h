#pragma once

// ClassRecord<T>: the descriptor of a described class, which follows from its description. Constant data, complete
// before the program begins. With it, what the records of all kinds have in common.

#include <klObject/describe/Members.h>
#include <klObject/describe/StructMember.h>
#include <klObject/describe/TypeParts.h>
#include <klObject/objects/GcObject.h>
#include <klObject/types/TypeOps.h>

#include <array>
#include <cstddef>
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
        uint32 hash = 2166136261; // Fowler, Noll and Vo
        for (const char c : name)
            hash = (hash ^ static_cast<unsigned char>(c)) * 16777619;
        std::size_t slot = hash % slots.size();
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
inline constexpr TypeOps s_typeOps = MakeTypeOps<T, !HasPart<T, CannotBeCopied>, !HasPart<T, CannotBeAssigned>>();

// The operations on arrays of structs, which make little code of each.
KLOBJECT_API void ConstructArrayBy(void (*construct)(void*), void (*destroy)(void*), void* dst, ssize_t dstStride,
                                   ssize_t count);
KLOBJECT_API void DestructArrayBy(void (*destroy)(void*), void* dst, ssize_t dstStride, ssize_t count);

template <class T>
inline constexpr TypeOps s_structOps = []
{
    TypeOps ops;
    ops.m_size = sizeof(T);
    if constexpr (std::is_default_constructible_v<T>)
        ops.m_ConstructArrayFn = [](void* dst, ssize_t dstStride, ssize_t count)
        { ConstructArrayBy(ConstructOne<T>, DestroyOne<T>, dst, dstStride, count); };
    ops.m_DestructArrayFn = [](void* dst, ssize_t dstStride, ssize_t count)
    { DestructArrayBy(DestroyOne<T>, dst, dstStride, count); };
    return ops;
}();

template <class T>
constexpr TypeNotes NotesOf(const ConstStringZ* docs = nullptr)
{
    return {nullptr, Description<T>::s_file, Description<T>::s_line, docs};
}

template <class T>
class ClassRecord
{
    static_assert((CheckMembers<T>(), true));
    static constexpr auto s_list = Description<T>::Members();
    static constexpr typename decltype(s_list)::Tables s_tables{};

    static constexpr std::size_t Count(EMember kind)
    {
        std::size_t count = 0;
        for (const Member& member : s_list.m_members)
            count += member.m_kind == kind;
        return count;
    }

    static_assert(
        Count(MEMBER_EMBEDDED_MODEL) == 0 || (Count(MEMBER_EMBEDDED_MODEL) == 1 && Count(MEMBER_MODEL_FIELD) == 0),
        "a class lists its model fields (KELM_MODEL) or has the model of one member (KELM_MODEL_OF), not both");

    // Calls add(member, its index) with each member of a kind.
    template <class Add>
    static constexpr void ForEach(EMember kind, Add add)
    {
        for (std::size_t i = 0; i < s_list.NumMembers; ++i)
            if (s_list.m_members[i].m_kind == kind)
                add(s_list.m_members[i], i);
    }

    static constexpr auto s_fields = []
    {
        std::array<ReflectedField, Count(MEMBER_ORDINARY_FIELD)> fields{};
        auto end = fields.begin();
        ForEach(MEMBER_ORDINARY_FIELD,
                [&](const Member& member, std::size_t i) {
                    *end++ = {member.m_name, member.m_offset, s_tables.ByteCode(i)};
                });
        return fields;
    }();

    // One for each model field, or the one of the embedded model, which bears the name of its class.
    static constexpr auto s_modelFields = []
    {
        std::array<ReflectedModelField, Count(MEMBER_MODEL_FIELD) + Count(MEMBER_EMBEDDED_MODEL)> fields{};
        auto end = fields.begin();
        ForEach(MEMBER_MODEL_FIELD,
                [&](const Member& member, std::size_t i)
                {
                    *end++ = {member.m_name, member.m_offset, s_tables.ByteCode(i),
                              member.m_rsn1, member.m_rsn2,   s_tables.Functions(i)};
                });
        ForEach(MEMBER_EMBEDDED_MODEL,
                [&](const Member& member, std::size_t i)
                {
                    const uint8* const bc = s_tables.ByteCode(i);
                    *end++ = {s_tables.m_names[bc[1] + 256U * bc[2]], member.m_offset, bc, 0, -1, nullptr};
                });
        return fields;
    }();
    static constexpr auto s_bases = []
    {
        std::array<ReflectedBase, Count(MEMBER_BASE)> bases{};
        auto end = bases.begin();
        ForEach(MEMBER_BASE,
                [&](const Member& member, std::size_t) {
                    *end++ = {member.m_name, member.m_fromDerived};
                });
        return bases;
    }();
    static_assert(HaveDistinctNames(s_fields, s_modelFields), "two fields have the same name");
    static constexpr bool s_isApartFromModel = decltype(s_list)::CheckEmbeddedModel(
        [](const auto& members)
        {
            for (const Member& member : members)
                for (const ReflectedField& field : s_fields)
                    if (member.m_kind == MEMBER_MODEL_FIELD && std::string_view(member.m_name) == field.m_name)
                        return false;
            return true;
        });
    static_assert(s_isApartFromModel, "a field has the same name as one of the embedded model");

    // One for each model field, or none where no field has any.
    template <std::size_t I>
    static bool CallCheck(const void* value)
    {
        using Field = std::tuple_element_t<I, typename decltype(s_list)::Types>;
        return static_cast<bool>(std::get<I>(s_list.m_functions)(*static_cast<const typename Field::Type*>(value)));
    }
    template <std::size_t... Is>
    static constexpr void AddFunctions(std::array<FieldRule, decltype(s_list)::NumMembers>& rules,
                                       std::index_sequence<Is...>)
    {
        const auto add = [&]<std::size_t I>(std::integral_constant<std::size_t, I>)
        {
            if constexpr (std::is_pointer_v<std::tuple_element_t<I, decltype(s_list.m_functions)>>)
                rules[I].m_check = CallCheck<I>;
        };
        (add(std::integral_constant<std::size_t, Is>()), ...);
    }
    static constexpr bool s_hasRules = []
    {
        for (const Member& member : s_list.m_members)
            if (member.m_rule.m_isRequired || member.m_rule.m_check != nullptr)
                return true;
        return requires
        {
            s_list.m_functions;
        };
    }();
    static constexpr auto s_rules = []
    {
        std::array<FieldRule, decltype(s_list)::NumMembers> ofMembers{};
        for (std::size_t i = 0; i < ofMembers.size(); ++i)
            ofMembers[i] = s_list.m_members[i].m_rule;
        if constexpr (requires { s_list.m_functions; })
            AddFunctions(ofMembers, std::make_index_sequence<decltype(s_list)::NumMembers>());
        std::array<FieldRule, s_hasRules ? s_modelFields.size() : 0> rules{};
        if constexpr (s_hasRules)
        {
            auto end = rules.begin();
            ForEach(MEMBER_MODEL_FIELD, [&](const Member&, std::size_t i) { *end++ = ofMembers[i]; });
        }
        return rules;
    }();

    static constexpr bool s_hasDocs = []
    {
        for (const Member& member : s_list.m_members)
            if (member.m_kind != MEMBER_DOC && member.m_doc != nullptr)
                return true;
        return false;
    }();
    // Of the fields that the class lists itself.
    static constexpr auto s_docs = []
    {
        std::array<ConstStringZ, s_hasDocs ? Count(MEMBER_MODEL_FIELD) + Count(MEMBER_ORDINARY_FIELD) : 0> docs{};
        if constexpr (s_hasDocs)
        {
            auto end = docs.begin();
            ForEach(MEMBER_MODEL_FIELD, [&](const Member& member, std::size_t) { *end++ = member.m_doc; });
            ForEach(MEMBER_ORDINARY_FIELD, [&](const Member& member, std::size_t) { *end++ = member.m_doc; });
        }
        return docs;
    }();
    static constexpr TypeNotes s_notes = []
    {
        TypeNotes notes = NotesOf<T>(DataOrNull(s_docs));
        ForEach(MEMBER_DOC, [&](const Member& member, std::size_t) { notes.m_doc = member.m_doc; });
        return notes;
    }();

    static constexpr bool s_isCreatable = std::is_default_constructible_v<T> && Count(MEMBER_NOT_CREATABLE) == 0;
    static constexpr std::array<ConstStringZ, 2> s_interfaces = {RegisteredName<IObject>(),
                                                                 RegisteredName<IPersistable>()};

public:
    static constexpr const UseFn* GetUses() { return s_tables.m_uses.data(); }

    static constinit inline const ReflectedClass s_record = []
    {
        ReflectedClass record;
        record.m_name = Description<T>::s_name;
        record.m_size = sizeof(T);
        record.m_fields = DataOrNull(s_fields);
        record.m_numFields = s_fields.size();
        record.m_modelFields = DataOrNull(s_modelFields);
        record.m_numModelFields = Count(MEMBER_MODEL_FIELD);
        record.m_stringTable = s_tables.m_names.data();
        record.m_interfaces = s_interfaces.data();
        record.m_numInterfaces = Count(MEMBER_PERSISTABLE) > 0 ? 2 : 1;
        record.m_objectFns = &GcObjectFns<T>;
        if constexpr (s_isCreatable)
            record.m_createFn = &CreateGcObject<T>;
        if constexpr (std::is_base_of_v<StructDescription, Description<T>>)
            record.m_ops = &s_structOps<T>;
        else
            record.m_ops = &s_typeOps<T>;
        record.m_rules = DataOrNull(s_rules);
        record.m_bases = DataOrNull(s_bases);
        record.m_numBases = s_bases.size();
        record.m_notes = &s_notes;
        return record;
    }();
};

} // namespace kelm
