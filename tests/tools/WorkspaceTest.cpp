// Expressions with the names of data: what eval, each and the prompt share.

#include "Tool.h"

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;

constexpr char s_scene[] = "tool::Scene { title = \"t\" origin = (1.5, 2) scores = [3, 4, 0] tags = [\"a\", \"b\"] "
                           "colour = GREEN counts = [\"one\" -> 1] extent = radius 4.0 "
                           "note = tool::Note { text = \"x\" next = tool::Note { text = \"y\" } } }";

class Workspace : public ::testing::Test
{
protected:
    // In the folder, where the scene is scene.kds.
    ProgramResult Run(const std::vector<std::string>& arguments, const std::string& input = {}) const
    {
        std::vector<std::string> command = {"/bin/sh", "-c", "cd \"$0\" && exec \"$@\"", m_folder.GetPath(),
                                            KELMSCRIPT};
        command.insert(command.end(), arguments.begin(), arguments.end());
        return RunProgram(command, input, {{"KELMSCRIPT_MODULES", KELM_TOOL_TYPES}, {"NO_COLOR", ""}, {"LC_ALL", "C"}});
    }

    TemporaryFolder m_folder;
    std::string m_scene = m_folder.MakeFile("scene.kds", s_scene);
};

struct ValueRow
{
    std::string m_expression;
    std::string m_output;
};

TEST_F(Workspace, HasTheMembersOfADataSource)
{
    const ValueRow rows[] = {
        {"title", "string t"},
        {"title + tags[1]", "string tb"},
        {"origin.y / 4", "int64 0"}, // whole-numbered floats are integers
        {"origin.x + scores[0]", "float64 4.5"},
        {"colour", "string GREEN"},
        {"counts['one'] + 1", "int64 2"},
        {"note.next.text", "string y"},
        {"origin", "tool::Point Point{x=1.5 y=2.0}"},
        {"tags", "xvector<xstring> [\"a\",\"b\"]"},
        {"scores", "int32[3] [3,4,0]"},
        {"max(scores[0], 2.5)", "float64 3.0"},
        {"sum(scores, s, s)", "int64 7"},
        {"has(first)", "bool false"},
        {"isOpen", "bool false"},
        {"tiny = 7", "void "},
    };
    for (const ValueRow& row : rows)
        EXPECT_EQ(Run({"eval", "--type", "--data", "scene.kds", row.m_expression}),
                  (ProgramResult{0, row.m_output + "\n", ""}))
            << row.m_expression;
}

TEST_F(Workspace, IsTheSameForAllExpressions)
{
    EXPECT_EQ(Run({"eval", "--data", "scene.kds", "tiny = 7", "tiny += 1", "tiny", "origin.x = tiny", "origin"}),
              (ProgramResult{0, "8\nPoint{x=8.0 y=2.0}\n", ""}));
    EXPECT_EQ(TextOfFile(m_scene), s_scene); // the file is left alone
}

TEST_F(Workspace, HasWholeDataSourcesByName)
{
    EXPECT_EQ(Run({"eval", "--data", "a=scene.kds", "--data=b=scene.kds", "a.title + b.tags[0]", "a.tiny = 1",
                   "a.tiny - b.tiny"}),
              (ProgramResult{0, "ta\n1\n", ""}));
    // A name that is given goes before a member.
    EXPECT_EQ(Run({"eval", "--data", "scene.kds", "--data", "title=scene.kds", "title.title"}).m_output, "t\n");
    // A file whose own name holds an equals sign.
    std::filesystem::copy(m_scene, m_folder.GetPath() / "a=b");
    EXPECT_EQ(Run({"eval", "--data", "./a=b", "title"}).m_output, "t\n");
    EXPECT_EQ(Run({"eval", "--data", "-", "title"}, s_scene).m_output, "t\n");
    EXPECT_EQ(Run({"eval", "--data", "n=-", "n"}, "null"), (ProgramResult{0, "null\n", ""}));
}

TEST_F(Workspace, GivesValuesNames)
{
    EXPECT_EQ(Run({"eval", "--set", "x=2", "--set", "y=x * 3", "--set=e==", "y + x"}).m_exitCode, 1);
    EXPECT_EQ(Run({"eval", "--set", "x=2", "--set", "y=x * 3", "y + x"}), (ProgramResult{0, "8\n", ""}));
    EXPECT_EQ(Run({"eval", "--data", "scene.kds", "--set", "o=origin", "o.x", "title"}).m_output, "1.5\nt\n");
    EXPECT_EQ(Run({"eval", "--set", "x=1 +", "2"}),
              (ProgramResult{1, "", "<x>:1:4: error: Unexpected end of text after + in expression\n1 +\n   ^\n"}));
    EXPECT_EQ(Run({"eval", "--set", "x=2", "x = 3"}),
              (ProgramResult{1, "", "<argument 1>:1:3: error: Can't assign to x, which is no variable\nx = 3\n  ^\n"}));
}

// --- Languages

TEST_F(Workspace, SpeaksTheLanguageThatIsAskedFor)
{
    const std::vector<std::string> expressions = {"(2.0 + 3.0) / 2", "-2.0", "true || 1"};
    std::vector<std::string> natural = {"eval", "--natural"};
    std::vector<std::string> exact = {"eval", "--set", "x=1"};
    natural.insert(natural.end(), expressions.begin(), expressions.end());
    exact.insert(exact.end(), expressions.begin(), expressions.end());
    EXPECT_EQ(Run(natural), (ProgramResult{0, "2.5\n-2.0\ntrue\n", ""}));
    EXPECT_EQ(Run(exact), (ProgramResult{0, "2\n-2\ntrue\n", ""}));
    EXPECT_EQ(Run({"eval", "--natural", "len('abc')"}).m_output, "3\n");
}

TEST_F(Workspace, ReadsExpressionsToTheirEndInBothLanguages)
{
    const ProgramResult expected{1, "", "<argument 1>:1:3: error: Unexpected 2 after 1 in expression\n1 2\n  ^\n"};
    EXPECT_EQ(Run({"eval", "--natural", "1 2"}), expected);
    EXPECT_EQ(Run({"eval", "--set", "x=1", "1 2"}), expected);
}

TEST_F(Workspace, SurvivesTheDivisionThatFaults)
{
    EXPECT_EQ(Run({"eval", "--set", "x=-9223372036854775807", "(x - 1) / -1", "x"}),
              (ProgramResult{1, "-9223372036854775807\n",
                             "<argument 1>:1:1: error: Division fault: -9223372036854775808 divided by -1 is beyond "
                             "int64\n(x - 1) / -1\n^\n"}));
    EXPECT_EQ(Run({"eval", "--natural", "(-9223372036854775807 - 1) / -1"}).m_exitCode, 1);
}

// --- Errors

struct ErrorRow
{
    std::string m_expression;
    std::string m_kind;
    std::string m_errors;
};

TEST_F(Workspace, ReportsErrorsAtTheirPlace)
{
    const ErrorRow rows[] = {
        {"titel", "name",
         "1:1: error: Unknown name titel\ntitel\n^~~~~\n<argument 1>:1:1: note: did you mean title?\ntitel\n^~~~~\n"},
        {"'a' +\n'\xC3\xA4' + origin.z", "name",
         "2:14: error: Identifier z is not a model field of class tool::Point\n'\xC3\xA4' + origin.z\n             "
         "^\n"},
        {"tags[9]", "range", "1:7: error: Vector index 9 out of range\ntags[9]\n      ^\n"},
        {"title * 2", "type",
         "1:7: error: Incompatible types (string and int64) for * operation\ntitle * 2\n      ^\n"},
        {"1 / 0", "arithmetic", "1:3: error: Division by zero error\n1 / 0\n  ^\n"},
        {"sqrt()", "call", "1:1: error: sqrt() takes 1 argument, not 0\nsqrt()\n^~~~\n"},
        {"(1", "syntax", "1:3: error: Expected ) when read end of text\n(1\n  ^\n"},
        {"version = 4", "type", "1:9: error: Can't assign to const integer\nversion = 4\n        ^\n"},
    };
    for (const ErrorRow& row : rows)
    {
        EXPECT_EQ(Run({"eval", "--data", "scene.kds", row.m_expression}),
                  (ProgramResult{1, "", "<argument 1>:" + row.m_errors}))
            << row.m_expression;
        EXPECT_THAT(Run({"eval", "--json", "--data", "scene.kds", row.m_expression}).m_output,
                    HasSubstr("{\"error\":{\"kind\":\"" + row.m_kind + "\","));
    }
}

TEST_F(Workspace, CountsTheLinesOfTheInput)
{
    EXPECT_EQ(Run({"eval", "--data", "scene.kds"}, "title\n\n# a comment\ntitel + 1\nscores[1]\n"),
              (ProgramResult{1, "t\n4\n",
                             "<stdin>:4:1: error: Unknown name titel\ntitel + 1\n^~~~~\n"
                             "<stdin>:4:1: note: did you mean title?\ntitel + 1\n^~~~~\n"}));
}

TEST_F(Workspace, RefusesWhatMakesNoSense)
{
    struct Row
    {
        std::vector<std::string> m_arguments;
        int m_exitCode;
        std::string m_error;
    };
    const Row rows[] = {
        {{"eval", "--set", "1", "2"}, 2, "--set: 1 is not of the form NAME=EXPRESSION"},
        {{"eval", "--set", "sin=1", "2"}, 2, "--set: \"sin\" is a built-in name"},
        {{"eval", "--set", "1x=1", "2"}, 2, "--set: \"1x\" is no name"},
        {{"eval", "--data", "len=scene.kds", "2"}, 2, "--data: \"len\" is a built-in name"},
        {{"eval", "--data", "scene.kds", "--data", "scene.kds", "2"},
         2,
         "--data: the members of one FILE alone are names; NAME=FILE names another"},
        {{"eval", "--data", "-"}, 2, "standard input holds the data, and no expressions"},
        {{"eval", "--data", "x=-", "-"}, 2, "standard input holds the data, and no expressions"},
        {{"repl", "--data", "-"}, 2, "standard input holds the data, and no expressions"},
        {{"eval", "--data", "nowhere.kds", "1"}, 1, "cannot read nowhere.kds: No such file or directory"},
    };
    for (const Row& row : rows)
        EXPECT_EQ(Run(row.m_arguments),
                  (ProgramResult{row.m_exitCode, "", "kelmscript: error: " + row.m_error + "\n"}));
}

// Notes where an error alone leaves one guessing.
TEST_F(Workspace, TellsHowItIsWritten)
{
    m_folder.MakeFile("map.kds", "tool::Scene { counts = [\"a\" -> 1] title = \"t\" }");
    EXPECT_EQ(Run({"eval", "--data", "map.kds", "1 + counts.a"}),
              (ProgramResult{1, "",
                             "<argument 1>:1:12: error: . not available on map\n1 + counts.a\n           ^\n"
                             "<argument 1>:1:12: note: what a map holds is named by its key: [\"a\"]\n"
                             "1 + counts.a\n           ^\n"}));
    EXPECT_EQ(Run({"get", "map.kds", "title"}),
              (ProgramResult{1, "",
                             "<path>:1:1: error: Expected end of text when read title\ntitle\n^\n"
                             "<path>:1:1: note: a path begins with a dot: .title\ntitle\n^\n"}));
}

TEST_F(Workspace, ReportsDataThatCannotBeRead)
{
    m_folder.MakeFile("bad.kds", "tool::Scene { titel = 1 }");
    const ProgramResult result = Run({"eval", "--data", "bad.kds", "1"});
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_EQ(result.m_output, "");
    EXPECT_THAT(result.m_errors, HasSubstr("bad.kds:1:15: note: did you mean title?\n"));
}

// --- Forms

TEST_F(Workspace, WritesObjectsInJson)
{
    EXPECT_EQ(Run({"eval", "--json", "--data", "scene.kds", "origin", "note.next", "extent", "tiny = 1", "first"}),
              (ProgramResult{0,
                             "{\"value\":{\"x\":1.5,\"y\":2.0},\"kind\":\"tool::Point\"}\n"
                             "{\"value\":{\"$class\":\"tool::Note\",\"text\":\"y\",\"next\":null},"
                             "\"kind\":\"ptr<kelm::IObject>\"}\n"
                             "{\"value\":{\"radius\":4.0},\"kind\":\"tool::Extent\"}\n"
                             "{\"value\":null,\"kind\":\"void\"}\n"
                             "{\"value\":null,\"kind\":\"ptr<kelm::IObject>\"}\n",
                             ""}));
}

TEST_F(Workspace, WritesRawValuesUnlessToldOtherwise)
{
    EXPECT_EQ(Run({"eval", "--raw", "--data", "scene.kds", "title", "tags"}),
              (ProgramResult{0, "t\n[\"a\",\"b\"]\n", ""}));
}

// What leads back to itself has no text.
TEST_F(Workspace, ReportsObjectsThatCannotBeWritten)
{
    const ProgramResult result =
        Run({"repl", "--data", "scene.kds"}, "note.next.text\nnote.text = 'changed'\nnote.text\n");
    EXPECT_EQ(result, (ProgramResult{0, "y\nchanged\n", ""}));
}

// --- The prompt

TEST_F(Workspace, IsThereAtThePrompt)
{
    EXPECT_EQ(Run({"repl", "--data", "scene.kds", "--set", "twice=tiny * 2"},
                  "title\ntiny = 5\n:get .tiny\n:set .title \"u\"\ntitle\ntwice\n:type scores\nxyz\n"),
              (ProgramResult{1, "t\nint8 5\nxstring \"u\"\nu\n0\nint32[3]\n",
                             "<stdin>:8:1: error: Unknown name xyz\nxyz\n^~~\n"}));
}

TEST_F(Workspace, ChangesWithWhatIsLoaded)
{
    m_folder.MakeFile("note.kds", "tool::Note { text = \"x\" }");
    EXPECT_EQ(Run({"repl", "--data", "n=note.kds"},
                  "n.text\n:load scene.kds\ntitle\n:load note.kds\ntext\ntitle\nn.text\n:load nowhere\ntext\n"),
              (ProgramResult{1, "x\ntool::Scene\nt\ntool::Note\nx\nx\nx\n",
                             "<stdin>:6:1: error: Unknown name title\ntitle\n^~~~~\n"
                             "kelmscript: error: cannot read nowhere: No such file or directory\n"}));
}

// A value that lies in what was loaded before would lie nowhere.
TEST_F(Workspace, EvaluatesWhatIsSetAnewWithWhatIsLoaded)
{
    m_folder.MakeFile("other.kds", "tool::Scene { note = tool::Note { text = \"of the other\" } }");
    m_folder.MakeFile("note.kds", "tool::Note {}");
    EXPECT_EQ(
        Run({"repl", "--data", "scene.kds", "--set", "n=note"}, "n.text\n:load other.kds\nn.text\n:load note.kds\nn\n"),
        (ProgramResult{1, "x\ntool::Scene\nof the other\ntool::Note\n",
                       "<n>:1:1: error: Unknown name note\nnote\n^~~~\n"
                       "<stdin>:5:1: error: Unknown name n\nn\n^\n"}));
}

TEST_F(Workspace, AnswersInJsonAtThePrompt)
{
    EXPECT_EQ(Run({"repl", "--json", "--data", "scene.kds"}, "title\n:get .tiny\n1 +\n"),
              (ProgramResult{1,
                             "{\"value\":\"t\",\"kind\":\"string\"}\n{\"type\":\"int8\",\"value\":0}\n"
                             "{\"error\":{\"kind\":\"syntax\",\"message\":\"Unexpected end of text after + in "
                             "expression\",\"line\":3,\"column\":4}}\n",
                             ""}));
}

} // namespace

} // namespace kelm
