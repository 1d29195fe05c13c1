#pragma once

// The registered types as plain data: what tools are told of a program's types, which live in its executable, and how
// a file tells it (WriteTypes). Nothing here refers to the registries.

#include <kelm/api.h>
#include <klUtils/types.h>

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

enum class TypeKind : uint8
{
    Void,
    Bool,
    Integer,   // m_name is "int8" ... "uint64", "int128" or "uint128"
    Float,     // m_name is "float32" or "float64"
    Character, // m_name is "char8" or "char16"
    Text,      // m_name is "string8" or "string16", "string" of the standard library's, and of its paths
    Duration,  // a text such as "250ms"
    Enum,      // the named types: m_name is the registered name, whether or not that is in the catalogue
    Class,
    Variant,
    Typedef,
    Array,     // m_count elements of m_parts[0]
    List,      // of m_parts[0]
    Tuple,     // a value of each part, written as a list
    Set,       // of m_parts[0]
    Map,       // of m_parts[0] to m_parts[1]
    Optional,  // m_parts[0] or null
    Choice,    // a variant of the standard library's: of m_parts, named as m_names says
    Handle,    // null, or an object of its own: m_name is the class or interface that it has
    Reference, // a persistent reference, likewise
    Other,     // what no text can give
};

// A type as a small tree. Named types are leaves.
struct TypeNode
{
    TypeKind m_kind = TypeKind::Void;
    std::string m_text; // as C++ writes it
    std::string m_name = {};
    std::vector<TypeNode> m_parts = {};
    std::vector<std::string> m_names = {};
    int64 m_count = 0; // of an array; of a duration of whole numbers, how many nanoseconds one is
    bool m_isConst = false;
    bool m_isStandard = false; // of the standard library's: programs replace what it holds where a text gives it anew
    bool m_isDynamic = false;  // a list that paths make grow
    bool m_isPointer = false;  // an optional whose value lies elsewhere
    bool m_isShared = false;   // where others can have it too
    std::string m_number = {}; // of what a duration counts: "int32"; empty of "int64" and "float64"

    bool operator==(const TypeNode&) const = default;
};

// The integers that durations count with, but for "int64", and what these hold of it.
struct DurationNumber
{
    std::string_view m_name;
    int64 m_least;
    int64 m_most;
};
template <class T>
constexpr DurationNumber DurationNumberOf(std::string_view name)
{
    constexpr auto most = static_cast<uint64>(std::numeric_limits<int64>::max());
    return {name, static_cast<int64>(std::numeric_limits<T>::min()),
            static_cast<int64>(std::min(static_cast<uint64>(std::numeric_limits<T>::max()), most))};
}
inline constexpr DurationNumber s_durationNumbers[] = {
    DurationNumberOf<int8>("int8"),     DurationNumberOf<uint8>("uint8"), DurationNumberOf<int16>("int16"),
    DurationNumberOf<uint16>("uint16"), DurationNumberOf<int32>("int32"), DurationNumberOf<uint32>("uint32"),
    DurationNumberOf<uint64>("uint64")};
inline constexpr std::string_view s_durationFloat = "float32";

// Where a description stands, in the words of the compiler that saw it. Line 0: not known.
struct DescribedPlace
{
    std::string m_file;
    int32 m_line = 0;

    bool operator==(const DescribedPlace&) const = default;
};

// What all named types have.
struct CatalogueEntry
{
    std::string m_name;   // fully qualified, with "::"
    std::string m_module; // the target under which it is registered; empty for none
    std::string m_doc;    // what its description says of it
    DescribedPlace m_place;

    bool operator==(const CatalogueEntry&) const = default;
};

// A member that a text can give.
struct CatalogueMember
{
    std::string m_name;
    TypeNode m_type;
    std::optional<std::string> m_default; // what a new instance holds, as texts write it; nothing where they cannot
    std::string m_doc;
    bool m_isRequired = false; // by what programs read; the exact readers take texts without
    bool m_isChecked = false;  // by a function, of which no more is known
    bool m_isOfModel = true;   // so that paths reach it

    bool operator==(const CatalogueMember&) const = default;
};

struct CatalogueClass : CatalogueEntry
{
    std::vector<std::string> m_bases;       // the described ones, directly
    std::vector<std::string> m_interfaces;  // of its objects
    bool m_isCreatable = false;             // data sources can make objects of it
    std::vector<CatalogueMember> m_members; // in the order of a positional body

    bool operator==(const CatalogueClass&) const = default;
};

struct CatalogueEnumerator
{
    std::string m_name;
    int64 m_value = 0;
    std::string m_doc;

    bool operator==(const CatalogueEnumerator&) const = default;
};

struct CatalogueEnum : CatalogueEntry
{
    std::vector<CatalogueEnumerator> m_enumerators;
    bool m_isStandard = false; // of another width than 32 bits

    bool operator==(const CatalogueEnum&) const = default;
};

struct CatalogueAlternative
{
    std::string m_name; // texts may give its last parts alone
    TypeNode m_type;

    bool operator==(const CatalogueAlternative&) const = default;
};

struct CatalogueVariant : CatalogueEntry
{
    std::vector<CatalogueAlternative> m_alternatives;

    bool operator==(const CatalogueVariant&) const = default;
};

struct CatalogueTypedef : CatalogueEntry
{
    TypeNode m_type;

    bool operator==(const CatalogueTypedef&) const = default;
};

// Entries of each kind are ordered by name.
struct TypeCatalogue
{
    std::vector<CatalogueClass> m_classes;
    std::vector<CatalogueEnum> m_enums;
    std::vector<CatalogueVariant> m_variants;
    std::vector<CatalogueTypedef> m_typedefs;

    bool operator==(const TypeCatalogue&) const = default;
};

enum class Defaults
{
    Told, // an instance of every class is made, to see what a new one holds
    Untold,
};

// Of all that is registered, or of the one that has the name.
KELM_API TypeCatalogue CatalogueOfRegisteredTypes(std::string_view name = {}, Defaults defaults = Defaults::Told);

// Tells those of one class that is registered: an instance is made, whatever that does.
KELM_API void TellDefaults(CatalogueClass& entry);

// As a text in JSON, which is the same for the same catalogue.
KELM_API std::string JsonOf(const TypeCatalogue& catalogue);

// What stands at the beginning of that text, with its version: whoever reads it asks for both.
inline constexpr char s_catalogueMark[] = "kelmscriptTypes";
inline constexpr int64 s_catalogueVersion = 1;

// The kinds' names there, and here in messages.
KELM_API std::string_view NameOf(TypeKind kind);
KELM_API std::optional<TypeKind> FindTypeKind(std::string_view name);

} // namespace kelm
