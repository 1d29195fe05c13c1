#include <kelmLanguage/Schema.h>

#include <kelm/private/types/JsonText.h>

#include <algorithm>
#include <cstddef>
#include <set>

namespace kelm::language
{

namespace
{

// What stands under "$defs": a named type, or a class as an object of its own, which tells its name.
struct Definition
{
    std::string m_name;
    bool m_isObject;

    auto operator<=>(const Definition&) const = default;
};

std::string NameOf(const Definition& definition)
{
    return definition.m_isObject ? definition.m_name + ".object" : definition.m_name;
}

// The numbers of a kind, as they are written: no other type of JSON's readers has all of them.
struct Range
{
    std::string_view m_name;
    int64 m_least;
    uint64 m_most;
};
constexpr Range s_ranges[] = {
    {"int8", -128, 127},
    {"int16", -32768, 32767},
    {"int32", -2147483647 - 1, 2147483647},
    {"int64", -9223372036854775807 - 1, 9223372036854775807},
    {"uint8", 0, 255},
    {"uint16", 0, 65535},
    {"uint32", 0, 4294967295},
    {"uint64", 0, 18446744073709551615U},
};

class SchemaWriter
{
public:
    explicit SchemaWriter(const Types& types) : m_types(types) {}

    std::string Write(const CatalogueClass& entry)
    {
        m_json.BeginObject();
        Text("$schema", "https://json-schema.org/draft/2020-12/schema");
        Text("title", entry.m_name);
        Refer({entry.m_name, true});
        m_json.Name("$defs");
        m_json.BeginObject();
        // What a definition refers to is defined behind it.
        std::set<Definition> written;
        while (!m_open.empty())
        {
            const Definition next = *m_open.begin();
            m_open.erase(m_open.begin());
            if (written.insert(next).second)
                Define(next);
        }
        m_json.EndObject();
        m_json.EndObject();
        return m_json.GetText();
    }

private:
    void Text(std::string_view name, std::string_view text)
    {
        m_json.Name(name);
        m_json.Text(text);
    }
    void Count(std::string_view name, std::size_t count)
    {
        m_json.Name(name);
        m_json.Integer(uint64{count});
    }
    void Bool(std::string_view name, bool value)
    {
        m_json.Name(name);
        m_json.Bool(value);
    }
    void Names(std::string_view name, const std::vector<std::string>& names)
    {
        m_json.Name(name);
        m_json.BeginArray();
        for (const std::string& text : names)
            m_json.Text(text);
        m_json.EndArray();
    }

    void Refer(const Definition& definition)
    {
        m_open.insert(definition);
        Text("$ref", "#/$defs/" + NameOf(definition));
    }

    // Calls `write` for the inside of each of several schemas.
    template <class Rows, class Write>
    void All(std::string_view name, const Rows& rows, const Write& write)
    {
        m_json.Name(name);
        m_json.BeginArray();
        for (const auto& row : rows)
        {
            m_json.BeginObject();
            write(row);
            m_json.EndObject();
        }
        m_json.EndArray();
    }
    void Sub(std::string_view name, const TypeNode& type)
    {
        m_json.Name(name);
        m_json.BeginObject();
        Inside(type);
        m_json.EndObject();
    }

    // --- Definitions

    void Define(const Definition& definition)
    {
        m_json.Name(NameOf(definition));
        m_json.BeginObject();
        if (const CatalogueClass* const entry = m_types.FindClass(definition.m_name))
            Class(*entry, definition.m_isObject);
        else if (const CatalogueEnum* const enumeration = m_types.FindEnum(definition.m_name))
            Enum(*enumeration);
        else if (const CatalogueVariant* const variant = m_types.FindVariant(definition.m_name))
            Alternatives(variant->m_alternatives);
        else if (const CatalogueTypedef* const alias = m_types.FindTypedef(definition.m_name))
            Inside(alias->m_type);
        m_json.EndObject();
    }

    void Describe(const std::string& doc)
    {
        if (!doc.empty())
            Text("description", doc);
    }

    void Class(const CatalogueClass& entry, bool isObject)
    {
        Describe(entry.m_doc);
        Text("type", "object");
        m_json.Name("properties");
        m_json.BeginObject();
        if (isObject)
        {
            m_json.Name("$class");
            m_json.BeginObject();
            Text("const", entry.m_name);
            m_json.EndObject();
        }
        std::set<std::string_view> names;
        std::vector<std::string> required;
        if (isObject)
            required.emplace_back("$class");
        for (const CatalogueMember& member : entry.m_members)
        {
            if (!names.insert(member.m_name).second)
                continue;
            m_json.Name(member.m_name);
            m_json.BeginObject();
            Describe(member.m_doc);
            Inside(member.m_type);
            m_json.EndObject();
            if (member.m_isRequired)
                required.push_back(member.m_name);
        }
        m_json.EndObject();
        if (!required.empty())
            Names("required", required);
        Bool("additionalProperties", false);
    }

    void Enum(const CatalogueEnum& entry)
    {
        Describe(entry.m_doc);
        std::vector<std::string> names;
        for (const CatalogueEnumerator& enumerator : entry.m_enumerators)
            names.push_back(enumerator.m_name);
        Names("enum", names);
    }

    void Alternatives(const std::vector<CatalogueAlternative>& alternatives)
    {
        All("oneOf", alternatives,
            [&](const CatalogueAlternative& alternative)
            {
                Text("type", "object");
                m_json.Name("properties");
                m_json.BeginObject();
                Sub(alternative.m_name, alternative.m_type);
                m_json.EndObject();
                Names("required", {alternative.m_name});
                Bool("additionalProperties", false);
            });
    }

    // --- Types

    void Inside(const TypeNode& type)
    {
        switch (type.m_kind)
        {
        case TypeKind::Void: return Text("type", "null");
        case TypeKind::Bool: return Text("type", "boolean");
        case TypeKind::Integer: return Integer(type.m_name);
        case TypeKind::Float: return Float(type.m_name);
        case TypeKind::Character: return Character(type.m_name);
        case TypeKind::Text:
        case TypeKind::Duration: return Text("type", "string");
        case TypeKind::Enum:
        case TypeKind::Class:
        case TypeKind::Variant:
        case TypeKind::Typedef: return Refer({type.m_name, false});
        case TypeKind::Array:
            Count("minItems", static_cast<std::size_t>(type.m_count));
            Count("maxItems", static_cast<std::size_t>(type.m_count));
            [[fallthrough]];
        case TypeKind::List:
        case TypeKind::Set: Text("type", "array"); return Sub("items", type.m_parts[0]);
        case TypeKind::Tuple: return Tuple(type.m_parts);
        case TypeKind::Map: return Map(type);
        case TypeKind::Optional:
            return All("anyOf", std::vector<TypeNode>{type.m_parts[0], TypeNode()},
                       [&](const TypeNode& part) { Inside(part); });
        case TypeKind::Choice: return Choice(type);
        case TypeKind::Handle:
        case TypeKind::Reference: return Handle(type);
        case TypeKind::Other: return Bool("not", true); // no value
        }
    }

    void Integer(const std::string& name)
    {
        Text("type", "integer");
        for (const Range& range : s_ranges)
            if (range.m_name == name)
            {
                m_json.Name("minimum");
                m_json.Integer(range.m_least);
                m_json.Name("maximum");
                m_json.Integer(range.m_most);
            }
    }

    // Of one octet; one of 16 bits is read from one octet with its sign.
    void Character(const std::string& name)
    {
        Text("type", "string");
        Count("minLength", 1);
        Count("maxLength", 1);
        Text("pattern", name == "char16" ? R"(^[\x00-\x7F\uFF80-\uFFFF]$)" : R"(^[\x00-\x7F]$)");
    }

    // What lies further out than this rounds to infinity.
    void Float(const std::string& name)
    {
        m_json.Name("anyOf");
        m_json.BeginArray();
        m_json.BeginObject();
        Text("type", "number");
        if (name == "float32")
        {
            constexpr float64 most = 0x1.ffffffp127;
            m_json.Name("minimum");
            m_json.Float(-most);
            m_json.Name("maximum");
            m_json.Float(most);
        }
        m_json.EndObject();
        m_json.BeginObject();
        Names("enum", {"inf", "-inf", "nan"});
        m_json.EndObject();
        m_json.EndArray();
    }

    void Tuple(const std::vector<TypeNode>& parts)
    {
        Text("type", "array");
        All("prefixItems", parts, [&](const TypeNode& part) { Inside(part); });
        Bool("items", false);
        Count("minItems", parts.size());
    }

    void Map(const TypeNode& type)
    {
        const TypeNode& key = m_types.UnderlyingOf(type.m_parts[0]);
        const bool isText =
            key.m_kind == TypeKind::Text || key.m_kind == TypeKind::Duration || key.m_kind == TypeKind::Enum;
        const bool hasNames = type.m_isStandard ? isText && key.m_isStandard : key.m_name == "string8";
        if (!hasNames)
        {
            Text("type", "array");
            m_json.Name("items");
            m_json.BeginObject();
            Tuple(type.m_parts);
            return m_json.EndObject();
        }
        Text("type", "object");
        if (key.m_kind == TypeKind::Enum)
            Sub("propertyNames", key);
        Sub("additionalProperties", type.m_parts[1]);
    }

    // Nothing is written as null, too.
    void Choice(const TypeNode& type)
    {
        const std::vector<CatalogueAlternative> alternatives = m_types.AlternativesOf(type);
        const bool isNullable = std::any_of(alternatives.begin(), alternatives.end(),
                                            [](const CatalogueAlternative& alternative)
                                            { return alternative.m_type.m_kind == TypeKind::Void; });
        if (!isNullable)
            return Alternatives(alternatives);
        All("anyOf", std::vector<bool>{true, false},
            [&](bool isNull) { isNull ? Text("type", "null") : Alternatives(alternatives); });
    }

    void Handle(const TypeNode& type)
    {
        std::vector<const CatalogueClass*> rows = m_types.CreatableClassesFor(type);
        rows.push_back(nullptr);
        All("anyOf", rows,
            [&](const CatalogueClass* entry) {
                entry != nullptr ? Refer({entry->m_name, true}) : Text("type", "null");
            });
    }

    const Types& m_types;
    JsonText m_json{JSON_INDENTED};
    std::set<Definition> m_open; // referred to, and perhaps not yet written
};

} // namespace

std::string SchemaOf(const Types& types, const CatalogueClass& entry)
{
    return SchemaWriter(types).Write(entry);
}

} // namespace kelm::language
