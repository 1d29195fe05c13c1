// Changing a file in place, as a careful editor does.

#include "Tool.h"

#include <gmock/gmock.h>

#include <sys/stat.h>
#include <sys/xattr.h>

namespace kelm
{

namespace
{

namespace fs = std::filesystem;

class InPlace : public ::testing::Test
{
protected:
    fs::path File() const { return m_folder.GetPath() / "scene.kds"; }

    ProgramResult SetText(const fs::path& file) const
    {
        return RunToolWithTypes({"set", "-i", "--compact", file, ".text", "\"x\""});
    }

    static ProgramResult Refused(const fs::path& file, const std::string& why)
    {
        return {1, "", "kelmscript: error: cannot replace " + file.string() + ": " + why + "\n"};
    }

    static struct stat StatusOf(const fs::path& file)
    {
        struct stat status = {};
        EXPECT_EQ(stat(file.c_str(), &status), 0);
        return status;
    }

    void ExpectNothingLeftBeside(int numFiles = 1) const
    {
        EXPECT_EQ(std::distance(fs::directory_iterator(m_folder.GetPath()), {}), numFiles);
    }

    static constexpr char s_old[] = "tool::Note {}";
    static constexpr char s_new[] = "tool::Note{text=\"x\" next=null}\n";

    TemporaryFolder m_folder;
};

TEST_F(InPlace, ReplacesTheFile)
{
    m_folder.MakeFile("scene.kds", "tool::Frame {}");
    EXPECT_EQ(RunToolWithTypes({"set", "-i", File(), ".y", "2"}), (ProgramResult{0, "", ""}));
    EXPECT_EQ(TextOfFile(File()), "tool::Frame { y = 2 }");
    EXPECT_EQ(RunToolWithTypes({"set", "--in-place", "--compact", File(), ".x", "1"}), (ProgramResult{0, "", ""}));
    EXPECT_EQ(TextOfFile(File()), "tool::Frame{x=1.0 y=2.0 width=0.0}\n");
    ExpectNothingLeftBeside();
}

TEST_F(InPlace, KeepsPermissionsAndSymbolicLinks)
{
    m_folder.MakeFile("scene.kds", s_old);
    chmod(File().c_str(), 01640);
    const fs::path link = m_folder.GetPath() / "link.kds";
    fs::create_symlink("scene.kds", link);
    EXPECT_EQ(SetText(link), (ProgramResult{0, "", ""}));
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(TextOfFile(File()), s_new);
    EXPECT_EQ(StatusOf(File()).st_mode & 07777U, 01640U);
}

TEST_F(InPlace, KeepsOwnerAndGroup)
{
    m_folder.MakeFile("scene.kds", s_old);
    if (chown(File().c_str(), 12345, 54321) != 0)
        GTEST_SKIP() << "only a privileged user gives files away";
    EXPECT_EQ(SetText(File()), (ProgramResult{0, "", ""}));
    EXPECT_EQ(TextOfFile(File()), s_new);
    EXPECT_EQ(StatusOf(File()).st_uid, 12345U);
    EXPECT_EQ(StatusOf(File()).st_gid, 54321U);
}

TEST_F(InPlace, KeepsExtendedAttributesAndAccessLists)
{
    m_folder.MakeFile("scene.kds", s_old);
    const std::string file = File();
    if (setxattr(file.c_str(), "user.origin", "a\0b", 3, 0) != 0)
        GTEST_SKIP() << "no extended attributes here";
    ASSERT_EQ(setxattr(file.c_str(), "user.empty", "", 0, 0), 0);
    // Version 2: the owner reads and writes, user 12345 reads, the group nothing; the mask is to read; others nothing.
    constexpr char accessList[] = "\x02\0\0\0\x01\0\x06\0\xFF\xFF\xFF\xFF\x02\0\x04\0\x39\x30\0\0"
                                  "\x04\0\0\0\xFF\xFF\xFF\xFF\x10\0\x04\0\xFF\xFF\xFF\xFF"
                                  "\x20\0\0\0\xFF\xFF\xFF\xFF";
    const bool hasAccessLists =
        setxattr(file.c_str(), "system.posix_acl_access", accessList, sizeof accessList - 1, 0) == 0;
    const mode_t mode = StatusOf(file).st_mode;
    EXPECT_EQ(SetText(file), (ProgramResult{0, "", ""}));
    EXPECT_EQ(TextOfFile(file), s_new);
    char value[64];
    EXPECT_EQ(getxattr(file.c_str(), "user.origin", value, sizeof value), 3);
    EXPECT_EQ(std::string(value, 3), std::string("a\0b", 3));
    EXPECT_EQ(getxattr(file.c_str(), "user.empty", value, sizeof value), 0);
    EXPECT_EQ(StatusOf(file).st_mode, mode);
    if (hasAccessLists)
    {
        ASSERT_EQ(getxattr(file.c_str(), "system.posix_acl_access", value, sizeof value),
                  static_cast<ssize_t>(sizeof accessList - 1));
        EXPECT_EQ(std::string(value, sizeof accessList - 1), std::string(accessList, sizeof accessList - 1));
    }
}

TEST_F(InPlace, RefusesWhatItCannotKeep)
{
    m_folder.MakeFile("scene.kds", s_old);
    const fs::path other = m_folder.GetPath() / "other.kds";
    fs::create_hard_link(File(), other);
    EXPECT_EQ(SetText(File()), Refused(File(), "it has further hard links, which would keep the old text"));
    fs::remove(other);
    chmod(File().c_str(), 04755);
    EXPECT_EQ(SetText(File()), Refused(File(), "it has set-id bits"));
    EXPECT_EQ(TextOfFile(File()), s_old);
    EXPECT_EQ(StatusOf(File()).st_mode & 07777U, 04755U);
    ExpectNothingLeftBeside();
}

TEST_F(InPlace, RefusesWhatMustNotBeWritten)
{
    m_folder.MakeFile("scene.kds", s_old);
    chmod(File().c_str(), 0444);
    const std::optional<std::string> exec = ExecUnprivileged(m_folder);
    if (!exec)
        GTEST_SKIP() << "nobody cannot run the tool here";
    EXPECT_EQ(RunScript(*exec + "\"$0\" set -i --compact \"$1\" .text '\"x\"'", File()),
              Refused(File(), "Permission denied"));
    EXPECT_EQ(TextOfFile(File()), s_old);
}

TEST_F(InPlace, LeavesPipesAlone)
{
    const std::string pipe = m_folder.GetPath() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(SetText(pipe), (ProgramResult{1, "",
                                            "kelmscript: error: cannot read " + pipe +
                                                ": it is not a regular file; - is standard input\n"}));
    EXPECT_TRUE(fs::is_fifo(pipe));
}

TEST_F(InPlace, FailsWholeWhereItCannotWrite)
{
#ifdef KELM_COVERAGE
    GTEST_SKIP() << "the limit on files stops the coverage's own ones, too";
#endif
    m_folder.MakeFile("scene.kds", s_old);
    const ProgramResult result =
        RunProgram({"/bin/sh", "-c", "ulimit -f 0; trap '' XFSZ; exec \"$0\" \"$@\"", KELMSCRIPT, "--module",
                    KELM_TOOL_TYPES, "set", "-i", File(), ".text", "\"x\""});
    EXPECT_EQ(result, Refused(File(), "File too large"));
    EXPECT_EQ(TextOfFile(File()), s_old);
    ExpectNothingLeftBeside();
}

} // namespace

} // namespace kelm
