#include <host/klObject/HandWrittenTypes.h>

#include <klObject/values/ReflectedVariable.h>

#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Expect.h>
#include <support/NoMoreMemory.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

using namespace handwritten;

__extension__ typedef __int128 Int128;
__extension__ typedef unsigned __int128 UInt128;

constexpr const char* s_source = "host/klObject/values/ReflectedVariable";
constexpr const char* s_compareSource = "host/klObject/values/CompareReflectedVariable";

// A text that does not fit into the three words of a string.
constexpr const char* s_longText = "a text that is longer than three words";

class ReflectedVariables : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { RegisterTypes(); }
    void SetUp() override
    {
        Counted::s_live = 0;
        Counted::s_failAt = -1;
    }
    void TearDown() override { Counted::s_failAt = -1; }
};
using Construction = ReflectedVariables;
using Destruction = ReflectedVariables;
using Comparison = ReflectedVariables;
using PushBack = ReflectedVariables;

const T s_nodeType = Named(FT_CLASS, "handwritten::Node");
const T s_countedType = Named(FT_CLASS, "handwritten::Counted");
const T s_mixedType = Named(FT_CLASS, "handwritten::Mixed");
const T s_choiceType = Named(FT_VARIANT, "handwritten::Choice");

// One of each constructible type.
std::vector<T> ConstructibleTypes()
{
    std::vector<T> types;
    for (int code = FT_VOID; code <= FT_STRING16; ++code)
        types.push_back(T(code));
    for (const T& type :
         {Named(FT_CLASS, "handwritten::Point"), Named(FT_CLASS, "handwritten::Tagged"), s_nodeType,
          Named(FT_CLASS, "handwritten::Table"), Named(FT_CLASS, "handwritten::Empty"), s_countedType, s_mixedType,
          Named(FT_VARIANT, "handwritten::CountedFirst"), s_choiceType, Named(FT_ENUM, "handwritten::Colour"),
          Named(FT_TYPEDEF, "handwritten::Alias"), T{FT_INTERFACE_POINTER, FT_VOID}, T{FT_PREF, FT_VOID},
          T{FT_CREF, FT_VOID}, T{FT_CONST, FT_VOLATILE, FT_ASSIGNABLE, FT_MOVABLE, MDT_BOOL, 1, FT_STRING8}})
        types.push_back(type);
    types.push_back(Map<xstring, xvector<int32>>() + T{FT_STRING8, FT_VECTOR, FT_INT32});
    types.push_back(Set<xstring>() + T(FT_STRING8));
    const std::size_t simple = types.size();
    for (std::size_t i = 0; i < simple; ++i)
    {
        types.push_back(T(FT_VECTOR) + types[i]);
        types.push_back(T(FT_DYNARRAY) + types[i]);
        types.push_back(Array(3) + types[i]);
        types.push_back(Array(2) + T(FT_CONST) + Array(2) + types[i]);
        types.push_back(Array(0) + types[i]);
    }
    return types;
}

TEST_F(Construction, GivesEveryTypeItsDefaultAndDestructionTakesItBack)
{
    for (const T& type : ConstructibleTypes())
    {
        Variable a(type);
        Variable b(type);
        EXPECT_TRUE(Eq(a, b)) << ::testing::PrintToString(type);
        EXPECT_FALSE(Lt(a, b)) << ::testing::PrintToString(type);
    }
    EXPECT_EQ(Counted::s_live, 0);
}

TEST_F(Construction, DoesNotLookAtWhatTheStorageHeld)
{
    for (const int code : {FT_INT32, FT_INT128, FT_STRING8, FT_STRING16})
    {
        alignas(16) char bytes[32];
        std::memset(bytes, 0x5A, sizeof bytes);
        ConstructReflectedVariable(T(code), bytes);
        for (ssize_t i = 0; i < T(code).rbc().GetTypeSize(); ++i)
            EXPECT_EQ(bytes[i], 0);
    }
    alignas(8) char bytes[sizeof(Tagged)];
    std::memset(bytes, 0x5A, sizeof bytes);
    const T type = Named(FT_CLASS, "handwritten::Tagged");
    ConstructReflectedVariable(type, bytes);
    EXPECT_EQ(reinterpret_cast<Tagged*>(bytes)->m_point.m_x, 0);
    EXPECT_EQ(reinterpret_cast<Tagged*>(bytes)->m_point.m_gone, 0);
    EXPECT_EQ(reinterpret_cast<Tagged*>(bytes)->m_tag, "");
    DestructReflectedVariable(type, bytes);
}

TEST_F(Construction, PrefersTheTypesOwnOperations)
{
    Variable counted(s_countedType);
    EXPECT_EQ(counted.as<Counted>().m_value, 42);
    EXPECT_EQ(Counted::s_live, 1);
    Variable mixed(s_mixedType);
    EXPECT_EQ(mixed.as<Mixed>().m_counted.m_value, 42);
    EXPECT_EQ(Counted::s_live, 2);
    Variable array(Array(5) + s_countedType);
    EXPECT_EQ(Counted::s_live, 7);
}

TEST_F(Construction, OfAVariantHoldsItsFirstAlternative)
{
    Variable choice(s_choiceType);
    EXPECT_EQ(choice.as<Choice>().m_index, 0);
    EXPECT_EQ(Counted::s_live, 0);
    Variable countedFirst(Named(FT_VARIANT, "handwritten::CountedFirst"));
    EXPECT_EQ(Counted::s_live, 1);
    EXPECT_EQ(reinterpret_cast<Counted*>(countedFirst.as<Choice>().m_value)->m_value, 42);
}

TEST_F(Construction, IsTakenBackWhereNoSegmentIsToBeHad)
{
    if (!NoMoreMemory::CanBe())
        GTEST_SKIP() << "memory cannot run out here";
    static constexpr uint8 s_code[] = {FT_VECTOR, FT_STRING8};
    xvector<xstring> texts;
    for (int i = 0; i < 3; ++i)
        texts.push_back(xstring("a text that is too long to lie in its own variable"));
    RunOnThread(s_smallStack,
                [&]
                {
                    EXPECT_TRUE(IsStackLow());
                    const NoMoreMemory none;
                    DestructReflectedVariable({s_code, nullptr}, &texts);
                });
    ::new (static_cast<void*>(&texts)) xvector<xstring>; // which is destroyed once more
}

TEST_F(Construction, OfANullByteCodeDoesNothing)
{
    char byte = 'x';
    ConstructReflectedVariable(ReflectionByteCode(), &byte);
    DestructReflectedVariable(ReflectionByteCode(), &byte);
    DestructReflectedVariable(ReflectionByteCode(), nullptr);
    EXPECT_EQ(byte, 'x');
}

TEST_F(Construction, ThatFailsLeavesNothingConstructed)
{
    const T types[] = {Array(6) + s_mixedType, Array(2) + Array(3) + s_countedType,
                       Array(6) + Named(FT_VARIANT, "handwritten::CountedFirst")};
    for (const T& type : types)
        for (int failAt = 0; failAt < 6; ++failAt)
        {
            std::vector<char> bytes(static_cast<std::size_t>(type.rbc().GetTypeSize()));
            Counted::s_failAt = failAt;
            EXPECT_THROW(ConstructReflectedVariable(type, bytes.data()), std::bad_alloc);
            EXPECT_EQ(Counted::s_live, 0) << ::testing::PrintToString(type) << failAt;
        }
}

// Types that nothing can hold, with the assertion that construction and destruction fail.
struct Impossible
{
    T m_type;
    const char* m_condition;
    const char* m_source;
};

std::vector<Impossible> ImpossibleTypes()
{
    std::vector<Impossible> rows = {
        {Named(FT_CLASS, "handwritten::Nothing"), "rc", s_source},
        {Named(FT_VARIANT, "handwritten::Nothing"), "rv", s_source},
        {Named(FT_TYPEDEF, "handwritten::Nothing"), "r", "host/klObject/types/ReflectionByteCode"},
        {T{FT_MAP, FT_INT32, FT_INT32}, "rbc.m_mapOrSetFns", s_source},
        {T{FT_SET, FT_INT32}, "rbc.m_mapOrSetFns", s_source},
        {T(FT_MAP).AddFns(static_cast<const MapFns*>(nullptr)) + T{FT_INT32, FT_INT32}, "rbc.m_mapOrSetFns->mapFns",
         s_source},
        {T(FT_SET).AddFns(static_cast<const SetFns*>(nullptr)) + T(FT_INT32), "rbc.m_mapOrSetFns->setFns", s_source},
        {Named(FT_CLASS, "handwritten::Tableless"), "rbc.m_mapOrSetFns", s_source},
        {Array(-1) + T(FT_INT32), "arraySize >= 0", s_source},
        {Array(0x7FFFFFFF) + Array(0x7FFFFFFF) + Array(0x7FFFFFFF) + T(FT_VOID), "!arrayIsTooLarge", s_source},
        {T(99) + T(200), "code.m_kind != VK_NONE", s_source},
        {T(200), "code.m_kind != VK_NONE", s_source},
    };
    for (const T& type :
         {Named(FT_INTERFACE, "kelm::IObject"), T(FT_FUNCTOR), T(FT_FUNCTION_PTR), T(FT_NOT_REFLECTED),
          T{FT_OFFSETTABLE, FT_INT32}, T{FT_POINTER, FT_INT32}, T{FT_REFERENCE, FT_INT32}, T(FT_OPEN_VARIANT),
          T{FT_DEQUE, FT_INT32}, T{FT_LIST, FT_INT32}, T{FT_BAG, FT_INT32}, T(FT_PARAM_0), T(FT_PARAM_5)})
        rows.push_back({type, "code.m_kind != VK_NONE", s_source});
    return rows;
}

TEST_F(Construction, OfWhatCannotBeAVariableFailsAnAssertion)
{
    for (const Impossible& row : ImpossibleTypes())
    {
        alignas(16) char bytes[64] = {};
        EXPECT_TRUE(
            FailsAssertion([&] { ConstructReflectedVariable(row.m_type, bytes); }, row.m_condition, row.m_source))
            << ::testing::PrintToString(row.m_type);
        EXPECT_TRUE(
            FailsAssertion([&] { DestructReflectedVariable(row.m_type, bytes); }, row.m_condition, row.m_source))
            << ::testing::PrintToString(row.m_type);
    }
}

TEST_F(Destruction, ReachesEverythingThatAVariableHolds)
{
    // Leaks are what the leak checker would tell; what is counted here are the elements.
    Variable vector(T(FT_VECTOR) + s_mixedType);
    for (int i = 0; i < 5; ++i)
    {
        auto& mixed =
            *static_cast<Mixed*>(PushBackDefaultConstructedElementOntoReflectedVector(s_mixedType, vector.data()));
        mixed.m_first = s_longText;
        mixed.m_last = s_longText;
    }
    EXPECT_EQ(Counted::s_live, 5);
    {
        const Variable gone = std::move(vector);
    }
    EXPECT_EQ(Counted::s_live, 0);
}

TEST_F(Destruction, OfAVariantIsThatOfItsAlternative)
{
    Variable choice(s_choiceType);
    choice.as<Choice>().m_index = 1;
    ::new (choice.as<Choice>().m_value) xstring(s_longText);
    Variable other(s_choiceType);
    other.as<Choice>().m_index = 2;
    ::new (other.as<Choice>().m_value) Counted();
    EXPECT_EQ(Counted::s_live, 1);
    {
        const Variable gone = std::move(other);
    }
    EXPECT_EQ(Counted::s_live, 0);
}

TEST_F(Destruction, OfAVariantOfNoAlternativeFailsAnAssertion)
{
    for (const int32 index : {-1, 3, 1000000})
    {
        Choice choice = {index, {}};
        EXPECT_TRUE(FailsAssertion([&] { DestructReflectedVariable(s_choiceType, &choice); },
                                   "0 <= index && index < rv.m_numFields", s_source));
    }
}

TEST_F(Destruction, OfAVectorOfNoWholeElementsFailsAnAssertion)
{
    VectorOfByte vector;
    vector.resize(30);
    EXPECT_TRUE(FailsAssertion(
        [&] {
            DestructReflectedVariable(T{FT_VECTOR, FT_STRING8}, &vector);
        },
        "vector.size() % elementSize == 0", s_source));
}

// A chain of nodes, each the only child of the one before.
Variable MakeChain(int length, int32 lastValue)
{
    Variable chain(s_nodeType);
    Node* node = &chain.as<Node>();
    for (int i = 0; i < length; ++i)
        node = static_cast<Node*>(PushBackDefaultConstructedElementOntoReflectedVector(s_nodeType, &node->m_children));
    node->m_value = lastValue;
    return chain;
}

TEST_F(ReflectedVariables, OfAnyDepthAreComparedAndDestroyed)
{
    // On a thread with a small stack, where ordinary recursion would soon end.
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 1 << 20), 0);
    const auto run = [](void*) -> void*
    {
        Variable a = MakeChain(s_nesting / 50, 1);
        Variable b = MakeChain(s_nesting / 50, 2);
        Variable c = MakeChain(s_nesting / 50, 1);
        EXPECT_TRUE(Eq(a, c));
        EXPECT_FALSE(Eq(a, b));
        EXPECT_TRUE(Lt(a, b));
        EXPECT_FALSE(Lt(b, a));
        EXPECT_FALSE(Lt(a, c));
        return nullptr;
    };
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, &attributes, run, nullptr), 0);
    EXPECT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(pthread_attr_destroy(&attributes), 0);
}

TEST_F(ReflectedVariables, OfDeeplyNestedArraysAreConstructedComparedAndDestroyed)
{
    T type = T(FT_STRING8);
    for (int i = 0; i < 10'000; ++i)
        type = Array(1) + type;
    Variable a(type);
    Variable b(type);
    EXPECT_EQ(a.size(), static_cast<ssize_t>(sizeof(xstring)));
    b.as<xstring>() = s_longText;
    EXPECT_TRUE(Lt(a, b));
}

// ---- Comparison

// Variables of one type in strictly rising order.
void ExpectRisingOrder(std::vector<Variable>& variables)
{
    for (std::size_t i = 0; i < variables.size(); ++i)
        for (std::size_t j = 0; j < variables.size(); ++j)
        {
            EXPECT_EQ(Eq(variables[i], variables[j]), i == j)
                << ::testing::PrintToString(variables[i].type()) << i << " " << j;
            EXPECT_EQ(Lt(variables[i], variables[j]), i < j)
                << ::testing::PrintToString(variables[i].type()) << i << " " << j;
        }
}

template <class V>
void ExpectValuesRise(const T& type, std::initializer_list<V> values)
{
    std::vector<Variable> variables;
    for (const V& value : values)
    {
        variables.emplace_back(type);
        ASSERT_EQ(variables.back().size(), static_cast<ssize_t>(sizeof(V)));
        variables.back().as<V>() = value;
    }
    ExpectRisingOrder(variables);
}

TEST_F(Comparison, OfScalarsIsThatOfTheirValues)
{
    ExpectValuesRise<uint8>(T(FT_BOOL), {0, 1});
    ExpectValuesRise<int8>(T(FT_INT8), {-128, -1, 0, 1, 127});
    ExpectValuesRise<int16>(T(FT_INT16), {-32768, -1, 0, 255, 256, 32767});
    ExpectValuesRise<int32>(T(FT_INT32), {-2147483647, -1, 0, 65535, 65536});
    ExpectValuesRise<int64>(T(FT_INT64), {std::numeric_limits<int64>::min(), -1, 0, 1, int64(1) << 40});
    ExpectValuesRise<Int128>(T(FT_INT128), {-(Int128(1) << 100), -1, 0, 1, Int128(1) << 64, Int128(1) << 100});
    ExpectValuesRise<uint8>(T(FT_UINT8), {0, 1, 128, 255});
    ExpectValuesRise<uint16>(T(FT_UINT16), {0, 255, 256, 65535});
    ExpectValuesRise<uint32>(T(FT_UINT32), {0, 1, 0x80000000, 0xFFFFFFFF});
    ExpectValuesRise<uint64>(T(FT_UINT64), {0, 1, uint64(1) << 63, ~uint64(0)});
    ExpectValuesRise<UInt128>(T(FT_UINT128), {0, 1, UInt128(1) << 64, UInt128(1) << 127});
    ExpectValuesRise<float32>(T(FT_FLOAT32), {-1e30f, -0.5f, 0.0f, 0.5f, std::numeric_limits<float32>::infinity()});
    ExpectValuesRise<float64>(T(FT_FLOAT64), {-std::numeric_limits<float64>::infinity(), -0.5, 0.0, 1e-300, 1e300});
    ExpectValuesRise<char>(T(FT_CHAR8), {'\x80', '\xFF', '\0', 'a', '\x7F'}); // a signed character
    ExpectValuesRise<uint16>(T(FT_CHAR16), {0, 'a', 0x8000, 0xFFFF});
    ExpectValuesRise<int32>(Named(FT_ENUM, "handwritten::Colour"), {-3, 1, 5, 99});
    ExpectValuesRise<int32>(Named(FT_TYPEDEF, "handwritten::Alias"), {-3, 1, 5});
}

TEST_F(Comparison, OfFloatsFollowsTheirOperators)
{
    Variable nan{T(FT_FLOAT64)};
    nan.as<float64>() = std::numeric_limits<float64>::quiet_NaN();
    Variable one{T(FT_FLOAT64)};
    one.as<float64>() = 1;
    EXPECT_FALSE(Eq(nan, nan));
    EXPECT_FALSE(Lt(nan, nan) || Lt(nan, one) || Lt(one, nan));
    Variable zero{T(FT_FLOAT64)};
    Variable minusZero{T(FT_FLOAT64)};
    minusZero.as<float64>() = -0.0;
    EXPECT_TRUE(Eq(zero, minusZero));
    EXPECT_FALSE(Lt(zero, minusZero) || Lt(minusZero, zero));
}

TEST_F(Comparison, OfStringsIsByUnsignedUnits)
{
    ExpectValuesRise<xstring>(T(FT_STRING8),
                              {"", xstring("\0", 1), "a", xstring("a\0", 2), "aa", "b", s_longText + 2, "\xC3\xA4"});
    const uint16 high[] = {0xFFFF};
    const uint16 low[] = {0x0100, 1};
    ExpectValuesRise<xstring16>(T(FT_STRING16),
                                {xstring16(), xstring16(low, 1), xstring16(low, 2), xstring16(high, 1)});
}

template <class E>
Variable MakeVector(int code, const T& elementType, std::initializer_list<E> elements)
{
    Variable vector(T(code) + elementType);
    for (const E& element : elements)
        *static_cast<E*>(PushBackDefaultConstructedElementOntoReflectedVector(elementType, vector.data())) = element;
    return vector;
}

TEST_F(Comparison, OfVectorsIsElementByElement)
{
    for (const int code : {FT_VECTOR, FT_DYNARRAY})
    {
        std::vector<Variable> numbers;
        for (const auto& elements : {std::initializer_list<int32>{}, {-1}, {1}, {1, 1}, {1, 2}, {1, 2, 3}, {1, 3}, {2}})
            numbers.push_back(MakeVector<int32>(code, T(FT_INT32), elements));
        ExpectRisingOrder(numbers);

        std::vector<Variable> texts;
        for (const auto& elements :
             {std::initializer_list<xstring>{}, {""}, {"a"}, {"a", s_longText}, {"b"}, {"b", "a"}})
            texts.push_back(MakeVector<xstring>(code, T(FT_STRING8), elements));
        ExpectRisingOrder(texts);
    }
}

TEST_F(Comparison, OfVectorsOfVectorsIsElementByElement)
{
    const auto make = [](std::initializer_list<std::initializer_list<int32>> rows)
    {
        Variable vector{T{FT_VECTOR, FT_VECTOR, FT_INT32}};
        for (const auto& row : rows)
        {
            void* inner = PushBackDefaultConstructedElementOntoReflectedVector(T{FT_VECTOR, FT_INT32}, vector.data());
            for (const int32 element : row)
                *static_cast<int32*>(PushBackDefaultConstructedElementOntoReflectedVector(T(FT_INT32), inner)) =
                    element;
        }
        return vector;
    };
    std::vector<Variable> variables;
    variables.push_back(make({}));
    variables.push_back(make({{}}));
    variables.push_back(make({{}, {1}}));
    variables.push_back(make({{1}}));
    variables.push_back(make({{1}, {}}));
    variables.push_back(make({{1, 2}}));
    ExpectRisingOrder(variables);
}

TEST_F(Comparison, OfAVectorOfFloatsLooksAtEachOfThem)
{
    constexpr float64 nan = std::numeric_limits<float64>::quiet_NaN();
    Variable a = MakeVector<float64>(FT_VECTOR, T(FT_FLOAT64), {nan, 1.0});
    Variable b = MakeVector<float64>(FT_VECTOR, T(FT_FLOAT64), {nan, 2.0});
    EXPECT_FALSE(Eq(a, a));
    EXPECT_TRUE(Lt(a, b)); // neither NaN is less: the next element decides
    EXPECT_FALSE(Lt(b, a));
}

TEST_F(Comparison, OfArraysIsElementByElement)
{
    struct Four
    {
        int32 m_elements[4];
    };
    for (const T& type : {Array(4) + T(FT_INT32), Array(2) + Array(2) + T(FT_INT32)})
    {
        std::vector<Variable> variables;
        for (const Four& elements : {Four{{0, 0, 0, 1}}, Four{{0, 0, 1, 0}}, Four{{1, -1, 0, 0}}, Four{{1, 0, 0, 0}}})
        {
            variables.emplace_back(type);
            variables.back().as<Four>() = elements;
        }
        ExpectRisingOrder(variables);
    }
}

TEST_F(Comparison, OfClassesIsByTheModelThenTheOrdinaryFields)
{
    std::vector<Variable> points;
    for (const Point& point : {Point{1, 1, 1, 0}, Point{1, 1, 2, 0}, Point{1, 2, 0, 0}, Point{2, 0, 0, 0}})
    {
        points.emplace_back(Named(FT_CLASS, "handwritten::Point"));
        points.back().as<Point>() = point;
    }
    ExpectRisingOrder(points);

    std::vector<Variable> tagged;
    const struct
    {
        int32 m_x;
        const char* m_tag;
    } rows[] = {{1, "a"}, {1, "b"}, {2, "a"}};
    for (const auto& row : rows)
    {
        tagged.emplace_back(Named(FT_CLASS, "handwritten::Tagged"));
        tagged.back().as<Tagged>().m_point.m_x = row.m_x;
        tagged.back().as<Tagged>().m_tag = row.m_tag;
    }
    ExpectRisingOrder(tagged);
}

TEST_F(Comparison, OfClassesPassesOverDroppedFields)
{
    Variable a(Named(FT_CLASS, "handwritten::Point"));
    Variable b(Named(FT_CLASS, "handwritten::Point"));
    b.as<Point>().m_gone = 1;
    EXPECT_TRUE(Eq(a, b));
    EXPECT_FALSE(Lt(a, b));
}

TEST_F(Comparison, PrefersTheTypesOwnOperations)
{
    Variable a(s_countedType);
    Variable b(s_countedType);
    a.as<Counted>().m_value = 13;
    b.as<Counted>().m_value = 23; // equal modulo ten
    EXPECT_TRUE(Eq(a, b));
    b.as<Counted>().m_value = 4;
    EXPECT_TRUE(Lt(a, b));
    EXPECT_FALSE(Lt(b, a));

    Variable c(s_mixedType);
    Variable d(s_mixedType);
    d.as<Mixed>().m_counted.m_value = 52;
    EXPECT_TRUE(Eq(c, d));
    d.as<Mixed>().m_counted.m_value = 53;
    EXPECT_TRUE(Lt(c, d));
}

TEST_F(Comparison, OfAnOpaqueClassFailsAnAssertion)
{
    Variable a(Named(FT_CLASS, "handwritten::Opaque"));
    Variable b(Named(FT_CLASS, "handwritten::Opaque"));
    EXPECT_TRUE(FailsAssertion([&] { Eq(a, b); }, "!isOpaque", s_compareSource));
    EXPECT_TRUE(FailsAssertion([&] { Lt(a, b); }, "!isOpaque", s_compareSource));
}

TEST_F(Comparison, OfVariantsIsByAlternativeThenByValue)
{
    std::vector<Variable> variables;
    const auto add = [&](int32 index) -> char*
    {
        variables.emplace_back(s_choiceType);
        variables.back().as<Choice>().m_index = index;
        return variables.back().as<Choice>().m_value;
    };
    ::new (add(0)) int32(1);
    ::new (add(0)) int32(2);
    ::new (add(1)) xstring("a");
    ::new (add(1)) xstring(s_longText + 2);
    ::new (add(2)) Counted();
    ExpectRisingOrder(variables);

    Choice corrupt = {7, {}};
    EXPECT_TRUE(FailsAssertion([&] { CompareEqReflectedVariable(s_choiceType, &corrupt, s_choiceType, &corrupt); },
                               "0 <= index && index < rv.m_numFields", s_compareSource));
}

TEST_F(Comparison, OfMapsIsEntryByEntry)
{
    using M = xmap<xstring, int32>;
    const T type = Map<xstring, int32>() + T{FT_STRING8, FT_INT32};
    std::vector<Variable> variables;
    const auto add = [&](std::initializer_list<std::pair<const char*, int32>> entries)
    {
        variables.emplace_back(type);
        for (const auto& [key, payload] : entries)
            variables.back().as<M>()[key] = payload;
    };
    add({});
    add({{"a", 1}});
    add({{"b", 2}, {"a", 1}});
    add({{"a", 1}, {"c", 0}});
    add({{"a", 2}});
    add({{"b", 0}});
    ExpectRisingOrder(variables);
}

TEST_F(Comparison, OfSetsIsElementByElement)
{
    const T type = Set<int32>() + T(FT_INT32);
    std::vector<Variable> variables;
    for (const auto& elements : {std::initializer_list<int32>{}, {1}, {2, 1}, {3, 1}, {2}})
    {
        variables.emplace_back(type);
        for (const int32 element : elements)
            SetFunctions<int32>::table.Insert(variables.back().data(), &element);
    }
    ExpectRisingOrder(variables);
}

TEST_F(Comparison, OfMapsOfMapsTakesEachItsOwnFunctionTable)
{
    using Inner = xmap<int32, xstring>;
    using Outer = xmap<xset<int32>, Inner>;
    const T type =
        Map<xset<int32>, Inner>() + Set<int32>() + T(FT_INT32) + Map<int32, xstring>() + T{FT_INT32, FT_STRING8};
    std::vector<Variable> variables;
    const auto add = [&](int32 key, const char* text)
    {
        variables.emplace_back(type);
        xset<int32> outerKey;
        SetFunctions<int32>::table.Insert(&outerKey, &key);
        variables.back().as<Outer>()[outerKey][7] = text;
    };
    add(1, "a");
    add(1, "b");
    add(2, "a");
    ExpectRisingOrder(variables);
}

TEST_F(Comparison, OfMapsWithoutFunctionTableFailsAnAssertion)
{
    const void* word = nullptr;
    for (const T& type : {T{FT_MAP, FT_INT32, FT_INT32}, T{FT_SET, FT_INT32}})
        EXPECT_TRUE(FailsAssertion([&] { CompareEqReflectedVariable(type, &word, type, &word); },
                                   "a.m_type.m_mapOrSetFns", s_compareSource));
}

TEST_F(Comparison, OfHandlesIsByTheirObjects)
{
    char objects[2];
    const T type{FT_INTERFACE_POINTER, FT_VOID};
    std::vector<Variable> variables;
    for (char* self : {static_cast<char*>(nullptr), objects, objects + 1})
    {
        variables.emplace_back(type);
        variables.back().as<ptr<IObject>>() = ptr<IObject>(self, nullptr);
    }
    ExpectRisingOrder(variables);

    // Through another interface the object is the same.
    static const IPersistableFns s_fns = {};
    Variable other(type);
    other.as<ptr<IObject>>() = ptr<IObject>(objects, &s_fns);
    EXPECT_TRUE(Eq(variables[1], other));
}

TEST_F(Comparison, OfPersistentReferencesIsByIdentity)
{
    for (const int code : {FT_PREF, FT_CREF})
    {
        std::vector<Variable> variables;
        for (const ObjectId id : {ObjectId(0), ObjectId(3), ObjectId(7)})
        {
            variables.emplace_back(T{code, FT_VOID});
            variables.back().as<prefbase>().SetObjectId(id);
        }
        ExpectRisingOrder(variables);
    }
}

TEST_F(Comparison, OfDifferentTypesIsByTheirCodesAndNeverEqual)
{
    // Rising; zero bytes are a variable of each.
    const T types[] = {
        T(FT_BOOL),
        T(FT_INT32),
        T(FT_INT64),
        T(FT_STRING8),
        Named(FT_CLASS, "handwritten::Node"),
        Named(FT_CLASS, "handwritten::Point"),
        Named(FT_ENUM, "handwritten::Colour"),
        Named(FT_ENUM, "handwritten::Digit"),
        T{FT_INTERFACE_POINTER, FT_VOID},
        T{FT_VECTOR, FT_INT32},
        T{FT_VECTOR, FT_INT64},
        T(FT_VECTOR) + Named(FT_CLASS, "handwritten::Node"),
        T(FT_VECTOR) + Named(FT_CLASS, "handwritten::Point"),
        T{FT_DYNARRAY, FT_INT32},
        Array(2) + T(FT_INT32),
        Array(2) + T(FT_INT64),
        Array(3) + T(FT_INT32),
        Map<int32, int32>() + T{FT_INT32, FT_INT32},
        Map<int32, int64>() + T{FT_INT32, FT_INT64},
        Map<int64, int32>() + T{FT_INT64, FT_INT32},
    };
    std::vector<Variable> variables;
    for (const T& type : types)
        variables.emplace_back(type);
    ExpectRisingOrder(variables);
}

TEST_F(Comparison, SeesThroughTypedefsQualifiersAndMetadata)
{
    Variable plain{T(FT_INT32)};
    Variable alias(Named(FT_TYPEDEF, "handwritten::Alias"));
    EXPECT_TRUE(Eq(plain, alias));
    alias.as<int32>() = 1;
    EXPECT_TRUE(Lt(plain, alias));

    Variable vector{T{FT_VECTOR, FT_INT32}};
    Variable vectorOfAlias(T{MDT_BOOL, 0, FT_CONST, FT_VECTOR} + Named(FT_TYPEDEF, "handwritten::Alias"));
    EXPECT_TRUE(Eq(vector, vectorOfAlias));
    PushBackDefaultConstructedElementOntoReflectedVector(T(FT_INT32), vectorOfAlias.data());
    EXPECT_TRUE(Lt(vector, vectorOfAlias));
}

TEST_F(Comparison, OfTheSameTypeByTwoStringTablesIsByValue)
{
    Variable a(Named(FT_CLASS, "handwritten::Point"));
    const std::string copy = "handwritten::Point";
    Variable b(T{MDT_BOOL, 1} + Named(FT_CLASS, copy.c_str()));
    EXPECT_TRUE(Eq(a, b));
}

TEST_F(Comparison, OfNullByteCodes)
{
    const ReflectionByteCode null;
    Variable v{T(FT_VOID)};
    EXPECT_TRUE(CompareEqReflectedVariable(null, nullptr, null, nullptr));
    EXPECT_FALSE(CompareLtReflectedVariable(null, nullptr, null, nullptr));
    EXPECT_FALSE(CompareEqReflectedVariable(null, nullptr, v.rbc(), v.data()));
    EXPECT_FALSE(CompareEqReflectedVariable(v.rbc(), v.data(), null, nullptr));
    EXPECT_TRUE(CompareLtReflectedVariable(null, nullptr, v.rbc(), v.data()));
    EXPECT_FALSE(CompareLtReflectedVariable(v.rbc(), v.data(), null, nullptr));
}

TEST_F(Comparison, OfWhatCannotBeAVariableFailsAnAssertion)
{
    const char bytes[64] = {};
    for (const T& type : {T{FT_POINTER, FT_INT32}, T(FT_NOT_REFLECTED), T{FT_BAG, FT_INT32}, T(77)})
        EXPECT_TRUE(FailsAssertion([&] { CompareEqReflectedVariable(type, bytes, type, bytes); },
                                   "code.m_kind != VK_NONE", s_compareSource));
}

TEST_F(Comparison, OfAVectorOfNoWholeElementsFailsAnAssertion)
{
    const T type{FT_VECTOR, FT_INT32};
    VectorOfByte vector;
    vector.resize(7);
    EXPECT_TRUE(FailsAssertion([&] { CompareEqReflectedVariable(type, &vector, type, &vector); },
                               "common % elementSize == 0", s_compareSource));
}

// ---- Appending

TEST_F(PushBack, AppendsADefaultElementOfEveryType)
{
    for (const T& type : ConstructibleTypes())
    {
        Variable vector(T(FT_VECTOR) + type);
        Variable fresh(type);
        for (ssize_t i = 1; i <= 3; ++i)
        {
            void* element = PushBackDefaultConstructedElementOntoReflectedVector(type, vector.data());
            EXPECT_TRUE(CompareEqReflectedVariable(type, element, type, fresh.data()))
                << ::testing::PrintToString(type);
            EXPECT_EQ(vector.as<VectorOfByte>().size(), i * fresh.size());
            EXPECT_EQ(element, vector.as<VectorOfByte>().data() + (i - 1) * fresh.size());
        }
    }
    EXPECT_EQ(Counted::s_live, 0);
}

TEST_F(PushBack, KeepsTheElementsBeforeIt)
{
    Variable vector{T{FT_DYNARRAY, FT_STRING8}};
    for (int i = 0; i < 1000; ++i)
        *static_cast<xstring*>(PushBackDefaultConstructedElementOntoReflectedVector(T(FT_STRING8), vector.data())) =
            std::to_string(i).c_str();
    const auto& texts = vector.as<xvector<xstring>>();
    ASSERT_EQ(texts.size(), 1000);
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(texts[i], std::to_string(i).c_str());
}

TEST_F(PushBack, OfAFirstInstanceMakesRoomForFourUnlessTheyAreSmallOrLarge)
{
    const struct
    {
        ssize_t m_size;
        ssize_t m_capacity;
    } rows[] = {{1, 64}, {32, 64}, {33, 132}, {256, 1024}, {257, 257}};
    for (const auto& row : rows)
    {
        ReflectedClass rc{};
        rc.m_size = row.m_size;
        VectorOfByte vector;
        const void* const instance = PushBackDefaultConstructedInstance(rc, vector);
        EXPECT_EQ(instance, vector.data());
        EXPECT_EQ(vector.size(), row.m_size);
        EXPECT_EQ(vector.capacity(), row.m_capacity) << row.m_size;
        VectorOfByte reserved;
        reserved.reserve(row.m_size);
        PushBackDefaultConstructedInstance(rc, reserved);
        EXPECT_EQ(reserved.capacity(), row.m_size);
    }
}

TEST_F(PushBack, ThatFailsLeavesTheVectorAsItWas)
{
    Variable vector(T(FT_VECTOR) + s_countedType);
    PushBackDefaultConstructedElementOntoReflectedVector(s_countedType, vector.data());
    Counted::s_failAt = 1;
    EXPECT_THROW(PushBackDefaultConstructedElementOntoReflectedVector(s_countedType, vector.data()), std::bad_alloc);
    EXPECT_EQ(vector.as<VectorOfByte>().size(), static_cast<ssize_t>(sizeof(Counted)));
    EXPECT_EQ(Counted::s_live, 1);
}

TEST_F(PushBack, OfWhatCannotBeAVariableFailsAnAssertion)
{
    Variable vector{T{FT_VECTOR, FT_INT32}};
    EXPECT_TRUE(FailsAssertion([&]
                               { PushBackDefaultConstructedElementOntoReflectedVector(T(FT_FUNCTOR), vector.data()); },
                               "size >= 0", "host/klObject/types/ReflectionByteCode"));
    EXPECT_TRUE(FailsAssertion(
        [&] {
            PushBackDefaultConstructedElementOntoReflectedVector(T{FT_POINTER, FT_INT32}, vector.data());
        },
        "code.m_kind != VK_NONE", s_source));
    EXPECT_EQ(vector.as<VectorOfByte>().size(), 0);
}

} // namespace
} // namespace kelm
