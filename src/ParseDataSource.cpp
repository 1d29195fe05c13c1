// The reader of data sources: a recursive descent driven by the types' byte code, which decides the tokens expected.
// In the order of the file: qualified names, whole data sources, scalars, values of any type, class bodies, containers
// and variants, registration.

#include <klKelmScript/ParseDataSource.h>

#include <klKelmScript/klKelmScript.h>
#include <klObject/objects/Collector.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/FieldIndex.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/ToString.h>
#include <klUtils/TracerX.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/PlainText.h>
#include <klUtils/text/QualifiedName.h>

#include <cstring>
#include <iterator>
#include <type_traits>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/ParseDataSource";

} // namespace

// --- Qualified names -------------------------------------------------------------------------------------------------

namespace
{

LSToken ScanPathToken(SubString& text)
{
    try
    {
        return LsScanToken(text, false);
    }
    catch (const LexScannerException& e)
    {
        return {TOKEN_UNDEF, {e.m_pos, e.m_pos}};
    }
}

bool IsSeparator(EToken kind)
{
    return kind == TOKEN_DOT || kind == TOKEN_COLON_COLON;
}

// IsPathSuffix for a written name that ParsePath has normalised. Where the full name is normalised too, as registered
// names are, the bytes tell without a list of segments.
bool IsWrittenSuffix(SubString fullName, const xstring& written)
{
    return IsQualifiedName(fullName) ? IsNameSuffix(fullName, written) : IsPathSuffix(fullName, written);
}

} // namespace

bool TokenisePath(SubString& text, xvector<SubString>& segments)
{
    segments.clear();
    while (true)
    {
        const LSToken identifier = ScanPathToken(text);
        if (identifier.m_type != TOKEN_IDENTIFIER)
        {
            text.m_p1 = identifier.m_str.m_p1;
            return false;
        }
        segments.push_back(identifier.m_str);
        const LSToken separator = ScanPathToken(text);
        if (!IsSeparator(separator.m_type))
        {
            text.m_p1 = separator.m_str.m_p1;
            return true;
        }
    }
}

xstring ParsePath(ExpressionParser& parser)
{
    return parser.ParsePath();
}

bool IsSuffix(const xvector<SubString>& whole, const xvector<SubString>& suffix)
{
    const ssize_t rest = whole.size() - suffix.size();
    if (rest < 0)
        return false;
    for (ssize_t i = suffix.size() - 1; i >= 0; --i)
        if (!(whole[rest + i] == suffix[i]))
            return false;
    return true;
}

bool IsPathSuffix(SubString path, SubString suffix)
{
    xvector<SubString> segmentsOfPath;
    xvector<SubString> segmentsOfSuffix;
    return TokenisePath(path, segmentsOfPath) && TokenisePath(suffix, segmentsOfSuffix) &&
           IsSuffix(segmentsOfPath, segmentsOfSuffix);
}

// --- Whole data sources ----------------------------------------------------------------------------------------------

namespace
{

bool IsBodyStart(EToken kind)
{
    return kind == TOKEN_LEFT_PAREN || kind == TOKEN_LEFT_CURLY;
}

[[noreturn, gnu::cold]] void ThrowAboutName(const ParserBase& parser, SubString name, ConstStringZ complaint)
{
    StringStream message(4096);
    message << "'" << name << "' " << complaint;
    parser.ThrowAtToken(message.GetString());
}

// "Unknown member 'x' of class C" and its relatives.
[[noreturn, gnu::cold]] void ThrowUnknown(const ParserBase& parser, ConstStringZ what, SubString written,
                                          ConstStringZ container, ConstStringZ name)
{
    StringStream message(4096);
    message << "Unknown " << what << " '" << written << "' of " << container << " " << name;
    parser.ThrowAtToken(message.GetString());
}

// An error that has not happened yet.
LexScannerException NoError()
{
    return LexScannerException(xstring(), LSToken());
}

} // namespace

ptr<IObject> ParseDataSource(ExpressionParser& parser, const char* className)
{
    const ReflectedClass* const rc = TryFindReflectedClass(className);
    if (rc == nullptr)
        ThrowAboutName(parser, className, "is not a registered class name");
    if (rc->m_createFn == nullptr)
        ThrowAboutName(parser, className, "doesn't support dynamic creation");
    const ptr<IObject> obj = rc->m_createFn();
    RegisterGcObject(obj);
    KELM_ASSERT(obj);
    if (IsBodyStart(parser.m_token.m_type))
        ParseClassVariable(parser, *rc, obj.self());
    return obj;
}

ptr<IObject> ParseDataSource(ExpressionParser& parser)
{
    const xstring name = ParsePath(parser);
    if (name == "null")
        return nullptr;
    return ParseDataSource(parser, name.c_str());
}

ptr<IObject> ParseDataSource(const xstring& text, LexScannerException& error)
{
    try
    {
        ExpressionParser parser;
        parser.Init(text);
        return ParseDataSource(parser);
    }
    catch (const LexScannerException& e)
    {
        error = e;
        error.LocateIn(text);
        return nullptr;
    }
}

ptr<IObject> ParseDataSourceFromString(const xstring& pds, xstring& errorMsg)
{
    LexScannerException error = NoError();
    const ptr<IObject> result = ParseDataSource(pds, error);
    if (!result)
        errorMsg = error.GetWrittenText();
    return result;
}

ptr<IObject> ParseDataSourceFromString2(const xstring& pds)
{
    LexScannerException error = NoError();
    const ptr<IObject> result = ParseDataSource(pds, error);
    if (!result)
    {
        TracerX trace;
        trace << "Error: " << error.GetWrittenText() << "\n";
    }
    return result;
}

// --- Scalars ---------------------------------------------------------------------------------------------------------

namespace
{

template <class T>
void Store(void* data, T value)
{
    std::memcpy(data, &value, sizeof value);
}

bool ReadEndOrComma(ExpressionParser& parser);

// What the reader knows of a scalar type.
struct ScalarReader
{
    // Reads one value into place; nothing is stored when it throws.
    void (*m_readValue)(ExpressionParser& parser, void* data) = nullptr;

    // Reads the elements of a vector, in a loop that does not look at the type again. An element is there, and zero,
    // before its value is read.
    void (*m_readElements)(ExpressionParser& parser, VectorOfByte& vector) = nullptr;

    // Reads the value of a member from plain text, where another member or the end of the body follows it; false, with
    // nothing stored, where the text is not plain. Null for types that have no plain form.
    bool (*m_tryReadMember)(PlainText& text, void* data) = nullptr;

    explicit operator bool() const { return m_readValue != nullptr; }
};

template <class T>
constexpr bool s_hasPlainForm = std::is_same_v<T, float64>;
template <class T>
requires(std::is_integral_v<T> && !std::is_same_v<T, bool> && !std::is_same_v<T, xchar> &&
         !std::is_same_v<T, char16_t>) constexpr bool s_hasPlainForm<T> = true;

template <class T, T (*Read)(ExpressionParser&)>
struct ScalarReading
{
    static void ReadValue(ExpressionParser& parser, void* data) { Store(data, Read(parser)); }

    static void ReadElements(ExpressionParser& parser, VectorOfByte& vector)
    {
        do
        {
            if constexpr (s_hasPlainForm<T>)
                ReadPlainElements(parser, vector);
            char* const element = vector.Extend(sizeof(T));
            Store(element, T());
            Store(element, Read(parser));
        } while (!ReadEndOrComma(parser));
    }

    // As many elements as are plain and have a comma behind them.
    static void ReadPlainElements(ExpressionParser& parser, VectorOfByte& vector)
    {
        PlainText text = parser.GetPlainText();
        const char* comma = nullptr;
        T value;
        while (text.TryRead(value) && text.TryPass(','))
        {
            Store(vector.Extend(sizeof(T)), value);
            comma = text.GetLastToken();
        }
        if (comma != nullptr)
            parser.ContinueBehind(comma);
    }

    static bool TryReadMember(PlainText& text, void* data)
    {
        T value;
        if (!text.TryRead(value) || !text.IsBeforeMember())
            return false;
        Store(data, value);
        return true;
    }
};

template <class T, T (*Read)(ExpressionParser&)>
constexpr ScalarReader MakeScalarReader()
{
    using Reading = ScalarReading<T, Read>;
    ScalarReader reader{Reading::ReadValue, Reading::ReadElements};
    if constexpr (s_hasPlainForm<T>)
        reader.m_tryReadMember = Reading::TryReadMember;
    return reader;
}

template <class T, T (ExpressionParser::*Parse)(bool)>
T ReadTyped(ExpressionParser& parser)
{
    return (parser.*Parse)(false);
}

// A 16-bit character is written as an 8-bit one.
char16_t ReadChar16(ExpressionParser& parser)
{
    return static_cast<char16_t>(static_cast<int16>(parser.ParseChar(false)));
}

struct ScalarRow
{
    ETypeByteCode m_code;
    ScalarReader m_reader;
};

constexpr ScalarRow s_scalars[] = {
    {FT_BOOL, MakeScalarReader<bool, ReadTyped<bool, &ExpressionParser::ParseBool>>()},
    {FT_INT8, MakeScalarReader<int8, ReadTyped<int8, &ExpressionParser::ParseInt8>>()},
    {FT_INT16, MakeScalarReader<int16, ReadTyped<int16, &ExpressionParser::ParseInt16>>()},
    {FT_INT32, MakeScalarReader<int32, ReadTyped<int32, &ExpressionParser::ParseInt32>>()},
    {FT_INT64, MakeScalarReader<int64, ReadTyped<int64, &ExpressionParser::ParseInt64>>()},
    {FT_UINT8, MakeScalarReader<uint8, ReadTyped<uint8, &ExpressionParser::ParseUInt8>>()},
    {FT_UINT16, MakeScalarReader<uint16, ReadTyped<uint16, &ExpressionParser::ParseUInt16>>()},
    {FT_UINT32, MakeScalarReader<uint32, ReadTyped<uint32, &ExpressionParser::ParseUInt32>>()},
    {FT_UINT64, MakeScalarReader<uint64, ReadTyped<uint64, &ExpressionParser::ParseUInt64>>()},
    {FT_FLOAT32, MakeScalarReader<float32, ReadTyped<float32, &ExpressionParser::ParseFloat32>>()},
    {FT_FLOAT64, MakeScalarReader<float64, ReadTyped<float64, &ExpressionParser::ParseFloat64>>()},
    {FT_CHAR8, MakeScalarReader<xchar, ReadTyped<xchar, &ExpressionParser::ParseChar>>()},
    {FT_CHAR16, MakeScalarReader<char16_t, ReadChar16>()},
};

struct ScalarReaders
{
    ScalarReader m_readers[FT_STRING16 + 1] = {};

    constexpr ScalarReaders()
    {
        for (const ScalarRow& row : s_scalars)
            m_readers[row.m_code] = row.m_reader;
    }
};

constexpr ScalarReaders s_scalarReaders;

// The reader of a scalar type; none for every other.
ScalarReader GetScalarReader(ETypeByteCode code)
{
    return code <= FT_STRING16 ? s_scalarReaders.m_readers[code] : ScalarReader();
}

void ReadString16(ExpressionParser& parser, xstring16& dst)
{
    const xstring src = parser.ParseString(false);
    if (!Utf16FromUtf8(dst, src.data(), src.size()))
        ThrowKelmAssertionError("Utf16FromUtf8(dst,src)", s_sourceFile, __LINE__);
}

void ReadEnumeratorByNumber(ExpressionParser& parser, const ReflectedEnum& r, void* data)
{
    const int32 value = parser.m_token.GetLiteralInt32();
    for (int32 i = 0; i < r.m_count; ++i)
        if (r.GetValue(i) == value)
        {
            Store(data, value);
            parser.ReadNextToken();
            return;
        }
    ThrowUnknown(parser, "value", NumberText(value), "enum", r.m_name);
}

void ReadEnumeratorByName(ExpressionParser& parser, const ReflectedEnum& r, void* data)
{
    if (parser.m_token.m_type != TOKEN_IDENTIFIER)
        parser.ThrowExpectedException("identifier");
    const SubString name = parser.m_token.m_str;
    parser.ReadNextToken();
    const int32 i = FindEnumerator(r, name);
    if (i < 0)
        ThrowUnknown(parser, "member", name, "enum", r.m_name);
    Store(data, r.GetValue(i));
}

void ReadEnumerator(ExpressionParser& parser, const ReflectedEnum& r, void* data)
{
    if (parser.m_token.m_type == TOKEN_INTEGER)
        ReadEnumeratorByNumber(parser, r, data);
    else
        ReadEnumeratorByName(parser, r, data);
}

// --- Handles ---------------------------------------------------------------------------------------------------------

void ReadPersistentReference(ExpressionParser& parser, prefbase& reference)
{
    const ptr<IObject> p = ParseDataSource(parser);
    KELM_ASSERT(p);
    const ptr<IPersistable> persistable = QueryPersistable(p);
    if (!persistable)
        ThrowAboutName(parser, p.GetReflectedClass()->m_name, "is not persistable");
    reference.Set(persistable);
}

// --- Values of any type ----------------------------------------------------------------------------------------------

// A value whose type is underlying: neither metadata nor a qualifier nor a typedef.
void ReadUnderlying(ExpressionParser& parser, const ReflectionByteCode& type, void* data)
{
    switch (type.GetCode())
    {
    case FT_VOID: return;
    case FT_STRING8: *static_cast<xstring*>(data) = parser.ParseString(false); return;
    case FT_STRING16: ReadString16(parser, *static_cast<xstring16*>(data)); return;
    case FT_ENUM:
    {
        const ReflectedEnum* const r = type.GetReflectedEnum();
        KELM_ASSERT(r);
        ReadEnumerator(parser, *r, data);
        return;
    }
    case FT_CLASS:
    {
        const ReflectedClass* const rc = type.GetReflectedClass();
        KELM_ASSERT(rc);
        ParseClassVariable(parser, *rc, data);
        return;
    }
    case FT_VARIANT:
    {
        const ReflectedVariant* const rv = type.GetReflectedVariant();
        KELM_ASSERT(rv);
        ParseVariantVariable(parser, *rv, data);
        return;
    }
    case FT_ARRAY: ParseArrayVariable(parser, type.GetElementType(), type.GetArrayCount(), data); return;
    case FT_VECTOR:
    case FT_DYNARRAY: ParseVectorVariable(parser, type.GetElementType(), data); return;
    case FT_MAP: ParseMapVariable(parser, type, data); return;
    case FT_PREF:
    case FT_CREF: ReadPersistentReference(parser, *static_cast<prefbase*>(data)); return;
    case FT_INTERFACE_POINTER: Store(data, ParseDataSource(parser)); return;
    default: ThrowKelmAssertionError("0", s_sourceFile, __LINE__); // nothing else can be written
    }
}

} // namespace

void ParseVariable(ExpressionParser& parser, ReflectionByteCode type, void* data)
{
    KELM_ASSERT(type.m_bc);
    if (const ScalarReader reader = GetScalarReader(type.GetCode()))
        return reader.m_readValue(parser, data);
    if (IsStackLow())
        return CallOnFreshSegment([&] { ParseVariable(parser, type, data); });
    type.AdvanceToUnderlyingType2();
    if (const ScalarReader reader = GetScalarReader(type.GetCode()))
        return reader.m_readValue(parser, data);
    ReadUnderlying(parser, type, data);
}

// --- Class bodies ----------------------------------------------------------------------------------------------------

namespace
{

bool TryReadPlainString(PlainText& text, xstring& data)
{
    SubString contents;
    if (!text.TryReadQuoted(contents) || !text.IsBeforeMember())
        return false;
    data.assign(contents.data(), contents.size());
    return true;
}

bool TryReadPlainEnumerator(PlainText& text, const ReflectionByteCode& type, void* data)
{
    SubString name;
    if (type.m_stringTable == nullptr || !text.TryReadName(name) || !text.IsBeforeMember())
        return false;
    const ReflectedEnum* const r = type.GetReflectedEnum();
    const int32 i = r != nullptr ? FindEnumerator(*r, name) : -1;
    if (i < 0)
        return false;
    Store(data, r->GetValue(i));
    return true;
}

// A member's value of a type without a prefix, where it is plain.
bool TryReadPlainValue(PlainText& text, const ReflectionByteCode& type, void* data)
{
    if (type.m_bc == nullptr)
        return false;
    const ETypeByteCode code = type.GetCode();
    if (const ScalarReader reader = GetScalarReader(code))
        return reader.m_tryReadMember != nullptr && reader.m_tryReadMember(text, data);
    if (code == FT_STRING8)
        return TryReadPlainString(text, *static_cast<xstring*>(data));
    return code == FT_ENUM && TryReadPlainEnumerator(text, type, data);
}

// One instance being filled: its class, its model, and where the two lie.
class ClassReader
{
public:
    ClassReader(ExpressionParser& parser, const ReflectedClass& rc, void* data)
        : m_parser(parser)
        , m_rc(rc)
        , m_model(FindClassModel(rc))
        , m_index(m_model.m_class != nullptr ? GetFieldIndex(*m_model.m_class) : nullptr)
        , m_data(static_cast<char*>(data))
    {
    }

    void ReadPositionalBody()
    {
        m_parser.ReadNextToken();
        bool isFirst = true;
        if (m_model.m_class != nullptr)
            for (ssize_t i = 0; i < GetModelFieldCount(*m_model.m_class); ++i)
                if (IsPresent(m_model.m_class->m_modelFields[i]))
                {
                    ReadSeparator(isFirst);
                    ReadModelField(i);
                }
        for (ssize_t i = 0; i < GetOrdinaryFieldCount(m_rc); ++i)
        {
            ReadSeparator(isFirst);
            ReadOrdinaryField(i);
        }
        m_parser.ParseGivenToken(TOKEN_RIGHT_PAREN, ")");
    }

    void ReadNamedBody()
    {
        m_parser.ReadNextToken();
        ReadPlainMembersHere();
        ReadRestOfNamedBody();
    }

    // From a member, or the end of the body, on.
    void ReadRestOfNamedBody()
    {
        while (m_parser.m_token.m_type != TOKEN_RIGHT_CURLY)
        {
            ReadMember();
            ReadPlainMembersHere();
        }
        m_parser.ReadNextToken();
    }

    // As many model members as are written plainly.
    void ReadPlainMembers(PlainText& text)
    {
        if (m_index == nullptr)
            return;
        for (PlainText next = text; TryReadPlainMember(next); text = next)
            ;
    }

private:
    void ReadSeparator(bool& isFirst)
    {
        if (!isFirst)
            m_parser.ParseGivenToken(TOKEN_COMMA, ",");
        isFirst = false;
    }

    void ReadPlainMembersHere()
    {
        if (m_parser.m_token.m_type != TOKEN_IDENTIFIER)
            return;
        PlainText text = m_parser.GetPlainText();
        ReadPlainMembers(text);
        if (text.GetLastToken() != nullptr)
            m_parser.ContinueBehind(text.GetLastToken());
    }

    // The index of the model field that the text names, or -1. The next one of the declaration is looked for first.
    ssize_t PassPlainMemberName(PlainText& text) const
    {
        const KnownText& next = m_index->GetPresentModelName(m_nextModelField);
        if (!next.m_text.empty() && text.TryPassName(next))
            return m_nextModelField;
        SubString name;
        const FieldEntry* const entry = text.TryReadName(name) ? m_index->m_fields.Find(name) : nullptr;
        return entry != nullptr ? entry->m_firstPresentModel : -1;
    }

    bool TryReadPlainMember(PlainText& text)
    {
        const ssize_t i = PassPlainMemberName(text);
        if (i < 0 || !text.TryPassEqual())
            return false;
        const ReflectedModelField& field = m_model.m_class->m_modelFields[i];
        if (!TryReadPlainValue(text, {field.m_bc, m_model.m_class->m_stringTable},
                               m_data + m_model.m_offset + field.m_offset))
            return false;
        m_nextModelField = i + 1;
        return true;
    }

    // Members are looked for behind the last one first: in declaration order each is found with one comparison.
    void ReadMember()
    {
        if (m_parser.m_token.m_type != TOKEN_IDENTIFIER)
            m_parser.ThrowExpectedException("identifier");
        const SubString name = m_parser.m_token.m_str;
        m_parser.ReadNextToken();

        const ssize_t modelField =
            m_model.m_class != nullptr ? FindPresentModelField(*m_model.m_class, name, m_nextModelField) : -1;
        if (modelField >= 0)
        {
            m_parser.ParseGivenToken(TOKEN_EQUAL, "=");
            ReadModelField(modelField);
            m_nextModelField = modelField + 1;
            return;
        }
        const ssize_t field = FindOrdinaryField(m_rc, name, m_nextField);
        if (field < 0)
            ThrowUnknown(m_parser, "member", name, "class", m_rc.m_name);
        m_parser.ParseGivenToken(TOKEN_EQUAL, "=");
        ReadOrdinaryField(field);
        m_nextField = field + 1;
    }

    void ReadModelField(ssize_t i)
    {
        const ReflectedModelField& field = m_model.m_class->m_modelFields[i];
        ParseVariable(m_parser, {field.m_bc, m_model.m_class->m_stringTable, field.m_mapOrSetFns},
                      m_data + m_model.m_offset + field.m_offset);
    }

    void ReadOrdinaryField(ssize_t i)
    {
        const ReflectedField& field = m_rc.m_fields[i];
        ParseVariable(m_parser, {field.m_bc, m_rc.m_stringTable, nullptr}, m_data + field.m_offset);
    }

    ExpressionParser& m_parser;
    const ReflectedClass& m_rc;
    const ClassModel m_model;
    const FieldIndex* const m_index; // of the model; null where it has none
    char* const m_data;
    ssize_t m_nextModelField = 0;
    ssize_t m_nextField = 0;
};

void ReadClassName(ExpressionParser& parser, const ReflectedClass& rc)
{
    const xstring written = ParsePath(parser);
    if (IsWrittenSuffix(rc.m_name, written))
        return;
    StringStream message(4096);
    message << "Expected " << rc.m_name << " when read " << written;
    parser.ThrowAtToken(message.GetString());
}

} // namespace

void ParseClassVariable(ExpressionParser& parser, const ReflectedClass& rc, void* data)
{
    KELM_ASSERT(data);
    if (IsStackLow())
        return CallOnFreshSegment([&] { ParseClassVariable(parser, rc, data); });
    if (parser.m_token.m_type == TOKEN_IDENTIFIER)
        ReadClassName(parser, rc);
    if (parser.m_token.m_type == TOKEN_LEFT_PAREN)
        ClassReader(parser, rc, data).ReadPositionalBody();
    else if (parser.m_token.m_type == TOKEN_LEFT_CURLY)
        ClassReader(parser, rc, data).ReadNamedBody();
    else
        parser.ThrowExpectedException("{");
}

// --- Containers ------------------------------------------------------------------------------------------------------

namespace
{

// What stands between two elements: true at the closing bracket, which is consumed, and past a comma otherwise.
bool ReadEndOrComma(ExpressionParser& parser)
{
    if (parser.m_token.m_type == TOKEN_RIGHT_SQUARE)
    {
        parser.ReadNextToken();
        return true;
    }
    parser.ParseGivenToken(TOKEN_COMMA, ",");
    return false;
}

// Opens a bracketed list; false where it is empty, which is consumed.
bool ReadListStart(ExpressionParser& parser)
{
    parser.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    if (parser.m_token.m_type != TOKEN_RIGHT_SQUARE)
        return true;
    parser.ReadNextToken();
    return false;
}

// Room for one key of a map: on the stack unless it is large. Its bytes are released; the key is not destroyed.
class KeyBuffer
{
public:
    explicit KeyBuffer(ssize_t size)
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

void ParseArrayVariable(ExpressionParser& parser, ReflectionByteCode elementType, ssize_t count, void* data)
{
    const ssize_t size = count;
    KELM_ASSERT(size >= 0);
    if (size > 0)
        KELM_ASSERT(data);
    const ssize_t elementSize = elementType.GetTypeSize();
    parser.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    for (ssize_t i = 0; i < size; ++i)
    {
        if (i > 0)
            parser.ParseGivenToken(TOKEN_COMMA, ",");
        ParseVariable(parser, elementType, static_cast<char*>(data) + i * elementSize);
    }
    parser.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
}

namespace
{

// Elements of a class in bodies of named members, the first of which is the current token: as many as are written
// plainly, and the one behind them.
void ReadNamedInstances(ExpressionParser& parser, const ReflectedClass& rc, VectorOfByte& vector)
{
    PlainText text = parser.GetPlainText();
    while (true)
    {
        text.TryPass('{');
        ClassReader reader(parser, rc, PushBackDefaultConstructedInstance(rc, vector));
        reader.ReadPlainMembers(text);
        if (!text.TryPass('}'))
        {
            parser.ContinueBehind(text.GetLastToken());
            return reader.ReadRestOfNamedBody();
        }
        const char* const end = text.GetLastToken();
        if (!text.TryPass(',') || !text.IsBefore('{'))
            return parser.ContinueBehind(end);
    }
}

void ReadInstances(ExpressionParser& parser, const ReflectedClass& rc, VectorOfByte& vector)
{
    do
    {
        if (parser.m_token.m_type == TOKEN_LEFT_CURLY)
            ReadNamedInstances(parser, rc, vector);
        else
            ParseClassVariable(parser, rc, PushBackDefaultConstructedInstance(rc, vector));
    } while (!ReadEndOrComma(parser));
}

} // namespace

void ParseVectorVariable(ExpressionParser& parser, ReflectionByteCode elementType, void* vector)
{
    if (!ReadListStart(parser))
        return;
    ReflectionByteCode underlying = elementType;
    underlying.AdvanceToUnderlyingType2();
    if (const ScalarReader reader = GetScalarReader(underlying.GetCode()))
        return reader.m_readElements(parser, *static_cast<VectorOfByte*>(vector));
    if (const ReflectedClass* const rc = underlying.GetReflectedClass(); rc != nullptr && rc->m_size > 0)
        return ReadInstances(parser, *rc, *static_cast<VectorOfByte*>(vector));
    do
        ParseVariable(parser, underlying, PushBackDefaultConstructedElementOntoReflectedVector(underlying, vector));
    while (!ReadEndOrComma(parser));
}

void ParseMapVariable(ExpressionParser& parser, ReflectionByteCode mapType, void* map)
{
    const ReflectionByteCode rbc = mapType;
    // The key goes with the map's own function table; those of maps in the payload follow it.
    ReflectionByteCode keyType = mapType.GetElementType();
    keyType.m_mapOrSetFns = rbc.m_mapOrSetFns;
    ReflectionByteCode payloadType = keyType;
    payloadType.ScanType();
    KELM_ASSERT(rbc.m_mapOrSetFns);
    KELM_ASSERT(rbc.m_mapOrSetFns->mapFns);
    payloadType.m_mapOrSetFns = rbc.m_mapOrSetFns + 1;
    const MapFns& mapFns = *rbc.m_mapOrSetFns->mapFns;

    const ssize_t keySize = keyType.GetTypeSize();
    KELM_ASSERT(keySize > 0);
    KeyBuffer buffer(keySize);
    void* const key = buffer.Get();
    ConstructReflectedVariable(keyType, key);

    if (!ReadListStart(parser))
        return;
    do
    {
        ParseVariable(parser, keyType, key);
        parser.ParseGivenToken(TOKEN_MINUS_GREATER, "->");
        ParseVariable(parser, payloadType, mapFns.Insert(map, key));
    } while (!ReadEndOrComma(parser));
}

// --- Variants --------------------------------------------------------------------------------------------------------

void ParseVariantVariable(ExpressionParser& parser, const ReflectedVariant& rv, void* data)
{
    const xstring written = ParsePath(parser);
    for (ssize_t i = 0; i < rv.m_numFields; ++i)
    {
        const ReflectedField& alternative = rv.m_fields[i];
        if (!IsWrittenSuffix(alternative.m_name, written))
            continue;
        // The alternative held before is not destroyed.
        Store(data, static_cast<int32>(i));
        const ReflectionByteCode type(alternative.m_bc, rv.m_stringTable);
        void* const value = static_cast<char*>(data) + alternative.m_offset;
        ConstructReflectedVariable(type, value);
        ParseVariable(parser, type, value);
        return;
    }
    ThrowUnknown(parser, "member", written, "variant", rv.m_name);
}

// --- Registration ----------------------------------------------------------------------------------------------------

namespace
{

constexpr ConstStringZ s_stringTable[] = {"kelm::IObject", "kelm::xstring", nullptr};

constexpr uint8 s_objectPtr[] = {FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0};
constexpr uint8 s_constStringReference[] = {FT_REFERENCE, FT_CONST, FT_TYPEDEF, 1, 0};
constexpr uint8 s_stringReference[] = {FT_REFERENCE, FT_TYPEDEF, 1, 0};

constexpr ReflectedArg s_argsFromString[] = {{"pds", s_constStringReference}, {"errorMsg", s_stringReference}};
constexpr ReflectedArg s_argsFromString2[] = {{"pds", s_constStringReference}};

const ReflectedGlobalFunction ParseDataSourceFromString_function = {
    .m_name = "kelm::ParseDataSourceFromString",
    .m_returnType = {s_objectPtr},
    .m_args = s_argsFromString,
    .m_numArgs = std::size(s_argsFromString),
    .m_stringTable = s_stringTable,
    .m_address = reinterpret_cast<FunctionAddress>(ParseDataSourceFromString),
};

const ReflectedGlobalFunction ParseDataSourceFromString2_function = {
    .m_name = "kelm::ParseDataSourceFromString2",
    .m_returnType = {s_objectPtr},
    .m_args = s_argsFromString2,
    .m_numArgs = std::size(s_argsFromString2),
    .m_stringTable = s_stringTable,
    .m_address = reinterpret_cast<FunctionAddress>(ParseDataSourceFromString2),
};

} // namespace

void _Register_ParseDataSourceFromString()
{
    if (RegisterReflectedGlobalFunction(&ParseDataSourceFromString_function, Kelm_Core_klKelmScript_GetXTarget()) !=
        NSE_OK)
        ThrowKelmAssertionError("kelm::RegisterReflectedGlobalFunction(&ParseDataSourceFromString_function,"
                                "kelm::Kelm_Core_klKelmScript_GetXTarget()) == kelm::NSE_OK",
                                s_sourceFile, 713);
}

void _Register_ParseDataSourceFromString2()
{
    if (RegisterReflectedGlobalFunction(&ParseDataSourceFromString2_function, Kelm_Core_klKelmScript_GetXTarget()) !=
        NSE_OK)
        ThrowKelmAssertionError("kelm::RegisterReflectedGlobalFunction(&ParseDataSourceFromString2_function,"
                                "kelm::Kelm_Core_klKelmScript_GetXTarget()) == kelm::NSE_OK",
                                s_sourceFile, 749);
}

} // namespace kelm
