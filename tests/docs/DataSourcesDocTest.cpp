// Runs every example of docs/data-sources.md.

#include "DemoClasses.h"

#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>

namespace kelm
{
namespace
{

constexpr const char* s_document = KELM_DOCS_DIR "/data-sources.md";

ptr<IObject> Read(const std::string& text)
{
    ExpressionParser parser;
    parser.Init(ViewOf(text));
    return ParseDataSource(parser);
}

std::string WriteWhole(ptr<IObject> object)
{
    StringStream written(4096);
    WriteObject(written, object);
    return ToStdString(written.GetString());
}

// "name=value name=value ...", with all that each member holds.
std::string WriteMembers(ptr<IObject> object)
{
    StringStream written(4096);
    const ReflectedClass& rc = *object.GetReflectedClass();
    const char* const self = static_cast<const char*>(object.self());
    for (ssize_t i = 0; i < rc.m_numModelFields; ++i)
    {
        const ReflectedModelField& field = rc.m_modelFields[i];
        const ReflectionByteCode type(field.m_bc, rc.m_stringTable, field.m_mapOrSetFns);
        if (type.GetCode() == FT_PREF && !reinterpret_cast<const prefbase*>(self + field.m_offset)->Get())
            continue;
        written << field.m_name << "=";
        WriteVariable(written, type, self + field.m_offset);
        written << " ";
    }
    return ToStdString(written.GetString());
}

TEST(DataSourcesDocument, ShowsWholeDataSourcesThatAreRead)
{
    RegisterDemoClasses();
    int examples = 0;
    for (const DocBlock& block : ReadBlocks(s_document))
        if (block.m_kind == "kds")
        {
            ++examples;
            const std::string text = block.Text();
            EXPECT_EQ(ResultOf([&] { return WriteWhole(Read(text)).substr(0, 4); }, ViewOf(text), 0), "demo")
                << s_document << ":" << block.m_line;
        }
    EXPECT_GE(examples, 1);
}

// An example is a data source, or members of a shape of which the result shows some.
TEST(DataSourcesDocument, SaysWhatEveryExampleComesTo)
{
    RegisterDemoClasses();
    const std::vector<DocExample> examples = ReadExamples(s_document, "kds results");
    EXPECT_GE(examples.size(), 70U);
    for (const DocExample& example : examples)
    {
        const std::size_t equals = example.m_text.find_first_of("={([ }");
        const bool isMembers = equals != std::string::npos && example.m_text.find("= ") == equals + 1;
        const std::string head = isMembers ? "demo.Shape { " : "";
        // At the end of an error that is told there, nothing may follow.
        const bool endsOpen = example.m_result.find("end of text") != std::string::npos;
        const std::string text = head + example.m_text + (isMembers && !endsOpen ? " }" : "");
        const auto read = [&]
        {
            const ptr<IObject> object = Read(text);
            return isMembers ? WriteMembers(object) : WriteWhole(object);
        };
        const std::string result = ResultOf(read, ViewOf(text), static_cast<ssize_t>(head.size()));
        if (isMembers && result.compare(0, 5, "name=") == 0)
            EXPECT_NE(result.find(example.m_result), std::string::npos) << example.m_place << ": " << result;
        else
            EXPECT_EQ(result, example.m_result) << example.m_place;
    }
    CollectGarbage();
}

} // namespace
} // namespace kelm
