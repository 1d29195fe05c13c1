#pragma once

// The names that the fields of a catalogue have in its text, for whoever writes it and whoever reads it.

#include <kelm/private/types/TypeCatalogue.h>

#include <type_traits>

namespace kelm
{

// What a text tells the opposite of.
template <class Bool>
struct Opposite
{
    Bool& m_value;
};

template <class T, class Row>
concept FieldsOf = std::is_same_v<std::remove_const_t<T>, Row>;

// Calls back for each field of a row, constant or not, with its name, in the order in which they are written.
template <FieldsOf<TypeNode> Row, class F>
void ForEachField(Row& type, const F& f)
{
    f("kind", type.m_kind);
    f("text", type.m_text);
    f("name", type.m_name);
    f("parts", type.m_parts);
    f("names", type.m_names);
    f("count", type.m_count);
    f("const", type.m_isConst);
    f("standard", type.m_isStandard);
    f("dynamic", type.m_isDynamic);
    f("pointer", type.m_isPointer);
    f("shared", type.m_isShared);
    f("number", type.m_number);
}
template <FieldsOf<CatalogueEntry> Row, class F>
void ForEachField(Row& entry, const F& f)
{
    f("name", entry.m_name);
    f("module", entry.m_module);
    f("doc", entry.m_doc);
    f("file", entry.m_place.m_file);
    f("line", entry.m_place.m_line);
}
template <FieldsOf<CatalogueMember> Row, class F>
void ForEachField(Row& member, const F& f)
{
    f("name", member.m_name);
    f("type", member.m_type);
    f("default", member.m_default);
    f("doc", member.m_doc);
    f("required", member.m_isRequired);
    f("checked", member.m_isChecked);
    f("ordinary", Opposite<std::remove_reference_t<decltype((member.m_isOfModel))>>{member.m_isOfModel});
}
template <FieldsOf<CatalogueEnumerator> Row, class F>
void ForEachField(Row& enumerator, const F& f)
{
    f("name", enumerator.m_name);
    f("value", enumerator.m_value);
    f("doc", enumerator.m_doc);
}
template <FieldsOf<CatalogueAlternative> Row, class F>
void ForEachField(Row& alternative, const F& f)
{
    f("name", alternative.m_name);
    f("type", alternative.m_type);
}

// Behind those that all named types have.
template <class Derived>
auto& AsEntry(Derived& entry)
{
    return static_cast<std::conditional_t<std::is_const_v<Derived>, const CatalogueEntry, CatalogueEntry>&>(entry);
}
template <FieldsOf<CatalogueClass> Row, class F>
void ForEachField(Row& entry, const F& f)
{
    ForEachField(AsEntry(entry), f);
    f("bases", entry.m_bases);
    f("interfaces", entry.m_interfaces);
    f("creatable", entry.m_isCreatable);
    f("members", entry.m_members);
}
template <FieldsOf<CatalogueEnum> Row, class F>
void ForEachField(Row& entry, const F& f)
{
    ForEachField(AsEntry(entry), f);
    f("standard", entry.m_isStandard);
    f("enumerators", entry.m_enumerators);
}
template <FieldsOf<CatalogueVariant> Row, class F>
void ForEachField(Row& entry, const F& f)
{
    ForEachField(AsEntry(entry), f);
    f("alternatives", entry.m_alternatives);
}
template <FieldsOf<CatalogueTypedef> Row, class F>
void ForEachField(Row& entry, const F& f)
{
    ForEachField(AsEntry(entry), f);
    f("type", entry.m_type);
}
template <FieldsOf<TypeCatalogue> Row, class F>
void ForEachField(Row& catalogue, const F& f)
{
    f("classes", catalogue.m_classes);
    f("enums", catalogue.m_enums);
    f("variants", catalogue.m_variants);
    f("typedefs", catalogue.m_typedefs);
}

} // namespace kelm
