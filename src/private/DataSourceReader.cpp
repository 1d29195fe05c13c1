// In the order of the file: whole data sources, scalars and texts, values of any type, what rules ask for, values
// behind an operator. Class bodies are in DataSourceBodies.h, lists, maps and variants in DataSourceContainers.h.

#include <klKelmScript/private/DataSourceReader.h>

#include <klKelmScript/private/ReadingErrors.h>
#include <klKelmScript/private/SimplePayloads.h>
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

// One of a foreign type that nothing checks, and that is no text.
template <class Rules>
Place BasicDataSourceReader<Rules>::ReadForeignMember(FastCursor cursor, const ReflectionByteCode& type, char* data,
                                                      ConstStringZ name)
{
    return m_rules.AtMember(name,
                            [&, cursor]
                            {
                                const Place behind = TryReadForeign(cursor, type.GetForeignType(), data);
                                return behind.m_start != nullptr ? behind
                                                                 : ReadUnusual(cursor.GetOperator(), type, data);
                            });
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
            else if (code == FT_FOREIGN)
                return ReadForeignMember(cursor, type, data, facts.m_name);
            if (behind.m_start != nullptr) [[likely]]
                return behind;
        }
        const Place behind = m_rules.AtMember(facts.m_name, [&, cursor] { return ReadOneBehind(cursor, type, data); });
        if (facts.m_check != nullptr)
            m_rules.AtMember(facts.m_name,
                             [&, begin = cursor.FindNext()]
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

} // namespace kelm

#include <klKelmScript/private/DataSourceBodies.h>
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

ptr<IObject> ReadGoingOnByRules(ExpressionParser& parser, ReadingErrors& errors, const ReadingRules& rules,
                                const ReflectionByteCode& type, void* data)
{
    ProgramGoingOnRules goingOn;
    goingOn.m_options = rules;
    goingOn.m_errors = &errors;
    BasicDataSourceReader<ProgramGoingOnRules> reader(parser, goingOn);
    if (data == nullptr)
        return reader.ReadDataSource();
    reader.ReadVariable(type, data);
    return nullptr;
}

} // namespace kelm
