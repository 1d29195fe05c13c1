// set, unset, add and mv: files that are edited where their values are written, on the types of modules/ToolTypes.h.

#include "Tool.h"

#include <support/Lines.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

namespace
{

class Edits : public ::testing::Test
{
protected:
    // What the tool writes for a file of that text, which is FILE in the arguments.
    ProgramResult RunOn(const std::string& text, std::vector<std::string> arguments)
    {
        const std::string file = m_folder.MakeFile("scene.kds", text);
        for (std::string& argument : arguments)
            if (argument == "FILE")
                argument = file;
        return RunToolWithTypes(arguments);
    }

    std::filesystem::path File() const { return m_folder.GetPath() / "scene.kds"; }

    TemporaryFolder m_folder;
};

constexpr char s_scene[] = "// A scene.\n"
                           "tool::Scene {\n"
                           "    title = \"Harbour\" // shown above it\n"
                           "\n"
                           "    // metres\n"
                           "    origin = Point(1.5, -2)\n"
                           "    tags   = [\"a\", \"b\"]\n"
                           "    counts = [\n"
                           "        \"one\" -> 1, // the first\n"
                           "        \"two\" -> 2\n"
                           "    ]\n"
                           "    area   = 2\n"
                           "}\n";

std::string With(std::string_view former, std::string_view text)
{
    std::string scene = s_scene;
    return scene.replace(scene.find(former), former.size(), text);
}

struct EditRow
{
    std::vector<std::string> m_arguments;
    std::string m_after;
};

TEST_F(Edits, ChangeWhatTheyAreAboutAndNothingElse)
{
    const EditRow rows[] = {
        {{"set", "FILE", ".title", "\"Bay\""}, With("Harbour", "Bay")},
        {{"set", "FILE", ".origin.x", "3"}, With("1.5", "3")},
        {{"set", "FILE", ".origin", "{ y = 4 }"}, With("-2", "4")},
        {{"set", "FILE", "--replace", ".origin", "{ y = 4 }"}, With("Point(1.5, -2)", "{ y = 4 }")},
        {{"set", "FILE", ".tags", "[\"c\"]"}, With("\"b\"]", "\"b\", \"c\"]")},
        {{"set", "FILE", "--replace", ".tags", "[\"c\"]"}, With("[\"a\", \"b\"]", "[\"c\"]")},
        {{"set", "FILE", ".area", "3"}, With("= 2\n}", "= 3\n}")}, // of the class, not of its model
        {{"set", "FILE", ".counts[\"two\"]", "3"}, With("-> 2", "-> 3")},
        {{"set", "FILE", ".late", "7"}, With("    area", "    late   = 7\n    area")},
        {{"set", "FILE", ".title", "\"Bay\"", ".area", "3"},
         std::string(With("Harbour", "Bay")).replace(With("Harbour", "Bay").find("= 2\n}"), 3, "= 3")},
        {{"unset", "FILE", ".title"}, With("    title = \"Harbour\" // shown above it\n", "")},
        {{"unset", "FILE", ".origin", ".tags[0]"},
         std::string(With("    // metres\n    origin = Point(1.5, -2)\n", ""))
             .replace(With("    // metres\n    origin = Point(1.5, -2)\n", "").find("\"a\", "), 5, "")},
        {{"unset", "FILE", ".counts[\"one\"]"}, With("        \"one\" -> 1, // the first\n", "")},
        {{"add", "FILE", ".tags[0]", "\"z\""}, With("[\"a\"", "[\"z\", \"a\"")},
        {{"add", "FILE", ".tags", "\"y\"", ".tags", "\"z\""}, With("\"b\"]", "\"b\", \"y\", \"z\"]")},
        {{"add", "FILE", ".counts[\"six\"]", "6"}, With("-> 2\n", "-> 2,\n        \"six\" -> 6\n")},
        {{"mv", "FILE", ".tags[0]", ".tags[1]"}, With("\"a\", \"b\"", "\"b\", \"a\"")},
        {{"mv", "FILE", ".counts[\"one\"]", ".counts[\"six\"]"}, With("\"one\"", "\"six\"")},
    };
    for (const EditRow& row : rows)
    {
        EXPECT_EQ(RunOn(s_scene, row.m_arguments), (ProgramResult{0, row.m_after, ""}));
        EXPECT_EQ(TextOfFile(File()), s_scene);
        std::vector<std::string> inPlace = row.m_arguments;
        inPlace.insert(inPlace.begin() + 1, "-i");
        EXPECT_EQ(RunOn(s_scene, inPlace), (ProgramResult{0, "", ""}));
        EXPECT_EQ(TextOfFile(File()), row.m_after);
    }
}

TEST_F(Edits, WriteNothingWhereTheValueIsThatAlready)
{
    m_folder.MakeFile("scene.kds", s_scene);
    const auto past = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24);
    std::filesystem::last_write_time(File(), past);
    const auto before = std::filesystem::last_write_time(File());
    EXPECT_EQ(RunToolWithTypes({"set", "-i", File(), ".area", "2.0", ".title", "'Harbour'", ".version", "3"}),
              (ProgramResult{0, "", ""}));
    EXPECT_EQ(std::filesystem::last_write_time(File()), before);
}

TEST_F(Edits, AreAllMadeOrNone)
{
    const EditRow rows[] = {
        {{"set", "-i", "FILE", ".area", "3", ".titel", "\"Bay\""},
         "<path>:1:2: error: Identifier titel is not a model field of class tool::Scene\n"
         ".titel\n ^\n"
         "<path>:1:2: note: did you mean title?\n"
         ".titel\n ^\n"},
        {{"unset", "-i", "FILE", ".area", ".titel"},
         "<path>:1:2: error: Unknown member 'titel' of class tool::Scene\n"
         ".titel\n ^\n"
         "<path>:1:2: note: did you mean title?\n"
         ".titel\n ^\n"},
        {{"add", "-i", "FILE", ".tags", "5"}, "<value>:1:1: error: Expected string when read 5\n5\n^\n"},
        {{"add", "-i", "FILE", ".counts[\"one\"]", "5"},
         "<path>:1:9: error: the key is there already\n.counts[\"one\"]\n        ^\n"},
        {{"set", "-i", "FILE", ".counts[\"one\"]", "x"}, "<value>:1:1: error: Expected int32 when read x\nx\n^\n"},
        {{"set", "-i", "FILE", ".counts[\"one\"].x", "1"},
         "<path>:1:16: error: there are no members here\n.counts[\"one\"].x\n               ^\n"},
        // Values as they are said, with comments and over lines.
        {{"set", "-i", "FILE", ".counts[\"one\"]", "/* 1 */ x"},
         "<value>:1:9: error: Expected int32 when read x\n/* 1 */ x\n        ^\n"},
        {{"set", "-i", "FILE", ".origin", "{ x = 1\n// and\n  y = q } // q"},
         "<value>:3:7: error: Expected float64 when read q\n  y = q } // q\n      ^\n"},
        {{"set", "-i", "FILE", ".area", " \"\xC3\xA9\" "},
         "<value>:1:2: error: Expected float64 when read \"\xC3\xA9\"\n \"\xC3\xA9\" \n ^\n"},
        {{"add", "-i", "FILE", ".tags[0]", "// none\n5"}, "<value>:2:1: error: Expected string when read 5\n5\n^\n"},
        {{"mv", "-i", "FILE", ".counts[\"one\"]", ".counts[6]"},
         "<path>:1:9: error: Expected string when read 6\n.counts[6]\n        ^\n"},
        // Into a variant, where paths to fields do not go.
        {{"set", "-i", "FILE", ".extent.radius", "x"}, "<value>:1:1: error: Expected float64 when read x\nx\n^\n"},
        {{"set", "-i", "FILE", ".extent.label.x", "1"},
         "<path>:1:9: error: the variant holds radius here\n.extent.label.x\n        ^\n"},
        {{"set", "-i", "FILE", ".extent.size", "1"},
         "<path>:1:9: error: Unknown alternative 'size' of a variant\n.extent.size\n        ^\n"},
        {{"set", "-i", "FILE", "area", "x"}, "<value>:1:1: error: Expected float64 when read x\nx\n^\n"},
        {{"mv", "-i", "FILE", ".tags", ".colour"}, "<path>:1:2: error: Expected identifier when read [\n.colour\n ^\n"},
        {{"mv", "-i", "FILE", ".tags[0]", ".tags[2]"},
         "<path>:1:7: error: the list has 2 elements\n.tags[2]\n      ^\n"},
    };
    for (const EditRow& row : rows)
    {
        EXPECT_EQ(RunOn(s_scene, row.m_arguments), (ProgramResult{1, "", row.m_after}));
        EXPECT_EQ(TextOfFile(File()), s_scene);
    }
    EXPECT_EQ(RunOn(s_scene, {"set", "-i", "FILE", ".area", "3", ".title"}),
              (ProgramResult{2, "", "kelmscript: error: the path .title has no value\n"}));
}

TEST_F(Edits, KeepMarksAndLineEnds)
{
    EXPECT_EQ(RunOn("\xEF\xBB\xBFtool::Note {\r\n}\r\n", {"set", "-i", "FILE", ".text", "\"x\""}),
              (ProgramResult{0, "", ""}));
    EXPECT_EQ(TextOfFile(File()), "\xEF\xBB\xBFtool::Note {\r\n    text = \"x\"\r\n}\r\n");
}

// --- Files as people write them

struct FileRow
{
    std::string m_file;
    std::string m_path;
    std::string m_value;
};

TEST(EditedFiles, DifferInOneLine)
{
    const FileRow rows[] = {
        {"garden.kds", ".parcel", "5"},
        {"byhand/allotment.kds", ".revision", "3"},
        {"byhand/balcony.kds", ".shapes[0].position.x", "0.5"},
        {"byhand/card.kds", ".home.number", "33"},
        {"byhand/cloister.kds", ".shapes[5].outline.Circle.radius", "1.2"},
        {"byhand/club.kds", ".members[1].partner.name", "\"Cleo\""},
        {"byhand/courtyard.kds", ".materials[\"gravel\"].price", "19"},
        {"byhand/diary.kds", ".revision", "1961"},
        {"byhand/orchard.kds", ".shapes[23].position.y", "21"},
        {"byhand/register.kds", ".shapes[200].position.x", "1.5"},
        {"byhand/riverbank.kds", ".shapes[0].depth", "1"},
    };
    const TemporaryFolder folder;
    for (const FileRow& row : rows)
    {
        const std::string before = TextOfFile(std::filesystem::path(KELM_EXAMPLE_DATA) / row.m_file);
        const std::string file = folder.MakeFile("edited.kds", before);
        const auto run = [&](std::vector<std::string> arguments)
        {
            arguments.insert(arguments.end(), {"--module", KELM_EXAMPLE_MODULE});
            return RunTool(arguments);
        };
        EXPECT_EQ(run({"set", "-i", file, row.m_path, row.m_value}), (ProgramResult{0, "", ""})) << row.m_file;
        const std::vector<std::string> former = LinesOf(before);
        const std::vector<std::string> latter = LinesOf(TextOfFile(file));
        ASSERT_EQ(former.size(), latter.size()) << row.m_file;
        std::size_t numChanged = 0;
        for (std::size_t i = 0; i < former.size(); ++i)
            numChanged += former[i] != latter[i] ? 1U : 0U;
        EXPECT_EQ(numChanged, 1U) << row.m_file;
        // Nothing where it is refused.
        folder.MakeFile("edited.kds", before);
        EXPECT_EQ(run({"set", "-i", file, ".nosuch", "1"}).m_exitCode, 1);
        EXPECT_EQ(TextOfFile(file), before);
    }
}

} // namespace

} // namespace kelm
