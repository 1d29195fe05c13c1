// Every example that --help shows, run by a shell in a copy of the example data, those of one help in one folder.

#include "Tool.h"

#include <gmock/gmock.h>

#include <map>
#include <sstream>

#if defined(KELM_EXAMPLE_DATA)

namespace kelm
{

namespace
{

// The lines of a help under a heading, without their indent.
std::vector<std::string> LinesUnder(const std::string& heading, const std::string& help)
{
    std::vector<std::string> found;
    std::istringstream lines(help);
    bool isInside = false;
    for (std::string line; std::getline(lines, line);)
    {
        if (isInside && !line.starts_with("  "))
            break;
        if (isInside)
            found.push_back(line.substr(2));
        isInside = isInside || line == heading;
    }
    return found;
}

// Examples that do not end well: their exit codes. An empty one stands for a form that is not meant to be run.
const std::map<std::string, std::string, std::less<>> s_exitCodes = {
    {"kelmscript SUBCOMMAND --help", ""},
    {"kelmscript eval --json '1 / 0'", "1"},                    // shows an error
    {"kelmscript check --sarif *.kds > kelmscript.sarif", "1"}, // one of the files is wrong on purpose
    {"kelmscript fmt --check *.kds", "1"},                      // and some have a layout of their own
    {"kelmscript lsp --module ./libklExampleShapes.so", "1"},   // here, no editor says goodbye
    {"kelmscript lsp --types garden.types.json", "1"},
};

TEST(HelpExamples, RunWithTheDataThatComesAlong)
{
    std::vector<std::string> subcommands = {"--help"};
    for (const std::string& line : LinesUnder("Subcommands:", RunTool({"--help"}).m_output))
        subcommands.push_back(line.substr(0, line.find(' ')));
    ASSERT_GT(subcommands.size(), 15u);

    const std::string tools = std::filesystem::path(KELMSCRIPT).parent_path();
    std::size_t count = 0;
    for (const std::string& subcommand : subcommands)
    {
        const TemporaryFolder folder;
        std::filesystem::copy(KELM_EXAMPLE_DATA, folder.GetPath(), std::filesystem::copy_options::recursive);
        std::filesystem::create_symlink(KELM_EXAMPLE_MODULE, folder.GetPath() / "libklExampleShapes.so");
        const std::string help = RunTool({subcommand, "--help"}).m_output;
        const std::vector<std::string> examples = LinesUnder("Examples:", help);
        EXPECT_FALSE(examples.empty()) << subcommand;
        for (const std::string& example : examples)
        {
            const auto exception = s_exitCodes.find(example);
            const std::string exitCode = exception != s_exitCodes.end() ? exception->second : "0";
            if (exitCode.empty())
                continue;
            // What reads JSON may not be there.
            const ProgramResult result = RunProgram({"/bin/bash", "-c",
                                                     "set -o pipefail\ncd " + folder.GetPath().string() +
                                                         "\ncommand -v jq >/dev/null || jq() { cat; }\n" + example},
                                                    "",
                                                    {{"PATH", tools + ":/usr/bin:/bin"},
                                                     {"KELMSCRIPT_MODULES", KELM_EXAMPLE_MODULE},
                                                     {"XDG_STATE_HOME", folder.GetPath()},
                                                     {"INPUTRC", "/dev/null"},
                                                     {"LC_ALL", "C.UTF-8"},
                                                     {"TERM", "dumb"}});
            EXPECT_EQ(std::to_string(result.m_exitCode), exitCode) << example << "\n" << result.m_errors;
            if (exitCode == "0")
            {
                EXPECT_EQ(result.m_errors, "") << example;
            }
            ++count;
        }
    }
    EXPECT_GT(count, 35u);
}

} // namespace
} // namespace kelm

#endif
