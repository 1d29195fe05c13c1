// Files that are changed in place by a tool that is killed: at every system call since it made a file, one whole file
// is there, as it was or as it is to be.

#include "Tool.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kelm
{

namespace
{

enum class Ending
{
    NotTraced, // the system does not let
    Killed,
    Exited,
};

[[noreturn]] void BecomeTraced(const std::vector<std::string>& command)
{
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1); // which does not work where one is traced
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0)
        execv(arguments[0], arguments.data());
    _exit(127);
}

// With a name or, as O_TMPFILE says, without.
bool MakesFile(pid_t program)
{
    constexpr unsigned long flags = O_CREAT | (O_TMPFILE & ~O_DIRECTORY);
    __ptrace_syscall_info call = {};
    ptrace(PTRACE_GET_SYSCALL_INFO, program, sizeof call, &call);
    return call.op == PTRACE_SYSCALL_INFO_ENTRY && call.entry.nr == SYS_openat && (call.entry.args[2] & flags) != 0;
}

// Lets a program run until it has begun and ended so many system calls since it made a file.
Ending RunAndKill(const std::vector<std::string>& command, int numStops)
{
    const pid_t program = fork();
    if (program == 0)
        BecomeTraced(command);
    int status = 0;
    waitpid(program, &status, 0);
    if (!WIFSTOPPED(status))
        return Ending::NotTraced;
    ptrace(PTRACE_SETOPTIONS, program, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    constexpr int callStop = SIGTRAP | 0x80;
    bool hasMade = false;
    for (long signal = 0;;)
    {
        ptrace(PTRACE_SYSCALL, program, nullptr, signal);
        waitpid(program, &status, 0);
        if (!WIFSTOPPED(status))
            return Ending::Exited;
        signal = WSTOPSIG(status) == callStop || WSTOPSIG(status) == SIGTRAP ? 0 : WSTOPSIG(status);
        hasMade = hasMade || (WSTOPSIG(status) == callStop && MakesFile(program));
        if (!hasMade || numStops-- > 0)
            continue;
        kill(program, SIGKILL);
        waitpid(program, &status, 0);
        return Ending::Killed;
    }
}

struct Row
{
    std::string m_name;
    std::vector<std::string> m_arguments; // before the file
    std::vector<std::string> m_more;      // behind it
};

void PrintTo(const Row& row, std::ostream* os)
{
    *os << row.m_name;
}

class Killed : public ::testing::TestWithParam<Row>
{
};

TEST_P(Killed, LeavesOneWholeFile)
{
    const TemporaryFolder folder;
    const std::string before = "tool::Note { next=null text=\"" + std::string(200000, 'x') + "\" }";
    const std::string file = folder.MakeFile("note.kds", before);
    std::vector<std::string> arguments = GetParam().m_arguments;
    arguments.push_back(file);
    arguments.insert(arguments.end(), GetParam().m_more.begin(), GetParam().m_more.end());
    ASSERT_EQ(RunToolWithTypes(arguments), (ProgramResult{0, "", ""}));
    const std::string after = TextOfFile(file);
    ASSERT_NE(after, before);

    arguments.insert(arguments.begin(), {KELMSCRIPT, "--module", KELM_TOOL_TYPES});
    int numBefore = 0;
    int numAfter = 0;
    Ending ending = Ending::Killed;
    for (int stop = 0; ending == Ending::Killed; ++stop)
    {
        folder.MakeFile("note.kds", before);
        ending = RunAndKill(arguments, stop);
        if (ending == Ending::NotTraced)
            GTEST_SKIP() << "no program can be traced here";
        const std::string left = TextOfFile(file);
        ASSERT_TRUE(left == before || left == after) << "stop " << stop << ": " << left.size();
        ++(left == before ? numBefore : numAfter);
    }
    EXPECT_GT(numBefore, 4); // it is made, written, brought to the disk, given its rights ...
    EXPECT_GT(numAfter, 2);  // ... and named
}

INSTANTIATE_TEST_SUITE_P(Commands, Killed,
                         ::testing::Values(Row{"set", {"set", "-i"}, {".next", "tool::Note"}},
                                           Row{"compact", {"set", "-i", "--compact"}, {".next", "tool::Note"}},
                                           Row{"unset", {"unset", "-i"}, {".text"}}, Row{"fmt", {"fmt"}, {}}),
                         [](const auto& row) { return row.param.m_name; });

} // namespace

} // namespace kelm
