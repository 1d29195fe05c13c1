#include <klKelmScript/ParseFieldPath.h>

#include <klKelmScript/klKelmScript.h>
#include <klKelmScript/private/PlainPath.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klPersistStore/ReadBarrier.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/xostream.h>
#include <klUtils/xvector.h>

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

std::atomic<ssize_t> s_growthLimit = std::numeric_limits<ssize_t>::max();

void RequirePossibleType(ETypeByteCode code)
{
    if (const ConstStringZ condition = s_impossible.m_conditions[code])
        ThrowKelmAssertionError(condition, s_sourceFile, __LINE__);
}

} // namespace

ssize_t SetPathGrowthLimit(ssize_t numOctets)
{
    return s_growthLimit.exchange(numOctets, std::memory_order_relaxed);
}

// --- The position ----------------------------------------------------------------------------------------------------

ExpressionPathNavigator::ExpressionPathNavigator(ExpressionParser& parser, ptr<IObject> obj, EPathNavigatorMode mode)
    : m_parser(parser), m_mode(mode), m_obj(obj), m_data(static_cast<char*>(obj.self()))
{
    const SubString text(m_parser.m_token.m_str.m_p1, m_parser.m_str.m_p2);
    PlainPath path(text);
    if (!text.empty() && path.TryWalk(obj, ReadAccess()))
    {
        m_parser.ContinueBehind(path.FindLastToken());
        m_obj = path.m_obj;
        m_rbc = path.m_rbc;
        m_data = path.m_data;
        return;
    }
    KELM_ASSERT(m_data);
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    KELM_ASSERT(rc);
    NavigateReflectedClassInstance(*rc);
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
    KELM_ASSERT(m_rbc.m_bc);
    ReflectionByteCode type = m_rbc;
    const bool isConst = (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0;
    KELM_ASSERT(!isConst);
    return type;
}

// --- The walk --------------------------------------------------------------------------------------------------------

// Classes and variables alternate: a step to a field of a class reaches a variable, and walking that ends the walk or
// reaches the next class. A loop, so that a path may be of any length.
void ExpressionPathNavigator::NavigateReflectedClassInstance(const ReflectedClass& rc)
{
    for (const ReflectedClass* next = &rc; next != nullptr && StepToField(*next);)
        next = WalkVariable();
}

void ExpressionPathNavigator::NavigateReflectedVariable()
{
    if (const ReflectedClass* const rc = WalkVariable())
        NavigateReflectedClassInstance(*rc);
}

// Moves from an instance of `rc` to the model field that the path names next; false where it names none.
bool ExpressionPathNavigator::StepToField(const ReflectedClass& rc)
{
    KELM_ASSERT(m_data);
    if (m_parser.m_token.m_type != TOKEN_DOT)
        return false;
    m_parser.ReadNextToken();
    if (m_parser.m_token.m_type != TOKEN_IDENTIFIER)
        m_parser.ThrowExpectedException("identifier");
    const SubString name = m_parser.m_token.m_str;

    KELM_ASSERT(rc.m_modelFields);
    const ClassModel model = FindClassModel(rc);
    const ssize_t index = FindModelField(*model.m_class, name);
    if (index < 0)
    {
        StringStream message(4096);
        message << "Identifier " << name << " is not a model field of class " << rc.m_name;
        m_parser.ThrowAtToken(message.GetString());
    }
    m_parser.ReadNextToken();
    const ReflectedModelField& rf = model.m_class->m_modelFields[index];
    KELM_ASSERT(rf.m_rsn2 == -1);

    m_data += model.m_offset + rf.m_offset;
    m_rbc = {rf.m_bc, model.m_class->m_stringTable, rf.m_mapOrSetFns};
    return true;
}

// Follows indices and handles from a variable. Returns the class of the instance that the walk goes on from, or null
// where it ends at a variable.
const ReflectedClass* ExpressionPathNavigator::WalkVariable()
{
    while (true)
    {
        if (ReadAccess())
            ReadBarrier();
        void* const data = GetFieldAddress();
        const ReflectionByteCode type = GetFieldType();
        const EToken token = m_parser.m_token.m_type;
        switch (type.GetCode())
        {
        case FT_CLASS:
        {
            m_rbc = type;
            const ReflectedClass* const rc = type.GetReflectedClass();
            KELM_ASSERT(rc);
            return rc;
        }
        case FT_ARRAY:
            if (token != TOKEN_LEFT_SQUARE)
                return nullptr;
            StepIntoArray(type);
            break;
        case FT_DYNARRAY:
            if (token != TOKEN_LEFT_SQUARE)
                return nullptr;
            StepIntoDynArray(type);
            break;
        case FT_VECTOR:
            if (token != TOKEN_LEFT_SQUARE)
                return nullptr;
            StepIntoVector(type);
            break;
        case FT_PREF:
        case FT_CREF:
            return token == TOKEN_DOT ? StepThroughHandle(type, static_cast<prefbase*>(data)->Get()) : nullptr;
        case FT_INTERFACE_POINTER:
            return token == TOKEN_DOT ? StepThroughHandle(type, *static_cast<ptr<IObject>*>(data)) : nullptr;
        default: RequirePossibleType(type.GetCode()); return nullptr; // a value: the walk ends
        }
    }
}

void ExpressionPathNavigator::StepIntoArray(const ReflectionByteCode& type)
{
    m_parser.ReadNextToken();
    const int32 arraySize = type.GetArrayCount();
    m_rbc = type.GetElementType();
    KELM_ASSERT(arraySize > 0);
    const ssize_t elementSize = m_rbc.GetTypeSize();
    const int32 index = m_parser.ParseInt32(false);
    if (index < 0 || index >= arraySize)
        ThrowIndexOutOfRange("Array", index);
    m_parser.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    m_data += index * elementSize;
}

// A dynamic array is written with two opening brackets and one closing, and grows to hold whatever index is asked for.
void ExpressionPathNavigator::StepIntoDynArray(const ReflectionByteCode& type)
{
    m_parser.ReadNextToken();
    m_rbc = type.GetElementType();
    const ssize_t elementSize = m_rbc.GetTypeSize();
    m_parser.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    const int32 index = m_parser.ParseInt32(false);
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    const ssize_t offset = index * elementSize;
    const bool isBeyondLimit =
        offset >= V.size() && offset > s_growthLimit.load(std::memory_order_relaxed) - elementSize;
    if (index < 0 || isBeyondLimit)
        ThrowIndexOutOfRange("Array", index);
    m_parser.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    if (offset >= V.size())
        V.resize(offset + elementSize);
    m_data = V.data() + offset;
}

void ExpressionPathNavigator::StepIntoVector(const ReflectionByteCode& type)
{
    m_parser.ReadNextToken();
    m_rbc = type.GetElementType();
    const ssize_t elementSize = m_rbc.GetTypeSize();
    KELM_ASSERT(elementSize > 0);
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    KELM_ASSERT(V.size() % elementSize == 0);
    const ssize_t size = V.size() / elementSize;
    KELM_ASSERT(size >= 0);
    const int32 index = m_parser.ParseInt32(false);
    if (index < 0 || index >= size)
        ThrowIndexOutOfRange("Vector", index);
    m_parser.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    m_data = V.data() + index * elementSize;
}

// The dot is left for the step to a field of the object reached.
const ReflectedClass* ExpressionPathNavigator::StepThroughHandle(const ReflectionByteCode& type, ptr<IObject> target)
{
    m_rbc = type;
    m_obj = target;
    if (!m_obj)
        m_parser.ThrowAtToken("null dereference");
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    KELM_ASSERT(rc);
    m_data = static_cast<char*>(m_obj.self());
    return rc;
}

void ExpressionPathNavigator::ThrowIndexOutOfRange(ConstStringZ container, int32 index) const
{
    StringStream message(4096);
    message << container << " index " << index << " out of range";
    m_parser.ThrowAtToken(message.GetString());
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

// The whole text by its tokens.
[[gnu::cold]] void* NavigateText(ptr<IObject> obj, const xstring& path, ReflectionByteCode& rbc, bool writeAccess,
                                 xstring& errorMsg)
{
    try
    {
        ExpressionParser parser;
        parser.Init(path);
        return NavigatePathToField(obj, parser, rbc, writeAccess);
    }
    catch (const LexScannerException& e)
    {
        LexScannerException located(e);
        located.LocateIn(path);
        errorMsg = located.GetWrittenText();
        return nullptr;
    }
}

} // namespace

void* NavigatePathToField(ptr<IObject> obj, const xstring& path, ReflectionByteCode& rbc, bool writeAccess,
                          xstring& errorMsg)
{
    errorMsg.clear();
    PlainPath plain(path);
    if (!plain.TryWalk(obj, !writeAccess))
        return NavigateText(obj, path, rbc, writeAccess, errorMsg);
    rbc = plain.m_rbc;
    return plain.m_data;
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
