// A catalogue from its text. Whatever the text holds, there is a catalogue or one reason why there is none.

#include <kelmLanguage/Types.h>

#include <kelm/private/types/CatalogueFields.h>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <limits>
#include <type_traits>
#include <unordered_set>

namespace kelm::language
{

namespace
{

using Json = nlohmann::json;

// What a text is not, in words: "classes[3].members[0].type.kind is no text".
struct NoCatalogue
{
    std::string m_why;
};

// Types nest as deep as people write them; a text may nest for ever.
constexpr int s_maxDepth = 200;

// A value and the way to it.
class Reader
{
public:
    Reader(const Json& json, std::string way) : m_json(json), m_way(std::move(way)) {}

    // A field of a row. What is not there keeps its value.
    template <class T>
    void operator()(const char* name, T& value) const
    {
        const auto member = m_json.find(name);
        if (member != m_json.end())
            Reader(*member, m_way.empty() ? name : m_way + "." + name).Read(value);
        else if constexpr (std::is_same_v<T, TypeNode> || std::is_same_v<T, TypeKind>)
            Fail("has no " + std::string(name));
    }
    void operator()(const char* name, Opposite<bool> opposite) const
    {
        bool value = !opposite.m_value;
        (*this)(name, value);
        opposite.m_value = !value;
    }

    void RequireObject() const
    {
        if (!m_json.is_object())
            Fail("is no object");
    }

private:
    [[noreturn]] void Fail(const std::string& what) const { throw NoCatalogue{m_way + " " + what}; }

    void Read(std::string& text) const
    {
        if (!m_json.is_string())
            Fail("is no text");
        text = m_json.get_ref<const std::string&>();
    }
    void Read(std::optional<std::string>& text) const { Read(text.emplace()); }
    void Read(bool& value) const
    {
        if (!m_json.is_boolean())
            Fail("is neither true nor false");
        value = m_json.get<bool>();
    }
    void Read(int64& value) const
    {
        const bool isTooBig = m_json.is_number_unsigned() &&
                              m_json.get<uint64>() > static_cast<uint64>(std::numeric_limits<int64>::max());
        if (!m_json.is_number_integer() || isTooBig)
            Fail("is no integer of 64 bits");
        value = m_json.get<int64>();
    }
    void Read(int32& value) const
    {
        int64 wide = 0;
        Read(wide);
        value = static_cast<int32>(wide);
        if (value != wide)
            Fail("is no integer of 32 bits");
    }
    void Read(TypeKind& kind) const
    {
        std::string name;
        Read(name);
        const std::optional<TypeKind> found = FindTypeKind(name);
        if (!found)
            Fail("is no kind of a type");
        kind = *found;
    }
    template <class T>
    void Read(std::vector<T>& elements) const
    {
        if (!m_json.is_array())
            Fail("is no array");
        for (std::size_t i = 0; i < m_json.size(); ++i)
            Reader(m_json[i], m_way + "[" + std::to_string(i) + "]").Read(elements.emplace_back());
    }

    template <class Row>
    requires std::is_class_v<Row>
    void Read(Row& row) const
    {
        RequireObject();
        ForEachField(row, *this);
        if constexpr (std::is_same_v<Row, TypeNode>)
            CheckParts(row);
        else if (row.m_name.empty())
            Fail("has no name");
        if constexpr (std::is_same_v<Row, CatalogueClass>)
            CheckNames("members", row.m_members);
        else if constexpr (std::is_same_v<Row, CatalogueVariant>)
            CheckNames("alternatives", row.m_alternatives);
        else if constexpr (std::is_same_v<Row, CatalogueEnum>)
        {
            CheckNames("enumerators", row.m_enumerators);
            CheckValues(row);
        }
    }

    // No two of a name.
    template <class Row>
    void CheckNames(const char* what, const std::vector<Row>& rows) const
    {
        std::unordered_set<std::string_view> names;
        for (const Row& row : rows)
            if (!names.insert(row.m_name).second)
                Fail("has two " + std::string(what) + " named '" + row.m_name + "'");
    }

    void CheckValues(const CatalogueEnum& entry) const
    {
        for (const CatalogueEnumerator& enumerator : entry.m_enumerators)
            if (!entry.m_isStandard && enumerator.m_value != static_cast<int32>(enumerator.m_value))
                Fail("gives '" + enumerator.m_name + "' a value of more than 32 bits");
    }

    // As many as the kind says.
    void CheckParts(const TypeNode& type) const
    {
        struct Row
        {
            TypeKind m_kind;
            std::size_t m_parts;
        };
        constexpr Row rows[] = {
            {TypeKind::Array, 1}, {TypeKind::List, 1}, {TypeKind::Set, 1}, {TypeKind::Map, 2}, {TypeKind::Optional, 1}};
        for (const Row& row : rows)
            if (row.m_kind == type.m_kind && row.m_parts != type.m_parts.size())
                Fail("has not the parts of its kind");
        if (type.m_kind == TypeKind::Choice && type.m_parts.size() != type.m_names.size())
            Fail("has not a name for each part");
        const auto isIt = [&](const DurationNumber& number) { return number.m_name == type.m_number; };
        if (!type.m_number.empty() && type.m_number != s_durationFloat &&
            std::none_of(std::begin(s_durationNumbers), std::end(s_durationNumbers), isIt))
            Fail("counts in '" + type.m_number + "', which is no number of durations");
        if (type.m_count < 0)
            Fail("has less than no elements");
    }

    const Json& m_json;
    std::string m_way;
};

// Deeper texts are given up while they are read.
Json Parse(std::string_view text)
{
    const auto isWithin = [](int depth, Json::parse_event_t, const Json&)
    {
        if (depth > s_maxDepth)
            throw NoCatalogue{"it is nested too deep"};
        return true;
    };
    try
    {
        return Json::parse(text, isWithin);
    }
    catch (const Json::exception& e)
    {
        // Behind the library's own name of the error.
        const std::string_view what = e.what();
        const std::size_t end = what.find("] ");
        throw NoCatalogue{"it is no JSON: " + std::string(end == std::string_view::npos ? what : what.substr(end + 2))};
    }
}

} // namespace

std::optional<TypeCatalogue> ReadTypeCatalogue(std::string_view json, std::string& why)
{
    try
    {
        const Json whole = Parse(json);
        const auto version = whole.is_object() ? whole.find(s_catalogueMark) : whole.end();
        if (version == whole.end())
            throw NoCatalogue{"it has no \"" + std::string(s_catalogueMark) + "\""};
        if (*version != s_catalogueVersion)
            throw NoCatalogue{"it is of version " + version->dump() + ", and version " +
                              std::to_string(s_catalogueVersion) + " can be read"};
        TypeCatalogue catalogue;
        ForEachField(catalogue, Reader(whole, {}));
        return catalogue;
    }
    catch (const NoCatalogue& e)
    {
        why = "it is no file of types: " + e.m_why;
        return std::nullopt;
    }
}

} // namespace kelm::language
