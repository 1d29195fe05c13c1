#include <host/klObject/HandWrittenTypes.h>

#include <klObject/types/ReflectionByteCode.h>

#include <support/Depth.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelm
{
namespace
{

using namespace handwritten;

constexpr const char* s_source = "host/klObject/types/ReflectionByteCode";

class ByteCode : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { RegisterTypes(); }
};
using ScanType = ByteCode;
using ScanMetaDataItem = ByteCode;
using AdvanceToUnderlyingType2 = ByteCode;
using GetTypeSize = ByteCode;
using Descriptors = ByteCode;

// A typical item of each metadata code.
std::vector<T> AllMetaDataItems()
{
    const T flag = T(MDT_BOOL) + T(1);
    std::vector<T> items = {
        T(MDT_FLAGS).AddNumber(uint32(0xA0A1A2A3)),
        flag,
        T(MDT_INT32).AddNumber(int32(-1)),
        T(MDT_FLOAT64).AddNumber(2.5),
        Named(MDT_STRING, "s"),
        Named(MDT_BEGIN_FUNCTOR, "f") + T(MDT_END_FUNCTOR),
        Named(MDT_BEGIN_FUNCTOR, "f") + flag + flag + T(MDT_END_FUNCTOR),
        T{MDT_BEGIN_LIST, MDT_END_LIST},
        T(MDT_BEGIN_LIST) + flag + T{MDT_BEGIN_LIST, MDT_END_LIST} + T(MDT_INT32).AddNumber(int32(MDT_END_LIST)) +
            T(MDT_END_LIST),
    };
    for (int n = 0; n <= 5; ++n)
    {
        T counted = Named(MDT_FUNCTOR_0 + n, "f");
        T list(MDT_LIST_0 + n);
        for (int i = 0; i < n; ++i)
        {
            counted = counted + flag;
            list = list + flag;
        }
        items.push_back(counted);
        items.push_back(list);
    }
    items.push_back(T(MDT_LIST_2) + items.back() + items[6]);
    return items;
}

// Every kind of type, one or more of each code.
std::vector<T> AllTypes()
{
    std::vector<T> types;
    for (int code = FT_VOID; code <= FT_STRING16; ++code)
        types.push_back(T(code));
    for (const int code : {FT_CLASS, FT_INTERFACE, FT_TYPEDEF, FT_ENUM, FT_VARIANT, FT_FOREIGN})
        types.push_back(Named(code, "some::Name"));
    for (const int code : {FT_FUNCTOR, FT_FUNCTION_PTR, FT_NOT_REFLECTED, FT_OPEN_VARIANT, FT_PARAM_0, FT_PARAM_1,
                           FT_PARAM_2, FT_PARAM_3, FT_PARAM_4, FT_PARAM_5})
        types.push_back(T(code));
    for (const int code :
         {FT_VOLATILE, FT_CONST, FT_ASSIGNABLE, FT_MOVABLE, FT_OFFSETTABLE, FT_POINTER, FT_REFERENCE,
          FT_INTERFACE_POINTER, FT_PREF, FT_CREF, FT_VECTOR, FT_DEQUE, FT_LIST, FT_SET, FT_BAG, FT_DYNARRAY})
    {
        types.push_back(T(code) + T(FT_INT32));
        types.push_back(T(code) + Named(FT_CLASS, "some::Name"));
        types.push_back(T(code) + T(FT_VECTOR) + T(code) + T(FT_BOOL));
    }
    types.push_back(Array(0x05040302) + T(FT_INT8));
    types.push_back(Array(2) + Array(3) + T(FT_VECTOR) + T(FT_STRING8));
    types.push_back(T{FT_MAP, FT_STRING8, FT_INT32});
    types.push_back(T{FT_MAP, FT_MAP, FT_INT8, FT_BOOL, FT_VECTOR, FT_SET, FT_INT64});
    types.push_back(T(FT_MAP) + Named(FT_CLASS, "some::Name") + Array(4) + T(FT_BOOL));
    return types;
}

TEST_F(ScanType, PassesOneWholeTypeOfEveryKind)
{
    for (const T& type : AllTypes())
    {
        const T followed = type + T(FT_INT8) + T(FT_INT16);
        ReflectionByteCode rbc = followed;
        rbc.ScanType();
        EXPECT_EQ(rbc.m_bc - followed.rbc().m_bc, type.size()) << ::testing::PrintToString(type);
        EXPECT_EQ(rbc.GetCode(), FT_INT8);
    }
}

TEST_F(ScanType, PassesMetadataBeforeAndInsideAType)
{
    for (const T& item : AllMetaDataItems())
    {
        const T type = item + T(FT_MAP) + item + item + T(FT_STRING8) + T(FT_CONST) + item + T(FT_INT32) + T(FT_BOOL);
        ReflectionByteCode rbc = type;
        rbc.ScanType();
        EXPECT_EQ(rbc.m_bc - type.rbc().m_bc, type.size() - 1) << ::testing::PrintToString(type);
    }
}

TEST_F(ScanType, PassesTheFunctionTableEntriesOfTheMapsAndSetsInAType)
{
    const PtrMapOrSetFns fns[8] = {};
    const struct
    {
        T m_type;
        int m_entries;
    } rows[] = {
        {T(FT_INT32), 0},
        {T{FT_MAP, FT_INT32, FT_INT32}, 1},
        {T{FT_SET, FT_INT32}, 1},
        {T{FT_MAP, FT_SET, FT_INT8, FT_VECTOR, FT_MAP, FT_INT8, FT_INT8}, 3},
        {T(FT_VECTOR) + Named(FT_TYPEDEF, "handwritten::SetOfInt"), 1}, // a typedef brings none of its own
        {T{FT_VECTOR, FT_BAG, FT_INT8}, 0},
    };
    for (const auto& row : rows)
    {
        ReflectionByteCode rbc = row.m_type;
        rbc.m_mapOrSetFns = fns;
        rbc.ScanType();
        EXPECT_EQ(rbc.m_mapOrSetFns - fns, row.m_entries) << ::testing::PrintToString(row.m_type);

        ReflectionByteCode withoutTable = row.m_type;
        withoutTable.m_mapOrSetFns = nullptr;
        withoutTable.ScanType();
        EXPECT_EQ(withoutTable.m_mapOrSetFns, nullptr);
    }
}

TEST_F(ScanType, PassesTypesNestedToAnyDepth)
{
    std::vector<uint8> bytes(1'000'000, FT_VECTOR);
    bytes.push_back(FT_BOOL);
    ReflectionByteCode rbc(bytes.data(), nullptr);
    rbc.ScanType();
    EXPECT_EQ(rbc.m_bc, bytes.data() + bytes.size());
}

TEST_F(ScanType, OfCorruptByteCodeFailsAnAssertion)
{
    // Every byte that is no code, and metadata ends that nothing begins.
    std::vector<bool> isKnown(256);
    for (const T& type : AllTypes())
        isKnown[*type.rbc().m_bc] = true;
    for (const T& item : AllMetaDataItems())
        isKnown[*item.rbc().m_bc] = true;
    int unknown = 0;
    for (int code = 0; code < 256; ++code)
        if (!isKnown[static_cast<std::size_t>(code)])
        {
            ++unknown;
            for (const T& type : {T(code), T{FT_VECTOR, code}, T{FT_MAP, FT_BOOL, code}})
                EXPECT_TRUE(FailsAssertion(
                    [&]
                    {
                        ReflectionByteCode rbc = type;
                        rbc.ScanType();
                    },
                    "code.m_isKnown", s_source))
                    << code;
        }
    EXPECT_EQ(unknown, 256 - 18 - 8 - 7 - 13 - 6 - 19);

    EXPECT_TRUE(FailsAssertion(
        []
        {
            const T type = Array(-1) + T(FT_INT32);
            ReflectionByteCode rbc = type;
            rbc.ScanType();
        },
        "GetArrayCount() >= 0", s_source));
}

TEST_F(ScanMetaDataItem, PassesOneItemExactly)
{
    for (const T& item : AllMetaDataItems())
    {
        const T type = item + T{MDT_BOOL, 0, FT_INT32};
        ReflectionByteCode rbc = type;
        rbc.ScanMetaDataItem();
        EXPECT_EQ(rbc.m_bc - type.rbc().m_bc, item.size()) << ::testing::PrintToString(type);
    }
}

TEST_F(ScanMetaDataItem, PassesItemsNestedToAnyDepth)
{
    constexpr std::size_t depth = s_nesting / 2;
    std::vector<uint8> bytes(depth, MDT_BEGIN_LIST);
    bytes.insert(bytes.end(), depth, MDT_END_LIST);
    bytes.push_back(FT_BOOL);
    ReflectionByteCode rbc(bytes.data(), nullptr);
    rbc.ScanMetaDataItem();
    EXPECT_EQ(rbc.GetCode(), FT_BOOL);
}

TEST_F(ScanMetaDataItem, AtATypeFailsAnAssertion)
{
    EXPECT_TRUE(FailsAssertion(
        []
        {
            const T type(FT_INT32);
            ReflectionByteCode rbc = type;
            rbc.ScanMetaDataItem();
        },
        "item.m_passedAs == PASSED_METADATA", s_source));
}

TEST_F(ScanMetaDataItem, WithTheWrongEndFailsAnAssertion)
{
    for (const T& type : {T{MDT_BEGIN_LIST, MDT_END_FUNCTOR}, Named(MDT_BEGIN_FUNCTOR, "f") + T(MDT_END_LIST)})
        EXPECT_TRUE(FailsAssertion(
            [&]
            {
                ReflectionByteCode rbc = type;
                rbc.ScanMetaDataItem();
            },
            "code.m_isKnown", s_source));
}

TEST_F(AdvanceToUnderlyingType2, TellsWhatItPassed)
{
    const T item = T{MDT_BOOL, 1};
    const struct
    {
        T m_type;
        uint32 m_passed;
        ETypeByteCode m_code;
    } rows[] = {
        {T(FT_INT32), 0, FT_INT32},
        {T(FT_VOLATILE) + T(FT_BOOL), PASSED_VOLATILE, FT_BOOL},
        {T(FT_CONST) + T(FT_BOOL), PASSED_CONST, FT_BOOL},
        {T(FT_ASSIGNABLE) + T(FT_BOOL), PASSED_ASSIGNABLE, FT_BOOL},
        {T(FT_MOVABLE) + T(FT_BOOL), PASSED_MOVABLE, FT_BOOL},
        {item + item + T(FT_BOOL), PASSED_METADATA, FT_BOOL},
        {T(FT_CONST) + item + T(FT_VOLATILE) + T(FT_FLOAT64), PASSED_CONST | PASSED_METADATA | PASSED_VOLATILE,
         FT_FLOAT64},
        {Named(FT_TYPEDEF, "handwritten::ConstInt"), PASSED_TYPEDEF | PASSED_CONST, FT_INT32},
        {Named(FT_TYPEDEF, "handwritten::Alias"), PASSED_TYPEDEF | PASSED_CONST | PASSED_VOLATILE | PASSED_METADATA,
         FT_INT32},
        {T(FT_VECTOR) + T(FT_CONST) + T(FT_INT32), 0, FT_VECTOR}, // not into the element
        {T(FT_OFFSETTABLE) + T(FT_INT32), 0, FT_OFFSETTABLE},
        {T(FT_POINTER) + T(FT_INT32), 0, FT_POINTER},
    };
    for (const auto& row : rows)
    {
        ReflectionByteCode rbc = row.m_type;
        EXPECT_EQ(rbc.AdvanceToUnderlyingType2(), row.m_passed) << ::testing::PrintToString(row.m_type);
        EXPECT_EQ(rbc.GetCode(), row.m_code) << ::testing::PrintToString(row.m_type);
    }
    EXPECT_EQ(PASSED_CONST, 2);
}

TEST_F(AdvanceToUnderlyingType2, ExchangesTheStringTableAndKeepsTheFunctionTable)
{
    const T type = Named(FT_TYPEDEF, "handwritten::Alias").AddFns(&MapFunctions<int, int>::table);
    ReflectionByteCode rbc = type;
    const PtrMapOrSetFns* fns = rbc.m_mapOrSetFns;
    rbc.AdvanceToUnderlyingType2();
    EXPECT_EQ(rbc.m_stringTable, nullptr); // that of ConstInt
    EXPECT_EQ(rbc.m_mapOrSetFns, fns);
}

TEST_F(AdvanceToUnderlyingType2, OfATypedefThatLeadsNowhereFailsAnAssertion)
{
    const auto advance = [](const T& type)
    {
        ReflectionByteCode rbc = type;
        rbc.AdvanceToUnderlyingType2();
    };
    EXPECT_TRUE(FailsAssertion([&] { advance(Named(FT_TYPEDEF, "handwritten::Nothing")); }, "r", s_source));
    EXPECT_TRUE(FailsAssertion([&] { advance(Named(FT_TYPEDEF, "handwritten::Point")); }, "r", s_source));
    EXPECT_TRUE(FailsAssertion([&] { advance(Named(FT_TYPEDEF, "handwritten::Self")); }, "typedefs <= s_maxTypedefs",
                               s_source));
    EXPECT_TRUE(FailsAssertion([&] { advance(T{MDT_LIST_1, 200}); }, "code.m_isKnown", s_source));
}

TEST_F(AdvanceToUnderlyingType2, StopsAtAnUnknownCode)
{
    for (const int code : {20, 200, 255, int(MDT_END_LIST)})
    {
        const T type{FT_CONST, code};
        ReflectionByteCode rbc = type;
        EXPECT_EQ(rbc.AdvanceToUnderlyingType2(), PASSED_CONST);
        EXPECT_EQ(rbc.GetCode(), code);
    }
}

TEST_F(GetTypeSize, OfEveryVariable)
{
    const struct
    {
        T m_type;
        ssize_t m_size;
    } rows[] = {
        {T(FT_VOID), 0},
        {T(FT_BOOL), 1},
        {T(FT_INT8), 1},
        {T(FT_INT16), 2},
        {T(FT_INT32), 4},
        {T(FT_INT64), 8},
        {T(FT_INT128), 16},
        {T(FT_UINT8), 1},
        {T(FT_UINT16), 2},
        {T(FT_UINT32), 4},
        {T(FT_UINT64), 8},
        {T(FT_UINT128), 16},
        {T(FT_FLOAT32), 4},
        {T(FT_FLOAT64), 8},
        {T(FT_CHAR8), 1},
        {T(FT_CHAR16), 2},
        {T(FT_STRING8), sizeof(xstring)},
        {T(FT_STRING16), sizeof(xstring16)},
        {Named(FT_CLASS, "handwritten::Point"), sizeof(Point)},
        {Named(FT_VARIANT, "handwritten::Choice"), sizeof(Choice)},
        {Named(FT_ENUM, "handwritten::Colour"), 4},
        {Named(FT_TYPEDEF, "handwritten::Alias"), 4},
        {T{FT_INTERFACE_POINTER, FT_INTERFACE, 0, 0}, sizeof(ptr<IObject>)},
        {T{FT_PREF, FT_VOID}, sizeof(prefbase)},
        {T{FT_CREF, FT_VOID}, sizeof(prefbase)},
        {T{FT_VECTOR, FT_INT8}, 24},
        {T{FT_DYNARRAY, FT_INT8}, 24},
        {T{FT_MAP, FT_INT8, FT_INT8}, sizeof(xmap<int8, int8>)},
        {T{FT_SET, FT_INT8}, sizeof(xset<int8>)},
        {T{FT_POINTER, FT_VOID}, 8},
        {T{FT_REFERENCE, FT_INT8}, 8},
        {T(FT_FUNCTION_PTR), 8},
        {Array(7) + T(FT_INT16), 14},
        {Array(0) + T(FT_INT16), 0},
        {Array(2) + T(FT_CONST) + Array(3) + T{MDT_BOOL, 1} + Named(FT_CLASS, "handwritten::Point"), 6 * sizeof(Point)},
        {T{MDT_BOOL, 0, FT_CONST, FT_VOLATILE, FT_ASSIGNABLE, FT_MOVABLE, FT_INT16}, 2},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.m_type.rbc().GetTypeSize(), row.m_size) << ::testing::PrintToString(row.m_type);
}

TEST_F(GetTypeSize, OfNoVariableFailsAnAssertion)
{
    const struct
    {
        T m_type;
        const char* m_condition;
    } rows[] = {
        {Named(FT_CLASS, "handwritten::Nothing"), "rc"},
        {Named(FT_VARIANT, "handwritten::Nothing"), "rv"},
        {Named(FT_VARIANT, "handwritten::Point"), "rv"}, // a class
        {Named(FT_TYPEDEF, "handwritten::Nothing"), "r"},
        {Named(FT_INTERFACE, "kelm::IObject"), "size >= 0"},
        {T(FT_FUNCTOR), "size >= 0"},
        {T(FT_NOT_REFLECTED), "size >= 0"},
        {T(FT_OPEN_VARIANT), "size >= 0"},
        {T{FT_DEQUE, FT_BOOL}, "size >= 0"},
        {T{FT_LIST, FT_BOOL}, "size >= 0"},
        {T{FT_BAG, FT_BOOL}, "size >= 0"},
        {T{FT_OFFSETTABLE, FT_BOOL}, "size >= 0"},
        {T(FT_PARAM_0), "size >= 0"},
        {T(20), "size >= 0"},
        {Array(-5) + T(FT_BOOL), "count >= 0"},
        {Array(0x7FFFFFFF) + Array(0x7FFFFFFF) + Array(0x7FFFFFFF) + T(FT_BOOL), "!arrayIsTooLarge"},
        {Array(0x7FFFFFFF) + Array(0x7FFFFFFF) + T(FT_STRING8), "!arrayIsTooLarge"},
    };
    for (const auto& row : rows)
        EXPECT_TRUE(FailsAssertion([&] { row.m_type.rbc().GetTypeSize(); }, row.m_condition, s_source))
            << ::testing::PrintToString(row.m_type);
}

TEST_F(Descriptors, AreFoundByTheNameInTheByteCode)
{
    EXPECT_EQ(Named(FT_CLASS, "handwritten::Point").rbc().GetReflectedClass(), &s_point);
    EXPECT_EQ(Named(FT_VARIANT, "handwritten::Choice").rbc().GetReflectedVariant(), &s_choice);
    EXPECT_EQ(Named(FT_ENUM, "handwritten::Colour").rbc().GetReflectedEnum(), &s_colour);
    EXPECT_EQ(Named(FT_TYPEDEF, "handwritten::Alias").rbc().GetReflectedTypedef(), &s_alias);
}

TEST_F(Descriptors, AreNullForUnknownNamesAndForOtherCodes)
{
    for (const ConstStringZ name : {"handwritten::Nothing", "", "handwritten"})
    {
        EXPECT_EQ(Named(FT_CLASS, name).rbc().GetReflectedClass(), nullptr);
        EXPECT_EQ(Named(FT_VARIANT, name).rbc().GetReflectedVariant(), nullptr);
        EXPECT_EQ(Named(FT_ENUM, name).rbc().GetReflectedEnum(), nullptr);
        EXPECT_EQ(Named(FT_TYPEDEF, name).rbc().GetReflectedTypedef(), nullptr);
    }
    const T type = Named(FT_CLASS, "handwritten::Point");
    EXPECT_EQ(type.rbc().GetReflectedVariant(), nullptr);
    EXPECT_EQ(type.rbc().GetReflectedEnum(), nullptr);
    EXPECT_EQ(type.rbc().GetReflectedTypedef(), nullptr);
    EXPECT_EQ(T(FT_INT32).rbc().GetReflectedClass(), nullptr);
}

TEST_F(Descriptors, AreIndexedBySixteenLittleEndianBits)
{
    std::vector<ConstStringZ> names(0x0203, "handwritten::Nothing");
    names[0x0201] = "handwritten::Point";
    names[0x0102] = "handwritten::Node";
    const uint8 bytes[] = {FT_CLASS, 0x01, 0x02};
    const ReflectionByteCode rbc(bytes, names.data());
    EXPECT_EQ(rbc.GetReflectedClass(), &s_point);
    EXPECT_STREQ(rbc.GetName(), "handwritten::Point");
}

TEST_F(Descriptors, OfATextThatReplacedAnotherAtTheSameAddressAreFoundByTheNewText)
{
    char name[32] = "handwritten::Point";
    const ConstStringZ names[] = {name};
    const uint8 bytes[] = {FT_CLASS, 0, 0};
    const ReflectionByteCode rbc(bytes, names);
    EXPECT_EQ(rbc.GetReflectedClass(), &s_point);
    std::strcpy(name, "handwritten::Node");
    EXPECT_EQ(rbc.GetReflectedClass(), &s_node);
    std::strcpy(name, "handwritten::Nothing");
    EXPECT_EQ(rbc.GetReflectedClass(), nullptr);
    std::strcpy(name, "handwritten::Poin");
    EXPECT_EQ(rbc.GetReflectedClass(), nullptr);
}

TEST_F(Descriptors, WithoutAStringTableOrANameFailAnAssertion)
{
    const uint8 bytes[] = {FT_CLASS, 0, 0};
    const ConstStringZ names[] = {nullptr};
    EXPECT_TRUE(
        FailsAssertion([&] { ReflectionByteCode(bytes, nullptr).GetReflectedClass(); }, "m_stringTable", s_source));
    EXPECT_TRUE(FailsAssertion([&] { ReflectionByteCode(bytes, names).GetReflectedClass(); }, "name", s_source));
}

TEST_F(ByteCode, ElementTypesAreBehindTheCodeAndItsOperand)
{
    const T vector{FT_VECTOR, FT_BOOL};
    EXPECT_EQ(vector.rbc().GetElementType().m_bc, vector.rbc().m_bc + 1);
    const T array = Array(3) + T(FT_BOOL);
    EXPECT_EQ(array.rbc().GetElementType().m_bc, array.rbc().m_bc + 5);
    EXPECT_EQ(array.rbc().GetArrayCount(), 3);
    const T qualified{FT_CONST, FT_BOOL};
    EXPECT_EQ(qualified.rbc().GetElementType().m_bc, qualified.rbc().m_bc + 1);

    // Of a map, the key; the entry of the map itself is passed.
    const T map = handwritten::Map<int8, bool>() + T(FT_INT8) + T(FT_BOOL);
    EXPECT_EQ(map.rbc().GetElementType().m_bc, map.rbc().m_bc + 1);
    EXPECT_EQ(map.rbc().GetElementType().m_mapOrSetFns, map.rbc().m_mapOrSetFns + 1);

    for (const T& type : {T(FT_INT32), Named(FT_CLASS, "handwritten::Point"), T(FT_OPEN_VARIANT)})
        EXPECT_TRUE(FailsAssertion([&] { type.rbc().GetElementType(); }, "code.m_types > 0", s_source));
}

TEST_F(ByteCode, ANegativeCountIsToldAsItIs)
{
    EXPECT_EQ((Array(-7) + T(FT_BOOL)).rbc().GetArrayCount(), -7);
}

} // namespace
} // namespace kelm
