// The catalogue of types as JSON. What is empty, false or 0 is left out.

#include <kelm/private/JsonText.h>
#include <kelm/private/TypeCatalogue.h>

#include <algorithm>
#include <iterator>

namespace kelm
{

namespace
{

constexpr std::string_view s_kindNames[] = {"void",     "bool",      "integer", "float",   "character", "text",
                                            "duration", "enum",      "class",   "variant", "typedef",   "array",
                                            "list",     "tuple",     "set",     "map",     "optional",  "choice",
                                            "handle",   "reference", "other"};
static_assert(std::size(s_kindNames) == static_cast<std::size_t>(TypeKind::Other) + 1);

class CatalogueWriter
{
public:
    std::string Write(const TypeCatalogue& catalogue)
    {
        m_json.BeginObject();
        m_json.Name(s_catalogueMark);
        m_json.Integer(s_catalogueVersion);
        All("classes", catalogue.m_classes);
        All("enums", catalogue.m_enums);
        All("variants", catalogue.m_variants);
        All("typedefs", catalogue.m_typedefs);
        m_json.EndObject();
        return m_json.GetText();
    }

private:
    void Put(std::string_view name, const std::string& text)
    {
        if (text.empty())
            return;
        m_json.Name(name);
        m_json.Text(text);
    }
    void Put(std::string_view name, bool value)
    {
        if (!value)
            return;
        m_json.Name(name);
        m_json.Bool(true);
    }
    void Put(std::string_view name, int64 value)
    {
        if (value == 0)
            return;
        m_json.Name(name);
        m_json.Integer(value);
    }
    template <class Row>
    void Put(std::string_view name, const std::vector<Row>& rows)
    {
        if (!rows.empty())
            All(name, rows);
    }
    void Put(std::string_view name, const TypeNode& type)
    {
        m_json.Name(name);
        Element(type);
    }

    template <class Row>
    void All(std::string_view name, const std::vector<Row>& rows)
    {
        m_json.Name(name);
        m_json.BeginArray();
        for (const Row& row : rows)
            Element(row);
        m_json.EndArray();
    }

    void Element(const std::string& text) { m_json.Text(text); }
    template <class Row>
    void Element(const Row& row)
    {
        m_json.BeginObject();
        Inside(row);
        m_json.EndObject();
    }

    void Inside(const TypeNode& type)
    {
        Put("kind", std::string(NameOf(type.m_kind)));
        Put("text", type.m_text);
        Put("name", type.m_name);
        Put("parts", type.m_parts);
        Put("names", type.m_names);
        Put("count", type.m_count);
        Put("const", type.m_isConst);
        Put("standard", type.m_isStandard);
    }
    void EntryInside(const CatalogueEntry& entry)
    {
        Put("name", entry.m_name);
        Put("module", entry.m_module);
        Put("doc", entry.m_doc);
        Put("file", entry.m_place.m_file);
        Put("line", int64{entry.m_place.m_line});
    }
    void Inside(const CatalogueMember& member)
    {
        Put("name", member.m_name);
        Put("type", member.m_type);
        if (member.m_default)
        {
            m_json.Name("default");
            m_json.Text(*member.m_default);
        }
        Put("doc", member.m_doc);
        Put("required", member.m_isRequired);
        Put("checked", member.m_isChecked);
        Put("ordinary", !member.m_isOfModel);
    }
    void Inside(const CatalogueClass& entry)
    {
        EntryInside(entry);
        Put("bases", entry.m_bases);
        Put("interfaces", entry.m_interfaces);
        Put("creatable", entry.m_isCreatable);
        Put("members", entry.m_members);
    }
    void Inside(const CatalogueEnumerator& enumerator)
    {
        Put("name", enumerator.m_name);
        Put("value", enumerator.m_value);
        Put("doc", enumerator.m_doc);
    }
    void Inside(const CatalogueEnum& entry)
    {
        EntryInside(entry);
        Put("standard", entry.m_isStandard);
        Put("enumerators", entry.m_enumerators);
    }
    void Inside(const CatalogueAlternative& alternative)
    {
        Put("name", alternative.m_name);
        Put("type", alternative.m_type);
    }
    void Inside(const CatalogueVariant& entry)
    {
        EntryInside(entry);
        Put("alternatives", entry.m_alternatives);
    }
    void Inside(const CatalogueTypedef& entry)
    {
        EntryInside(entry);
        Put("type", entry.m_type);
    }

    JsonText m_json{JSON_INDENTED};
};

} // namespace

std::string_view NameOf(TypeKind kind)
{
    return s_kindNames[static_cast<std::size_t>(kind)];
}

std::optional<TypeKind> FindTypeKind(std::string_view name)
{
    const auto* const found = std::find(std::begin(s_kindNames), std::end(s_kindNames), name);
    if (found == std::end(s_kindNames))
        return std::nullopt;
    return static_cast<TypeKind>(found - s_kindNames);
}

std::string JsonOf(const TypeCatalogue& catalogue)
{
    return CatalogueWriter().Write(catalogue);
}

} // namespace kelm
