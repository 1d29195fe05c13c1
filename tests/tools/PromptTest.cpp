// The prompt at a terminal: editing, history, completion, signals.

#include "Tool.h"

#include <klUtils/Version.h>
#include <support/Terminal.h>

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;
using ::testing::Not;

constexpr char s_prompt[] = "kelm> ";
constexpr char s_continuation[] = "  ... ";
constexpr char s_ctrlC[] = "\x03";
constexpr char s_ctrlD[] = "\x04";
constexpr char s_ctrlR[] = "\x12";
constexpr char s_ctrlU[] = "\x15";
constexpr char s_up[] = "\033[A";

class Prompt : public ::testing::Test
{
protected:
    EnvironmentChanges Changes() const
    {
        return {{"TERM", "dumb"},
                {"XDG_STATE_HOME", m_state.GetPath()},
                {"INPUTRC", "/dev/null"},
                {"KELMSCRIPT_MODULES", KELM_TOOL_TYPES},
                {"NO_COLOR", "1"}};
    }

    // A new run of the tool, which has shown its first prompt.
    std::unique_ptr<Terminal> Start() const
    {
        auto terminal = std::make_unique<Terminal>(ToolCommand({"repl"}), Changes());
        EXPECT_EQ(terminal->ReadUntil(s_prompt),
                  std::string("kelmscript " KELM_VERSION_TEXT ", :help for help\r\n") + s_prompt);
        return terminal;
    }

    // Types keys, and returns what appears up to the next prompt.
    static std::string Answer(Terminal& terminal, const std::string& keys)
    {
        terminal.Type(keys);
        return terminal.ReadUntil(std::string("\n") + s_prompt);
    }

    static int Leave(Terminal& terminal)
    {
        terminal.Type(s_ctrlD);
        return terminal.Wait();
    }

    std::filesystem::path HistoryFile() const { return m_state.GetPath() / "kelmscript" / "history"; }

    TemporaryFolder m_state;
};

std::string Repeated(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

TEST_F(Prompt, EvaluatesALine)
{
    const auto terminal = Start();
    EXPECT_EQ(Answer(*terminal, "1 + 2\r"), "1 + 2\r\n3\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, ShowsErrorsAndGoesOn)
{
    const auto terminal = Start();
    EXPECT_EQ(Answer(*terminal, "1 / 0\r"),
              "1 / 0\r\n<prompt>:1:5: error: Division by zero error\r\n1 / 0\r\n    ^\r\nkelm> ");
    EXPECT_EQ(Answer(*terminal, "(-9223372036854775807 - 1) / -1\r"),
              "(-9223372036854775807 - 1) / -1\r\n"
              "<prompt>:1:31: error: Division fault: -9223372036854775808 divided by -1 is beyond int64\r\n"
              "(-9223372036854775807 - 1) / -1\r\n                              ^\r\nkelm> ");
    EXPECT_EQ(Answer(*terminal, "2\r"), "2\r\n2\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0); // failures at a prompt are no failure of the run
}

TEST_F(Prompt, ReadsMoreLinesWhileABracketIsOpen)
{
    const auto terminal = Start();
    terminal->Type("(1 +\r");
    EXPECT_EQ(terminal->ReadUntil(s_continuation), "(1 +\r\n  ... ");
    terminal->Type("(2 +\r");
    EXPECT_EQ(terminal->ReadUntil(s_continuation), "(2 +\r\n  ... ");
    EXPECT_EQ(Answer(*terminal, "3)) * 2\r"), "3)) * 2\r\n12\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, CtrlDLeavesOnAnEmptyLine)
{
    const auto terminal = Start();
    terminal->Type("12");
    terminal->Type(s_ctrlD);
    EXPECT_EQ(Answer(*terminal, "\r"), "12\a\r\n12\r\nkelm> "); // it would delete a character, and there is none
    terminal->Type(s_ctrlD);
    EXPECT_EQ(terminal->ReadToEnd(), "\r\n");
    EXPECT_EQ(terminal->Wait(), 0);
}

TEST_F(Prompt, QuitLeaves)
{
    const auto terminal = Start();
    terminal->Type(":quit\r");
    EXPECT_EQ(terminal->ReadToEnd(), ":quit\r\n");
    EXPECT_EQ(terminal->Wait(), 0);
}

TEST_F(Prompt, CtrlCDropsTheLine)
{
    const auto terminal = Start();
    terminal->Type("1 + 2");
    terminal->ReadUntil("1 + 2");
    EXPECT_EQ(Answer(*terminal, s_ctrlC), "^C\r\nkelm> ");
    EXPECT_EQ(Answer(*terminal, "7\r"), "7\r\n7\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, CtrlCDropsAllLinesOfAnEntry)
{
    const auto terminal = Start();
    terminal->Type("(1 +\r");
    terminal->ReadUntil(s_continuation);
    EXPECT_EQ(Answer(*terminal, s_ctrlC), "^C\r\nkelm> ");
    EXPECT_EQ(Answer(*terminal, "7\r"), "7\r\n7\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, CtrlCEndsASearch)
{
    const auto terminal = Start();
    Answer(*terminal, "1 + 2\r");
    terminal->Type(s_ctrlR);
    terminal->ReadUntil("reverse-i-search");
    terminal->Type("+");
    terminal->ReadUntil("1 + 2");
    terminal->Type(s_ctrlC);
    terminal->ReadUntil(std::string("^C\r\n") + s_prompt);
    EXPECT_EQ(Answer(*terminal, "7\r"), "7\r\n7\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

// What would go on for ever ends by a key: an evaluation, and the writing of its result.
TEST_F(Prompt, CtrlCEndsWhatIsEvaluated)
{
    const std::string file =
        m_state.MakeFile("long.kds", "tool::Scene { tags = [" + Repeated("\"x\", ", 1999) + "\"x\"] }");
    const auto terminal = Start();
    Answer(*terminal, ":load " + file + "\r");
    terminal->Type("sum(tags, a, sum(tags, b, sum(tags, c, sum(tags, d, 1))))\r");
    terminal->ReadUntil("1))))\r\n");
    EXPECT_THAT(Answer(*terminal, s_ctrlC), HasSubstr("interrupted\r\nkelm> "));
    EXPECT_EQ(Answer(*terminal, "count(tags, a, true)\r"), "count(tags, a, true)\r\n2000\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, SignalsEndWhatIsEvaluated)
{
    const std::string file =
        m_state.MakeFile("long.kds", "tool::Scene { tags = [" + Repeated("\"x\", ", 1999) + "\"x\"] }");
    const auto terminal = Start();
    Answer(*terminal, ":load " + file + "\r");
    terminal->Type("sum(tags, a, sum(tags, b, sum(tags, c, sum(tags, d, 1))))\r");
    terminal->ReadUntil("1))))\r\n");
    terminal->Send(SIGTERM);
    EXPECT_EQ(terminal->Wait(), -SIGTERM);
}

// Wherever the cursor was.
TEST_F(Prompt, CtrlCLeavesTheLineReadable)
{
    const auto terminal = Start();
    terminal->Type("1 + 2\x01");
    terminal->ReadUntil("\b");
    const std::string shown = Answer(*terminal, s_ctrlC);
    EXPECT_THAT(shown, ::testing::EndsWith("1 + 2^C\r\nkelm> "));
    EXPECT_EQ(Leave(*terminal), 0);
}

// The terminal is given back as it was, and the shell sees why the run ended.
TEST_F(Prompt, DiesOfATerminatingSignal)
{
    for (const int signal : {SIGTERM, SIGHUP})
    {
        const auto terminal = Start();
        terminal->Send(signal);
        EXPECT_EQ(terminal->Wait(), -signal);
    }
}

TEST_F(Prompt, SurvivesStoppingAndResizing)
{
    const auto terminal = Start();
    terminal->Type("1 + ");
    terminal->ReadUntil("1 + ");
    terminal->Send(SIGWINCH);
    terminal->Send(SIGCONT);
    terminal->ReadUntil("1 + "); // shown anew
    terminal->Type("2\r");
    EXPECT_THAT(terminal->ReadUntil(std::string("\n") + s_prompt), HasSubstr("2\r\n3\r\nkelm> "));
    EXPECT_EQ(Leave(*terminal), 0);
}

// --- History

TEST_F(Prompt, RecallsEarlierLines)
{
    const auto terminal = Start();
    Answer(*terminal, "1 + 2\r");
    Answer(*terminal, "'b'\r");
    terminal->Type(s_up);
    terminal->ReadUntil("'b'");
    terminal->Type(s_up);
    terminal->ReadUntil("1 + 2");
    EXPECT_EQ(Answer(*terminal, "5\r"), "5\r\n26\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, KeepsHistoryBetweenRuns)
{
    {
        const auto terminal = Start();
        Answer(*terminal, "40 + 2\r");
        EXPECT_EQ(Leave(*terminal), 0);
    }
    const auto terminal = Start();
    terminal->Type(s_up);
    terminal->ReadUntil("40 + 2");
    EXPECT_EQ(Answer(*terminal, "\r"), "\r\n42\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, RecallsAnEntryOfSeveralLinesAsOne)
{
    {
        const auto terminal = Start();
        for (const char* keys : {"(1 + // one\r", "#2 more\r"})
        {
            terminal->Type(keys);
            terminal->ReadUntil(s_continuation);
        }
        EXPECT_EQ(Answer(*terminal, "2)\r"), "2)\r\n3\r\nkelm> ");
        EXPECT_EQ(Leave(*terminal), 0);
    }
    const auto terminal = Start();
    terminal->Type(s_up);
    terminal->ReadUntil("2)");
    EXPECT_THAT(Answer(*terminal, " * 2\r"), HasSubstr("\r\n6\r\nkelm> "));
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, RemembersCommandsAndErrorsButNotRepetitionsAndBlanks)
{
    const auto terminal = Start();
    for (const char* keys : {"1\r", "1\r", "  \r", "$\r", ":type 1\r"})
        Answer(*terminal, keys);
    EXPECT_EQ(Leave(*terminal), 0);
    std::istringstream lines(TextOfFile(HistoryFile()));
    std::vector<std::string> entries;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with('\x01')) // the time of each entry
            entries.push_back(line);
    EXPECT_EQ(entries, (std::vector<std::string>{"1", "$", ":type 1"}));
}

TEST_F(Prompt, KeepsHistoryPrivate)
{
    const auto terminal = Start();
    Answer(*terminal, "1\r");
    EXPECT_EQ(Leave(*terminal), 0);
    EXPECT_EQ(std::filesystem::status(HistoryFile()).permissions(),
              std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(Prompt, EntriesAreKeptWhenTheRunIsKilled)
{
    {
        const auto terminal = Start();
        Answer(*terminal, "40 + 2\r");
        terminal->Send(SIGKILL);
        EXPECT_EQ(terminal->Wait(), -SIGKILL);
    }
    EXPECT_THAT(TextOfFile(HistoryFile()), HasSubstr("40 + 2\n"));
}

TEST_F(Prompt, WorksWithoutAPlaceForItsHistory)
{
    EnvironmentChanges changes = Changes();
    changes["XDG_STATE_HOME"] = "/dev/null/nowhere";
    Terminal terminal(ToolCommand({"repl"}), changes);
    terminal.ReadUntil(s_prompt);
    EXPECT_EQ(Answer(terminal, "1 + 2\r"), "1 + 2\r\n3\r\nkelm> ");
    EXPECT_EQ(Leave(terminal), 0);
}

TEST_F(Prompt, KeepsHistoryUnderTheHomeFolderByDefault)
{
    EnvironmentChanges changes = Changes();
    changes["XDG_STATE_HOME"] = "";
    changes["HOME"] = m_state.GetPath();
    Terminal terminal(ToolCommand({"repl"}), changes);
    terminal.ReadUntil(s_prompt);
    Answer(terminal, "1 + 2\r");
    EXPECT_EQ(Leave(terminal), 0);
    EXPECT_THAT(TextOfFile(m_state.GetPath() / ".local/state/kelmscript/history"), HasSubstr("1 + 2\n"));
}

// --- Completion

TEST_F(Prompt, CompletesBuiltInNames)
{
    const auto terminal = Start();
    EXPECT_EQ(Answer(*terminal, "1 + is_s\t'a') == 1\x01"
                                "\x05"
                                "\b\b\b\b\b\r")
                  .substr(0, 18),
              "1 + is_string('a')");
    EXPECT_EQ(Answer(*terminal, "tr\t\r"), "true\r\ntrue\r\nkelm> ");
    EXPECT_EQ(Answer(*terminal, "int(co\t1.0))\r"), "int(cos(1.0))\r\n0\r\nkelm> ");
    EXPECT_EQ(Answer(*terminal, ":type do\t2)\r"), ":type double(2)\r\nfloat64\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, ListsWhatIsAmbiguous)
{
    const auto terminal = Start();
    terminal->Type("is_\t\t");
    EXPECT_THAT(terminal->ReadUntil(std::string(s_prompt) + "is_"),
                ::testing::AllOf(HasSubstr("is_bool("), HasSubstr("is_double("), HasSubstr("is_int("),
                                 HasSubstr("is_string(")));
    EXPECT_EQ(Answer(*terminal, "int(2)\r"), "int(2)\r\ntrue\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, CompletesCommandsAndTypeNames)
{
    const auto terminal = Start();
    EXPECT_THAT(Answer(*terminal, ":he\t\r"), HasSubstr(":help\r\nAn expression"));
    EXPECT_THAT(Answer(*terminal, ":types kelm::KSV\t\r"), HasSubstr(":types kelm::KSValue\r\nvariant kelm::KSValue "));
    EXPECT_THAT(Answer(*terminal, ":types KSV\t\r"), HasSubstr(":types KSValue\r\nvariant kelm::KSValue "));
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, CompletesFileNames)
{
    const std::string file = m_state.MakeFile("onlyone.kds", "null");
    const auto terminal = Start();
    EXPECT_EQ(Answer(*terminal, ":load " + m_state.GetPath().string() + "/onlyo\t\r"),
              ":load " + file + " \r\nnull\r\nkelm> ");
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, LoadsWhatItCompletes)
{
    m_state.MakeFile("two words.kds", "null");
    EnvironmentChanges changes = Changes();
    changes["HOME"] = m_state.GetPath();
    Terminal terminal(ToolCommand({"repl"}), changes);
    terminal.ReadUntil(s_prompt);
    EXPECT_THAT(Answer(terminal, ":load ~/two\t\r"), ::testing::EndsWith("two words.kds\" \r\nnull\r\nkelm> "));
    for (const std::string& file :
         std::vector<std::string>{"~/two words.kds", "'~/two words.kds'", "\"~/two words.kds\"",
                                  "\"" + m_state.GetPath().string() + "/two words.kds\""})
        EXPECT_THAT(Answer(terminal, ":load " + file + "\r"), ::testing::EndsWith("\r\nnull\r\nkelm> ")) << file;
    EXPECT_EQ(Leave(terminal), 0);
}

TEST_F(Prompt, CompletesFieldNamesAlongAPath)
{
    const std::string file = m_state.MakeFile(
        "scene.kds", "tool::Scene { notes = [tool::Note { text = \"x\" next = tool::Note { text = \"y\" } }] "
                     "samples = [(1, 2)] note = tool::Note { text = \"z\" } }");
    const auto terminal = Start();
    Answer(*terminal, ":load " + file + "\r");
    const std::pair<const char*, const char*> rows[] = {
        {":get .tit\t\r", ":get .title\r\nxstring \"untitled\"\r\nkelm> "},
        {":get .origin.y\t\r", ":get .origin.y\r\nfloat64 0.0\r\nkelm> "},
        {":get .notes[0].te\t\r", ":get .notes[0].text\r\nxstring \"x\"\r\nkelm> "},
        {":get .notes[0].ne\t.te\t\r", ":get .notes[0].next.text\r\nxstring \"y\"\r\nkelm> "},
        {":get .note.te\t\r", ":get .note.text\r\nxstring \"z\"\r\nkelm> "},
        {":get .samples[[0].y\t\r", ":get .samples[[0].y\r\nfloat64 2.0\r\nkelm> "},
        {":set .tit\t \"t\"\r", ":set .title \"t\"\r\nxstring \"t\"\r\nkelm> "},
        {":set .colour DE\t\r", ":set .colour DEEP_BLUE\r\ntool::Colour DEEP_BLUE\r\nkelm> "},
        {":set .isOpen t\t\r", ":set .isOpen true\r\nbool true\r\nkelm> "},
        {":set .origin {x\t3}\r", ":set .origin {x = 3}\r\ntool::Point Point{x=3.0 y=0.0}\r\nkelm> "},
        {":set .notes[0].next too\tNo\t{ te\t\"w\" }\r", // which begins several names
         ":set .notes[0].next too\al.Note{ text = \"w\" }\r\nptr<kelm::IObject> tool::Note{text=\"w\" next=null}\r\n"
         "kelm> "},
    };
    for (const auto& [keys, answer] : rows)
        EXPECT_EQ(Answer(*terminal, keys), answer);
    EXPECT_EQ(Leave(*terminal), 0);
}

// Completing is no reason to change what is loaded.
TEST_F(Prompt, CompletionDoesNotGrowDynamicArrays)
{
    const std::string file = m_state.MakeFile("scene.kds", "tool::Scene { samples = [(1, 2)] }");
    const auto terminal = Start();
    Answer(*terminal, ":load " + file + "\r");
    terminal->Type(":get .samples[[5].\t");
    terminal->Type(s_ctrlU);
    EXPECT_THAT(Answer(*terminal, ":get .samples\r"), HasSubstr("xdynarray<tool::Point> [Point{x=1.0 y=2.0}]\r\n"));
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, CompletesNothingInPathsThatLeadNowhere)
{
    const std::string file = m_state.MakeFile("scene.kds", "tool::Scene {}");
    const auto terminal = Start();
    Answer(*terminal, ":load " + file + "\r");
    for (const char* path : {".nosuch.", ".first.", ".title.", ".tags[0].", ".version.", ".counts.", "."})
    {
        terminal->Type(std::string(":get ") + path + "q\t");
        terminal->ReadUntil("q");
        EXPECT_THAT(Answer(*terminal, s_ctrlC), HasSubstr("^C\r\n"));
    }
    EXPECT_EQ(Leave(*terminal), 0);
}

TEST_F(Prompt, CompletesTheNamesOfDataInExpressions)
{
    m_state.MakeFile("scene.kds",
                     "tool::Scene { notes = [tool::Note { text = \"x\" next = tool::Note { text = \"y\" } }] "
                     "note = tool::Note { text = \"z\" } title = \"t\" tiny = 5 }");
    Terminal terminal(ToolCommand({"repl", "--data", m_state.GetPath() / "scene.kds", "--data",
                                   "whole=" + (m_state.GetPath() / "scene.kds").string(), "--set", "wholly=tiny"}),
                      Changes());
    terminal.ReadUntil(s_prompt);
    const std::pair<const char*, const char*> rows[] = {
        {"tit\t\r", "title\r\nt\r\nkelm> "},
        {"1 + tin\t\r", "1 + tiny\r\n6\r\nkelm> "},
        {"notes[0].te\t\r", "notes[0].text\r\nx\r\nkelm> "},
        {"'a' + notes[0].ne\t.te\t\r", "'a' + notes[0].next.text\r\nay\r\nkelm> "},
        {"whole.no\t\t\x15whole.note.te\t\r", "whole.note.text\r\nz\r\nkelm> "},
        {"wholl\t\r", "wholly\r\n5\r\nkelm> "},
        {"starts\t'abc', 'ab')\r", "starts_with('abc', 'ab')\r\ntrue\r\nkelm> "},
        {":type note.te\t\r", ":type note.text\r\nstring\r\nkelm> "},
    };
    for (const auto& [keys, answer] : rows)
        EXPECT_THAT(Answer(terminal, keys), ::testing::EndsWith(answer)) << keys;
    // Completing evaluates nothing but paths.
    terminal.Type("sqrt(4).\t");
    terminal.Type(s_ctrlU);
    EXPECT_THAT(Answer(terminal, "7\r"), ::testing::EndsWith("7\r\n7\r\nkelm> "));
    EXPECT_EQ(Leave(terminal), 0);
}

// --- Pasted blocks, which arrive between marks

std::string Pasted(const std::string& text)
{
    return "\033[200~" + text + "\033[201~\r";
}

TEST_F(Prompt, TakesAPastedExpressionAsOne)
{
    EnvironmentChanges changes = Changes();
    changes["TERM"] = "xterm";
    Terminal terminal(ToolCommand({"repl"}), changes);
    terminal.ReadUntil(s_prompt);
    terminal.Type(Pasted("1 +\n\t2 *\n3"));
    EXPECT_THAT(terminal.ReadUntil("\r7\r\n"), HasSubstr("1 +"));
    terminal.ReadUntil(s_prompt);
    EXPECT_EQ(Leave(terminal), 0);
    EXPECT_THAT(TextOfFile(HistoryFile()), HasSubstr("1 +\n\t2 *\n3\n"));
}

TEST_F(Prompt, TakesOtherPastedLinesAsIfTyped)
{
    EnvironmentChanges changes = Changes();
    changes["TERM"] = "xterm";
    Terminal terminal(ToolCommand({"repl"}), changes);
    terminal.ReadUntil(s_prompt);
    terminal.Type(Pasted("40 + 1\n:type 'a'\n(1 +\n41)\n$\n"));
    const std::string shown = terminal.ReadUntil("\n$\r\n^\r\n");
    EXPECT_THAT(shown, HasSubstr("\r41\r\nstring\r\n42\r\n<prompt>:1:1: error: Unexpected $ after start of text"));
    terminal.ReadUntil(s_prompt);
    EXPECT_EQ(Leave(terminal), 0);
}

TEST_F(Prompt, CompletesNothingInPathsWithoutAnObject)
{
    const auto terminal = Start();
    EXPECT_THAT(Answer(*terminal, ":get .\t\r"), HasSubstr("no object is loaded"));
    EXPECT_EQ(Leave(*terminal), 0);
}

} // namespace

} // namespace kelm
