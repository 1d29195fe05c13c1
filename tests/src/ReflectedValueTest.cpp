#include <klKelmScript/ReflectedValue.h>

#include "Operands.h"

#include <klKelmScript/KSValue.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/xvector.h>
#include <support/Script.h>

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace kelm
{
namespace
{

template <class T>
const T& Variable(const ReflectedValue& value)
{
    return *reinterpret_cast<const T*>(value.m_data.data());
}

// --- The class -------------------------------------------------------------------------------------------------------

TEST(ReflectedValue, IsAByteCodeAndABuffer)
{
    static_assert(sizeof(ReflectedValue) == 48 && std::is_standard_layout_v<ReflectedValue>);
    static_assert(offsetof(ReflectedValue, m_rbc) == 0 && offsetof(ReflectedValue, m_data) == 24);
    const ReflectedValue value;
    EXPECT_EQ(value.m_rbc.m_bc, nullptr);
    EXPECT_EQ(value.m_rbc.m_stringTable, nullptr);
    EXPECT_TRUE(value.m_data.empty());
}

TEST(ReflectedValue, CopiesAsADefaultVariableOfItsType)
{
    ReflectedValue number;
    HoldVariable(number, s_bcInt32, int32(7));
    const ReflectedValue numberCopy(number);
    EXPECT_EQ(numberCopy.m_rbc.m_bc, s_bcInt32);
    EXPECT_EQ(numberCopy.m_data.size(), 4);
    EXPECT_EQ(Variable<int32>(numberCopy), 0);
    EXPECT_EQ(Variable<int32>(number), 7);
    EXPECT_TRUE(numberCopy != number);

    ReflectedValue text;
    HoldVariable(text, s_bcString8, xstring("a text that is too long to lie inside its string"));
    const ReflectedValue textCopy(text);
    EXPECT_EQ(Variable<xstring>(textCopy), "");
    EXPECT_TRUE(textCopy != text);
}

TEST(ReflectedValue, CopiesEqualToItsSourceWhereThatIsADefaultVariable)
{
    ReflectedValue zero;
    HoldVariable(zero, s_bcInt32, int32(0));
    EXPECT_TRUE(ReflectedValue(zero) == zero);
    EXPECT_TRUE(ReflectedValue(ReflectedValue()) == ReflectedValue());
}

TEST(ReflectedValue, CopiesItsThreePointers)
{
    static constexpr ConstStringZ s_names[] = {"unused", nullptr};
    const PtrMapOrSetFns fns = {};
    ReflectedValue value;
    HoldVariable(value, s_bcInt64, int64(5), s_names);
    value.m_rbc.m_mapOrSetFns = &fns;
    const ReflectedValue copy(value);
    EXPECT_EQ(copy.m_rbc.m_bc, s_bcInt64);
    EXPECT_EQ(copy.m_rbc.m_stringTable, s_names);
    EXPECT_EQ(copy.m_rbc.m_mapOrSetFns, &fns);
}

TEST(ReflectedValue, IsAssignedThroughACopy)
{
    ReflectedValue seven;
    HoldVariable(seven, s_bcInt32, int32(7));
    ReflectedValue text;
    HoldVariable(text, s_bcString8, xstring("a text that is too long to lie inside its string"));
    EXPECT_EQ(&(text = seven), &text);
    EXPECT_EQ(text.m_rbc.m_bc, s_bcInt32);
    EXPECT_EQ(Variable<int32>(text), 0);

    text = ReflectedValue();
    EXPECT_EQ(text.m_rbc.m_bc, nullptr);
    EXPECT_TRUE(text.m_data.empty());
}

TEST(ReflectedValue, AssignedToItselfGoesThroughACopyToo)
{
    ReflectedValue seven;
    HoldVariable(seven, s_bcInt32, int32(7));
    const ReflectedValue& self = seven;
    seven = self;
    EXPECT_EQ(Variable<int32>(seven), 0);
}

TEST(ReflectedValue, SwapsWithoutCopying)
{
    ReflectedValue seven;
    HoldVariable(seven, s_bcInt32, int32(7));
    ReflectedValue empty;
    seven.swap(empty);
    EXPECT_EQ(Variable<int32>(empty), 7);
    EXPECT_EQ(empty.m_rbc.m_bc, s_bcInt32);
    EXPECT_EQ(seven.m_rbc.m_bc, nullptr);
    EXPECT_TRUE(seven.m_data.empty());
    empty.swap(empty);
    EXPECT_EQ(Variable<int32>(empty), 7);
}

TEST(ReflectedValue, IsComparedByTheReflectionLayer)
{
    ReflectedValue three, four, alsoFour;
    HoldVariable(three, s_bcInt32, int32(3));
    HoldVariable(four, s_bcInt32, int32(4));
    HoldVariable(alsoFour, s_bcInt32, int32(4));
    EXPECT_TRUE(three < four && three <= four && three != four && !(three == four) && !(three > four) &&
                !(three >= four));
    EXPECT_TRUE(four > three && four >= three && !(four < three) && !(four <= three));
    EXPECT_TRUE(four == alsoFour && four <= alsoFour && four >= alsoFour && !(four != alsoFour) && !(four < alsoFour) &&
                !(four > alsoFour));
    EXPECT_TRUE(ReflectedValue() == ReflectedValue());
    EXPECT_FALSE(ReflectedValue() < ReflectedValue());
    EXPECT_TRUE(ReflectedValue() < three);
    EXPECT_FALSE(three == ReflectedValue());
}

TEST(ReflectedValue, WithABufferOfANegativeSizeCannotBeCopied)
{
    // A corrupt buffer, whose size is its second word.
    alignas(ReflectedValue) unsigned char bytes[sizeof(ReflectedValue)] = {};
    const ssize_t size = -4;
    std::memcpy(bytes + 24 + 8, &size, sizeof size);
    const auto& corrupt = *reinterpret_cast<const ReflectedValue*>(bytes);
    EXPECT_TRUE(FailsAssertion([&] { const ReflectedValue copy(corrupt); }, "newSize >= 0", "host/klUtils/xvector"));
}

// --- The descriptors -------------------------------------------------------------------------------------------------

const ReflectedVariant& VariantOfValues()
{
    return _GetReflected(static_cast<const KSValue*>(nullptr));
}
const ReflectedClass& ClassOfReflectedValues()
{
    return _GetReflected(static_cast<const ReflectedValue*>(nullptr));
}

TEST(VariantDescriptor, IsAsPublished)
{
    const ReflectedVariant& variant = VariantOfValues();
    EXPECT_STREQ(variant.m_name, "kelm::KSValue");
    EXPECT_EQ(variant.m_size, 52);
    EXPECT_EQ(variant.m_metaData, nullptr);
    EXPECT_EQ(variant.m_ops, _GetTypeOps(static_cast<const KSValue*>(nullptr)));
    EXPECT_STREQ(variant.m_stringTable[0], "kelm::ReflectedValue");
    EXPECT_EQ(variant.m_stringTable[1], nullptr);

    const struct
    {
        const char* m_name;
        std::vector<uint8> m_byteCode;
    } alternatives[] = {{"void", {0}},           {"bool", {1}},           {"kelm::int64", {5}},
                        {"kelm::float64", {13}}, {"kelm::string8", {16}}, {"kelm::ReflectedValue", {32, 0, 0}}};
    ASSERT_EQ(variant.m_numFields, 6);
    for (std::size_t i = 0; i < 6; ++i)
    {
        const ReflectedField& field = variant.m_fields[i];
        EXPECT_STREQ(field.m_name, alternatives[i].m_name);
        EXPECT_EQ(field.m_offset, 4);
        const std::vector<uint8>& expected = alternatives[i].m_byteCode;
        EXPECT_EQ(std::vector<uint8>(field.m_bc, field.m_bc + expected.size()), expected);
    }
}

TEST(VariantDescriptor, HasItsTypeOperations)
{
    const TypeOps& ops = *VariantOfValues().m_ops;
    EXPECT_EQ(ops.m_size, 52);
    // The very functions that are named here, outside the library.
    EXPECT_EQ(ops.m_equalsFn, &VariableEqual<KSValue>);
    EXPECT_EQ(ops.m_lessFn, &VariableLess<KSValue>);
    EXPECT_EQ(ops.m_PrintVariableFn, &PrintVariable<KSValue>);
    EXPECT_EQ(ops.m_ConstructArrayFn, &ConstructArray<KSValue>);
    EXPECT_EQ(ops.m_CopyConstructArrayFn, &CopyConstructArray<KSValue>);
    EXPECT_EQ(ops.m_AssignArrayFn, &AssignArray<KSValue>);
    EXPECT_EQ(ops.m_DestructArrayFn, &DestructArray<KSValue>);
    EXPECT_EQ(ops.m_LowerBoundFn, &BinaryLowerBound<KSValue>);
    EXPECT_EQ(ops.m_UpperBoundFn, &BinaryUpperBound<KSValue>);
    EXPECT_EQ(ops.m_SerialiseArrayFn, nullptr);
    EXPECT_EQ(ops.m_DeserialiseArrayFn, nullptr);
    EXPECT_EQ(ops.m_VisitObjectsInArrayFn, nullptr);
    EXPECT_EQ(ops.m_VisitPrefsInArrayFn, nullptr);
    EXPECT_EQ(ops.m_ConstructVariableFromSelfFn, nullptr);
    EXPECT_EQ(ops.m_ConstructSelfFromVariableFn, nullptr);
    EXPECT_EQ(ops.m_AssignVariableFromSelfFn, nullptr);
    EXPECT_EQ(ops.m_AssignSelfFromVariableFn, nullptr);
}

TEST(ClassDescriptor, IsOpaque)
{
    const ReflectedClass& rc = ClassOfReflectedValues();
    EXPECT_EQ(rc.m_flags, 0U);
    EXPECT_STREQ(rc.m_name, "kelm::ReflectedValue");
    EXPECT_EQ(rc.m_size, 48);
    EXPECT_EQ(rc.m_metaData, nullptr);
    EXPECT_EQ(rc.m_fields, nullptr);
    EXPECT_EQ(rc.m_numFields, 0);
    EXPECT_EQ(rc.m_modelFields, nullptr);
    EXPECT_EQ(rc.m_numModelFields, 0);
    EXPECT_EQ(rc.m_dependentFields, nullptr);
    EXPECT_EQ(rc.m_numDependentFields, 0);
    EXPECT_EQ(rc.m_methods, nullptr);
    EXPECT_EQ(rc.m_numMethods, 0);
    EXPECT_EQ(rc.m_stringTable, nullptr);
    EXPECT_EQ(rc.m_interfaces, nullptr);
    EXPECT_EQ(rc.m_numInterfaces, 0);
    EXPECT_EQ(rc.m_objectFns, nullptr);
    EXPECT_EQ(rc.m_createFn, nullptr);
    EXPECT_EQ(rc.m_ops, _GetTypeOps(static_cast<const ReflectedValue*>(nullptr)));
}

TEST(ClassDescriptor, HasTheArrayOperationsAlone)
{
    const TypeOps& ops = *ClassOfReflectedValues().m_ops;
    EXPECT_EQ(ops.m_size, 48);
    EXPECT_EQ(ops.m_ConstructArrayFn, &ConstructArray<ReflectedValue>);
    EXPECT_EQ(ops.m_CopyConstructArrayFn, &CopyConstructArray<ReflectedValue>);
    EXPECT_EQ(ops.m_AssignArrayFn, &AssignArray<ReflectedValue>);
    EXPECT_EQ(ops.m_DestructArrayFn, &DestructArray<ReflectedValue>);
    EXPECT_EQ(ops.m_equalsFn, nullptr);
    EXPECT_EQ(ops.m_lessFn, nullptr);
    EXPECT_EQ(ops.m_PrintVariableFn, nullptr);
    EXPECT_EQ(ops.m_SerialiseArrayFn, nullptr);
    EXPECT_EQ(ops.m_DeserialiseArrayFn, nullptr);
    EXPECT_EQ(ops.m_VisitObjectsInArrayFn, nullptr);
    EXPECT_EQ(ops.m_VisitPrefsInArrayFn, nullptr);
    EXPECT_EQ(ops.m_LowerBoundFn, nullptr);
    EXPECT_EQ(ops.m_UpperBoundFn, nullptr);
    EXPECT_EQ(ops.m_ConstructVariableFromSelfFn, nullptr);
    EXPECT_EQ(ops.m_ConstructSelfFromVariableFn, nullptr);
    EXPECT_EQ(ops.m_AssignVariableFromSelfFn, nullptr);
    EXPECT_EQ(ops.m_AssignSelfFromVariableFn, nullptr);
}

// --- Operations on arrays of values ----------------------------------------------------------------------------------

// Raw memory for three values at a stride, filled with a byte that a missing write would show.
class RawArray
{
public:
    explicit RawArray(ssize_t stride) : m_stride(stride), m_bytes(static_cast<std::size_t>(3 * stride), s_filler) {}

    void* Data() { return m_bytes.data(); }
    KSValue& operator[](ssize_t i) { return *reinterpret_cast<KSValue*>(m_bytes.data() + i * m_stride); }
    bool IsFillerAt(ssize_t offset) const { return m_bytes[static_cast<std::size_t>(offset)] == s_filler; }
    bool IsFiller() const
    {
        for (std::size_t i = 0; i < m_bytes.size(); ++i)
            if (!IsFillerAt(static_cast<ssize_t>(i)))
                return false;
        return true;
    }

    const ssize_t m_stride;

private:
    static constexpr unsigned char s_filler = 0xA5;

    std::vector<unsigned char> m_bytes;
};

const TypeOps& Ops()
{
    return *VariantOfValues().m_ops;
}

TEST(ArraysOfValues, AreConstructedVoidAtAnyStride)
{
    for (const ssize_t stride : {52, 64, 104})
    {
        RawArray array(stride);
        Ops().m_ConstructArrayFn(array.Data(), stride, 3);
        for (ssize_t i = 0; i < 3; ++i)
        {
            EXPECT_TRUE(array[i].is<void>());
            for (ssize_t gap = 52; gap < stride; ++gap)
                EXPECT_TRUE(array.IsFillerAt(i * stride + gap));
        }
        Ops().m_DestructArrayFn(array.Data(), stride, 3);
    }
}

TEST(ArraysOfValues, AreNotTouchedWithACountBelowOne)
{
    const KSValue source[] = {I(1), I(2), I(3)};
    for (const ssize_t count : {ssize_t(0), ssize_t(-1), std::numeric_limits<ssize_t>::min()})
    {
        RawArray array(52);
        Ops().m_ConstructArrayFn(array.Data(), 52, count);
        Ops().m_CopyConstructArrayFn(array.Data(), 52, source, 52, count);
        Ops().m_AssignArrayFn(array.Data(), 52, source, 52, count);
        Ops().m_DestructArrayFn(array.Data(), 52, count);
        EXPECT_TRUE(array.IsFiller()) << count;
    }
}

TEST(ArraysOfValues, PassOverANullAddressWhileTheyAreConstructed)
{
    const KSValue source = S("abc");
    Ops().m_ConstructArrayFn(nullptr, 0, 3);
    Ops().m_CopyConstructArrayFn(nullptr, 0, &source, 0, 3);
    EXPECT_EQ(KindAndValue(source), "string abc");
}

TEST(ArraysOfValues, AreCopiedAssignedAndDestroyedElementByElement)
{
    const std::string longText = "a text that is too long to lie inside its string";
    KSValue source[] = {S(longText), V(), I(3)};
    RawArray array(60);
    Ops().m_CopyConstructArrayFn(array.Data(), 60, source, 52, 3);
    EXPECT_EQ(KindAndValue(array[0]), "string " + longText);
    EXPECT_EQ(KindAndValue(array[1]), "void");
    EXPECT_EQ(KindAndValue(array[2]), "int64 3");
    EXPECT_NE(array[0].as<string8>().c_str(), source[0].as<string8>().c_str());

    source[0] = B(true);
    source[1] = S(longText);
    Ops().m_AssignArrayFn(array.Data(), 60, source, 52, 2);
    EXPECT_EQ(KindAndValue(array[0]), "bool true");
    EXPECT_EQ(KindAndValue(array[1]), "string " + longText);
    EXPECT_EQ(KindAndValue(array[2]), "int64 3");

    // The same element for all, by a stride of nothing.
    Ops().m_AssignArrayFn(array.Data(), 60, &source[1], 0, 3);
    for (ssize_t i = 0; i < 3; ++i)
        EXPECT_EQ(KindAndValue(array[i]), "string " + longText);
    Ops().m_DestructArrayFn(array.Data(), 60, 3); // a leak otherwise
}

TEST(ArraysOfValues, OfReflectedValuesAreCopiedAsDefaultVariables)
{
    const TypeOps& ops = *ClassOfReflectedValues().m_ops;
    alignas(ReflectedValue) unsigned char bytes[2 * 64];
    auto* const first = reinterpret_cast<ReflectedValue*>(bytes);
    auto* const second = reinterpret_cast<ReflectedValue*>(bytes + 64);
    ops.m_ConstructArrayFn(bytes, 64, 2);
    EXPECT_EQ(second->m_rbc.m_bc, nullptr);
    EXPECT_TRUE(second->m_data.empty());
    HoldVariable(*first, s_bcInt32, int32(7));
    HoldVariable(*second, s_bcString8, xstring("a text that is too long to lie inside its string"));

    alignas(ReflectedValue) unsigned char copies[2 * 48];
    auto* const copyOfFirst = reinterpret_cast<ReflectedValue*>(copies);
    ops.m_CopyConstructArrayFn(copies, 48, bytes, 64, 2);
    EXPECT_EQ(copyOfFirst->m_rbc.m_bc, s_bcInt32);
    EXPECT_EQ(Variable<int32>(*copyOfFirst), 0);
    ops.m_AssignArrayFn(copies, 48, second, 0, 1);
    EXPECT_EQ(Variable<xstring>(*copyOfFirst), "");
    ops.m_DestructArrayFn(copies, 48, 2);
    ops.m_DestructArrayFn(bytes, 64, 2);
}

TEST(ArraysOfValues, AreComparedAndPrintedAsTheValuesThemselves)
{
    for (const KSValue& a : {V(), B(true), I(1), F(1.0), S("a")})
        for (const KSValue& b : {V(), B(true), I(1), F(1.0), S("a"), F(std::numeric_limits<double>::quiet_NaN())})
        {
            EXPECT_EQ(Ops().m_equalsFn(&a, &b), a == b);
            EXPECT_EQ(Ops().m_lessFn(&a, &b), a < b);
            StringStream os(4096);
            Ops().m_PrintVariableFn(os, &a);
            EXPECT_EQ(ToStdString(os.GetString()), WrittenText(a));
        }
}

// --- Searching sorted arrays -----------------------------------------------------------------------------------------

TEST(BoundSearches, FindTheFirstAndTheLastPlaceOfAKey)
{
    const KSValue sorted[] = {V(), B(false), I(1), I(1), F(2.5), S("a")};
    const struct
    {
        KSValue m_key;
        ssize_t m_lower, m_upper;
    } rows[] = {
        {V(), 0, 1},       {B(false), 1, 2},
        {B(true), 2, 2},   {I(0), 2, 2},
        {I(1), 2, 4},      {I(2), 4, 4},
        {F(-1e300), 4, 4}, {F(1.0), 4, 4},
        {F(2.5), 4, 5},    {F(3.0), 5, 5},
        {S(""), 5, 5},     {S("a"), 5, 6},
        {S("b"), 6, 6},    {KSValue(ReflectedValue()), 6, 6},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Ops().m_LowerBoundFn(sorted, 52, 6, &row.m_key), row.m_lower) << KindAndValue(row.m_key);
        EXPECT_EQ(Ops().m_UpperBoundFn(sorted, 52, 6, &row.m_key), row.m_upper) << KindAndValue(row.m_key);
        // Every second element: void, int64 1, float64 2.5.
        const std::vector<KSValue> everySecond = {sorted[0], sorted[2], sorted[4]};
        EXPECT_EQ(Ops().m_LowerBoundFn(sorted, 104, 3, &row.m_key),
                  Ops().m_LowerBoundFn(everySecond.data(), 52, 3, &row.m_key));
        EXPECT_EQ(Ops().m_LowerBoundFn(sorted, 52, 0, &row.m_key), 0);
        EXPECT_EQ(Ops().m_UpperBoundFn(sorted, 52, 0, &row.m_key), 0);
    }
}

TEST(BoundSearches, AgreeWithACountForEverySizeAndKey)
{
    std::vector<KSValue> sorted;
    for (int64 size = 0; size <= 33; ++size)
    {
        for (int64 key = -1; key <= size / 2 + 1; ++key)
        {
            ssize_t lower = 0, upper = 0;
            for (const KSValue& element : sorted)
            {
                lower += element.as<int64>() < key;
                upper += element.as<int64>() <= key;
            }
            const KSValue keyValue(key);
            EXPECT_EQ(Ops().m_LowerBoundFn(sorted.data(), 52, size, &keyValue), lower) << size << " " << key;
            EXPECT_EQ(Ops().m_UpperBoundFn(sorted.data(), 52, size, &keyValue), upper) << size << " " << key;
        }
        sorted.push_back(I(size / 2));
    }
}

TEST(BoundSearches, FailAnAssertionForANegativeSize)
{
    const KSValue key = I(1);
    EXPECT_TRUE(
        FailsAssertion([&] { Ops().m_LowerBoundFn(&key, 52, -1, &key); }, "lo == hi", "host/klObject/types/TypeOps"));
    EXPECT_TRUE(
        FailsAssertion([&] { Ops().m_UpperBoundFn(&key, 52, -1, &key); }, "lo == hi", "host/klObject/types/TypeOps"));
}

} // namespace
} // namespace kelm
