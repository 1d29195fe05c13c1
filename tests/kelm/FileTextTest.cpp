#include <kelm/private/files/FileText.h>

#include <support/TemporaryFolder.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include <sys/stat.h>

namespace kelm
{

namespace
{

namespace fs = std::filesystem;

class MadeFile : public ::testing::Test
{
protected:
    fs::path Path(const char* name = "a.kds") const { return m_folder.GetPath() / name; }
    int CountFiles() const { return static_cast<int>(std::distance(fs::directory_iterator(m_folder.GetPath()), {})); }

    TemporaryFolder m_folder;
};

TEST_F(MadeFile, HasThePermissionsOfNewOnes)
{
    EXPECT_EQ(MakeOrReplaceFile(Path(), "one"), "");
    EXPECT_EQ(TextOfFile(Path()), "one");
    std::ofstream(Path("b")) << "x";
    EXPECT_EQ(fs::status(Path()).permissions(), fs::status(Path("b")).permissions());
    EXPECT_EQ(CountFiles(), 2);
}

TEST_F(MadeFile, ReplacesOneThatIsThere)
{
    m_folder.MakeFile("a.kds", "old");
    chmod(Path().c_str(), 0640);
    EXPECT_EQ(MakeOrReplaceFile(Path(), "new"), "");
    EXPECT_EQ(TextOfFile(Path()), "new");
    EXPECT_EQ(static_cast<unsigned>(fs::status(Path()).permissions()), 0640U);
    EXPECT_EQ(CountFiles(), 1);
}

TEST_F(MadeFile, IsMadeInTheCurrentFolderToo)
{
    const fs::path before = fs::current_path();
    fs::current_path(m_folder.GetPath());
    EXPECT_EQ(MakeOrReplaceFile("plain", "text"), "");
    fs::current_path(before);
    EXPECT_EQ(TextOfFile(Path("plain")), "text");
}

TEST_F(MadeFile, IsNotMadeWhereThatCannotBe)
{
    EXPECT_EQ(MakeOrReplaceFile(Path("no/such"), "x"), "No such file or directory");
    EXPECT_EQ(MakeOrReplaceFile(m_folder.GetPath(), "x"), "it is not a regular file");
    fs::create_symlink("nowhere", Path("link"));
    EXPECT_EQ(MakeOrReplaceFile(Path("link"), "x"), "No such file or directory");
    EXPECT_EQ(CountFiles(), 1);
}

} // namespace

} // namespace kelm
