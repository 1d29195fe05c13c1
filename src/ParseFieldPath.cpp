#include <klKelmScript/ParseFieldPath.h>

#include <klKelmScript/klKelmScript.h>
#include <klObject/ReflectedTypes.h>
#include <klObject/Registry.h>
#include <klObject/prefbase.h>
#include <klPersistStore/ReadBarrier.h>
#include <klUtils/CharTable.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/xostream.h>
#include <klUtils/xvector.h>

#include <iterator>

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

void RequirePossibleType(ETypeByteCode code)
{
    if (const ConstStringZ condition = s_impossible.m_conditions[code])
        ThrowKelmAssertionError(condition, s_sourceFile, __LINE__);
}

// An element's size, for byte vectors that hold elements of the type.
ssize_t GetElementSize(const ReflectionByteCode& elementType)
{
    const ssize_t elementSize = elementType.GetTypeSize();
    KELM_ASSERT(elementSize > 0);
    return elementSize;
}

} // namespace

// --- The tokens of a path --------------------------------------------------------------------------------------------

// The parser's token stream as a walk sees it. As long as the path is plain (names, decimal indices, dots and brackets,
// nothing between them) its tokens are taken straight from the characters; the first one that is not, and every error,
// is left to the parser, from where the walk stands.
class PathTokens
{
public:
    explicit PathTokens(ExpressionParser& parser)
        : m_parser(parser), m_current(parser.m_token), m_previous(parser.m_prevToken), m_end(parser.m_str.m_p2)
    {
    }

    EToken GetKind() const { return m_current.m_type; }
    SubString GetText() const { return m_current.m_str; }

    void Next()
    {
        if (m_isPlain && TryNextPlain())
            return;
        LeaveToParser().ReadNextToken();
        m_current = m_parser.m_token;
    }

    void ParseGivenToken(EToken kind, ConstStringZ text)
    {
        if (GetKind() != kind)
            LeaveToParser().ThrowExpectedException(text);
        Next();
    }

    int32 ParseIndex()
    {
        constexpr ssize_t maxDigits = 9; // what 32 bits hold in any case
        if (m_isPlain && GetKind() == TOKEN_INTEGER && GetText().size() <= maxDigits)
        {
            const auto index = static_cast<int32>(m_current.GetLiteralInt64());
            Next();
            return index;
        }
        const int32 index = LeaveToParser().ParseInt32(false);
        m_current = m_parser.m_token;
        return index;
    }

    [[noreturn]] void ThrowIndexOutOfRange(ConstStringZ container, int32 index)
    {
        StringStream message(4096);
        message << container << " index " << index << " out of range";
        LeaveToParser().ThrowAtToken(message.GetString());
    }

    // Brings the parser to the token where the walk is, as if it had read all of them.
    ExpressionParser& LeaveToParser()
    {
        if (m_isPlain)
        {
            m_isPlain = false;
            m_parser.m_prevToken = m_previous;
            m_parser.m_token = m_current;
            m_parser.m_str.m_p1 = m_current.m_str.m_p2;
        }
        return m_parser;
    }

private:
    bool TryNextPlain()
    {
        const char* const start = m_current.m_str.m_p2;
        if (start == m_end)
            return Pass(TOKEN_END, start, start);
        switch (StartOf(*start))
        {
        case Start::Identifier: return Pass(TOKEN_IDENTIFIER, start, SkipProperty(start, CHAR_IDENTIFIER));
        case Start::Digit:
        {
            const char* const past = SkipProperty(start, CHAR_DIGIT);
            return past != m_end && *past == ']' && Pass(TOKEN_INTEGER, start, past);
        }
        case Start::Dot:
            return m_end - start > 1 && StartOf(start[1]) == Start::Identifier && Pass(TOKEN_DOT, start, start + 1);
        default:
            return (*start == '[' && Pass(TOKEN_LEFT_SQUARE, start, start + 1)) ||
                   (*start == ']' && Pass(TOKEN_RIGHT_SQUARE, start, start + 1));
        }
    }

    const char* SkipProperty(const char* p, CharProperty property) const
    {
        while (p != m_end && HasProperty(*p, property))
            ++p;
        return p;
    }

    bool Pass(EToken kind, const char* start, const char* past)
    {
        m_previous = m_current;
        m_current = {kind, {start, past}};
        return true;
    }

    ExpressionParser& m_parser;
    LSToken m_current;
    LSToken m_previous;
    const char* m_end;
    bool m_isPlain = true;
};

// --- The position ----------------------------------------------------------------------------------------------------

ExpressionPathNavigator::ExpressionPathNavigator(ExpressionParser& parser, ptr<IObject> obj, EPathNavigatorMode mode)
    : m_parser(parser), m_mode(mode), m_obj(obj), m_data(static_cast<char*>(obj.self()))
{
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
    if (type.IsAtUnderlyingType())
        return type;
    const bool isConst = (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0;
    KELM_ASSERT(!isConst);
    return type;
}

// --- The walk --------------------------------------------------------------------------------------------------------

// Classes and variables alternate: a step to a field of a class reaches a variable, and walking that ends the walk or
// reaches the next class. A loop, so that a path may be of any length.
void ExpressionPathNavigator::NavigateReflectedClassInstance(const ReflectedClass& rc)
{
    PathTokens tokens(m_parser);
    for (const ReflectedClass* next = &rc; next != nullptr && StepToField(tokens, *next);)
        next = WalkVariable(tokens);
    tokens.LeaveToParser();
}

void ExpressionPathNavigator::NavigateReflectedVariable()
{
    PathTokens tokens(m_parser);
    const ReflectedClass* const rc = WalkVariable(tokens);
    tokens.LeaveToParser();
    if (rc != nullptr)
        NavigateReflectedClassInstance(*rc);
}

// Moves from an instance of `rc` to the model field that the path names next; false where it names none.
bool ExpressionPathNavigator::StepToField(PathTokens& tokens, const ReflectedClass& rc)
{
    KELM_ASSERT(m_data);
    if (tokens.GetKind() != TOKEN_DOT)
        return false;
    tokens.Next();
    if (tokens.GetKind() != TOKEN_IDENTIFIER)
        tokens.LeaveToParser().ThrowExpectedException("identifier");
    const SubString name = tokens.GetText();

    KELM_ASSERT(rc.m_modelFields);
    const ClassModel model = FindClassModel(rc);
    const ssize_t index = FindModelField(*model.m_class, name);
    if (index < 0)
    {
        StringStream message(4096);
        message << "Identifier " << name << " is not a model field of class " << rc.m_name;
        tokens.LeaveToParser().ThrowAtToken(message.GetString());
    }
    tokens.Next();
    const ReflectedModelField& rf = model.m_class->m_modelFields[index];
    KELM_ASSERT(rf.m_rsn2 == -1);

    m_data += model.m_offset + rf.m_offset;
    m_rbc = {rf.m_bc, model.m_class->m_stringTable, rf.m_mapOrSetFns};
    return true;
}

// Follows indices and handles from a variable. Returns the class of the instance that the walk goes on from, or null
// where it ends at a variable.
const ReflectedClass* ExpressionPathNavigator::WalkVariable(PathTokens& tokens)
{
    while (true)
    {
        if (ReadAccess())
            ReadBarrier();
        void* const data = GetFieldAddress();
        const ReflectionByteCode type = GetFieldType();
        const EToken token = tokens.GetKind();
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
            StepIntoArray(tokens, type);
            break;
        case FT_DYNARRAY:
            if (token != TOKEN_LEFT_SQUARE)
                return nullptr;
            StepIntoDynArray(tokens, type);
            break;
        case FT_VECTOR:
            if (token != TOKEN_LEFT_SQUARE)
                return nullptr;
            StepIntoVector(tokens, type);
            break;
        case FT_PREF:
        case FT_CREF:
            return token == TOKEN_DOT ? StepThroughHandle(tokens, type, static_cast<prefbase*>(data)->Get()) : nullptr;
        case FT_INTERFACE_POINTER:
            return token == TOKEN_DOT ? StepThroughHandle(tokens, type, *static_cast<ptr<IObject>*>(data)) : nullptr;
        default: RequirePossibleType(type.GetCode()); return nullptr; // a value: the walk ends
        }
    }
}

void ExpressionPathNavigator::StepIntoArray(PathTokens& tokens, const ReflectionByteCode& type)
{
    tokens.Next();
    const int32 arraySize = type.GetArrayCount();
    m_rbc = type.GetElementType();
    KELM_ASSERT(arraySize > 0);
    const ssize_t elementSize = m_rbc.GetTypeSize();
    const int32 index = tokens.ParseIndex();
    if (index < 0 || index >= arraySize)
        tokens.ThrowIndexOutOfRange("Array", index);
    tokens.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    m_data += index * elementSize;
}

// A dynamic array is written with two opening brackets and one closing, and grows to hold whatever index is asked for.
void ExpressionPathNavigator::StepIntoDynArray(PathTokens& tokens, const ReflectionByteCode& type)
{
    tokens.Next();
    m_rbc = type.GetElementType();
    const ssize_t elementSize = m_rbc.GetTypeSize();
    tokens.ParseGivenToken(TOKEN_LEFT_SQUARE, "[");
    const int32 index = tokens.ParseIndex();
    if (index < 0)
        tokens.ThrowIndexOutOfRange("Array", index);
    tokens.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    const ssize_t offset = index * elementSize;
    if (offset >= V.size())
        V.resize(offset + elementSize);
    m_data = V.data() + offset;
}

void ExpressionPathNavigator::StepIntoVector(PathTokens& tokens, const ReflectionByteCode& type)
{
    tokens.Next();
    m_rbc = type.GetElementType();
    const ssize_t elementSize = GetElementSize(m_rbc);
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    KELM_ASSERT(V.size() % elementSize == 0);
    const ssize_t size = V.size() / elementSize;
    KELM_ASSERT(size >= 0);
    const int32 index = tokens.ParseIndex();
    if (index < 0 || index >= size)
        tokens.ThrowIndexOutOfRange("Vector", index);
    tokens.ParseGivenToken(TOKEN_RIGHT_SQUARE, "]");
    m_data = V.data() + index * elementSize;
}

// The dot is left for the step to a field of the object reached.
const ReflectedClass* ExpressionPathNavigator::StepThroughHandle(PathTokens& tokens, const ReflectionByteCode& type,
                                                                 ptr<IObject> target)
{
    m_rbc = type;
    m_obj = target;
    if (!m_obj)
        tokens.LeaveToParser().ThrowAtToken("null dereference");
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    KELM_ASSERT(rc);
    m_data = static_cast<char*>(m_obj.self());
    return rc;
}

// --- Entry points ----------------------------------------------------------------------------------------------------

void* NavigatePathToField(ptr<IObject> obj, ExpressionParser& parser, ReflectionByteCode& rbc, bool writeAccess)
{
    KELM_ASSERT(obj);
    const ExpressionPathNavigator navigator(parser, obj, writeAccess ? PNM_WRITE_ACCESS : PNM_READ_ACCESS);
    rbc = navigator.m_rbc;
    return navigator.m_data;
}

void* NavigatePathToField(ptr<IObject> obj, const xstring& path, ReflectionByteCode& rbc, bool writeAccess,
                          xstring& errorMsg)
{
    errorMsg.clear();
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
