#include <klObject/values/WriteVariable.h>

#include <klObject/containers/private/MapEntry.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/types/VariantIndex.h>
#include <klObject/types/private/ClassFields.h>
#include <klObject/types/private/TypeCodes.h>
#include <klObject/values/private/CheckedType.h>
#include <klObject/values/private/QuotedText.h>
#include <klObject/values/private/ScalarTypes.h>
#include <klObject/values/private/Writer.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/MessageOf.h>
#include <klUtils/StackSegment.h>
#include <klUtils/ToString.h>
#include <klUtils/Utf16FromUtf8.h>
#include <klUtils/text/QualifiedName.h>
#include <klUtils/text/private/WriteDigits.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <vector>

// Everything is collected in memory and passed on at the end.

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/values/WriteVariable";

// Lines are not indented further behind so many levels: deep data would be blanks for the most part.
constexpr int s_maxIndentedDepth = 16;

} // namespace

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
        return CallOnFreshSegment([&] { return WriteUnderlying(p, type, data, before); });
    const auto* const bytes = static_cast<const char*>(data);
    const EVariableKind kind = GetTypeCode(type).m_kind;
    switch (kind) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case VK_NONE: KELM_ASSERT(kind != VK_NONE); break;
    case VK_VOID: break; // of which an array may hold any number
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
    return m_room.MakeRoom(p);
}

namespace
{

// Numbers and bools have a text whatever they are, for which there is always room.
template <class T>
constexpr bool s_isNumber = std::is_arithmetic_v<T> && sizeof(T) <= sizeof(int64);

template <class T>
[[gnu::always_inline]] inline char* PutNumberOrBool(char* p, T value)
{
    if constexpr (std::is_same_v<T, bool>)
    {
        std::memcpy(p, value ? "true\0" : "false", 5);
        return p + (value ? 4 : 5);
    }
    else if constexpr (std::is_floating_point_v<T>)
        return PutNumber(p, value);
    else
        return PutDecimal(p, static_cast<std::conditional_t<std::is_signed_v<T>, int64, uint64>>(value));
}

} // namespace

template <class T>
inline char* Writer::WriteScalar(char* p, const void* data)
{
    const T value = LoadScalar<T>(data);
    if constexpr (s_isNumber<T>)
        return m_room.MakeRoom(PutNumberOrBool(p, value));
    else if constexpr (sizeof(T) > sizeof(int64))
        Throw({"data sources have no form for a 128-bit integer"});
    else if constexpr (std::is_same_v<T, Char8>)
    {
        const auto c = static_cast<char>(value);
        return PutQuoted(m_room, p, {&c, &c + 1}, '\'');
    }
    else
    {
        static_assert(std::is_same_v<T, Char16>);
        const auto c = static_cast<char>(value); // which reading sign-extends
        if (static_cast<uint16>(static_cast<int8>(value)) != value)
            Throw({"data sources have no form for the 16-bit character ", NumberText(static_cast<long>(value))});
        return PutQuoted(m_room, p, {&c, &c + 1}, '\'');
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
        return CallOnFreshSegment([&] { return WriteClassBody(p, plan, data, before); });
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

namespace
{

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

} // namespace

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
    constexpr auto readsAsAny = [](SubString, SubString) { return true; };
    for (const SubString name : {LastIdentifier(fullName), fullName})
        if (FindAlternative(rv, name, readsAsAny) == index)
            return name;
    Throw({"the name of this alternative of ", rv.m_name, " reads as another one"});
}

char* Writer::WriteArray(char* p, ReflectionByteCode type, const char* data, Before before)
{
    return WriteElements(p, WrittenElement(type.GetElementType()), data, 0, type.GetArrayCount(), &before);
}

namespace
{

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

// Elements without bytes leave no trace of their number.
void RequireElementSize(const WrittenElement& element, const VectorOfByte& vector)
{
    Require(element.m_size > 0 || vector.empty(), "size > 0 || vector.empty()", s_sourceFile, __LINE__);
}

} // namespace

char* Writer::WriteVector(char* p, const WrittenElement& element, const VectorOfByte& vector, Before before)
{
    const ssize_t size = element.m_size;
    RequireElementSize(element, vector);
    ssize_t first = 0;
    if (!m_isWhole)
    {
        const auto& kept = *static_cast<const VectorOfByte*>(before.Get());
        if (!kept.empty() && !BeginsWith(vector, kept, element.m_type, size))
            Throw({"it does not begin with the ", NumberText(kept.size() / size),
                   " elements that are there before reading, which only appends"});
        first = kept.empty() ? 0 : kept.size() / size;
    }
    return WriteList(p, element, vector, first);
}

inline char* Writer::WriteList(char* p, const WrittenElement& element, const VectorOfByte& vector, ssize_t first)
{
    RequireElementSize(element, vector);
    const ssize_t count = vector.empty() ? 0 : vector.size() / element.m_size;
    return WriteElements(p, element, vector.data(), first, count, nullptr);
}

char* Writer::WriteScalars(char* p, ETypeByteCode code, const char* data, ssize_t first, ssize_t count)
{
    return VisitScalarType(
        code, [&]<class T>(std::type_identity<T>) { return WriteScalarsOf<T>(p, data, first, count); },
        [&] { return p; });
}

template <class T>
inline char* Writer::WriteScalarsOf(char* p, const char* data, ssize_t first, ssize_t count)
{
    if constexpr (s_isNumber<T>)
        return WriteNumbers<T>(p, data, first, count);
    else
        return WriteEach(p, first, count, true,
                         [this, data](char* end, ssize_t i)
                         { return WriteScalar<T>(end, data + i * static_cast<ssize_t>(sizeof(T))); });
}

// As WriteEach, which nothing needs to know here of the way to an element, since none can fail.
template <class T>
char* Writer::WriteNumbers(char* p, const char* data, ssize_t first, ssize_t count)
{
    *p++ = '[';
    if (m_indent == 0) [[likely]]
        p = PutNumbers<T, false>(p, data, first, count);
    else
    {
        ++m_depth;
        p = PutNumbers<T, true>(p, data, first, count);
        --m_depth;
    }
    p -= first < count;
    *p++ = ']';
    return m_room.MakeRoom(p);
}

// Each with a comma behind it.
template <class T, bool InLines>
inline char* Writer::PutNumbers(char* p, const char* data, ssize_t first, ssize_t count)
{
    for (ssize_t i = first; i < count; ++i)
    {
        p = m_room.MakeRoom(p);
        if constexpr (InLines)
            p = PutBreakBetween(p, i == first, true);
        p = PutNumberOrBool(p, LoadScalar<T>(data + i * static_cast<ssize_t>(sizeof(T))));
        *p++ = ',';
    }
    return p;
}

// Lists of what nothing is there of before reading.
char* Writer::WriteLists(char* p, const WrittenElement& inner, const char* data, ssize_t first, ssize_t count)
{
    const auto vectorAt = [data](ssize_t i) -> const VectorOfByte&
    { return *reinterpret_cast<const VectorOfByte*>(data + i * static_cast<ssize_t>(sizeof(VectorOfByte))); };
    return VisitScalarType(
        inner.m_code,
        [&]<class T>(std::type_identity<T>)
        {
            return WriteEach(p, first, count, false,
                             [&](char* end, ssize_t i)
                             {
                                 const VectorOfByte& vector = vectorAt(i);
                                 return WriteScalarsOf<T>(end, vector.data(), 0,
                                                          vector.size() / static_cast<ssize_t>(sizeof(T)));
                             });
        },
        [&]
        {
            return WriteEach(p, first, count, false,
                             [&](char* end, ssize_t i) { return WriteList(end, inner, vectorAt(i), 0); });
        });
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
            return CallOnFreshSegment([&] { return WriteElements(p, element, data, first, count, array); });
        const WrittenElement inner(element.m_type.GetElementType());
        if (array == nullptr)
            return WriteLists(p, inner, data, first, count);
        return WriteEach(p, first, count, false,
                         [&](char* end, ssize_t i) {
                             return WriteVector(end, inner, *reinterpret_cast<const VectorOfByte*>(data + i * size),
                                                array->At(i * size));
                         });
    }
    return WriteEach(p, first, count, IsShort(element),
                     [&](char* end, ssize_t i)
                     { return WriteUnderlying(end, element.m_type, data + i * size, beforeElement(i)); });
}

char* Writer::PutBreakBetween(char* p, bool isFirst, bool isShort)
{
    if (!isShort || IsLineFull(p))
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
        // Keys are read into one variable, which keeps what the one before left in it; or each into a new one.
        const bool isNew = m_isWhole || previousKey == nullptr;
        end = WriteVariable(end, keyType, entry.m_key, isNew ? Before(firstKey) : Before(previousKey));
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
