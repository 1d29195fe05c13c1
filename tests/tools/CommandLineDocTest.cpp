// The sessions of docs/command-line.md, run in a copy of the example data: `console` blocks by a shell, `prompt` blocks
// at a terminal.

#include "Tool.h"

#include <support/Terminal.h>

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

} // namespace

} // namespace kelm

#endif
