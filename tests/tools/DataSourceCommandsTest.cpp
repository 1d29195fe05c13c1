// check, print, get and set, on the types of modules/ToolTypes.h.

#include "Tool.h"

#include <support/Depth.h>
#include <support/Terminal.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <functional>

#include <sys/stat.h>

namespace kelm
{

namespace
{

using ::testing::MatchesRegex;

// What the tool writes for a file that holds `text`; the file's own name is "FILE" there.
class DataSource : public ::testing::Test
{
protected:
    ProgramResult RunOn(const std::string& text, std::vector<std::string> arguments)
    {
        const std::string file = m_folder.MakeFile("scene.kds", text);
        for (std::string& argument : arguments)
            if (argument == "FILE")
                argument = file;
        ProgramResult result = RunToolWithTypes(arguments);
        for (std::string* stream : {&result.m_output, &result.m_errors})
            for (std::size_t at = stream->find(file); at != std::string::npos; at = stream->find(file))
                stream->replace(at, file.size(), "FILE");
        return result;
    }

    std::filesystem::path File() const { return m_folder.GetPath() / "scene.kds"; }

    TemporaryFolder m_folder;
};

constexpr char s_scene[] = "// A scene.\n"
                           "tool::Scene {\n"
                           "    title = \"Harbour\"\n"
                           "    origin = Point(1.5, -2)\n"
                           "    colour = DEEP_BLUE\n"
                           "    isOpen = true\n"
                           "    tiny = -128\n"
                           "    big = 18446744073709551615\n"
                           "    ratio = 0.1\n"
                           "    letter = 'x'\n"
                           "    wide = \"\xC3\xA4\"\n"
                           "    scores = [1, 2, 3]\n"
                           "    tags = [\"a\", \"b\"]\n"
                           "    samples = [(1, 2), Point { y = 4 }]\n"
                           "    counts = [\"one\" -> 1, \"two\" -> 2]\n"
                           "    marks = [5 -> (1, 1)]\n"
                           "    extent = Point (3, 4)\n"
                           "    first = tool::Note { text = \"first\" next = tool::Note { text = \"second\" } }\n"
                           "    note = tool::Note { text = \"kept\" }\n"
                           "    notes = [tool::Note, null]\n"
                           "    late = 4\n"
                           "    area = inf\n"
                           "}\n";

constexpr char s_compactScene[] =
    "tool::Scene{title=\"Harbour\" origin=Point{x=1.5 y=-2.0} colour=DEEP_BLUE isOpen=true tiny=-128 "
    "big=18446744073709551615 ratio=0.1 letter='x' wide=\"\xC3\xA4\" scores=[1,2,3] tags=[\"a\",\"b\"] "
    "samples=[Point{x=1.0 y=2.0},Point{x=0.0 y=4.0}] counts=[\"one\"->1,\"two\"->2] marks=[5->Point{x=1.0 y=1.0}] "
    "extent=Point {x=3.0 y=4.0} first=tool::Note{text=\"first\" next=tool::Note{text=\"second\" next=null}} "
    "note=tool::Note{text=\"kept\" next=null} notes=[tool::Note{text=\"\" next=null},null] version=3 late=4 "
    "area=inf}\n";

// --- check

TEST_F(DataSource, CheckAcceptsWhatCanBeRead)
{
    EXPECT_EQ(RunOn(s_scene, {"check", "FILE"}), (ProgramResult{0, "FILE: ok\n", ""}));
    EXPECT_EQ(RunOn("null", {"check", "FILE"}), (ProgramResult{0, "FILE: ok\n", ""}));
    EXPECT_EQ(RunToolWithTypes({"check", "-"}, "tool.Note {}"), (ProgramResult{0, "<stdin>: ok\n", ""}));
}

TEST_F(DataSource, CheckWarnsOfTrailingText)
{
    EXPECT_EQ(RunOn("tool::Note {}\n\n  tool::Note {}\n", {"check", "FILE"}),
              (ProgramResult{0, "FILE: ok\n",
                             "FILE:3:3: warning: the text after the data source is not read\n"
                             "  tool::Note {}\n"
                             "  ^\n"}));
}

struct ErrorRow
{
    std::string m_text;
    std::string m_errors;
};

const ErrorRow s_errors[] = {
    {"", "FILE:1:1: error: Expected identifier when read end of text\n"
         "\n"
         "^\n"},
    {"tool::Scene {\n\ttitle \"x\" }\n", "FILE:2:8: error: Expected = when read \"x\"\n"
                                         "\ttitle \"x\" }\n"
                                         "\t      ^\n"},
    {"tool::Scene { tiny = 300 }", "FILE:1:22: error: Value 300 is out of range of int8\n"
                                   "tool::Scene { tiny = 300 }\n"
                                   "                     ^\n"},
    {"tool::Scene { title = \"x }", "FILE:1:23: error: Unterminated string literal\n"
                                    "tool::Scene { title = \"x }\n"
                                    "                      ^\n"},
    // Names that do not exist are reported behind them; the nearest ones that do, at them.
    {"Scene {}", "FILE:1:7: error: 'Scene' is not a registered class name\n"
                 "Scene {}\n"
                 "      ^\n"
                 "FILE:1:1: note: did you mean tool::Scene?\n"
                 "Scene {}\n"
                 "^\n"},
    {"tool::Scen\n{}", "FILE:2:1: error: 'tool::Scen' is not a registered class name\n"
                       "{}\n"
                       "^\n"
                       "FILE:1:7: note: did you mean tool::Scene?\n"
                       "tool::Scen\n"
                       "      ^\n"},
    {"tool.Nte", "FILE:1:9: error: 'tool::Nte' is not a registered class name\n"
                 "tool.Nte\n"
                 "        ^\n"
                 "FILE:1:6: note: did you mean tool::Note?\n"
                 "tool.Nte\n"
                 "     ^\n"},
    {"Automobile", "FILE:1:11: error: 'Automobile' is not a registered class name\n"
                   "Automobile\n"
                   "          ^\n"
                   "FILE:1:1: note: there are tool::Faulty, tool::Frame, tool::Note, tool::Point and tool::Scene\n"
                   "Automobile\n"
                   "^\n"},
    {"tool::Scene { nots = [] }", "FILE:1:20: error: Unknown member 'nots' of class tool::Scene\n"
                                  "tool::Scene { nots = [] }\n"
                                  "                   ^\n"
                                  "FILE:1:15: note: did you mean note or notes?\n"
                                  "tool::Scene { nots = [] }\n"
                                  "              ^\n"},
    {"tool::Scene { aera = 1 }", "FILE:1:20: error: Unknown member 'aera' of class tool::Scene\n"
                                 "tool::Scene { aera = 1 }\n"
                                 "                   ^\n"
                                 "FILE:1:15: note: did you mean area?\n"
                                 "tool::Scene { aera = 1 }\n"
                                 "              ^\n"},
    {"tool::Scene { old = 1 }", "FILE:1:19: error: Unknown member 'old' of class tool::Scene\n"
                                "tool::Scene { old = 1 }\n"
                                "                  ^\n"},
    {"tool::Scene { colour = deepBlue }", "FILE:1:33: error: Unknown member 'deepBlue' of enum tool::Colour\n"
                                          "tool::Scene { colour = deepBlue }\n"
                                          "                                ^\n"
                                          "FILE:1:24: note: did you mean DEEP_BLUE?\n"
                                          "tool::Scene { colour = deepBlue }\n"
                                          "                       ^\n"},
    {"tool::Scene { colour = 3 }", "FILE:1:24: error: Unknown value '3' of enum tool::Colour\n"
                                   "tool::Scene { colour = 3 }\n"
                                   "                       ^\n"},
    {"tool::Scene { extent = lable \"x\" }", "FILE:1:30: error: Unknown member 'lable' of variant tool::Extent\n"
                                             "tool::Scene { extent = lable \"x\" }\n"
                                             "                             ^\n"
                                             "FILE:1:24: note: did you mean label?\n"
                                             "tool::Scene { extent = lable \"x\" }\n"
                                             "                       ^\n"},
    {"tool::Frame { with = 1 }", "FILE:1:20: error: Unknown member 'with' of class tool::Frame\n"
                                 "tool::Frame { with = 1 }\n"
                                 "                   ^\n"
                                 "FILE:1:15: note: did you mean width?\n"
                                 "tool::Frame { with = 1 }\n"
                                 "              ^\n"},
};

TEST_F(DataSource, CheckReportsErrorsAtTheirPlace)
{
    for (const ErrorRow& row : s_errors)
        EXPECT_EQ(RunOn(row.m_text, {"check", "FILE"}), (ProgramResult{1, "", row.m_errors}));
}

TEST_F(DataSource, CheckExplainsABrokenInvariant)
{
    const ProgramResult result = RunOn("tool::Scene { note = null }", {"check", "FILE"});
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_THAT(result.m_errors, MatchesRegex("FILE:1:22: error: assertion failed: p \\(src/ParseDataSource:[0-9]+\\)\n"
                                              "tool::Scene \\{ note = null \\}\n                     \\^\n"
                                              "FILE:1:22: note: a persistent reference takes an object, not null\n"
                                              "tool::Scene \\{ note = null \\}\n                     \\^\n"));
}

TEST_F(DataSource, CheckReportsEveryFile)
{
    const std::string good = m_folder.MakeFile("good.kds", "tool::Note {}");
    const std::string bad = m_folder.MakeFile("bad.kds", "?");
    EXPECT_EQ(RunToolWithTypes({"check", bad, "/nowhere.kds", good}),
              (ProgramResult{1, good + ": ok\n",
                             bad + ":1:1: error: Expected identifier when read ?\n?\n^\n"
                                   "kelmscript: error: cannot read /nowhere.kds: No such file or directory\n"}));
}

// --- print

TEST_F(DataSource, PrintWritesTheObjectOverSeveralLines)
{
    EXPECT_EQ(RunOn("tool::Frame(1, 2, 3)", {"print", "FILE"}), (ProgramResult{0,
                                                                               "tool::Frame {\n"
                                                                               "    x = 1.0\n"
                                                                               "    y = 2.0\n"
                                                                               "    width = 3.0\n"
                                                                               "}\n",
                                                                               ""}));
    EXPECT_EQ(RunOn("null", {"print", "FILE"}), (ProgramResult{0, "null\n", ""}));
}

TEST_F(DataSource, PrintWritesOneLine)
{
    EXPECT_EQ(RunOn(s_scene, {"print", "FILE", "--compact"}), (ProgramResult{0, s_compactScene, ""}));
}

TEST_F(DataSource, PrintedTextPrintsAsItself)
{
    const std::string indented = RunOn(s_scene, {"print", "FILE"}).m_output;
    EXPECT_EQ(RunOn(indented, {"print", "FILE"}), (ProgramResult{0, indented, ""}));
    EXPECT_EQ(RunOn(indented, {"print", "--compact", "FILE"}), (ProgramResult{0, s_compactScene, ""}));
    EXPECT_EQ(RunOn(s_compactScene, {"print", "FILE"}), (ProgramResult{0, indented, ""}));
}

TEST_F(DataSource, PrintWritesJson)
{
    EXPECT_EQ(RunOn("tool::Note { text = \"a\\\"\\n\" next = tool::Note }", {"print", "--json", "FILE"}),
              (ProgramResult{0,
                             "{\n"
                             "  \"$class\": \"tool::Note\",\n"
                             "  \"text\": \"a\\\"\\n\",\n"
                             "  \"next\": {\n"
                             "    \"$class\": \"tool::Note\",\n"
                             "    \"text\": \"\",\n"
                             "    \"next\": null\n"
                             "  }\n"
                             "}\n",
                             ""}));
    EXPECT_EQ(RunOn("null", {"print", "--json", "FILE"}), (ProgramResult{0, "null\n", ""}));
}

TEST_F(DataSource, PrintReadsNoFurtherThanItCan)
{
    EXPECT_EQ(RunOn("tool::Note { txt = \"a\" }", {"print", "FILE"}).m_exitCode, 1);
    EXPECT_EQ(RunOn("tool::Note {} ?", {"print", "--compact", "FILE"}),
              (ProgramResult{0, "tool::Note{text=\"\" next=null}\n",
                             "FILE:1:15: warning: the text after the data source is not read\n"
                             "tool::Note {} ?\n"
                             "              ^\n"}));
}

// A chain of notes, each inside the one before.
std::string Chain(int length)
{
    std::string text;
    for (int i = 0; i < length; ++i)
        text += "tool::Note{text=\"\" next=";
    return text + "null" + std::string(static_cast<std::size_t>(length), '}');
}

TEST_F(DataSource, NestingHasNoLimitButInJson)
{
    // Not compared by EXPECT_EQ, which would show the texts. A sanitizer may write a word about stack segments first.
    const std::string deep = Chain(std::min(20'000, s_nesting));
    const ProgramResult compact = RunOn(deep, {"print", "--compact", "FILE"});
    EXPECT_EQ(compact.m_exitCode, 0);
    EXPECT_TRUE(compact.m_output == deep + "\n");
    const ProgramResult json = RunOn(deep, {"print", "--json", "FILE"});
    EXPECT_EQ(json.m_exitCode, 1);
    EXPECT_EQ(json.m_output, "");
    EXPECT_THAT(json.m_errors, ::testing::EndsWith("kelmscript: error: cannot write the object as JSON: values are "
                                                   "nested to more than 1000 levels\n"));
    EXPECT_EQ(RunOn(Chain(400), {"print", "--json", "FILE"}).m_exitCode, 0);
}

TEST_F(DataSource, KeysHaveOneNameEachInJson)
{
    const std::string begin = "kelmscript: error: cannot write the object as JSON: ";
    EXPECT_EQ(
        RunOn("tool::Scene { counts = [\"\\xFE\" -> 1, \"\\xFF\" -> 2] }", {"print", "--json", "FILE"}),
        (ProgramResult{1, "", begin + "two keys of a map are both \"\xEF\xBF\xBD\", since they are not UTF-8\n"}));
    EXPECT_EQ(RunOn("tool::Scene { counts = [\"\\xFE\" -> 1, \"\\xFF!\" -> 2, \"\xC3\xA9\" -> 3] }",
                    {"print", "--json", "FILE"})
                  .m_exitCode,
              0);
}

// --- get

struct FieldRow
{
    std::string m_path;
    std::string m_text;
    std::string m_json;
};

const FieldRow s_fields[] = {
    {".title", "xstring \"Harbour\"", R"({"type":"xstring","value":"Harbour"})"},
    {".origin", "tool::Point Point{x=1.5 y=-2.0}", R"({"type":"tool::Point","value":{"x":1.5,"y":-2.0}})"},
    {".origin.x", "float64 1.5", R"({"type":"float64","value":1.5})"},
    {" . origin . y // spaces", "float64 -2.0", R"({"type":"float64","value":-2.0})"},
    {".colour", "tool::Colour DEEP_BLUE", R"({"type":"tool::Colour","value":"DEEP_BLUE"})"},
    {".isOpen", "bool true", R"({"type":"bool","value":true})"},
    {".tiny", "int8 -128", R"({"type":"int8","value":-128})"},
    {".big", "uint64 18446744073709551615", R"({"type":"uint64","value":18446744073709551615})"},
    {".ratio", "float32 0.1", R"({"type":"float32","value":0.1})"},
    {".letter", "char 'x'", R"({"type":"char","value":"x"})"},
    {".wide", "xstring16 \"\xC3\xA4\"", "{\"type\":\"xstring16\",\"value\":\"\xC3\xA4\"}"},
    {".scores", "int32[3] [1,2,3]", R"({"type":"int32[3]","value":[1,2,3]})"},
    {".scores[1]", "int32 2", R"({"type":"int32","value":2})"},
    {".tags", "xvector<xstring> [\"a\",\"b\"]", R"({"type":"xvector<xstring>","value":["a","b"]})"},
    {".samples[[1]", "tool::Point Point{x=0.0 y=4.0}", R"({"type":"tool::Point","value":{"x":0.0,"y":4.0}})"},
    {".extent", "tool::Extent Point {x=3.0 y=4.0}",
     R"({"type":"tool::Extent","value":{"tool::Point":{"x":3.0,"y":4.0}}})"},
    {".first.next.text", "xstring \"second\"", R"({"type":"xstring","value":"second"})"},
    {".first.next", "ptr<kelm::IObject> tool::Note{text=\"second\" next=null}",
     R"({"type":"ptr<kelm::IObject>","value":{"$class":"tool::Note","text":"second","next":null}})"},
    {".note", "pref<tool::Note> tool::Note{text=\"kept\" next=null}",
     R"({"type":"pref<tool::Note>","value":{"$class":"tool::Note","text":"kept","next":null}})"},
    {".note.text", "xstring \"kept\"", R"({"type":"xstring","value":"kept"})"},
    {".notes[1]", "ptr<kelm::IObject> null", R"({"type":"ptr<kelm::IObject>","value":null})"},
};

TEST_F(DataSource, GetWritesTypeAndValue)
{
    for (const FieldRow& row : s_fields)
    {
        EXPECT_EQ(RunOn(s_scene, {"get", "FILE", row.m_path}), (ProgramResult{0, row.m_text + "\n", ""}));
        EXPECT_EQ(RunOn(s_scene, {"get", "--json", "FILE", row.m_path}), (ProgramResult{0, row.m_json + "\n", ""}));
    }
}

TEST_F(DataSource, GetOfTheEmptyPathIsTheObject)
{
    EXPECT_EQ(RunOn(s_scene, {"get", "FILE", ""}),
              (ProgramResult{0, std::string("tool::Scene ") + s_compactScene, ""}));
    EXPECT_EQ(
        RunOn(s_scene, {"get", "--json", "FILE", ""}).m_output,
        "{\"type\":\"tool::Scene\",\"value\":{\"$class\":\"tool::Scene\",\"title\":\"Harbour\","
        "\"origin\":{\"x\":1.5,\"y\":-2.0},\"colour\":\"DEEP_BLUE\",\"isOpen\":true,\"tiny\":-128,"
        "\"big\":18446744073709551615,\"ratio\":0.1,\"letter\":\"x\",\"wide\":\"\xC3\xA4\",\"scores\":[1,2,3],"
        "\"tags\":[\"a\",\"b\"],\"samples\":[{\"x\":1.0,\"y\":2.0},{\"x\":0.0,\"y\":4.0}],"
        "\"counts\":{\"one\":1,\"two\":2},\"marks\":[[5,{\"x\":1.0,\"y\":1.0}]],"
        "\"extent\":{\"tool::Point\":{\"x\":3.0,\"y\":4.0}},"
        "\"first\":{\"$class\":\"tool::Note\",\"text\":\"first\",\"next\":{\"$class\":\"tool::Note\","
        "\"text\":\"second\",\"next\":null}},\"note\":{\"$class\":\"tool::Note\",\"text\":\"kept\",\"next\":null},"
        "\"notes\":[{\"$class\":\"tool::Note\",\"text\":\"\",\"next\":null},null],\"version\":3,\"late\":4,"
        "\"area\":\"inf\"}}\n");
}

const ErrorRow s_pathErrors[] = {
    {".orign", "<path>:1:2: error: Identifier orign is not a model field of class tool::Scene\n"
               ".orign\n"
               " ^\n"
               "<path>:1:2: note: did you mean origin?\n"
               ".orign\n"
               " ^\n"},
    {".area", "<path>:1:2: error: Identifier area is not a model field of class tool::Scene\n"
              ".area\n"
              " ^\n"},
    {".title junk", "<path>:1:8: error: Expected end of text when read junk\n"
                    ".title junk\n"
                    "       ^\n"},
    {"title", "<path>:1:1: error: Expected end of text when read title\n"
              "title\n"
              "^\n"
              "<path>:1:1: note: a path begins with a dot: .title\n"
              "title\n"
              "^\n"},
    {".scores[3]", "<path>:1:10: error: Array index 3 out of range\n"
                   ".scores[3]\n"
                   "         ^\n"},
    {".tags[-1]", "<path>:1:9: error: Vector index -1 out of range\n"
                  ".tags[-1]\n"
                  "        ^\n"},
    {".samples[1]", "<path>:1:10: error: Expected [ when read 1\n"
                    ".samples[1]\n"
                    "         ^\n"},
    {".notes[1].text", "<path>:1:10: error: null dereference\n"
                       ".notes[1].text\n"
                       "         ^\n"},
};

TEST_F(DataSource, GetReportsErrorsInThePath)
{
    for (const ErrorRow& row : s_pathErrors)
        EXPECT_EQ(RunOn(s_scene, {"get", "FILE", row.m_text}), (ProgramResult{1, "", row.m_errors}));
    EXPECT_EQ(RunOn("null", {"get", "FILE", ".x"}),
              (ProgramResult{1, "", "<path>:1:1: error: the data source is null, which has no fields\n.x\n^\n"}));
}

TEST_F(DataSource, GetExplainsWhatPathsDoNotReach)
{
    const std::pair<std::string, std::string> rows[] = {
        {".counts", "<path>:1:2: note: a path does not reach a map or a set\n"},
        {".version", "<path>:1:2: note: a path does not reach a const field\n"},
        {".old", "<path>:1:2: note: this field was dropped from the class\n"},
    };
    for (const auto& [path, note] : rows)
    {
        const ProgramResult result = RunOn(s_scene, {"get", "FILE", path});
        EXPECT_EQ(result.m_exitCode, 1);
        EXPECT_THAT(result.m_errors, ::testing::StartsWith("<path>:1:2: error: assertion failed: "));
        EXPECT_THAT(result.m_errors, ::testing::HasSubstr(note + path + "\n ^\n"));
    }
}

// --- set

struct SetRow
{
    std::vector<std::string> m_arguments; // behind the file
    std::string m_written;                // a part of the output
};

const SetRow s_sets[] = {
    {{".title", "\"New\""}, "{title=\"New\" origin="},
    {{".origin.x", "-7.5"}, " origin=Point{x=-7.5 y=-2.0} "},
    {{".origin", "{ y = 1 }"}, " origin=Point{x=1.5 y=1.0} "},
    {{".origin", "{ y = 1 }", "--replace"}, " origin=Point{x=0.0 y=1.0} "},
    {{".colour", "2"}, " colour=GREEN "},
    {{".ratio", "-inf"}, " ratio=-inf "},
    {{".scores", "[4, 5, 6]"}, " scores=[4,5,6] "},
    {{".scores[2]", "-1"}, " scores=[1,2,-1] "},
    {{".tags", "[\"c\"]"}, " tags=[\"a\",\"b\",\"c\"] "}, // vectors grow by what is read
    {{".tags", "[\"c\"]", "--replace"}, " tags=[\"c\"] "},
    {{"--replace", ".samples", "[]"}, " samples=[] "},
    {{".samples[[2].x", "9"}, " samples=[Point{x=1.0 y=2.0},Point{x=0.0 y=4.0},Point{x=9.0 y=0.0}] "},
    {{".extent", "label \"a text that is too long to lie inline\""},
     " extent=label \"a text that is too long to lie inline\" "},
    {{".first", "null"}, " first=null "},
    {{".first.text", "\"x\""}, " first=tool::Note{text=\"x\" next=tool::Note{"},
    {{".note", "tool::Note { text = \"other\" }"}, " note=tool::Note{text=\"other\" next=null} "},
};

TEST_F(DataSource, SetWritesTheChangedObject)
{
    for (const SetRow& row : s_sets)
    {
        std::vector<std::string> arguments = {"set", "--compact", "FILE"};
        arguments.insert(arguments.end(), row.m_arguments.begin(), row.m_arguments.end());
        const ProgramResult result = RunOn(s_scene, arguments);
        EXPECT_EQ(result.m_exitCode, 0) << result.m_errors;
        EXPECT_THAT(result.m_output, ::testing::HasSubstr(row.m_written));
        EXPECT_EQ(TextOfFile(File()), s_scene); // the file is left alone
    }
}

TEST_F(DataSource, SetWritesTheTextWithItsComments)
{
    EXPECT_EQ(RunOn("tool::Frame {} // a frame", {"set", "FILE", ".y", "2"}),
              (ProgramResult{0, "tool::Frame { y = 2 } // a frame", ""}));
}

const std::pair<std::vector<std::string>, std::string> s_setErrors[] = {
    {{".colour", "DEEPBLUE"},
     "<value>:1:9: error: Unknown member 'DEEPBLUE' of enum tool::Colour\n"
     "DEEPBLUE\n"
     "        ^\n"
     "<value>:1:1: note: did you mean DEEP_BLUE?\n"
     "DEEPBLUE\n"
     "^\n"},
    {{".colour", "PURPLE"},
     "<value>:1:7: error: Unknown member 'PURPLE' of enum tool::Colour\n"
     "PURPLE\n"
     "      ^\n"
     "<value>:1:1: note: there are RED, GREEN and DEEP_BLUE\n"
     "PURPLE\n"
     "^\n"},
    {{".title", "\"a\" b"},
     "<value>:1:5: error: Expected end of text when read b\n"
     "\"a\" b\n"
     "    ^\n"},
    {{".scores", "[1]"},
     "<value>:1:3: error: Expected , when read ]\n"
     "[1]\n"
     "  ^\n"},
    {{".nosuch", "1"},
     "<path>:1:2: error: Identifier nosuch is not a model field of class tool::Scene\n"
     ".nosuch\n"
     " ^\n"},
    {{".samples[[2147483647].x", "1"}, // 32 GiB
     "<path>:1:21: error: Array index 2147483647 out of range\n"
     ".samples[[2147483647].x\n"
     "                    ^\n"},
    {{"", "1"},
     "<path>:1:1: error: the object itself cannot be set: name a field\n"
     "\n"
     "^\n"},
};

TEST_F(DataSource, SetReportsErrorsAndChangesNothing)
{
    for (const auto& [pathAndValue, errors] : s_setErrors)
        for (const std::string flag : {"-i", "--compact", "--replace"})
        {
            EXPECT_EQ(RunOn(s_scene, {"set", flag, "FILE", pathAndValue[0], pathAndValue[1]}),
                      (ProgramResult{1, "", errors}));
            EXPECT_EQ(TextOfFile(File()), s_scene);
        }
}

// It would be lost.
TEST_F(DataSource, SetRefusesTrailingText)
{
    const char text[] = "tool::Note {} tool::Note {}";
    EXPECT_EQ(RunOn(text, {"set", "-i", "FILE", ".text", "\"x\""}),
              (ProgramResult{1, "",
                             "FILE:1:15: error: Expected end of text when read tool\n"
                             "tool::Note {} tool::Note {}\n"
                             "              ^\n"}));
    EXPECT_EQ(TextOfFile(File()), text);
}

TEST_F(DataSource, SetWritesJson)
{
    EXPECT_EQ(RunOn("tool::Note {}", {"set", "FILE", ".text", "\"x\"", "--json"}),
              (ProgramResult{0, "{\n  \"$class\": \"tool::Note\",\n  \"text\": \"x\",\n  \"next\": null\n}\n", ""}));
    EXPECT_EQ(TextOfFile(File()), "tool::Note {}");
}

// --- What is no text

TEST_F(DataSource, RefusesWhatIsNoText)
{
    const std::string binary("tool::Note { \xFF\xFE\0 and more", 25);
    const std::vector<std::vector<std::string>> commands = {
        {"check", "FILE"},        {"print", "FILE"},
        {"get", "FILE", ".text"}, {"set", "FILE", ".text", "\"\""},
        {"each", "it", "FILE"},   {"eval", "1", "--data", "FILE"},
    };
    for (const std::vector<std::string>& arguments : commands)
        EXPECT_EQ(RunOn(binary, arguments),
                  (ProgramResult{1, "", "kelmscript: error: cannot read FILE: it is no text\n"}));
}

// --- get --raw

TEST_F(DataSource, GetWritesRawValues)
{
    const std::pair<std::string, std::string> rows[] = {
        {".title", "Harbour"}, {".big", "18446744073709551615"}, {".tags", "[\"a\",\"b\"]"}, {".colour", "DEEP_BLUE"}};
    for (const auto& [path, value] : rows)
        EXPECT_EQ(RunOn(s_scene, {"get", "--raw", "FILE", path}), (ProgramResult{0, value + "\n", ""}));
    EXPECT_EQ(RunOn("\xEF\xBB\xBFtool::Note {\r\n}\r\n", {"get", "--raw", "FILE", ""}),
              (ProgramResult{0, "tool::Note{text=\"\" next=null}\n", ""}));
}

// --- The cost of small texts

double SecondsOf(const std::function<void()>& f)
{
    const auto start = std::chrono::steady_clock::now();
    f();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// Each took minutes, or gigabytes, where the cost grew with the square of the text.
constexpr double s_maxSeconds = 10;

TEST_F(DataSource, PrintCostsInStepWithTheText)
{
    std::string map = "tool::Scene { counts = [";
    for (int i = 0; i < 100000; ++i)
        map += "\"key" + std::to_string(i) + "\" -> 1, ";
    map += "\"end\" -> 1] }";
    const double seconds = SecondsOf(
        [&]
        {
            const ProgramResult result = RunOn(map, {"print", "--json", "FILE"});
            EXPECT_EQ(result.m_exitCode, 0);
            EXPECT_LT(result.m_output.size(), 3 * map.size());
        });
    EXPECT_LT(seconds, s_maxSeconds);

    const std::string deep = Chain(5000);
    const ProgramResult print = RunOn(deep, {"print", "FILE"});
    EXPECT_EQ(print.m_exitCode, 0);
    EXPECT_LT(print.m_output.size(), 10 * deep.size());
    const std::string lessDeep = Chain(450);
    const ProgramResult json = RunOn(lessDeep, {"print", "--json", "FILE"});
    EXPECT_EQ(json.m_exitCode, 0);
    EXPECT_LT(json.m_output.size(), 10 * lessDeep.size());
}

TEST_F(DataSource, PathsThatLookMakeNothingGrow)
{
    EXPECT_EQ(RunOn(s_scene, {"get", "FILE", ".samples[[2147483647].x"}),
              (ProgramResult{1, "",
                             "<path>:1:21: error: Array index 2147483647 out of range\n"
                             ".samples[[2147483647].x\n"
                             "                    ^\n"}));
    EXPECT_EQ(RunOn(s_scene, {"set", "--max-size", "48", "FILE", ".samples[[3].x", "1"}).m_exitCode, 1);
}

// --- Faults of others

#if defined(__x86_64__)
// Not every division that the processor refuses is the one of expressions.
TEST_F(DataSource, LetsAFaultInAModuleThrough)
{
    EXPECT_EQ(RunOn("tool::Faulty {}", {"check", "FILE"}), (ProgramResult{-SIGFPE, "", ""}));
}
#endif

TEST(Signals, AnArithmeticFaultFromOutsideKills)
{
    Terminal terminal(ToolCommand({"eval"}), {{"TERM", "dumb"}});
    terminal.Type("1 + 1\n");
    terminal.ReadUntil("2\r\n");
    terminal.Send(SIGFPE);
    EXPECT_EQ(terminal.Wait(), -SIGFPE);
}

#ifdef KELM_EXAMPLE_DATA
TEST(ExampleData, IsAcceptedButForTheBrokenFile)
{
    int numFiles = 0;
    for (const auto& entry : std::filesystem::directory_iterator(KELM_EXAMPLE_DATA))
        if (entry.path().extension() == ".kds")
        {
            ++numFiles;
            const ProgramResult result = RunTool({"check", "--module", KELM_EXAMPLE_MODULE, entry.path()});
            const bool isBroken = entry.path().stem() == "broken";
            EXPECT_EQ(result.m_exitCode, isBroken ? 1 : 0) << result.m_errors;
            EXPECT_EQ(result.m_errors.empty(), !isBroken) << result.m_errors;
        }
    EXPECT_GT(numFiles, 1);
}
#endif

} // namespace

} // namespace kelm
