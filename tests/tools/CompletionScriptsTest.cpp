// What shells complete the command line by: bash in a real one, others by their syntax where they are.

#include "Tool.h"

#include <gmock/gmock.h>

#include <sstream>

namespace kelm
{

namespace
{

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class BashCompletion : public ::testing::Test
{
protected:
    BashCompletion()
    {
        for (const char* name : {"scene.kds", "other file.kds", "garden.kds"})
            m_folder.MakeFile(name, "null");
    }

    // What bash offers for the last of the words, as it splits a line.
    std::vector<std::string> Complete(const std::string& words) const
    {
        const std::string script =
            "cd '" + m_folder.GetPath().string() +
            "'; PATH=\"$(dirname \"$0\"):$PATH\"; source <(kelmscript completion bash); COMP_WORDS=(" + words +
            "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kelmscript; "
            "printf '%s\\n' \"${COMPREPLY[@]}\" | sort";
        const ProgramResult result = RunProgram({"/bin/bash", "--norc", "-c", script, KELMSCRIPT}, "",
                                                {{"KELMSCRIPT_MODULES", KELM_TOOL_TYPES}, {"LC_ALL", "C"}});
        EXPECT_EQ(result.m_errors, "");
        std::istringstream lines(result.m_output);
        std::vector<std::string> offered;
        for (std::string line; std::getline(lines, line);)
            if (!line.empty())
                offered.push_back(line);
        return offered;
    }

    TemporaryFolder m_folder;
};

TEST_F(BashCompletion, OffersWhatCanStandThere)
{
    EXPECT_THAT(Complete("kelmscript e"), ElementsAre("each", "eval"));
    EXPECT_THAT(Complete("kelmscript --module x.so pr"), ElementsAre("print"));
    EXPECT_THAT(Complete("kelmscript eval --nat"), ElementsAre("--natural"));
    EXPECT_THAT(Complete("kelmscript set --js"), ElementsAre("--json"));
    EXPECT_THAT(Complete("kelmscript repl --in"), IsEmpty());
    EXPECT_THAT(Complete("kelmscript --col"), ElementsAre("--color"));
    EXPECT_THAT(Complete("kelmscript eval --color a"), ElementsAre("always", "auto"));
    EXPECT_THAT(Complete("kelmscript eval --color = n"), ElementsAre("never"));
    EXPECT_THAT(Complete("kelmscript eval --color ="), ElementsAre("always", "auto", "never"));
    EXPECT_THAT(Complete("kelmscript check s"), ElementsAre("scene.kds"));
    EXPECT_THAT(Complete("kelmscript check scene.kds o"), ElementsAre("other file.kds"));
    EXPECT_THAT(Complete("kelmscript get s"), ElementsAre("scene.kds"));
    EXPECT_THAT(Complete("kelmscript get scene.kds s"), IsEmpty()); // a path
    EXPECT_THAT(Complete("kelmscript each name s"), ElementsAre("scene.kds"));
    EXPECT_THAT(Complete("kelmscript each --in .x name g"), ElementsAre("garden.kds"));
    EXPECT_THAT(Complete("kelmscript eval --data g"), ElementsAre("garden.kds"));
    EXPECT_THAT(Complete("kelmscript eval --data a = g"), ElementsAre("garden.kds"));
    EXPECT_THAT(Complete("kelmscript eval --set g"), IsEmpty());
    EXPECT_THAT(Complete("kelmscript types tool::Sc"), ElementsAre("tool::Scene"));
    EXPECT_THAT(Complete("kelmscript types tool :: Sc"), ElementsAre("Scene"));
    EXPECT_THAT(Complete("kelmscript types tool ::"), Contains("Scene"));
    EXPECT_THAT(Complete("kelmscript types --max-size = 1 tool :: Sc"), ElementsAre("Scene"));
    EXPECT_THAT(Complete("kelmscript get a :: b s"), IsEmpty()); // the second argument
    EXPECT_THAT(Complete("kelmscript check a :: b s"), ElementsAre("scene.kds"));
    EXPECT_THAT(Complete("kelmscript completion f"), ElementsAre("fish"));
    EXPECT_THAT(Complete("kelmscript manual ty"), ElementsAre("types"));
}

TEST(CompletionScripts, AreOfTheSyntaxOfTheirShells)
{
    for (const std::string shell : {"bash", "zsh", "fish"})
    {
        const ProgramResult script = RunTool({"completion", shell});
        EXPECT_EQ(script.m_exitCode, 0);
        EXPECT_EQ(script.m_errors, "");
        if (RunProgram({"/bin/sh", "-c", "command -v " + shell}).m_exitCode != 0)
            continue;
        const TemporaryFolder folder;
        EXPECT_EQ(RunProgram({"/bin/sh", "-c", shell + " -n \"$0\"", folder.MakeFile("script", script.m_output)}),
                  (ProgramResult{0, "", ""}))
            << shell;
    }
    EXPECT_EQ(
        RunTool({"completion", "tcsh"}),
        (ProgramResult{2, "", "kelmscript: error: there is no completion for tcsh, but for bash, zsh and fish\n"}));
}

// Every option that help tells of is there in each shell.
TEST(CompletionScripts, KnowEveryOption)
{
    const std::string bash = RunTool({"completion", "bash"}).m_output;
    const std::string zsh = RunTool({"completion", "zsh"}).m_output;
    const std::string fish = RunTool({"completion", "fish"}).m_output;
    for (const char* command :
         {"eval", "each", "repl", "check", "print", "get", "set", "unset", "add", "mv", "fmt", "types"})
    {
        std::istringstream help(RunTool({command, "--help"}).m_output);
        for (std::string word; help >> word;)
            if (word.starts_with("--") && word.size() > 2)
            {
                const std::string name = word.substr(2, word.find_first_of("=.,") - 2);
                EXPECT_THAT(bash, ::testing::HasSubstr("--" + name));
                EXPECT_THAT(zsh, ::testing::HasSubstr("--" + name));
                EXPECT_THAT(fish, ::testing::HasSubstr(" -l " + name + " "));
            }
    }
}

} // namespace

} // namespace kelm
