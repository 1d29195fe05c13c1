#include <klObject/describe/Describe.h>

#include <host/klObject/DescribedTypes.h>

#include <klObject/types/ClassModel.h>
#include <klObject/values/ReflectedVariable.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

// A list says that it can be copied, whatever its elements are.
namespace copied
{

struct Part
{
    std::unique_ptr<int> m_number;
};
struct Tree
{
    std::vector<Tree> m_trees;
    kelm::int32 m_array[2] = {};
};

template <class T>
struct Holder
{
    T m_held;
};
template <class T>
struct FixedHolder
{
    const int m_number = 1;
    T m_held;
};
using Parts = Holder<std::vector<Part>>;
using PartsByNumber = Holder<std::map<int, std::vector<Part>>>;
using OwnParts = Holder<kelm::xvector<kelm::xvector<std::unique_ptr<int>>>>;
using SharedParts = Holder<std::shared_ptr<Part>>;
using Trees = Holder<std::vector<Tree>>;
using FixedTrees = FixedHolder<std::vector<Tree>>;

} // namespace copied

KELM_DESCRIBE(copied::Part, m_number)
KELM_CLASS(copied::Tree, KELM_MODEL(m_trees), KELM_MODEL(m_array))
KELM_CLASS(copied::Parts, KELM_MODEL(m_held))
KELM_CLASS(copied::PartsByNumber, KELM_MODEL(m_held))
KELM_CLASS(copied::OwnParts, KELM_MODEL(m_held))
KELM_CLASS(copied::SharedParts, KELM_MODEL(m_held))
KELM_CLASS(copied::Trees, KELM_MODEL(m_held))
KELM_CLASS(copied::FixedTrees, KELM_MODEL(m_number), KELM_MODEL(m_held))

namespace byhand
{

// Described by hand, as types of other libraries are.
struct Opaque
{
    int m_value = 0;
};

inline const kelm::ReflectedClass& _GetReflected(const Opaque*)
{
    static const kelm::ReflectedClass s_class = {.m_name = "byhand::Opaque", .m_size = sizeof(Opaque)};
    return s_class;
}

enum Mode : kelm::int32
{
    MODE_OFF
};

inline const kelm::ReflectedEnum& _GetReflected(const Mode*)
{
    static constexpr kelm::ConstStringZ s_strings[] = {"MODE_OFF"};
    static const kelm::ReflectedEnum s_enum = {.m_name = "byhand::Mode", .m_count = 1, .m_strings = s_strings};
    return s_enum;
}

struct Renamed
{
};

inline const kelm::ReflectedClass& _GetReflected(const Renamed*)
{
    static const kelm::ReflectedClass s_class = {.m_name = "elsewhere::Renamed", .m_size = sizeof(Renamed)};
    return s_class;
}

// A hook for a base class is none for this one.
struct Derived : Opaque
{
};

struct Holder
{
    Opaque m_opaque;
    kelm::xvector<Mode> m_modes;
    Renamed m_renamed;
    kelm::ptr<kelm::IPersistable> m_handle;
};

} // namespace byhand

template <>
struct kelm::HandWrittenName<byhand::Renamed>
{
    static constexpr std::array<char, 19> s_name = {"elsewhere::Renamed"};
};

KELM_CLASS(byhand::Holder, KELM_MODEL(m_opaque), KELM_MODEL(m_modes), KELM_MODEL(m_renamed), KELM_MODEL(m_handle))

static_assert(!kelm::HandDescribed<byhand::Derived> && kelm::HandDescribed<byhand::Opaque>);

namespace kelm
{

namespace
{

using namespace described;

template <class T>
const auto& RecordOfType()
{
    return _GetReflected(static_cast<const T*>(nullptr));
}

using Bytes = std::vector<int>;

// The bytes of one type, found by passing over it.
Bytes BytesOf(const uint8* bc, const ConstStringZ* names)
{
    ReflectionByteCode end(bc, names);
    end.ScanType();
    return Bytes(bc, end.m_bc);
}

struct ExpectedField
{
    const char* m_name;
    std::size_t m_offset;
    Bytes m_byteCode;
};

void ExpectModelFields(const ReflectedClass& rc, const std::vector<ExpectedField>& expected)
{
    ASSERT_EQ(rc.m_numModelFields, static_cast<ssize_t>(expected.size()));
    for (std::size_t i = 0; i < expected.size(); ++i)
    {
        const ReflectedModelField& field = rc.m_modelFields[i];
        EXPECT_STREQ(field.m_name, expected[i].m_name);
        EXPECT_EQ(field.m_offset, static_cast<ssize_t>(expected[i].m_offset)) << field.m_name;
        EXPECT_EQ(BytesOf(field.m_bc, rc.m_stringTable), expected[i].m_byteCode) << field.m_name;
    }
}

std::vector<std::string> Names(const ConstStringZ* table)
{
    std::vector<std::string> names;
    for (; *table != nullptr; ++table)
        names.push_back(*table);
    return names;
}

std::size_t OffsetIn(const void* object, const void* member)
{
    return static_cast<std::size_t>(static_cast<const char*>(member) - static_cast<const char*>(object));
}

} // namespace

TEST(DescribedClass, HasTheByteCodeOfItsScalars)
{
    const ReflectedClass& rc = RecordOfType<Scalars>();
    EXPECT_STREQ(rc.m_name, "described::Scalars");
    EXPECT_EQ(rc.m_size, static_cast<ssize_t>(sizeof(Scalars)));
    EXPECT_EQ(rc.m_flags, 0u);
    EXPECT_EQ(rc.m_fields, nullptr);
    EXPECT_EQ(rc.m_numFields, 0);
    const Scalars s;
    ExpectModelFields(rc, {{"m_bool", OffsetIn(&s, &s.m_bool), {1}},
                           {"m_char", OffsetIn(&s, &s.m_char), {14}},
                           {"m_char16", OffsetIn(&s, &s.m_char16), {15}},
                           {"m_int8", OffsetIn(&s, &s.m_int8), {2}},
                           {"m_uint8", OffsetIn(&s, &s.m_uint8), {7}},
                           {"m_short", OffsetIn(&s, &s.m_short), {3}},
                           {"m_uint16", OffsetIn(&s, &s.m_uint16), {8}},
                           {"m_int", OffsetIn(&s, &s.m_int), {4}},
                           {"m_unsigned", OffsetIn(&s, &s.m_unsigned), {9}},
                           {"m_long", OffsetIn(&s, &s.m_long), {5}},
                           {"m_unsignedLong", OffsetIn(&s, &s.m_unsignedLong), {10}},
                           {"m_longLong", OffsetIn(&s, &s.m_longLong), {5}},
                           {"m_unsignedLongLong", OffsetIn(&s, &s.m_unsignedLongLong), {10}},
                           {"m_float", OffsetIn(&s, &s.m_float), {12}},
                           {"m_double", OffsetIn(&s, &s.m_double), {13}},
                           {"m_string", OffsetIn(&s, &s.m_string), {16}},
                           {"m_string16", OffsetIn(&s, &s.m_string16), {17}},
                           {"m_colour", OffsetIn(&s, &s.m_colour), {35, 0, 0}},
                           {"m_weight", OffsetIn(&s, &s.m_weight), {35, 1, 0}}});
    EXPECT_EQ(Names(rc.m_stringTable), (std::vector<std::string>{"described::Colour", "described::Weight"}));
}

TEST(DescribedClass, HasTheByteCodeOfItsContainers)
{
    const ReflectedClass& rc = RecordOfType<Containers>();
    const Containers c;
    ExpectModelFields(rc, {{"m_array", OffsetIn(&c, &c.m_array), {80, 2, 0, 0, 0, 80, 3, 0, 0, 0, 4}},
                           {"m_points", OffsetIn(&c, &c.m_points), {80, 2, 0, 0, 0, 32, 0, 0}},
                           {"m_strings", OffsetIn(&c, &c.m_strings), {68, 16}},
                           {"m_nested", OffsetIn(&c, &c.m_nested), {68, 68, 12}},
                           {"m_dynarray", OffsetIn(&c, &c.m_dynarray), {73, 32, 0, 0}},
                           {"m_map", OffsetIn(&c, &c.m_map), {81, 16, 4}},
                           {"m_mapOfMaps", OffsetIn(&c, &c.m_mapOfMaps), {81, 4, 68, 81, 35, 1, 0, 71, 4}},
                           {"m_set", OffsetIn(&c, &c.m_set), {71, 16}},
                           {"m_extent", OffsetIn(&c, &c.m_extent), {37, 2, 0}}});
    EXPECT_EQ(Names(rc.m_stringTable),
              (std::vector<std::string>{"described::Point", "described::Colour", "described::Extent"}));
}

TEST(DescribedClass, HasTheFunctionsOfEveryMapAndSetInTheOrderOfTheByteCode)
{
    const ReflectedModelField* fields = RecordOfType<Containers>().m_modelFields;
    for (const int i : {0, 1, 2, 3, 4, 8})
        EXPECT_EQ(fields[i].m_mapOrSetFns, nullptr) << fields[i].m_name;
    EXPECT_EQ(fields[5].m_mapOrSetFns[0].mapFns, (&MapFunctions<xstring, int>::table));
    EXPECT_EQ(fields[6].m_mapOrSetFns[0].mapFns, (&MapFunctions<int, xvector<xmap<Colour, xset<int>>>>::table));
    EXPECT_EQ(fields[6].m_mapOrSetFns[1].mapFns, (&MapFunctions<Colour, xset<int>>::table));
    EXPECT_EQ(fields[6].m_mapOrSetFns[2].setFns, &SetFunctions<int>::table);
    EXPECT_EQ(fields[7].m_mapOrSetFns[0].setFns, &SetFunctions<xstring>::table);
}

TEST(DescribedClass, HasHandlesConstFieldsTypedefsAndOrdinaryFields)
{
    const ReflectedClass& rc = RecordOfType<Person>();
    const Person p;
    ASSERT_EQ(rc.m_numModelFields, 8);
    EXPECT_EQ(rc.m_modelFields[1].m_offset, 0); // of the base class
    EXPECT_EQ(rc.m_modelFields[0].m_offset, static_cast<ssize_t>(OffsetIn(&p, &p.m_name)));
    const Bytes expected[] = {{16},           {13},           {49, 4},        {34, 0, 0},
                              {68, 34, 0, 0}, {64, 33, 1, 0}, {66, 32, 2, 0}, {66, 33, 3, 0}};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(BytesOf(rc.m_modelFields[i].m_bc, rc.m_stringTable), expected[i]) << rc.m_modelFields[i].m_name;
    EXPECT_EQ(Names(rc.m_stringTable), (std::vector<std::string>{"described::Metres", "kelm::IObject",
                                                                 "described::Person", "kelm::IPersistable"}));
    ASSERT_EQ(rc.m_numFields, 1);
    EXPECT_STREQ(rc.m_fields[0].m_name, "m_cache");
    EXPECT_EQ(BytesOf(rc.m_fields[0].m_bc, rc.m_stringTable), Bytes({4}));
}

TEST(DescribedClass, NamesItsTypesByThePointersOfTheirDescriptors)
{
    const ConstStringZ* names = RecordOfType<Containers>().m_stringTable;
    EXPECT_EQ(names[0], RecordOfType<Point>().m_name);
    EXPECT_EQ(names[1], RecordOfType<Colour>().m_name);
    EXPECT_EQ(names[2], RecordOfType<Extent>().m_name);
}

TEST(DescribedClass, KeepsReleaseNumbers)
{
    const ReflectedClass& rc = RecordOfType<Versioned>();
    const int64 expected[][2] = {{0, -1}, {1, 3}, {2, -1}};
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(rc.m_modelFields[i].m_rsn1, expected[i][0]);
        EXPECT_EQ(rc.m_modelFields[i].m_rsn2, expected[i][1]);
    }
}

TEST(DescribedClass, EmbedsTheModelOfAMember)
{
    RegisterDescribedTypes();
    const ReflectedClass& rc = RecordOfType<Place>();
    EXPECT_EQ(rc.m_numModelFields, 0);
    ASSERT_NE(rc.m_modelFields, nullptr);
    EXPECT_EQ(rc.m_modelFields[0].m_name, RecordOfType<Point>().m_name);
    EXPECT_EQ(rc.m_modelFields[0].m_offset, static_cast<ssize_t>(offsetof(Place, m_point)));
    const ClassModel model = FindClassModel(rc);
    EXPECT_EQ(model.m_class, &RecordOfType<Point>());
    EXPECT_EQ(model.m_offset, static_cast<ssize_t>(offsetof(Place, m_point)));
}

TEST(DescribedClass, SaysWhetherItsObjectsCanBeMadeAndStored)
{
    const struct
    {
        const ReflectedClass& m_class;
        bool m_isCreatable;
        int m_numInterfaces;
    } rows[] = {
        {RecordOfType<Point>(), true, 1},      {RecordOfType<Person>(), true, 2}, {RecordOfType<Versioned>(), false, 1},
        {RecordOfType<NoDefault>(), false, 1}, {RecordOfType<Empty>(), false, 1},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(row.m_class.m_createFn != nullptr, row.m_isCreatable) << row.m_class.m_name;
        ASSERT_EQ(row.m_class.m_numInterfaces, row.m_numInterfaces) << row.m_class.m_name;
        EXPECT_STREQ(row.m_class.m_interfaces[0], "kelm::IObject");
        EXPECT_STREQ(row.m_class.m_interfaces[1], "kelm::IPersistable");
    }

    const ptr<IObject> object = RecordOfType<Person>().m_createFn();
    EXPECT_EQ(object.GetReflectedClass(), &RecordOfType<Person>());
    EXPECT_TRUE(static_cast<bool>(QueryPersistable(object)));
    EXPECT_EQ(static_cast<Person*>(object.self())->m_name, "");
    object.fns()->Destroy(object.self());
}

TEST(DescribedClass, HasTheOperationsThatTheTypeSupports)
{
    const TypeOps* ops = _GetTypeOps(static_cast<const Point*>(nullptr));
    EXPECT_EQ(ops, RecordOfType<Point>().m_ops);
    EXPECT_EQ(ops->m_size, static_cast<ssize_t>(sizeof(Point)));
    EXPECT_EQ(ops->m_equalsFn, nullptr);
    EXPECT_NE(ops->m_ConstructArrayFn, nullptr);
    EXPECT_EQ(RecordOfType<NoDefault>().m_ops->m_ConstructArrayFn, nullptr);
}

TEST(DescribedClass, IsCopiedAsFarAsWhatItHolds)
{
    const struct
    {
        const ReflectedClass& m_class;
        bool m_isCopied;
        bool m_isAssigned;
    } rows[] = {
        {RecordOf<copied::Tree>::s_record, true, true},
        {RecordOf<copied::Parts>::s_record, false, false},
        {RecordOf<copied::PartsByNumber>::s_record, false, false},
        {RecordOf<copied::OwnParts>::s_record, false, false},
        {RecordOf<copied::SharedParts>::s_record, true, true},
        {RecordOf<copied::Trees>::s_record, true, true},
        {RecordOf<copied::FixedTrees>::s_record, true, false},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(row.m_class.m_ops->m_CopyConstructArrayFn != nullptr, row.m_isCopied) << row.m_class.m_name;
        EXPECT_EQ(row.m_class.m_ops->m_AssignArrayFn != nullptr, row.m_isAssigned) << row.m_class.m_name;
    }
}

TEST(DescribedClass, MayHoldItselfInContainers)
{
    RegisterDescribedTypes();
    const ReflectedClass& rc = RecordOfType<Tree>();
    EXPECT_EQ(Names(rc.m_stringTable), (std::vector<std::string>{"described::Tree"}));
    alignas(Tree) char memory[sizeof(Tree)] = {};
    const uint8 bc[] = {FT_CLASS, 0, 0};
    const ReflectionByteCode type(bc, rc.m_stringTable);
    ConstructReflectedVariable(type, memory);
    auto& tree = *reinterpret_cast<Tree*>(memory);
    tree.m_children.emplace_back().m_value = 5;
    tree.m_named["left"].m_named["right"].m_value = 6;
    const Tree copy = tree;
    EXPECT_TRUE(CompareEqReflectedVariable(type, &tree, type, &copy));
    tree.m_named["left"].m_named["right"].m_value = 7;
    EXPECT_FALSE(CompareEqReflectedVariable(type, &tree, type, &copy));
    EXPECT_TRUE(CompareLtReflectedVariable(type, &copy, type, &tree));
    DestructReflectedVariable(type, memory);
}

TEST(DescribedEnum, HasValuesUnlessTheyAreContiguous)
{
    const ReflectedEnum& colour = RecordOfType<Colour>();
    EXPECT_STREQ(colour.m_name, "described::Colour");
    EXPECT_EQ(colour.m_count, 3);
    EXPECT_EQ(colour.m_values, nullptr);
    EXPECT_STREQ(colour.m_strings[2], "BLUE");

    const ReflectedEnum& weight = RecordOfType<Weight>();
    EXPECT_EQ(weight.m_count, 3);
    EXPECT_STREQ(weight.m_strings[0], "LIGHT");
    EXPECT_STREQ(weight.m_strings[1], "WEIGHT_NORMAL");
    const int32 values[] = {-5, 1, 100};
    EXPECT_EQ(0, std::memcmp(weight.m_values, values, sizeof values));
}

TEST(DescribedVariant, HasItsAlternativesAtOneOffset)
{
    RegisterDescribedTypes();
    const ReflectedVariant& rv = RecordOfType<Extent>();
    EXPECT_STREQ(rv.m_name, "described::Extent");
    EXPECT_EQ(rv.m_size, static_cast<ssize_t>(sizeof(Extent)));
    const ExpectedField expected[] = {
        {"radius", 8, {13}}, {"described::Point", 8, {32, 0, 0}}, {"none", 8, {0}}, {"outline", 8, {68, 32, 0, 0}}};
    ASSERT_EQ(rv.m_numFields, 4);
    for (int i = 0; i < 4; ++i)
    {
        EXPECT_STREQ(rv.m_fields[i].m_name, expected[i].m_name);
        EXPECT_EQ(rv.m_fields[i].m_offset, static_cast<ssize_t>(expected[i].m_offset));
        EXPECT_EQ(BytesOf(rv.m_fields[i].m_bc, rv.m_stringTable), expected[i].m_byteCode);
    }

    const uint8 bc[] = {FT_VARIANT, 0, 0};
    const ConstStringZ names[] = {rv.m_name};
    const ReflectionByteCode type(bc, names);
    Extent a = Point{1, 2};
    const Extent b = Point{1, 3};
    EXPECT_TRUE(CompareLtReflectedVariable(type, &a, type, &b));
    EXPECT_FALSE(CompareEqReflectedVariable(type, &a, type, &b));
    a.Emplace<std::monostate>();
    EXPECT_FALSE(CompareLtReflectedVariable(type, &a, type, &b));
}

TEST(DescribedVariant, MayBeAClassOfItsOwnThatHoldsItself)
{
    const ReflectedVariant& rv = RecordOfType<Json>();
    EXPECT_EQ(rv.m_numFields, 5);
    EXPECT_EQ(BytesOf(rv.m_fields[4].m_bc, rv.m_stringTable), Bytes({68, 37, 0, 0}));
    EXPECT_EQ(rv.m_stringTable[0], rv.m_name);
}

TEST(DescribedTypedef, HasTheAliasedType)
{
    const ReflectedTypedef& rt = RecordOfType<Metres>();
    EXPECT_STREQ(rt.m_name, "described::Metres");
    EXPECT_EQ(BytesOf(rt.m_bc, rt.m_stringTable), Bytes({13}));
}

TEST(TypeDescribedByHand, MayBeTheTypeOfAField)
{
    const ReflectedClass& rc = RecordOfType<byhand::Holder>();
    const Bytes expected[] = {{32, 0, 0}, {68, 35, 1, 0}, {32, 2, 0}, {64, 33, 3, 0}};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(BytesOf(rc.m_modelFields[i].m_bc, rc.m_stringTable), expected[i]);
    EXPECT_EQ(Names(rc.m_stringTable),
              (std::vector<std::string>{"byhand::Opaque", "byhand::Mode", "elsewhere::Renamed", "kelm::IPersistable"}));
    Register<byhand::Opaque>(nullptr);
    EXPECT_EQ(TryFindReflectedClass("byhand::Opaque"), &RecordOfType<byhand::Opaque>());
}

TEST(Registering, EntersTypesOfEveryKindUnderTheirNames)
{
    RegisterDescribedTypes();
    EXPECT_EQ(TryFindReflectedClass("described::Point"), &RecordOfType<Point>());
    EXPECT_EQ(TryFindReflectedEnum("described::Weight"), &RecordOfType<Weight>());
    EXPECT_EQ(TryFindReflectedVariant("described::Json"), &RecordOfType<Json>());
    EXPECT_EQ(TryFindReflectedTypedef("described::Metres"), &RecordOfType<Metres>());
}

TEST(Registering, FailsAnAssertionWhereTheNameIsTaken)
{
    RegisterDescribedTypes();
    EXPECT_TRUE(FailsAssertion([] { Register<Point>(nullptr); },
                               "RegisterReflectedClass(&descriptor, target) == NSE_OK",
                               "host/klObject/describe/Describe"));
    EXPECT_TRUE(FailsAssertion([] { Register<Colour>(nullptr); },
                               "RegisterReflectedEnum(&descriptor, target) == NSE_OK",
                               "host/klObject/describe/Describe"));
    EXPECT_TRUE(FailsAssertion([] { Register<Extent>(nullptr); },
                               "RegisterReflectedVariant(&descriptor, target) == NSE_OK",
                               "host/klObject/describe/Describe"));
    EXPECT_TRUE(FailsAssertion([] { Register<Metres>(nullptr); },
                               "RegisterReflectedTypedef(&descriptor, target) == NSE_OK",
                               "host/klObject/describe/Describe"));
}

} // namespace kelm
