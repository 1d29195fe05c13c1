#include <support/ReferenceDataSource.h>

#include <klObject/objects/Collector.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/Utf16FromUtf8.h>
#include <support/Expect.h>
#include <support/ReferenceLiterals.h>

#include <cstddef>
#include <cstring>

namespace kelm::reference
{

namespace
{

constexpr ConstStringZ s_file = "src/ParseDataSource";

void Require(bool condition, ConstStringZ text)
{
    if (!condition)
        ThrowKelmAssertionError(text, s_file, 0);
}

template <class T>
void Store(void* data, T value)
{
    std::memcpy(data, &value, sizeof value);
}

// Characters that form no token count as a token that belongs to no name.
Token ScanTokenOfPath(const std::string& text, std::size_t from)
{
    try
    {
        return ScanToken(text, from, false);
    }
    catch (const TextError& e)
    {
        return {TOKEN_UNDEF, e.m_place, e.m_place};
    }
}

} // namespace

// --- Qualified names -------------------------------------------------------------------------------------------------

bool TokenisePath(const std::string& text, std::size_t& at, std::vector<std::string>& segments)
{
    segments.clear();
    while (true)
    {
        const Token identifier = ScanTokenOfPath(text, at);
        at = identifier.m_begin;
        if (identifier.m_kind != TOKEN_IDENTIFIER)
            return false;
        segments.push_back(TextOf(text, identifier));
        const Token separator = ScanTokenOfPath(text, identifier.m_end);
        at = separator.m_begin;
        if (separator.m_kind != TOKEN_DOT && separator.m_kind != TOKEN_COLON_COLON)
            return true;
        at = separator.m_end;
    }
}

bool IsPathSuffix(const std::string& path, const std::string& suffix)
{
    std::size_t atPath = 0;
    std::size_t atSuffix = 0;
    std::vector<std::string> whole;
    std::vector<std::string> end;
    if (!TokenisePath(path, atPath, whole) || !TokenisePath(suffix, atSuffix, end) || whole.size() < end.size())
        return false;
    return std::vector<std::string>(whole.end() - static_cast<std::ptrdiff_t>(end.size()), whole.end()) == end;
}

// --- Whole data sources ----------------------------------------------------------------------------------------------

ptr<IObject> DataSourceReader::ReadDataSource()
{
    const std::string name = m_stream.ParsePath();
    if (name == "null")
        return nullptr;
    return ReadDataSource(name);
}

ptr<IObject> DataSourceReader::ReadDataSource(const std::string& className)
{
    const ReflectedClass* const rc = TryFindReflectedClass(className.c_str());
    if (rc == nullptr)
        m_stream.Throw("'" + className + "' is not a registered class name");
    if (rc->m_createFn == nullptr)
        m_stream.Throw("'" + className + "' doesn't support dynamic creation");
    const ptr<IObject> object = rc->m_createFn();
    RegisterGcObject(object);
    Require(static_cast<bool>(object), "obj");
    if (Kind() == TOKEN_LEFT_PAREN || Kind() == TOKEN_LEFT_CURLY)
        ReadClass(*rc, object.self());
    return object;
}

// --- Values ----------------------------------------------------------------------------------------------------------

void DataSourceReader::ReadVariable(ReflectionByteCode type, void* data)
{
    try
    {
        type.AdvanceToUnderlyingType2();
    }
    catch (const KelmAssertionError& e)
    {
        Require(!(e.m_condition == "r"), "r"); // the reader's own step
        throw;
    }
    switch (type.GetCode())
    {
    case FT_VOID: return;
    case FT_BOOL: return Store(data, ParseBool(m_stream));
    case FT_INT8: return Store(data, ParseInteger<int8>(m_stream, "int8"));
    case FT_INT16: return Store(data, ParseInteger<int16>(m_stream, "int16"));
    case FT_INT32: return Store(data, ParseInteger<int32>(m_stream, "int32"));
    case FT_INT64: return Store(data, ParseInteger<int64>(m_stream, "int64"));
    case FT_UINT8: return Store(data, ParseInteger<uint8>(m_stream, "uint8"));
    case FT_UINT16: return Store(data, ParseInteger<uint16>(m_stream, "uint16"));
    case FT_UINT32: return Store(data, ParseInteger<uint32>(m_stream, "uint32"));
    case FT_UINT64: return Store(data, ParseInteger<uint64>(m_stream, "uint64"));
    case FT_FLOAT32: return Store(data, ParseFloat<float>(m_stream, "float32"));
    case FT_FLOAT64: return Store(data, ParseFloat<double>(m_stream, "float64"));
    case FT_CHAR8: return Store(data, ParseChar(m_stream));
    case FT_CHAR16: return Store(data, static_cast<int16>(static_cast<signed char>(ParseChar(m_stream))));
    case FT_STRING8:
    {
        const std::string text = ParseString(m_stream);
        *static_cast<xstring*>(data) = xstring(ViewOf(text));
        return;
    }
    case FT_STRING16:
    {
        const std::string text = ParseString(m_stream);
        return Require(Utf16FromUtf8(*static_cast<xstring16*>(data), text.data(), static_cast<long>(text.size())),
                       "Utf16FromUtf8(dst,src)");
    }
    case FT_ENUM:
        Require(type.GetReflectedEnum() != nullptr, "r");
        return ReadEnumerator(*type.GetReflectedEnum(), data);
    case FT_CLASS:
        Require(type.GetReflectedClass() != nullptr, "rc");
        return ReadClass(*type.GetReflectedClass(), data);
    case FT_VARIANT:
        Require(type.GetReflectedVariant() != nullptr, "rv");
        return ReadVariant(*type.GetReflectedVariant(), data);
    case FT_ARRAY:
        return ReadArray({type.m_bc + 5, type.m_stringTable, type.m_mapOrSetFns}, type.GetArrayCount(), data);
    case FT_VECTOR:
    case FT_DYNARRAY: return ReadVector({type.m_bc + 1, type.m_stringTable, type.m_mapOrSetFns}, data);
    case FT_MAP: return ReadMap(type, data);
    case FT_PREF:
    case FT_CREF: return ReadPersistentReference(data);
    case FT_INTERFACE_POINTER: *static_cast<ptr<IObject>*>(data) = ReadDataSource(); return;
    default: Require(false, "0");
    }
}

void DataSourceReader::ReadEnumerator(const ReflectedEnum& r, void* data)
{
    if (Kind() == TOKEN_INTEGER)
    {
        int32 number = 0;
        try
        {
            number = GetLiteralInt32(m_stream.CurrentText());
        }
        catch (const LiteralError& e)
        {
            m_stream.Throw(e.m_message);
        }
        for (int32 i = 0; i < r.m_count; ++i)
            if ((r.m_values != nullptr ? r.m_values[i] : i) == number)
            {
                Store(data, number);
                return m_stream.ReadNextToken();
            }
        m_stream.Throw("Unknown value '" + std::to_string(number) + "' of enum " + r.m_name);
    }
    const std::string name = m_stream.ParseIdentifier();
    for (int32 i = 0; i < r.m_count; ++i)
        if (name == r.m_strings[i])
            return Store(data, r.m_values != nullptr ? r.m_values[i] : i);
    m_stream.Throw("Unknown member '" + name + "' of enum " + r.m_name);
}

void DataSourceReader::ReadPersistentReference(void* data)
{
    const ptr<IObject> object = ReadDataSource();
    Require(static_cast<bool>(object), "p");
    const ptr<IPersistable> persistable = QueryPersistable(object);
    if (!persistable)
        m_stream.Throw(std::string("'") + object.GetReflectedClass()->m_name + "' is not persistable");
    static_cast<prefbase*>(data)->Set(persistable);
}

// --- Class bodies ----------------------------------------------------------------------------------------------------

// The present model fields, then the ordinary fields.
std::vector<DataSourceReader::Field> DataSourceReader::FieldsOf(const ReflectedClass& rc, void* data)
{
    std::vector<Field> fields;
    char* const bytes = static_cast<char*>(data);
    const ReflectedClass* model = &rc;
    ssize_t offset = 0;
    if (rc.m_modelFields != nullptr && rc.m_numModelFields == 0)
    {
        model = &FindReflectedClass(rc.m_modelFields->m_name);
        offset = rc.m_modelFields->m_offset;
    }
    if (model->m_modelFields != nullptr)
        for (ssize_t i = 0; i < model->m_numModelFields; ++i)
        {
            const ReflectedModelField& field = model->m_modelFields[i];
            if (field.m_rsn2 == -1)
                fields.push_back({field.m_name,
                                  {field.m_bc, model->m_stringTable, field.m_mapOrSetFns},
                                  bytes + offset + field.m_offset});
        }
    for (ssize_t i = 0; i < rc.m_numFields; ++i)
        fields.push_back(
            {rc.m_fields[i].m_name, {rc.m_fields[i].m_bc, rc.m_stringTable, nullptr}, bytes + rc.m_fields[i].m_offset});
    return fields;
}

void DataSourceReader::ReadClass(const ReflectedClass& rc, void* data)
{
    Require(data != nullptr, "data");
    if (Kind() == TOKEN_IDENTIFIER)
    {
        const std::string name = m_stream.ParsePath();
        if (!IsPathSuffix(rc.m_name, name))
            m_stream.Throw(std::string("Expected ") + rc.m_name + " when read " + name);
    }
    if (Kind() == TOKEN_LEFT_PAREN)
        ReadPositionalBody(FieldsOf(rc, data));
    else if (Kind() == TOKEN_LEFT_CURLY)
        ReadNamedBody(rc, FieldsOf(rc, data));
    else
        m_stream.ThrowExpected("{");
}

void DataSourceReader::ReadPositionalBody(const std::vector<Field>& fields)
{
    m_stream.ReadNextToken();
    for (std::size_t i = 0; i < fields.size(); ++i)
    {
        if (i > 0)
            m_stream.ParseGivenToken(TOKEN_COMMA, ",");
        ReadVariable(fields[i].m_type, fields[i].m_data);
    }
    m_stream.ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
}

void DataSourceReader::ReadNamedBody(const ReflectedClass& rc, const std::vector<Field>& fields)
{
    m_stream.ReadNextToken();
    while (Kind() != TOKEN_RIGHT_CURLY)
    {
        const std::string name = m_stream.ParseIdentifier();
        std::size_t i = 0;
        while (i < fields.size() && fields[i].m_name != name)
            ++i;
        if (i == fields.size())
            m_stream.Throw("Unknown member '" + name + "' of class " + rc.m_name);
        m_stream.ParseGivenToken(TOKEN_EQUAL, "=");
        ReadVariable(fields[i].m_type, fields[i].m_data);
    }
    m_stream.ReadNextToken();
}

// --- Containers and variants -----------------------------------------------------------------------------------------

bool DataSourceReader::ReadEndOrComma()
{
    if (Kind() == TOKEN_RIGHT_SQUARE)
    {
        m_stream.ReadNextToken();
        return true;
    }
    m_stream.ParseGivenToken(TOKEN_COMMA, ",");
    return false;
}

void DataSourceReader::ReadArray(ReflectionByteCode elementType, ssize_t count, void* data)
{
    Require(count >= 0, "size >= 0");
    Require(count == 0 || data != nullptr, "data");
    const ssize_t size = elementType.GetTypeSize();
    m_stream.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    for (ssize_t i = 0; i < count; ++i)
    {
        if (i > 0)
            m_stream.ParseGivenToken(TOKEN_COMMA, ",");
        ReadVariable(elementType, static_cast<char*>(data) + i * size);
    }
    m_stream.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
}

void DataSourceReader::ReadVector(ReflectionByteCode elementType, void* vector)
{
    m_stream.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    if (Kind() == TOKEN_RIGHT_SQUARE)
        return m_stream.ReadNextToken();
    do
        ReadVariable(elementType, PushBackDefaultConstructedElementOntoReflectedVector(elementType, vector));
    while (!ReadEndOrComma());
}

// The one key of the map is not destroyed.
void DataSourceReader::ReadMap(ReflectionByteCode mapType, void* map)
{
    const ReflectionByteCode keyType(mapType.m_bc + 1, mapType.m_stringTable, mapType.m_mapOrSetFns);
    ReflectionByteCode payloadType = keyType;
    payloadType.ScanType();
    Require(mapType.m_mapOrSetFns != nullptr, "rbc.m_mapOrSetFns");
    Require(mapType.m_mapOrSetFns->mapFns != nullptr, "rbc.m_mapOrSetFns->mapFns");
    payloadType.m_mapOrSetFns = mapType.m_mapOrSetFns + 1;

    const ssize_t keySize = keyType.GetTypeSize();
    Require(keySize > 0, "keySize > 0");
    std::vector<std::max_align_t> key(static_cast<std::size_t>(keySize) / sizeof(std::max_align_t) + 1);
    std::memset(key.data(), 0, key.size() * sizeof(std::max_align_t));
    ConstructReflectedVariable(keyType, key.data());

    m_stream.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    if (Kind() == TOKEN_RIGHT_SQUARE)
        return m_stream.ReadNextToken();
    do
    {
        ReadVariable(keyType, key.data());
        m_stream.ParseGivenToken(TOKEN_MINUS_GREATER, "->");
        ReadVariable(payloadType, mapType.m_mapOrSetFns->mapFns->Insert(map, key.data()));
    } while (!ReadEndOrComma());
}

// What the variant held before is not destroyed; where the new alternative cannot be constructed, it is held again.
void DataSourceReader::ReadVariant(const ReflectedVariant& rv, void* data)
{
    const std::string name = m_stream.ParsePath();
    for (ssize_t i = 0; i < rv.m_numFields; ++i)
        if (IsPathSuffix(rv.m_fields[i].m_name, name))
        {
            const ReflectionByteCode type(rv.m_fields[i].m_bc, rv.m_stringTable, nullptr);
            void* const value = static_cast<char*>(data) + rv.m_fields[i].m_offset;
            const std::string held(static_cast<const char*>(data), static_cast<std::size_t>(rv.m_size));
            Store(data, static_cast<int32>(i));
            try
            {
                ConstructReflectedVariable(type, value);
            }
            catch (...)
            {
                held.copy(static_cast<char*>(data), held.size());
                throw;
            }
            return ReadVariable(type, value);
        }
    m_stream.Throw("Unknown member '" + name + "' of variant " + rv.m_name);
}

} // namespace kelm::reference
