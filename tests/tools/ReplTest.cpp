// The prompt's commands, in a pipe; PromptTest.cpp is about the terminal.

#include "Tool.h"

#include <support/Emulation.h>

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;

struct SessionRow
{
    std::string m_input;
    ProgramResult m_result;
};

const SessionRow s_sessions[] = {
    {"", {0, "", ""}},
    {"1 + 2\n'text'", {0, "3\ntext\n", ""}},
    {"\n  \n// comment\n# comment\n1\n", {0, "1\n", ""}},
    {":type 1.5\n:type  'a' + 'b'  \n", {0, "float64\nstring\n", ""}},
    {"1\n:quit\n2\n", {0, "1\n", ""}},
    {"1\n:exit\n2\n", {0, "1\n", ""}},
    {"1\n quit \n2\n", {0, "1\n", ""}},
    {"1\nexit\n2\n", {0, "1\n", ""}},
    // An open bracket takes the next lines in.
    {"(1 +\n\n2) * 3\n4\n", {0, "9\n4\n", ""}},
    {"true ? (1) : ( // bracket in a comment (\n ')' == '(' ? 1 : 2\n)\n", {0, "1\n", ""}},
    {"')'\n'('\n", {0, ")\n(\n", ""}},
    {"(1\n+ $", {1, "", "<stdin>:2:3: error: Unexpected $ after + in expression\n+ $\n  ^\n"}},
    {"1\n(2 + 3", {1, "1\n", "<stdin>:2:7: error: Expected ) when read end of text\n(2 + 3\n      ^\n"}},
    {"(1\n+ 2)\n$\n", {1, "3\n", "<stdin>:3:1: error: Unexpected $ after start of text in expression\n$\n^\n"}},
    {"('abc\n1\n", {1, "1\n", "<stdin>:1:2: error: Unterminated string literal\n('abc\n ^\n"}},
    {"1 / 0\n2\n", {1, "2\n", "<stdin>:1:5: error: Division by zero error\n1 / 0\n    ^\n"}},
    {":type 1 +\n", {1, "", "<expression>:1:4: error: Unexpected end of text after + in expression\n1 +\n   ^\n"}},
    {":tpye 1\n",
     {1, "", "kelmscript: error: unknown command :tpye\nkelmscript: note: did you mean :type or :types?\n"}},
    {":\n", {1, "", "kelmscript: error: unknown command :\nkelmscript: note: :help lists the commands\n"}},
    {":type\n", {1, "", "kelmscript: error: :type takes an argument: :type EXPR\n"}},
    {":load\n", {1, "", "kelmscript: error: :load takes an argument: :load FILE\n"}},
    {":load /nowhere/x.kds\n", {1, "", "kelmscript: error: cannot read /nowhere/x.kds: No such file or directory\n"}},
    {":get .x\n", {1, "", "kelmscript: error: no object is loaded: :load FILE loads one\n"}},
    {":set .x 1\n", {1, "", "kelmscript: error: no object is loaded: :load FILE loads one\n"}},
    {":print\n", {1, "", "kelmscript: error: no object is loaded: :load FILE loads one\n"}},
    {":types xstring\n", {0, "typedef xstring kelm::xstring;\n", ""}},
    {":types kelm::xstrin\n",
     {1, "",
      "kelmscript: error: nothing is registered as kelm::xstrin\nkelmscript: note: did you mean kelm::xstring?\n"}},
};

TEST(Repl, AnswersInAPipe)
{
    for (const SessionRow& row : s_sessions)
        EXPECT_EQ(RunTool({"repl"}, row.m_input), row.m_result);
}

TEST(Repl, HelpListsCommandsAndNames)
{
    const ProgramResult result = RunTool({"repl"}, ":help\n");
    EXPECT_EQ(RunTool({"repl"}, "help\n"), result);
    EXPECT_EQ(result.m_exitCode, 0);
    for (const char* part : {"  :help ", "  :type EXPR ", "  :load FILE ", "  :get PATH ", "  :set PATH VALUE ",
                             "  :print ", "  :types [NAME] ", "  :quit ", "  is_bool(x) ", "  log(f) ", "  true "})
        EXPECT_THAT(result.m_output, HasSubstr(part));
}

// What help names, expressions know.
TEST(Repl, HelpNamesBuiltInsAlone)
{
    const std::string help = RunTool({"repl"}, ":help\n").m_output;
    std::istringstream lines(help.substr(help.find("Names in expressions:\n\n") + 23));
    std::string input;
    int numNames = 0;
    for (std::string name; lines >> name; std::getline(lines, name))
    {
        input += name.substr(0, name.find('(')) + "\n";
        ++numNames;
    }
    EXPECT_EQ(numNames, 17);
    EXPECT_THAT(RunTool({"eval"}, input).m_errors, ::testing::Not(HasSubstr("Unexpected")));
}

// What they are in the language that was asked for.
TEST(Repl, HelpTellsOfTheLanguage)
{
    const std::string natural = RunTool({"repl", "--natural"}, ":help\n").m_output;
    for (const char* part : {"\nFunctions:\n", "  len(x)             how many octets a text has, or elements a list\n",
                             "  sin(x)             the sine of a number\n", "whether x is a float64\n"})
        EXPECT_THAT(natural, HasSubstr(part));
    const std::string exact = RunTool({"repl"}, ":help\n").m_output;
    for (const char* part : {"  len(x)             refused for every value\n", "the sine of a float64\n"})
        EXPECT_THAT(exact, HasSubstr(part));
}

TEST(Repl, WritesErrorsAsJson)
{
    EXPECT_EQ(RunTool({"repl", "--json"}, ":get .x\n"),
              (ProgramResult{1,
                             "{\"error\":{\"kind\":\"command\",\"message\":\"no object is loaded: :load FILE loads "
                             "one\"}}\n",
                             ""}));
    const TemporaryFolder folder;
    const std::string file = folder.MakeFile("note.kds", "tool::Note {}");
    EXPECT_EQ(RunToolWithTypes({"repl", "--json"}, ":load " + file + "\n:get .txet\n").m_output,
              "tool::Note\n{\"error\":{\"kind\":\"syntax\",\"message\":\"Identifier txet is not a model field of class "
              "tool::Note\",\"line\":1,\"column\":2}}\n");
}

// And the functions that stand before them, where there is data.
TEST(Repl, HelpNamesFunctionsAlone)
{
    const std::string help = RunTool({"repl"}, ":help\n").m_output;
    const std::size_t begin = help.find("Functions, ");
    std::istringstream lines(help.substr(begin, help.find("\nNames in expressions:") - begin));
    std::string line;
    std::getline(lines, line);
    std::getline(lines, line);
    int numFunctions = 0;
    while (std::getline(lines, line) && !line.empty())
    {
        const std::string name = line.substr(2, line.find('(') - 2);
        // Each complains of its arguments, and not of its name.
        EXPECT_THAT(RunTool({"eval", "--natural", name + "()"}).m_errors, ::testing::Not(HasSubstr("Unknown name")))
            << name;
        ++numFunctions;
    }
    EXPECT_EQ(numFunctions, 20);
}

TEST(Repl, NeverPromptsInAPipe)
{
    EXPECT_EQ(RunTool({"repl"}, "1\n(2\n)\n").m_output, "1\n2\n");
}

// Where each line were looked at again with every line behind it, this would not end before the test is stopped.
TEST(Repl, ReadsAnEntryOfManyLinesInOnePass)
{
    constexpr int numLines = 400000;
    std::string entry = "(0\n";
    for (int i = 0; i < numLines; ++i)
        entry += "+1\n";
    EXPECT_EQ(RunTool({"repl"}, entry + ")\n"), (ProgramResult{0, std::to_string(numLines) + "\n", ""}));
}

// --- With a data source

TEST(Repl, FollowsPathsOfWhatIsLoaded)
{
    const TemporaryFolder folder;
    const std::string scene = folder.MakeFile("scene.kds", "tool::Scene { tags = [\"a\"] origin = (1, 2) } ?");
    EXPECT_EQ(RunToolWithTypes({"repl"}, ":load " + scene +
                                             "\n:get .tags\n:set .tags [\"b c\"]\n:set .origin.x -3\n"
                                             ":get .origin\n:set .extent Point(4, 5)\n:get .extent\n:get .orign\n"
                                             ":load /nowhere\n:get .origin.y\n"),
              (ProgramResult{1,
                             "tool::Scene\n"
                             "xvector<xstring> [\"a\"]\n"
                             "xvector<xstring> [\"a\",\"b c\"]\n"
                             "float64 -3.0\n"
                             "tool::Point Point{x=-3.0 y=2.0}\n"
                             "tool::Extent Point {x=4.0 y=5.0}\n"
                             "tool::Extent Point {x=4.0 y=5.0}\n"
                             "float64 2.0\n",
                             scene + ":1:46: warning: the text after the data source is not read\n"
                                     "tool::Scene { tags = [\"a\"] origin = (1, 2) } ?\n"
                                     "                                             ^\n"
                                     "<path>:1:2: error: Identifier orign is not a model field of class tool::Scene\n"
                                     ".orign\n"
                                     " ^\n"
                                     "<path>:1:2: note: did you mean origin?\n"
                                     ".orign\n"
                                     " ^\n"
                                     "kelmscript: error: cannot read /nowhere: No such file or directory\n"}));
}

// As those of the commands that change files.
TEST(Repl, FollowsPathsToKeys)
{
    const TemporaryFolder folder;
    const std::string scene =
        folder.MakeFile("scene.kds", "tool::Scene { counts = [\"a b\" -> 1] marks = [7 -> (1, 2)] }");
    const auto with = [&](const std::string& lines)
    {
        ProgramResult result = RunToolWithTypes({"repl"}, ":load " + scene + "\n" + lines);
        EXPECT_TRUE(result.m_output.starts_with("tool::Scene\n"));
        result.m_output.erase(0, result.m_output.find('\n') + 1);
        return result;
    };
    const struct
    {
        std::string m_lines;
        ProgramResult m_result;
    } rows[] = {
        {":get .counts[\"a b\"]", {0, "int32 1\n", ""}},
        {":get .marks[7].y", {0, "float64 2.0\n", ""}},
        {":set .counts[\"a b\"] 5", {0, "int32 5\n", ""}},
        {":set .counts['two'] 2\n:get .counts[\"two\"]", {0, "int32 2\nint32 2\n", ""}},
        {":set .marks[7] { y = -3 }", {0, "tool::Point Point{x=1.0 y=-3.0}\n", ""}},
        {":set .marks[8].x 4", {0, "float64 4.0\n", ""}},
        {":get .counts[\"two\"]", {1, "", "<path>:1:9: error: there is no such key\n.counts[\"two\"]\n        ^\n"}},
        {":get .counts[2]", {1, "", "<path>:1:9: error: Expected string when read 2\n.counts[2]\n        ^\n"}},
        {":get .counts[\"a b\"].z",
         {1, "", "<path>:1:16: error: there are no members here\n.counts[\"a b\"].z\n               ^\n"}},
        // Nothing is left of a key that was to be new.
        {":set .counts[\"new\"] x\n:get .counts[\"new\"]",
         {1, "",
          "<value>:1:1: error: Expected int32 when read x\nx\n^\n"
          "<path>:1:9: error: there is no such key\n.counts[\"new\"]\n        ^\n"}},
        {":set .marks[9].z 1\n:get .marks[9]",
         {1, "",
          "<path>:1:11: error: Unknown member 'z' of class tool::Point\n.marks[9].z\n          ^\n"
          "<path>:1:8: error: there is no such key\n.marks[9]\n       ^\n"}},
        {":set .counts[\"a b\"] x", {1, "", "<value>:1:1: error: Expected int32 when read x\nx\n^\n"}},
        // No dynamic array is longer.
        {":set .samples[[2].x 4\n:get .samples",
         {0, "float64 4.0\nxdynarray<tool::Point> [Point{x=0.0 y=0.0},Point{x=0.0 y=0.0},Point{x=4.0 y=0.0}]\n", ""}},
        {":set .samples[[0] (1, 2)\n:set .samples[[3].x y\n:get .samples",
         {1, "tool::Point Point{x=1.0 y=2.0}\nxdynarray<tool::Point> [Point{x=1.0 y=2.0}]\n",
          "<value>:1:1: error: Expected float64 when read y\ny\n^\n"}},
        {":set .samples[[9].z 1\n:get .samples",
         {1, "xdynarray<tool::Point> []\n",
          "<path>:1:14: error: Identifier z is not a model field of class tool::Point\n.samples[[9].z\n             ^\n"
          "<path>:1:14: note: there are x and y\n.samples[[9].z\n             ^\n"}},
    };
    for (const auto& row : rows)
        EXPECT_EQ(with(row.m_lines + "\n"), row.m_result) << row.m_lines;
}

TEST(Repl, PrintsWhatIsLoaded)
{
    const TemporaryFolder folder;
    const std::string note = folder.MakeFile("note.kds", "tool::Note { text = \"a\" }");
    EXPECT_EQ(RunToolWithTypes({"repl"}, ":load " + note + "\n:set .text \"b\"\n:print\n"),
              (ProgramResult{0,
                             "tool::Note\n"
                             "xstring \"b\"\n"
                             "tool::Note {\n"
                             "    text = \"b\"\n"
                             "    next = null\n"
                             "}\n",
                             ""}));
    EXPECT_EQ(TextOfFile(note), "tool::Note { text = \"a\" }"); // the file is left alone
}

// What they have made is collected, or memory would not do.
TEST(Repl, FailedLoadsLeaveNothing)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer needs more memory than this";
#endif
    if (IsEmulated())
        GTEST_SKIP() << "an emulator needs more memory than this";
    const TemporaryFolder folder;
    std::string text = "tool::Scene { notes = [";
    for (int i = 0; i < 20000; ++i)
        text += "tool::Note { text = \"some text that does not lie inline\" }, ";
    const std::string file = folder.MakeFile("bad.kds", text + "?");
    std::string input;
    for (int i = 0; i < 50; ++i)
        input += ":load " + file + "\n";
    const ProgramResult result = RunProgram(
        {"/bin/sh", "-c", "ulimit -v 100000; exec \"$0\" \"$@\"", KELMSCRIPT, "repl", "--module", KELM_TOOL_TYPES},
        input + "1 + 1\n");
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_EQ(result.m_output, "2\n");
    EXPECT_THAT(result.m_errors, ::testing::Not(HasSubstr("out of memory")));
}

TEST(Repl, KeepsWhatIsLoadedWhereLoadingFails)
{
    const TemporaryFolder folder;
    const std::string good = folder.MakeFile("good.kds", "tool::Note { text = \"a\" }");
    const std::string bad = folder.MakeFile("bad.kds", "tool::Note { txet = \"a\" }");
    EXPECT_EQ(RunToolWithTypes({"repl"}, ":load " + good + "\n:load " + bad + "\n:get .text\n").m_output,
              "tool::Note\nxstring \"a\"\n");
}

} // namespace

} // namespace kelm
