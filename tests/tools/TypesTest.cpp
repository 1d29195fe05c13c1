#include "Tool.h"

#include <gmock/gmock.h>

#include <fstream>

namespace kelm
{

namespace
{

TEST(Types, ListsWhatIsRegisteredByKind)
{
    EXPECT_EQ(RunToolWithTypes({"types"}), (ProgramResult{0,
                                                          "classes:\n"
                                                          "    kelm::ReflectedValue\n"
                                                          "    kelm::ReflectionByteCode\n"
                                                          "    tool::Faulty\n"
                                                          "    tool::Frame\n"
                                                          "    tool::Note\n"
                                                          "    tool::Point\n"
                                                          "    tool::Scene\n"
                                                          "    tool::Sealed\n"
                                                          "variants:\n"
                                                          "    kelm::KSValue\n"
                                                          "    tool::Extent\n"
                                                          "enumerations:\n"
                                                          "    tool::Colour\n"
                                                          "typedefs:\n"
                                                          "    kelm::xstring\n"
                                                          "    kelm::xstring16\n"
                                                          "interfaces:\n"
                                                          "    kelm::IObject\n"
                                                          "    kelm::IPersistable\n"
                                                          "functions:\n"
                                                          "    kelm::NavigatePathToField\n"
                                                          "    kelm::ParseDataSourceFromString\n"
                                                          "    kelm::ParseDataSourceFromString2\n",
                                                          ""}));
}

struct TypeRow
{
    std::string m_name;
    std::string m_output;
};

const TypeRow s_types[] = {
    {"tool::Note", "class tool::Note  // 40 octets, can be created, implements kelm::IObject and kelm::IPersistable, "
                   "target Tests/ToolTypes\n"
                   "{\n"
                   "    xstring text;             // offset 0, since release 0\n"
                   "    ptr<kelm::IObject> next;  // offset 24, since release 0\n"
                   "};\n"},
    {"tool::Scene",
     "class tool::Scene  // 288 octets, can be created, implements kelm::IObject, target Tests/ToolTypes\n"
     "{\n"
     "    xstring title;                      // offset 0, since release 0\n"
     "    tool::Point origin;                 // offset 24, since release 0\n"
     "    tool::Colour colour;                // offset 40, since release 0\n"
     "    bool isOpen;                        // offset 44, since release 0\n"
     "    int8 tiny;                          // offset 45, since release 0\n"
     "    uint64 big;                         // offset 48, since release 0\n"
     "    float32 ratio;                      // offset 56, since release 0\n"
     "    char letter;                        // offset 60, since release 0\n"
     "    xstring16 wide;                     // offset 64, since release 0\n"
     "    int32 scores[3];                    // offset 88, since release 0\n"
     "    xvector<xstring> tags;              // offset 104, since release 0\n"
     "    xdynarray<tool::Point> samples;     // offset 128, since release 0\n"
     "    xmap<xstring, int32> counts;        // offset 152, since release 0\n"
     "    xmap<int32, tool::Point> marks;     // offset 160, since release 0\n"
     "    tool::Extent extent;                // offset 168, since release 0\n"
     "    ptr<kelm::IObject> first;           // offset 200, since release 0\n"
     "    pref<tool::Note> note;              // offset 216, since release 0\n"
     "    xvector<ptr<kelm::IObject>> notes;  // offset 240, since release 0\n"
     "    const int32 version;                // offset 264, since release 0\n"
     "    int32 late;                         // offset 268, since release 1\n"
     "    int32 old;                          // offset 272, since release 0, dropped in release 1\n"
     "    float64 area;                       // offset 280, outside the model\n"
     "};\n"},
    {"tool::Sealed", "class tool::Sealed  // 4 octets, implements kelm::IObject, target Tests/ToolTypes\n"
                     "{\n"
                     "    int32 value;  // offset 0, since release 0\n"
                     "};\n"},
    {"tool::Frame", "class tool::Frame  // 24 octets, can be created, implements kelm::IObject, model of tool::Point, "
                    "target Tests/ToolTypes\n"
                    "{\n"
                    "    float64 x;      // offset 8, since release 0\n"
                    "    float64 y;      // offset 16, since release 0\n"
                    "    float64 width;  // offset 0, outside the model\n"
                    "};\n"},
    {"Colour", "enum tool::Colour  // target Tests/ToolTypes\n"
               "{\n"
               "    RED = 1,\n"
               "    GREEN = 2,\n"
               "    DEEP_BLUE = 7,\n"
               "};\n"},
    {"Extent", "variant tool::Extent  // 32 octets, target Tests/ToolTypes\n"
               "{\n"
               "    radius: float64;           // index 0, offset 8\n"
               "    tool::Point: tool::Point;  // index 1, offset 8\n"
               "    label: xstring;            // index 2, offset 8\n"
               "};\n"},
    {"kelm.xstring", "typedef xstring kelm::xstring;\n"},
    {"IObject", "interface kelm::IObject;\n"},
    {"NavigatePathToField", "void* kelm::NavigatePathToField(ptr<kelm::IObject> obj, const kelm::xstring& path, "
                            "kelm::ReflectionByteCode& rbc, bool writeAccess, kelm::xstring& errorMsg);\n"},
};

TEST(Types, ShowsOneTypeAsCppWouldDeclareIt)
{
    for (const TypeRow& row : s_types)
        EXPECT_EQ(RunToolWithTypes({"types", row.m_name}), (ProgramResult{0, row.m_output, ""}));
}

TEST(Types, SuggestsTheNearestNames)
{
    EXPECT_EQ(RunToolWithTypes({"types", "tool::Sceen"}),
              (ProgramResult{1, "",
                             "kelmscript: error: nothing is registered as tool::Sceen\n"
                             "kelmscript: note: did you mean tool::Scene?\n"}));
    EXPECT_EQ(RunToolWithTypes({"types", "Color"}), (ProgramResult{1, "",
                                                                   "kelmscript: error: nothing is registered as Color\n"
                                                                   "kelmscript: note: did you mean tool::Colour?\n"}));
    EXPECT_EQ(RunToolWithTypes({"types", "$"}),
              (ProgramResult{1, "", "kelmscript: error: nothing is registered as $\n"}));
}

TEST(Types, AreNoneOfAModuleThatIsNotLoaded)
{
    EXPECT_EQ(RunTool({"types", "tool::Scene"}).m_exitCode, 1);
}

TEST(Types, WriteTheSameCatalogueToAFileAndToStandardOutput)
{
    const auto run = [](const std::vector<std::string>& arguments) {
        return RunTool(arguments, "", {{"KELMSCRIPT_MODULES", KELM_EXAMPLE_MODULE}});
    };
    const TemporaryFolder folder;
    const std::string file = folder.GetPath() / "types.json";
    EXPECT_EQ(run({"types", "--dump", file}), (ProgramResult{0, "", ""}));
    const std::string dumped = TextOfFile(file);
    EXPECT_EQ(run({"types", "--json"}), (ProgramResult{0, dumped, ""}));
    EXPECT_THAT(dumped, ::testing::StartsWith("{\n  \"kelmscriptTypes\": 1,\n"));
    EXPECT_THAT(dumped, ::testing::HasSubstr("\"name\": \"garden::Plan\",\n      \"module\": \"Kelm/Examples/"));
}

// Neither sizes nor offsets, which are not those of the program's types.
TEST(Types, OfACatalogueAreShownAsItTellsOfThem)
{
    const TemporaryFolder folder;
    const std::string file = folder.GetPath() / "types.json";
    std::ofstream(file) << R"({"kelmscriptTypes": 1, "classes": [
        {"name": "a::Part", "module": "A/Parts", "interfaces": ["kelm::IObject"], "creatable": true, "members": [
            {"name": "sizes", "type": {"kind": "array", "text": "int32[2]", "count": 2,
                                       "parts": [{"kind": "integer", "text": "int32", "name": "int32"}]},
             "default": "[1,2]"},
            {"name": "kind", "type": {"kind": "enum", "text": "a::Kind", "name": "a::Kind"}, "default": "ONE",
             "required": true, "checked": true}]}],
        "enums": [{"name": "a::Kind", "enumerators": [{"name": "ONE", "value": 0}, {"name": "TWO", "value": 5}]}],
        "variants": [{"name": "a::Pick", "alternatives": [
            {"name": "a::Part", "type": {"kind": "class", "text": "a::Part", "name": "a::Part"}}]}],
        "typedefs": [{"name": "a::Count", "type": {"kind": "integer", "text": "int32", "name": "int32"}}]})";
    const struct
    {
        const char* m_name;
        const char* m_shown;
    } rows[] = {
        {"Part", "class a::Part  // can be created, implements kelm::IObject, target A/Parts\n{\n"
                 "    int32 sizes[2] = [1,2];\n"
                 "    a::Kind kind = ONE;      // required, checked\n};\n"},
        {"Kind", "enum a::Kind\n{\n    ONE = 0,\n    TWO = 5,\n};\n"},
        {"Pick", "variant a::Pick\n{\n    a::Part: a::Part;\n};\n"},
        {"Count", "typedef int32 a::Count;\n"},
        {"IObject", "interface kelm::IObject;\n"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(RunTool({"types", "--catalogue", file, row.m_name}), (ProgramResult{0, row.m_shown, ""}));
}

TEST(Types, WriteTheCatalogueOfOne)
{
    const ProgramResult result = RunToolWithTypes({"types", "--json", "Colour"});
    EXPECT_EQ(result.m_exitCode, 0);
    EXPECT_THAT(result.m_output, ::testing::HasSubstr("\"classes\": [],\n"));
    EXPECT_THAT(result.m_output, ::testing::HasSubstr("\"name\": \"tool::Colour\""));
    EXPECT_EQ(RunToolWithTypes({"types", "--json", "Color"}),
              (ProgramResult{1, "",
                             "kelmscript: error: nothing is registered as Color\n"
                             "kelmscript: note: did you mean tool::Colour?\n"}));
}

TEST(Types, AreCataloguedThoughAClassCannotBeCreated)
{
    const auto run = [](const std::string& trap, const std::string& name) {
        return RunTool({"types", "--json", name}, "", {{"KELMSCRIPT_MODULES", KELM_TOOL_TRAPS}, {"KELM_TRAP", trap}});
    };
    const std::string type = "\"type\": {\n            \"kind\": \"integer\",\n            \"text\": \"int32\",\n"
                             "            \"name\": \"int32\"\n          }";
    const ProgramResult good = run("crash at birth", "");
    EXPECT_EQ(good.m_exitCode, 0);
    // An emulator of processors says something of its own first.
    EXPECT_THAT(good.m_errors,
                ::testing::EndsWith("kelmscript: note: what new objects of trap::Born hold is not known, as their "
                                    "creation ended the process that made them: signal 6, Aborted\n"));
    const ProgramResult born = run("crash at birth", "trap::Born");
    EXPECT_EQ(born.m_errors, good.m_errors);
    EXPECT_THAT(born.m_output, ::testing::HasSubstr(type + "\n"));
    EXPECT_THAT(good.m_output, ::testing::HasSubstr(type + ",\n          \"default\": \"0\"\n"));
    EXPECT_THAT(run("", "trap::Born").m_output, ::testing::HasSubstr(type + ",\n          \"default\": \"1\"\n"));
}

TEST(Types, SayWhereTheCatalogueCannotBeWritten)
{
    EXPECT_EQ(RunTool({"types", "--dump", "/no/such/folder/types.json"}),
              (ProgramResult{
                  1, "", "kelmscript: error: cannot write /no/such/folder/types.json: No such file or directory\n"}));
}

} // namespace

} // namespace kelm
