// Descriptions that no value can have: whatever is asked of a variable of such a type fails the assertion that names
// what is missing, and touches nothing.

#include <klObject/containers/xmap.h>
#include <klObject/containers/xset.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/Registry.h>
#include <klObject/values/ReflectedVariable.h>
#include <klObject/values/WriteVariable.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kelm
{
namespace
{

using Bytes = std::vector<uint8>;

constexpr ConstStringZ s_names[] = {"impossible::Nowhere", "impossible::Empty", "impossible::Choice"};

constexpr uint8 s_int32Code[] = {FT_INT32};
constexpr ReflectedField s_alternatives[] = {{"kelm::int32", 4, s_int32Code}};
constexpr ReflectedVariant s_choice = {
    .m_name = "impossible::Choice", .m_size = 8, .m_fields = s_alternatives, .m_numFields = 1};
constexpr ReflectedClass s_empty = {.m_name = "impossible::Empty", .m_size = 0};

// Room for any variable, of which all is zero but what a row says.
union Storage
{
    char m_bytes[64] = {};
    int32 m_index;
    VectorOfByte m_vector;

    Storage() : m_bytes() {}
    ~Storage() {}
};

void Write(const ReflectionByteCode& type, Storage& storage)
{
    StringStream text(64);
    WriteVariable(text, type, &storage, {});
}
void Compare(const ReflectionByteCode& type, Storage& storage)
{
    CompareEqReflectedVariable(type, &storage, type, &storage);
}
void Construct(const ReflectionByteCode& type, Storage& storage)
{
    ConstructReflectedVariable(type, &storage);
}
void Destruct(const ReflectionByteCode& type, Storage& storage)
{
    DestructReflectedVariable(type, &storage);
}

TEST(ImpossibleTypes, FailTheAssertionThatNamesWhatIsMissing)
{
    static const ENameSpaceError s_errors[] = {RegisterReflectedVariant(&s_choice, nullptr),
                                               RegisterReflectedClass(&s_empty, nullptr)};
    for (const ENameSpaceError error : s_errors)
        ASSERT_EQ(error, NSE_OK);
    constexpr PtrMapOrSetFns noTables = {};
    struct Row
    {
        const char* m_what;
        void (*m_do)(const ReflectionByteCode& type, Storage& storage);
        Bytes m_type;
        const PtrMapOrSetFns* m_fns;
        int32 m_index;
        const char* m_condition;
        const char* m_file;
    };
    constexpr auto write = "host/klObject/values/WriteVariable";
    constexpr auto compare = "host/klObject/values/CompareReflectedVariable";
    constexpr auto variable = "host/klObject/values/ReflectedVariable";
    const Row rows[] = {
        {"writes an interface", Write, {FT_INTERFACE, 0, 0}, nullptr, 0, "kind != VK_NONE", write},
        {"writes an unknown enumeration", Write, {FT_ENUM, 0, 0}, nullptr, 0, "r", write},
        {"writes an unknown variant", Write, {FT_VARIANT, 0, 0}, nullptr, 0, "rv", write},
        {"writes no alternative",
         Write,
         {FT_VARIANT, 2, 0},
         nullptr,
         -1,
         "0 <= index && index < rv->m_numFields",
         write},
        {"writes one too many", Write, {FT_VARIANT, 2, 0}, nullptr, 1, "0 <= index && index < rv->m_numFields", write},
        {"writes a map without functions",
         Write,
         {FT_MAP, FT_INT32, FT_INT32},
         nullptr,
         0,
         "type.m_mapOrSetFns",
         write},
        {"writes a map without its table",
         Write,
         {FT_MAP, FT_INT32, FT_INT32},
         &noTables,
         0,
         "type.m_mapOrSetFns->mapFns",
         write},
        {"compares interfaces", Compare, {FT_INTERFACE, 0, 0}, nullptr, 0, "code.m_kind != VK_NONE", compare},
        {"compares maps without functions",
         Compare,
         {FT_MAP, FT_INT32, FT_INT32},
         nullptr,
         0,
         "a.m_type.m_mapOrSetFns",
         compare},
        {"compares maps without their table", Compare, {FT_MAP, FT_INT32, FT_INT32}, &noTables, 0, "fnsOfA", compare},
        {"constructs an interface", Construct, {FT_INTERFACE, 0, 0}, nullptr, 0, "code.m_kind != VK_NONE", variable},
        {"destructs an interface", Destruct, {FT_INTERFACE, 0, 0}, nullptr, 0, "code.m_kind != VK_NONE", variable},
        {"destructs a set without functions", Destruct, {FT_SET, FT_INT32}, nullptr, 0, "rbc.m_mapOrSetFns", variable},
        {"destructs a set without its table",
         Destruct,
         {FT_SET, FT_INT32},
         &noTables,
         0,
         "rbc.m_mapOrSetFns->setFns",
         variable},
    };
    for (const Row& row : rows)
    {
        Storage storage;
        storage.m_index = row.m_index;
        const ReflectionByteCode type{row.m_type.data(), s_names, row.m_fns};
        EXPECT_TRUE(FailsAssertion([&] { row.m_do(type, storage); }, row.m_condition, row.m_file)) << row.m_what;
    }
}

// Of two variables one may be of a type that is none.
TEST(ImpossibleTypes, MayBeThoseOfTheOtherOne)
{
    constexpr uint8 code[] = {FT_MAP, FT_INT32, FT_INT32};
    constexpr PtrMapOrSetFns noTables = {};
    constexpr PtrMapOrSetFns fns = {.mapFns = &MapFunctions<int32, int32>::table};
    const xmap<int32, int32> a, b;
    const auto compare = [&](const PtrMapOrSetFns* fnsOfB) {
        CompareEqReflectedVariable({code, s_names, &fns}, &a, {code, s_names, fnsOfB}, &b);
    };
    EXPECT_NO_THROW(compare(&fns));
    constexpr auto file = "host/klObject/values/CompareReflectedVariable";
    EXPECT_TRUE(FailsAssertion([&] { compare(nullptr); }, "b.m_type.m_mapOrSetFns", file));
    EXPECT_TRUE(FailsAssertion([&] { compare(&noTables); }, "fnsOfB", file));
}

TEST(ImpossibleTypes, HaveNoSuchAlternative)
{
    for (const int32 index : {-1, 1})
    {
        Storage storage;
        EXPECT_TRUE(FailsAssertion([&] { SwitchAlternative(s_choice, index, &storage); },
                                   "0 <= index && index < rv.m_numFields", "host/klObject/values/ReflectedVariable"))
            << index;
        EXPECT_EQ(storage.m_index, 0);
    }
}

// Elements without bytes leave no trace of their number.
TEST(ImpossibleTypes, HaveElementsWithoutASize)
{
    constexpr uint8 code[] = {FT_VECTOR, FT_CLASS, 1, 0};
    const ReflectionByteCode type{code, s_names};
    const VectorOfByte none;
    Storage storage;
    auto& some = *::new (static_cast<void*>(&storage)) VectorOfByte;
    some.Extend(4);
    EXPECT_EQ(CompareReflectedVariables(VALUES_ORDER, type, &none, type, &some), -1);
    EXPECT_TRUE(FailsAssertion([&] { CompareEqReflectedVariable(type, &some, type, &some); }, "elementSize > 0",
                               "host/klObject/values/CompareReflectedVariable"));
    StringStream text(64);
    EXPECT_NO_THROW(WriteVariable(text, type, &none, {}));
    EXPECT_TRUE(FailsAssertion([&] { WriteVariable(text, type, &some, {}); }, "size > 0 || vector.empty()",
                               "host/klObject/values/WriteVariable"));
    EXPECT_NO_THROW(DestructReflectedVariable(type, &some)); // its memory alone
}

} // namespace
} // namespace kelm
