#pragma once

// The descriptors of described variants, enumerations and typedefs, which follow from their descriptions:
// VariantRecord, EnumRecord and TypedefRecord, constant data as ClassRecord is. With them the hooks that give any of
// these.

#include <klObject/describe/ClassRecord.h>

#include <array>
#include <concepts>
#include <cstddef>
#include <type_traits>
#include <variant>

namespace kelm
{

// --- variants

template <class... As>
const xvariant<As...>* AsXvariant(const xvariant<As...>*);

template <class Variant>
struct XvariantTraits;
template <class... As>
struct XvariantTraits<const xvariant<As...>*>
{
    using Type = xvariant<As...>;
    using Tables = TypeTables<FieldType<As>...>;
    static constexpr bool HasFunctions = (FieldType<As>::HasFunctions || ...);
    static constexpr EObstacle Obstacle = FirstObstacle({FieldType<As>::Obstacle...});
};

// An alternative without a value.
template <>
struct FieldType<std::monostate> : PlainFieldType<std::monostate>
{
    static constexpr void Emit(TypeEmitter& out) { out.Code(FT_VOID); }
};

// Variants are compared by reflection, alternative by alternative: these may lack operators.
template <class T>
inline constexpr TypeOps s_variantOps = {.m_size = sizeof(T),
                                         .m_ConstructArrayFn = ConstructArray<T>,
                                         .m_CopyConstructArrayFn = CopyConstructArray<T>,
                                         .m_AssignArrayFn = AssignArray<T>,
                                         .m_DestructArrayFn = DestructArray<T>};

template <class T>
class VariantRecord
{
    static_assert(
        requires { AsXvariant(static_cast<const T*>(nullptr)); },
        "KELM_VARIANT describes an xvariant, or a class derived from one");
    using Traits = XvariantTraits<decltype(AsXvariant(static_cast<const T*>(nullptr)))>;
    using Type = typename Traits::Type;

    static constexpr auto s_names = Description<T>::AlternativeNames();
    static_assert(sizeof(T) == sizeof(Type), "a described variant has no members beside its alternatives");
    static_assert(s_names.size() == Type::NumAlternatives, "KELM_VARIANT takes one name for each alternative");
    static_assert(!Traits::HasFunctions,
                  "an alternative of a variant cannot hold a map or set, at any depth: only model fields carry the "
                  "functions that it needs; put it in a described class, as a model field");

    static constexpr typename Traits::Tables s_tables{};
    static constexpr auto s_fields = []
    {
        std::array<ReflectedField, s_names.size()> fields{};
        for (std::size_t i = 0; i < fields.size(); ++i)
            fields[i] = {s_names[i], Type::ValueOffset(), s_tables.ByteCode(i)};
        return fields;
    }();
    static_assert(HaveDistinctNames(s_fields), "two alternatives have the same name");
    static_assert(
        []
        {
            for (const ConstStringZ name : s_names)
                if (!IsQualifiedName(name))
                    return false;
            return true;
        }(),
        "an alternative's name is made of identifiers with \"::\" between them");
    static_assert(Traits::Obstacle == EObstacle::None,
                  "an alternative of this variant cannot be described: its type, or one in it, is not described, or is "
                  "none that a field may have");

    static constexpr TypeNotes s_notes = NotesOf<T>();

public:
    static constexpr const UseFn* GetUses() { return s_tables.m_uses.data(); }

    static constinit inline const ReflectedVariant s_record = {
        Description<T>::s_name,  sizeof(T),        nullptr, s_fields.data(), Type::NumAlternatives,
        s_tables.m_names.data(), &s_variantOps<T>, &s_notes};
};

// --- enumerations

// An enumerator: KELM_VALUE, or one with a name of its own.
struct EnumValue
{
    // What editors show of it.
    constexpr EnumValue Doc(ConstStringZ text) const
    {
        EnumValue value = *this;
        value.m_doc = text;
        return value;
    }

    ConstStringZ m_name;
    int64 m_value;
    ConstStringZ m_doc = nullptr;
};

template <class Enumerators>
constexpr bool HaveDocs(const Enumerators& enumerators)
{
    for (const EnumValue& enumerator : enumerators)
        if (enumerator.m_doc != nullptr)
            return true;
    return false;
}

template <class E>
constexpr EnumValue MakeEnumValue(ConstStringZ name, E value)
{
    return {name, static_cast<int64>(value)};
}

template <class T>
class EnumRecord
{
    static constexpr auto s_enumerators = Description<T>::Values();
    static constexpr std::size_t s_count = s_enumerators.size();

    static constexpr bool FitIn32Bits()
    {
        for (const EnumValue& e : s_enumerators)
            if (e.m_value != static_cast<int32>(e.m_value))
                return false;
        return true;
    }
    static_assert(std::is_enum_v<T> && sizeof(T) == 4 && FitIn32Bits(),
                  "the value of a described enumeration takes 32 bits: give it the underlying type kelm::int32");
    static_assert(HaveDistinctNames(s_enumerators), "two enumerators have the same name");

    static constexpr auto s_strings = []
    {
        std::array<ConstStringZ, s_count> strings{};
        for (std::size_t i = 0; i < s_count; ++i)
            strings[i] = s_enumerators[i].m_name;
        return strings;
    }();
    static constexpr auto s_values = []
    {
        std::array<int32, s_count> values{};
        for (std::size_t i = 0; i < s_count; ++i)
            values[i] = static_cast<int32>(s_enumerators[i].m_value);
        return values;
    }();
    static constexpr bool s_isContiguous = []
    {
        for (std::size_t i = 0; i < s_count; ++i)
            if (s_enumerators[i].m_value != static_cast<int64>(i))
                return false;
        return true;
    }();

    static constexpr bool s_hasDocs = HaveDocs(s_enumerators);
    static constexpr auto s_docs = []
    {
        std::array<ConstStringZ, s_hasDocs ? s_count : 0> docs{};
        for (std::size_t i = 0; i < docs.size(); ++i)
            docs[i] = s_enumerators[i].m_doc;
        return docs;
    }();
    static constexpr TypeNotes s_notes = NotesOf<T>(DataOrNull(s_docs));

    static constexpr UseFn s_noUses = nullptr;

public:
    static constexpr const UseFn* GetUses() { return &s_noUses; }

    static constinit inline const ReflectedEnum s_record = {Description<T>::s_name,
                                                            nullptr,
                                                            nullptr,
                                                            static_cast<int32>(s_count),
                                                            s_strings.data(),
                                                            s_isContiguous ? nullptr : s_values.data(),
                                                            nullptr,
                                                            &s_notes};
};

// --- typedefs

template <class T>
class TypedefRecord
{
    static_assert(
        FieldType<typename Description<T>::Type>::Obstacle == EObstacle::None,
        "the type that this typedef stands for cannot be described: it, or one in it, is not described, or is "
        "none that a field may have");
    static constexpr TypeTables<FieldType<typename Description<T>::Type>> s_tables{};
    static constexpr TypeNotes s_notes = NotesOf<T>();

public:
    static constexpr const UseFn* GetUses() { return s_tables.m_uses.data(); } // GCOVR_EXCL_LINE: by the compiler alone

    static constinit inline const ReflectedTypedef s_record = {Description<T>::s_name, s_tables.ByteCode(0),
                                                               s_tables.m_names.data(), &s_notes};
};

// --- the hooks

template <class T>
struct RecordOf;
template <DescribedClass T>
struct RecordOf<T> : ClassRecord<T>
{
};
template <Described T>
requires std::derived_from<Description<T>, VariantDescription>
struct RecordOf<T> : VariantRecord<T>
{
};
template <Described T>
requires std::derived_from<Description<T>, EnumDescription>
struct RecordOf<T> : EnumRecord<T>
{
};
template <Described T>
requires std::derived_from<Description<T>, TypedefDescription>
struct RecordOf<T> : TypedefRecord<T>
{
};

template <Described T>
const typename Description<T>::Descriptor& _GetReflected(const T*)
{
    return RecordOf<T>::s_record;
}

template <Described T>
const TypeOps* _GetTypeOps(const T*)
{
    return RecordOf<T>::s_record.m_ops;
}

} // namespace kelm
