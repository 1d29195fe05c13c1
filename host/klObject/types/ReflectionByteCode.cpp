#include <klObject/types/ReflectionByteCode.h>

#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/Registry.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/StackSegment.h>

#include <cstring>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/types/ReflectionByteCode";

// No honest type is behind more typedefs of typedefs; a typedef of itself would be.
constexpr int s_maxTypedefs = 1000;

const TypeCode& GetKnownTypeCode(const ReflectionByteCode& rbc)
{
    const TypeCode& code = GetTypeCode(rbc);
    KELM_ASSERT(code.m_isKnown);
    return code;
}

// The operand behind a code, which need not be aligned.
template <class T>
T ReadOperand(const uint8* bc)
{
    T operand;
    std::memcpy(&operand, bc + 1, sizeof operand);
    return operand;
}

void PassOwnFns(ReflectionByteCode& rbc, const TypeCode& code)
{
    if (code.m_hasFns && rbc.m_mapOrSetFns != nullptr)
        ++rbc.m_mapOrSetFns;
}

void EnterTypedef(ReflectionByteCode& rbc, ConstStringZ sourceFile)
{
    const ReflectedTypedef* r = rbc.GetReflectedTypedef();
    if (r == nullptr)
        ThrowKelmAssertionError("r", sourceFile, __LINE__);
    KELM_ASSERT(r->m_bc);
    rbc.m_bc = r->m_bc;
    rbc.m_stringTable = r->m_stringTable;
}

// A typedef of maps or sets takes their entries out of the table that goes with the type which names it.
const PtrMapOrSetFns* PassFnsOfTypedef(ReflectionByteCode rbc)
{
    rbc.AdvanceToUnderlyingType2();
    rbc.ScanType();
    return rbc.m_mapOrSetFns;
}

} // namespace

void ReflectionByteCode::ScanType()
{
    // A count of the types still to pass, where recursion might go as deep as the byte code nests.
    for (ssize_t pending = 1; pending > 0; --pending)
    {
        while (GetKnownTypeCode(*this).m_passedAs == PASSED_METADATA)
            ScanMetaDataItem();
        const TypeCode& code = GetKnownTypeCode(*this);
        if (GetCode() == FT_ARRAY)
            KELM_ASSERT(GetArrayCount() >= 0);
        if (GetCode() == FT_TYPEDEF && m_mapOrSetFns != nullptr)
            m_mapOrSetFns = PassFnsOfTypedef(*this);
        PassOwnFns(*this, code);
        m_bc += 1 + code.m_operandBytes;
        pending += code.m_types;
    }
}

void ReflectionByteCode::ScanMetaDataItem()
{
    if (IsStackLow())
        return CallOnFreshSegment([this] { ScanMetaDataItem(); });
    const TypeCode& item = GetKnownTypeCode(*this);
    KELM_ASSERT(item.m_passedAs == PASSED_METADATA);
    m_bc += 1 + item.m_operandBytes;
    for (int i = 0; i < item.m_items; ++i)
        ScanMetaDataItem();
    if (item.m_endCode != 0)
    {
        while (GetCode() != item.m_endCode)
            ScanMetaDataItem();
        ++m_bc;
    }
}

uint32 ReflectionByteCode::AdvanceToUnderlyingType2()
{
    return AdvanceToUnderlyingType2For(s_sourceFile);
}

uint32 ReflectionByteCode::AdvanceToUnderlyingType2For(ConstStringZ sourceFile)
{
    uint32 passed = 0;
    int typedefs = 0;
    for (;;)
    {
        const TypeCode& code = GetTypeCode(*this);
        if (code.m_passedAs == 0)
            return passed; // an unknown code too: whoever handles the type refuses it in its own words
        passed |= code.m_passedAs;
        if (code.m_passedAs == PASSED_METADATA)
        {
            ScanMetaDataItem();
        }
        else if (code.m_passedAs == PASSED_TYPEDEF)
        {
            ++typedefs;
            KELM_ASSERT(typedefs <= s_maxTypedefs);
            EnterTypedef(*this, sourceFile);
        }
        else
        {
            ++m_bc;
        }
    }
}

ssize_t ReflectionByteCode::GetTypeSize() const
{
    ReflectionByteCode type = *this;
    ssize_t elements = 1;
    for (;; type = type.GetElementType())
    {
        type.AdvanceToUnderlyingType2();
        if (type.GetCode() != FT_ARRAY)
            break;
        const ssize_t count = type.GetArrayCount();
        KELM_ASSERT(count >= 0);
        const bool arrayIsTooLarge = __builtin_mul_overflow(elements, count, &elements);
        KELM_ASSERT(!arrayIsTooLarge);
    }

    ssize_t size = GetTypeCode(type).m_size;
    if (type.GetCode() == FT_CLASS)
    {
        const ReflectedClass* rc = type.GetReflectedClass();
        KELM_ASSERT(rc);
        size = rc->m_size;
    }
    else if (type.GetCode() == FT_VARIANT)
    {
        const ReflectedVariant* rv = type.GetReflectedVariant();
        KELM_ASSERT(rv);
        size = rv->m_size;
    }
    else if (type.GetCode() == FT_FOREIGN)
    {
        size = type.GetForeignType().m_size;
    }
    KELM_ASSERT(size >= 0);
    const bool arrayIsTooLarge = __builtin_mul_overflow(elements, size, &size);
    KELM_ASSERT(!arrayIsTooLarge);
    return size;
}

const ReflectedClass* ReflectionByteCode::GetReflectedClass() const
{
    return GetCode() == FT_CLASS ? TryFindReflectedClass(GetName()) : nullptr;
}

const ReflectedVariant* ReflectionByteCode::GetReflectedVariant() const
{
    return GetCode() == FT_VARIANT ? TryFindReflectedVariant(GetName()) : nullptr;
}

const ReflectedEnum* ReflectionByteCode::GetReflectedEnum() const
{
    return GetCode() == FT_ENUM ? TryFindReflectedEnum(GetName()) : nullptr;
}

const ReflectedTypedef* ReflectionByteCode::GetReflectedTypedef() const
{
    return GetCode() == FT_TYPEDEF ? TryFindReflectedTypedef(GetName()) : nullptr;
}

void ReflectionByteCode::FailWithoutName(const ConstStringZ* stringTable)
{
    ThrowKelmAssertionError(stringTable == nullptr ? "m_stringTable" : "name", s_sourceFile, __LINE__);
}

int32 ReflectionByteCode::GetArrayCount() const
{
    return ReadOperand<int32>(m_bc);
}

ReflectionByteCode ReflectionByteCode::GetElementType() const
{
    const TypeCode& code = GetKnownTypeCode(*this);
    KELM_ASSERT(code.m_types > 0);
    ReflectionByteCode element = *this;
    PassOwnFns(element, code);
    element.m_bc += 1 + code.m_operandBytes;
    return element;
}

} // namespace kelm
