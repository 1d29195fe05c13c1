// Runs every example of docs/paths.md.

#include "DemoClasses.h"

#include <klKelmScript/ParseFieldPath.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>

namespace kelm
{
namespace
{

constexpr const char* s_document = KELM_DOCS_DIR "/paths.md";

// The value that a path leads to, from a fresh object.
std::string ValueAt(const std::string& path, const xstring& source)
{
    xstring error;
    const ptr<IObject> object = ParseDataSourceFromString(source, error);
    EXPECT_EQ(error, "");
    ExpressionParser parser;
    parser.Init(ViewOf(path));
    ReflectionByteCode type;
    const void* const address = NavigatePathToField(object, parser, type, false);
    if (type.m_bc == nullptr)
        return address == object.self() ? "the object" : "?";
    StringStream written(4096);
    WriteVariable(written, type, address);
    return ToStdString(written.GetString());
}

TEST(PathsDocument, SaysWhatEveryExampleComesTo)
{
    RegisterDemoClasses();
    std::string source;
    for (const DocBlock& block : ReadBlocks(s_document))
        if (block.m_kind == "kds")
            source = block.Text();
    const std::vector<DocExample> examples = ReadExamples(s_document, "path results");
    EXPECT_GE(examples.size(), 40U);
    for (const DocExample& example : examples)
        EXPECT_EQ(ResultOf([&] { return ValueAt(example.m_text, source.c_str()); }, ViewOf(example.m_text), 0),
                  example.m_result)
            << example.m_place << ": " << example.m_text;
    CollectGarbage();
}

} // namespace
} // namespace kelm
