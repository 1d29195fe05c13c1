// The manual's pages: what help tells, and what the formatter takes without complaint.

#include "Tool.h"

#include <gmock/gmock.h>

#include <sstream>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;

// The first words of the rows under a heading of help.
std::vector<std::string> RowsOf(const std::string& help, const std::string& heading)
{
    std::istringstream lines(help.substr(help.find("\n" + heading + "\n") + heading.size() + 2));
    std::vector<std::string> words;
    for (std::string line; std::getline(lines, line) && line.starts_with("  ");)
    {
        std::istringstream row(line);
        std::string word;
        while (row >> word && word.ends_with(','))
            continue;
        words.push_back(word);
    }
    return words;
}

std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : text)
        escaped += c == '-' ? "\\-" : std::string(1, c);
    return escaped;
}

TEST(Manual, HasAPageForEachSubcommandWithAllItsOptions)
{
    const std::vector<std::string> subcommands = RowsOf(RunTool({"--help"}).m_output, "Subcommands:");
    EXPECT_GT(subcommands.size(), 8u);
    const ProgramResult whole = RunTool({"manual"});
    EXPECT_EQ(whole.m_exitCode, 0);
    for (const std::string& subcommand : subcommands)
    {
        EXPECT_THAT(whole.m_output, HasSubstr("\\fBkelmscript\\-" + subcommand + "\\fR(1)"));
        const ProgramResult page = RunTool({"manual", subcommand});
        EXPECT_EQ(page.m_exitCode, 0);
        EXPECT_EQ(page.m_errors, "");
        const std::vector<std::string> options = RowsOf(RunTool({subcommand, "--help"}).m_output, "Options:");
        EXPECT_GT(options.size(), 4u);
        for (const std::string& option : options)
            EXPECT_THAT(page.m_output, HasSubstr("\\fB" + Escaped(option) + "\\fR"));
    }
    EXPECT_EQ(RunTool({"manual", "nosuch"}), (ProgramResult{2, "", "kelmscript: error: nosuch is no subcommand\n"}));
}

TEST(Manual, IsTakenByTheFormatterWithoutComplaint)
{
    if (RunProgram({"/bin/sh", "-c", "command -v man groff"}).m_exitCode != 0)
        GTEST_SKIP() << "there is no man";
    for (const std::string& subcommand : RowsOf(RunTool({"--help"}).m_output, "Subcommands:"))
    {
        const ProgramResult page = RunProgram(
            {"/bin/sh", "-c", "\"$0\" manual " + subcommand + " | MANWIDTH=100 man --warnings -l -", KELMSCRIPT}, "",
            {{"KELMSCRIPT_MODULES", ""}, {"LC_ALL", "C"}});
        EXPECT_EQ(page.m_exitCode, 0);
        EXPECT_EQ(page.m_errors, "");
        EXPECT_THAT(page.m_output, HasSubstr("kelmscript-" + subcommand + " - "));
    }
}

} // namespace

} // namespace kelm
