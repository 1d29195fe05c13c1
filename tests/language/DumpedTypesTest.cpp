#include <kelmLanguage/DumpedTypes.h>
#include <kelmLanguage/Types.h>

#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/ExpressionParser.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>
#include <string>
#include <utility>

namespace kelm::language
{

namespace
{

TypeCatalogue CatalogueOf(const std::string& json)
{
    std::string why;
    auto catalogue = ReadTypeCatalogue("{ \"kelmscriptTypes\": 1, " + json + " }", why);
    EXPECT_TRUE(catalogue) << why << " " << json;
    return catalogue ? std::move(*catalogue) : TypeCatalogue();
}

std::string Member(const std::string& name, const std::string& type)
{
    return "{ \"name\": \"" + name + "\", \"type\": " + type + " }";
}
std::string Class(const std::string& name, const std::string& type)
{
    return "{ \"name\": \"" + name + "\", \"members\": [ " + Member("a", type) + " ] }";
}
std::string Classes(const std::string& classes)
{
    return "\"classes\": [ " + classes + " ]";
}
std::string Type(const std::string& kind, const std::string& more)
{
    return "{ \"kind\": \"" + kind + "\", \"text\": \"" + kind + "\", " + more + " }";
}
std::string Named(const std::string& kind, const std::string& name)
{
    return Type(kind, "\"name\": \"" + name + "\"");
}
std::string Of(const std::string& kind, const std::string& part)
{
    return Type(kind, "\"parts\": [ " + part + " ]");
}

std::string WithDefault(const std::string& name, const std::string& type, const std::string& text)
{
    return "\"classes\": [ { \"name\": \"" + name + "\", \"members\": [ { \"name\": \"a\", \"type\": " + type +
           ", \"default\": \"" + text + "\" } ] } ]";
}

// Classes that have two of the next one each, somewhere else.
std::string Doubling(int count)
{
    std::string classes;
    for (int i = 0; i < count; ++i)
    {
        const std::string next = Named("class", "w::D" + std::to_string(i + 1));
        classes += Class("w::D" + std::to_string(i), Of("tuple", next + ", " + next)) + ", ";
    }
    return Classes(classes + Class("w::D" + std::to_string(count), Named("bool", "")));
}

std::string Typedefs(int count)
{
    std::string typedefs;
    for (int i = 0; i < count; ++i)
        typedefs += (i == 0 ? "" : ", ") + std::string("{ \"name\": \"w::T") + std::to_string(i) + "\", \"type\": " +
                    (i + 1 < count ? Named("typedef", "w::T" + std::to_string(i + 1)) : Named("bool", "")) + " }";
    return "\"typedefs\": [ " + typedefs + " ]";
}

TEST(DumpedTypes, AreNoneOfAWrongCatalogue)
{
    const std::string self = Named("class", "w::A");
    const std::pair<std::string, std::string> rows[] = {
        {Classes(Class("w::A", Of("list", Named("class", "w::None")))), "there is no type 'w::None'"},
        {Classes(Class("w::A", Of("optional", Named("enum", "w::None")))), "there is no type 'w::None'"},
        {Classes(Class("w::A", Named("typedef", "w::None"))), "there is no type 'w::None'"},
        {Classes(Class("w::A", self)), "'w::A' is a part of itself"},
        {Classes(Class("w::A", Of("tuple", self))), "'w::A' is a part of itself"},
        {Classes(Class("w::A", Type("choice", "\"names\": [ \"a\" ], \"parts\": [ " + self + " ]"))),
         "'w::A' is a part of itself"},
        {Classes(Class("w::A", Type("array", "\"count\": 2, \"parts\": [ " + self + " ]"))),
         "'w::A' is a part of itself"},
        {Classes(Class("w::A", Named("class", "w::B")) + ", " + Class("w::B", self)), "'w::A' is a part of itself"},
        {"\"typedefs\": [ { \"name\": \"w::T\", \"type\": " + Of("list", Named("typedef", "w::T")) + " }, " +
             "{ \"name\": \"w::U\", \"type\": " + Named("typedef", "w::U") + " } ]",
         "'w::U' is a part of itself"},
        {"\"classes\": [ { \"name\": \"w::A\", \"bases\": [ \"w::B\" ] }, "
         "{ \"name\": \"w::B\", \"bases\": [ \"w::A\" ] } ]",
         "class w::A is its own base"},
        {Classes(Class("w::A", Type("array", "\"count\": 1099511627776, \"parts\": [ " + Named("bool", "") + " ]"))),
         "a type is too large"},
        {Doubling(60), "a type is too large"},
        {Typedefs(1000), "types are nested too deep"},
        {Classes(Class("w::A", Named("bool", "")) + ", " + Class("w::A", Named("bool", ""))),
         "'w::A' cannot be the name of a type"},
        {Classes(Class("w::A\\u0000B", Named("bool", ""))), std::string("'w::A\0B' cannot be the name of a type", 37)},
        {"\"variants\": [ { \"name\": \"w::V\" } ]", "variant w::V has no alternatives"},
        {Classes(Class("w::Odd", Named("integer", "int7"))), "no number is called int7"},
        {Classes(Class("w::K", Type("map", "\"parts\": [ " + Named("other", "") + ", " + Named("bool", "") + " ]"))),
         "the keys of map have a type that no text gives"},
        {Classes(Class("w::K", Type("set", "\"standard\": true, \"parts\": [ " + Named("void", "") + " ]"))),
         "the keys of set have a type that no text gives"},
        {WithDefault("w::D1", Named("integer", "int32"), "x"),
         "the default of member 'a' of class w::D1 cannot be read: Expected int32 when read x"},
        {WithDefault("w::D2", Named("integer", "int32"), "7 8"),
         "the default of member 'a' of class w::D2 cannot be read: Unexpected text behind it"},
        {WithDefault("w::D3", Of("list", Named("bool", "")), "[true, 1]"),
         "the default of member 'a' of class w::D3 cannot be read: Expected bool when read 1"},
        {WithDefault("w::D4", Named("bool", ""), "w::None {}"),
         "the default of member 'a' of class w::D4 cannot be read: Expected bool when read w"},
    };
    for (const auto& [json, why] : rows)
        EXPECT_EQ(RegisterDumpedTypes(CatalogueOf(json)), why) << json.substr(0, 300);
}

// What is read of a text, as text, or why there is none.
std::string ReadAndWritten(const std::string& text)
{
    struct Stream : xostream
    {
        using xostream::put;
        void put(const char* octets, long length) override { m_text.append(octets, static_cast<std::size_t>(length)); }
        std::string m_text;
    } stream;
    try
    {
        ExpressionParser parser;
        parser.Init(SubString(text));
        const GcRoot object(ParseDataSource(parser));
        WriteObject(stream, object.get(), {.m_isWhole = true});
        return stream.m_text;
    }
    catch (const LexScannerException& e)
    {
        return e.what();
    }
}

TEST(DumpedTypes, AreReadAsTheyAreTold)
{
    const std::string node = Named("class", "dumped::Node");
    const TypeCatalogue catalogue = CatalogueOf(
        "\"enums\": [ { \"name\": \"dumped::Kind\", \"enumerators\": [ { \"name\": \"NONE\" }, { \"name\": \"ONE\", "
        "\"value\": 1 } ] } ], "
        "\"classes\": [ { \"name\": \"dumped::Node\", \"creatable\": true, \"members\": [ " +
        Member("inner", Of("optional", node)) + ", " + Member("list", Of("list", node)) + ", " +
        Member("kind", Named("enum", "dumped::Kind")) +
        ", { \"name\": \"count\", \"required\": true, \"default\": \"7\", \"type\": " + Named("integer", "int32") +
        " } ] } ]");
    EXPECT_EQ(RegisterDumpedTypes(catalogue), "");
    EXPECT_EQ(RegisterDumpedTypes(catalogue), ""); // again
    const std::pair<std::string, std::string> rows[] = {
        {"dumped.Node {}", "dumped::Node{list=[] kind=NONE count=7}"},
        {"dumped.Node { inner = { count = 1 } kind = ONE }",
         "dumped::Node{inner=Node{list=[] kind=NONE count=1} list=[] kind=ONE count=7}"},
        {"dumped.Node { list = [{ list = [{}] }, { count = -2 }] }",
         "dumped::Node{list=[Node{list=[Node{list=[] kind=NONE count=7}] kind=NONE count=7},Node{list=[] kind=NONE "
         "count=-2}] kind=NONE count=7}"},
        {"dumped.Node { count = 1.5 }", "Expected int32 when read 1.5"},
        {"dumped.Node { kind = TWO }", "Unknown member 'TWO' of enum dumped::Kind"},
        {"dumped.Node { list = [7] }", "Expected { when read 7"},
    };
    for (const auto& [text, told] : rows)
        EXPECT_EQ(ReadAndWritten(text), told) << text;
    CollectGarbage();
}

// As with the types themselves: what is of the standard library's is replaced, ours added to.
TEST(DumpedTypes, HoldWhatTheyAreOf)
{
    const std::string integer = Named("integer", "int32");
    const auto standard = [&](const std::string& kind, const std::string& parts)
    { return Type(kind, "\"standard\": true, \"parts\": [ " + parts + " ]"); };
    const auto member = [](const std::string& name, const std::string& type, const std::string& text)
    { return "{ \"name\": \"" + name + "\", \"default\": \"" + text + "\", \"type\": " + type + " }"; };
    const TypeCatalogue catalogue = CatalogueOf(
        "\"enums\": [ { \"name\": \"held::Side\", \"standard\": true, \"enumerators\": [ { \"name\": \"LEFT\" }, "
        "{ \"name\": \"RIGHT\", \"value\": 5000000000 } ] } ], \"classes\": [ "
        "{ \"name\": \"held::Key\", \"members\": [ " +
        Member("x", integer) + ", " + Member("y", integer) +
        " ] }, { \"name\": \"held::Holder\", \"creatable\": true, \"members\": [ " +
        member("list", standard("list", integer), "[1, 2]") + ", " + member("own", Of("list", integer), "[1, 2]") +
        ", " + member("grows", Type("list", "\"dynamic\": true, \"parts\": [ " + integer + " ]"), "[1]") + ", " +
        member("set", standard("set", integer), "[3, 1]") + ", " +
        member("map", Type("map", "\"parts\": [ " + Named("class", "held::Key") + ", " + integer + " ]"), "[]") + ", " +
        member("side", Type("enum", "\"name\": \"held::Side\", \"standard\": true"), "RIGHT") + ", " +
        member("wait", Type("duration", "\"count\": 1000000"), "'5ms'") + ", " +
        member("few", Type("duration", "\"count\": 1000000, \"number\": \"uint8\""), "'5ms'") + ", " +
        member("pair", Type("tuple", "\"standard\": true, \"parts\": [ " + integer + ", " + Named("bool", "") + " ]"),
               "[1, true]") +
        ", " + member("fixed", Type("integer", "\"name\": \"int32\", \"const\": true"), "2") + " ] } ]");
    ASSERT_EQ(RegisterDumpedTypes(catalogue), "");
    const auto holder = [](const std::string& list, const std::string& own, const std::string& set,
                           const std::string& map, const std::string& end)
    {
        return "held::Holder{list=[" + list + "] own=[" + own + "] grows=[1] set=[" + set + "] map=[" + map + "] " +
               end + " few=\"5ms\" pair=[1,true] fixed=2}";
    };
    const std::pair<std::string, std::string> rows[] = {
        {"{}", holder("1,2", "1,2", "1,3", "", "side=RIGHT wait=\"5ms\"")},
        {"{ list = [3] own = [3] set = [7, 5, 7] side = LEFT wait = '1s' }",
         holder("3", "1,2,3", "5,7", "", "side=LEFT wait=\"1000ms\"")},
        {"{ map = [{ x = 1 y = 2 } -> 3, { x = 4 } -> 5] }",
         holder("1,2", "1,2", "1,3", "Key{x=1 y=2}->3,Key{x=4 y=2}->5", "side=RIGHT wait=\"5ms\"")},
        {"{ side = 0 }", holder("1,2", "1,2", "1,3", "", "side=LEFT wait=\"5ms\"")},
        {"{ side = 5000000000 }", holder("1,2", "1,2", "1,3", "", "side=RIGHT wait=\"5ms\"")},
        {"{ side = 1 }", "Unknown value '1' of enum held::Side"},
        {"{ side = '0' }", "Expected identifier when read '0'"},
        {"{ side = UP }", "Unknown member 'UP' of enum held::Side"},
        {"{ wait = '5us' }", "Expected duration when read '5us'"},
        {"{ few = '256ms' }", "Value '256ms' is out of range of duration"},
        {"{ few = '-1ms' }", "Value '-1ms' is out of range of duration"},
        {"{ wait = '99999999999999999h' }", "Value '99999999999999999h' is out of range of duration"},
    };
    for (const auto& [text, told] : rows)
        EXPECT_EQ(ReadAndWritten("held::Holder " + text), told) << text;
    CollectGarbage();
}

std::string Numbered(const std::string& prefix, int count, const std::string& type)
{
    std::string classes;
    for (int i = 0; i < count; ++i)
        classes += (i == 0 ? "" : ", ") + Class(prefix + std::to_string(i), type);
    return Classes(classes);
}

// Beside this program, since they stay where they are registered.
TEST(DumpedTypes, HaveRoomForMany)
{
    const auto registers = [](const std::string& json, const std::string& why)
    {
        const std::string told = RegisterDumpedTypes(CatalogueOf(json));
        if (told != why)
            std::cerr << told << "\n";
        std::exit(told == why ? 0 : 1);
    };
    const std::string flag = Named("bool", "");
    EXPECT_EXIT(registers(Numbered("many::C", 1900, flag), ""), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(registers(Numbered("many::C", 2001, flag), "there are more than 2000 classes"),
                testing::ExitedWithCode(0), "");
    std::string members;
    for (int i = 0; i < 1001; ++i)
        members +=
            (i == 0 ? "" : ", ") +
            Member("m" + std::to_string(i), Type("optional", "\"parts\": [ " +
                                                                 Type("array", "\"count\": " + std::to_string(i + 1) +
                                                                                   ", \"parts\": [ " + flag + " ]") +
                                                                 " ]"));
    EXPECT_EXIT(registers(Classes("{ \"name\": \"many::M\", \"members\": [ " + members + " ] }"),
                          "there are more than 1000 types of the standard library's and of maps"),
                testing::ExitedWithCode(0), "");
}

// Two of the class itself in each: without a limit, creation would have no end, and soon no memory.
TEST(DumpedTypes, AreCreatedThoughTheirDefaultsHaveNoEnd)
{
    const auto next = [](const char* name)
    {
        return std::string("{ \"name\": \"") + name +
               "\", \"default\": \"dumped::Endless{}\", \"type\": " + Type("handle", "\"name\": \"kelm::IObject\"") +
               " }";
    };
    EXPECT_EQ(RegisterDumpedTypes(
                  CatalogueOf("\"classes\": [ { \"name\": \"dumped::Endless\", \"interfaces\": [ \"kelm::IObject\" ], "
                              "\"creatable\": true, \"members\": [ " +
                              next("left") + ", " + next("right") + " ] } ]")),
              "");
    ExpressionParser parser;
    parser.Init("dumped::Endless {}");
    EXPECT_NE(ParseDataSource(parser), nullptr);
    CollectGarbage();
}

} // namespace

} // namespace kelm::language
