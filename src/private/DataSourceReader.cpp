// In the order of the file: whole data sources, scalars and texts, values of any type, what rules ask for, values
// behind an operator, class bodies. Lists, maps and variants are in DataSourceContainers.h.

#include <klKelmScript/private/DataSourceReader.h>

#include <klKelmScript/private/ReadingErrors.h>
#include <klKelmScript/private/SimpleValues.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/FieldIndex.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/types/VariantIndex.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>
#include <klUtils/ToString.h>
#include <klUtils/text/QualifiedName.h>

#include <cstring>

namespace kelm
{

using text::FastCursor;
using text::Place;

namespace
{

constexpr ConstStringZ s_sourceFile = "src/ParseDataSource";

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
template <class Rules>
void BasicDataSourceReader<Rules>::ThrowUnknown(ConstStringZ what, SubString written, ConstStringZ container,
                                                ConstStringZ name, const char* place) const
{
    ThrowAbout(place, "Unknown ", what, " '", written, "' of ", container, " ", name);
}

template <class Rules>
template <class... Parts>
void BasicDataSourceReader<Rules>::ThrowAbout([[maybe_unused]] const char* place, const Parts&... parts) const
{
    if constexpr (Rules::s_goesOn)
        m_rules.m_errors->SetAbout(place);
    if constexpr (Rules::s_isRuled)
        throw LexScannerException(MessageOf(parts...), LSToken(TOKEN_IDENTIFIER, {place, m_cursor.m_end}));
    else
        m_cursor.Throw(parts...);
}

template <class Rules>
template <class... Parts>
[[gnu::always_inline]] inline void BasicDataSourceReader<Rules>::Complain(const char* place,
                                                                          const Parts&... parts) const
{
    if constexpr (Rules::s_goesOn)
    {
        m_rules.m_errors->SetAbout(place);
        m_rules.m_errors->Add(
            LexScannerException(MessageOf(parts...), LSToken(TOKEN_IDENTIFIER, {place, m_cursor.m_end})));
    }
    else
    {
        ThrowAbout(place, parts...);
    }
}

// --- Whole data sources ----------------------------------------------------------------------------------------------

template <class Rules>
ptr<IObject> BasicDataSourceReader<Rules>::ReadDataSource()
{
    const char* const place = m_cursor.GetText().m_p1;
    const xstring name = text::ReadPath(m_cursor);
    if (name == "null")
        return nullptr;
    return ReadObject(name.c_str(), place);
}

template <class Rules>
ptr<IObject> BasicDataSourceReader<Rules>::ReadObject(ConstStringZ className, const char* namePlace)
{
    const ReflectedClass* const rc = TryFindReflectedClass(className);
    if (rc == nullptr)
        ThrowAbout(namePlace, "'", className, "' is not a registered class name");
    if (rc->m_createFn == nullptr)
        ThrowAbout(namePlace, "'", className, "' doesn't support dynamic creation");
    m_cursor.Show();
    if (!m_newObjects)
        m_newObjects.emplace();
    const ptr<IObject> obj = rc->m_createFn();
    RegisterGcObject(obj);
    KELM_ASSERT(obj);
    if (IsBodyStart(m_cursor.GetKind()))
        ReadClass(*rc, obj.self());
    return obj;
}

// --- Scalars and texts -----------------------------------------------------------------------------------------------

void ReadText16(text::Cursor& cursor, xstring16& dst)
{
    xstring src;
    text::ReadString(cursor, src);
    if (!Utf16FromUtf8(dst, src.data(), src.size()))
        ThrowKelmAssertionError("Utf16FromUtf8(dst,src)", s_sourceFile, __LINE__);
}

namespace
{

// Of a simple type; false, with nothing done, for any other.
bool TryReadSimple(text::Cursor& cursor, ETypeByteCode code, void* data)
{
    return WithSimpleType(
        code,
        [&](auto type)
        {
            type.Read(cursor, data);
            return true;
        },
        [] { return false; });
}

} // namespace

template <class Rules>
void BasicDataSourceReader<Rules>::ReadEnumeratorByNumber(const ReflectedEnum& r, void* data)
{
    const int32 value = m_cursor.GetToken().GetLiteralInt32();
    if (FindEnumeratorByValue(r, value) < 0)
        ThrowUnknown("value", NumberText(value), "enum", r.m_name, m_cursor.GetText().m_p1);
    Store(data, value);
    m_cursor.Next();
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadEnumerator(const ReflectedEnum& r, void* data)
{
    if (m_cursor.Is(TOKEN_INTEGER))
        return ReadEnumeratorByNumber(r, data);
    const SubString name = text::ReadIdentifier(m_cursor);
    const int32 i = FindEnumerator(r, name);
    if (i < 0)
        ThrowUnknown("member", name, "enum", r.m_name, name.m_p1);
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

template <class Rules>
void BasicDataSourceReader<Rules>::ReadVariable(const ReflectionByteCode& type, void* data)
{
    ReadValue(type, data);
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadValue(const ReflectionByteCode& type, void* data)
{
    KELM_ASSERT(type.m_bc);
    if (!TryReadSimple(m_cursor, type.GetCode(), data))
        ReadNested(type, data);
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadNested(ReflectionByteCode type, void* data)
{
    if (IsStackLow())
        return CallOnFreshSegment([&] { ReadNested(type, data); });
    if (!IsUnderlying(type.GetCode()))
    {
        type.AdvanceToUnderlyingType2For(s_sourceFile);
        if (TryReadSimple(m_cursor, type.GetCode(), data))
            return;
    }
    ReadUnderlying(type, data);
}

// A value whose type is underlying: neither metadata nor a qualifier nor a typedef.
template <class Rules>
inline void BasicDataSourceReader<Rules>::ReadUnderlying(const ReflectionByteCode& type, void* data)
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

template <class Rules>
void BasicDataSourceReader<Rules>::ReadPersistentReference(prefbase& reference)
{
    const char* const place = m_cursor.GetText().m_p1;
    const ptr<IObject> p = ReadDataSource();
    if (Rules::s_isRuled && !p)
        ThrowAbout(place, "Expected object when read null");
    KELM_ASSERT(p);
    m_cursor.Show();
    const ptr<IPersistable> persistable = QueryPersistable(p);
    if (!persistable)
        ThrowAbout(place, "'", p.GetReflectedClass()->m_name, "' is not persistable");
    reference.Set(persistable);
}

// --- What rules ask for ----------------------------------------------------------------------------------------------

namespace
{

// A value's text where it is short, without what follows it.
SubString ShownValue(SubString text)
{
    constexpr ssize_t longest = 60;
    ExpressionParser parser;
    parser.Init(text);
    while (parser.GetTokenType() != TOKEN_END)
        parser.ReadNextToken();
    const SubString shown(text.m_p1, parser.m_prevToken.m_str.m_p2);
    return shown.size() <= longest ? shown : SubString("this value");
}

// Destroys the elements.
void Clear(const ReflectionByteCode& elementType, VectorOfByte& vector)
{
    if (vector.empty())
        return;
    const ssize_t size = elementType.GetTypeSize();
    for (ssize_t at = 0; at < vector.size(); at += size)
        DestructReflectedVariable(elementType, vector.data() + at);
    vector.clear();
}

// Makes a variable that holds something a new one.
void Renew(const ReflectionByteCode& type, void* data)
{
    DestructReflectedVariable(type, data);
    ConstructReflectedVariable(type, data);
}

// Of a variant's variable, wherever its bytes are.
void DestroyAlternative(const ReflectedVariant& rv, void* variant)
{
    int32 index;
    std::memcpy(&index, variant, sizeof index);
    if (0 <= index && index < rv.m_numFields)
        DestructReflectedVariable({rv.m_fields[index].m_bc, rv.m_stringTable},
                                  static_cast<char*>(variant) + rv.m_fields[index].m_offset);
}

ssize_t CountModelFields(const ClassModel& model)
{
    return model.m_class != nullptr ? GetModelFieldCount(*model.m_class) : 0;
}

} // namespace

// Complains where the member has been written before.
template <class Rules>
inline void BasicDataSourceReader<Rules>::NoteMember([[maybe_unused]] Members& written, [[maybe_unused]] ssize_t member,
                                                     [[maybe_unused]] const ClassShape& shape,
                                                     [[maybe_unused]] const char* place) const
{
    if constexpr (Rules::s_isRuled)
        if (!written.Add(member)) [[unlikely]]
            ComplainOfTwo(member, shape, place);
}

template <class Rules>
[[gnu::cold, gnu::noinline]] void BasicDataSourceReader<Rules>::ComplainOfTwo(ssize_t member, const ClassShape& shape,
                                                                              const char* place) const
{
    const ssize_t numModelFields = CountModelFields(shape.m_model);
    const ConstStringZ name = member < numModelFields ? shape.m_model.m_class->m_modelFields[member].m_name
                                                      : shape.m_rc->m_fields[member - numModelFields].m_name;
    Complain(place, "Member '", name, "' of class ", shape.m_rc->m_name, " is written twice");
}

// Complains where one is missing that must be written.
template <class Rules>
void BasicDataSourceReader<Rules>::RequireMembers([[maybe_unused]] const Members& written,
                                                  [[maybe_unused]] const ClassShape& shape,
                                                  [[maybe_unused]] const char* place) const
{
    if constexpr (Rules::s_isRuled)
    {
        const ReflectedClass* const model = shape.m_model.m_class;
        if (model == nullptr || model->m_rules == nullptr)
            return;
        for (ssize_t i = 0; i < GetModelFieldCount(*model); ++i)
            if (model->m_rules[i].m_isRequired && !written.Has(i))
                Complain(place, "Member '", model->m_modelFields[i].m_name, "' of class ", shape.m_rc->m_name,
                         " is required");
    }
}

// --- Values behind an operator ---------------------------------------------------------------------------------------
//
// Behind "=", "[", "(" and "," most values are read in registers, the others by the cursor, from the operator on.

template <class Rules>
Place BasicDataSourceReader<Rules>::ReadUnusual(SubString op, const ReflectionByteCode& type, void* data)
{
    m_cursor.NextBehind(op);
    ReadValue(type, data);
    return m_cursor.GetPlace();
}

template <class Rules>
inline bool BasicDataSourceReader<Rules>::TryReadEnumerator(FastCursor& cursor, const ReflectedEnum& r, void* data)
{
    const text::Found found = text::FindName(cursor.FindNext(), cursor.GetEnd());
    if (found.m_past == nullptr) [[unlikely]]
        return false;
    const int32 i = FindEnumerator(r, {found.m_last, found.m_past});
    if (i < 0 || !cursor.TryMove(found.m_last, found.m_past)) [[unlikely]]
        return false;
    Store(data, r.GetValue(i));
    return true;
}

// A nested value that begins with a bracket, or an enumerator.
template <class Rules>
[[gnu::always_inline]] inline bool BasicDataSourceReader<Rules>::TryReadNesting(FastCursor& cursor,
                                                                                const ReflectionByteCode& type,
                                                                                char* data)
{
    const char* const next = cursor.FindNext();
    const char bracket = next != cursor.GetEnd() ? *next : '\0';
    const SubString op(next, next + 1);
    switch (type.GetCode())
    {
    case FT_CLASS:
    {
        if (bracket != '{')
            return false;
        const ReflectedClass* const rc = type.GetReflectedClass();
        if (rc == nullptr) [[unlikely]]
            return false;
        cursor.Load(ReadMembers(op, ClassShape(*rc), data));
        return true;
    }
    case FT_VECTOR:
    case FT_DYNARRAY:
        if (bracket != '[') [[unlikely]]
            return false;
        cursor.Load(ReadElements(op, type.GetTypeBehindByte(), *reinterpret_cast<VectorOfByte*>(data)));
        return true;
    case FT_ENUM:
    {
        const ReflectedEnum* const r = type.GetReflectedEnum();
        return r != nullptr && TryReadEnumerator(cursor, *r, data);
    }
    case FT_FOREIGN:
    {
        const Place behind = TryReadForeign(cursor, type.GetForeignType(), data);
        if (behind.m_start == nullptr) [[unlikely]]
            return false;
        cursor.Load(behind);
        return true;
    }
    default: return false;
    }
}

template <class Rules>
[[gnu::always_inline]] inline void BasicDataSourceReader<Rules>::ReadBehind(FastCursor& cursor,
                                                                            const ReflectionByteCode& type, char* data)
{
    bool isRead = false;
    if (type.m_bc != nullptr) [[likely]]
    {
        if (const auto code = static_cast<std::size_t>(type.GetCode()); code < s_simpleReads.size())
        {
            const Place behind = s_simpleReads[code](m_cursor, cursor.GetOperator(), data);
            isRead = behind.m_start != nullptr;
            if (isRead)
                cursor.Load(behind);
        }
        else
            isRead = TryReadNesting(cursor, type, data);
    }
    if (!isRead) [[unlikely]]
        cursor.Load(ReadUnusual(cursor.GetOperator(), type, data));
}

namespace
{

// The class of the elements where a list of instances follows; null where anything else does.
inline const ReflectedClass* FindListedClass(const FastCursor& cursor, const ReflectionByteCode& type)
{
    if (type.m_bc == nullptr || type.GetCode() != FT_VECTOR)
        return nullptr;
    const char* const next = cursor.FindNext();
    const ReflectionByteCode elementType = type.GetTypeBehindByte();
    if (next == cursor.GetEnd() || *next != '[' || elementType.GetCode() != FT_CLASS)
        return nullptr;
    const ReflectedClass* const rc = elementType.GetReflectedClass();
    return rc != nullptr && rc->m_size > 0 ? rc : nullptr;
}

} // namespace

// The same where it need not be inlined.
template <class Rules>
Place BasicDataSourceReader<Rules>::ReadOneBehind(FastCursor cursor, const ReflectionByteCode& type, char* data)
{
    ReadBehind(cursor, type, data);
    return cursor.GetPlace();
}

// A member's value, behind the equals sign or comma before it.
template <class Rules>
inline Place BasicDataSourceReader<Rules>::ReadMember(FastCursor cursor, const ReflectionByteCode& type, char* data,
                                                      [[maybe_unused]] const ClassShape& shape,
                                                      [[maybe_unused]] const FieldFacts& facts)
{
    if constexpr (Rules::s_isRuled)
    {
        // What is read in registers does not fail, and where nothing is checked there is no more to do.
        if (facts.m_check == nullptr && type.m_bc != nullptr)
        {
            const auto code = static_cast<std::size_t>(type.GetCode());
            Place behind = {};
            if (code < s_simpleReads.size())
                behind = s_simpleReads[code](m_cursor, cursor.GetOperator(), data);
            else if (code == FT_FOREIGN && type.GetForeignType().GetForm() == FF_TEXT)
                behind = TryReadForeignText(m_cursor, cursor.GetOperator(), *type.GetForeignType().m_text, data);
            if (behind.m_start != nullptr) [[likely]]
                return behind;
        }
        const char* const begin = cursor.FindNext();
        const Place behind = m_rules.AtMember(facts.m_name, [&, cursor] { return ReadOneBehind(cursor, type, data); });
        if (facts.m_check != nullptr)
            m_rules.AtMember(facts.m_name,
                             [&]
                             {
                                 if (!facts.m_check(data))
                                     ThrowAbout(begin, "Member '", facts.m_name, "' of class ", shape.m_rc->m_name,
                                                " refuses ", ShownValue({begin, behind.m_start}));
                             });
        return behind;
    }
    else
    {
        return ReadOneBehind(cursor, type, data);
    }
}

// --- Class bodies ----------------------------------------------------------------------------------------------------

template <class Rules>
BasicDataSourceReader<Rules>::ClassShape::ClassShape(const ReflectedClass& rc) : m_rc(&rc), m_model(FindClassModel(rc))
{
    static constexpr KnownText s_noName;
    const FieldIndex* const index = m_model.m_class != nullptr ? GetFieldIndex(*m_model.m_class) : nullptr;
    m_names = index != nullptr ? index->GetPresentModelNames() : &s_noName;
    m_numNames = index != nullptr ? m_model.m_class->m_numModelFields : 0;
}

template <class Rules>
ReflectionByteCode BasicDataSourceReader<Rules>::ClassShape::GetModelType(ssize_t i) const
{
    const ReflectedModelField& field = m_model.m_class->m_modelFields[i];
    return {field.m_bc, m_model.m_class->m_stringTable, field.m_mapOrSetFns};
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadClass(const ReflectedClass& rc, void* data)
{
    KELM_ASSERT(data);
    ReadInstance(ClassShape(rc), static_cast<char*>(data));
}

// An optional class name and a body.
template <class Rules>
void BasicDataSourceReader<Rules>::ReadInstance(const ClassShape& shape, char* data)
{
    if (m_cursor.Is(TOKEN_IDENTIFIER))
        ReadClassName(*shape.m_rc);
    if constexpr (Rules::s_goesOn)
        if (m_cursor.Is(TOKEN_LEFT_CURLY) || m_cursor.Is(TOKEN_LEFT_PAREN))
            return ReadBody(shape, data);
    if (m_cursor.Is(TOKEN_LEFT_CURLY))
        m_cursor.MoveTo(ReadMembers(m_cursor.GetOperator(), shape, data));
    else if (m_cursor.Is(TOKEN_LEFT_PAREN))
        m_cursor.MoveTo(ReadFields(m_cursor.GetOperator(), shape, data));
    else
        m_cursor.ThrowExpected("{");
}

template <class Rules>
void BasicDataSourceReader<Rules>::ReadClassName(const ReflectedClass& rc)
{
    const char* const place = m_cursor.GetText().m_p1;
    const xstring written = text::ReadPath(m_cursor);
    if (!IsWrittenSuffix(rc.m_name, written))
        ThrowAbout(place, "Expected ", rc.m_name, " when read ", written);
}

// A positional body.
template <class Rules>
Place BasicDataSourceReader<Rules>::ReadFields(SubString parenthesis, const ClassShape& shape, char* data)
{
    if (IsStackLow())
    {
        Place behind;
        CallOnFreshSegment([&, parenthesis, data] { behind = ReadFields(parenthesis, shape, data); });
        return behind;
    }
    FastCursor cursor(m_cursor, parenthesis);
    bool isFirst = true;
    const auto read = [&](const ReflectionByteCode& type, char* field, const FieldFacts& facts)
    {
        if (!isFirst)
            cursor.template TakeOperatorOrThrow<','>();
        isFirst = false;
        cursor.Load(ReadMember(cursor, type, field, shape, facts));
    };
    if (shape.m_model.m_class != nullptr)
        for (ssize_t i = 0; i < GetModelFieldCount(*shape.m_model.m_class); ++i)
            if (const ReflectedModelField& field = shape.m_model.m_class->m_modelFields[i]; IsPresent(field))
                read(shape.GetModelType(i), data + shape.m_model.m_offset + field.m_offset,
                     FieldFacts(*shape.m_model.m_class, i));
    for (ssize_t i = 0; i < GetOrdinaryFieldCount(*shape.m_rc); ++i)
        read(shape.GetOrdinaryType(i), data + shape.m_rc->m_fields[i].m_offset, FieldFacts(shape.m_rc->m_fields[i]));
    if (isFirst)
        cursor.MovePastOperator();
    cursor.TakeOperatorOrThrow<')'>();
    cursor.MovePastOperator();
    return cursor.GetPlace();
}

template <class Rules>
Place BasicDataSourceReader<Rules>::ReadMembers(SubString curlyBracket, const ClassShape& shape, char* data)
{
    return ReadBodies<s_listsInBody>(curlyBracket, shape, data);
}

template <class Rules>
template <ssize_t MostLists>
[[gnu::noinline]] Place BasicDataSourceReader<Rules>::ReadBodiesOnFreshSegment(SubString bracket,
                                                                               const ClassShape& shape, void* target)
{
    Place behind;
    CallOnFreshSegment([=, this, &shape, &behind] { behind = ReadBodies<MostLists>(bracket, shape, target); });
    return behind;
}

// A named body, or the list of instances behind a square bracket, which is not empty; and the lists of instances
// inside, with a call for every so many of them that nest. Members are looked for behind the last one first: in
// declaration order each is found with one comparison, and where its name ends is known with it.
template <class Rules>
template <ssize_t MostLists>
Place BasicDataSourceReader<Rules>::ReadBodies(SubString bracket, const ClassShape& shape, void* target)
{
    if (IsStackLow()) [[unlikely]]
        return ReadBodiesOnFreshSegment<MostLists>(bracket, shape, target);
    FastCursor cursor(m_cursor, bracket);
    Body body(shape, static_cast<char*>(target));
    OpenLists<MostLists> lists;
    [[maybe_unused]] Members written;
    const bool isList = *bracket.m_p1 == '[';
    if (isList)
    {
        lists.Push({static_cast<VectorOfByte*>(target), body});
        EnterElement(cursor, body, lists);
        if (lists.IsEmpty())
            return cursor.GetPlace();
    }
    else
        cursor.MovePastOperator();
    while (true)
    {
        FoundName name{body.m_expected, body.m_expected->FindEnd(cursor.GetStart(), cursor.GetEnd())};
        const bool isExpected = name.m_past != nullptr &&
                                (name.m_past == cursor.GetEnd() || !HasProperty(*name.m_past, text::CHAR_IDENTIFIER));
        if (!isExpected && cursor.IsAt<'}'>())
        {
            if constexpr (Rules::s_isRuled)
                RequireMembers(written, body.m_shape, cursor.GetStart());
            cursor.TakeOperator<'}'>();
            cursor.MovePastOperator();
            if (lists.IsEmpty())
                break;
            if (cursor.template TakeCommaOrPassEnd<']'>())
                EnterElement(cursor, body, lists);
            else
                body = lists.Pop().m_outer;
            if (isList && lists.IsEmpty())
                break;
            written = {};
            continue;
        }
        if (!isExpected) [[unlikely]]
            name = FindName(cursor.GetStart(), cursor.GetEnd(), body.m_shape);
        if (name.m_past != nullptr) [[likely]]
        {
            const ssize_t i = name.m_known - body.m_shape.m_names;
            if constexpr (Rules::s_isRuled)
                NoteMember(written, i, body.m_shape, cursor.GetStart());
            if (!cursor.template TryTakeOperatorBehind<'='>(name.m_past)) [[unlikely]]
            {
                PassName(cursor);
                cursor.LoadOperator();
            }
            body.m_expected = name.m_known + 1;
            const ReflectedClass& model = *body.m_shape.m_model.m_class;
            char* const member = body.m_data + body.m_shape.m_model.m_offset + model.m_modelFields[i].m_offset;
            const ReflectionByteCode type = body.m_shape.GetModelType(i);
            if constexpr (Rules::s_isRuled)
                cursor.Load(ReadMember(cursor, type, member, body.m_shape, FieldFacts(model, i)));
            else if (const ReflectedClass* const rc = FindListedClass(cursor, type))
                ReadListOf(*rc, *reinterpret_cast<VectorOfByte*>(member), cursor, body, lists);
            else
                ReadBehind(cursor, type, member);
            continue;
        }
        const FoundField found =
            FindField(cursor, body.m_shape, body.m_expected - body.m_shape.m_names, body.m_nextField, written);
        if constexpr (Rules::s_isRuled)
            if (found.m_type.m_bc == nullptr)
            {
                cursor.Load();
                continue;
            }
        cursor.LoadOperator();
        if (found.m_nextModelField <= body.m_shape.m_numNames)
            body.m_expected = body.m_shape.m_names + found.m_nextModelField;
        body.m_nextField = found.m_nextField;
        cursor.Load(ReadMember(cursor, found.m_type, body.m_data + found.m_offset, body.m_shape, found.m_facts));
    }
    return cursor.GetPlace();
}

// The list of instances that follows: up to its first body, or past it.
template <class Rules>
template <class Lists>
[[gnu::always_inline]] inline void BasicDataSourceReader<Rules>::ReadListOf(const ReflectedClass& rc,
                                                                            VectorOfByte& vector, FastCursor& cursor,
                                                                            Body& body, Lists& lists)
{
    const char* const bracket = cursor.FindNext();
    if (lists.IsFull())
        return cursor.Load(ReadInstances<s_listsInList>({bracket, bracket + 1}, rc, vector));
    lists.Push({&vector, body});
    if (&rc != body.m_shape.m_rc)
        body.m_shape = ClassShape(rc);
    cursor.template TakeOperatorAt<'['>(bracket);
    if (cursor.template TryPassEmpty<']'>())
        body = lists.Pop().m_outer;
    else
        EnterElement(cursor, body, lists);
}

// From the operator before an element of the innermost list into its body. Where no body follows any more: past the
// list, back to the body in which it stands.
template <class Rules>
template <class Lists>
[[gnu::always_inline]] inline void BasicDataSourceReader<Rules>::EnterElement(FastCursor& cursor, Body& body,
                                                                              Lists& lists)
{
    do
    {
        cursor.GoHomeToNext();
        m_cursor.ShowBehind(cursor.GetOperator());
        char* const instance =
            static_cast<char*>(PushBackDefaultConstructedInstance(*body.m_shape.m_rc, *lists.GetLast().m_vector));
        if (m_cursor.Is(TOKEN_LEFT_CURLY)) [[likely]]
        {
            cursor.LoadOperator();
            cursor.MovePastOperator();
            return body.Begin(instance);
        }
        ReadInstance(body.m_shape, instance);
        cursor.Load();
    } while (cursor.template TakeCommaOrPassEnd<']'>());
    body = lists.Pop().m_outer;
}

// To the equals sign behind the name at which the cursor is.
template <class Rules>
void BasicDataSourceReader<Rules>::PassName(const FastCursor& cursor)
{
    cursor.GoHome().Next();
    if (!m_cursor.Is(TOKEN_EQUAL))
        m_cursor.ThrowExpected("=");
}

// The model field of the name that begins there, if that is one that a class's index has; for a name that is not the
// expected one.
template <class Rules>
[[gnu::noinline]] typename BasicDataSourceReader<Rules>::FoundName BasicDataSourceReader<Rules>::FindName(
    const char* p, const char* end, const ClassShape& shape)
{
    const ReflectedClass* const model = shape.m_model.m_class;
    const FieldIndex* const index = model != nullptr ? GetFieldIndex(*model) : nullptr;
    if (index == nullptr || p == end || text::StartOf(*p) != text::Start::Identifier)
        return {};
    const char* const past = text::SkipName(p, end);
    const FieldEntry* const entry = end - p >= s_maxShortText && past - p <= s_maxShortText
                                        ? &index->m_fields.FindWord(LoadWord<uint64>(p) & s_firstCharacters[past - p])
                                        : index->m_fields.Find({p, past});
    if (entry == nullptr || entry->m_firstPresentModel < 0)
        return {};
    return {shape.m_names + entry->m_firstPresentModel, past};
}

// The field whose name is at the cursor, which is taken past it, to the equals sign. Those expected next follow it.
template <class Rules>
typename BasicDataSourceReader<Rules>::FoundField BasicDataSourceReader<Rules>::FindField(
    const FastCursor& cursor, const ClassShape& shape, ssize_t nextModelField, ssize_t nextField,
    [[maybe_unused]] Members& written)
{
    const SubString name = text::ReadIdentifier(cursor.GoHome());
    const ReflectedClass* const model = shape.m_model.m_class;
    FoundField found{{}, {}, 0, nextModelField, nextField};
    if (const ssize_t i = model != nullptr ? FindPresentModelField(*model, name, nextModelField) : -1; i >= 0)
    {
        if constexpr (Rules::s_isRuled)
            NoteMember(written, i, shape, name.m_p1);
        found.m_facts = FieldFacts(*model, i);
        found.m_type = shape.GetModelType(i);
        found.m_offset = shape.m_model.m_offset + model->m_modelFields[i].m_offset;
        found.m_nextModelField = i + 1;
    }
    else
    {
        const ssize_t f = FindOrdinaryField(*shape.m_rc, name, nextField);
        if constexpr (Rules::s_isRuled)
        {
            if (f < 0 && m_rules.m_options.m_passesUnknown)
            {
                m_cursor.Pass(TOKEN_EQUAL, "=");
                PassValue(m_cursor);
                return found;
            }
            if (f >= 0)
                NoteMember(written, CountModelFields(shape.m_model) + f, shape, name.m_p1);
        }
        if (f < 0)
            ThrowUnknown("member", name, "class", shape.m_rc->m_name, name.m_p1);
        found.m_facts = FieldFacts(shape.m_rc->m_fields[f]);
        found.m_type = shape.GetOrdinaryType(f);
        found.m_offset = shape.m_rc->m_fields[f].m_offset;
        found.m_nextField = f + 1;
    }
    if (!m_cursor.Is(TOKEN_EQUAL))
        m_cursor.ThrowExpected("=");
    return found;
}

} // namespace kelm

#include <klKelmScript/private/DataSourceContainers.h>
#include <klKelmScript/private/DataSourceGoingOn.h>

namespace kelm
{

template class BasicDataSourceReader<ExactRules>;
template class BasicDataSourceReader<ProgramRules>;
template class BasicDataSourceReader<GoingOnRules>;
template class BasicDataSourceReader<ProgramGoingOnRules>;

ptr<IObject> ReadGoingOn(ExpressionParser& parser, ReadingErrors& errors)
{
    GoingOnRules rules;
    rules.m_errors = &errors;
    return BasicDataSourceReader<GoingOnRules>(parser, rules).ReadDataSource();
}

ptr<IObject> ReadGoingOnByRules(ExpressionParser& parser, ReadingErrors& errors, const ReadingRules& options,
                                const ReflectionByteCode& type, void* data)
{
    ProgramGoingOnRules rules;
    rules.m_options = options;
    rules.m_errors = &errors;
    BasicDataSourceReader<ProgramGoingOnRules> reader(parser, rules);
    if (data == nullptr)
        return reader.ReadDataSource();
    reader.ReadVariable(type, data);
    return nullptr;
}

} // namespace kelm
