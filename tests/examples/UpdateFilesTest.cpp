// The files that people wrote by hand, updated from a program's objects: what differs is one line, and comments stay.

#include "Examples.h"

#include <kelm/kelm.h>
#include <kelmDocument/Update.h>
#include <support/Lines.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace kelm
{

namespace
{

struct FileRow
{
    std::string m_file;
    std::function<void(const Object&)> m_change;
};

template <class T>
FileRow Row(const char* file, const char* path, T value)
{
    return {file, [=](const Object& object) { Set(object, path, value); }};
}

TEST(UpdatedFiles, DifferInOneLine)
{
    LoadExampleModule();
    const FileRow rows[] = {
        Row("allotment.kds", ".revision", 3),
        Row("balcony.kds", ".shapes[0].position.x", 0.5),
        Row("card.kds", ".home.number", 33),
        Row("cloister.kds", ".revision", 77),
        Row("club.kds", ".members[1].partner.name", "Cleo"),
        Row("courtyard.kds", ".materials[\"gravel\"].price", 19),
        Row("diary.kds", ".revision", 1961),
        Row("orchard.kds", ".shapes[23].position.y", 21),
        Row("register.kds", ".shapes[200].position.x", 1.5),
        Row("riverbank.kds", ".shapes[1].position.x", 22),
    };
    const TemporaryFolder folder;
    std::set<std::string> tested;
    for (const FileRow& row : rows)
    {
        SCOPED_TRACE(row.m_file);
        tested.insert(row.m_file);
        const std::string before = TextOfFile(ExampleFile("data/byhand/" + row.m_file));
        const std::string path = folder.MakeFile("updated.kds", before);
        OpenFile<Object> file(path);
        EXPECT_FALSE(file.Update());
        EXPECT_EQ(TextOfFile(path), before);
        row.m_change(*file);
        EXPECT_TRUE(file.Update());
        const std::vector<std::string> former = LinesOf(before);
        const std::vector<std::string> latter = LinesOf(TextOfFile(path));
        ASSERT_EQ(former.size(), latter.size());
        std::size_t numChanged = 0;
        for (std::size_t i = 0; i < former.size(); ++i)
            numChanged += former[i] != latter[i] ? 1U : 0U;
        EXPECT_EQ(numChanged, 1U);
        EXPECT_EQ(Write(ReadFile<Object>(path)), Write(*file));
    }
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(ExampleFile("data/byhand")))
        found.insert(entry.path().filename());
    EXPECT_EQ(found, tested);
}

} // namespace

} // namespace kelm
