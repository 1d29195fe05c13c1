#include <kelmLanguage/DumpedTypes.h>
#include <kelmLanguage/Types.h>

#include <klKelmScript/ParseDataSource.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/ExpressionParser.h>

#include <gtest/gtest.h>

#include <string>

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
    };
    for (const auto& [json, why] : rows)
        EXPECT_EQ(RegisterDumpedTypes(CatalogueOf(json)), why) << json.substr(0, 300);
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
    {
        std::string read;
        try
        {
            ExpressionParser parser;
            parser.Init(SubString(text));
            const GcRoot object(ParseDataSource(parser));
            struct Stream : xostream
            {
                using xostream::put;
                void put(const char* octets, long length) override
                {
                    m_text.append(octets, static_cast<std::size_t>(length));
                }
                std::string m_text;
            } stream;
            WriteObject(stream, object.get());
            read = stream.m_text;
        }
        catch (const LexScannerException& e)
        {
            read = e.what();
        }
        EXPECT_EQ(read, told) << text;
    }
    CollectGarbage();
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
