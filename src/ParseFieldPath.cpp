#include <klKelmScript/ParseFieldPath.h>

#include <klKelmScript/klKelmScript.h>
#include <klKelmScript/private/PathWalk.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/MessageOf.h>
#include <klUtils/text/private/Messages.h>
#include <klUtils/text/private/TypedReads.h>

#include <atomic>
#include <iterator>
#include <limits>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "src/ParseFieldPath";

// Codes that no position of a walk can have: what the underlying type never is, and what no field can be.
struct ImpossibleType
{
    ETypeByteCode m_code;
    ConstStringZ m_condition;
};

constexpr ImpossibleType s_impossibleTypes[] = {
    {FT_MAP, "0"},
    {FT_SET, "0"},
    {FT_TYPEDEF, "type != FT_TYPEDEF"},
    {FT_CONST, "type != FT_CONST"},
    {FT_VOLATILE, "type != FT_VOLATILE"},
    {FT_ASSIGNABLE, "type != FT_ASSIGNABLE"},
    {FT_MOVABLE, "type != FT_MOVABLE"},
    {FT_VOID, "type != FT_VOID"},
    {FT_INTERFACE, "type != FT_INTERFACE"},
    {FT_FUNCTOR, "type != FT_FUNCTOR"},
    {FT_POINTER, "type != FT_POINTER"},
    {FT_FUNCTION_PTR, "type != FT_FUNCTION_PTR"},
    {FT_REFERENCE, "type != FT_REFERENCE"},
};

// The same, indexed by the code.
struct ImpossibleTypes
{
    ConstStringZ m_conditions[256] = {};

    constexpr ImpossibleTypes()
    {
        for (const ImpossibleType& row : s_impossibleTypes)
            m_conditions[row.m_code] = row.m_condition;
    }
};

constexpr ImpossibleTypes s_impossible;

[[gnu::noinline]] void RequirePossibleType(ETypeByteCode code)
{
    if (const ConstStringZ condition = s_impossible.m_conditions[code])
        ThrowKelmAssertionError(condition, s_sourceFile, __LINE__);
}

[[gnu::noinline]] ReflectionByteCode GetUnderlyingType(ReflectionByteCode type)
{
    const bool isConst = (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0;
    KELM_ASSERT(!isConst);
    return type;
}

// The underlying type, which most types are themselves.
[[gnu::always_inline]] inline ReflectionByteCode GetUnqualifiedType(const ReflectionByteCode& type)
{
    KELM_ASSERT(type.m_bc);
    return s_typeCodes[type.GetCode()].m_passedAs == 0 ? type : GetUnderlyingType(type);
}

// The entry of a model field that the class lists itself and that is present, or null.
[[gnu::always_inline]] inline const FieldEntry* FindEntry(const ReflectedClass& rc, const text::NameKey& name)
{
    const FieldIndex* const index = GetFieldIndex(rc);
    if (index == nullptr) [[unlikely]]
        return nullptr;
    const FieldEntry* const entry = name.IsShort() ? index->m_fields.FindShort(name.m_word, name.m_text.size())
                                                   : index->m_fields.FindLong(name.m_text);
    return entry != nullptr && entry->m_field != nullptr ? entry : nullptr;
}

// A model field of a class, and which class lists it where inside; null where there is none.
struct Field
{
    const ReflectedModelField* m_field = nullptr;
    ClassModel m_model;
};

// Of the name's first field.
[[gnu::noinline]] Field FindField(const ReflectedClass& rc, SubString name)
{
    KELM_ASSERT(rc.m_modelFields);
    const ClassModel model = FindClassModel(rc);
    const ssize_t i = FindModelField(*model.m_class, name);
    return {i >= 0 ? &model.m_class->m_modelFields[i] : nullptr, model};
}

// Of a class that embeds a model which has been looked up before.
[[gnu::noinline]] Field FindEmbeddedField(const ReflectedClass& rc, SubString name)
{
    const FieldIndex* const index = GetFieldIndex(rc);
    const ReflectedClass* const embedded =
        index != nullptr ? index->m_embeddedModel.load(std::memory_order_acquire) : nullptr;
    const FieldEntry* const entry = embedded != nullptr ? FindEntry(*embedded, text::NameKey(name)) : nullptr;
    return entry != nullptr ? Field{entry->m_field, {embedded, rc.m_modelFields[0].m_offset}} : Field{};
}

constinit std::atomic<ssize_t> s_growthLimit = std::numeric_limits<ssize_t>::max();

// The bytes up to the end of that element; more than there can be where that is no number.
ssize_t GetBytesUpTo(ssize_t index, ssize_t elementSize)
{
    ssize_t bytes = 0;
    return __builtin_mul_overflow(index + 1, elementSize, &bytes) ? std::numeric_limits<ssize_t>::max() : bytes;
}

[[gnu::noinline]] void Grow(VectorOfByte& V, ssize_t size)
{
    V.resize(size);
}

} // namespace

ssize_t SetPathGrowthLimit(ssize_t numOctets)
{
    return s_growthLimit.exchange(numOctets, std::memory_order_relaxed);
}

// --- The walk --------------------------------------------------------------------------------------------------------

inline bool PathWalk::TryReadFirstToken()
{
    return m_cursor.TryNextOperator<'.'>() || Fail(Fault::NotScanned);
}

// Classes and variables alternate: a step to a field of a class reaches a variable, and following that ends the walk or
// reaches the next class. A loop, so that a path may be of any length.
inline bool PathWalk::TryWalk(const ReflectedClass* rc)
{
    m_class = rc;
    State state = rc != nullptr ? State::AtInstance : State::AtVariable;
    while (true)
    {
        if (state == State::AtInstance)
            state = m_cursor.Is(TOKEN_DOT) ? StepToField() : State::Over;
        else if (state == State::AtVariable)
            state = FollowVariable();
        else
            return state == State::Over;
    }
}

// From an instance, past the dot, to the model field that is named, and on where that leads to a class.
inline PathWalk::State PathWalk::StepToField()
{
    const text::NameKey name = m_cursor.GuessName();
    const FieldEntry* const entry = FindEntry(*m_class, name);
    if (entry == nullptr) [[unlikely]]
        return StepToOtherField(name);
    m_cursor.AcceptName(name);
    if (!m_cursor.TryNextOperator<'.', '['>()) [[unlikely]]
        return Fail(Fault::NotScanned);
    MoveTo(*entry->m_field, {m_class, 0});
    if (m_isWatched) [[unlikely]]
        return State::AtVariable;
    const FieldLead lead = entry->m_lead;
    if (lead == FieldLead::Other)
        return State::AtVariable;
    if (lead == FieldLead::Value || (lead == FieldLead::Instances && !m_cursor.Is(TOKEN_LEFT_SQUARE)))
        return State::Over;
    const ReflectedClass* const rc = entry->GetLeadClass(*GetFieldIndex(*m_class));
    if (rc == nullptr) [[unlikely]]
        return State::AtVariable;
    if (lead == FieldLead::Instances && rc->m_size <= 0) [[unlikely]]
        return State::AtVariable;
    m_class = rc;
    return lead == FieldLead::Instance ? State::AtInstance : StepIntoVector(m_rbc, rc);
}

// The same for a field that the class does not list itself, or that is not among those that are looked for first.
inline PathWalk::State PathWalk::StepToOtherField(const text::NameKey& name)
{
    const ReflectedClass& rc = *m_class;
    Field found = FindEmbeddedField(rc, name.m_text);
    if (found.m_field != nullptr)
    {
        m_cursor.AcceptName(name);
    }
    else
    {
        if (!m_cursor.TryNext())
            return Fail(Fault::NotScanned);
        if (!m_cursor.Is(TOKEN_IDENTIFIER))
            return Fail(Fault::Expected, "identifier");
        found = FindField(rc, m_cursor.GetText());
        if (found.m_field == nullptr)
            return Fail(Fault::UnknownField, rc.m_name);
    }
    if (!m_cursor.TryNextOperator<'.', '['>()) [[unlikely]]
        return Fail(Fault::NotScanned);
    const ReflectedModelField& rf = *found.m_field;
    KELM_ASSERT(rf.m_rsn2 == -1);
    MoveTo(rf, found.m_model);
    return State::AtVariable;
}

inline void PathWalk::MoveTo(const ReflectedModelField& rf, const ClassModel& model)
{
    m_data += model.m_offset + rf.m_offset;
    m_rbc = {rf.m_bc, model.m_class->m_stringTable, rf.m_mapOrSetFns};
}

// From a variable of any type, along an index or a handle.
inline PathWalk::State PathWalk::FollowVariable()
{
    RaiseBarrier();
    KELM_ASSERT(m_data);
    const ReflectionByteCode type = GetUnqualifiedType(m_rbc);
    switch (type.GetCode())
    {
    case FT_CLASS:
    {
        m_rbc = type;
        const ReflectedClass* const rc = TryFindReflectedClass(ReflectionByteCode(type).GetName());
        KELM_ASSERT(rc);
        m_class = rc;
        return State::AtInstance;
    }
    case FT_ARRAY: return m_cursor.Is(TOKEN_LEFT_SQUARE) ? StepIntoArray(type) : State::Over;
    case FT_DYNARRAY: return m_cursor.Is(TOKEN_LEFT_SQUARE) ? StepIntoDynArray(type) : State::Over;
    case FT_VECTOR: return m_cursor.Is(TOKEN_LEFT_SQUARE) ? StepIntoVector(type, nullptr) : State::Over;
    case FT_PREF:
    case FT_CREF:
        if (!m_cursor.Is(TOKEN_DOT))
            return State::Over;
        return StepThroughHandle(type, GetTarget(*reinterpret_cast<const prefbase*>(m_data)));
    case FT_INTERFACE_POINTER:
        if (!m_cursor.Is(TOKEN_DOT))
            return State::Over;
        return StepThroughHandle(type, *reinterpret_cast<const ptr<IObject>*>(m_data));
    case FT_FOREIGN: return StepIntoForeign(ReflectionByteCode(type).GetForeignType());
    default: RequirePossibleType(type.GetCode()); return State::Over; // a value
    }
}

inline PathWalk::State PathWalk::StepIntoArray(const ReflectionByteCode& type)
{
    if (!m_cursor.TryNextNumber()) [[unlikely]]
        return Fail(Fault::NotScanned);
    const int32 arraySize = ReflectionByteCode(type).GetArrayCount();
    m_rbc = ReflectionByteCode(type).GetElementType();
    KELM_ASSERT(arraySize > 0);
    const ssize_t elementSize = GetSize(m_rbc);
    int32 index = 0;
    if (!TryReadIndex(index)) [[unlikely]]
        return State::Failed;
    if (index < 0 || index >= arraySize) [[unlikely]]
        return Fail(Fault::IndexOutOfRange, "Array", index);
    if (!TryPassRightSquare()) [[unlikely]]
        return State::Failed;
    m_data += index * elementSize;
    return State::AtVariable;
}

// With a class of positive size, this leads to an instance of that; without, to an element that may be of any type.
inline PathWalk::State PathWalk::StepIntoVector(const ReflectionByteCode& type, const ReflectedClass* elementClass)
{
    if (!m_cursor.TryNextNumber()) [[unlikely]]
        return Fail(Fault::NotScanned);
    m_rbc = type.GetTypeBehindByte();
    const ssize_t elementSize = elementClass != nullptr ? elementClass->m_size : GetSize(m_rbc);
    if (elementClass == nullptr)
        KELM_ASSERT(elementSize > 0);
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    const ssize_t size = V.size() / elementSize;
    KELM_ASSERT(V.size() % elementSize == 0);
    KELM_ASSERT(size >= 0);
    int32 index = 0;
    if (!TryReadIndex(index)) [[unlikely]]
        return State::Failed;
    if (index < 0 || index >= size) [[unlikely]]
        return Fail(Fault::IndexOutOfRange, "Vector", index);
    if (!TryPassRightSquare()) [[unlikely]]
        return State::Failed;
    m_data = V.data() + index * elementSize;
    return elementClass != nullptr ? State::AtInstance : State::AtVariable;
}

// A dynamic array is written with two opening brackets and one closing, and grows to hold whatever index is asked for.
inline PathWalk::State PathWalk::StepIntoDynArray(const ReflectionByteCode& type)
{
    if (!m_cursor.TryNextOperator<'['>()) [[unlikely]]
        return Fail(Fault::NotScanned);
    m_rbc = type.GetTypeBehindByte();
    const ssize_t elementSize = GetSize(m_rbc);
    if (!m_cursor.Is(TOKEN_LEFT_SQUARE)) [[unlikely]]
        return Fail(Fault::Expected, "[");
    if (!m_cursor.TryNextNumber()) [[unlikely]]
        return Fail(Fault::NotScanned);
    int32 index = 0;
    if (!TryReadIndex(index)) [[unlikely]]
        return State::Failed;
    if (index < 0) [[unlikely]]
        return Fail(Fault::IndexOutOfRange, "Array", index);
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    const ssize_t bytes = GetBytesUpTo(index, elementSize);
    const bool grows = bytes - elementSize >= V.size();
    if (grows && bytes > s_growthLimit.load(std::memory_order_relaxed)) [[unlikely]]
        return Fail(Fault::IndexOutOfRange, "Array", index);
    if (!TryPassRightSquare()) [[unlikely]]
        return State::Failed;
    if (grows)
        Grow(V, bytes);
    m_data = V.data() + (bytes - elementSize);
    return State::AtVariable;
}

// A list takes an index; a choice leads to what it holds, where the path goes on.
inline PathWalk::State PathWalk::StepIntoForeign(const ForeignType& type)
{
    if (type.GetForm() == FF_CHOICE && (m_cursor.Is(TOKEN_DOT) || m_cursor.Is(TOKEN_LEFT_SQUARE)))
    {
        const int32 part = type.m_choice->GetIndex(m_data);
        if (part < 0) [[unlikely]]
            return Fail(Fault::NullDereference);
        m_rbc = type.GetPartType(part);
        m_data = static_cast<char*>(type.m_choice->GetValue(m_data));
        return State::AtVariable;
    }
    if (type.GetForm() != FF_LIST || !m_cursor.Is(TOKEN_LEFT_SQUARE))
        return State::Over;
    if (!m_cursor.TryNextNumber()) [[unlikely]]
        return Fail(Fault::NotScanned);
    int32 index = 0;
    if (!TryReadIndex(index)) [[unlikely]]
        return State::Failed;
    if (index < 0 || index >= type.m_list->Count(m_data)) [[unlikely]]
        return Fail(Fault::IndexOutOfRange, "Vector", index);
    if (!TryPassRightSquare()) [[unlikely]]
        return State::Failed;
    m_rbc = type.GetElementType(index);
    m_data = static_cast<char*>(type.m_list->At(m_data, index));
    return State::AtVariable;
}

// The dot is left for the step to a field of the object reached.
inline PathWalk::State PathWalk::StepThroughHandle(const ReflectionByteCode& type, const ptr<IObject>& target)
{
    m_rbc = type;
    m_obj = target;
    if (!m_obj) [[unlikely]]
        return Fail(Fault::NullDereference);
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    KELM_ASSERT(rc);
    m_data = static_cast<char*>(m_obj.self());
    m_class = rc;
    LookWhetherWatched();
    return State::AtInstance;
}

inline bool PathWalk::TryReadIndex(int32& index)
{
    const bool isNegative = m_cursor.Is(TOKEN_MINUS);
    if ((isNegative || m_cursor.Is(TOKEN_PLUS)) && !m_cursor.TryNext()) [[unlikely]]
        return Fail(Fault::NotScanned);
    if (!m_cursor.Is(TOKEN_INTEGER) && !m_cursor.Is(TOKEN_HEX_INTEGER)) [[unlikely]]
        return Fail(Fault::Expected, text::s_typeName<int32>);
    uint64 magnitude = 0;
    if (!m_cursor.GetUnsigned(magnitude) || !text::ToInteger(magnitude, isNegative, index)) [[unlikely]]
        return Fail(isNegative ? Fault::NegativeIndexOutOfType : Fault::IndexOutOfType);
    return m_cursor.TryNextOperator<']'>() || Fail(Fault::NotScanned);
}

inline bool PathWalk::TryPassRightSquare()
{
    if (!m_cursor.Is(TOKEN_RIGHT_SQUARE)) [[unlikely]]
        return Fail(Fault::Expected, "]");
    return m_cursor.TryNextOperator<'.', '['>() || Fail(Fault::NotScanned);
}

// Of a variable; most types are known by their code, or as a class.
inline ssize_t PathWalk::GetSize(const ReflectionByteCode& type)
{
    const ssize_t size = s_typeCodes[type.GetCode()].m_size;
    if (size != TypeCode::SizeVaries)
        return size;
    ReflectionByteCode copy = type;
    const ReflectedClass* const rc = copy.GetCode() == FT_CLASS ? TryFindReflectedClass(copy.GetName()) : nullptr;
    return rc != nullptr && rc->m_size > 0 ? rc->m_size : copy.GetTypeSize();
}

// --- Who could look --------------------------------------------------------------------------------------------------

inline void PathWalk::RaiseBarrier()
{
    if (!m_isWatched) [[likely]]
        return;
    KELM_ASSERT(m_obj);
    if (m_navigator == nullptr)
    {
        DataSourceReadBarrier(m_data, m_obj, nullptr);
        LookWhetherWatched();
        return;
    }
    ExpressionPathNavigator& navigator = *m_navigator;
    PathWalk(*this).Show();
    navigator.ReadBarrier();
    *this = PathWalk(navigator);
}

inline ptr<IObject> PathWalk::GetTarget(const prefbase& reference)
{
    const ptr<IObject> loaded = reference.GetLoaded();
    if (loaded) [[likely]]
        return loaded;
    if (m_navigator == nullptr)
        return reference.Get();
    ExpressionPathNavigator& navigator = *m_navigator;
    PathWalk(*this).Show();
    const ptr<IObject> target = reference.Get();
    *this = PathWalk(navigator);
    return target;
}

void PathWalk::Show() const
{
    if (m_navigator == nullptr)
        return;
    m_cursor.StoreIn(m_navigator->m_parser);
    m_navigator->m_obj = m_obj;
    m_navigator->m_rbc = m_rbc;
    m_navigator->m_data = m_data;
}

// Said of a token.
[[gnu::noinline]] text::ScanFailure PathWalk::Describe(Problem problem, LSToken token)
{
    switch (problem.m_fault)
    {
    case Fault::None:
    case Fault::NotScanned: break;
    case Fault::Expected: return {text::ExpectedMessage(problem.m_subject, token), token};
    case Fault::IndexOutOfType:
    case Fault::NegativeIndexOutOfType:
    {
        const bool isNegative = problem.m_fault == Fault::NegativeIndexOutOfType;
        return {text::OutOfRangeMessage(isNegative, token, text::s_typeName<int32>), token};
    }
    case Fault::UnknownField:
        return {MessageOf("Identifier ", token.m_str, " is not a model field of class ", problem.m_subject), token};
    case Fault::IndexOutOfRange:
        return {MessageOf(problem.m_subject, " index ", problem.m_index, " out of range"), token};
    case Fault::NullDereference: return {"null dereference", token};
    }
    __builtin_unreachable();
}

// --- The navigator ---------------------------------------------------------------------------------------------------

ExpressionPathNavigator::ExpressionPathNavigator(ExpressionParser& parser, ptr<IObject> obj, EPathNavigatorMode mode)
    : m_parser(parser), m_mode(mode), m_obj(obj), m_data(static_cast<char*>(obj.self()))
{
    KELM_ASSERT(m_data);
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    KELM_ASSERT(rc);
    Walk(rc);
}

void ExpressionPathNavigator::NavigateReflectedClassInstance(const ReflectedClass& rc)
{
    KELM_ASSERT(m_data);
    Walk(&rc);
}

void ExpressionPathNavigator::NavigateReflectedVariable()
{
    Walk(nullptr);
}

// From an instance of that class, or, without one, from a variable.
void ExpressionPathNavigator::Walk(const ReflectedClass* rc)
{
    PathWalk walk(*this);
    bool isGood = false;
    try
    {
        isGood = walk.TryWalk(rc);
    }
    catch (...)
    {
        PathWalk(walk).Show();
        throw;
    }
    PathWalk(walk).Show();
    if (isGood)
        return;
    const text::ScanFailure failure = walk.GetFailure();
    throw LexScannerException(failure.m_message, failure.m_token);
}

void ExpressionPathNavigator::ReadBarrier() const
{
    KELM_ASSERT(m_obj);
    DataSourceReadBarrier(m_data, m_obj, nullptr);
}

void* ExpressionPathNavigator::GetFieldAddress() const
{
    KELM_ASSERT(m_data);
    return m_data;
}

ReflectionByteCode ExpressionPathNavigator::GetFieldType() const
{
    return GetUnqualifiedType(m_rbc);
}

// --- Entry points ----------------------------------------------------------------------------------------------------

void* NavigatePathToField(ptr<IObject> obj, ExpressionParser& parser, ReflectionByteCode& rbc, bool writeAccess)
{
    KELM_ASSERT(obj);
    const ExpressionPathNavigator navigator(parser, obj, writeAccess ? PNM_WRITE_ACCESS : PNM_READ_ACCESS);
    rbc = navigator.m_rbc;
    return navigator.m_data;
}

namespace
{

[[gnu::noinline]] xstring WriteFailure(const text::ScanFailure& failure, SubString path)
{
    LexScannerException error(failure.m_message, failure.m_token);
    error.LocateIn(path);
    return error.GetWrittenText();
}

} // namespace

void* NavigatePathToField(ptr<IObject> obj, const xstring& path, ReflectionByteCode& rbc, bool writeAccess,
                          xstring& errorMsg)
{
    errorMsg.clear();
    PathWalk walk(path, obj, !writeAccess);
    bool isGood = walk.TryReadFirstToken();
    if (isGood)
    {
        KELM_ASSERT(obj);
        const ReflectedClass* const rc = obj.GetReflectedClass();
        KELM_ASSERT(rc);
        isGood = walk.TryWalk(rc);
    }
    if (!isGood) [[unlikely]]
    {
        errorMsg = WriteFailure(walk.GetFailure(), path);
        return nullptr;
    }
    rbc = walk.m_rbc;
    return walk.m_data;
}

// --- Registration ----------------------------------------------------------------------------------------------------

namespace
{

constexpr ConstStringZ s_stringTable[] = {"kelm::IObject", "kelm::xstring", "kelm::ReflectionByteCode", nullptr};

constexpr uint8 s_voidPointer[] = {FT_POINTER, FT_VOID};
constexpr uint8 s_objectPtr[] = {FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0};
constexpr uint8 s_constStringReference[] = {FT_REFERENCE, FT_CONST, FT_TYPEDEF, 1, 0};
constexpr uint8 s_stringReference[] = {FT_REFERENCE, FT_TYPEDEF, 1, 0};
constexpr uint8 s_byteCodeReference[] = {FT_REFERENCE, FT_CLASS, 2, 0};
constexpr uint8 s_bool[] = {FT_BOOL};

constexpr ReflectedArg s_args[] = {
    {"obj", s_objectPtr},    {"path", s_constStringReference}, {"rbc", s_byteCodeReference},
    {"writeAccess", s_bool}, {"errorMsg", s_stringReference},
};

using TextForm = void* (*)(ptr<IObject>, const xstring&, ReflectionByteCode&, bool, xstring&);

const ReflectedGlobalFunction NavigatePathToField_function = {
    .m_name = "kelm::NavigatePathToField",
    .m_returnType = {s_voidPointer},
    .m_args = s_args,
    .m_numArgs = std::size(s_args),
    .m_stringTable = s_stringTable,
    .m_address = reinterpret_cast<FunctionAddress>(static_cast<TextForm>(NavigatePathToField)),
};

} // namespace

void _Register_NavigatePathToField()
{
    if (RegisterReflectedGlobalFunction(&NavigatePathToField_function, Kelm_Core_klKelmScript_GetXTarget()) != NSE_OK)
        ThrowKelmAssertionError("kelm::RegisterReflectedGlobalFunction(&NavigatePathToField_function,"
                                "kelm::Kelm_Core_klKelmScript_GetXTarget()) == kelm::NSE_OK",
                                s_sourceFile, 414);
}

} // namespace kelm
