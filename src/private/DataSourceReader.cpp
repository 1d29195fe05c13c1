// In the order of the file: whole data sources, scalars and texts, values of any type, class bodies, lists, maps,
// variants.

#include <klKelmScript/private/DataSourceReader.h>

#include <klObject/objects/Collector.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/FieldIndex.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/types/VariantIndex.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/ToString.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/text/private/FastCursor.h>
#include <klUtils/text/private/TypedReads.h>

#include <cstring>

namespace kelm
{

using text::Cursor;
using text::FastCursor;

namespace
{

constexpr ConstStringZ s_sourceFile = "src/ParseDataSource";

template <class T>
void Store(void* data, T value)
{
    std::memcpy(data, &value, sizeof value);
}

// IsPathSuffix for a written name that ReadPath has normalised. Where the full name is normalised too, as registered
// names are, the bytes tell without a list of segments.
bool IsWrittenSuffix(SubString fullName, const xstring& written)
{
    return IsQualifiedName(fullName) ? IsNameSuffix(fullName, written) : IsPathSuffix(fullName, written);
}

bool IsBodyStart(EToken kind)
{
    return kind == TOKEN_LEFT_PAREN || kind == TOKEN_LEFT_CURLY;
}

} // namespace

// "Unknown member 'x' of class C" and its relatives.
void DataSourceReader::ThrowUnknown(ConstStringZ what, SubString written, ConstStringZ container,
                                    ConstStringZ name) const
{
    m_cursor.Throw("Unknown ", what, " '", written, "' of ", container, " ", name);
}

// --- Whole data sources ----------------------------------------------------------------------------------------------

ptr<IObject> DataSourceReader::ReadDataSource()
{
    const xstring name = text::ReadPath(m_cursor);
    if (name == "null")
        return nullptr;
    return ReadObject(name.c_str());
}

ptr<IObject> DataSourceReader::ReadObject(ConstStringZ className)
{
    const ReflectedClass* const rc = TryFindReflectedClass(className);
    if (rc == nullptr)
        m_cursor.Throw("'", className, "' is not a registered class name");
    if (rc->m_createFn == nullptr)
        m_cursor.Throw("'", className, "' doesn't support dynamic creation");
    m_cursor.Show();
    const ptr<IObject> obj = rc->m_createFn();
    RegisterGcObject(obj);
    KELM_ASSERT(obj);
    if (IsBodyStart(m_cursor.GetKind()))
        ReadClass(*rc, obj.self());
    return obj;
}

// --- Scalars and texts -----------------------------------------------------------------------------------------------

namespace
{

// What stands between two elements: true at the closing bracket, which is consumed, and past a comma otherwise.
[[gnu::always_inline]] inline bool PassEndOrComma(Cursor& cursor)
{
    const bool isEnd = cursor.Is(TOKEN_RIGHT_SQUARE);
    if (!isEnd && !cursor.Is(TOKEN_COMMA)) [[unlikely]]
        cursor.ThrowExpected(",");
    cursor.NextHere();
    return isEnd;
}

// How the values of a type that does not nest are read.
struct SimpleReader
{
    // One value, into place; nothing is stored when it throws.
    void (*m_readValue)(Cursor& cursor, void* data) = nullptr;

    // The elements of a vector, in a loop that does not look at the type again. An element is there, and zero, before
    // its value is read.
    void (*m_readElements)(Cursor& cursor, VectorOfByte& vector) = nullptr;
};

template <class T, T (*Read)(Cursor&)>
struct ScalarReading
{
    static void ReadValue(Cursor& cursor, void* data) { Store(data, Read(cursor)); }

    static void ReadElements(Cursor& cursor, VectorOfByte& vector)
    {
        do
        {
            char* const element = vector.Extend(sizeof(T));
            Store(element, T());
            Store(element, Read(cursor));
        } while (!PassEndOrComma(cursor));
    }
};

template <class T>
struct NumberReading
{
    static void ReadValue(Cursor& cursor, void* data) { Store(data, text::ReadNumber<T>(cursor)); }

    static void ReadElements(Cursor& home, VectorOfByte& vector)
    {
        FastCursor cursor(home);
        bool isNegative = false;
        bool isEnd = false;
        do
        {
            char* const element = vector.Extend(sizeof(T));
            Store(element, T());
            T value;
            if (text::TryConvert(cursor.GetKind(), cursor.GetNumber(), cursor.GetText(), isNegative, value)) [[likely]]
                cursor.Next();
            else
                value = ReadUnusual(cursor, isNegative);
            Store(element, value);
            isNegative = false;
            if (cursor.Is(TOKEN_COMMA)) [[likely]]
                PassComma(cursor, isNegative);
            else
                cursor.AtHome([&](Cursor& c) { isEnd = PassEndOrComma(c); });
        } while (!isEnd);
        cursor.Store();
    }

private:
    [[gnu::always_inline]] static void PassComma(FastCursor& cursor, bool& isNegative)
    {
        if constexpr (text::s_hasSign<T>)
            isNegative = cursor.NextPastMinus();
        else
            cursor.Next();
    }

    [[gnu::always_inline]] static T ReadUnusual(FastCursor& cursor, bool isNegative)
    {
        T value;
        cursor.AtHome(
            [&](Cursor& c)
            {
                const bool hasMinus = isNegative || (text::s_hasSign<T> && text::PassSign(c));
                value = text::ReadNumber<T>(c, hasMinus);
            });
        return value;
    }
};

template <class T, void (*Read)(Cursor&, T&)>
struct TextReading
{
    static void ReadValue(Cursor& cursor, void* data) { Read(cursor, *static_cast<T*>(data)); }

    static void ReadElements(Cursor& cursor, VectorOfByte& vector)
    {
        do
        {
            char* const element = vector.Extend(sizeof(T));
            Read(cursor, *::new (static_cast<void*>(element)) T);
        } while (!PassEndOrComma(cursor));
    }
};

// A 16-bit character is written as an 8-bit one.
char16_t ReadChar16(Cursor& cursor)
{
    return static_cast<char16_t>(static_cast<int16>(static_cast<signed char>(text::ReadChar(cursor))));
}

void ReadString16(Cursor& cursor, xstring16& dst)
{
    xstring src;
    text::ReadString(cursor, src);
    if (!Utf16FromUtf8(dst, src.data(), src.size()))
        ThrowKelmAssertionError("Utf16FromUtf8(dst,src)", s_sourceFile, __LINE__);
}

struct SimpleRow
{
    ETypeByteCode m_code;
    SimpleReader m_reader;
};

template <class T, T (*Read)(Cursor&)>
constexpr SimpleReader s_scalar = {ScalarReading<T, Read>::ReadValue, ScalarReading<T, Read>::ReadElements};
template <class T>
constexpr SimpleReader s_number = {NumberReading<T>::ReadValue, NumberReading<T>::ReadElements};
template <class T, void (*Read)(Cursor&, T&)>
constexpr SimpleReader s_text = {TextReading<T, Read>::ReadValue, TextReading<T, Read>::ReadElements};

constexpr SimpleRow s_simpleRows[] = {
    {FT_BOOL, s_scalar<bool, text::ReadBool>},
    {FT_INT8, s_number<int8>},
    {FT_INT16, s_number<int16>},
    {FT_INT32, s_number<int32>},
    {FT_INT64, s_number<int64>},
    {FT_UINT8, s_number<uint8>},
    {FT_UINT16, s_number<uint16>},
    {FT_UINT32, s_number<uint32>},
    {FT_UINT64, s_number<uint64>},
    {FT_FLOAT32, s_number<float32>},
    {FT_FLOAT64, s_number<float64>},
    {FT_CHAR8, s_scalar<xchar, text::ReadChar>},
    {FT_CHAR16, s_scalar<char16_t, ReadChar16>},
    {FT_STRING8, s_text<xstring, text::ReadString>},
    {FT_STRING16, s_text<xstring16, ReadString16>},
};

struct SimpleReaders
{
    SimpleReader m_readers[FT_STRING16 + 1] = {};

    constexpr SimpleReaders()
    {
        for (const SimpleRow& row : s_simpleRows)
            m_readers[row.m_code] = row.m_reader;
    }
};

constexpr SimpleReaders s_simpleReaders;

// The reader of a simple type; null functions for every other.
const SimpleReader& GetSimpleReader(ETypeByteCode code)
{
    static constexpr SimpleReader s_none;
    return code <= FT_STRING16 ? s_simpleReaders.m_readers[code] : s_none;
}

} // namespace

void DataSourceReader::ReadEnumeratorByNumber(const ReflectedEnum& r, void* data)
{
    const int32 value = m_cursor.GetToken().GetLiteralInt32();
    if (FindEnumeratorByValue(r, value) < 0)
        ThrowUnknown("value", NumberText(value), "enum", r.m_name);
    m_cursor.Next();
    Store(data, value);
}

void DataSourceReader::ReadEnumerator(const ReflectedEnum& r, void* data)
{
    if (m_cursor.Is(TOKEN_INTEGER))
        return ReadEnumeratorByNumber(r, data);
    const SubString name = text::ReadIdentifier(m_cursor);
    const int32 i = FindEnumerator(r, name);
    if (i < 0)
        ThrowUnknown("member", name, "enum", r.m_name);
    Store(data, r.GetValue(i));
}

// --- Values of any type ----------------------------------------------------------------------------------------------

namespace
{

// Whether a type that begins with that code is what AdvanceToUnderlyingType2 would come to.
constexpr bool IsUnderlying(ETypeByteCode code)
{
    return code == FT_CLASS || code == FT_ENUM || code == FT_VECTOR || code == FT_MAP || code == FT_VARIANT ||
           code == FT_FOREIGN;
}

} // namespace

void DataSourceReader::ReadVariable(const ReflectionByteCode& type, void* data)
{
    ReadValue(type, data);
}

[[gnu::always_inline]] inline void DataSourceReader::ReadValue(const ReflectionByteCode& type, void* data)
{
    KELM_ASSERT(type.m_bc);
    if (const auto readValue = GetSimpleReader(type.GetCode()).m_readValue)
        return readValue(m_cursor, data);
    ReadNested(type, data);
}

// Whatever nests passes here, or ReadClass.
void DataSourceReader::ReadNested(ReflectionByteCode type, void* data)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { ReadNested(type, data); });
    if (!IsUnderlying(type.GetCode()))
    {
        type.AdvanceToUnderlyingType2For(s_sourceFile);
        if (const auto readValue = GetSimpleReader(type.GetCode()).m_readValue)
            return readValue(m_cursor, data);
    }
    ReadUnderlying(type, data);
}

// A value whose type is underlying: neither metadata nor a qualifier nor a typedef.
inline void DataSourceReader::ReadUnderlying(const ReflectionByteCode& type, void* data)
{
    switch (type.GetCode())
    {
    case FT_VOID: return;
    case FT_ENUM:
    {
        const ReflectedEnum* const r = type.GetReflectedEnum();
        KELM_ASSERT(r);
        return ReadEnumerator(*r, data);
    }
    case FT_CLASS:
    {
        const ReflectedClass* const rc = type.GetReflectedClass();
        KELM_ASSERT(rc);
        KELM_ASSERT(data);
        return ReadInstance(ClassShape(*rc), static_cast<char*>(data));
    }
    case FT_VARIANT:
    {
        const ReflectedVariant* const rv = type.GetReflectedVariant();
        KELM_ASSERT(rv);
        return ReadVariant(*rv, data);
    }
    case FT_ARRAY: return ReadArray(type.GetElementType(), type.GetArrayCount(), data);
    case FT_VECTOR:
    case FT_DYNARRAY: return ReadVector(type.GetTypeBehindByte(), *static_cast<VectorOfByte*>(data));
    case FT_MAP: return ReadMap(type, data);
    case FT_PREF:
    case FT_CREF: return ReadPersistentReference(*static_cast<prefbase*>(data));
    case FT_INTERFACE_POINTER: return Store(data, ReadDataSource());
    case FT_FOREIGN: return ReadForeign(type.GetForeignType(), data);
    default: ThrowKelmAssertionError("0", s_sourceFile, __LINE__); // nothing else can be written
    }
}

void DataSourceReader::ReadPersistentReference(prefbase& reference)
{
    const ptr<IObject> p = ReadDataSource();
    KELM_ASSERT(p);
    m_cursor.Show();
    const ptr<IPersistable> persistable = QueryPersistable(p);
    if (!persistable)
        m_cursor.Throw("'", p.GetReflectedClass()->m_name, "' is not persistable");
    reference.Set(persistable);
}

// --- Class bodies ----------------------------------------------------------------------------------------------------

DataSourceReader::ClassShape::ClassShape(const ReflectedClass& rc)
    : m_rc(rc)
    , m_model(FindClassModel(rc))
    , m_index(m_model.m_class != nullptr ? GetFieldIndex(*m_model.m_class) : nullptr)
{
}

void DataSourceReader::ReadClass(const ReflectedClass& rc, void* data)
{
    KELM_ASSERT(data);
    if (IsStackLow())
        return CallOnFreshSegment([&] { ReadClass(rc, data); });
    ReadInstance(ClassShape(rc), static_cast<char*>(data));
}

// An optional class name and a body.
void DataSourceReader::ReadInstance(const ClassShape& shape, char* data)
{
    if (m_cursor.Is(TOKEN_IDENTIFIER))
        ReadClassName(shape.m_rc);
    if (m_cursor.Is(TOKEN_LEFT_CURLY))
        ReadNamedBody(shape, data);
    else if (m_cursor.Is(TOKEN_LEFT_PAREN))
        ReadPositionalBody(shape, data);
    else
        m_cursor.ThrowExpected("{");
}

void DataSourceReader::ReadClassName(const ReflectedClass& rc)
{
    const xstring written = text::ReadPath(m_cursor);
    if (!IsWrittenSuffix(rc.m_name, written))
        m_cursor.Throw("Expected ", rc.m_name, " when read ", written);
}

void DataSourceReader::ReadPositionalBody(const ClassShape& shape, char* data)
{
    m_cursor.Next();
    bool isFirst = true;
    const auto passSeparator = [&]
    {
        if (!isFirst)
            m_cursor.Pass(TOKEN_COMMA, ",");
        isFirst = false;
    };
    if (shape.m_model.m_class != nullptr)
        for (ssize_t i = 0; i < GetModelFieldCount(*shape.m_model.m_class); ++i)
            if (IsPresent(shape.m_model.m_class->m_modelFields[i]))
            {
                passSeparator();
                ReadModelField(shape, i, data);
            }
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(shape.m_rc); ++i)
    {
        passSeparator();
        ReadOrdinaryField(shape, i, data);
    }
    m_cursor.Pass(TOKEN_RIGHT_PAREN, ")");
}

// Members are looked for behind the last one first: in declaration order each is found with one comparison.
void DataSourceReader::ReadNamedBody(const ClassShape& shape, char* data)
{
    static constexpr KnownText s_noName;
    const KnownText* const names = shape.m_index != nullptr ? shape.m_index->GetPresentModelNames() : &s_noName;
    ssize_t nextModelField = 0;
    ssize_t nextField = 0;
    m_cursor.NextHere();
    while (!m_cursor.Is(TOKEN_RIGHT_CURLY))
    {
        if (!m_cursor.Is(TOKEN_IDENTIFIER)) [[unlikely]]
            m_cursor.ThrowExpected("identifier");
        const SubString name = m_cursor.GetText();
        if (names[shape.m_index != nullptr ? nextModelField : 0].Is(name, m_cursor.m_end)) [[likely]]
        {
            if (!m_cursor.TryNextHerePast<'='>()) [[unlikely]]
                PassNameAndEqual();
            ReadModelField(shape, nextModelField, data);
            ++nextModelField;
        }
        else
            ReadMemberOutOfOrder(shape, data, nextModelField, nextField);
    }
    m_cursor.NextHere();
}

void DataSourceReader::PassNameAndEqual()
{
    m_cursor.Next();
    m_cursor.Pass(TOKEN_EQUAL, "=");
}

// The fields that are expected next follow the one that is found.
void DataSourceReader::ReadMemberOutOfOrder(const ClassShape& shape, char* data, ssize_t& nextModelField,
                                            ssize_t& nextField)
{
    const SubString name = m_cursor.GetText();
    m_cursor.Next();
    const ReflectedClass* const model = shape.m_model.m_class;
    if (const ssize_t i = model != nullptr ? FindPresentModelField(*model, name, nextModelField) : -1; i >= 0)
    {
        m_cursor.Pass(TOKEN_EQUAL, "=");
        ReadModelField(shape, i, data);
        nextModelField = i + 1;
        return;
    }
    const ssize_t i = FindOrdinaryField(shape.m_rc, name, nextField);
    if (i < 0)
        ThrowUnknown("member", name, "class", shape.m_rc.m_name);
    m_cursor.Pass(TOKEN_EQUAL, "=");
    ReadOrdinaryField(shape, i, data);
    nextField = i + 1;
}

[[gnu::always_inline]] inline void DataSourceReader::ReadModelField(const ClassShape& shape, ssize_t i, char* data)
{
    const ReflectedModelField& field = shape.m_model.m_class->m_modelFields[i];
    ReadValue({field.m_bc, shape.m_model.m_class->m_stringTable, field.m_mapOrSetFns},
              data + shape.m_model.m_offset + field.m_offset);
}

inline void DataSourceReader::ReadOrdinaryField(const ClassShape& shape, ssize_t i, char* data)
{
    const ReflectedField& field = shape.m_rc.m_fields[i];
    ReadValue({field.m_bc, shape.m_rc.m_stringTable, nullptr}, data + field.m_offset);
}

// --- Lists -----------------------------------------------------------------------------------------------------------

// Opens a bracketed list; false where it is empty, which is consumed.
bool DataSourceReader::PassListStart()
{
    m_cursor.Pass(TOKEN_LEFT_SQUARE, "[");
    if (!m_cursor.Is(TOKEN_RIGHT_SQUARE))
        return true;
    m_cursor.Next();
    return false;
}

void DataSourceReader::ReadArray(const ReflectionByteCode& elementType, ssize_t count, void* data)
{
    const ssize_t size = count;
    KELM_ASSERT(size >= 0);
    if (size > 0)
        KELM_ASSERT(data);
    const ssize_t elementSize = elementType.GetTypeSize();
    m_cursor.Pass(TOKEN_LEFT_SQUARE, "[");
    for (ssize_t i = 0; i < size; ++i)
    {
        if (i > 0)
            m_cursor.Pass(TOKEN_COMMA, ",");
        ReadValue(elementType, static_cast<char*>(data) + i * elementSize);
    }
    m_cursor.Pass(TOKEN_RIGHT_SQUARE, "]");
}

// Each kind of element has a loop that looks at its type once.
void DataSourceReader::ReadVector(const ReflectionByteCode& elementType, VectorOfByte& vector)
{
    if (!PassListStart())
        return;
    ReflectionByteCode type = elementType;
    if (GetSimpleReader(type.GetCode()).m_readElements == nullptr)
        type.AdvanceToUnderlyingType2();
    if (const auto readElements = GetSimpleReader(type.GetCode()).m_readElements)
        return readElements(m_cursor, vector);
    if (const ReflectedClass* const rc = type.GetReflectedClass(); rc != nullptr && rc->m_size > 0)
        return ReadInstances(*rc, vector);
    if (const ReflectedEnum* const r = type.GetReflectedEnum())
        return ReadEnumerators(*r, vector);
    ReadElements(type, vector);
}

void DataSourceReader::ReadInstances(const ReflectedClass& rc, VectorOfByte& vector)
{
    const ClassShape shape(rc);
    do
    {
        m_cursor.Show();
        ReadInstance(shape, static_cast<char*>(PushBackDefaultConstructedInstance(rc, vector)));
    } while (!PassEndOrComma(m_cursor));
}

void DataSourceReader::ReadEnumerators(const ReflectedEnum& r, VectorOfByte& vector)
{
    do
    {
        char* const element = vector.Extend(sizeof(int32));
        Store(element, int32());
        ReadEnumerator(r, element);
    } while (!PassEndOrComma(m_cursor));
}

void DataSourceReader::ReadElements(const ReflectionByteCode& type, VectorOfByte& vector)
{
    do
    {
        m_cursor.Show();
        ReadValue(type, PushBackDefaultConstructedElementOntoReflectedVector(type, &vector));
    } while (!PassEndOrComma(m_cursor));
}

// --- Maps ------------------------------------------------------------------------------------------------------------

namespace
{

// Room for bytes of any number: on the stack unless they are many. They are zero, and nothing in them is destroyed.
class ByteBuffer
{
public:
    explicit ByteBuffer(ssize_t size)
    {
        if (size > static_cast<ssize_t>(sizeof m_small))
            m_large.resize(size);
    }
    void* Get() { return m_large.empty() ? m_small : m_large.data(); }

private:
    alignas(std::max_align_t) char m_small[64] = {};
    VectorOfByte m_large;
};

} // namespace

void DataSourceReader::ReadMap(const ReflectionByteCode& mapType, void* map)
{
    const ReflectionByteCode rbc = mapType;
    // The key goes with the map's own function table; those of maps in the payload follow it.
    ReflectionByteCode keyType = rbc.GetElementType();
    keyType.m_mapOrSetFns = rbc.m_mapOrSetFns;
    ReflectionByteCode payloadType = keyType;
    payloadType.ScanType();
    KELM_ASSERT(rbc.m_mapOrSetFns);
    KELM_ASSERT(rbc.m_mapOrSetFns->mapFns);
    payloadType.m_mapOrSetFns = rbc.m_mapOrSetFns + 1;
    const MapFns& mapFns = *rbc.m_mapOrSetFns->mapFns;

    const ssize_t keySize = keyType.GetTypeSize();
    KELM_ASSERT(keySize > 0);
    ByteBuffer buffer(keySize);
    void* const key = buffer.Get(); // one key variable for the whole map, which is not destroyed at the end
    m_cursor.Show();
    ConstructReflectedVariable(keyType, key);

    if (!PassListStart())
        return;
    do
    {
        ReadValue(keyType, key);
        m_cursor.Pass(TOKEN_MINUS_GREATER, "->");
        m_cursor.Show();
        ReadValue(payloadType, mapFns.Insert(map, key));
    } while (!PassEndOrComma(m_cursor));
}

// --- Variants --------------------------------------------------------------------------------------------------------

void DataSourceReader::ReadVariant(const ReflectedVariant& rv, void* data)
{
    const xstring written = text::ReadPath(m_cursor);
    const int32 i = FindAlternative(rv, written, IsPathSuffix);
    if (i < 0)
        ThrowUnknown("member", written, "variant", rv.m_name);
    m_cursor.Show();
    void* const value = SwitchAlternative(rv, i, data);
    ReadValue({rv.m_fields[i].m_bc, rv.m_stringTable}, value);
}

} // namespace kelm
