// What surrounds the tool and fails it: disks, pipes, permissions, descriptors, a system without /proc.

#include "Tool.h"

#include <support/Emulation.h>

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;
using ::testing::StartsWith;

class Environment : public ::testing::Test
{
protected:
    TemporaryFolder m_folder;
    std::string m_note = m_folder.MakeFile("note.kds", "tool::Note { text = \"x\" }\n");
};

TEST_F(Environment, FullDiskIsAFailure)
{
    for (const std::string command :
         {"eval 1", "eval --json 1", "each it \"$1\" --in \"'x'\"", "check \"$1\"", "check --sarif \"$1\"",
          "print \"$1\"", "get \"$1\" .text", "types", "completion bash", "manual", "help", "--version"})
    {
        const ProgramResult result = RunScript("exec \"$0\" " + command + " > /dev/full", m_note);
        EXPECT_EQ(result.m_exitCode, 1) << command;
        if (!command.starts_with("each"))
        {
            EXPECT_EQ(result.m_errors, "kelmscript: error: cannot write standard output: No space left on device\n")
                << command;
        }
    }
}

// Whoever reads the tool's results may have enough of them.
TEST_F(Environment, ClosedPipeEndsTheRun)
{
    std::string lines;
    for (int i = 0; i < 100000; ++i)
        lines += "12345\n";
    const std::string file = m_folder.MakeFile("lines", lines);
    EXPECT_EQ(RunScript("(\"$0\" eval -f \"$1\"; echo $? >&2) | true", file).m_errors,
              std::to_string(128 + SIGPIPE) + "\n");
    EXPECT_EQ(RunScript("trap '' PIPE; (\"$0\" eval -f \"$1\"; echo $? >&2) | true", file).m_errors,
              "kelmscript: error: cannot write standard output: Broken pipe\n1\n");
}

TEST_F(Environment, UnreadableFileIsReported)
{
    std::filesystem::permissions(m_note, std::filesystem::perms::none);
    const std::optional<std::string> exec = ExecUnprivileged(m_folder);
    if (!exec)
        GTEST_SKIP() << "nobody cannot run the tool here";
    for (const std::string command : {"eval -f \"$1\"", "eval --data \"$1\" 1", "check \"$1\"", "print \"$1\"",
                                      "get \"$1\" .text", "each it \"$1\""})
        EXPECT_EQ(RunScript(*exec + "\"$0\" " + command, m_note),
                  (ProgramResult{1, "", "kelmscript: error: cannot read " + m_note + ": Permission denied\n"}))
            << command;
}

TEST_F(Environment, DirectoryIsNoFile)
{
    const std::string folder = m_folder.GetPath();
    for (const std::string command : {"eval -f \"$1\"", "eval --data \"$1\" 1", "check \"$1\"", "print \"$1\"",
                                      "get \"$1\" .text", "each it \"$1\""})
        EXPECT_EQ(RunScript("exec \"$0\" " + command, folder),
                  (ProgramResult{1, "", "kelmscript: error: cannot read " + folder + ": Is a directory\n"}))
            << command;
    EXPECT_EQ(RunScript("exec \"$0\" check - < \"$1\"", folder),
              (ProgramResult{1, "", "kelmscript: error: cannot read <stdin>: Is a directory\n"}));
}

// One descriptor, which nobody else holds, is what the loader of programs needs, so that the tool has no more either.
TEST_F(Environment, FewDescriptorsAreEnough)
{
    if (IsEmulated())
        GTEST_SKIP() << "the shell that starts the emulator needs a descriptor more";
    const std::string lines = m_folder.MakeFile("lines", "1 + 1\n");
    EXPECT_EQ(RunScript("exec 3>&-; ulimit -n 4; exec \"$0\" eval -f \"$1\"", lines), (ProgramResult{0, "2\n", ""}));
    EXPECT_EQ(RunScript("exec 3>&-; ulimit -n 4; exec \"$0\" get \"$1\" .text", m_note),
              (ProgramResult{0, "xstring \"x\"\n", ""}));
    // An edit that needs more leaves the file whole.
    const ProgramResult edit = RunScript("exec 3>&-; ulimit -n 4; exec \"$0\" set -i \"$1\" .text '\"y\"'", m_note);
    const std::string text = RunScript("exec \"$0\" get --raw \"$1\" .text", m_note).m_output;
    EXPECT_EQ(text, edit.m_exitCode == 0 ? "y\n" : "x\n");
    EXPECT_EQ(edit.m_errors.empty(), edit.m_exitCode == 0);
    EXPECT_EQ(RunScript("ls \"$1\"", m_folder.GetPath()).m_output, "lines\nnote.kds\n"); // nothing is left beside it
}

TEST_F(Environment, NoStandardStreamsAreNeeded)
{
    EXPECT_EQ(RunScript("\"$0\" eval 1 2>&- <&-"), (ProgramResult{0, "1\n", ""}));
    EXPECT_EQ(RunScript("\"$0\" eval 1 >&-"),
              (ProgramResult{1, "", "kelmscript: error: cannot write standard output: Bad file descriptor\n"}));
    EXPECT_EQ(RunScript("\"$0\" eval <&-").m_errors, "kelmscript: error: cannot read <stdin>: Bad file descriptor\n");
    EXPECT_EQ(RunScript("\"$0\" eval 1/0 2>&-").m_exitCode, 1);
}

TEST_F(Environment, WorksWithoutProc)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "a sanitizer looks into /proc";
#endif
    // Without it the loader of programs does not know where the tool lies.
    const std::string libraries = std::filesystem::path(KELM_LIBRARY_WITHOUT_TYPES).parent_path();
    const std::string hide =
        "exec unshare --mount /bin/sh -c 'mount -t tmpfs none /proc && LD_LIBRARY_PATH=" + libraries +
        " exec \"$0\" \"$@\"' \"$0\" ";
    if (RunScript("exec unshare --mount mount -t tmpfs none /proc").m_exitCode != 0)
        GTEST_SKIP() << "nobody may hide /proc here";
    std::string deep;
    for (int i = 0; i < 200000; ++i)
        deep += "(";
    deep += "7";
    for (int i = 0; i < 200000; ++i)
        deep += ")";
    EXPECT_EQ(RunScript(hide + "eval -f \"$1\"", m_folder.MakeFile("deep", deep)), (ProgramResult{0, "7\n", ""}));
    EXPECT_EQ(RunScript(hide + "get \"$1\" .text", m_note), (ProgramResult{0, "xstring \"x\"\n", ""}));
    EXPECT_EQ(RunScript(hide + "set -i \"$1\" .text '\"y\"'", m_note).m_exitCode, 0);
    EXPECT_EQ(RunScript("exec \"$0\" get --raw \"$1\" .text", m_note).m_output, "y\n");
}

} // namespace

} // namespace kelm
