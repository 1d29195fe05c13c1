// Descriptions that no compiler makes.

#include <klObject/types/Registry.h>
#include <support/DeepStack.h>
#include <support/Depth.h>
#include <support/Expect.h>

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

namespace kelm
{
namespace
{

// Descriptors that are made while the tests run; what is registered lives as long as the process.
class Made
{
public:
    static ConstStringZ Text(const std::string& text)
    {
        static std::deque<std::string> s_texts;
        return s_texts.emplace_back(text).c_str();
    }

    // A string table, with its null behind it.
    static const ConstStringZ* Names(const std::vector<std::string>& names)
    {
        static std::deque<std::vector<ConstStringZ>> s_tables;
        std::vector<ConstStringZ>& table = s_tables.emplace_back();
        for (const std::string& name : names)
            table.push_back(Text(name));
        table.push_back(nullptr);
        return table.data();
    }

    static const uint8* Type(const std::vector<int>& bytes)
    {
        static std::deque<std::vector<uint8>> s_types;
        return s_types.emplace_back(bytes.begin(), bytes.end()).data();
    }

    struct Member
    {
        std::vector<int> m_type;
        ssize_t m_offset = 0;
    };

    // The members' names are m0, m1 ...
    static const ReflectedField* Fields(const std::vector<Member>& members)
    {
        static std::deque<std::vector<ReflectedField>> s_fields;
        std::vector<ReflectedField>& fields = s_fields.emplace_back();
        for (const Member& member : members)
            fields.push_back({Text("m" + std::to_string(fields.size())), member.m_offset, Type(member.m_type)});
        return fields.data();
    }

    static const ReflectedClass* Class(const std::string& name, ssize_t size, const std::vector<Member>& members,
                                       const std::vector<std::string>& names = {})
    {
        static std::deque<ReflectedClass> s_classes;
        return &s_classes.emplace_back(ReflectedClass{.m_name = Text(name),
                                                      .m_size = size,
                                                      .m_fields = Fields(members),
                                                      .m_numFields = static_cast<ssize_t>(members.size()),
                                                      .m_stringTable = Names(names)});
    }

    static const ReflectedVariant* Variant(const std::string& name, ssize_t size, const std::vector<Member>& members,
                                           const std::vector<std::string>& names = {})
    {
        static std::deque<ReflectedVariant> s_variants;
        return &s_variants.emplace_back(ReflectedVariant{.m_name = Text(name),
                                                         .m_size = size,
                                                         .m_fields = Fields(members),
                                                         .m_numFields = static_cast<ssize_t>(members.size()),
                                                         .m_stringTable = Names(names)});
    }

    static const ReflectedTypedef* Typedef(const std::string& name, const std::vector<int>& type,
                                           const std::vector<std::string>& names)
    {
        static std::deque<ReflectedTypedef> s_typedefs;
        return &s_typedefs.emplace_back(
            ReflectedTypedef{.m_name = Text(name), .m_bc = Type(type), .m_stringTable = Names(names)});
    }
};

ENameSpaceError Register(const ReflectedClass* rc)
{
    return RegisterReflectedClass(rc, nullptr);
}
ENameSpaceError Register(const ReflectedVariant* rv)
{
    return RegisterReflectedVariant(rv, nullptr);
}
ENameSpaceError Register(const ReflectedTypedef* r)
{
    return RegisterReflectedTypedef(r, nullptr);
}

template <class Descriptor>
testing::AssertionResult IsRefused(const Descriptor* descriptor, const std::string& message)
{
    return FailsAssertion([&] { Register(descriptor); }, message, "host/klObject/types/DescriptionChecks");
}

TEST(TypedefCircles, ThroughContainersAreRefused)
{
    const struct
    {
        std::vector<int> m_type; // of the typedef, whose table holds its own name
        const char* m_name;
    } rows[] = {
        {{FT_VECTOR, FT_TYPEDEF, 0, 0}, "circle::InVector"},
        {{FT_DYNARRAY, FT_TYPEDEF, 0, 0}, "circle::InDynArray"},
        {{FT_SET, FT_TYPEDEF, 0, 0}, "circle::InSet"},
        {{FT_ARRAY, 2, 0, 0, 0, FT_TYPEDEF, 0, 0}, "circle::InArray"},
        {{FT_MAP, FT_TYPEDEF, 0, 0, FT_INT32}, "circle::InKey"},
        {{FT_MAP, FT_INT32, FT_TYPEDEF, 0, 0}, "circle::InPayload"},
        {{FT_CONST, MDT_FLAGS, 0, 0, 0, 0, FT_VECTOR, FT_VECTOR, FT_TYPEDEF, 0, 0}, "circle::InVectors"},
    };
    for (const auto& row : rows)
    {
        const std::string name = row.m_name;
        EXPECT_TRUE(IsRefused(Made::Typedef(name, row.m_type, {name}),
                              "typedef " + name + " contains itself: " + name + ", " + name));
        EXPECT_EQ(TryFindReflectedTypedef(row.m_name), nullptr);
    }
}

TEST(TypedefCircles, AreRefusedWithTheirLastTypedef)
{
    const auto* const a = Made::Typedef("circle::A", {FT_VECTOR, FT_TYPEDEF, 0, 0}, {"circle::B"});
    const auto* const b = Made::Typedef("circle::B", {FT_TYPEDEF, 0, 0}, {"circle::C"});
    const auto* const c = Made::Typedef("circle::C", {FT_CONST, FT_TYPEDEF, 0, 0}, {"circle::A"});
    EXPECT_EQ(Register(a), NSE_OK);
    EXPECT_EQ(Register(c), NSE_OK);
    EXPECT_TRUE(IsRefused(b, "typedef circle::B contains itself: circle::B, circle::C, circle::A, circle::B"));
    // What makes no circle may have the name.
    EXPECT_EQ(Register(Made::Typedef("circle::B", {FT_INT32}, {})), NSE_OK);
}

TEST(TypedefCircles, ThroughClassesAndHandlesAreNone)
{
    EXPECT_EQ(Register(Made::Typedef("round::Items", {FT_VECTOR, FT_CLASS, 0, 0}, {"round::Item"})), NSE_OK);
    EXPECT_EQ(Register(Made::Class("round::Item", 24, {{{FT_TYPEDEF, 0, 0}}}, {"round::Items"})), NSE_OK);
    EXPECT_EQ(Register(Made::Typedef("round::Handle", {FT_PREF, FT_TYPEDEF, 0, 0}, {"round::Handle"})), NSE_OK);
}

TEST(ClassCircles, AreRefusedWithTheirLastClass)
{
    EXPECT_TRUE(IsRefused(Made::Class("ring::Self", 8, {{{FT_CLASS, 0, 0}}}, {"ring::Self"}),
                          "class ring::Self contains itself: ring::Self, ring::Self"));
    EXPECT_TRUE(IsRefused(Made::Class("ring::Array", 8, {{{FT_ARRAY, 1, 0, 0, 0, FT_CLASS, 0, 0}}}, {"ring::Array"}),
                          "class ring::Array contains itself: ring::Array, ring::Array"));
    EXPECT_TRUE(IsRefused(Made::Variant("ring::Choice", 8, {{{FT_VARIANT, 0, 0}}}, {"ring::Choice"}),
                          "variant ring::Choice contains itself: ring::Choice, ring::Choice"));

    EXPECT_EQ(Register(Made::Class("ring::A", 8, {{{FT_INT32}}, {{FT_VARIANT, 0, 0}}}, {"ring::B"})), NSE_OK);
    EXPECT_EQ(Register(Made::Typedef("ring::C", {FT_CLASS, 0, 0}, {"ring::A"})), NSE_OK);
    EXPECT_TRUE(IsRefused(Made::Variant("ring::B", 8, {{{FT_TYPEDEF, 0, 0}}}, {"ring::C"}),
                          "variant ring::B contains itself: ring::B, ring::A, ring::B"));
}

TEST(ClassCircles, ThroughContainersAreNone)
{
    EXPECT_EQ(Register(Made::Class("tree::Node", 24, {{{FT_VECTOR, FT_CLASS, 0, 0}}}, {"tree::Node"})), NSE_OK);
    EXPECT_EQ(Register(Made::Class("tree::None", 24, {{{FT_ARRAY, 0, 0, 0, 0, FT_CLASS, 0, 0}, 8}}, {"tree::None"})),
              NSE_OK);
    EXPECT_EQ(Register(Made::Class("tree::Pair", 48, {{{FT_CLASS, 0, 0}}, {{FT_CLASS, 0, 0}, 24}}, {"tree::Node"})),
              NSE_OK);
}

// As deep as memory goes, whatever the stack.
TEST(ClassCircles, AreSoughtToAnyDepth)
{
    constexpr int depth = 2000;
    const auto name = [](int i) { return "hollow::C" + std::to_string(i); };
    const auto make = [&](int i) { return Made::Class(name(i), 8, {{{FT_CLASS, 0, 0}}}, {name(i - 1)}); };
    RunOnThread(s_smallStack,
                [&]
                {
                    for (int i = 1; i < depth; ++i) // the innermost one is missing: none of them is whole
                        ASSERT_EQ(Register(make(i)), NSE_OK);
                    const auto* const last = Made::Class(name(0), 8, {{{FT_CLASS, 0, 0}}}, {name(depth - 1)});
                    EXPECT_THROW(Register(last), KelmAssertionError);
                });
}

// Two ways to one that is not whole yet.
TEST(ClassCircles, AreNoneWhereWaysMeet)
{
    const auto make = [](const char* owner, const std::vector<std::string>& parts)
    {
        std::vector<Made::Member> members;
        for (std::size_t i = 0; i < parts.size(); ++i)
            members.push_back({{FT_CLASS, static_cast<int>(i), 0}});
        return Made::Class(owner, 0, members, parts);
    };
    EXPECT_EQ(Register(make("meet::Low", {"meet::Missing"})), NSE_OK);
    EXPECT_EQ(Register(make("meet::Left", {"meet::Low"})), NSE_OK);
    EXPECT_EQ(Register(make("meet::Right", {"meet::Low"})), NSE_OK);
    EXPECT_EQ(Register(make("meet::Top", {"meet::Left", "meet::Right"})), NSE_OK);
    EXPECT_TRUE(IsRefused(make("meet::Missing", {"meet::Top"}),
                          "class meet::Missing contains itself: meet::Missing, meet::Top, meet::Left, meet::Low, "
                          "meet::Missing"));
}

TEST(Types, AreFollowedToAnyDepth)
{
    constexpr int depth = 2000;
    std::vector<int> keys(depth, FT_MAP); // whose keys are maps
    keys.insert(keys.end(), depth + 1, FT_INT32);
    std::vector<int> items(s_nesting, MDT_LIST_0 + 1);
    items.insert(items.end(), {MDT_BOOL, 1, FT_INT64});
    RunOnThread(s_smallStack,
                [&]
                {
                    EXPECT_EQ(Register(Made::Class("deep::Keys", 100, {{keys}})), NSE_OK);
                    EXPECT_EQ(Register(Made::Class("deep::Items", 8, {{items}})), NSE_OK);
                    EXPECT_TRUE(IsRefused(Made::Class("deep::Small", 4, {{items}}),
                                          "member m0 lies outside of class deep::Small"));
                });
}

// Nobody can have a variable of such a type; whoever asks for its size is refused.
TEST(Types, MayBeTooLargeForAnySize)
{
    const std::vector<int> array = {FT_ARRAY, 0xFF, 0xFF, 0xFF, 0x7F};
    const auto nested = [&](std::initializer_list<int> element)
    {
        std::vector<int> type = array;
        type.insert(type.end(), array.begin(), array.end());
        type.insert(type.end(), element);
        return type;
    };
    EXPECT_EQ(Register(Made::Class("huge::Numbers", 64, {{nested({FT_INT64})}})), NSE_OK);
    EXPECT_EQ(Register(Made::Class("huge::Lists", 64, {{nested({FT_VECTOR, FT_INT32})}})), NSE_OK);
}

TEST(Types, MayHaveNamesWithoutATable)
{
    static constexpr uint8 s_code[] = {FT_CLASS, 0, 0};
    static const ReflectedField s_fields[] = {{"part", 0, s_code}};
    static const ReflectedClass s_class = {
        .m_name = "tableless::C", .m_size = 8, .m_fields = s_fields, .m_numFields = 1};
    EXPECT_EQ(Register(&s_class), NSE_OK);
}

TEST(Members, LieInTheirInstances)
{
    const struct
    {
        const char* m_name;
        ssize_t m_size;
        Made::Member m_member;
        bool m_isInside;
    } rows[] = {
        {"place::Last", 8, {{FT_INT32}, 4}, true},
        {"place::Beyond", 8, {{FT_INT32}, 5}, false},
        {"place::Before", 8, {{FT_INT32}, -1}, false},
        {"place::TooLarge", 8, {{FT_ARRAY, 3, 0, 0, 0, FT_INT32}, 0}, false},
        {"place::Fits", 12, {{FT_ARRAY, 3, 0, 0, 0, FT_INT32}, 0}, true},
        {"place::Vector", 24, {{FT_VECTOR, FT_INT64}, 0}, true},
        {"place::SmallVector", 23, {{FT_VECTOR, FT_INT64}, 0}, false},
        {"place::Text", 24, {{FT_STRING8}, 8}, false},
        {"place::Far", 8, {{FT_INT32}, ssize_t(~uint64(0) >> 1)}, false},
        {"place::Unsized", 0, {{FT_INT32}, 100}, true},       // a class of which nobody has variables
        {"place::Unknown", 8, {{FT_NOT_REFLECTED}, 9}, true}, // and a member of which nobody knows more
    };
    for (const auto& row : rows)
    {
        const ReflectedClass* const rc = Made::Class(row.m_name, row.m_size, {row.m_member});
        if (row.m_isInside)
            EXPECT_EQ(Register(rc), NSE_OK) << row.m_name;
        else
            EXPECT_TRUE(IsRefused(rc, std::string("member m0 lies outside of class ") + row.m_name));
    }
    EXPECT_TRUE(IsRefused(Made::Variant("place::Choice", 8, {{{FT_INT32}, 4}, {{FT_INT64}, 4}}),
                          "member m1 lies outside of variant place::Choice"));
}

TEST(Members, AreLookedAtOnceTheirTypesAreThere)
{
    const std::vector<std::string> names = {"late::First", "late::Second"};
    EXPECT_EQ(Register(Made::Class("late::Whole", 16, {{{FT_CLASS, 0, 0}, 0}, {{FT_CLASS, 1, 0}, 8}}, names)), NSE_OK);
    EXPECT_EQ(Register(Made::Class("late::First", 8, {{{FT_INT64}}})), NSE_OK);
    EXPECT_TRUE(
        IsRefused(Made::Class("late::Second", 16, {{{FT_INT64}}}), "member m1 lies outside of class late::Whole"));
    EXPECT_EQ(Register(Made::Class("late::Second", 8, {{{FT_INT64}}})), NSE_OK);

    static const ReflectedModelField s_embedded[] = {{"late::Model", 8, nullptr, 0, -1, nullptr}};
    static const ReflectedClass s_embedding = {
        .m_name = "late::Embedding", .m_size = 16, .m_modelFields = s_embedded, .m_numModelFields = 0};
    EXPECT_EQ(Register(&s_embedding), NSE_OK);
    EXPECT_TRUE(
        IsRefused(Made::Class("late::Model", 12, {}), "member late::Model lies outside of class late::Embedding"));
}

TEST(Members, HaveNamesOfTheirTables)
{
    EXPECT_TRUE(IsRefused(Made::Class("table::Far", 8, {{{FT_CLASS, 3, 0}}}, {"table::A", "table::B"}),
                          "member m0 of class table::Far has a name beyond its table"));
    EXPECT_TRUE(IsRefused(Made::Class("table::InVector", 24, {{{FT_VECTOR, FT_ENUM, 2, 0}}}, {"table::A", "table::B"}),
                          "member m0 of class table::InVector has a name beyond its table"));
    EXPECT_TRUE(IsRefused(Made::Typedef("table::Alias", {FT_VARIANT, 1, 0}, {"table::A"}),
                          "typedef table::Alias has a name beyond its table"));
    EXPECT_EQ(Register(Made::Class("table::Near", 8, {{{FT_CLASS, 1, 0}}}, {"table::A", "table::B"})), NSE_OK);
}

TEST(Members, HaveMetadataThatEnds)
{
    EXPECT_TRUE(IsRefused(Made::Class("meta::Open", 8, {{{MDT_BEGIN_LIST, MDT_BOOL, 1, FT_INT32}}}),
                          "member m0 of class meta::Open has metadata without an end"));
    EXPECT_TRUE(IsRefused(Made::Class("meta::Crossed", 8, {{{MDT_BEGIN_LIST, MDT_END_FUNCTOR, FT_INT32}}}),
                          "member m0 of class meta::Crossed has metadata without an end"));
    EXPECT_TRUE(IsRefused(Made::Class("meta::TooFew", 8, {{{MDT_LIST_0 + 2, MDT_BOOL, 1, FT_INT32}}}),
                          "member m0 of class meta::TooFew has metadata without an end"));
    EXPECT_EQ(Register(Made::Class("meta::Closed", 8, {{{MDT_BEGIN_LIST, MDT_BOOL, 1, MDT_END_LIST, FT_INT32}}})),
              NSE_OK);
}

TEST(Enumerators, HaveNames)
{
    static const ReflectedEnum s_nameless = {.m_name = "nameless::E", .m_count = 2};
    EXPECT_TRUE(FailsAssertion([] { RegisterReflectedEnum(&s_nameless, nullptr); },
                               "enumeration nameless::E has no names", "host/klObject/types/DescriptionChecks"));
}

// Each contains the one before it: looked at once, in whatever order they come.
TEST(Chains, OfClassesAreRegisteredInAnyOrder)
{
    constexpr int count = 3000;
    const auto name = [](const char* prefix, int i) { return prefix + std::to_string(i); };
    const auto make = [&](const char* prefix, int i)
    {
        return i == 0 ? Made::Class(name(prefix, i), 8, {{{FT_INT64}}})
                      : Made::Class(name(prefix, i), 8, {{{FT_CLASS, 0, 0}}}, {name(prefix, i - 1)});
    };
    for (int i = 0; i < count; ++i)
    {
        ASSERT_EQ(Register(make("chain::Up", i)), NSE_OK);
        ASSERT_EQ(Register(make("chain::Down", count - 1 - i)), NSE_OK);
    }
}

} // namespace
} // namespace kelm
