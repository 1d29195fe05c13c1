#include "Tool.h"

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;

constexpr char s_scene[] =
    "tool::Scene { title = \"t\" scores = [3, 4, 0] tags = [\"a\", \"b\"] samples = [(1, 2), (3, 4)] "
    "notes = [tool::Note { text = \"x\" }, tool::Frame { width = 2 x = 5 y = 6 }, "
    "tool::Note { text = \"z\" next = tool::Note { text = \"zz\" } }] }";

class Each : public ::testing::Test
{
protected:
    ProgramResult Run(std::vector<std::string> arguments) const
    {
        arguments.insert(arguments.begin(), "each");
        return RunToolWithTypes(arguments);
    }

    TemporaryFolder m_folder;
    std::string m_scene = m_folder.MakeFile("scene.kds", s_scene);
};

struct Row
{
    std::vector<std::string> m_arguments; // behind the file
    std::string m_output;
};

TEST_F(Each, EvaluatesOverTheElements)
{
    const std::pair<std::string, Row> rows[] = {
        {"x + y", {{"--in", ".samples"}, "3\n7\n"}},
        {"x + y", {{"--in", "samples"}, "3\n7\n"}},
        {"it", {{"--in", "samples"}, "Point{x=1.0 y=2.0}\nPoint{x=3.0 y=4.0}\n"}},
        {"it.x * 10 + index", {{"--in", "samples"}, "10\n31\n"}},
        {"it", {{"--in", "scores"}, "3\n4\n0\n"}},
        {"it + title", {{"--in", "tags"}, "at\nbt\n"}},
        {"index", {{"--in", "tags", "--where", "it == 'b'"}, "1\n"}},
        {"y", {{"--in", "samples", "--where", "x > 1 && index > 0"}, "4.0\n"}},
        {"y / 4", {{"--in", "samples", "--natural"}, "0.5\n1.0\n"}},
        {"y / 4", {{"--in", "samples"}, "0\n1\n"}},
        {"x * f", {{"--in", "samples", "--set", "f=10"}, "10\n30\n"}},
        {"it", {{"--in", "samples", "--where", "false"}, ""}},
        {"'a\\nb'", {{"--in", "tags", "--type"}, "string a\nb\nstring a\nb\n"}},
        {"x",
         {{"--in", "samples", "--json"},
          "{\"index\":0,\"value\":1.0,\"kind\":\"float64\"}\n"
          "{\"index\":1,\"value\":3.0,\"kind\":\"float64\"}\n"}},
        {"text", {{"--in", "notes", "--where", "index != 1"}, "x\nz\n"}},
        {"has(it.next) ? it.next.text : 'none'",
         {{"--natural", "--in", "notes", "--where", "index != 1"}, "none\nzz\n"}},
    };
    for (const auto& [expression, row] : rows)
    {
        std::vector<std::string> arguments = {expression, m_scene};
        arguments.insert(arguments.end(), row.m_arguments.begin(), row.m_arguments.end());
        EXPECT_EQ(Run(arguments), (ProgramResult{0, row.m_output, ""})) << expression;
    }
}

TEST_F(Each, TakesTheOnlyList)
{
    const std::string note = m_folder.MakeFile("list.kds", "tool::Scene { samples = [(1, 2)] }");
    const ProgramResult result = Run({"x", note});
    EXPECT_EQ(result, (ProgramResult{1, "",
                                     "kelmscript: error: the data source has several lists: scores, tags, samples, "
                                     "notes\nkelmscript: note: --in names the list\n"}));
    EXPECT_EQ(Run({"x", m_folder.MakeFile("note.kds", "tool::Note {}")}),
              (ProgramResult{
                  1, "", "kelmscript: error: the data source has no list\nkelmscript: note: --in names the list\n"}));
}

TEST_F(Each, KnowsOtherData)
{
    EXPECT_EQ(Run({"it + n.text", m_scene, "--in", "tags", "--data",
                   "n=" + m_folder.MakeFile("note.kds", "tool::Note { text = \"!\" }")}),
              (ProgramResult{0, "a!\nb!\n", ""}));
    EXPECT_EQ(Run({"it", m_scene, "--data", m_scene}),
              (ProgramResult{2, "",
                             "kelmscript: error: --data: the members of one FILE alone are names; NAME=FILE names "
                             "another\n"}));
    std::filesystem::copy(m_scene, m_folder.GetPath() / "a=b");
    EXPECT_EQ(Run({"it", m_folder.GetPath() / "a=b", "--in", "tags"}).m_output, "a\nb\n");
}

TEST_F(Each, TellsOfWhichElementAnErrorIs)
{
    EXPECT_EQ(Run({"1 / (index - 1)", m_scene, "--in", "scores"}),
              (ProgramResult{1, "-1\n1\n", "<element 1>:1:3: error: Division by zero error\n1 / (index - 1)\n  ^\n"}));
    EXPECT_EQ(Run({"index", m_scene, "--in", "scores", "--where", "it", "--json"}).m_exitCode, 1);
    EXPECT_EQ(Run({"index", m_scene, "--in", "tags", "--where", "index == 0 || it"}),
              (ProgramResult{1, "0\n",
                             "<where, element 1>:1:12: error: No implicit conversion from value b to bool\n"
                             "index == 0 || it\n           ^~\n"}));
    EXPECT_EQ(Run({"it", m_scene, "--in", "tags", "--where", "index == 2 ? 1 : 2 / index", "--json"}).m_exitCode, 1);
    EXPECT_THAT(Run({"1 / index", m_scene, "--in", "tags", "--json"}).m_output,
                ::testing::StartsWith("{\"index\":0,\"error\":{\"kind\":\"arithmetic\","));
}

// Once, and not for every element.
TEST_F(Each, TellsOnceWhatIsWrongWithTheExpression)
{
    EXPECT_EQ(Run({"z", m_scene, "--in", "samples"}),
              (ProgramResult{1, "", "<expression>:1:1: error: Unknown name z\nz\n^\n"}));
    EXPECT_EQ(Run({"x", m_scene, "--in", "samples", "--where", "x +"}),
              (ProgramResult{1, "", "<where>:1:4: error: Unexpected end of text after + in expression\nx +\n   ^\n"}));
    EXPECT_EQ(Run({"x 2", m_scene, "--in", "samples"}).m_errors,
              "<expression>:1:3: error: Unexpected 2 after x in expression\nx 2\n  ^\n");
}

// Elements of several classes have each their own members.
TEST_F(Each, GoesOnWithElementsOfOtherClasses)
{
    EXPECT_EQ(Run({"text", m_scene, "--in", "notes"}),
              (ProgramResult{1, "x\nz\n", "<element 1>:1:1: error: Unknown name text\ntext\n^~~~\n"}));
    EXPECT_EQ(Run({"x", m_scene, "--in", "notes"}).m_output, "5.0\n");
    const std::string holes =
        m_folder.MakeFile("holes.kds", "tool::Scene { notes = [null, tool::Note { text = \"x\" }] }");
    EXPECT_EQ(Run({"text", holes, "--in", "notes"}),
              (ProgramResult{1, "x\n", "<expression>:1:1: error: Unknown name text\ntext\n^~~~\n"}));
}

// What an element's own class calls a name comes before what the file does.
TEST_F(Each, TakesNamesFromEachElementsClass)
{
    const std::string file =
        m_folder.MakeFile("named.kds", "tool::Scene { title = \"t\" notes = [tool::Note { text = \"a\" }, "
                                       "tool::Frame { x = 5 y = 6 }, tool::Note { text = \"b\" }] }");
    const std::string names[] = {"text=\"set\"", "x=1"};
    EXPECT_EQ(Run({"text", file, "--in", "notes", "--set", names[0]}), (ProgramResult{0, "a\nset\nb\n", ""}));
    EXPECT_EQ(Run({"x", file, "--in", "notes", "--set", names[1]}), (ProgramResult{0, "1\n5.0\n1\n", ""}));
    EXPECT_EQ(Run({"index", file, "--in", "notes", "--set", names[1], "--where", "x > 1"}),
              (ProgramResult{0, "1\n", ""}));
}

// Errors too are for whoever reads the values.
TEST_F(Each, WritesErrorsAsJson)
{
    EXPECT_EQ(Run({"1 +", m_scene, "--in", "tags", "--json"}),
              (ProgramResult{1,
                             "{\"error\":{\"kind\":\"syntax\",\"message\":\"Unexpected end of text after + in "
                             "expression\",\"line\":1,\"column\":4}}\n",
                             ""}));
    EXPECT_EQ(Run({"it", "/nowhere", "--json"}),
              (ProgramResult{1,
                             "{\"error\":{\"kind\":\"file\",\"message\":\"cannot read /nowhere: No such file or "
                             "directory\"}}\n",
                             ""}));
}

// Whether there are elements or not.
TEST_F(Each, TellsWhatIsNoExpressionOfAnEmptyList)
{
    EXPECT_EQ(Run({"1 +", m_folder.MakeFile("empty.kds", "tool::Scene {}"), "--in", "tags"}).m_exitCode, 1);
}

TEST_F(Each, RefusesWhatIsNoList)
{
    const std::pair<std::string, std::string> rows[] = {
        {"title", "kelmscript: error: title is no list but string\n"},
        {"counts", "kelmscript: error: counts is no list but xmap<xstring, int32>\n"},
        {".origin", "kelmscript: error: .origin is no list but tool::Point\n"},
        {".nosuch", "<in>:1:2: error: Unknown name nosuch\n"},
    };
    for (const auto& [list, error] : rows)
    {
        const ProgramResult result = Run({"it", m_scene, "--in", list});
        EXPECT_EQ(result.m_exitCode, 1);
        EXPECT_EQ(result.m_output, "");
        EXPECT_THAT(result.m_errors, ::testing::StartsWith(error));
    }
    EXPECT_EQ(Run({"it", m_folder.MakeFile("null.kds", "null")}).m_exitCode, 1);
    EXPECT_EQ(Run({"it", "/nowhere"}).m_errors, "kelmscript: error: cannot read /nowhere: No such file or directory\n");
}

} // namespace

} // namespace kelm
