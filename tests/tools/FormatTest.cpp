// kelmscript fmt: which files are written, what is told of them, and where options come from.

#include "Tool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace kelm
{

namespace
{

constexpr char s_loose[] = "A {\n  a=1\n  b = [ 1,2 ]\n}\n";
constexpr char s_formatted[] = "A {\n    a = 1\n    b = [1, 2]\n}\n";

class Fmt : public ::testing::Test
{
protected:
    std::string Make(const std::string& name, const std::string& text)
    {
        std::filesystem::create_directories((m_folder.GetPath() / name).parent_path());
        return m_folder.MakeFile(name, text);
    }

    static std::string Read(const std::string& path)
    {
        std::stringstream stream;
        stream << std::ifstream(path).rdbuf();
        return stream.str();
    }

    TemporaryFolder m_folder;
};

TEST_F(Fmt, WritesWhatChangesAndNothingElse)
{
    const std::string loose = Make("loose.kds", s_loose);
    const std::string done = Make("done.kds", s_formatted);
    const auto time = std::filesystem::last_write_time(done) - std::chrono::hours(1);
    std::filesystem::last_write_time(done, time);
    EXPECT_EQ(RunTool({"fmt", loose, done}), (ProgramResult{0, "", ""}));
    EXPECT_EQ(Read(loose), s_formatted);
    EXPECT_EQ(Read(done), s_formatted);
    EXPECT_EQ(std::filesystem::last_write_time(done), time);
}

TEST_F(Fmt, ReadsStandardInput)
{
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"fmt"}, {"fmt", "-"}})
        EXPECT_EQ(RunTool(arguments, s_loose), (ProgramResult{0, s_formatted, ""}));
    EXPECT_EQ(RunTool({"fmt", "--check", "-"}, s_loose), (ProgramResult{1, "<stdin>\n", ""}));
    EXPECT_EQ(RunTool({"fmt", "--check", "-"}, s_formatted), (ProgramResult{0, "", ""}));
    EXPECT_EQ(RunTool({"fmt", "-", "-"}).m_exitCode, 2);
}

TEST_F(Fmt, TellsWhatWouldChange)
{
    const std::string loose = Make("loose.kds", s_loose);
    const std::string done = Make("done.kds", s_formatted);
    const std::string diff = "--- " + loose + "\n+++ " + loose +
                             "\n@@ -1,4 +1,4 @@\n A {\n-  a=1\n-  b = [ 1,2 ]\n+    a = 1\n+    b = [1, 2]\n }\n";
    EXPECT_EQ(RunTool({"fmt", "--check", loose, done}), (ProgramResult{1, loose + "\n", ""}));
    EXPECT_EQ(RunTool({"fmt", "--check", done}), (ProgramResult{0, "", ""}));
    EXPECT_EQ(RunTool({"fmt", "--diff", loose, done}), (ProgramResult{0, diff, ""}));
    EXPECT_EQ(RunTool({"fmt", "--diff", "--check", loose, done}), (ProgramResult{1, diff, ""}));
    EXPECT_EQ(RunTool({"fmt", "--stdout", loose}), (ProgramResult{0, s_formatted, ""}));
    EXPECT_EQ(
        RunTool({"fmt", "--check", "--json", loose, done}),
        (ProgramResult{
            1, "{\"file\":\"" + loose + "\",\"changed\":true}\n{\"file\":\"" + done + "\",\"changed\":false}\n", ""}));
    EXPECT_EQ(Read(loose), s_loose);
}

TEST_F(Fmt, LeavesWhatIsWrongAlone)
{
    const std::string wrong = Make("wrong.kds", "A {\n  a = \n}\n");
    const std::string loose = Make("loose.kds", s_loose);
    EXPECT_EQ(RunTool({"fmt", wrong, loose, "nowhere.kds"}),
              (ProgramResult{1, "",
                             wrong + ":3:1: error: Expected value when read }\n}\n^\n"
                                     "kelmscript: error: cannot read nowhere.kds: No such file or directory\n"}));
    EXPECT_EQ(Read(wrong), "A {\n  a = \n}\n");
    EXPECT_EQ(Read(loose), s_formatted);
    EXPECT_EQ(RunTool({"fmt", "--json", wrong, "nowhere.kds"}),
              (ProgramResult{1,
                             "{\"file\":\"" + wrong +
                                 "\",\"error\":{\"kind\":\"syntax\",\"message\":\"Expected value when read }\","
                                 "\"line\":3,\"column\":1}}\n"
                                 "{\"error\":{\"kind\":\"file\",\"message\":\"cannot read nowhere.kds: No such file or "
                                 "directory\"}}\n",
                             ""}));
    const std::string marked = Make("marked.kds", "\xEF\xBB\xBF"
                                                  "A B");
    EXPECT_EQ(RunTool({"fmt", marked}).m_errors, marked + ":1:3: error: Expected end of text when read B\nA B\n  ^\n");
}

// What has no place in a text is told so.
TEST_F(Fmt, TakesOptionsFromTheNearestFile)
{
    Make("kelm.json", "{\"fmt\": {\"indent\": 2}} // of the project\n");
    Make("narrow/kelm.json", "{\"fmt\": {\"width\": 20}}");
    const std::string text = "A {\n a = [1, 2, 3, 4, 5]\n}\n";
    const std::string outer = Make("a.kds", text);
    const std::string inner = Make("deep/er/a.kds", text);
    const std::string narrow = Make("narrow/a.kds", text);
    EXPECT_EQ(RunTool({"fmt", "--stdout", outer}).m_output, "A {\n  a = [1, 2, 3, 4, 5]\n}\n");
    EXPECT_EQ(RunTool({"fmt", "--stdout", inner}).m_output, "A {\n  a = [1, 2, 3, 4, 5]\n}\n");
    EXPECT_EQ(RunTool({"fmt", "--stdout", narrow}).m_output,
              "A {\n    a = [\n        1, 2, 3, 4,\n        5\n    ]\n}\n");
    // The command line wins.
    EXPECT_EQ(RunTool({"fmt", "--stdout", "--indent=1", narrow}).m_output, "A {\n a = [1, 2, 3, 4, 5]\n}\n");
    EXPECT_EQ(RunTool({"fmt", "--stdout", "--width", "30", narrow}).m_output, "A {\n    a = [1, 2, 3, 4, 5]\n}\n");
}

TEST_F(Fmt, RefusesWrongSettings)
{
    const std::string file = Make("a.kds", s_loose);
    const std::pair<std::string, std::string> rows[] = {
        {"{\"fmt\": {\"witdh\": 80}}", "FILE: \"fmt\" has no \"witdh\", only \"width\" and \"indent\""},
        {"{\"format\": {}}", "FILE: there is no setting \"format\", only \"fmt\""},
        {"{\"fmt\": {\"width\": 5}}", "FILE: \"width\" is a number from 20 to 1000"},
        {"{\"fmt\": {\"width\": \"80\"}}", "FILE: \"width\" is a number from 20 to 1000"},
        {"{\"fmt\": {\"indent\": -1}}", "FILE: \"indent\" is a number from 1 to 16"},
        {"{\"fmt\": 5}", "FILE: \"fmt\" is an object, such as {\"width\": 100}"},
        {"[]", "FILE: settings are an object, such as {\"fmt\": {\"width\": 100}}"},
    };
    for (const auto& [settings, message] : rows)
    {
        const std::string path = Make("kelm.json", settings);
        std::string errors = "kelmscript: error: " + message + "\n";
        errors.replace(errors.find("FILE"), 4, path);
        EXPECT_EQ(RunTool({"fmt", file, file}), (ProgramResult{1, "", errors})) << settings;
    }
    const std::string path = Make("kelm.json", "{\n \"fmt\": }");
    EXPECT_TRUE(RunTool({"fmt", file}).m_errors.starts_with(path + ":2:9: error: it is no JSON: syntax error "));
    for (const std::string twice :
         {"{\"fmt\": {\"width\": 50, \"width\": 60}}", "{\"fmt\": {}, \"fmt\": {\"width\": 60}}"})
    {
        Make("kelm.json", twice);
        const std::string key = twice.substr(twice.rfind(twice.find("{}") != twice.npos ? "fmt" : "width"), 3);
        const std::string errors = RunTool({"fmt", file}).m_errors;
        EXPECT_TRUE(
            errors.starts_with(path + ":1:" + std::to_string(twice.rfind("\"" + key) + 1) + ": error: member '" + key))
            << errors;
    }
    EXPECT_EQ(Read(file), s_loose);
    EXPECT_EQ(RunTool({"fmt", "--width", "1e3", file}).m_errors,
              "kelmscript: error: --width: 1e3 is not a number from 20 to 1000\n");
    EXPECT_EQ(RunTool({"fmt", "--indent", "0", file}).m_exitCode, 2);
}

TEST_F(Fmt, NeedsNoModules)
{
    EXPECT_EQ(RunTool({"fmt"}, s_loose, {{"KELMSCRIPT_MODULES", "/no/such/module.so"}}),
              (ProgramResult{0, s_formatted, ""}));
}

// --- Diffs

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();)
    {
        const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
        lines.push_back(text.substr(at, end - at));
        at = end;
    }
    return lines;
}

// What a diff makes of a text, read as strictly as can be.
std::string Patched(const std::string& text, const std::string& diff)
{
    const std::vector<std::string> lines = LinesOf(text);
    std::vector<std::string> told = LinesOf(diff);
    std::string patched;
    std::size_t at = 0; // of the lines
    for (std::size_t i = 2; i < told.size();)
    {
        std::size_t begin = 0;
        std::size_t numBefore = 0;
        std::size_t beginAfter = 0;
        std::size_t numAfter = 0;
        EXPECT_EQ(std::sscanf(told[i].c_str(), "@@ -%zu,%zu +%zu,%zu @@", &begin, &numBefore, &beginAfter, &numAfter),
                  4);
        for (begin -= numBefore > 0 ? 1 : 0; at < begin; ++at)
            patched += lines[at];
        EXPECT_EQ(LinesOf(patched).size(), beginAfter - (numAfter > 0 ? 1 : 0)) << diff;
        for (++i; i < told.size() && !told[i].starts_with('@'); ++i)
        {
            std::string line = told[i].substr(1);
            if (i + 1 < told.size() && told[i + 1].starts_with('\\'))
                line.pop_back();
            switch (told[i][0])
            {
            case ' ': patched += line; [[fallthrough]];
            case '-': EXPECT_EQ(line, lines.at(at++)) << diff; break;
            case '+': patched += line; break;
            default: EXPECT_EQ(told[i], "\\ No newline at end of file\n");
            }
            numBefore -= told[i][0] == ' ' || told[i][0] == '-' ? 1 : 0;
            numAfter -= told[i][0] == ' ' || told[i][0] == '+' ? 1 : 0;
        }
        EXPECT_EQ(numBefore, 0U) << diff;
        EXPECT_EQ(numAfter, 0U) << diff;
    }
    for (; at < lines.size(); ++at)
        patched += lines[at];
    return patched;
}

// What the program of that name makes of it; none where that is not installed.
std::optional<std::string> PatchedByProgram(TemporaryFolder& folder, const std::string& text, const std::string& diff)
{
    constexpr char program[] = "/usr/bin/patch";
    if (!std::filesystem::exists(program))
        return std::nullopt;
    const std::string file = folder.MakeFile("patched.kds", text);
    const ProgramResult result = RunProgram({program, "--binary", "--quiet", "--fuzz=0", file}, diff);
    EXPECT_EQ(result, (ProgramResult{0, "", ""})) << diff;
    std::stringstream stream;
    stream << std::ifstream(file).rdbuf();
    return stream.str();
}

const std::string s_diffed[] = {
    s_loose,
    "A",
    "\n\n\nA {}",
    "A {}\n\n\n\n",
    "A {\n    a = 1\n    b = 2\n\n\n\n    c = 3\n    d = 4\n    e = 5\n    f = 6\n    g = 7\n    h = 8\n    i = 9\n"
    "    j = 10\n    k=11\n    l = 12\n    m = 13\n    n = 14\n    o = 15\n    p = 16\n    q = 17\n    r=18}",
    "A {\n    a = [\n\n        1\n    ]\n    b = 2\n    c = 3\n    d = 4\n    e = 5\n    f = 6\n    g =\n    "
    "8\n}\n",
    "A {\r\n  a = 1\r\n}\r\n",
};

TEST_F(Fmt, WritesDiffsThatPatchTakes)
{
    bool isProgramThere = true;
    const auto expect = [&](const std::string& text)
    {
        const std::string diff = RunTool({"fmt", "--diff", "-"}, text).m_output;
        const std::string formatted = RunTool({"fmt"}, text).m_output;
        EXPECT_EQ(Patched(text, diff), formatted) << diff;
        const std::optional<std::string> patched = PatchedByProgram(m_folder, text, diff);
        isProgramThere &= patched.has_value();
        EXPECT_EQ(patched.value_or(formatted), formatted) << diff;
    };
    for (const std::string& text : s_diffed)
        expect(text);
#if defined(KELM_EXAMPLE_DATA)
    for (const auto& file : std::filesystem::recursive_directory_iterator(KELM_EXAMPLE_DATA))
        if (file.path().extension() == ".kds")
            expect(Read(file.path()));
#endif
    if (!isProgramThere)
        GTEST_SKIP() << "without the program itself";
}

#if defined(KELM_EXAMPLE_DATA)
TEST_F(Fmt, KeepsTheObjectsOfTheExamples)
{
    int numFiles = 0;
    for (const auto& example : std::filesystem::recursive_directory_iterator(KELM_EXAMPLE_DATA))
    {
        if (example.path().extension() != ".kds" || example.path().stem() == "broken")
            continue;
        ++numFiles;
        const std::string file = Make("a.kds", Read(example.path()));
        const auto print = [&] {
            return RunTool({"print", "--compact", file}, {}, {{"KELMSCRIPT_MODULES", KELM_EXAMPLE_MODULE}});
        };
        const ProgramResult before = print();
        EXPECT_EQ(before.m_exitCode, 0) << before.m_errors;
        EXPECT_EQ(RunTool({"fmt", file}), (ProgramResult{0, "", ""})) << example.path();
        EXPECT_EQ(print(), before) << example.path();
        EXPECT_EQ(RunTool({"fmt", "--check", file}), (ProgramResult{0, "", ""})) << example.path();
    }
    EXPECT_GE(numFiles, 13);
}
#endif

} // namespace

} // namespace kelm
