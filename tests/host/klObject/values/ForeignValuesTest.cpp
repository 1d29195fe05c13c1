// Variables of the standard library's types: what they coerce to, how they are ordered, and how their types are.

#include <klObject/describe/Describe.h>
#include <klObject/describe/RegisterUsed.h>
#include <klObject/types/ForeignType.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/ToString.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <chrono>
#include <deque>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace foreignValues
{

enum class Narrow : kelm::uint8
{
    ONE = 1,
    THREE = 3
};
enum class Wide : kelm::int32
{
    ONE = 1,
    THREE = 3
};

} // namespace foreignValues

KELM_DESCRIBE_ENUM(foreignValues::Narrow, ONE, THREE)
KELM_DESCRIBE_ENUM(foreignValues::Wide, ONE, THREE)

namespace kelm
{
namespace
{

using foreignValues::Narrow;
using foreignValues::Wide;

// All that a variable coerces to, in one line: implicitly, then explicitly.
template <class V>
std::string CoercionsOf(const V& value)
{
    std::string all;
    const auto add = [&]<class X>(X x, bool allowExplicit)
    {
        const bool isCoerced = Coerce(x, TypeOf<V>(), &value, allowExplicit);
        if constexpr (std::is_same_v<X, xstring>)
            all += isCoerced ? x.c_str() : "-";
        else
            all += isCoerced ? ToString(static_cast<float64>(x)).c_str() : "-";
        all += ' ';
    };
    for (const bool allowExplicit : {false, true})
    {
        add(bool(), allowExplicit);
        add(int64(), allowExplicit);
        add(float32(), allowExplicit);
        add(float64(), allowExplicit);
        add(xstring(), allowExplicit);
    }
    return all;
}

const std::string s_nothing = "- - - - - - - - - - ";

TEST(ForeignValues, CoerceAsWhatTheyHold)
{
    EXPECT_EQ(CoercionsOf(std::optional<int32>(7)), CoercionsOf(int32(7)));
    EXPECT_EQ(CoercionsOf(std::optional<int32>()), s_nothing);
    EXPECT_EQ(CoercionsOf(std::make_unique<float64>(1.5)), CoercionsOf(float64(1.5)));
    EXPECT_EQ(CoercionsOf(std::variant<int32, bool>(true)), CoercionsOf(true));
    EXPECT_EQ(CoercionsOf(std::string("text")), CoercionsOf(xstring("text")));
    EXPECT_EQ(CoercionsOf(std::chrono::seconds(5)), CoercionsOf(xstring("5s")));
    EXPECT_EQ(CoercionsOf(std::vector<int32>{1}), s_nothing);
    EXPECT_EQ(CoercionsOf(std::map<int32, int32>()), s_nothing);
}

TEST(ForeignValues, OfNarrowEnumerationsCoerceAsThoseOfOthers)
{
    for (const int number : {1, 3})
        EXPECT_EQ(CoercionsOf(static_cast<Narrow>(number)), CoercionsOf(static_cast<Wide>(number))) << number;
    // One without a name is its number.
    Narrow unnamed = static_cast<Narrow>(2);
    xstring text;
    EXPECT_TRUE(Coerce(text, TypeOf<Narrow>(), &unnamed, true));
    EXPECT_EQ(text, "2");
    const SubString name = TypeOf<Narrow>().GetForeignType().m_text->Get(&unnamed, nullptr);
    EXPECT_TRUE(name.empty());
}

template <class V>
int OrderOf(const V& a, const V& b)
{
    const int order = CompareReflectedVariables(KEYS_ORDER, TypeOf<V>(), &a, TypeOf<V>(), &b);
    EXPECT_EQ(CompareEqReflectedVariable(TypeOf<V>(), &a, TypeOf<V>(), &b), order == 0);
    EXPECT_EQ(CompareLtReflectedVariable(TypeOf<V>(), &a, TypeOf<V>(), &b), order < 0);
    return order;
}

template <class V>
void ExpectOrdered(const V& less, const V& more)
{
    EXPECT_LT(OrderOf(less, more), 0);
    EXPECT_GT(OrderOf(more, less), 0);
    EXPECT_EQ(OrderOf(less, less), 0);
}

TEST(ForeignValues, AreOrderedByWhatTheyHold)
{
    ExpectOrdered<std::string>("a", "b");
    ExpectOrdered<std::filesystem::path>("a", "b");
    ExpectOrdered(std::chrono::seconds(-1), std::chrono::seconds(2));
    ExpectOrdered(Narrow::ONE, Narrow::THREE);
    ExpectOrdered<std::vector<int32>>({1, 2}, {1, 3});
    ExpectOrdered<std::optional<int32>>({}, 1);
    ExpectOrdered<std::optional<int32>>(1, 2);
    ExpectOrdered<std::variant<int32, bool>>(5, true);
    ExpectOrdered<std::map<int32, int32>>({{1, 2}}, {{1, 3}});
    ExpectOrdered<std::set<int32>>({1}, {2});
}

TEST(ForeignValues, OfSetsLoseTheirElementsByKey)
{
    std::set<int32> set = {1, 2};
    const ForeignMapFns& fns = *TypeOf<std::set<int32>>().GetForeignType().m_map;
    const int32 present = 1, absent = 3;
    EXPECT_TRUE(fns.Erase(&set, &present));
    EXPECT_FALSE(fns.Erase(&set, &absent));
    EXPECT_EQ(set, std::set<int32>{2});
}

// A class of one member of that type, as described in one of several places.
const ReflectedClass& ClassOf(const ReflectionByteCode& type, int name)
{
    static std::deque<std::string> s_names;
    static std::deque<ReflectedField> s_fields;
    static std::deque<ReflectedClass> s_classes;
    s_names.push_back("foreignValues::Class" + std::to_string(name));
    s_fields.push_back({"value", 0, type.m_bc});
    return s_classes.emplace_back(ReflectedClass{.m_name = s_names.back().c_str(),
                                                 .m_size = 64,
                                                 .m_fields = &s_fields.back(),
                                                 .m_numFields = 1,
                                                 .m_stringTable = type.m_stringTable});
}

// Of two classes under one name the second is refused where its member has another type.
TEST(ForeignTypes, AreToldApart)
{
    const ReflectionByteCode types[] = {TypeOf<std::string>(),
                                        TypeOf<std::chrono::seconds>(),
                                        TypeOf<Narrow>(),
                                        TypeOf<std::vector<int32>>(),
                                        TypeOf<std::vector<int64>>(),

                                        TypeOf<std::map<int32, int32>>(),
                                        TypeOf<std::set<int32>>(),
                                        TypeOf<std::optional<int32>>(),
                                        TypeOf<std::optional<int64>>(),
                                        TypeOf<std::unique_ptr<int32>>(),
                                        TypeOf<std::variant<int32, bool>>(),
                                        TypeOf<std::variant<int32, int8>>(),
                                        TypeOf<std::variant<int32, int8, bool>>()};
    const int count = static_cast<int>(std::size(types));
    for (int a = 0; a < count; ++a)
    {
        UsedTypes().Add(ClassOf(types[a], a), nullptr);
        for (int b = 0; b < count; ++b)
        {
            const auto addOther = [&] { UsedTypes().Add(ClassOf(types[b], a), nullptr); };
            if (a == b)
            {
                EXPECT_NO_THROW(addOther()) << a;
            }
            else
            {
                EXPECT_THROW(addOther(), TypeNameException) << a << ' ' << b;
            }
        }
    }
}

// As two libraries have records of one type each, which are the same by what they say.
TEST(ForeignTypes, AreTheSameByWhatTheySay)
{
    const ForeignType& type = TypeOf<std::variant<int32, bool>>().GetForeignType();
    const auto byOtherTable = [&]
    {
        static constexpr uint8 s_code[] = {FT_FOREIGN, 0, 0};
        static std::deque<ConstStringZ> s_tables;
        s_tables.push_back(&type.m_form);
        return ReflectionByteCode{s_code, &s_tables.back()};
    };
    UsedTypes().Add(ClassOf(byOtherTable(), 999), nullptr);
    EXPECT_NO_THROW(UsedTypes().Add(ClassOf(byOtherTable(), 999), nullptr));
    constexpr ConstStringZ same[] = {"int32", "bool"}, other[] = {"int32", "truth"}, unnamed[] = {"int32", nullptr};
    struct Row
    {
        const char* m_what;
        const ConstStringZ* m_first;
        const ConstStringZ* m_second;
        bool m_areSame;
    };
    const Row rows[] = {{"the same names", same, same, true},
                        {"another name", same, other, false},
                        {"a name that is missing", same, unnamed, false},
                        {"one name in both", unnamed, unnamed, true},
                        {"no names", same, nullptr, false},
                        {"no names in both", nullptr, nullptr, true}};
    int name = 1000;
    for (const Row& row : rows)
    {
        const auto withNames = [&](const ConstStringZ* names)
        {
            static std::deque<ForeignChoiceFns> s_choices;
            static std::deque<ForeignType> s_types;
            static std::deque<ConstStringZ> s_tables;
            s_choices.push_back(*type.m_choice);
            s_choices.back().m_names = names;
            s_types.push_back(type);
            s_types.back().m_choice = &s_choices.back();
            s_tables.push_back(&s_types.back().m_form);
            static constexpr uint8 s_code[] = {FT_FOREIGN, 0, 0};
            return ReflectionByteCode{s_code, &s_tables.back()};
        };
        const auto add = [&](const ConstStringZ* names) { UsedTypes().Add(ClassOf(withNames(names), name), nullptr); };
        add(row.m_first);
        if (row.m_areSame)
            EXPECT_NO_THROW(add(row.m_second)) << row.m_what;
        else
            EXPECT_THROW(add(row.m_second), TypeNameException) << row.m_what;
        ++name;
    }
}

// --- Durations

using Seconds = std::chrono::duration<double>;
using Minutes = std::chrono::duration<double, std::ratio<60>>;
using Small = std::chrono::duration<uint8>;

// What a text is read as, written again; or that it is refused, with whether a value of another size would not be.
template <class V>
std::string ReadAgain(const char* text)
{
    const ForeignTextFns& fns = *TypeOf<V>().GetForeignType().m_text;
    V value{};
    char buffer[64];
    if (!fns.Set(&value, text))
        return fns.IsBeyondRange(text) ? "too large" : "none";
    const SubString written = fns.Get(&value, buffer);
    return std::string(written.begin(), written.end());
}

TEST(ForeignValues, OfDurationsAreReadAndWritten)
{
    struct Row
    {
        std::string (*m_read)(const char* text);
        const char* m_text;
        const char* m_expected;
    };
    const Row rows[] = {
        {ReadAgain<std::chrono::seconds>, "5s", "5s"},
        {ReadAgain<std::chrono::seconds>, "-5s", "-5s"},
        {ReadAgain<std::chrono::seconds>, "2min", "120s"},
        {ReadAgain<std::chrono::seconds>, "1.0000000000000000000000s", "1s"}, // digits beyond those that are kept
        {ReadAgain<std::chrono::seconds>, "1.0000000000000000000001s", "none"},
        {ReadAgain<std::chrono::seconds>, "1.5s", "none"},
        {ReadAgain<std::chrono::seconds>, "1..5s", "none"},
        {ReadAgain<std::chrono::seconds>, "s", "none"},
        {ReadAgain<std::chrono::seconds>, "", "none"},
        {ReadAgain<std::chrono::seconds>, "5", "none"},
        {ReadAgain<std::chrono::seconds>, "5parsecs", "none"},
        {ReadAgain<std::chrono::seconds>, "-9223372036854775808s", "-9223372036854775808s"},
        {ReadAgain<std::chrono::seconds>, "9223372036854775808s", "too large"},
        {ReadAgain<std::chrono::seconds>, "99999999999999999999999s", "too large"},
        {ReadAgain<Small>, "255s", "255s"},
        {ReadAgain<Small>, "256s", "too large"},
        {ReadAgain<Small>, "-1s", "too large"},
        {ReadAgain<Seconds>, "1.5s", "1.5s"},
        {ReadAgain<Seconds>, "-1e-7s", "-1e-07s"},
        {ReadAgain<Seconds>, "1500ms", "1.5s"},
        {ReadAgain<Seconds>, "infs", "infs"},
        {ReadAgain<Seconds>, "1e999s", "too large"},
        {ReadAgain<Seconds>, "1e999", "none"},
        {ReadAgain<Seconds>, "1", "none"},
        {ReadAgain<Seconds>, "x", "none"},
        {ReadAgain<Minutes>, "30s", "0.5min"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.m_read(row.m_text), row.m_expected) << row.m_text;
}

} // namespace
} // namespace kelm
