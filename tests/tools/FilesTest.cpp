// What files are read, and how long they may be.

#include "Tool.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace kelm
{

namespace
{

constexpr char s_notRegular[] = ": it is not a regular file; - is standard input\n";

// Each made the tool wait, or read until memory ended.
TEST(Files, OtherThanRegularOnesAreRefused)
{
    const TemporaryFolder folder;
    const std::string pipe = folder.GetPath() / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string& file : {pipe, std::string("/dev/zero")})
        for (const std::vector<std::string>& command :
             {std::vector<std::string>{"check", file}, {"print", file}, {"get", file, ".x"}, {"eval", "-f", file}})
            EXPECT_EQ(RunTool(command),
                      (ProgramResult{1, "", "kelmscript: error: cannot read " + file + s_notRegular}));
    EXPECT_EQ(RunTool({"check", "/"}), (ProgramResult{1, "", "kelmscript: error: cannot read /: Is a directory\n"}));
}

TEST(Files, AreNoLongerThanALimit)
{
    const TemporaryFolder folder;
    const std::string text = "tool::Note {}";
    const std::string file = folder.MakeFile("note.kds", text);
    const auto tooLong = [](const std::string& name, const std::string& what)
    {
        return ProgramResult{1, "",
                             "kelmscript: error: cannot read " + name + ": " + what +
                                 " is longer than 12 octets; --max-size sets the limit\n"};
    };
    EXPECT_EQ(RunToolWithTypes({"check", "--max-size", "13", file}), (ProgramResult{0, file + ": ok\n", ""}));
    EXPECT_EQ(RunToolWithTypes({"check", "--max-size", "12", file}), tooLong(file, "it"));
    EXPECT_EQ(RunToolWithTypes({"check", "--max-size", "13", "-"}, text), (ProgramResult{0, "<stdin>: ok\n", ""}));
    EXPECT_EQ(RunToolWithTypes({"check", "--max-size", "12", "-"}, text), tooLong("<stdin>", "it"));
    EXPECT_EQ(RunTool({"eval", "--max-size", "12"}, std::string(1000000, ' ') + "1\n"), tooLong("<stdin>", "a line"));
    // A line counts where it is shorter than what is read at once, and at the end of a text; so does a file of lines.
    EXPECT_EQ(RunTool({"eval", "--max-size", "12"}, "1 + 1\n10000000 + 1\n1\n").m_output, "2\n10000001\n1\n");
    for (const char* end : {"\n", "\n1\n", ""})
    {
        ProgramResult expected = tooLong("<stdin>", "a line");
        expected.m_output = "2\n";
        EXPECT_EQ(RunTool({"eval", "--max-size", "12"}, std::string("1 + 1\n100000000 + 1") + end), expected);
    }
    EXPECT_EQ(RunTool({"eval", "--max-size", "12", "-f", file}), tooLong(file, "it"));
    EXPECT_EQ(RunToolWithTypes({"check", "--max-size", "1K", file}), (ProgramResult{0, file + ": ok\n", ""}));
}

// A name is the file's, whatever its characters.
TEST(Files, MayBeOfAnyLength)
{
    const TemporaryFolder folder;
    for (const std::size_t size : {0U, 1U, 65535U, 65536U, 65537U, 200000U, 5000000U})
    {
        const std::string text = "tool::Note { text = \"" + std::string(size, 'x') + "\" }";
        const std::string file = folder.MakeFile("note.kds", text);
        const std::string expected = "xstring \"" + std::string(size, 'x') + "\"\n";
        EXPECT_TRUE(RunToolWithTypes({"get", file, ".text"}).m_output == expected) << size;
        EXPECT_TRUE(RunToolWithTypes({"get", "-", ".text"}, text).m_output == expected) << size;
    }
}

// Lines end at all places of the blocks that they are read by.
TEST(Files, LinesMayBeOfAnyLength)
{
    std::string lines;
    std::string values;
    for (const std::size_t size : {0U, 1U, 100U, 65530U, 65534U, 65535U, 65536U, 65537U, 131072U, 3U, 300000U, 2U})
    {
        lines += "'" + std::string(size, 'x') + "'\n\n";
        values += std::string(size, 'x') + "\n";
    }
    const TemporaryFolder folder;
    EXPECT_TRUE(RunTool({"eval"}, lines).m_output == values);
    EXPECT_TRUE(RunTool({"eval", "-f", folder.MakeFile("lines", lines + "7")}).m_output == values + "7\n");
}

} // namespace

} // namespace kelm
