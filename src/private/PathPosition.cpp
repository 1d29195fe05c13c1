#include <klKelmScript/private/PathPosition.h>

#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/private/PathMessages.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/KelmAssertionError.h>

#include <atomic>
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

[[gnu::noinline]] ReflectionByteCode PassQualifiers(ReflectionByteCode type)
{
    const bool isConst = (type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0;
    KELM_ASSERT(!isConst);
    return type;
}

constinit std::atomic<ssize_t> s_growthLimit = std::numeric_limits<ssize_t>::max();

// The bytes up to the end of that element; more than there can be where that is no number.
ssize_t GetBytesUpTo(int64 index, ssize_t elementSize)
{
    ssize_t bytes = 0;
    return __builtin_mul_overflow(index + 1, elementSize, &bytes) ? std::numeric_limits<ssize_t>::max() : bytes;
}

// Of a variable; most types are known by their code, or as a class.
ssize_t GetSize(const ReflectionByteCode& type)
{
    const ssize_t size = GetTypeCode(type).m_size;
    if (size != TypeCode::SizeVaries)
        return size;
    const ReflectedClass* const rc = type.GetCode() == FT_CLASS ? TryFindReflectedClass(type.GetName()) : nullptr;
    return rc != nullptr && rc->m_size > 0 ? rc->m_size : type.GetTypeSize();
}

} // namespace

ssize_t SetPathGrowthLimit(ssize_t numOctets)
{
    return s_growthLimit.exchange(numOctets, std::memory_order_relaxed);
}

xstring MessageOf(const PathProblem& problem, const LSToken& token)
{
    StringStream message(256);
    WriteMessage(message, problem, token);
    return message.GetString();
}

// --- Elements --------------------------------------------------------------------------------------------------------

bool PathElements::Has(int64 index) const
{
    if (index < 0)
        return false;
    if (m_growing == nullptr)
        return index < m_count;
    if (index > std::numeric_limits<int32>::max())
        return false;
    const ssize_t bytes = GetBytesUpTo(index, m_elementSize);
    return bytes - m_elementSize < m_growing->size() || bytes <= s_growthLimit.load(std::memory_order_relaxed);
}

// --- Steps -----------------------------------------------------------------------------------------------------------

PathField FindPathField(const ReflectedClass& rc, SubString name)
{
    KELM_ASSERT(rc.m_modelFields);
    const ClassModel model = FindClassModel(rc);
    const ssize_t i = FindModelField(*model.m_class, name);
    return {i >= 0 ? &model.m_class->m_modelFields[i] : nullptr, model};
}

const ReflectedClass& GetPathClass(const ReflectionByteCode& type)
{
    const ReflectedClass* const rc = TryFindReflectedClass(type.GetName());
    KELM_ASSERT(rc);
    return *rc;
}

void RequireValueType(const ReflectionByteCode& type)
{
    if (const ConstStringZ condition = s_impossible.m_conditions[type.GetCode()])
        ThrowKelmAssertionError(condition, s_sourceFile, __LINE__);
}

// Most types are their own underlying ones.
ReflectionByteCode PathPosition::GetUnderlyingType() const
{
    KELM_ASSERT(m_rbc.m_bc);
    return GetTypeCode(m_rbc).m_passedAs == 0 ? m_rbc : PassQualifiers(m_rbc);
}

void PathPosition::StepTo(const PathField& field)
{
    const ReflectedModelField& rf = *field.m_field;
    KELM_ASSERT(rf.m_rsn2 == -1);
    m_data += field.m_model.m_offset + rf.m_offset;
    m_rbc = {rf.m_bc, field.m_model.m_class->m_stringTable, rf.m_mapOrSetFns};
}

PathElements PathPosition::EnterArray(const ReflectionByteCode& type)
{
    const int32 arraySize = type.GetArrayCount();
    m_rbc = type.GetElementType();
    KELM_ASSERT(arraySize > 0);
    return {"Array", m_data, arraySize, GetSize(m_rbc)};
}

PathElements PathPosition::EnterVector(const ReflectionByteCode& type)
{
    m_rbc = type.GetTypeBehindByte();
    const ssize_t elementSize = GetSize(m_rbc);
    KELM_ASSERT(elementSize > 0);
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    const ssize_t size = V.size() / elementSize;
    KELM_ASSERT(V.size() % elementSize == 0);
    KELM_ASSERT(size >= 0);
    return {"Vector", V.data(), size, elementSize};
}

PathElements PathPosition::EnterDynArray(const ReflectionByteCode& type)
{
    m_rbc = type.GetTypeBehindByte();
    const ssize_t elementSize = GetSize(m_rbc);
    VectorOfByte& V = *reinterpret_cast<VectorOfByte*>(m_data);
    return {"Array", V.data(), elementSize > 0 ? V.size() / elementSize : 0, elementSize, &V};
}

PathElements PathPosition::EnterForeignList(const ForeignType& type) const
{
    return {"Vector", m_data, type.m_list->Count(m_data), 0, nullptr, &type};
}

void PathPosition::StepTo(const PathElements& elements, int64 index)
{
    if (elements.m_foreign != nullptr)
    {
        m_rbc = elements.m_foreign->GetElementType(index);
        m_data = static_cast<char*>(elements.m_foreign->m_list->At(elements.m_first, index));
        return;
    }
    if (elements.m_growing == nullptr)
    {
        m_data = elements.m_first + index * elements.m_elementSize;
        return;
    }
    VectorOfByte& V = *elements.m_growing;
    const ssize_t bytes = GetBytesUpTo(index, elements.m_elementSize);
    if (bytes - elements.m_elementSize >= V.size())
        V.resize(bytes);
    m_data = V.data() + (bytes - elements.m_elementSize);
}

bool PathPosition::TryEnterChoice(const ForeignType& type)
{
    const int32 part = type.m_choice->GetIndex(m_data);
    if (part < 0)
        return false;
    m_rbc = type.GetPartType(part);
    m_data = static_cast<char*>(type.m_choice->GetValue(m_data));
    return true;
}

const ReflectedClass* PathPosition::FollowHandle(const ReflectionByteCode& type, const ptr<IObject>& target)
{
    m_rbc = type;
    m_obj = target;
    if (!m_obj)
        return nullptr;
    const ReflectedClass* const rc = m_obj.GetReflectedClass();
    KELM_ASSERT(rc);
    m_data = static_cast<char*>(m_obj.self());
    return rc;
}

} // namespace kelm
