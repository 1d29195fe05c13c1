// Members that a data source writes twice.

#include "Tool.h"

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

std::string Warning(int column, const std::string& text, const std::string& name, int former)
{
    const auto line = [&](int at, const std::string& what)
    {
        return "<stdin>:1:" + std::to_string(at) + ": " + what + "\n" + text + "\n" +
               std::string(static_cast<std::size_t>(at) - 1, ' ') + "^\n";
    };
    return line(column, "warning: member '" + name + "' is written twice") +
           line(former, "note: it is written here already");
}

TEST(Repeats, AreWarnedOf)
{
    const std::string twice = "tool::Note { text = \"a\" text = \"b\" }";
    EXPECT_EQ(RunToolWithTypes({"check", "-"}, twice),
              (ProgramResult{0, "<stdin>: ok\n", Warning(25, twice, "text", 14)}));
    const std::string thrice = "tool::Note { text=\"\"text=\"\" text =\"\" }";
    EXPECT_EQ(RunToolWithTypes({"check", "-"}, thrice).m_errors,
              Warning(21, thrice, "text", 14) + Warning(29, thrice, "text", 14));
    const std::string within = "tool::Note { next = tool::Note { next = null next = null } }";
    EXPECT_EQ(RunToolWithTypes({"get", "-", ".text"}, within),
              (ProgramResult{0, "xstring \"\"\n", Warning(46, within, "next", 34)}));
}

TEST(Repeats, AreThoseOfOneBodyOutsideQuotesAndComments)
{
    for (const char* text : {
             "tool::Note { text = \"a\" next = tool::Note { text = \"b\" next = tool::Note { text = \"c\" } } }",
             "tool::Note { text = \"text = \\\" { text = \" next = null }",
             "tool::Note { text = \"\\\\\" next = null }",
             "tool::Note { text = \"a\" // text = {\n /* text = \"b\" */ next = null\n# text = 1\n}",
             "tool::Note { text /* of the note */ = \"a\" next /* one */ = null }",
             "tool::Scene { letter = '\"' title = \"'\" tags = [\"tags = \"] }",
             "tool::Scene { letter = '{' notes = [tool::Note { text = \"\" }, tool::Note { text = \"\" }] }",
             "tool::Note { text = \"a\" } tool::Note { text = \"a\" text = \"b\" }",
         })
        EXPECT_THAT(RunToolWithTypes({"check", "-"}, text).m_errors, ::testing::Not(::testing::HasSubstr("twice")))
            << text;
}

// Many members in one body are compared in few steps.
TEST(Repeats, OfManyMembersCostInStep)
{
    std::string text = "tool::Scene {";
    for (int i = 0; i < 20000; ++i)
        text += " title = \"" + std::to_string(i) + "\" tiny = 1";
    const ProgramResult result = RunToolWithTypes({"check", "-"}, text + " }");
    EXPECT_EQ(result.m_exitCode, 0);
    EXPECT_THAT(result.m_errors, ::testing::HasSubstr("member 'title' is written twice"));
    EXPECT_THAT(result.m_errors,
                ::testing::EndsWith("kelmscript: note: <stdin>: 39988 more members are written twice\n"));
}

} // namespace

} // namespace kelm
