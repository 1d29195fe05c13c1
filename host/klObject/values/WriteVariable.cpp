#include <klObject/values/WriteVariable.h>

#include <klObject/containers/private/MapEntry.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/private/ClassFields.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/private/CheckedType.h>
#include <klObject/values/private/ScalarTypes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/ToString.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/xvector.h>

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <vector>

// Everything is collected in memory and passed on at the end. In the order of the file: what reading starts from, the
// quoted forms, the writer.

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/values/WriteVariable";

// --- what reading starts from ----------------------------------------------------------------------------------------

// A variable as creation makes it. Made when it is asked for, which few types need.
class DefaultVariable
{
public:
    explicit DefaultVariable(ReflectionByteCode type) : m_type(type) {}
    explicit DefaultVariable(const ReflectedClass& createdClass) : m_class(&createdClass) {}
    DefaultVariable(const DefaultVariable&) = delete;
    DefaultVariable& operator=(const DefaultVariable&) = delete;
    ~DefaultVariable()
    {
        if (m_memory != nullptr)
            DestructReflectedVariable(m_type, m_memory.get());
        if (m_object)
            m_object.fns()->Destroy(m_object.self());
    }

    const char* Get()
    {
        if (m_class != nullptr && !m_object)
            m_object = m_class->m_createFn();
        if (m_class != nullptr)
        {
            KELM_ASSERT(m_object);
            return static_cast<const char*>(m_object.self());
        }
        if (m_memory == nullptr)
        {
            auto memory = std::make_unique<char[]>(static_cast<std::size_t>(m_type.GetTypeSize()));
            ConstructReflectedVariable(m_type, memory.get());
            m_memory = std::move(memory);
        }
        return m_memory.get();
    }

private:
    ReflectionByteCode m_type;
    std::unique_ptr<char[]> m_memory;
    const ReflectedClass* m_class = nullptr;
    ptr<IObject> m_object;
};

// What a variable holds before it is read: a part of a default variable, or something that exists.
class Before
{
public:
    explicit Before(DefaultVariable& whole) : m_whole(&whole) {}
    explicit Before(const void* existing) : m_existing(static_cast<const char*>(existing)) {}

    const void* Get() const { return (m_whole != nullptr ? m_whole->Get() : m_existing) + m_offset; }
    Before At(ssize_t offset) const
    {
        Before part = *this;
        part.m_offset += offset;
        return part;
    }

private:
    DefaultVariable* m_whole = nullptr;
    const char* m_existing = nullptr;
    ssize_t m_offset = 0;
};

// --- quoted forms ----------------------------------------------------------------------------------------------------

struct Escape
{
    char m_character;
    char m_letter;
};

constexpr Escape s_escapes[] = {{'\n', 'n'}, {'\t', 't'}, {'\r', 'r'}, {'\\', '\\'}};

void AppendEscaped(xstring& out, char c, char quote)
{
    for (const Escape& escape : s_escapes)
        if (escape.m_character == c)
        {
            out.push_back('\\');
            out.push_back(escape.m_letter);
            return;
        }
    if (c == quote)
    {
        out.push_back('\\');
        out.push_back(c);
        return;
    }
    constexpr char digits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    const char text[] = {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    out.append(text, sizeof text);
}

bool IsPlain(char c, char quote)
{
    return ' ' <= c && c <= '~' && c != '\\' && c != quote;
}

// Past what stands for itself from `p` on: plain ASCII, and UTF-8 beyond it.
const char* SkipPlain(const char* p, const char* end, char quote)
{
    for (const char* next = p; p != end; p = next)
    {
        uint32 codePoint = 0;
        const bool isAscii = static_cast<unsigned char>(*p) < 0x80;
        if (isAscii ? !IsPlain(*next++, quote) : !ReadUtf8(next, end, codePoint))
            break;
    }
    return p;
}

void AppendQuoted(xstring& out, SubString text, char quote)
{
    out.push_back(quote);
    for (const char* p = text.m_p1; p != text.m_p2; ++p)
    {
        const char* const plain = p;
        p = SkipPlain(p, text.m_p2, quote);
        out.append(plain, p - plain);
        if (p == text.m_p2)
            break;
        AppendEscaped(out, *p, quote);
    }
    out.push_back(quote);
}

// --- the writer ------------------------------------------------------------------------------------------------------

constexpr ConstStringZ s_null = "null"; // what stands for a null handle

// Lines are not indented further behind so many levels: deep data would be blanks for the most part.
constexpr int s_maxIndentedDepth = 16;

// The last identifier of a qualified name.
SubString ShortName(SubString name)
{
    for (const char* p = name.m_p2; p != name.m_p1; --p)
        if (p[-1] == ':')
            return {p, name.m_p2};
    return name;
}

// Lists of these fill lines; lists of everything else have a line for each element.
bool IsShort(EVariableKind kind)
{
    return kind == VK_SCALAR || kind == VK_ENUM || kind == VK_STRING8 || kind == VK_STRING16;
}

class Writer
{
public:
    explicit Writer(const WriteOptions& options) : m_indent(options.m_indent) {}

    const xstring& GetText() const { return m_text; }

    void WriteVariable(ReflectionByteCode type, const void* data, Before before);
    void WriteObject(ptr<IObject> object);

private:
    // A step of the way from the start to the value that is being written: a member, or an element when m_name is null.
    struct Step
    {
        ConstStringZ m_name;
        ssize_t m_index;
    };

    static xstring GetText(const Step& step);

    // The elements of a list, in brackets: where each begins and what stands between them.
    class List
    {
    public:
        List(Writer& writer, bool isShort) : m_writer(writer), m_isShort(isShort)
        {
            m_writer.Put("[");
            ++m_writer.m_depth;
            m_writer.m_steps.push_back({nullptr, 0});
        }
        void BeginElement(ssize_t index)
        {
            constexpr ssize_t width = 100;
            m_writer.m_steps.back().m_index = index;
            if (m_hasElements)
                m_writer.Put(",");
            if (!m_isShort || m_writer.m_text.size() - m_writer.m_lineStart > width)
                m_writer.BreakLine();
            else if (m_hasElements)
                m_writer.PutSpace();
            m_hasElements = true;
        }
        void End()
        {
            m_writer.m_steps.pop_back();
            --m_writer.m_depth;
            if (m_hasElements && !m_isShort)
                m_writer.BreakLine();
            m_writer.Put("]");
        }

    private:
        Writer& m_writer;
        bool m_isShort;
        bool m_hasElements = false;
    };

    void Put(SubString text) { m_text.append(text); }
    void PutSpace()
    {
        if (m_indent > 0)
            Put(" ");
    }
    void BreakLine();

    [[noreturn]] void Throw(std::initializer_list<SubString> message) const;

    void WriteScalar(ETypeByteCode code, const void* data);
    void WriteEnum(const ReflectedEnum* r, int32 value);
    void PutEnumerator(const ReflectedEnum& r, int32 i);
    void WriteString16(const xstring16& text);
    void WriteClass(const ReflectedClass& rc, const char* data, Before before);
    void WriteClassBody(const ReflectedClass& rc, const char* data, Before before);
    bool IsLeftOut(ReflectionByteCode type, const void* data);
    void WriteVariant(const ReflectedVariant* rv, const char* data);
    SubString AlternativeName(const ReflectedVariant& rv, int32 index) const;
    void WriteArray(ReflectionByteCode type, const char* data, Before before);
    void WriteVector(ReflectionByteCode type, const VectorOfByte& vector, Before before);
    void WriteMap(ReflectionByteCode type, const void* map, Before before);
    void WriteReference(const prefbase& reference);
    DefaultVariable& DefaultOf(const ReflectedClass& createdClass);

    xstring m_text;
    int m_indent;
    int m_depth = 0;
    ssize_t m_lineStart = 0; // behind the indentation
    std::vector<Step> m_steps;
    std::set<const void*> m_objects; // that are being written
    std::map<const ReflectedClass*, DefaultVariable> m_defaults;
};

void Writer::BreakLine()
{
    if (m_indent == 0)
        return;
    Put("\n");
    const ssize_t columns = static_cast<ssize_t>(m_indent) * std::min(m_depth, s_maxIndentedDepth);
    for (ssize_t i = 0; i < columns; ++i)
        Put(" ");
    m_lineStart = m_text.size();
}

xstring Writer::GetText(const Step& step)
{
    StringStream text(64);
    if (step.m_name != nullptr)
        text << "." << step.m_name;
    else
        text << "[" << step.m_index << "]";
    return text.GetString();
}

void Writer::Throw(std::initializer_list<SubString> message) const
{
    constexpr std::size_t maxShown = 32;
    const std::size_t firstShown = m_steps.size() > maxShown ? m_steps.size() - maxShown : 0;
    xstring text(firstShown > 0 ? "..." : "");
    for (std::size_t i = firstShown; i < m_steps.size(); ++i)
        text.append(GetText(m_steps[i]));
    if (!text.empty())
        text.append(": ", 2);
    for (const SubString part : message)
        text.append(part);
    throw WriteException(text);
}

void Writer::WriteVariable(ReflectionByteCode type, const void* data, Before before)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { WriteVariable(type, data, before); });
    type.AdvanceToUnderlyingType2();
    const auto* const bytes = static_cast<const char*>(data);
    const EVariableKind kind = GetTypeCode(type).m_kind;
    switch (kind)
    {
    case VK_NONE: KELM_ASSERT(kind != VK_NONE); return;
    case VK_VOID: return;
    case VK_SCALAR: return WriteScalar(type.GetCode(), data);
    case VK_ENUM: return WriteEnum(type.GetReflectedEnum(), LoadScalar<int32>(data));
    case VK_STRING8: return AppendQuoted(m_text, *static_cast<const xstring*>(data), '"');
    case VK_STRING16: return WriteString16(*static_cast<const xstring16*>(data));
    case VK_CLASS: return WriteClass(GetClass(type, s_sourceFile), bytes, before);
    case VK_VARIANT: return WriteVariant(type.GetReflectedVariant(), bytes);
    case VK_ARRAY: return WriteArray(type, bytes, before);
    case VK_VECTOR: return WriteVector(type, *static_cast<const VectorOfByte*>(data), before);
    case VK_MAP: return WriteMap(type, data, before);
    case VK_SET: Throw({"data sources have no form for a set"});
    case VK_HANDLE: return WriteObject(LoadScalar<ptr<IObject>>(data));
    case VK_PREF: return WriteReference(*static_cast<const prefbase*>(data));
    }
}

void Writer::WriteScalar(ETypeByteCode code, const void* data)
{
    VisitScalarType(
        code,
        [&]<class T>(std::type_identity<T>)
        {
            const T value = LoadScalar<T>(data);
            if constexpr (std::is_same_v<T, bool>)
                Put(value ? "true" : "false");
            else if constexpr (std::is_floating_point_v<T>)
                Put(NumberText(value));
            else if constexpr (sizeof(T) > sizeof(int64))
                Throw({"data sources have no form for a 128-bit integer"});
            else if constexpr (std::is_same_v<T, Char8>)
                AppendQuoted(m_text, {reinterpret_cast<const char*>(&value), reinterpret_cast<const char*>(&value) + 1},
                             '\'');
            else if constexpr (std::is_same_v<T, Char16>)
            {
                const auto c = static_cast<char>(value); // which reading sign-extends
                if (static_cast<uint16>(c) != value)
                    Throw(
                        {"data sources have no form for the 16-bit character ", NumberText(static_cast<long>(value))});
                AppendQuoted(m_text, {&c, &c + 1}, '\'');
            }
            else if constexpr (std::is_signed_v<T>)
                Put(NumberText(static_cast<long>(value)));
            else
                Put(NumberText(static_cast<unsigned long>(value)));
        },
        [] {});
}

void Writer::WriteEnum(const ReflectedEnum* r, int32 value)
{
    KELM_ASSERT(r);
    for (int32 i = 0; i < r->m_count; ++i)
        if (r->GetValue(i) == value)
            return PutEnumerator(*r, i);
    Throw({NumberText(value), " is no value of enum ", r->m_name});
}

void Writer::PutEnumerator(const ReflectedEnum& r, int32 i)
{
    const ConstStringZ name = r.m_strings[i];
    if (!IsIdentifier(name))
        Throw({"the name '", name, "' of an enumerator of ", r.m_name, " is no identifier"});
    Put(name);
}

void Writer::WriteString16(const xstring16& text)
{
    xstring utf8;
    if (!Utf8FromUtf16(utf8, text.data(), text.size()))
        Throw({"the 16-bit string holds a lone surrogate"});
    AppendQuoted(m_text, utf8, '"');
}

void Writer::WriteClass(const ReflectedClass& rc, const char* data, Before before)
{
    Put(ShortName(rc.m_name));
    PutSpace();
    WriteClassBody(rc, data, before);
}

void Writer::WriteClassBody(const ReflectedClass& rc, const char* data, Before before)
{
    const ClassFields fields(rc);
    const bool isOpaque = fields.size() == 0 && rc.m_size > 1; // an empty C++ class has one byte
    if (isOpaque)
        Throw({"class ", rc.m_name, " describes no fields"});
    Put("{");
    ++m_depth;
    bool hasMembers = false;
    m_steps.push_back({nullptr, 0});
    for (ssize_t i = 0; i < fields.size(); ++i)
    {
        const ClassFields::Field field = fields[i];
        if (!field.m_isPresent)
            continue;
        m_steps.back().m_name = field.m_name;
        if (IsLeftOut(field.m_type, data + field.m_offset))
        {
            if (!IsLeftOut(field.m_type, before.At(field.m_offset).Get()))
                Throw({"creation gives this member a value, which data sources cannot take away"});
            continue;
        }
        if (m_indent > 0)
            BreakLine();
        else if (hasMembers)
            Put(" ");
        hasMembers = true;
        Put(field.m_name);
        PutSpace();
        Put("=");
        PutSpace();
        WriteVariable(field.m_type, data + field.m_offset, before.At(field.m_offset));
    }
    m_steps.pop_back();
    --m_depth;
    if (hasMembers)
        BreakLine();
    Put("}");
}

// What has no form but is nothing: a null persistent reference, an empty set.
bool Writer::IsLeftOut(ReflectionByteCode type, const void* data)
{
    type.AdvanceToUnderlyingType2();
    switch (GetTypeCode(type).m_kind)
    {
    case VK_PREF:
    {
        const auto& reference = *static_cast<const prefbase*>(data);
        return reference.GetObjectId() == 0 && !reference.GetLoaded();
    }
    case VK_SET:
        KELM_ASSERT(type.m_mapOrSetFns);
        KELM_ASSERT(type.m_mapOrSetFns->setFns);
        return type.m_mapOrSetFns->setFns->Count(data) == 0;
    default: return false;
    }
}

void Writer::WriteVariant(const ReflectedVariant* rv, const char* data)
{
    KELM_ASSERT(rv);
    const auto index = LoadScalar<int32>(data);
    KELM_ASSERT(0 <= index && index < rv->m_numFields);
    const ReflectedField& alternative = rv->m_fields[index];
    m_steps.push_back({alternative.m_name, 0});
    Put(AlternativeName(*rv, index));

    ReflectionByteCode type = GetAlternativeType(*rv, alternative);
    type.AdvanceToUnderlyingType2();
    const char* const value = data + alternative.m_offset;
    DefaultVariable newAlternative(type);
    if (type.GetCode() != FT_VOID)
        Put(" ");
    if (const ReflectedClass* const rc = type.GetReflectedClass())
        WriteClassBody(*rc, value, Before(newAlternative)); // the alternative's name stands for the class's
    else
        WriteVariable(type, value, Before(newAlternative));
    m_steps.pop_back();
}

// The shorter one of the names that reading takes for this alternative. A name that is not qualified may read as any.
SubString Writer::AlternativeName(const ReflectedVariant& rv, int32 index) const
{
    const SubString fullName = rv.m_fields[index].m_name;
    if (!IsQualifiedName(fullName))
        Throw({"the name of this alternative of ", rv.m_name, " is not made of identifiers with \"::\" between them"});
    for (const SubString name : {ShortName(fullName), fullName})
    {
        int32 chosen = 0;
        while (IsQualifiedName(rv.m_fields[chosen].m_name) && !IsNameSuffix(rv.m_fields[chosen].m_name, name))
            ++chosen;
        if (chosen == index)
            return name;
    }
    Throw({"the name of this alternative of ", rv.m_name, " reads as another one"});
}

void Writer::WriteArray(ReflectionByteCode type, const char* data, Before before)
{
    const int32 count = type.GetArrayCount();
    ReflectionByteCode elementType = type.GetElementType();
    elementType.AdvanceToUnderlyingType2();
    const ssize_t size = elementType.GetTypeSize();
    List list(*this, IsShort(GetTypeCode(elementType).m_kind));
    for (int32 i = 0; i < count; ++i)
    {
        list.BeginElement(i);
        WriteVariable(elementType, data + i * size, before.At(i * size));
    }
    list.End();
}

// Whether the first elements of a vector are the kept ones. Scalars are compared as bytes: a NaN is kept as well.
bool BeginsWith(const VectorOfByte& vector, const VectorOfByte& kept, ReflectionByteCode elementType, ssize_t size)
{
    if (kept.size() > vector.size())
        return false;
    if (GetTypeCode(elementType).m_kind == VK_SCALAR)
        return std::equal(kept.data(), kept.data() + kept.size(), vector.data());
    for (ssize_t at = 0; at < kept.size(); at += size)
        if (!CompareEqReflectedVariable(elementType, vector.data() + at, elementType, kept.data() + at))
            return false;
    return true;
}

void Writer::WriteVector(ReflectionByteCode type, const VectorOfByte& vector, Before before)
{
    ReflectionByteCode elementType = type.GetElementType();
    elementType.AdvanceToUnderlyingType2();
    const ssize_t size = elementType.GetTypeSize();
    KELM_ASSERT(size > 0 || vector.empty()); // elements without bytes leave no trace of their number
    const auto& kept = *static_cast<const VectorOfByte*>(before.Get());
    if (!BeginsWith(vector, kept, elementType, size))
        Throw({"it does not begin with the ", NumberText(kept.size() / size),
               " elements that are there before reading, which only appends"});

    DefaultVariable newElement(elementType);
    List list(*this, IsShort(GetTypeCode(elementType).m_kind));
    for (ssize_t at = kept.size(); at < vector.size(); at += size)
    {
        list.BeginElement(at / size);
        WriteVariable(elementType, vector.data() + at, Before(newElement));
    }
    list.End();
}

void Writer::WriteMap(ReflectionByteCode type, const void* map, Before before)
{
    KELM_ASSERT(type.m_mapOrSetFns);
    KELM_ASSERT(type.m_mapOrSetFns->mapFns);
    const MapFns& fns = *type.m_mapOrSetFns->mapFns;
    const ReflectionByteCode keyType = type.GetElementType();
    ReflectionByteCode payloadType = keyType;
    payloadType.ScanType();

    DefaultVariable firstKey(keyType);
    DefaultVariable newPayload(payloadType);
    const std::vector<MapEntry> entries = ListEntries(fns, map);
    const std::vector<MapEntry> keptEntries = ListEntries(fns, before.Get());
    auto kept = keptEntries.begin();
    const void* previousKey = nullptr;
    List list(*this, false);
    ssize_t index = 0;
    for (const MapEntry& entry : entries)
    {
        list.BeginElement(index++);
        // Keys are read into one variable, which keeps what the one before left in it.
        WriteVariable(keyType, entry.m_key, previousKey != nullptr ? Before(previousKey) : Before(firstKey));
        previousKey = entry.m_key;
        PutSpace();
        Put("->");
        PutSpace();

        const bool isKept =
            kept != keptEntries.end() && CompareEqReflectedVariable(keyType, entry.m_key, keyType, kept->m_key);
        WriteVariable(payloadType, entry.m_payload, isKept ? Before((kept++)->m_payload) : Before(newPayload));
    }
    list.End();
    if (kept != keptEntries.end())
        Throw({"it lacks entries that are there before reading, which only adds"});
}

void Writer::WriteReference(const prefbase& reference)
{
    const ptr<IPersistable> object = reference.Get();
    if (!object && reference.GetObjectId() != 0)
        Throw({"the object ", NumberText(reference.GetObjectId()), " of the persistent reference is not to be had"});
    if (!object)
        Throw({"data sources have no form for a null persistent reference"});
    WriteObject(object);
}

void Writer::WriteObject(ptr<IObject> object)
{
    if (!object)
        return Put(s_null);
    const ReflectedClass* const rc = object.GetReflectedClass();
    KELM_ASSERT(rc);
    if (SubString(rc->m_name) == s_null)
        Throw({"the name of the object's class reads as a null handle"});
    if (rc->m_createFn == nullptr)
        Throw({"'", rc->m_name, "' doesn't support dynamic creation"});
    const auto [place, isNew] = m_objects.insert(object.self());
    if (!isNew)
        Throw({"the object of class ", rc->m_name, " is reached from within itself"});
    Put(rc->m_name);
    PutSpace();
    WriteClassBody(*rc, static_cast<const char*>(object.self()), Before(DefaultOf(*rc)));
    m_objects.erase(place);
}

DefaultVariable& Writer::DefaultOf(const ReflectedClass& createdClass)
{
    return m_defaults.try_emplace(&createdClass, createdClass).first->second;
}

} // namespace

WriteException::WriteException(xstring description) : m_description(std::move(description)) {}

WriteException::~WriteException() = default;

void WriteException::Write(xostream& os) const
{
    os << m_description;
}

const char* WriteException::what() const noexcept
{
    return m_description.c_str();
}

void WriteVariable(xostream& os, ReflectionByteCode type, const void* data, const WriteOptions& options)
{
    Writer writer(options);
    DefaultVariable newVariable(type);
    writer.WriteVariable(type, data, Before(newVariable));
    os << writer.GetText();
}

void WriteObject(xostream& os, ptr<IObject> object, const WriteOptions& options)
{
    Writer writer(options);
    writer.WriteObject(object);
    os << writer.GetText();
}

} // namespace kelm
