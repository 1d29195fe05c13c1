// What takes longer than a second tells of it, at a terminal.

#include "Tool.h"

#include <support/Terminal.h>

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>
#include <limits>
#include <thread>

#include <sys/stat.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;

// Their results are more than a pipe holds.
constexpr int s_numLines = 600'000;

class Progress : public ::testing::Test
{
protected:
    // Two of the lines are errors.
    std::string MakeLines() const
    {
        std::string text;
        for (int i = 0; i < s_numLines; ++i)
            text += i % (s_numLines / 2) == s_numLines / 2 - 1 ? "$\n" : "1+2*3\n";
        return m_folder.MakeFile("lines.ks", text);
    }

    std::vector<std::string> Command(const std::string& output) const
    {
        return {"/bin/sh", "-c", "exec \"$0\" eval -f \"$1\" > \"$2\"", KELMSCRIPT, MakeLines(), output};
    }

    TemporaryFolder m_folder;
};

TEST_F(Progress, IsShownAtATerminalAndTakenAway)
{
    // However fast it is, it takes longer than a second where nobody takes its results.
    const std::string results = m_folder.GetPath() / "results";
    ASSERT_EQ(mkfifo(results.c_str(), 0600), 0);
    Terminal terminal(Command(results), {{"TERM", "xterm"}, {"NO_COLOR", "1"}});
    std::ifstream pipe(results);
    pipe.peek();
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    std::jthread reader([&pipe] { pipe.ignore(std::numeric_limits<std::streamsize>::max()); });
    const std::string before = terminal.ReadUntil("\r\033[K");
    EXPECT_THAT(before, ::testing::Not(HasSubstr(" %")));
    const std::string path = m_folder.GetPath() / "lines.ks";
    EXPECT_EQ(terminal.ReadUntil(": "), path.substr(0, 60) + ": ");
    EXPECT_THAT(terminal.ReadUntil(" s"), ::testing::MatchesRegex("[0-9]+ %, [1-9][0-9]* s"));
    const std::string rest = terminal.ReadToEnd();
    const std::size_t last = rest.rfind(" %, ");
    EXPECT_TRUE(last == std::string::npos || rest.rfind("\r\033[K") > last) << rest;
    EXPECT_EQ(terminal.Wait(), 1);
    // An error has a line of its own.
    const std::size_t error = rest.rfind("error: Unexpected $");
    ASSERT_NE(error, std::string::npos);
    const std::size_t lineStart = rest.rfind('\n', error) + 1;
    const std::size_t cleared = rest.rfind("\033[K", error);
    EXPECT_TRUE(cleared == std::string::npos || cleared < lineStart ||
                rest.substr(cleared + 3).starts_with(path + ":"));
}

TEST_F(Progress, IsNotShownElsewhere)
{
    const ProgramResult result = RunProgram(Command("/dev/null"), "", {{"TERM", "xterm"}});
    EXPECT_THAT(result.m_errors, ::testing::Not(HasSubstr("\033[K")));
    Terminal dumb(Command("/dev/null"), {{"TERM", "dumb"}});
    EXPECT_THAT(dumb.ReadToEnd(), ::testing::Not(HasSubstr("\033[K")));
}

} // namespace

} // namespace kelm
