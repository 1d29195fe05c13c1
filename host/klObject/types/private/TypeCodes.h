#pragma once

// What is known of each code of the type byte code, in one table: what follows it, whether it stands before the
// underlying type, how large a variable of it is and how such a variable behaves. ReflectionByteCode reads the bytes;
// everything else asks for a variable's kind and switches over that.

#include <klObject/types/ETypeByteCode.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/types.h>

#include <array>

namespace kelm
{

// How a variable is constructed, destroyed, compared and walked.
enum EVariableKind : uint8
{
    VK_NONE,     // no variable: a qualifier, an interface, a code that nothing supports
    VK_VOID,     // no bytes
    VK_SCALAR,   // a number, bool or character; VisitScalarType tells which
    VK_ENUM,     // a signed 32-bit value
    VK_STRING8,  // an xstring
    VK_STRING16, // an xstring16
    VK_CLASS,
    VK_VARIANT,
    VK_ARRAY,
    VK_VECTOR, // a VectorOfByte of elements; a dynamic array too
    VK_MAP,
    VK_SET,
    VK_HANDLE,  // a ptr<IObject>
    VK_PREF,    // a prefbase
    VK_FOREIGN, // known by a ForeignType
};

struct TypeCode
{
    static constexpr int8 SizeVaries = -1;

    bool m_isKnown = false;
    EVariableKind m_kind = VK_NONE;
    int8 m_size = SizeVaries;  // of a variable, in bytes
    uint8 m_operandBytes = 0;  // behind the code: a name, a count, a number
    uint8 m_types = 0;         // that follow the operand
    uint8 m_items = 0;         // metadata items that follow the operand
    uint8 m_endCode = 0;       // or metadata items up to this code
    uint8 m_passedAs = 0;      // the EPassedQualifiers of a code that stands before the underlying type
    bool m_hasFns = false;     // has an entry in the table of map and set functions
    bool m_isZeroInit = false; // a variable of zero bytes is a default-constructed one
    bool m_isTrivial = false;  // and needs no destruction
};

consteval std::array<TypeCode, 256> MakeTypeCodes()
{
    std::array<TypeCode, 256> codes{};
    const auto add = [&codes](int code, TypeCode row)
    {
        row.m_isKnown = true;
        codes[static_cast<uint8>(code)] = row;
    };

    constexpr uint8 nameBytes = 2;
    constexpr uint8 countBytes = 4;
    const auto addTrivial = [&add](EVariableKind kind, int code, int8 size, uint8 operandBytes = 0, uint8 types = 0)
    {
        add(code, {.m_kind = kind,
                   .m_size = size,
                   .m_operandBytes = operandBytes,
                   .m_types = types,
                   .m_isZeroInit = true,
                   .m_isTrivial = true});
    };
    addTrivial(VK_VOID, FT_VOID, 0);
    for (const int code : {FT_BOOL, FT_INT8, FT_UINT8, FT_CHAR8})
        addTrivial(VK_SCALAR, code, 1);
    for (const int code : {FT_INT16, FT_UINT16, FT_CHAR16})
        addTrivial(VK_SCALAR, code, 2);
    for (const int code : {FT_INT32, FT_UINT32, FT_FLOAT32})
        addTrivial(VK_SCALAR, code, 4);
    for (const int code : {FT_INT64, FT_UINT64, FT_FLOAT64})
        addTrivial(VK_SCALAR, code, 8);
    for (const int code : {FT_INT128, FT_UINT128})
        addTrivial(VK_SCALAR, code, 16);
    addTrivial(VK_ENUM, FT_ENUM, 4, nameBytes);
    addTrivial(VK_HANDLE, FT_INTERFACE_POINTER, 16, 0, 1);
    for (const int code : {FT_PREF, FT_CREF})
        addTrivial(VK_PREF, code, 24, 0, 1);

    add(FT_STRING8, {.m_kind = VK_STRING8, .m_size = 24, .m_isZeroInit = true});
    add(FT_STRING16, {.m_kind = VK_STRING16, .m_size = 24, .m_isZeroInit = true});
    for (const int code : {FT_VECTOR, FT_DYNARRAY})
        add(code, {.m_kind = VK_VECTOR, .m_size = 24, .m_types = 1, .m_isZeroInit = true});
    add(FT_MAP, {.m_kind = VK_MAP, .m_size = 8, .m_types = 2, .m_hasFns = true});
    add(FT_SET, {.m_kind = VK_SET, .m_size = 8, .m_types = 1, .m_hasFns = true});

    add(FT_CLASS, {.m_kind = VK_CLASS, .m_operandBytes = nameBytes});
    add(FT_VARIANT, {.m_kind = VK_VARIANT, .m_operandBytes = nameBytes});
    add(FT_FOREIGN, {.m_kind = VK_FOREIGN, .m_operandBytes = nameBytes});
    add(FT_ARRAY, {.m_kind = VK_ARRAY, .m_operandBytes = countBytes, .m_types = 1});

    // Known, but no variable that anything here can handle.
    add(FT_INTERFACE, {.m_operandBytes = nameBytes});
    for (const int code : {FT_POINTER, FT_REFERENCE})
        add(code, {.m_size = 8, .m_types = 1});
    add(FT_FUNCTION_PTR, {.m_size = 8});
    for (const int code : {FT_FUNCTOR, FT_NOT_REFLECTED, FT_OPEN_VARIANT})
        add(code, {});
    for (const int code : {FT_OFFSETTABLE, FT_DEQUE, FT_LIST, FT_BAG})
        add(code, {.m_types = 1});
    for (int code = FT_PARAM_0; code <= FT_PARAM_5; ++code)
        add(code, {});

    add(FT_TYPEDEF, {.m_operandBytes = nameBytes, .m_passedAs = PASSED_TYPEDEF});
    add(FT_VOLATILE, {.m_types = 1, .m_passedAs = PASSED_VOLATILE});
    add(FT_CONST, {.m_types = 1, .m_passedAs = PASSED_CONST});
    add(FT_ASSIGNABLE, {.m_types = 1, .m_passedAs = PASSED_ASSIGNABLE});
    add(FT_MOVABLE, {.m_types = 1, .m_passedAs = PASSED_MOVABLE});

    const auto addItem = [&add](int code, uint8 operandBytes, uint8 items = 0, uint8 endCode = 0) {
        add(code,
            {.m_operandBytes = operandBytes, .m_items = items, .m_endCode = endCode, .m_passedAs = PASSED_METADATA});
    };
    addItem(MDT_FLAGS, 4);
    addItem(MDT_BOOL, 1);
    addItem(MDT_INT32, 4);
    addItem(MDT_FLOAT64, 8);
    addItem(MDT_STRING, nameBytes);
    addItem(MDT_BEGIN_FUNCTOR, nameBytes, 0, MDT_END_FUNCTOR);
    addItem(MDT_BEGIN_LIST, 0, 0, MDT_END_LIST);
    for (uint8 items = 0; items <= MDT_LIST_5 - MDT_LIST_0; ++items)
    {
        addItem(MDT_FUNCTOR_0 + items, nameBytes, items);
        addItem(MDT_LIST_0 + items, 0, items);
    }
    // MDT_END_FUNCTOR and MDT_END_LIST begin nothing: where one stands alone, the byte code is corrupt.
    return codes;
}

inline constexpr std::array<TypeCode, 256> s_typeCodes = MakeTypeCodes();

inline const TypeCode& GetTypeCode(ReflectionByteCode rbc)
{
    return s_typeCodes[rbc.GetCode()];
}

} // namespace kelm
