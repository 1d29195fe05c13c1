#include <host/klObject/HandWrittenTypes.h>

#include <klObject/describe/Describe.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/FieldIndex.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace classModelTest
{

struct LedAbroad
{
    std::string text;
    std::vector<kelm::int32> list;
    std::vector<bool> bits;
    std::pair<int, int> pair;
    std::map<std::string, std::vector<double>> map;
    std::set<int> set;
    std::optional<double> optional;
    std::unique_ptr<LedAbroad> pointer;
    std::variant<int, double> variant;
    std::array<std::vector<std::optional<int>>, 2> array;
};

} // namespace classModelTest

KELM_DESCRIBE(classModelTest::LedAbroad, text, list, bits, pair, map, set, optional, pointer, variant, array)

namespace kelm
{
namespace
{

using classModelTest::LedAbroad;

using namespace handwritten;

class ClassModels : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { RegisterTypes(); }
};

TEST_F(ClassModels, OfAClassThatListsItsFieldsIsItself)
{
    const ClassModel model = FindClassModel(s_point);
    EXPECT_EQ(model.m_class, &s_point);
    EXPECT_EQ(model.m_offset, 0);
}

TEST_F(ClassModels, OfAClassThatEmbedsAnotherIsThatOneAtItsOffset)
{
    const ClassModel model = FindClassModel(s_tagged);
    EXPECT_EQ(model.m_class, &s_point);
    EXPECT_EQ(model.m_offset, static_cast<ssize_t>(offsetof(Tagged, m_point)));
}

TEST_F(ClassModels, OfAClassWithoutOneIsNull)
{
    EXPECT_EQ(FindClassModel(s_opaque).m_class, nullptr);
    EXPECT_EQ(FindClassModel(s_mixed).m_class, nullptr); // it has ordinary fields
}

TEST_F(ClassModels, ThatAreEmbeddedMustBeRegistered)
{
    const ReflectedModelField model[] = {{"handwritten::Nothing", 0, nullptr, 0, 0, nullptr}};
    const ReflectedClass rc = {.m_name = "handwritten::Unfounded", .m_modelFields = model};
    EXPECT_TRUE(FailsAssertion([&] { FindClassModel(rc); }, "rc", "host/klObject/types/Registry"));
}

// Numbers that stand beside no list count nothing.
TEST_F(ClassModels, HaveNoFieldsWhereTheListIsNull)
{
    const ReflectedClass rc = {.m_name = "handwritten::Listless", .m_size = 1, .m_numFields = 2, .m_numModelFields = 3};
    EXPECT_EQ(GetModelFieldCount(rc), 0);
    EXPECT_EQ(GetOrdinaryFieldCount(rc), 0);
    EXPECT_EQ(FindOrdinaryField(rc, "a", 0), -1);

    static constexpr ReflectedClass s_listless = {.m_name = "handwritten::Listless", .m_size = 1, .m_numFields = 2};
    static const bool s_isRegistered = RegisterReflectedClass(&s_listless, nullptr) == NSE_OK;
    ASSERT_TRUE(s_isRegistered);
    Variable a(Named(FT_CLASS, s_listless.m_name));
    EXPECT_TRUE(CompareEqReflectedVariable(a.rbc(), a.data(), a.rbc(), a.data()));
}

// A class with fields of all sorts, registered or not: "dup" and "late" occur again as present fields, and names of
// the model occur as ordinary fields too.
struct Fields
{
    static constexpr ReflectedModelField s_model[] = {
        {"a", 0, s_int32Bc, 1, -1, nullptr},
        {"dropped", 0, s_int32Bc, 1, 2, nullptr},
        {"late", 0, s_int32Bc, 1, 2, nullptr},
        {"dup", 0, s_int32Bc, 1, -1, nullptr},
        {"late", 0, s_int32Bc, 3, -1, nullptr},
        {"dup", 0, s_int32Bc, 1, -1, nullptr},
        {"abcdefg", 0, s_int32Bc, 1, -1, nullptr},
        {"a_name_of_more_than_two_words_1", 0, s_int32Bc, 1, -1, nullptr},
        {"a_name_of_more_than_two_words_2", 0, s_int32Bc, 1, -1, nullptr},
        {"", 0, s_int32Bc, 1, -1, nullptr},
    };
    static constexpr ReflectedField s_ordinary[] = {
        {"a", 0, s_int32Bc}, {"plain", 0, s_int32Bc}, {"plain", 0, s_int32Bc}, {"dropped", 0, s_int32Bc}};
};

ReflectedClass MakeFieldsClass(ConstStringZ name)
{
    return {.m_name = name,
            .m_fields = Fields::s_ordinary,
            .m_numFields = 4,
            .m_modelFields = Fields::s_model,
            .m_numModelFields = 10};
}

const ReflectedClass& RegisteredFieldsClass()
{
    static const ReflectedClass s_class = MakeFieldsClass("classModelTest::Fields");
    static const ENameSpaceError s_error = RegisterReflectedClass(&s_class, nullptr);
    EXPECT_EQ(s_error, NSE_OK);
    EXPECT_NE(s_class.m_fieldIndex, nullptr);
    return s_class;
}

TEST(FindField, AnswersTheSameWithAndWithoutAnIndexWhateverTheHint)
{
    const ReflectedClass unregistered = MakeFieldsClass("classModelTest::Unregistered");
    const struct
    {
        const char* m_name;
        ssize_t m_model;
        ssize_t m_present;
        ssize_t m_ordinary;
    } rows[] = {
        {"a", 0, 0, 0},
        {"dropped", 1, -1, 3},
        {"late", 2, 4, -1},
        {"dup", 3, 3, -1},
        {"abcdefg", 6, 6, -1},
        {"a_name_of_more_than_two_words_1", 7, 7, -1},
        {"a_name_of_more_than_two_words_2", 8, 8, -1},
        {"", 9, 9, -1},
        {"plain", -1, -1, 1},
        {"A", -1, -1, -1},
        {"ab", -1, -1, -1},
        {"abcdef", -1, -1, -1},
        {"abcdefgh", -1, -1, -1},
        {"a_name_of_more_than_two_words_3", -1, -1, -1},
        {"a_name_of_more_than_two_words_", -1, -1, -1},
    };
    for (const ReflectedClass* rc : {&unregistered, &RegisteredFieldsClass()})
        for (const auto& row : rows)
        {
            EXPECT_EQ(FindModelField(*rc, row.m_name), row.m_model) << rc->m_name << " " << row.m_name;
            for (ssize_t hint = -2; hint <= 12; ++hint)
            {
                EXPECT_EQ(FindPresentModelField(*rc, row.m_name, hint), row.m_present)
                    << rc->m_name << " " << row.m_name << " " << hint;
                EXPECT_EQ(FindOrdinaryField(*rc, row.m_name, hint), row.m_ordinary)
                    << rc->m_name << " " << row.m_name << " " << hint;
            }
        }
}

// A copy may be given other fields; it has the index of what it was copied from.
TEST(FindField, LooksIntoACopiedDescriptorItself)
{
    static constexpr ReflectedField s_one[] = {{"alone", 0, s_int32Bc}};
    ReflectedClass copy = RegisteredFieldsClass();
    EXPECT_EQ(FindOrdinaryField(copy, "plain", 0), 1);
    copy.m_fields = s_one;
    copy.m_numFields = 1;
    EXPECT_EQ(FindOrdinaryField(copy, "plain", 1), -1);
    EXPECT_EQ(FindOrdinaryField(copy, "alone", 7), 0);
    copy.m_modelFields = nullptr;
    EXPECT_EQ(FindModelField(copy, "a"), -1);
    EXPECT_EQ(FindPresentModelField(copy, "a", 0), -1);
}

TEST(FindField, ComparesTheWholeView)
{
    const char text[] = "aX";
    const SubString a(text, text + 1); // "a" without a terminator behind it
    const char withZero[] = {'a', '\0', 'b'};
    const SubString zero(withZero, withZero + 3);
    const ReflectedClass unregistered = MakeFieldsClass("classModelTest::Unregistered");
    for (const ReflectedClass* rc : {&unregistered, &RegisteredFieldsClass()})
    {
        EXPECT_EQ(FindModelField(*rc, a), 0);
        EXPECT_EQ(FindModelField(*rc, zero), -1);
        EXPECT_EQ(FindPresentModelField(*rc, zero, 0), -1);
    }
}

TEST(FindField, FindsNothingInAClassWithoutFields)
{
    static const ReflectedClass s_none = {.m_name = "classModelTest::None"};
    ASSERT_EQ(RegisterReflectedClass(&s_none, nullptr), NSE_OK);
    EXPECT_EQ(s_none.m_fieldIndex, nullptr);
    EXPECT_EQ(FindModelField(s_none, "a"), -1);
    EXPECT_EQ(FindPresentModelField(s_none, "a", 0), -1);
    EXPECT_EQ(FindOrdinaryField(s_none, "a", 0), -1);
}

TEST_F(ClassModels, AnEmbeddingRecordIsNoField)
{
    EXPECT_EQ(FindModelField(s_tagged, "handwritten::Point"), -1);
    EXPECT_EQ(FindModelField(s_tagged, "x"), -1);
    EXPECT_EQ(FindOrdinaryField(s_tagged, "tag", 0), 0);
}

TEST(FindField, FindsEachOfManyFields)
{
    constexpr ssize_t count = 1000;
    static std::deque<std::string> s_names;
    static std::vector<ReflectedModelField> s_model;
    static std::vector<ReflectedField> s_ordinary;
    for (ssize_t i = 0; i < count; ++i)
    {
        // Lengths of 1 to 40, so that every way of hashing and comparing is taken.
        s_names.push_back(std::to_string(i) + std::string(static_cast<std::size_t>(i % 37), 'x'));
        s_model.push_back({s_names.back().c_str(), 0, s_int32Bc, 1, i % 5 == 0 ? 2 : -1, nullptr});
        s_names.push_back("o" + s_names.back());
        s_ordinary.push_back({s_names.back().c_str(), 0, s_int32Bc});
    }
    static const ReflectedClass s_class = {.m_name = "classModelTest::Many",
                                           .m_fields = s_ordinary.data(),
                                           .m_numFields = count,
                                           .m_modelFields = s_model.data(),
                                           .m_numModelFields = count};
    ASSERT_EQ(RegisterReflectedClass(&s_class, nullptr), NSE_OK);
    for (ssize_t i = 0; i < count; ++i)
    {
        const SubString name = s_model[static_cast<std::size_t>(i)].m_name;
        EXPECT_EQ(FindModelField(s_class, name), i);
        EXPECT_EQ(FindPresentModelField(s_class, name, i), i % 5 == 0 ? -1 : i);
        EXPECT_EQ(FindPresentModelField(s_class, name, i + 1), i % 5 == 0 ? -1 : i);
        EXPECT_EQ(FindOrdinaryField(s_class, s_ordinary[static_cast<std::size_t>(i)].m_name, 0), i);
        EXPECT_EQ(FindOrdinaryField(s_class, name, i), -1);
    }
}

// A dropped field, a present one of the same name, and a present one that this hides.
TEST(PresentModelName, IsThatOfTheFieldThatTheNameFinds)
{
    static constexpr ReflectedModelField s_model[] = {{"a", 0, s_int32Bc, 0, 1, nullptr},
                                                      {"a", 4, s_int32Bc, 1, -1, nullptr},
                                                      {"a", 8, s_int32Bc, 2, -1, nullptr},
                                                      {"b", 12, s_int32Bc, 2, -1, nullptr}};
    static const ReflectedClass s_class = {
        .m_name = "classModelTest::Repeated", .m_modelFields = s_model, .m_numModelFields = 4};
    ASSERT_EQ(RegisterReflectedClass(&s_class, nullptr), NSE_OK);
    const FieldIndex* const index = GetFieldIndex(s_class);
    ASSERT_NE(index, nullptr);
    const std::pair<ssize_t, const char*> rows[] = {{0, ""}, {1, "a"}, {2, ""}, {3, "b"}, {4, ""}};
    for (const auto& [i, name] : rows)
        EXPECT_TRUE(index->GetPresentModelNames()[i].m_text == SubString(name)) << i;
}

TEST(FieldLead, IsThatOfTheFirstModelFieldIfItIsPresentAndItsNameAnIdentifier)
{
    static constexpr ConstStringZ s_strings[] = {"classModelTest::Led", "classModelTest::NoSuchClass",
                                                 "classModelTest::Fields"};
    RegisteredFieldsClass();
    static constexpr uint8 s_int32[] = {FT_INT32};
    static constexpr uint8 s_string[] = {FT_STRING8};
    static constexpr uint8 s_enum[] = {FT_ENUM, 0, 0};
    static constexpr uint8 s_class[] = {FT_CLASS, 2, 0};
    static constexpr uint8 s_classes[] = {FT_VECTOR, FT_CLASS, 0, 0};
    static constexpr uint8 s_unknown[] = {FT_CLASS, 1, 0};
    static constexpr uint8 s_constClass[] = {FT_CONST, FT_CLASS, 2, 0};
    static constexpr uint8 s_vector[] = {FT_VECTOR, FT_INT32};
    static constexpr uint8 s_void[] = {FT_VOID};
    static constexpr uint8 s_matrix[] = {FT_ARRAY,     3, 0, 0, 0, FT_DYNARRAY, FT_VECTOR, FT_INTERFACE_POINTER,
                                         FT_INTERFACE, 0, 0};
    static constexpr uint8 s_pref[] = {FT_PREF, FT_CLASS, 0, 0};
    static constexpr uint8 s_empty[] = {FT_ARRAY, 0, 0, 0, 0, FT_INT32};
    static constexpr uint8 s_deep[] = {FT_VECTOR, FT_VECTOR, FT_VECTOR, FT_VECTOR, FT_VECTOR,
                                       FT_VECTOR, FT_VECTOR, FT_VECTOR, FT_VECTOR, FT_INT32};
    static constexpr uint8 s_unknowns[] = {FT_VECTOR, FT_CLASS, 1, 0};
    static constexpr ReflectedModelField s_model[] = {
        {"number", 0, s_int32, 0, -1, nullptr},        {"text", 0, s_string, 0, -1, nullptr},
        {"enumerator", 0, s_enum, 0, -1, nullptr},     {"instance", 0, s_class, 0, -1, nullptr},
        {"instances", 0, s_classes, 0, -1, nullptr},   {"unknown", 0, s_unknown, 0, -1, nullptr},
        {"constant", 0, s_constClass, 0, -1, nullptr}, {"numbers", 0, s_vector, 0, -1, nullptr},
        {"nothing", 0, s_void, 0, -1, nullptr},        {"undescribed", 0, nullptr, 0, -1, nullptr},
        {"dropped", 0, s_int32, 0, 1, nullptr},        {"dropped", 0, s_int32, 1, -1, nullptr},
        {"no name", 0, s_int32, 0, -1, nullptr},       {"matrix", 0, s_matrix, 0, -1, nullptr},
        {"owner", 0, s_pref, 0, -1, nullptr},          {"empty", 0, s_empty, 0, -1, nullptr},
        {"deep", 0, s_deep, 0, -1, nullptr},           {"unknowns", 0, s_unknowns, 0, -1, nullptr},
    };
    static constexpr ReflectedField s_ordinary[] = {{"ordinary", 0, s_int32}};
    static const ReflectedClass s_led = {.m_name = "classModelTest::Led",
                                         .m_size = 80,
                                         .m_fields = s_ordinary,
                                         .m_numFields = 1,
                                         .m_modelFields = s_model,
                                         .m_numModelFields = 18,
                                         .m_stringTable = s_strings};
    ASSERT_EQ(RegisterReflectedClass(&s_led, nullptr), NSE_OK);
    const FieldIndex& index = *GetFieldIndex(s_led);

    using Kinds = std::vector<FieldLead>;
    const struct
    {
        const char* m_name;
        ssize_t m_field; // -1 for none
        Kinds m_kinds;   // of the field's leads
    } rows[] = {
        {"number", 0, {FieldLead::Value}},
        {"text", 1, {FieldLead::Value}},
        {"enumerator", 2, {FieldLead::Value}},
        {"instance", 3, {FieldLead::Instance}},
        {"instances", 4, {FieldLead::Vector, FieldLead::Instance}},
        {"unknown", 5, {FieldLead::Instance}},
        {"constant", 6, {FieldLead::Other}},
        {"numbers", 7, {FieldLead::Vector, FieldLead::Value}},
        {"nothing", 8, {FieldLead::Other}},
        {"undescribed", 9, {FieldLead::Other}},
        {"dropped", -1, {}},
        {"no name", -1, {}},
        {"matrix", 13, {FieldLead::Array, FieldLead::DynArray, FieldLead::Vector, FieldLead::Handle}},
        {"owner", 14, {FieldLead::Pref}},
        {"empty", 15, {FieldLead::Other}},
        {"deep", 16, Kinds{7, FieldLead::Vector}},
        {"ordinary", -1, {}},
    };
    for (const auto& row : rows)
    {
        const FieldEntry* const entry = index.m_fields.Find(row.m_name);
        ASSERT_NE(entry, nullptr) << row.m_name;
        EXPECT_EQ(entry->m_field, row.m_field < 0 ? nullptr : &s_model[row.m_field]) << row.m_name;
        EXPECT_EQ(entry->m_lead == nullptr, row.m_field < 0) << row.m_name;
        for (std::size_t i = 0; i < row.m_kinds.size(); ++i)
            EXPECT_EQ(entry->m_lead[i].m_kind, row.m_kinds[i]) << row.m_name << ' ' << i;
    }
    const TypeLead* const deep = index.m_fields.Find("deep")->m_lead;
    EXPECT_EQ(deep[7].m_kind, FieldLead::Other); // beyond which a path looks at the type
    EXPECT_EQ(deep[7].m_type.m_bc, s_deep + 7);

    const auto leadOf = [&](const char* name) { return index.m_fields.Find(name)->m_lead; };
    EXPECT_EQ(leadOf("matrix")->m_count, 3);
    EXPECT_EQ(leadOf("matrix")[1].GetElementSize(), 24);
    EXPECT_EQ(leadOf("matrix")[2].GetElementSize(), 16);
    for (int look = 0; look < 2; ++look)
    {
        EXPECT_EQ(leadOf("instance")->GetIndex(), GetFieldIndex(RegisteredFieldsClass()));
        EXPECT_EQ(leadOf("instances")[1].GetIndex(), &index);
        EXPECT_EQ(leadOf("instances")->GetElementSize(), 80);
        EXPECT_EQ(leadOf("unknown")->GetIndex(), nullptr);
        EXPECT_EQ(leadOf("unknowns")->GetElementSize(), 0);
    }
    // A class may be registered after those that lead to it.
    static const ReflectedClass s_late = {.m_name = "classModelTest::NoSuchClass",
                                          .m_size = 24,
                                          .m_modelFields = s_model,
                                          .m_numModelFields = 1,
                                          .m_stringTable = s_strings};
    ASSERT_EQ(RegisterReflectedClass(&s_late, nullptr), NSE_OK);
    EXPECT_EQ(leadOf("unknown")->GetIndex(), GetFieldIndex(s_late));
    EXPECT_EQ(leadOf("unknowns")->GetElementSize(), 24);
}

TEST(FieldLead, GoesIntoTypesOfOtherLibraries)
{
    Register<LedAbroad>(nullptr);
    const FieldIndex& index = *GetFieldIndex(_GetReflected(static_cast<const LedAbroad*>(nullptr)));
    const std::pair<const char*, std::vector<FieldLead>> rows[] = {
        {"text", {FieldLead::Value}},
        {"list", {FieldLead::List, FieldLead::Value}},
        {"bits", {FieldLead::Other}},
        {"pair", {FieldLead::Other}},
        {"map", {FieldLead::Map, FieldLead::List, FieldLead::Value}},
        {"set", {FieldLead::Other}},
        {"optional", {FieldLead::Choice, FieldLead::Value}},
        {"pointer", {FieldLead::Choice, FieldLead::Instance}},
        {"variant", {FieldLead::Other}},
        {"array", {FieldLead::Array, FieldLead::List, FieldLead::Choice, FieldLead::Value}},
    };
    for (const auto& [name, kinds] : rows)
    {
        const TypeLead* const lead = index.m_fields.Find(name)->m_lead;
        for (std::size_t i = 0; i < kinds.size(); ++i)
            EXPECT_EQ(lead[i].m_kind, kinds[i]) << name << ' ' << i;
    }
    EXPECT_EQ(index.m_fields.Find("array")->m_lead->GetElementSize(), ssize_t{sizeof(std::vector<int>)});
}

} // namespace
} // namespace kelm
