#include <klObject/values/WriteVariable.h>

#include <klObject/containers/private/MapEntry.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/types/private/ClassFields.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/private/Before.h>
#include <klObject/values/private/CheckedType.h>
#include <klObject/values/private/ForeignEntries.h>
#include <klObject/values/private/QuotedText.h>
#include <klObject/values/private/ScalarTypes.h>
#include <klObject/values/private/TextRoom.h>
#include <klObject/values/private/WritePlan.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/MessageOf.h>
#include <klUtils/StackSegment.h>
#include <klUtils/ToString.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/text/private/WriteDigits.h>
#include <klUtils/xvector.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <map>
#include <memory>
#include <set>
#include <vector>

// Everything is collected in memory and passed on at the end.

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/values/WriteVariable";

constexpr ConstStringZ s_null = "null"; // what stands for a null handle

// Lines are not indented further behind so many levels: deep data would be blanks for the most part.
constexpr int s_maxIndentedDepth = 16;

// Lists of these fill lines; lists of everything else have a line for each element.
bool IsShort(const WrittenType& type)
{
    const EVariableKind kind = type.m_kind;
    return kind == VK_SCALAR || kind == VK_ENUM || kind == VK_STRING8 || kind == VK_STRING16 ||
           (kind == VK_FOREIGN && type.m_type.GetForeignType().GetForm() == FF_TEXT);
}

// The functions that write take the end of the text and return it, as TextRoom wants it.
class Writer
{
public:
    explicit Writer(const WriteOptions& options) : m_indent(options.m_indent), m_isWhole(options.m_isWhole) {}

    char* Begin() { return m_room.Begin(); }
    SubString GetText(const char* p) const { return m_room.GetText(p); }

    char* WriteVariable(char* p, ReflectionByteCode type, const void* data, Before before);
    char* WriteObject(char* p, ptr<IObject> object);

private:
    // A step of the way from the start to the value that is being written: a member, or an element when m_name is null.
    class Step
    {
    public:
        explicit Step(Writer& writer, ConstStringZ name = nullptr)
            : m_name(name), m_outer(writer.m_step), m_writer(writer)
        {
            m_writer.m_step = this;
        }
        Step(const Step&) = delete;
        Step& operator=(const Step&) = delete;
        ~Step() { m_writer.m_step = m_outer; }

        ConstStringZ m_name;
        ssize_t m_index = 0;
        const Step* const m_outer;

    private:
        Writer& m_writer;
    };

    static xstring GetText(const Step& step);

    char* Put(char* p, SubString text) { return m_room.Put(p, text); }
    char* PutSpace(char* p)
    {
        *p = ' ';
        return p + (m_indent > 0);
    }
    // Between a key and its payload.
    char* PutArrow(char* p)
    {
        p = PutSpace(p);
        *p++ = '-';
        *p++ = '>';
        return PutSpace(p);
    }
    char* BreakLine(char* p);

    [[noreturn]] void Throw(std::initializer_list<SubString> message) const;

    template <class T>
    char* WriteScalar(char* p, const void* data);
    char* WriteUnderlying(char* p, ReflectionByteCode type, const void* data, Before before);
    char* WriteEnum(char* p, const ReflectedEnum* r, int32 value);
    char* PutEnumerator(char* p, const ReflectedEnum& r, int32 i);
    char* WriteString16(char* p, const xstring16& text);
    char* WriteClass(char* p, const WritePlan& plan, const char* data, Before before);
    char* WriteClassBody(char* p, const WritePlan& plan, const char* data, Before before);
    char* PutMemberName(char* p, const WrittenMember& member);
    char* WriteOtherMember(char* p, const WrittenMember& member, const char* data, Before before);
    bool IsLeftOut(const WrittenMember& member, const char* data, Before before) const;
    char* WriteVariant(char* p, const ReflectedVariant* rv, const char* data);
    SubString AlternativeName(const ReflectedVariant& rv, int32 index) const;
    char* WriteArray(char* p, ReflectionByteCode type, const char* data, Before before);
    char* WriteVector(char* p, const WrittenElement& element, const VectorOfByte& vector, Before before);
    char* WriteScalars(char* p, ETypeByteCode code, const char* data, ssize_t first, ssize_t count);
    char* WriteElements(char* p, const WrittenElement& element, const char* data, ssize_t first, ssize_t count,
                        const Before* array);
    template <class WriteElement>
    char* WriteEach(char* p, ssize_t first, ssize_t count, bool isShort, const WriteElement& writeElement);
    char* PutBreakBetween(char* p, bool isFirst, bool isShort);
    char* WriteMap(char* p, ReflectionByteCode type, const void* map, Before before);
    char* WriteReference(char* p, const prefbase& reference);
    char* WriteForeign(char* p, const ForeignType& type, const void* data, Before before);
    char* WriteForeignText(char* p, const ForeignTextFns& fns, const void* text);
    char* WriteForeignList(char* p, const ForeignType& type, const char* list, Before before);
    char* WriteContiguous(char* p, const WrittenElement& element, const ForeignListFns& fns, const char* list);
    char* WriteForeignMap(char* p, const ForeignType& type, const void* map);
    char* WriteForeignChoice(char* p, const ForeignType& type, const void* choice);
    char* WriteForeignAlternative(char* p, const ForeignType& type, int32 index, const void* value);
    DefaultVariable& DefaultOf(const ReflectedClass& createdClass);

    // The name of an enumerator that has been looked at, by where it stands in its enumeration.
    struct CheckedName
    {
        const ConstStringZ* m_place = nullptr;
        SubString m_name;
    };
    static constexpr std::size_t s_numCheckedNames = 16;

    TextRoom m_room;
    const int m_indent;
    const bool m_isWhole;
    int m_depth = 0;
    ssize_t m_lineStart = 0; // behind the indentation
    const Step* m_step = nullptr;
    CheckedName m_checkedNames[s_numCheckedNames];
    std::set<const void*> m_objects; // that are being written
    std::map<const ReflectedClass*, DefaultVariable> m_defaults;
};

char* Writer::BreakLine(char* p)
{
    if (m_indent == 0)
        return p;
    *p++ = '\n';
    const ssize_t columns = static_cast<ssize_t>(m_indent) * std::min(m_depth, s_maxIndentedDepth);
    p = m_room.MakeRoom(p, columns);
    std::memset(p, ' ', static_cast<std::size_t>(columns));
    p += columns;
    m_lineStart = m_room.GetSize(p);
    return p;
}

xstring Writer::GetText(const Step& step)
{
    return step.m_name != nullptr ? MessageOf(".", step.m_name) : MessageOf("[", step.m_index, "]");
}

void Writer::Throw(std::initializer_list<SubString> message) const
{
    constexpr std::size_t maxShown = 32;
    std::vector<const Step*> steps;
    const Step* step = m_step;
    for (; step != nullptr && steps.size() < maxShown; step = step->m_outer)
        steps.push_back(step);
    xstring text(step != nullptr ? "..." : "");
    for (std::size_t i = steps.size(); i-- > 0;)
        text.append(GetText(*steps[i]));
    if (!text.empty())
        text.append(": ", 2);
    for (const SubString part : message)
        text.append(part);
    throw WriteException(text);
}

char* Writer::WriteVariable(char* p, ReflectionByteCode type, const void* data, Before before)
{
    type.AdvanceToUnderlyingType2();
    return WriteUnderlying(p, type, data, before);
}

char* Writer::WriteUnderlying(char* p, ReflectionByteCode type, const void* data, Before before)
{
    if (IsStackLow())
    {
        CallOnFreshSegment([&] { p = WriteUnderlying(p, type, data, before); });
        return p;
    }
    const auto* const bytes = static_cast<const char*>(data);
    const EVariableKind kind = GetTypeCode(type).m_kind;
    switch (kind)
    {
    case VK_NONE: KELM_ASSERT(kind != VK_NONE); break;
    case VK_VOID: break;
    case VK_SCALAR:
        return VisitScalarType(
            type.GetCode(), [&]<class T>(std::type_identity<T>) { return WriteScalar<T>(p, data); }, [&] { return p; });
    case VK_ENUM: return WriteEnum(p, type.GetReflectedEnum(), LoadScalar<int32>(data));
    case VK_STRING8: return PutQuoted(m_room, p, *static_cast<const xstring*>(data), '"');
    case VK_STRING16: return WriteString16(p, *static_cast<const xstring16*>(data));
    case VK_CLASS: return WriteClass(p, GetWritePlan(GetClass(type, s_sourceFile)), bytes, before);
    case VK_VARIANT: return WriteVariant(p, type.GetReflectedVariant(), bytes);
    case VK_ARRAY: return WriteArray(p, type, bytes, before);
    case VK_VECTOR:
        return WriteVector(p, WrittenElement(type.GetElementType()), *static_cast<const VectorOfByte*>(data), before);
    case VK_MAP: return WriteMap(p, type, data, before);
    case VK_SET: Throw({"data sources have no form for a set"});
    case VK_HANDLE: return WriteObject(p, LoadScalar<ptr<IObject>>(data));
    case VK_PREF: return WriteReference(p, *static_cast<const prefbase*>(data));
    case VK_FOREIGN: return WriteForeign(p, type.GetForeignType(), data, before);
    }
    return p;
}

template <class T>
inline char* Writer::WriteScalar(char* p, const void* data)
{
    const T value = LoadScalar<T>(data);
    if constexpr (std::is_same_v<T, bool>)
    {
        std::memcpy(p, value ? "true\0" : "false", 5);
        return m_room.MakeRoom(p + (value ? 4 : 5));
    }
    else if constexpr (std::is_floating_point_v<T>)
        return m_room.MakeRoom(PutNumber(p, value));
    else if constexpr (sizeof(T) > sizeof(int64))
        Throw({"data sources have no form for a 128-bit integer"});
    else if constexpr (std::is_same_v<T, Char8>)
    {
        const auto c = static_cast<char>(value);
        return PutQuoted(m_room, p, {&c, &c + 1}, '\'');
    }
    else if constexpr (std::is_same_v<T, Char16>)
    {
        const auto c = static_cast<char>(value); // which reading sign-extends
        if (static_cast<uint16>(c) != value)
            Throw({"data sources have no form for the 16-bit character ", NumberText(static_cast<long>(value))});
        return PutQuoted(m_room, p, {&c, &c + 1}, '\'');
    }
    else
    {
        using Wide = std::conditional_t<std::is_signed_v<T>, int64, uint64>;
        return m_room.MakeRoom(PutDecimal(p, static_cast<Wide>(value)));
    }
}

char* Writer::WriteEnum(char* p, const ReflectedEnum* r, int32 value)
{
    KELM_ASSERT(r);
    if (r->m_values == nullptr && 0 <= value && value < r->m_count)
        return PutEnumerator(p, *r, value);
    for (int32 i = 0; i < r->m_count; ++i)
        if (r->GetValue(i) == value)
            return PutEnumerator(p, *r, i);
    Throw({NumberText(value), " is no value of enum ", r->m_name});
}

char* Writer::PutEnumerator(char* p, const ReflectedEnum& r, int32 i)
{
    // Names that were written are known to read back.
    CheckedName& checked = m_checkedNames[static_cast<std::size_t>(reinterpret_cast<std::uintptr_t>(&r.m_strings[i]) /
                                                                   sizeof(ConstStringZ) % s_numCheckedNames)];
    if (checked.m_place != &r.m_strings[i])
    {
        const SubString name = r.m_strings[i];
        if (!IsIdentifier(name))
            Throw({"the name '", name, "' of an enumerator of ", r.m_name, " is no identifier"});
        if (FindEnumerator(r, name) != i)
            Throw({"the name '", name, "' of an enumerator of ", r.m_name, " reads as another one"});
        checked = {&r.m_strings[i], name};
    }
    return Put(p, checked.m_name);
}

char* Writer::WriteString16(char* p, const xstring16& text)
{
    xstring utf8;
    if (!Utf8FromUtf16(utf8, text.data(), text.size()))
        Throw({"the 16-bit string holds a lone surrogate"});
    return PutQuoted(m_room, p, utf8, '"');
}

char* Writer::WriteClass(char* p, const WritePlan& plan, const char* data, Before before)
{
    p = PutSpace(Put(p, plan.m_shortName));
    return WriteClassBody(p, plan, data, before);
}

inline char* Writer::PutMemberName(char* p, const WrittenMember& member)
{
    const char* text = member.m_denseText;
    ssize_t size = member.m_denseSize;
    if (m_indent > 0)
    {
        p = BreakLine(p);
        text = member.m_lineText;
        ++size;
    }
    if (size <= s_textStep) [[likely]]
    {
        std::memcpy(p, text, s_textStep);
        return p + size;
    }
    return Put(p, {text, text + size});
}

char* Writer::WriteClassBody(char* p, const WritePlan& plan, const char* data, Before before)
{
    if (IsStackLow())
    {
        CallOnFreshSegment([&] { p = WriteClassBody(p, plan, data, before); });
        return p;
    }
    if (!plan.m_fault.empty())
        Throw({plan.m_fault});
    // Where all is on one line, the blank before the first member gives way to the bracket.
    const ssize_t bracket = m_room.GetSize(p);
    const ssize_t first = bracket + (m_indent > 0);
    p += m_indent > 0;
    ++m_depth;
    {
        Step step(*this);
        for (const WrittenMember& member : plan.m_members)
        {
            step.m_name = member.m_name;
            const char* const value = data + member.m_offset;
            if (member.m_mayBeLeftOut && IsLeftOut(member, value, before)) [[unlikely]]
                continue;
            p = PutMemberName(p, member);
            p = VisitScalarType(
                member.m_code, [&]<class T>(std::type_identity<T>) { return WriteScalar<T>(p, value); },
                [&] { return WriteOtherMember(p, member, value, before); });
        }
    }
    --m_depth;
    const bool hasMembers = m_room.GetSize(p) != first;
    if (hasMembers)
        p = BreakLine(p);
    else
        p += m_indent == 0;
    *m_room.GetAt(bracket) = '{';
    *p++ = '}';
    return m_room.MakeRoom(p);
}

char* Writer::WriteOtherMember(char* p, const WrittenMember& member, const char* data, Before before)
{
    if (member.m_kind == VK_STRING8)
        return PutQuoted(m_room, p, *reinterpret_cast<const xstring*>(data), '"');
    if (member.m_kind == VK_VECTOR)
        return WriteVector(p, *member.m_element, *reinterpret_cast<const VectorOfByte*>(data),
                           before.At(member.m_offset));
    if (member.m_kind == VK_FOREIGN)
    {
        const ForeignType& type = member.m_type.GetForeignType();
        if (member.m_element)
            return WriteContiguous(p, *member.m_element, *type.m_list, data);
        return WriteForeign(p, type, data, before.At(member.m_offset));
    }
    return WriteUnderlying(p, member.m_type, data, before.At(member.m_offset));
}

// What is nothing: a null persistent reference and an empty set, which have no form, and an empty optional.
bool IsNothing(ReflectionByteCode type, const void* data)
{
    if (GetTypeCode(type).m_kind == VK_FOREIGN)
        return type.GetForeignType().m_choice->GetIndex(data) < 0;
    if (GetTypeCode(type).m_kind == VK_PREF)
    {
        const auto& reference = *static_cast<const prefbase*>(data);
        return reference.GetObjectId() == 0 && !reference.GetLoaded();
    }
    KELM_ASSERT(type.m_mapOrSetFns);
    KELM_ASSERT(type.m_mapOrSetFns->setFns);
    return type.m_mapOrSetFns->setFns->Count(data) == 0;
}

bool Writer::IsLeftOut(const WrittenMember& member, const char* data, Before before) const
{
    if (!IsNothing(member.m_type, data))
        return false;
    if (IsNothing(member.m_type, before.At(member.m_offset).Get()))
        return true;
    if (member.m_kind != VK_FOREIGN)
        Throw({"creation gives this member a value, which data sources cannot take away"});
    return false;
}

char* Writer::WriteVariant(char* p, const ReflectedVariant* rv, const char* data)
{
    KELM_ASSERT(rv);
    const auto index = LoadScalar<int32>(data);
    KELM_ASSERT(0 <= index && index < rv->m_numFields);
    const ReflectedField& alternative = rv->m_fields[index];
    const Step step(*this, alternative.m_name);
    p = Put(p, AlternativeName(*rv, index));

    ReflectionByteCode type = GetAlternativeType(*rv, alternative);
    type.AdvanceToUnderlyingType2();
    const char* const value = data + alternative.m_offset;
    DefaultVariable newAlternative(type);
    if (type.GetCode() != FT_VOID)
        *p++ = ' ';
    if (const ReflectedClass* const rc = type.GetReflectedClass()) // the alternative's name stands for the class's
        return WriteClassBody(p, GetWritePlan(*rc), value, Before(newAlternative));
    return WriteUnderlying(p, type, value, Before(newAlternative));
}

// The shorter one of the names that reading takes for this alternative. A name that is not qualified may read as any.
SubString Writer::AlternativeName(const ReflectedVariant& rv, int32 index) const
{
    const SubString fullName = rv.m_fields[index].m_name;
    if (!IsQualifiedName(fullName))
        Throw({"the name of this alternative of ", rv.m_name, " is not made of identifiers with \"::\" between them"});
    for (const SubString name : {LastIdentifier(fullName), fullName})
    {
        int32 chosen = 0;
        while (IsQualifiedName(rv.m_fields[chosen].m_name) && !IsNameSuffix(rv.m_fields[chosen].m_name, name))
            ++chosen;
        if (chosen == index)
            return name;
    }
    Throw({"the name of this alternative of ", rv.m_name, " reads as another one"});
}

char* Writer::WriteArray(char* p, ReflectionByteCode type, const char* data, Before before)
{
    return WriteElements(p, WrittenElement(type.GetElementType()), data, 0, type.GetArrayCount(), &before);
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

char* Writer::WriteVector(char* p, const WrittenElement& element, const VectorOfByte& vector, Before before)
{
    const ssize_t size = element.m_size;
    KELM_ASSERT(size > 0 || vector.empty()); // elements without bytes leave no trace of their number
    ssize_t first = 0;
    if (!m_isWhole)
    {
        const auto& kept = *static_cast<const VectorOfByte*>(before.Get());
        if (!kept.empty() && !BeginsWith(vector, kept, element.m_type, size))
            Throw({"it does not begin with the ", NumberText(kept.size() / size),
                   " elements that are there before reading, which only appends"});
        first = kept.empty() ? 0 : kept.size() / size;
    }
    const ssize_t count = vector.empty() ? 0 : vector.size() / size;
    return element.m_kind == VK_SCALAR ? WriteScalars(p, element.m_code, vector.data(), first, count)
                                       : WriteElements(p, element, vector.data(), first, count, nullptr);
}

char* Writer::WriteScalars(char* p, ETypeByteCode code, const char* data, ssize_t first, ssize_t count)
{
    return VisitScalarType(
        code,
        [&]<class T>(std::type_identity<T>)
        {
            return WriteEach(p, first, count, true,
                             [this, data](char* end, ssize_t i)
                             { return WriteScalar<T>(end, data + i * static_cast<ssize_t>(sizeof(T))); });
        },
        [&] { return p; });
}

// The element's type is looked at once. What is there before reading are the elements of an array, or none.
char* Writer::WriteElements(char* p, const WrittenElement& element, const char* data, ssize_t first, ssize_t count,
                            const Before* array)
{
    if (element.m_kind == VK_SCALAR)
        return WriteScalars(p, element.m_code, data, first, count);
    const ssize_t size = element.m_size;
    if (element.m_kind == VK_STRING8)
        return WriteEach(p, first, count, true,
                         [=, this](char* end, ssize_t i)
                         { return PutQuoted(m_room, end, *reinterpret_cast<const xstring*>(data + i * size), '"'); });

    DefaultVariable newElement(element.m_type);
    const auto beforeElement = [&](ssize_t i) { return array != nullptr ? array->At(i * size) : Before(newElement); };
    if (element.m_kind == VK_CLASS && first < count)
    {
        const WritePlan& plan = GetWritePlan(GetClass(element.m_type, s_sourceFile));
        return WriteEach(p, first, count, false,
                         [&](char* end, ssize_t i)
                         { return WriteClass(end, plan, data + i * size, beforeElement(i)); });
    }
    if (element.m_kind == VK_VECTOR)
    {
        if (IsStackLow())
        {
            CallOnFreshSegment([&] { p = WriteElements(p, element, data, first, count, array); });
            return p;
        }
        const WrittenElement inner(element.m_type.GetElementType());
        return WriteEach(p, first, count, false,
                         [&](char* end, ssize_t i) {
                             return WriteVector(end, inner, *reinterpret_cast<const VectorOfByte*>(data + i * size),
                                                beforeElement(i));
                         });
    }
    return WriteEach(p, first, count, IsShort(element),
                     [&](char* end, ssize_t i)
                     { return WriteUnderlying(end, element.m_type, data + i * size, beforeElement(i)); });
}

// The elements from `first` to `count` in brackets.
template <class WriteElement>
inline char* Writer::WriteEach(char* p, ssize_t first, ssize_t count, bool isShort, const WriteElement& writeElement)
{
    *p++ = '[';
    p = m_room.MakeRoom(p); // lists may begin side by side
    ++m_depth;
    {
        Step step(*this);
        for (ssize_t i = first; i < count; ++i)
        {
            step.m_index = i;
            *p = ',';
            p += i > first;
            if (m_indent > 0)
                p = PutBreakBetween(p, i == first, isShort);
            p = writeElement(p, i);
        }
    }
    --m_depth;
    if (count > first && !isShort)
        p = BreakLine(p);
    *p++ = ']';
    return m_room.MakeRoom(p);
}

char* Writer::PutBreakBetween(char* p, bool isFirst, bool isShort)
{
    constexpr ssize_t width = 100;
    if (!isShort || m_room.GetSize(p) - m_lineStart > width)
        return BreakLine(p);
    *p = ' ';
    return p + !isFirst;
}

char* Writer::WriteMap(char* p, ReflectionByteCode type, const void* map, Before before)
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
    const std::vector<MapEntry> keptEntries = m_isWhole ? std::vector<MapEntry>() : ListEntries(fns, before.Get());
    auto kept = keptEntries.begin();
    const void* previousKey = nullptr;
    const auto writeEntry = [&](char* end, ssize_t i)
    {
        const MapEntry& entry = entries[static_cast<std::size_t>(i)];
        // Keys are read into one variable, which keeps what the one before left in it.
        end = WriteVariable(end, keyType, entry.m_key, previousKey != nullptr ? Before(previousKey) : Before(firstKey));
        previousKey = entry.m_key;
        end = PutArrow(end);
        const bool isKept =
            kept != keptEntries.end() && CompareEqReflectedVariable(keyType, entry.m_key, keyType, kept->m_key);
        return WriteVariable(end, payloadType, entry.m_payload,
                             isKept ? Before((kept++)->m_payload) : Before(newPayload));
    };
    p = WriteEach(p, 0, static_cast<ssize_t>(entries.size()), false, writeEntry);
    if (kept != keptEntries.end())
        Throw({"it lacks entries that are there before reading, which only adds"});
    return p;
}

char* Writer::WriteReference(char* p, const prefbase& reference)
{
    const ptr<IPersistable> object = reference.Get();
    if (!object && reference.GetObjectId() != 0)
        Throw({"the object ", NumberText(reference.GetObjectId()), " of the persistent reference is not to be had"});
    if (!object)
        Throw({"data sources have no form for a null persistent reference"});
    return WriteObject(p, object);
}

// --- foreign types, whose lists and maps are written whole and whose optionals are made anew: reading replaces them

char* Writer::WriteForeign(char* p, const ForeignType& type, const void* data, Before before)
{
    switch (type.GetForm())
    {
    case FF_TEXT: return WriteForeignText(p, *type.m_text, data);
    case FF_LIST: return WriteForeignList(p, type, static_cast<const char*>(data), before);
    case FF_MAP: return WriteForeignMap(p, type, data);
    case FF_CHOICE: return WriteForeignChoice(p, type, data);
    }
    return p;
}

char* Writer::WriteForeignText(char* p, const ForeignTextFns& fns, const void* text)
{
    char buffer[ForeignTextFns::BufferSize];
    const SubString characters = fns.Get(text, buffer);
    if (!fns.m_isIdentifier)
        return PutQuoted(m_room, p, characters, '"');
    if (characters.empty())
        Throw({NumberText(static_cast<long>(fns.GetNumber(text))), " is no value of enum ", fns.m_what});
    return Put(p, characters);
}

char* Writer::WriteForeignList(char* p, const ForeignType& type, const char* list, Before before)
{
    const ForeignListFns& fns = *type.m_list;
    const ssize_t count = fns.Count(list);
    const auto at = [&](ssize_t i) { return static_cast<const char*>(fns.At(const_cast<char*>(list), i)); };
    if (fns.m_isFixed)
    {
        bool isShort = true;
        for (ssize_t i = 0; i < count; ++i)
            isShort = isShort && IsShort(WrittenType(type.GetElementType(i)));
        return WriteEach(p, 0, count, isShort,
                         [&](char* end, ssize_t i)
                         { return WriteVariable(end, type.GetElementType(i), at(i), before.At(at(i) - list)); });
    }
    const WrittenElement element(type.GetElementType(0));
    if (fns.m_isContiguous)
        return WriteContiguous(p, element, fns, list);
    DefaultVariable newElement(element.m_type);
    return WriteEach(p, 0, count, IsShort(element),
                     [&](char* end, ssize_t i)
                     { return WriteUnderlying(end, element.m_type, at(i), Before(newElement)); });
}

char* Writer::WriteContiguous(char* p, const WrittenElement& element, const ForeignListFns& fns, const char* list)
{
    const ssize_t count = fns.Count(list);
    const void* const elements = count > 0 ? fns.At(const_cast<char*>(list), 0) : nullptr;
    return WriteElements(p, element, static_cast<const char*>(elements), 0, count, nullptr);
}

char* Writer::WriteForeignMap(char* p, const ForeignType& type, const void* map)
{
    const ReflectionByteCode keyType = type.GetPartType(0);
    const bool isSet = type.m_numParts == 1;
    const ReflectionByteCode payloadType = isSet ? keyType : type.GetPartType(1);
    DefaultVariable newKey(keyType);
    DefaultVariable newPayload(payloadType);
    const std::vector<MapEntry> entries = ListForeignEntries(type, map);
    return WriteEach(p, 0, static_cast<ssize_t>(entries.size()), isSet && IsShort(WrittenType(keyType)),
                     [&](char* end, ssize_t i)
                     {
                         const MapEntry& entry = entries[static_cast<std::size_t>(i)];
                         end = WriteVariable(end, keyType, entry.m_key, Before(newKey));
                         if (isSet)
                             return end;
                         end = PutArrow(end);
                         return WriteVariable(end, payloadType, entry.m_payload, Before(newPayload));
                     });
}

char* Writer::WriteForeignChoice(char* p, const ForeignType& type, const void* choice)
{
    const int32 index = type.m_choice->GetIndex(choice);
    if (index < 0 && !type.IsOptional())
        Throw({"this variant holds no value"});
    if (index < 0)
        return Put(p, s_null);
    const void* const value = type.m_choice->GetValue(choice);
    if (type.m_choice->m_names != nullptr)
        return WriteForeignAlternative(p, type, index, value);
    DefaultVariable newValue(type.GetPartType(0));
    if (!type.m_choice->m_isPointer)
        return WriteVariable(p, type.GetPartType(0), value, Before(newValue));
    const auto [place, isNew] = m_objects.insert(value);
    if (!isNew)
        Throw({"what is pointed to here is reached from within itself"});
    p = WriteVariable(p, type.GetPartType(0), value, Before(newValue));
    m_objects.erase(place);
    return p;
}

char* Writer::WriteForeignAlternative(char* p, const ForeignType& type, int32 index, const void* value)
{
    const Step step(*this, type.m_choice->m_names[index]);
    p = Put(p, GetForeignAlternativeName(type, index));
    ReflectionByteCode part = type.GetPartType(index);
    part.AdvanceToUnderlyingType2();
    DefaultVariable newAlternative(part);
    if (part.GetCode() != FT_VOID)
        *p++ = ' ';
    if (const ReflectedClass* const rc = part.GetReflectedClass()) // the alternative's name stands for the class's
        return WriteClassBody(p, GetWritePlan(*rc), static_cast<const char*>(value), Before(newAlternative));
    return WriteUnderlying(p, part, value, Before(newAlternative));
}

char* Writer::WriteObject(char* p, ptr<IObject> object)
{
    if (!object)
        return Put(p, s_null);
    const ReflectedClass* const rc = object.GetReflectedClass();
    KELM_ASSERT(rc);
    if (SubString(rc->m_name) == s_null)
        Throw({"the name of the object's class reads as a null handle"});
    if (rc->m_createFn == nullptr)
        Throw({"'", rc->m_name, "' doesn't support dynamic creation"});
    if (TryFindReflectedClass(rc->m_name) == nullptr)
        Throw({"class ", rc->m_name, " is not registered"});
    const auto [place, isNew] = m_objects.insert(object.self());
    if (!isNew)
        Throw({"the object of class ", rc->m_name, " is reached from within itself"});
    p = PutSpace(Put(p, rc->m_name));
    p = WriteClassBody(p, GetWritePlan(*rc), static_cast<const char*>(object.self()), Before(DefaultOf(*rc)));
    m_objects.erase(place);
    return p;
}

DefaultVariable& Writer::DefaultOf(const ReflectedClass& createdClass)
{
    return m_defaults.try_emplace(&createdClass, createdClass).first->second;
}

} // namespace

WriteException::~WriteException() = default;

void WriteVariable(xostream& os, ReflectionByteCode type, const void* data, const WriteOptions& options)
{
    Writer writer(options);
    DefaultVariable newVariable(type);
    os << writer.GetText(writer.WriteVariable(writer.Begin(), type, data, Before(newVariable)));
}

void WriteObject(xostream& os, ptr<IObject> object, const WriteOptions& options)
{
    Writer writer(options);
    os << writer.GetText(writer.WriteObject(writer.Begin(), object));
}

} // namespace kelm
