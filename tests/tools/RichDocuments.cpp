// Writes a line of JSON for each of many random objects: "schema", that of its class where it is the class's first one,
// "text", a data source of it, and "document", the object. With an argument it writes the catalogue of its types.

#include <kelmLanguage/Schema.h>
#include <kelmscript/json/JsonVariable.h>

#include <language/AnyText.h>
#include <language/RichTypes.h>

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/objects/Collector.h>
#include <klUtils/text/ExpressionParser.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace
{

constexpr kelm::uint64 s_count = 60;

std::string OnOneLine(std::string json)
{
    std::replace(json.begin(), json.end(), '\n', ' ');
    return json;
}

} // namespace

int main(int argc, char**)
{
    Register_Project_klKelmScript();
    rich::RegisterAll();
    const kelm::language::Types types(kelm::CatalogueOfRegisteredTypes());
    if (argc > 1)
    {
        std::puts(JsonOf(types.GetCatalogue()).c_str());
        return 0;
    }
    for (const char* className : {"rich::Scene", "rich::Order", "rich::Folder", "rich::Scalars"})
        for (kelm::uint64 seed = 0; seed < s_count; ++seed)
        {
            const std::string text = kelm::language::AnyText(types, seed).DataSource(className);
            kelm::ExpressionParser parser;
            parser.Init(kelm::SubString(text));
            const kelm::GcRoot object(ParseDataSource(parser));
            kelm::JsonText json(kelm::JSON_COMPACT);
            kelm::JsonText source(kelm::JSON_COMPACT);
            source.Text(text);
            kelm::tool::WriteJson(json, object.get());
            const std::string schema = seed == 0 ? SchemaOf(types, *types.FindClass(className)) : "null";
            std::printf("{\"schema\":%s,\"text\":%s,\"document\":%s}\n", OnOneLine(schema).c_str(),
                        source.GetText().c_str(), json.GetText().c_str());
        }
    return 0;
}
