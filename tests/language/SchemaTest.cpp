#include <kelmLanguage/Schema.h>

#include "RichTypes.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace kelm::language
{

namespace
{

using ::testing::HasSubstr;
using ::testing::Not;

std::string SchemaOfClass(const char* name)
{
    rich::RegisterAll();
    const Types types(CatalogueOfRegisteredTypes({}, Defaults::Untold));
    std::string schema = SchemaOf(types, *types.FindClass(name));
    schema.erase(std::remove_if(schema.begin(), schema.end(), [](char c) { return c == ' ' || c == '\n'; }),
                 schema.end());
    return schema;
}

struct Row
{
    const char* m_class;
    const char* m_part; // of its schema, without white space
};

const Row s_rows[] = {
    {"rich::Point", R"("$ref":"#/$defs/rich::Point.object","$defs":{"rich::Point.object":{"type":"object")"},
    {"rich::Point", R"("properties":{"$class":{"const":"rich::Point"},"x":{"anyOf":[{"type":"number"})"},
    {"rich::Point", R"("required":["$class"],"additionalProperties":false})"},
    {"rich::Shape", R"("description":"Whatisdrawn.","type":"object")"},
    {"rich::Shape", R"("name":{"description":"Shownbesideit.","type":"string"})"},
    {"rich::Shape", R"("centre":{"$ref":"#/$defs/rich::Point"})"},
    {"rich::Server", R"("required":["$class","port"])"},
    {"rich::Scalars", R"("truth":{"type":"boolean"},"tiny":{"type":"integer","minimum":-128,"maximum":127})"},
    {"rich::Scalars", R"("minimum":-9223372036854775808,"maximum":9223372036854775807)"},
    {"rich::Scalars", R"("minimum":0,"maximum":18446744073709551615)"},
    {"rich::Scalars", R"("letter":{"type":"string","minLength":1,"maxLength":1,"pattern":"^[\\x00-\\x7F]$"})"},
    {"rich::Scalars",
     R"({"anyOf":[{"type":"number","minimum":-3.4028235677973366e+38,"maximum":3.4028235677973366e+38},)"},
    {"rich::Scalars", R"("rich::Colour":{"enum":["RED","GREEN","BLUE"]})"},
    {"rich::Scene", R"("corners":{"minItems":3,"maxItems":3,"type":"array","items":{"type":"integer",)"},
    {"rich::Scene", R"("shapes":{"type":"array","items":{"$ref":"#/$defs/rich::Shape"}})"},
    {"rich::Scene", R"("marks":{"type":"object","additionalProperties":{"type":"integer")"},
    {"rich::Scene",
     R"("heights":{"type":"array","items":{"type":"array","prefixItems":[{"$ref":"#/$defs/rich::Point"},)"
     R"({"$ref":"#/$defs/rich::Colour"}],"items":false,"minItems":2}})"},
    {"rich::Scene", R"("length":{"$ref":"#/$defs/rich::Metres"})"},
    {"rich::Scene", R"("rich::Metres":{"anyOf":[{"type":"number"})"},
    {"rich::Scene", R"("rich::Extent":{"oneOf":[{"type":"object","properties":{"none":{"type":"null"}},"required":)"
                    R"(["none"],"additionalProperties":false},)"},
    {"rich::Folder", R"("owner":{"anyOf":[{"$ref":"#/$defs/rich::Person.object"},{"type":"null"}]})"},
    {"rich::Order",
     R"("discount":{"anyOf":[{"anyOf":[{"type":"number"},{"enum":["inf","-inf","nan"]}]},{"type":"null"}]})"},
    {"rich::Order", R"("counts":{"type":"object","propertyNames":{"$ref":"#/$defs/rich::Carrier"},)"},
    {"rich::Order",
     R"("choice":{"anyOf":[{"type":"null"},{"oneOf":[{"type":"object","properties":{"null":{"type":"null"}})"},
    {"rich::Order", R"("patience":{"type":"string"})"},
};

TEST(Schema, TellsWhatReadersAskFor)
{
    for (const Row& row : s_rows)
        EXPECT_THAT(SchemaOfClass(row.m_class), HasSubstr(row.m_part));
}

TEST(Schema, DefinesWhatItRefersToAndNoMore)
{
    const std::string schema = SchemaOfClass("rich::Line"); // whose parts are lines again
    EXPECT_THAT(schema, HasSubstr(R"("rich::Line":{"type":"object")"));
    EXPECT_THAT(schema, Not(HasSubstr("rich::Order")));
}

} // namespace

} // namespace kelm::language
