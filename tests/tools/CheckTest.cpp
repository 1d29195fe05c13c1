// check: all that is wrong with files, in each of its forms, on the types of modules/ToolTypes.h.

#include "Tool.h"

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;
using ::testing::Not;

class Check : public ::testing::Test
{
protected:
    // What the tool writes for a file that holds `text`; the file's own name is "a b.kds" there.
    ProgramResult RunOn(const std::string& text, std::vector<std::string> options)
    {
        const std::string file = m_folder.MakeFile("a b.kds", text);
        options.insert(options.begin(), "check");
        options.push_back(file);
        ProgramResult result = RunToolWithTypes(options);
        for (std::string* stream : {&result.m_output, &result.m_errors})
            for (std::size_t at = stream->find(file); at != std::string::npos; at = stream->find(file))
                stream->replace(at, file.size(), "a b.kds");
        return result;
    }

    TemporaryFolder m_folder;
};

constexpr char s_wrong[] = "tool::Scene {\n"
                           "    titel = 'ä'\n"
                           "    title = 'ä' tiny = 1000\n"
                           "    scores = [1, x, 3\n"
                           "    note = null\n"
                           "    area = 1\n"
                           "}\n";

TEST_F(Check, TellsEveryError)
{
    const ProgramResult result = RunOn(s_wrong, {});
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_EQ(result.m_output, "");
    EXPECT_THAT(result.m_errors, HasSubstr("a b.kds:2:11: error: Unknown member 'titel' of class tool::Scene\n"));
    EXPECT_THAT(result.m_errors, HasSubstr("a b.kds:2:5: note: did you mean title?\n"));
    EXPECT_THAT(result.m_errors, HasSubstr("a b.kds:3:24: error: Value 1000 is out of range of int8\n"));
    EXPECT_THAT(result.m_errors, HasSubstr("a b.kds:4:18: error: Expected int32 when read x\n"));
    EXPECT_THAT(result.m_errors, HasSubstr("a b.kds:5:5: error: Expected ] when read note\n"));
    EXPECT_THAT(result.m_errors, HasSubstr("error: assertion failed: p (src/ParseDataSource:"));
    std::size_t count = 0;
    for (std::size_t at = 0; (at = result.m_errors.find(" error: ", at)) != std::string::npos; ++at)
        ++count;
    EXPECT_EQ(count, 5u) << result.m_errors;
}

// A hundred at most, and a note where there are more.
TEST_F(Check, SaysThatThereIsMore)
{
    constexpr char note[] = "note: what else is wrong with a b.kds is not shown\n";
    std::string text = "tool::Scene {\n";
    for (int i = 0; i < 100; ++i)
        text += "    other" + std::to_string(i) + " = 1\n";
    for (const char* option : {"--json", "--sarif"})
        EXPECT_EQ(RunOn(text + "}", {option}).m_errors, "") << option;
    EXPECT_THAT(RunOn(text + "}", {}).m_errors, Not(HasSubstr(note)));
    text += "    last = 1\n}";
    for (const std::vector<std::string>& options : {std::vector<std::string>{}, {"--json"}, {"--sarif"}})
    {
        const ProgramResult result = RunOn(text, options);
        EXPECT_THAT(result.m_errors, HasSubstr(note));
        EXPECT_THAT(result.m_output + result.m_errors, Not(HasSubstr("'last'")));
    }
}

TEST_F(Check, WarnsWhereItLooksAtAll)
{
    const std::string text = "tool::Scene { late = 1 late = 2 title = '\xff' } rest";
    const ProgramResult plain = RunOn(text, {});
    EXPECT_EQ(plain.m_output, "a b.kds: ok\n");
    EXPECT_THAT(plain.m_errors, HasSubstr("a b.kds:1:24: warning: member 'late' is written twice\n"));
    EXPECT_THAT(plain.m_errors, Not(HasSubstr("UTF-8")));
    const ProgramResult all = RunOn(text, {"--all"});
    EXPECT_EQ(all.m_exitCode, 0);
    EXPECT_THAT(all.m_errors, HasSubstr("a b.kds:1:24: warning: member 'late' is written twice\n"));
    EXPECT_THAT(all.m_errors, HasSubstr("a b.kds:1:42: warning: the text is not valid UTF-8\n"));
    EXPECT_THAT(all.m_errors, HasSubstr("a b.kds:1:47: warning: the text after the data source is not read\n"));
}

TEST_F(Check, WarnsOfLinesThatCommentsTakeIn)
{
    const std::string warning = "warning: the comment goes on behind a carriage return alone: lines end at a line feed";
    const struct
    {
        const char* m_text;
        const char* m_place; // empty for none
    } rows[] = {
        {"tool::Scene { // a\rtiny = 1\r}\n}", "1:19: "},
        {"tool::Scene { /* a */ // b\r\n tiny = 1 // c\r late = 2\n}", "2:15: "},
        {"tool::Scene {\n# a\r late = 1\n}", "2:4: "},
        {"tool::Scene { // a\r\n}\r\n", ""},
        {"tool::Scene { // a\r\r\n}", ""},
        {"tool::Scene {\r/* a\r b */ title = 'a\rb'\r}\r", ""},
    };
    for (const auto& row : rows)
    {
        const ProgramResult result = RunOn(row.m_text, {"--all"});
        EXPECT_EQ(result.m_exitCode, 0) << result.m_errors;
        if (*row.m_place == 0)
            EXPECT_EQ(result.m_errors, "") << row.m_text;
        else
            EXPECT_THAT(result.m_errors, HasSubstr("a b.kds:" + std::string(row.m_place) + warning));
    }
    EXPECT_THAT(RunOn("// a\rtool::Scene { }\r", {}).m_errors,
                HasSubstr("note: a comment ends at a line feed, and goes on behind a carriage return alone\n"));
}

TEST_F(Check, WritesJson)
{
    EXPECT_EQ(RunOn("tool::Scene { late = 1 }", {"--json"}),
              (ProgramResult{0, "{\"file\":\"a b.kds\",\"ok\":true,\"diagnostics\":[]}\n", ""}));
    EXPECT_EQ(RunOn("tool::Scene {\n  title = 'ä' tiny = 1000 laet = 1 }", {"--json"}),
              (ProgramResult{1,
                             "{\"file\":\"a b.kds\",\"ok\":false,\"diagnostics\":["
                             "{\"severity\":\"error\",\"message\":\"Value 1000 is out of range of int8\",\"line\":2,"
                             "\"column\":22,\"endLine\":2,\"endColumn\":26},"
                             "{\"severity\":\"error\",\"message\":\"Unknown member 'laet' of class tool::Scene\","
                             "\"line\":2,\"column\":27,\"endLine\":2,\"endColumn\":31,"
                             "\"note\":\"did you mean late?\"}]}\n",
                             ""}));
    EXPECT_EQ(RunTool({"check", "--json", "--sarif", "x"}).m_exitCode, 2);
}

// Why a file cannot be read, in every form.
TEST_F(Check, TellsWhyAFileIsUnreadable)
{
    const std::string why = "cannot read none.kds: No such file or directory";
    const std::string error = "kelmscript: error: " + why + "\n";
    EXPECT_EQ(RunTool({"check", "none.kds"}), (ProgramResult{1, "", error}));
    EXPECT_EQ(RunTool({"check", "--json", "none.kds"}),
              (ProgramResult{1,
                             "{\"file\":\"none.kds\",\"ok\":false,\"diagnostics\":[{\"severity\":\"error\","
                             "\"message\":\"" +
                                 why + "\"}]}\n",
                             error}));
    const ProgramResult sarif = RunTool({"check", "--sarif", "none.kds"});
    EXPECT_EQ(sarif.m_errors, error);
    EXPECT_THAT(sarif.m_output, HasSubstr("          \"executionSuccessful\": false,\n"
                                          "          \"toolExecutionNotifications\": [\n"
                                          "            {\n"
                                          "              \"level\": \"error\",\n"
                                          "              \"message\": {\n"
                                          "                \"text\": \"" +
                                          why + "\"\n"));
}

// One error, behind those of what is a text.
TEST_F(Check, TellsOnceOfWhatIsNoText)
{
    std::string text = "tool::Scene {\n titel = 1\n";
    while (text.size() < 100000)
        text += "// and so on\n";
    text += std::string("\0\xFF", 2);
    for (int i = 0; i < 50; ++i)
        text += "\xFF\xFE = 1\n";
    const ProgramResult result = RunOn(text, {});
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_THAT(result.m_errors, HasSubstr("a b.kds:2:8: error: Unknown member 'titel' of class tool::Scene\n"));
    EXPECT_THAT(result.m_errors, HasSubstr(": error: it is no text\n"));
    EXPECT_LT(result.m_errors.size(), 500u);
}

TEST_F(Check, WritesSarif)
{
    const ProgramResult result = RunOn("tool::Scene {\n  title = 'ä' tiny = 1000 }", {"--sarif"});
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_THAT(result.m_output, HasSubstr("\"version\": \"2.1.0\""));
    EXPECT_THAT(result.m_output, HasSubstr("\"columnKind\": \"unicodeCodePoints\""));
    EXPECT_THAT(result.m_output, HasSubstr("          \"level\": \"error\",\n"
                                           "          \"message\": {\n"
                                           "            \"text\": \"Value 1000 is out of range of int8\"\n"));
    EXPECT_THAT(result.m_output, HasSubstr("/a%20b.kds\"\n"));
    EXPECT_THAT(result.m_output, HasSubstr("                  \"startLine\": 2,\n"
                                           "                  \"startColumn\": 22,\n"
                                           "                  \"endLine\": 2,\n"
                                           "                  \"endColumn\": 26\n"));
    EXPECT_THAT(RunOn("tool::Scene", {"--sarif"}).m_output, HasSubstr("\"results\": [],\n"));
    EXPECT_THAT(RunTool({"check", "--sarif", "none.kds"}).m_output, HasSubstr("\"executionSuccessful\": false"));
}

} // namespace

} // namespace kelm
