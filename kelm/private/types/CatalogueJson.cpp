// The catalogue of types as JSON. What is empty, false or 0 is left out.

#include <kelm/private/types/CatalogueFields.h>
#include <kelm/private/types/JsonText.h>
#include <kelm/private/types/TypeCatalogue.h>

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
        ForEachField(catalogue, [&](std::string_view name, const auto& rows) { All(name, rows); });
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
    void Put(std::string_view name, const std::optional<std::string>& text)
    {
        if (!text)
            return;
        m_json.Name(name);
        m_json.Text(*text);
    }
    void Put(std::string_view name, const bool& value)
    {
        if (!value)
            return;
        m_json.Name(name);
        m_json.Bool(true);
    }
    void Put(std::string_view name, const Opposite<const bool>& value) { Put(name, !value.m_value); }
    void Put(std::string_view name, const int64& value)
    {
        if (value == 0)
            return;
        m_json.Name(name);
        m_json.Integer(value);
    }
    void Put(std::string_view name, const int32& value) { Put(name, int64{value}); }
    void Put(std::string_view name, const TypeKind& kind) { Put(name, std::string(NameOf(kind))); }
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
        ForEachField(row, [&](std::string_view name, const auto& field) { Put(name, field); });
        m_json.EndObject();
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
