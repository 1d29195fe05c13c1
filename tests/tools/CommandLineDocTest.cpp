// The sessions of docs/command-line.md, run in a copy of the example data: `console` blocks by a shell, `prompt` blocks
// at a terminal.

#include "Tool.h"

#include <support/Terminal.h>

#include <algorithm>
#include <set>
#include <sstream>

#if defined(KELM_EXAMPLE_DATA)

namespace kelm
{

namespace
{

struct Block
{
    std::string m_kind;
    int m_line; // of its first line in the document
    std::vector<std::string> m_lines;
};

std::vector<Block> BlocksOf(const std::string& document)
{
    std::vector<Block> blocks;
    std::istringstream lines(document);
    bool isInside = false;
    int number = 0;
    for (std::string line; std::getline(lines, line);)
    {
        ++number;
        if (line.starts_with("```"))
        {
            isInside = !isInside;
            if (isInside)
                blocks.push_back({line.substr(3), number + 1, {}});
        }
        else if (isInside)
            blocks.back().m_lines.push_back(line);
    }
    return blocks;
}

class CommandLineDoc : public ::testing::Test
{
protected:
    CommandLineDoc()
    {
        std::filesystem::copy(KELM_EXAMPLE_DATA, m_folder.GetPath(), std::filesystem::copy_options::recursive);
    }

    EnvironmentChanges Changes() const
    {
        const std::string tools = std::filesystem::path(KELMSCRIPT).parent_path();
        return {{"PATH", tools + ":/usr/bin:/bin"},
                {"KELMSCRIPT_MODULES", KELM_EXAMPLE_MODULE},
                {"TERM", "dumb"},
                {"XDG_STATE_HOME", m_folder.GetPath()},
                {"INPUTRC", "/dev/null"}};
    }

    // A shell's command in the folder.
    std::vector<std::string> ShellCommand(const std::string& script) const
    {
        return {"/bin/sh", "-c", "cd " + m_folder.GetPath().string() + "\n" + script};
    }

    // Runs the commands of a session in one shell, with each command shown before its output.
    void RunSession(const Block& block) const
    {
        std::string script = "exec 2>&1\n";
        std::string expected;
        for (const std::string& line : block.m_lines)
        {
            expected += line + "\n";
            if (line.starts_with("$ "))
                script += "code=$?; cat <<'END'\n" + line + "\nEND\n(exit $code)\n" + line.substr(2) + "\n";
        }
        EXPECT_EQ(RunProgram(ShellCommand(script), "", Changes()).m_output, expected) << "line " << block.m_line;
    }

    // Types what stands behind the prompts.
    void RunPrompt(const Block& block) const
    {
        Terminal terminal(ShellCommand("exec kelmscript repl"), Changes());
        terminal.ReadUntil("help\r\n");
        std::string expected;
        std::string shown;
        for (const std::string& line : block.m_lines)
        {
            expected += line + "\r\n";
            for (const std::string prompt : {"kelm> ", "  ... "})
                if (line.starts_with(prompt))
                {
                    shown += terminal.ReadUntil(prompt);
                    terminal.Type(line.substr(prompt.size()) + "\r");
                }
        }
        shown += terminal.ReadUntil("kelm> ");
        terminal.Type("\x04");
        EXPECT_EQ(shown + terminal.ReadToEnd(), expected + "kelm> \r\n") << "line " << block.m_line;
    }

    TemporaryFolder m_folder;
};

TEST_F(CommandLineDoc, SessionsAreAsShown)
{
    int numSessions = 0;
    for (const Block& block : BlocksOf(TextOfFile(KELM_COMMAND_LINE_DOC)))
    {
        ++numSessions;
        if (block.m_kind == "console")
            RunSession(block);
        else if (block.m_kind == "prompt")
            RunPrompt(block);
        else
            ADD_FAILURE() << "a block of the unknown kind " << block.m_kind << " at line " << block.m_line;
    }
    EXPECT_GT(numSessions, 10);
}

// --- Usage lines

// The words of a text that are options.
std::set<std::string> OptionsIn(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return std::string_view("[]|,()`").find(c) != std::string::npos; }, ' ');
    std::istringstream words(text);
    std::set<std::string> options;
    for (std::string word; words >> word;)
        if (word.size() > 1 && word[0] == '-')
            options.insert(word);
    return options;
}

// The options of a subcommand's help, each by its letter and its name.
std::vector<std::set<std::string>> OptionsOfHelp(const std::vector<std::string>& arguments)
{
    const std::string help = RunTool(arguments).m_output;
    std::istringstream lines(help.substr(help.find("\nOptions:\n") + 10));
    std::vector<std::set<std::string>> options;
    for (std::string line; std::getline(lines, line) && !line.empty();)
        options.push_back(OptionsIn(line.substr(0, line.find("  ", line.find("--")))));
    return options;
}

TEST(CommandLineDocUsage, NamesEveryOption)
{
    const std::string document = TextOfFile(KELM_COMMAND_LINE_DOC);
    const std::vector<std::set<std::string>> common = OptionsOfHelp({"--help"});
    EXPECT_EQ(common.size(), 6u);
    for (const std::set<std::string>& option : common)
        EXPECT_NE(document.find("`" + *option.rbegin()), std::string::npos) << *option.rbegin();
    int numLines = 0;
    for (const std::string command :
         {"eval", "each", "repl", "check", "print", "get", "set", "unset", "add", "mv", "fmt", "types", "completion"})
    {
        std::string usage;
        std::istringstream lines(document);
        for (std::string line; std::getline(lines, line);)
            if (line.starts_with("    ") && line.find("kelmscript " + command) != std::string::npos)
            {
                usage += line + (line.find("[NAMES]") != std::string::npos ? " --data --set --natural " : " ");
                ++numLines;
            }
        const std::set<std::string> named = OptionsIn(usage);
        std::set<std::string> known;
        for (const std::set<std::string>& option : OptionsOfHelp({command, "--help"}))
            if (std::find(common.begin(), common.end(), option) == common.end())
            {
                known.insert(option.begin(), option.end());
                EXPECT_TRUE(
                    std::any_of(option.begin(), option.end(), [&](const auto& name) { return named.count(name); }))
                    << command << " " << *option.rbegin();
            }
        for (const std::string& name : named)
            EXPECT_TRUE(known.count(name)) << command << " " << name;
    }
    EXPECT_GT(numLines, 9);
}

} // namespace

} // namespace kelm

#endif
