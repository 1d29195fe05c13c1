#include "AnyValue.h"

#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klUtils/KelmAssertionError.h>

#include <algorithm>
#include <utility>

namespace kelm::reference
{

ValueDrawing::ValueDrawing(Random& random) : m_random(random)
{
    static constexpr Layout s_layouts[] = {L_COMPACT, L_SPACED, L_SPACED, L_INDENTED, L_INDENTED, L_WILD};
    m_layout = random.Of(s_layouts);
    if (random.OneIn(10))
        m_budget = 400;
}

// --- Layout ----------------------------------------------------------------------------------------------------------

std::string ValueDrawing::Space()
{
    switch (m_layout)
    {
    case L_COMPACT: return "";
    case L_SPACED: return m_random.OneIn(10) ? "" : " ";
    case L_INDENTED:
        if (m_random.OneIn(30))
            return "\n// " + AnyName(m_random) + "\n";
        return m_random.OneIn(2) ? " " : "\n" + std::string(2 * static_cast<std::size_t>(m_depth), ' ');
    case L_WILD: break;
    }
    return AnySpace(m_random);
}

std::string ValueDrawing::Break()
{
    const std::string space = Space();
    return space.empty() ? " " : space;
}

std::size_t ValueDrawing::AnyCount()
{
    if (m_budget <= 0 || m_depth > 6)
        return 0;
    return m_random.OneIn(12) ? m_random.Below(40) : m_random.Below(5);
}

// --- Values ----------------------------------------------------------------------------------------------------------

namespace
{

// Moves `type` there; FT_NOT_REFLECTED where a typedef is none.
ETypeByteCode UnderlyingCode(ReflectionByteCode& type)
{
    try
    {
        type.AdvanceToUnderlyingType2();
        return type.GetCode();
    }
    catch (const KelmAssertionError&)
    {
        return FT_NOT_REFLECTED;
    }
}

} // namespace

std::string ValueDrawing::Value(ReflectionByteCode type)
{
    if (m_random.OneIn(250))
        return AnyToken(m_random);
    --m_budget;
    ++m_depth;
    std::string text;
    switch (UnderlyingCode(type))
    {
    case FT_ENUM: text = type.GetReflectedEnum() != nullptr ? Enumerator(*type.GetReflectedEnum()) : "x"; break;
    case FT_CLASS: text = type.GetReflectedClass() != nullptr ? ClassValue(*type.GetReflectedClass()) : "{}"; break;
    case FT_VARIANT: text = type.GetReflectedVariant() != nullptr ? Variant(*type.GetReflectedVariant()) : "x 1"; break;
    case FT_ARRAY: text = List(static_cast<std::size_t>(type.GetArrayCount()), type.GetElementType()); break;
    case FT_VECTOR:
    case FT_DYNARRAY: text = List(AnyCount(), type.GetElementType()); break;
    case FT_MAP: text = Map(type); break;
    case FT_PREF:
    case FT_CREF: text = DataSource(); break;
    case FT_INTERFACE_POINTER: text = m_budget < 0 || m_random.OneIn(4) ? "null" : DataSource(); break;
    default: text = Scalar(type.GetCode());
    }
    --m_depth;
    return text;
}

std::string ValueDrawing::Integer(std::size_t bits, bool isSigned)
{
    if (m_random.OneIn(60))
        return AnyNumber(m_random);
    const uint64 value = m_random.Next() >> (64 - bits + (isSigned ? 1 : 0)) >> m_random.Below(bits - 1);
    if (m_random.OneIn(16))
        return "0x" + std::to_string(value % 100);
    return (isSigned && m_random.OneIn(4) ? "-" : "") + std::to_string(value);
}

std::string ValueDrawing::Scalar(ETypeByteCode code)
{
    static constexpr const char* s_characters[] = {"'a'", "\"b\"", "'\\n'", "' '", "'\\x80'", "'\\''", "'\"'"};
    switch (code)
    {
    case FT_BOOL: return m_random.OneIn(2) ? "true" : "false";
    case FT_INT8: return Integer(8, true);
    case FT_INT16: return Integer(16, true);
    case FT_INT32: return Integer(32, true);
    case FT_INT64: return Integer(64, true);
    case FT_UINT8: return Integer(8, false);
    case FT_UINT16: return Integer(16, false);
    case FT_UINT32: return Integer(32, false);
    case FT_UINT64: return Integer(64, false);
    case FT_FLOAT32:
    case FT_FLOAT64:
        if (m_random.OneIn(4))
            return Integer(32, true);
        return (m_random.OneIn(4) ? "-" : "") + (m_random.OneIn(6) ? AnyFloat(m_random)
                                                                   : std::to_string(m_random.Below(1000)) + "." +
                                                                         std::to_string(m_random.Below(100000)));
    case FT_CHAR8:
    case FT_CHAR16: return m_random.Of(s_characters);
    case FT_STRING8:
    case FT_STRING16: return AnyQuoted(m_random);
    case FT_VOID: return "";
    default: return "1";
    }
}

std::string ValueDrawing::Enumerator(const ReflectedEnum& r)
{
    const auto i = static_cast<int32>(m_random.Below(static_cast<std::size_t>(r.m_count)));
    if (m_random.OneIn(30))
        return m_random.OneIn(2) ? AnyName(m_random) : AnyDigits(m_random);
    return m_random.OneIn(6) ? std::to_string(r.GetValue(i)) : r.m_strings[i];
}

std::string ValueDrawing::Variant(const ReflectedVariant& rv)
{
    const ReflectedField& field = rv.m_fields[m_random.Below(static_cast<std::size_t>(rv.m_numFields))];
    const std::string name = Name(field.m_name, true);
    return name + Break() + Value({field.m_bc, rv.m_stringTable, nullptr});
}

std::string ValueDrawing::List(std::size_t count, const ReflectionByteCode& type)
{
    if (m_random.OneIn(100))
        ++count;
    std::string text = "[" + Space();
    for (std::size_t i = 0; i < count; ++i)
        text += (i == 0 ? "" : "," + Space()) + Value(type) + (m_random.OneIn(4) ? Space() : "");
    return text + (m_layout == L_COMPACT ? "" : Space()) + "]";
}

std::string ValueDrawing::Map(ReflectionByteCode type)
{
    const ReflectionByteCode key(type.m_bc + 1, type.m_stringTable, type.m_mapOrSetFns);
    ReflectionByteCode payload = key;
    payload.ScanType();
    const bool isInOrder = m_random.OneIn(2);
    std::vector<std::string> entries;
    for (std::size_t n = AnyCount(); n > 0; --n)
    {
        const std::string keyText = Value(key);
        entries.push_back(keyText + Space() + "->" + Space() + Value(payload) + Space());
    }
    if (isInOrder)
        std::sort(entries.begin(), entries.end());
    std::string text = "[" + Space();
    for (std::size_t i = 0; i < entries.size(); ++i)
        text += (i == 0 ? "" : "," + Space()) + entries[i];
    return text + "]";
}

// --- Names and bodies ------------------------------------------------------------------------------------------------

std::string ValueDrawing::Name(std::string fullName, bool mayBeSuffix)
{
    if (mayBeSuffix && m_random.OneIn(2))
        fullName.erase(0, fullName.rfind("::") + 2);
    if (m_random.OneIn(2))
        for (std::size_t at = fullName.find("::"); at != std::string::npos; at = fullName.find("::"))
            fullName.replace(at, 2, ".");
    fullName.erase(std::min(fullName.find('<'), fullName.size())); // not written, and no token of a name
    if (m_layout == L_WILD && m_random.OneIn(4))
        for (std::size_t at = fullName.find('.'); at != std::string::npos; at = fullName.find('.', at))
        {
            const std::string separator = Space() + "." + Space();
            fullName.replace(at, 1, separator);
            at += separator.size();
        }
    return fullName;
}

std::vector<ValueDrawing::Field> ValueDrawing::FieldsOf(const ReflectedClass& rc)
{
    std::vector<Field> fields;
    const ReflectedClass* model = &rc;
    if (rc.m_modelFields != nullptr && rc.m_numModelFields == 0)
        model = TryFindReflectedClass(rc.m_modelFields->m_name);
    if (model != nullptr && model->m_modelFields != nullptr)
        for (ssize_t i = 0; i < model->m_numModelFields; ++i)
            if (const ReflectedModelField& field = model->m_modelFields[i]; field.m_rsn2 == -1)
                fields.push_back({field.m_name, {field.m_bc, model->m_stringTable, field.m_mapOrSetFns}});
    for (ssize_t i = 0; i < rc.m_numFields; ++i)
        fields.push_back({rc.m_fields[i].m_name, {rc.m_fields[i].m_bc, rc.m_stringTable, nullptr}});
    return fields;
}

std::string ValueDrawing::ClassValue(const ReflectedClass& rc)
{
    static constexpr const char* s_wrong[] = {"oint", "Circle", "other.Point", "null"};
    const std::string name = m_random.OneIn(100) ? m_random.Of(s_wrong)
                             : m_random.OneIn(3) ? Name(rc.m_name, true)
                                                 : "";
    return name + (name.empty() ? "" : Space()) + Body(rc);
}

std::string ValueDrawing::Body(const ReflectedClass& rc)
{
    const std::vector<Field> fields = FieldsOf(rc);
    const bool isShort = fields.size() < 5 && m_random.OneIn(3);
    return isShort || m_random.OneIn(20) ? PositionalBody(fields) : NamedBody(fields);
}

std::string ValueDrawing::PositionalBody(const std::vector<Field>& fields)
{
    std::string text = "(" + Space();
    for (std::size_t i = 0; i < fields.size(); ++i)
        text += (i == 0 ? "" : "," + Space()) + Value(fields[i].m_type) + (m_random.OneIn(4) ? Space() : "");
    return text + ")";
}

std::string ValueDrawing::Member(const Field& field)
{
    const std::string name = m_random.OneIn(150) ? AnyName(m_random) : field.m_name;
    return name + Space() + "=" + Space() + Value(field.m_type) + Break();
}

// All members in their order, or some of them, or any of them in any order.
std::string ValueDrawing::NamedBody(const std::vector<Field>& fields)
{
    if (fields.empty() || m_budget <= 0)
        return "{" + Space() + "}";
    std::string text = "{" + Space();
    if (m_random.OneIn(3))
        for (std::size_t n = 1 + m_random.Below(5); n > 0; --n)
            text += Member(fields[m_random.Below(fields.size())]);
    else
    {
        const std::size_t oneIn = m_random.OneIn(2) ? 1 : 1 + m_random.Below(fields.size());
        for (const Field& field : fields)
            if (m_random.OneIn(oneIn))
                text += Member(field);
    }
    return text + "}";
}

std::string ValueDrawing::DataSource()
{
    static constexpr const char* s_classes[] = {
        "hand::Node",    "reading::Document", "hand::Node",  "reading::Document", "hand::geom::Point", "hand::Plain",
        "hand::Scalars", "hand::Containers",  "hand::Outer", "hand::Evolved",     "reading::Record"};
    static constexpr const char* s_wrong[] = {"hand::Abstract", "hand::NullMaker", "Point",       "null",
                                              "hand::Model",    "hand::Bare",      "hand::Orphan"};
    if (m_random.OneIn(40))
        return Name(m_random.Of(s_wrong), false) + Break() + "{" + Space() + "}";
    const std::string fullName = m_random.Of(s_classes);
    const std::string name = Name(fullName, m_random.OneIn(50));
    ++m_depth;
    const bool hasBody = m_budget > 0 && !m_random.OneIn(6);
    const std::string body = hasBody ? Space() + Body(FindReflectedClass(fullName.c_str())) : "";
    --m_depth;
    return name + body;
}

} // namespace kelm::reference
