#pragma once

#include <klObject/api.h>
#include <klObject/types/ETypeByteCode.h>
#include <klUtils/types.h>

#include <cstring>

namespace kelm
{

struct ForeignType;
struct PtrMapOrSetFns;
struct ReflectedClass;
struct ReflectedEnum;
struct ReflectedTypedef;
struct ReflectedVariant;

// What AdvanceToUnderlyingType2 passed, as flags.
enum EPassedQualifiers : uint32
{
    PASSED_VOLATILE = 1,
    PASSED_CONST = 2,
    PASSED_ASSIGNABLE = 4,
    PASSED_MOVABLE = 8,
    PASSED_TYPEDEF = 16,
    PASSED_METADATA = 32,
};

// A cursor over a type's byte code, copied by value. Owns nothing: the byte code, the string table and the function
// tables are constant data of whoever describes the type.
//
// Corrupt byte code (an unknown code, a negative count, a name that no descriptor has where one is needed) fails an
// assertion; the length of the byte code itself is not known and not checked.
class KLOBJECT_API ReflectionByteCode
{
public:
    ReflectionByteCode() = default;
    ReflectionByteCode(const uint8* bc, const ConstStringZ* stringTable, const PtrMapOrSetFns* mapOrSetFns = nullptr)
        : m_bc(bc), m_stringTable(stringTable), m_mapOrSetFns(mapOrSetFns)
    {
    }

    // Copied member by member, as cursors are made: a wider load would wait for the narrower stores just made.
    ReflectionByteCode(const ReflectionByteCode& other)
        : ReflectionByteCode(other.m_bc, other.m_stringTable, other.m_mapOrSetFns)
    {
    }
    ReflectionByteCode& operator=(const ReflectionByteCode& other)
    {
        m_bc = other.m_bc;
        m_stringTable = other.m_stringTable;
        m_mapOrSetFns = other.m_mapOrSetFns;
        return *this;
    }

    ETypeByteCode GetCode() const { return static_cast<ETypeByteCode>(*m_bc); }

    // Advances past one whole type, with the metadata before it and all that it contains.
    void ScanType();

    // Advances past one metadata item; the cursor must be at one.
    void ScanMetaDataItem();

    // Advances to the underlying type, past metadata, typedefs and the qualifiers const, volatile, assignable and
    // movable, and returns an OR of EPassedQualifiers; those within a typedef count too. Entering a typedef exchanges
    // the string table. A typedef without a descriptor fails the assertion "r"; a code that nothing knows ends the way,
    // for the caller to judge.
    uint32 AdvanceToUnderlyingType2();

    // The same for a caller whose own step it is: a missing descriptor fails the assertion in its source file.
    uint32 AdvanceToUnderlyingType2For(ConstStringZ sourceFile);

    // The size in bytes of a variable of the type at the cursor.
    ssize_t GetTypeSize() const;

    // The descriptor that the code at the cursor names, or null when it is unknown or the code is another.
    const ReflectedClass* GetReflectedClass() const;
    const ReflectedVariant* GetReflectedVariant() const;
    const ReflectedEnum* GetReflectedEnum() const;
    const ReflectedTypedef* GetReflectedTypedef() const;

    // The name behind FT_CLASS, FT_INTERFACE, FT_TYPEDEF, FT_ENUM or FT_VARIANT.
    ConstStringZ GetName() const
    {
        uint16 index;
        std::memcpy(&index, m_bc + 1, sizeof index);
        const ConstStringZ name = m_stringTable != nullptr ? m_stringTable[index] : nullptr;
        if (name == nullptr) [[unlikely]]
            FailWithoutName(m_stringTable);
        return name;
    }

    // The record behind FT_FOREIGN.
    const ForeignType& GetForeignType() const { return *reinterpret_cast<const ForeignType*>(GetName()); }

    // The element count behind FT_ARRAY, as it stands there: a negative one is for the caller to refuse.
    int32 GetArrayCount() const;

    // The element type of an FT_ARRAY, or the one type behind any one-byte code (a qualifier, FT_VECTOR, FT_DYNARRAY,
    // FT_SET, a pointer ...); of FT_MAP, the key type.
    ReflectionByteCode GetElementType() const;

    // The same where the code is known to be one byte without a function table of its own, such as FT_VECTOR.
    ReflectionByteCode GetTypeBehindByte() const { return {m_bc + 1, m_stringTable, m_mapOrSetFns}; }

    const uint8* m_bc = nullptr;
    const ConstStringZ* m_stringTable = nullptr;

    // One entry for each map or set in the type, in the order of the byte code; null where there is none.
    const PtrMapOrSetFns* m_mapOrSetFns = nullptr;

private:
    static void FailWithoutName(const ConstStringZ* stringTable);
};

static_assert(sizeof(ReflectionByteCode) == 24);

} // namespace kelm
