#include <kelmscript/json/JsonVariable.h>
#include <kelmscript/json/SourceOfJson.h>

#include <language/AnyText.h>
#include <language/Damage.h>
#include <language/RichTypes.h>

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>
#include <klKelmScript/private/RuledReading.h>
#include <klObject/objects/Collector.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/text/ExpressionParser.h>

#include <gmock/gmock.h>

#include <optional>

namespace kelm::tool
{

namespace
{

using language::JsonFault;
using language::JsonTape;

class SourceOfJsonTest : public ::testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        Register_Project_klKelmScript();
        rich::RegisterAll();
    }
    ~SourceOfJsonTest() override { CollectGarbage(); }
};

std::string JsonOf(ptr<IObject> object)
{
    JsonText json(JSON_COMPACT);
    WriteJson(json, object);
    return json.GetText();
}

// The text for a JSON text, or what is wrong and where.
std::string Converted(const std::string& json, const std::string& className = {})
{
    JsonFault fault;
    const std::optional<JsonTape> tape = JsonTape::Read(json, fault);
    if (!tape)
        return std::to_string(fault.m_place) + ": " + fault.m_message;
    try
    {
        return MakeSourceOfJson(*tape, className).m_text;
    }
    catch (const JsonMismatch& e)
    {
        return std::to_string(e.GetPlace()) + ": " + e.what();
    }
}

TEST_F(SourceOfJsonTest, InvertsWhatPrintingAsJsonDoes)
{
    const language::Types types(CatalogueOfRegisteredTypes());
    for (const char* className : {"rich::Scene", "rich::Order", "rich::Folder", "rich::Scalars", "rich::Circle"})
        for (uint64 seed = 0; seed < 300; ++seed)
        {
            const std::string text = language::AnyText(types, seed).DataSource(className);
            SCOPED_TRACE(text);
            std::string path;
            LexScannerException error{"", LSToken()};
            ExpressionParser parser;
            parser.Init(SubString(text));
            const GcRoot first(ReadObjectByRules(parser, {}, path));
            const std::string json = JsonOf(first.get());
            const std::string converted = Converted(json);
            parser.Init(SubString(converted));
            try
            {
                const GcRoot second(ReadObjectByRules(parser, {}, path));
                ASSERT_EQ(JsonOf(second.get()), json) << converted;
            }
            catch (const LexScannerException& e)
            {
                FAIL() << e.what() << "\n" << converted;
            }
        }
}

TEST_F(SourceOfJsonTest, TakesDamagedTexts)
{
    const language::Types types(CatalogueOfRegisteredTypes());
    std::mt19937_64 random(1);
    int numConverted = 0;
    for (uint64 seed = 0; seed < 1000; ++seed)
    {
        const char* const className = seed % 2 == 0 ? "rich::Scene" : "rich::Order";
        const std::string text = language::AnyText(types, seed).DataSource(className);
        ExpressionParser parser;
        parser.Init(SubString(text));
        std::string path;
        const std::string json = JsonOf(ReadObjectByRules(parser, {}, path));
        const std::string damaged = language::Damaged(json, random);
        const std::string converted = Converted(damaged);
        if (!converted.starts_with("rich::"))
            continue;
        ++numConverted;
        parser.Init(SubString(converted));
        try
        {
            ReadObjectByRules(parser, {}, path);
        }
        catch (const LexScannerException&)
        {
        }
    }
    EXPECT_GT(numConverted, 20);
    EXPECT_LT(numConverted, 950);
}

struct Row
{
    std::string m_json;
    std::string m_text;
};

const Row s_rows[] = {
    // as it stands, in its own order, and nothing that is not there
    {R"({"$class":"rich::Point","y":1,"x":2.5})", "rich::Point {\n    y = 1\n    x = 2.5\n}"},
    {R"({"y":1,"$class":"rich::Point"})", "rich::Point {\n    y = 1\n}"},
    {R"({"$class":"rich::Point"})", "rich::Point {}"},
    {"null", "null"},
    // numbers are what they are worth, keys too
    {R"({"$class":"rich::Scalars","tiny":5.0})", "rich::Scalars {\n    tiny = 5\n}"},
    {R"({"$class":"rich::Scalars","tiny":-120e-1})", "rich::Scalars {\n    tiny = -12\n}"},
    {R"({"$class":"rich::Scalars","tiny":0.05E+2})", "rich::Scalars {\n    tiny = 5\n}"},
    {R"({"$class":"rich::Scalars","tiny":-0.00e9})", "rich::Scalars {\n    tiny = 0\n}"},
    {R"({"$class":"rich::Scalars","tiny":5.5})", "rich::Scalars {\n    tiny = 5.5\n}"},
    {R"({"$class":"rich::Scalars","tiny":1e30})", "rich::Scalars {\n    tiny = 1e30\n}"},
    {R"({"$class":"rich::Scalars","tiny":1e999999999999})",
     "46: it is no JSON: number overflow parsing '1e999999999999'"},
    {R"({"$class":"rich::Scene","heights":[[{"x":1},"RED"],[{"x":1.0,"y":0},"BLUE"]]})",
     "52: the key Point{x=1.0 y=0.0} is written twice"},
    {R"(/* a */ {"$class": /* b */ "rich::Point", // c
"x":1})",
     "rich::Point {\n    x = 1\n}"},
    {R"({"$class":"rich::Shape","centre":{"x":1},"name":"a\"\u00e9\n"})",
     "rich::Shape {\n    centre = {\n        x = 1\n    }\n    name = \"a\\\"é\\n\"\n}"},
    {R"({"$class":"rich::Scene","corners":[1,2,3],"shapes":[{"name":"a"},{}]})",
     "rich::Scene {\n    corners = [1, 2, 3]\n    shapes = [\n        {\n            name = \"a\"\n        },\n        "
     "{}\n    ]\n}"},
    {R"({"$class":"rich::Scene","marks":{"a b":1},"rows":[[1,["x"]]],"heights":[]})",
     "rich::Scene {\n    marks = [\n        \"a b\" -> 1\n    ]\n    rows = [\n        1 -> [\"x\"]\n    ]\n    "
     "heights = "
     "[]\n}"},
    {R"({"$class":"rich::Scene","extent":{"none":null},"length":"nan","next":{"$class":"rich::Point","x":1}})",
     "rich::Scene {\n    extent = none\n    length = nan\n    next = rich::Point {\n        x = 1\n    }\n}"},
    {R"({"$class":"rich::Scene","extent":{"radius":-0.0}})", "rich::Scene {\n    extent = radius -0.0\n}"},
    {R"({"$class":"rich::Folder","owner":null,"numbers":[],"size":1})", "rich::Folder {\n    size = 1\n}"},
    {R"({"$class":"rich::Scalars","ularge":18446744073709551615,"large":-9223372036854775808,"colour":"BLUE"})",
     "rich::Scalars {\n    ularge = 18446744073709551615\n    large = -9223372036854775808\n    colour = BLUE\n}"},
    {R"({"$class":"rich::Scalars","wide":"\uff80","letter":"'"})",
     "rich::Scalars {\n    wide = \"\\x80\"\n    letter = \"'\"\n}"},
    {R"({"$class":"rich::Order","choice":null,"discount":null,"carrier":"mail","counts":{"mail":1}})",
     "rich::Order {\n    choice = null\n    discount = null\n    carrier = mail\n    counts = [\n        mail -> "
     "1\n    ]\n}"},
    {R"({"$class":"rich::Order","carrier":200})", "rich::Order {\n    carrier = 200\n}"},
    {R"({"$class":"rich::Order","choice":{"rich::Point":{"x":1}},"place":[2,"b"],"discount":0.5})",
     "rich::Order {\n    choice = rich::Point {\n        x = 1\n    }\n    place = [2, \"b\"]\n    discount = 0.5\n}"},

    // what cannot be
    {"",
     "0: it is no JSON: syntax error while parsing value - unexpected end of input; expected '[', '{', or a literal"},
    {"{\"a\":1,\"a\":2}", "7: member 'a' is written twice"},
    {R"({"a":{"b":1},"b":2,"\u0061":2})", "19: member 'a' is written twice"},
    {"{}", "0: Expected \"$class\", the name of the object's class"},
    {R"({"$class":7})", "10: Expected the name of a class"},
    {R"({"$class":"rich::Pont"})", "10: 'rich::Pont' is not a registered class name"},
    {"[]", "0: Expected an object, or null"},
    {R"({"$class":"rich::Point","z":1})", "24: Unknown member 'z' of class rich::Point"},
    {R"({"$class":"rich::Point","x = 1 y":1})", "24: Unknown member 'x = 1 y' of class rich::Point"},
    {R"({"$class":"rich::Point","x":[1]})", "28: Expected a value when read an array"},
    {R"({"$class":"rich::Shape","centre":[1,2]})", "33: Expected an object for rich::Point"},
    {R"({"$class":"rich::Scene","corners":{}})", "34: Expected an array for int32[3]"},
    {R"({"$class":"rich::Scene","rows":[[1]]})", "32: Expected an array of a key and a payload for xmap<int32, "
                                                 "xvector<xstring>>"},
    {R"({"$class":"rich::Scene","rows":[[1,[],2]]})", "32: Expected an array of a key and a payload for xmap<int32, "
                                                      "xvector<xstring>>"},
    {R"({"$class":"rich::Scene","extent":{}})",
     "33: Expected an object with one member, named as the alternative, for rich::Extent"},
    {R"({"$class":"rich::Scene","extent":{"Point":{}}})", "34: Unknown member 'Point' of variant rich::Extent"},
    {R"({"$class":"rich::Scene","extent":{"none":1}})", "41: Expected null for nothing"},
    {R"({"$class":"rich::Folder","numbers":[1]})", "35: data sources have no form for a set"},
    {R"({"$class":"rich::Scalars","colour":"GREY"})", "35: Unknown member 'GREY' of enum rich::Colour"},
    {R"({"$class":"rich::Order","carrier":"foot"})", "34: Unknown member 'foot' of enum rich::Carrier"},
};

TEST_F(SourceOfJsonTest, GivesTheTextOrSaysWhatIsWrong)
{
    for (const Row& row : s_rows)
        EXPECT_EQ(Converted(row.m_json), row.m_text) << row.m_json;
    EXPECT_EQ(Converted(R"({"x":1})", "rich::Point"), "rich::Point {\n    x = 1\n}");
}

TEST_F(SourceOfJsonTest, KnowsThePlacesOfItsText)
{
    const std::string json = R"({"$class":"rich::Shape", "centre": {"x" : 17, "y":"b"}, "name":"c"})";
    JsonFault fault;
    const std::optional<JsonTape> tape = JsonTape::Read(json, fault);
    const SourceOfJson source = MakeSourceOfJson(*tape, {});
    for (const char* token : {"17", "\"b\"", "\"c\""})
        EXPECT_EQ(source.InJson(source.m_text.find(token)), json.find(token)) << token;
    EXPECT_EQ(source.InJson(source.m_text.find("y =")), json.find("\"y\""));
    EXPECT_EQ(source.InJson(source.m_text.size()), json.size() - 1);
    EXPECT_EQ(source.InJson(0), json.find("\"rich"));
}

} // namespace

} // namespace kelm::tool
