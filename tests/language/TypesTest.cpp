#include <kelmLanguage/DescriptionText.h>
#include <kelmLanguage/Types.h>

#include "Damage.h"
#include "RichTypes.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>
#include <ratio>
#include <sstream>

namespace waits
{

struct Waits
{
    std::chrono::nanoseconds nano{};
    std::chrono::hours hours{};
    std::chrono::duration<int, std::ratio<1, 25>> frames{};
    std::chrono::duration<long, std::ratio<604800>> weeks{};
    std::chrono::duration<long, std::ratio<2629746>> months{};
    std::chrono::duration<signed char, std::milli> few{};
    std::chrono::duration<double> seconds{};
    std::chrono::duration<float> singles{};
    std::chrono::duration<unsigned long, std::micro> unsigneds{};
    std::chrono::duration<short, std::ratio<3600>> shorts{};
    std::chrono::duration<unsigned char> octets{};
};

} // namespace waits

KELM_DESCRIBE(waits::Waits, nano, hours, frames, weeks, months, few, seconds, singles, unsigneds, shorts, octets)

namespace kelm::language
{

namespace
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

const Types& RichTypes()
{
    static const Types s_types = []
    {
        rich::RegisterAll();
        return Types(CatalogueOfRegisteredTypes());
    }();
    return s_types;
}

// A type in one line: kind, name and parts.
std::string Shown(const TypeNode& type)
{
    std::string text = (type.m_isConst ? "const " : "") + std::string(type.m_isStandard ? "std " : "") +
                       (type.m_isDynamic ? "growing " : "") + (type.m_isPointer ? "pointer " : "") +
                       (type.m_isShared ? "shared " : "") + std::string(NameOf(type.m_kind));
    if (!type.m_name.empty())
        text += " " + type.m_name;
    if (type.m_count != 0)
        text += "[" + std::to_string(type.m_count) + "]";
    if (type.m_parts.empty())
        return text;
    for (std::size_t i = 0; i < type.m_parts.size(); ++i)
        text += (i == 0 ? "(" : ", ") + (type.m_names.empty() ? "" : type.m_names[i] + ": ") + Shown(type.m_parts[i]);
    return text + ")";
}

struct MemberRow
{
    std::string m_class;
    std::string m_member;
    std::string m_type;
    std::string m_text;
    std::string m_default; // "-" for none
};

const MemberRow s_members[] = {
    {"rich::Scalars", "truth", "bool", "bool", "true"},
    {"rich::Scalars", "ularge", "integer uint64", "uint64", "18446744073709551615"},
    {"rich::Scalars", "single", "float float32", "float32", "0.1"},
    {"rich::Scalars", "letter", "character char8", "char", "'a'"},
    {"rich::Scalars", "wide", "character char16", "char16_t", "'b'"},
    {"rich::Scalars", "text", "text string8", "xstring", "\"it's \\\"quoted\\\"\""},
    {"rich::Scalars", "text16", "text string16", "xstring16", "\"\""},
    {"rich::Scalars", "colour", "enum rich::Colour", "rich::Colour", "GREEN"},
    {"rich::Scene", "extent", "variant rich::Extent", "rich::Extent", "none"},
    {"rich::Scene", "corners", "array[3](integer int32)", "int32[3]", "[1,2,3]"},
    {"rich::Scene", "shapes", "list(class rich::Shape)", "xvector<rich::Shape>", "[]"},
    {"rich::Scene", "samples", "growing list(float float64)", "xdynarray<float64>", "[]"},
    {"rich::Scene", "rows", "map(integer int32, list(text string8))", "xmap<int32, xvector<xstring>>", "[]"},
    {"rich::Scene", "next", "handle kelm::IObject", "ptr<kelm::IObject>", "null"},
    {"rich::Scene", "length", "typedef rich::Metres", "rich::Metres", "2.5"},
    {"rich::Scene", "format", "const integer int32", "const int32", "3"},
    {"rich::Folder", "owner", "reference rich::Person", "pref<rich::Person>", "-"},
    {"rich::Folder", "numbers", "set(integer int32)", "xset<int32>", "-"},
    {"rich::Order", "lines", "std list(class rich::Line)", "vector<rich::Line>", "[]"},
    {"rich::Order", "discount", "std optional(float float64)", "optional<float64>", "null"},
    {"rich::Order", "gift", "std pointer optional(class rich::Line)", "pointer<rich::Line>", "null"},
    {"rich::Order", "shared", "std pointer shared optional(class rich::Line)", "pointer<rich::Line>", "null"},
    {"rich::Order", "carriers", "std map(std text string, std enum rich::Carrier)", "map<string, rich::Carrier>", "[]"},
    {"rich::Order", "tags", "std set(std text string)", "set<string>", "[]"},
    {"rich::Order", "place", "std tuple(integer int32, std text string)", "pair<int32, string>", "[1,\"one\"]"},
    {"rich::Order", "choice",
     "std choice(null: void, bool: bool, float64: float float64, string: std text string, rich::Point: class "
     "rich::Point)",
     "variant<void, bool, float64, string, rich::Point>", "null"},
    {"rich::Order", "patience", "std duration duration[1000000]", "duration", "\"100ms\""},
    {"rich::Order", "file", "std text string", "string", "\"a/b\""},
    {"rich::Order", "carrier", "std enum rich::Carrier", "rich::Carrier", "courier"},
};

TEST(Catalogue, TellsTypesAndDefaultsOfMembers)
{
    for (const MemberRow& row : s_members)
    {
        SCOPED_TRACE(row.m_class + "." + row.m_member);
        const CatalogueClass* const entry = RichTypes().FindClass(row.m_class);
        ASSERT_NE(entry, nullptr);
        const CatalogueMember* const member = Types::FindMember(*entry, row.m_member);
        ASSERT_NE(member, nullptr);
        EXPECT_EQ(Shown(member->m_type), row.m_type);
        EXPECT_EQ(member->m_type.m_text, row.m_text);
        EXPECT_EQ(member->m_default.value_or("-"), row.m_default);
    }
}

TEST(Catalogue, TellsHowLongOneOfADurationIs)
{
    EnsureRegistered<waits::Waits>();
    const TypeCatalogue catalogue = CatalogueOfRegisteredTypes("waits::Waits");
    ASSERT_EQ(catalogue.m_classes.size(), 1U);
    constexpr int64 second = 1'000'000'000;
    const int64 expected[] = {1, 3600 * second, second / 25,   604800 * second, 2629746 * second, second / 1000, 0,
                              0, 1000,          3600 * second, second};
    std::vector<int64> told;
    for (const CatalogueMember& member : catalogue.m_classes[0].m_members)
        told.push_back(member.m_type.m_count);
    EXPECT_THAT(told, ::testing::ElementsAreArray(expected));
    std::vector<std::string> numbers;
    for (const CatalogueMember& member : catalogue.m_classes[0].m_members)
        numbers.push_back(member.m_type.m_number);
    EXPECT_THAT(numbers, ElementsAre("", "", "int32", "", "", "int8", "", "float32", "uint64", "int16", "uint8"));
}

TEST(Catalogue, TellsClasses)
{
    const CatalogueClass& circle = *RichTypes().FindClass("rich::Circle");
    EXPECT_THAT(circle.m_bases, ElementsAre("rich::Shape"));
    EXPECT_THAT(circle.m_interfaces, ElementsAre("kelm::IObject"));
    EXPECT_TRUE(circle.m_isCreatable);
    EXPECT_FALSE(RichTypes().FindClass("rich::Sealed")->m_isCreatable);

    const CatalogueClass& server = *RichTypes().FindClass("rich::Server");
    EXPECT_FALSE(server.m_members[0].m_isRequired || server.m_members[0].m_isChecked);
    EXPECT_TRUE(server.m_members[1].m_isRequired && server.m_members[1].m_isChecked);
    const CatalogueClass& scene = *RichTypes().FindClass("rich::Scene");
    EXPECT_TRUE(scene.m_members.front().m_isOfModel);
    EXPECT_FALSE(scene.m_members.back().m_isOfModel);
    EXPECT_EQ(scene.m_members.back().m_name, "area");
}

TEST(Catalogue, TellsEnumeratorsOfEveryWidth)
{
    const auto shown = [](const char* name)
    {
        std::string text;
        for (const CatalogueEnumerator& enumerator : RichTypes().FindEnum(name)->m_enumerators)
            text += enumerator.m_name + "=" + std::to_string(enumerator.m_value) + " ";
        return text;
    };
    EXPECT_EQ(shown("rich::Colour"), "RED=0 GREEN=5 BLUE=-3 ");
    EXPECT_EQ(shown("rich::Carrier"), "mail=0 courier=200 ");
    EXPECT_FALSE(RichTypes().FindEnum("rich::Colour")->m_isStandard);
    EXPECT_TRUE(RichTypes().FindEnum("rich::Carrier")->m_isStandard);
}

TEST(Catalogue, TellsWhatDescriptionsSay)
{
    const CatalogueClass& shape = *RichTypes().FindClass("rich::Shape");
    EXPECT_EQ(shape.m_doc, "What is drawn.");
    EXPECT_EQ(shape.m_members[0].m_doc, "Shown beside it.");
    EXPECT_EQ(shape.m_members[1].m_doc, "");
    EXPECT_EQ(RichTypes().FindClass("rich::Scene")->m_members.back().m_doc, "In square metres.");
    EXPECT_EQ(RichTypes().FindClass("rich::Server")->m_members[0].m_doc, "By name\nor number.");
    EXPECT_EQ(RichTypes().FindEnum("rich::Colour")->m_enumerators[0].m_doc, "");
    EXPECT_EQ(RichTypes().FindEnum("rich::Colour")->m_enumerators[1].m_doc, "as grass");
}

TEST(Catalogue, TellsWhereDescriptionsAre)
{
    std::ostringstream source;
    source << std::ifstream(KELM_LANGUAGE_TESTS "/RichTypes.h").rdbuf();
    const auto expect = [&](const CatalogueEntry& entry, const std::string& line)
    {
        EXPECT_THAT(entry.m_place.m_file, ::testing::EndsWith("tests/language/RichTypes.h"));
        const auto found = FindInDescription(source.view(), static_cast<std::size_t>(entry.m_place.m_line - 1), {});
        ASSERT_TRUE(found) << line;
        EXPECT_TRUE(source.view().substr(found->m_begin).starts_with(line)) << line;
    };
    expect(*RichTypes().FindClass("rich::Scene"), "KELM_CLASS(rich::Scene,");
    expect(*RichTypes().FindClass("rich::Order"), "KELM_DESCRIBE(rich::Order,");
    expect(*RichTypes().FindEnum("rich::Colour"), "KELM_ENUM(rich::Colour,");
    expect(*RichTypes().FindEnum("rich::Carrier"), "KELM_DESCRIBE_ENUM(rich::Carrier,");
    expect(*RichTypes().FindVariant("rich::Extent"), "KELM_VARIANT(rich::Extent,");
    expect(*RichTypes().FindTypedef("rich::Metres"), "KELM_TYPEDEF(rich::Metres,");
}

TEST(Types, FindsByName)
{
    EXPECT_EQ(RichTypes().FindClass("rich::Poin"), nullptr);
    EXPECT_EQ(RichTypes().FindClass("Point"), nullptr);
    EXPECT_EQ(RichTypes().FindVariant("rich::Extent")->m_alternatives.size(), 4U);
    EXPECT_EQ(RichTypes().FindTypedef("rich::Metres")->m_type.m_name, "float64");
    EXPECT_THAT(RichTypes().NearestClasses("rich::Pont"), ElementsAre("rich::Point"));
    EXPECT_THAT(Types::NearestMembers(*RichTypes().FindClass("rich::Shape"), "nam"), ElementsAre("name"));
    EXPECT_THAT(Types::NearestEnumerators(*RichTypes().FindEnum("rich::Colour"), "GREN"), ElementsAre("GREEN"));
}

TEST(Types, GoBehindTypedefs)
{
    const CatalogueMember& length = *Types::FindMember(*RichTypes().FindClass("rich::Scene"), "length");
    EXPECT_EQ(RichTypes().UnderlyingOf(length.m_type).m_kind, TypeKind::Float);

    TypeNode a{TypeKind::Typedef, "a", "a"};
    TypeNode b{TypeKind::Typedef, "b", "b"};
    TypeCatalogue circular;
    circular.m_typedefs = {{{"a", {}, {}, {}}, b}, {{"b", {}, {}, {}}, a}};
    EXPECT_EQ(Types(circular).UnderlyingOf(a).m_kind, TypeKind::Typedef);
}

TEST(Types, KnowWhatAHandleCanDesignate)
{
    const auto names = [](const TypeNode& handle)
    {
        std::vector<std::string> found;
        for (const CatalogueClass* entry : RichTypes().CreatableClassesFor(handle))
            if (entry->m_name.starts_with("rich::"))
                found.push_back(entry->m_name);
        return found;
    };
    EXPECT_THAT(names({TypeKind::Handle, "", "rich::Shape"}), ElementsAre("rich::Circle", "rich::Shape"));
    EXPECT_THAT(names({TypeKind::Reference, "", "kelm::IPersistable"}), ElementsAre("rich::Person"));
    EXPECT_THAT(names({TypeKind::Handle, "", "rich::Sealed"}), IsEmpty());
    EXPECT_EQ(names({TypeKind::Handle, "", "kelm::IObject"}).size(), 10U);
}

TEST(Types, FindAlternativesAsReadersDo)
{
    const auto found = [](const TypeNode& type, const char* written)
    {
        const auto alternative = RichTypes().FindAlternative(type, written);
        return alternative ? alternative->m_name : "-";
    };
    const TypeNode extent{TypeKind::Variant, "", "rich::Extent"};
    EXPECT_EQ(found(extent, "Point"), "rich::Point");
    EXPECT_EQ(found(extent, "rich::Point"), "rich::Point");
    EXPECT_EQ(found(extent, "oint"), "-");
    const TypeNode choice{TypeKind::Choice, "", "", {{}, {}}, {"a::x", "x"}};
    EXPECT_EQ(found(choice, "x"), "x");
    EXPECT_EQ(found(choice, "a::x"), "a::x");
}

// --- as a file

TEST(ReadTypeCatalogue, GivesWhatWasWritten)
{
    std::string why;
    const auto read = ReadTypeCatalogue(JsonOf(RichTypes().GetCatalogue()), why);
    ASSERT_TRUE(read) << why;
    EXPECT_EQ(*read, RichTypes().GetCatalogue());
    EXPECT_EQ(JsonOf(*read), JsonOf(RichTypes().GetCatalogue()));
}

struct FaultRow
{
    std::string m_text;
    std::string m_why;
};

const FaultRow s_faults[] = {
    {"", "it is no JSON: parse error"},
    {"garden.Plan {}", "it is no JSON: parse error at line 1, column 1"},
    {"[]", "it has no \"kelmscriptTypes\""},
    {"{}", "it has no \"kelmscriptTypes\""},
    {R"({"kelmscriptTypes":2})", "it is of version 2, and version 1 can be read"},
    {R"({"kelmscriptTypes":"1"})", "it is of version \"1\", and version 1 can be read"},
    {R"({"kelmscriptTypes":1,"classes":{}})", "classes is no array"},
    {R"({"kelmscriptTypes":1,"classes":[7]})", "classes[0] is no object"},
    {R"({"kelmscriptTypes":1,"classes":[{}]})", "classes[0] has no name"},
    {R"({"kelmscriptTypes":1,"classes":[{"name":"a","members":[{"type":{"kind":"tupel"}}]}]})",
     "classes[0].members[0].type.kind is no kind of a type"},
    {R"({"kelmscriptTypes":1,"typedefs":[{"name":"a","type":{"kind":"list"}}]})",
     "typedefs[0].type has not the parts of its kind"},
    {R"({"kelmscriptTypes":1,"typedefs":[{"name":"a","type":{"kind":"choice","names":["a"]}}]})",
     "typedefs[0].type has not a name for each part"},
    {R"({"kelmscriptTypes":1,"typedefs":[{"name":"a","type":{"kind":"duration","number":"int7"}}]})",
     "typedefs[0].type counts in 'int7', which is no number of durations"},
    {R"({"kelmscriptTypes":1,"enums":[{"name":"a","enumerators":[{"value":9223372036854775808}]}]})",
     "enums[0].enumerators[0].value is no integer of 64 bits"},
    {R"({"kelmscriptTypes":1,"classes":[{"name":"a","members":[{"name":"b"}]}]})", "classes[0].members[0] has no type"},
    {R"({"kelmscriptTypes":1,"classes":[{"name":"a","members":[{"type":{"kind":"bool"}}]}]})",
     "classes[0].members[0] has no name"},
    {R"({"kelmscriptTypes":1,"typedefs":[{"name":"a","type":{"kind":"map","parts":[{},{"kind":"bool"}]}}]})",
     "typedefs[0].type.parts[0] has no kind"},
    {R"({"kelmscriptTypes":1,"classes":[{"name":"a","members":[{"name":"b","type":{"kind":"bool"}},
        {"name":"b","type":{"kind":"text"}}]}]})",
     "classes[0] has two members named 'b'"},
    {R"({"kelmscriptTypes":1,"variants":[{"name":"a","alternatives":[{"name":"b","type":{"kind":"bool"}},
        {"name":"b","type":{"kind":"text"}}]}]})",
     "variants[0] has two alternatives named 'b'"},
    {R"({"kelmscriptTypes":1,"enums":[{"name":"a","enumerators":[{"name":"B"},{"name":"B","value":1}]}]})",
     "enums[0] has two enumerators named 'B'"},
    {R"({"kelmscriptTypes":1,"enums":[{"name":"a","enumerators":[{"name":"B","value":2147483648}]}]})",
     "enums[0] gives 'B' a value of more than 32 bits"},
    {R"({"kelmscriptTypes":1,"enums":[{"name":"a","line":2147483648}]})", "enums[0].line is no integer of 32 bits"},
    {"{\"kelmscriptTypes\":1,\"classes\":" + std::string(500, '['), "it is nested too deep"},
};

TEST(ReadTypeCatalogue, SaysWhatIsNoCatalogue)
{
    for (const FaultRow& row : s_faults)
    {
        std::string why;
        EXPECT_FALSE(ReadTypeCatalogue(row.m_text, why)) << row.m_text;
        EXPECT_THAT(why, HasSubstr("it is no file of types: " + row.m_why));
    }
}

TEST(ReadTypeCatalogue, TakesDamagedTexts)
{
    const std::string text = JsonOf(RichTypes().GetCatalogue());
    std::mt19937_64 random(1);
    for (int i = 0; i < 200; ++i)
    {
        std::string why;
        const auto read = ReadTypeCatalogue(Damaged(text, random), why);
        EXPECT_NE(read.has_value(), why.starts_with("it is no file of types: "));
    }
}

TEST(ReadTypeCatalogue, PassesOverWhatItDoesNotKnow)
{
    std::string why;
    const auto read =
        ReadTypeCatalogue(R"({"later":[1],"kelmscriptTypes":1,"classes":[{"name":"a","later":{}}]})", why);
    ASSERT_TRUE(read) << why;
    EXPECT_EQ(read->m_classes[0].m_name, "a");
}

} // namespace

} // namespace kelm::language
