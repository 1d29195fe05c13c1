#include "SourceOfJson.h"

#include <kelmDocument/private/Subject.h>

#include <kelm/private/errors/Source.h>
#include <kelm/private/types/Names.h>
#include <kelm/private/types/TypeText.h>
#include <kelm/private/values/Variable.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/Registry.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/xostream.h>
#include <klUtils/xstring.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <optional>
#include <string_view>
#include <system_error>
#include <unordered_set>

namespace kelm::tool
{

namespace
{

using language::JsonKind;
using language::JsonTape;
using language::JsonValue;

constexpr std::size_t s_indent = 4;
constexpr std::size_t s_maxIndentedDepth = 16; // as of data sources that are written

SubString Of(std::string_view text)
{
    return {text.data(), text.data() + text.size()};
}

class TextStream : public xostream
{
public:
    explicit TextStream(std::string& text) : m_text(text) {}
    using xostream::put;
    void put(const char* text, long length) override { m_text.append(text, static_cast<std::size_t>(length)); }

private:
    std::string& m_text;
};

// The number as an integer is written; empty where it is none, or longer than any.
std::string IntegerOf(std::string_view number)
{
    constexpr std::size_t mostDigits = 20;
    const std::size_t exponentAt = std::min(number.find_first_of("eE"), number.size());
    int exponent = 0;
    if (exponentAt < number.size())
    {
        const std::size_t begin = exponentAt + (number[exponentAt + 1] == '+' ? 2 : 1);
        if (std::from_chars(number.data() + begin, number.data() + number.size(), exponent).ec != std::errc())
            return {};
    }
    const bool isNegative = number[0] == '-';
    const std::string_view mantissa = number.substr(isNegative ? 1 : 0, exponentAt - (isNegative ? 1 : 0));
    const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
    std::string digits(mantissa.substr(0, point));
    if (point < mantissa.size())
        digits += mantissa.substr(point + 1);
    const std::size_t zeros = std::min(digits.find_first_not_of('0'), digits.size());
    digits.erase(0, zeros);
    if (digits.empty())
        return "0";
    // How many of them stand before the point.
    const int64 whole = static_cast<int64>(point) - static_cast<int64>(zeros) + exponent;
    if (whole <= 0 || whole > static_cast<int64>(mostDigits))
        return {};
    const auto size = static_cast<std::size_t>(whole);
    if (size < digits.size() && digits.find_first_not_of('0', size) != std::string::npos)
        return {};
    digits.resize(size, '0');
    return (isNegative ? "-" : "") + digits;
}

// The keys of a map, by their values.
class Keys
{
public:
    explicit Keys(const ReflectionByteCode& type) : m_type(type)
    {
        m_type.AdvanceToUnderlyingType2();
        const ETypeByteCode code = m_type.GetCode();
        m_isCompared = code != FT_MAP && code != FT_SET && code != FT_STRING8; // JSON compares texts
    }

    // What is written again, if it is. What cannot be read is the reader's business.
    std::optional<std::string> Repeats(const std::string& text)
    {
        if (!m_isCompared)
            return std::nullopt;
        try
        {
            const evaluation::Variable key(m_type);
            m_reading.ReadValue("", text, m_type, key.Get());
            const std::optional<std::string> written = m_reading.Written(m_type, key.Get());
            return written && !m_known.insert(*written).second ? written : std::nullopt;
        }
        catch (const Error&)
        {
            return std::nullopt;
        }
    }

private:
    ReflectionByteCode m_type;
    bool m_isCompared;
    editing::Reading m_reading{DocumentPolicy()};
    std::unordered_set<std::string> m_known;
};

class SourceMaker
{
public:
    explicit SourceMaker(const JsonTape& json) : m_json(json) {}

    SourceOfJson Make(const std::string& className)
    {
        Object(0, className);
        return std::move(m_source);
    }

private:
    // --- The text

    void Put(std::string_view text) { m_source.m_text += text; }

    // What is for a value of the JSON.
    void Put(std::string_view text, std::size_t i)
    {
        Mark(i);
        Put(text);
    }
    void Mark(std::size_t i) { m_source.m_places.push_back({m_source.m_text.size(), m_json[i].m_begin}); }
    void MarkEnd(std::size_t i) { m_source.m_places.push_back({m_source.m_text.size(), m_json[i].m_end - 1}); }

    void BreakLine()
    {
        Put("\n");
        m_source.m_text.append(s_indent * std::min(m_depth, s_maxIndentedDepth), ' ');
    }

    void Quoted(std::string_view text, std::size_t i)
    {
        static constexpr uint8 code = FT_STRING8;
        Mark(i);
        TextStream stream(m_source.m_text);
        const xstring string(text.data(), static_cast<ssize_t>(text.size()));
        WriteVariable(stream, ReflectionByteCode(&code, nullptr), &string);
    }

    // --- The JSON

    [[noreturn]] void Fail(std::size_t i, const std::string& message) const
    {
        throw JsonMismatch(message, m_json[i].m_begin);
    }

    void Require(std::size_t i, JsonKind kind, ReflectionByteCode type) const
    {
        if (m_json[i].m_kind != kind)
            Fail(i, "Expected " + std::string(kind == JsonKind::Array ? "an array" : "an object") + " for " +
                        TypeText(type));
    }

    // --- Values

    // A value that stands for itself, whether or not it is of the right kind.
    void Scalar(std::size_t i)
    {
        const JsonValue& value = m_json[i];
        switch (value.m_kind)
        {
        case JsonKind::Text: return Quoted(value.m_text, i);
        case JsonKind::Array: Fail(i, "Expected a value when read an array");
        case JsonKind::Object: Fail(i, "Expected a value when read an object");
        default: return Put(value.m_text, i);
        }
    }

    void Value(std::size_t i, ReflectionByteCode type)
    {
        type.AdvanceToUnderlyingType2();
        switch (static_cast<int>(type.GetCode()))
        {
        case FT_VOID:
            if (m_json[i].m_kind != JsonKind::Null)
                Fail(i, "Expected null for nothing");
            return;
        case FT_INT8:
        case FT_INT16:
        case FT_INT32:
        case FT_INT64:
        case FT_UINT8:
        case FT_UINT16:
        case FT_UINT32:
        case FT_UINT64: return Integer(i);
        case FT_FLOAT32:
        case FT_FLOAT64: return Float(i);
        case FT_CHAR16: return Character16(i);
        case FT_ENUM: return Enum(i, *type.GetReflectedEnum());
        case FT_CLASS: return Instance(i, type);
        case FT_VARIANT: return Variant(i, type);
        case FT_ARRAY:
        case FT_VECTOR:
        case FT_DYNARRAY:
        {
            const ReflectionByteCode element = type.GetElementType();
            return List(i, type, [&](std::size_t) { return element; });
        }
        case FT_MAP:
        {
            const ReflectionByteCode key = type.GetElementType();
            ReflectionByteCode payload = key;
            payload.ScanType();
            ReflectionByteCode underlying = key;
            underlying.AdvanceToUnderlyingType2();
            return Map(i, type, key, payload, underlying.GetCode() == FT_STRING8);
        }
        case FT_SET: return SetWithElements(i);
        case FT_INTERFACE_POINTER:
        case FT_PREF:
        case FT_CREF: return Object(i, {});
        case FT_FOREIGN: return Foreign(i, type);
        default: return Scalar(i);
        }
    }

    // In JSON 5.0 and 50e-1 are the number 5.
    void Integer(std::size_t i)
    {
        const JsonValue& value = m_json[i];
        const std::string digits = value.m_kind == JsonKind::Number ? IntegerOf(value.m_text) : std::string();
        if (digits.empty())
            return Scalar(i);
        Put(digits, i);
    }

    void Float(std::size_t i)
    {
        const std::string_view text = m_json[i].m_text;
        if (m_json[i].m_kind == JsonKind::Text && (text == "inf" || text == "-inf" || text == "nan"))
            Put(text, i);
        else
            Scalar(i);
    }

    // A character of 16 bits is read as one of 8 with its sign.
    void Character16(std::size_t i)
    {
        const std::string_view text = m_json[i].m_text;
        if (m_json[i].m_kind != JsonKind::Text || text.empty())
            return Scalar(i);
        const Character c = FirstCharacter(text);
        if (c.m_codePoint < 0xFF80 || c.m_codePoint > 0xFFFF || c.m_octets.size() != text.size())
            return Scalar(i);
        const char octet = static_cast<char>(c.m_codePoint & 0xFF);
        Quoted({&octet, 1}, i);
    }

    void Enum(std::size_t i, const ReflectedEnum& re)
    {
        const JsonValue& value = m_json[i];
        if (value.m_kind != JsonKind::Text)
            return Scalar(i);
        if (FindEnumerator(re, Of(value.m_text)) < 0 || !IsIdentifier(Of(value.m_text)))
            Fail(i, "Unknown member '" + std::string(value.m_text) + "' of enum " + re.m_name);
        Put(value.m_text, i);
    }

    // --- Classes

    struct Member
    {
        ReflectionByteCode m_type;
        bool m_isFound = false;
    };

    static Member FindMember(const ReflectedClass& rc, SubString name)
    {
        const ReflectedClass* const model = FindClassModel(rc).m_class;
        if (const ssize_t i = model != nullptr ? FindPresentModelField(*model, name, 0) : -1; i >= 0)
            return {{model->m_modelFields[i].m_bc, model->m_stringTable, model->m_modelFields[i].m_mapOrSetFns}, true};
        if (const ssize_t i = FindOrdinaryField(rc, name, 0); i >= 0)
            return {{rc.m_fields[i].m_bc, rc.m_stringTable}, true};
        return {};
    }

    // What no text says, and what is so where it does not.
    bool IsLeftOut(std::size_t i, ReflectionByteCode type) const
    {
        type.AdvanceToUnderlyingType2();
        const ETypeByteCode code = type.GetCode();
        if (code == FT_PREF || code == FT_CREF)
            return m_json[i].m_kind == JsonKind::Null;
        return code == FT_SET && m_json[i].m_kind == JsonKind::Array && m_json[i].m_next == i + 1;
    }

    void SetWithElements(std::size_t i) const { Fail(i, "data sources have no form for a set"); }

    // `className` is the name of the member that names the class, which is none itself; 0 where there is none.
    void Body(std::size_t object, const ReflectedClass& rc, std::size_t className)
    {
        const std::size_t end = m_json[object].m_next;
        Put("{", object);
        ++m_depth;
        bool isEmpty = true;
        for (std::size_t i = object + 1; i < end; i = m_json[i + 1].m_next)
        {
            const std::string_view name = m_json[i].m_text;
            if (i == className)
                continue;
            const Member member = FindMember(rc, Of(name));
            if (!member.m_isFound || !IsIdentifier(Of(name)))
                Fail(i, "Unknown member '" + std::string(name) + "' of class " + rc.m_name);
            if (IsLeftOut(i + 1, member.m_type))
                continue;
            isEmpty = false;
            BreakLine();
            Put(name, i);
            Put(" = ");
            Value(i + 1, member.m_type);
        }
        --m_depth;
        if (!isEmpty)
            BreakLine();
        MarkEnd(object);
        Put("}");
    }

    void Instance(std::size_t i, ReflectionByteCode type)
    {
        Require(i, JsonKind::Object, type);
        Body(i, *type.GetReflectedClass(), 0);
    }

    void Object(std::size_t object, const std::string& defaultClass)
    {
        if (m_json[object].m_kind == JsonKind::Null)
            return Put("null", object);
        if (m_json[object].m_kind != JsonKind::Object)
            Fail(object, "Expected an object, or null");
        std::string name = defaultClass;
        std::size_t place = object;
        std::size_t className = 0;
        for (std::size_t i = object + 1; i < m_json[object].m_next; i = m_json[i + 1].m_next)
            if (m_json[i].m_text == "$class")
            {
                if (m_json[i + 1].m_kind != JsonKind::Text)
                    Fail(i + 1, "Expected the name of a class");
                name = m_json[i + 1].m_text;
                place = i + 1;
                className = i;
            }
        if (name.empty())
            Fail(object, "Expected \"$class\", the name of the object's class");
        const ReflectedClass* const rc = TryFindReflectedClass(name.c_str());
        if (rc == nullptr || !IsQualifiedName(Of(name)))
            Fail(place, "'" + name + "' is not a registered class name");
        Put(name, place);
        Put(" ");
        Body(object, *rc, className);
    }

    // --- Containers

    // On one line where everything is scalar.
    bool IsFlat(std::size_t list) const
    {
        for (std::size_t i = list + 1; i < m_json[list].m_next; i = m_json[i].m_next)
            if (m_json[i].m_kind == JsonKind::Array || m_json[i].m_kind == JsonKind::Object)
                return false;
        return true;
    }

    // Calls write(element, its number) with the elements of an array, or write(name, number) with an object's members.
    template <class Write>
    void Elements(std::size_t list, bool isFlat, const Write& write)
    {
        const std::size_t end = m_json[list].m_next;
        Put("[", list);
        m_depth += isFlat ? 0U : 1U;
        std::size_t count = 0;
        for (std::size_t i = list + 1; i < end; ++count)
        {
            if (count > 0)
                Put(isFlat ? ", " : ",");
            if (!isFlat)
                BreakLine();
            write(i, count);
            i = m_json[m_json[i].m_kind == JsonKind::Name ? i + 1 : i].m_next;
        }
        m_depth -= isFlat ? 0U : 1U;
        if (!isFlat && count > 0)
            BreakLine();
        MarkEnd(list);
        Put("]");
    }

    template <class TypeOfElement>
    void List(std::size_t list, ReflectionByteCode type, const TypeOfElement& typeOfElement)
    {
        Require(list, JsonKind::Array, type);
        Elements(list, IsFlat(list), [&](std::size_t i, std::size_t count) { Value(i, typeOfElement(count)); });
    }

    void Map(std::size_t map, ReflectionByteCode type, ReflectionByteCode key, ReflectionByteCode payload,
             bool hasTextKeys)
    {
        Require(map, hasTextKeys ? JsonKind::Object : JsonKind::Array, type);
        Keys keys(key);
        Elements(map, false,
                 [&](std::size_t i, std::size_t)
                 {
                     std::size_t value = i + 1;
                     const std::size_t begin = m_source.m_text.size();
                     if (!hasTextKeys)
                     {
                         const bool isPair = m_json[i].m_kind == JsonKind::Array && m_json[i].m_next > value &&
                                             m_json[value].m_next < m_json[i].m_next &&
                                             m_json[m_json[value].m_next].m_next == m_json[i].m_next;
                         if (!isPair)
                             Fail(i, "Expected an array of a key and a payload for " + TypeText(type));
                         Value(value, key);
                         value = m_json[value].m_next;
                     }
                     else if (IsEnumerator(key))
                         Put(m_json[i].m_text, i);
                     else
                         Quoted(m_json[i].m_text, i);
                     if (const std::optional<std::string> twice = keys.Repeats(m_source.m_text.substr(begin)))
                         Fail(hasTextKeys ? i : i + 1, "the key " + *twice + " is written twice");
                     Put(" -> ");
                     Value(value, payload);
                 });
    }

    static bool IsEnumerator(ReflectionByteCode type)
    {
        type.AdvanceToUnderlyingType2();
        return type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_TEXT &&
               type.GetForeignType().m_text->m_isIdentifier;
    }

    // The one member of an object that stands for a variant; null for nothing.
    std::size_t AlternativeOf(std::size_t i, ReflectionByteCode type) const
    {
        Require(i, JsonKind::Object, type);
        if (m_json[i].m_next == i + 1 || m_json[i + 2].m_next != m_json[i].m_next)
            Fail(i, "Expected an object with one member, named as the alternative, for " + TypeText(type));
        return i + 1;
    }

    void Alternative(std::size_t name, ReflectionByteCode type)
    {
        Put(m_json[name].m_text, name);
        type.AdvanceToUnderlyingType2();
        if (type.GetCode() != FT_VOID)
            Put(" ");
        Value(name + 1, type);
    }

    void Variant(std::size_t i, ReflectionByteCode type)
    {
        const ReflectedVariant& rv = *type.GetReflectedVariant();
        const std::size_t name = AlternativeOf(i, type);
        for (ssize_t k = 0; k < rv.m_numFields; ++k)
            if (rv.m_fields[k].m_name == m_json[name].m_text)
                return Alternative(name, ReflectionByteCode(rv.m_fields[k].m_bc, rv.m_stringTable));
        Fail(name, "Unknown member '" + std::string(m_json[name].m_text) + "' of variant " + rv.m_name);
    }

    // --- Types of the standard library's

    void Foreign(std::size_t i, ReflectionByteCode type)
    {
        const ForeignType& foreign = type.GetForeignType();
        switch (foreign.GetForm())
        {
        case FF_TEXT: return foreign.m_text->m_isIdentifier ? Enumerator(i, *foreign.m_text) : Scalar(i);
        case FF_LIST:
            return List(i, type,
                        [&](std::size_t count)
                        {
                            const auto number = static_cast<ssize_t>(count);
                            // What is too much is refused by the reader, whatever it is.
                            return foreign.GetElementType(std::min<ssize_t>(number, foreign.m_numParts - 1));
                        });
        case FF_MAP:
            if (foreign.m_numParts == 1)
                return List(i, type, [&](std::size_t) { return foreign.GetPartType(0); });
            return Map(i, type, foreign.GetPartType(0), foreign.GetPartType(1), IsText(foreign.GetPartType(0)));
        case FF_CHOICE:
            if (m_json[i].m_kind == JsonKind::Null)
                return Put("null", i);
            return foreign.IsOptional() ? Value(i, foreign.GetPartType(0)) : Choice(i, type, foreign);
        }
    }

    static bool IsText(ReflectionByteCode type)
    {
        type.AdvanceToUnderlyingType2();
        return type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_TEXT;
    }

    void Enumerator(std::size_t i, const ForeignTextFns& fns)
    {
        const JsonValue& value = m_json[i];
        const auto* const end = fns.m_names + fns.m_numNames;
        if (value.m_kind != JsonKind::Text)
            return Scalar(i);
        if (std::find(fns.m_names, end, value.m_text) == end)
            Fail(i, "Unknown member '" + std::string(value.m_text) + "' of enum " + fns.m_what);
        Put(value.m_text, i);
    }

    void Choice(std::size_t i, ReflectionByteCode type, const ForeignType& foreign)
    {
        const std::size_t name = AlternativeOf(i, type);
        for (int32 k = 0; k < foreign.m_numParts; ++k)
            if (foreign.m_choice->m_names[k] == m_json[name].m_text)
                return Alternative(name, foreign.GetPartType(k));
        Fail(name, "Unknown member '" + std::string(m_json[name].m_text) + "' of variant " + TypeText(type));
    }

    const JsonTape& m_json;
    SourceOfJson m_source;
    std::size_t m_depth = 0;
};

} // namespace

std::size_t SourceOfJson::InJson(std::size_t inText) const
{
    const auto behind =
        std::upper_bound(m_places.begin(), m_places.end(), inText,
                         [](std::size_t offset, const Place& place) { return offset < place.m_inText; });
    return behind != m_places.begin() ? std::prev(behind)->m_inJson : 0;
}

SourceOfJson MakeSourceOfJson(const JsonTape& json, const std::string& className)
{
    return SourceMaker(json).Make(className);
}

} // namespace kelm::tool
