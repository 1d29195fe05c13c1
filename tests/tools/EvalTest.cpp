#include "Tool.h"

#include <support/Terminal.h>

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

// --- Values

struct ValueRow
{
    std::string m_expression;
    std::string m_output;
};

const ValueRow s_values[] = {
    {"1 + 2 * 3", "int64 7"},
    {"2 ^^ 3 ^^ 2", "int64 64"},
    {"7 / 2", "int64 3"},
    {"7 / 2.5", "float64 2.8"},
    {"1 == 1", "bool true"},
    {"'abc'", "string abc"},
    {"''", "string "},
    {"'\\x00\\n'", std::string("string \0\n", 9)},
    {"\"\xC3\xA4\"", "string \xC3\xA4"},
    {"1.0", "float64 1.0"},
    {"1e300 * 1e300", "float64 inf"},
    {"0xFF", "int64 255"},
    {" // nothing\n 1 + /* and */ 1", "int64 2"},
    // What a command line could take for options.
    {"-5", "int64 -5"},
    {"-2 ^^ 2", "int64 4"},
    {"-(1)", "int64 -1"},
    {"-int('7' + '0' == '70' ? 7 : 0)", "int64 -7"},
    {"-0x10", "int64 -16"},
    {"-.5", "float64 -0.5"},
    {"- 5", "int64 -5"},
    {"!false", "bool true"},
    {"+5", "int64 5"},
};

TEST(EvalValue, IsWrittenBehindItsKind)
{
    for (const ValueRow& row : s_values)
        EXPECT_EQ(RunTool({"eval", "--type", row.m_expression}), (ProgramResult{0, row.m_output + "\n", ""}));
}

TEST(Eval, WritesEachValueOnALineInOrder)
{
    EXPECT_EQ(RunTool({"eval", "1", "-2", "'three'", "4.0"}), (ProgramResult{0, "1\n-2\nthree\n4.0\n", ""}));
}

TEST(Eval, TakesWhatFollowsTheDoubleDashAsExpressions)
{
    EXPECT_EQ(RunTool({"eval", "--", "-5", "1"}), (ProgramResult{0, "-5\n1\n", ""}));
}

// --- Errors

struct ErrorRow
{
    std::string m_expression;
    std::string m_errors;
};

const ErrorRow s_errors[] = {
    {"", "<argument 1>:1:1: error: Unexpected end of text after start of text in expression\n"
         "\n"
         "^\n"},
    {"1 2", "<argument 1>:1:3: error: Expected end of text when read 2\n"
            "1 2\n"
            "  ^\n"},
    {"1 ?= 2", "<argument 1>:1:3: error: Expected end of text when read ?=\n"
               "1 ?= 2\n"
               "  ^\n"},
    {"1 / 0 + 5", "<argument 1>:1:5: error: Division by zero error\n"
                  "1 / 0 + 5\n"
                  "    ^\n"},
    {"(1", "<argument 1>:1:3: error: Expected ) when read end of text\n"
           "(1\n"
           "  ^\n"},
    {"[1]", "<argument 1>:1:1: error: Unexpected [ after start of text in expression\n"
            "[1]\n"
            "^\n"},
    {"1 = 2", "<argument 1>:1:5: error: Can't assign to int64 r-value\n"
              "1 = 2\n"
              "    ^\n"},
    {"sin(1)", "<argument 1>:1:6: error: No implicit conversion from value 1 to float64\n"
               "sin(1)\n"
               "     ^\n"
               "<argument 1>:1:6: note: with --natural, functions of floats take integers\n"
               "sin(1)\n"
               "     ^\n"},
    {"sin('1x')", "<argument 1>:1:9: error: No implicit conversion from value 1x to float64\n"
                  "sin('1x')\n"
                  "        ^\n"},
    {"99999999999999999999", "<argument 1>:1:1: error: Integer literal 99999999999999999999 is out of range of int64\n"
                             "99999999999999999999\n"
                             "^\n"},
    {"1 + 'abc", "<argument 1>:1:5: error: Unterminated string literal\n"
                 "1 + 'abc\n"
                 "    ^\n"},
    // Columns count characters; the caret stands under the token all the same.
    {"'\xC3\xA4\xE2\x82\xAC' * 1 )", "<argument 1>:1:8: error: Incompatible types (string and int64) for * operation\n"
                                     "'\xC3\xA4\xE2\x82\xAC' * 1 )\n"
                                     "       ^\n"},
    {"\t1 +\t?", "<argument 1>:1:6: error: Unexpected ? after + in expression\n"
                 "\t1 +\t?\n"
                 "\t   \t^\n"},
    {"'\xE6\xBC\xA2' ?", "<argument 1>:1:6: error: Unexpected end of text after ? in expression\n"
                         "'\xE6\xBC\xA2' ?\n"
                         "      ^\n"}, // a wide character
    {"'\xFF' ?", "<argument 1>:1:6: error: Unexpected end of text after ? in expression\n"
                 "'\xEF\xBF\xBD' ?\n"
                 "     ^\n"}, // an octet that is no character
    {"\x1B[1m", "<argument 1>:1:1: error: Illegal character 0x1B outside quotes\n"
                "\xEF\xBF\xBD[1m\n"
                "^\n"}, // nothing that a terminal would obey
    {"1 +\n2 +\n$ + 3", "<argument 1>:3:1: error: Unexpected $ after + in expression\n"
                        "$ + 3\n"
                        "^\n"},
    {"sni(1.0)", "<argument 1>:1:1: error: Unexpected sni after start of text in expression\n"
                 "sni(1.0)\n"
                 "^\n"
                 "<argument 1>:1:1: note: did you mean sin?\n"
                 "sni(1.0)\n"
                 "^\n"},
    {"1 + is_str(1)", "<argument 1>:1:5: error: Unexpected is_str after + in expression\n"
                      "1 + is_str(1)\n"
                      "    ^\n"
                      "<argument 1>:1:5: note: did you mean is_string?\n"
                      "1 + is_str(1)\n"
                      "    ^\n"},
    {"True", "<argument 1>:1:1: error: Unexpected True after start of text in expression\n"
             "True\n"
             "^\n"
             "<argument 1>:1:1: note: did you mean true?\n"
             "True\n"
             "^\n"},
    {"nothing_like_it", "<argument 1>:1:1: error: Unexpected nothing_like_it after start of text in expression\n"
                        "nothing_like_it\n"
                        "^\n"},
    // As others spell it.
    {"true and false", "<argument 1>:1:6: error: Expected end of text when read and\n"
                       "true and false\n"
                       "     ^\n"
                       "<argument 1>:1:6: note: the operator is &&\n"
                       "true and false\n"
                       "     ^\n"},
    {"not true", "<argument 1>:1:1: error: Unexpected not after start of text in expression\n"
                 "not true\n"
                 "^\n"
                 "<argument 1>:1:1: note: the operator is !\n"
                 "not true\n"
                 "^\n"},
    {"(1 or 2)", "<argument 1>:1:4: error: Expected ) when read or\n"
                 "(1 or 2)\n"
                 "   ^\n"
                 "<argument 1>:1:4: note: the operator is ||\n"
                 "(1 or 2)\n"
                 "   ^\n"},
    {"2**3", "<argument 1>:1:3: error: Unexpected * after * in expression\n"
             "2**3\n"
             "  ^\n"
             "<argument 1>:1:3: note: the operator is ^^\n"
             "2**3\n"
             "  ^\n"},
    {"1 !== 2", "<argument 1>:1:5: error: Unexpected = after != in expression\n"
                "1 !== 2\n"
                "    ^\n"
                "<argument 1>:1:5: note: the operator is !=\n"
                "1 !== 2\n"
                "    ^\n"},
    {"2 * * 3", "<argument 1>:1:5: error: Unexpected * after * in expression\n"
                "2 * * 3\n"
                "    ^\n"},
    {"min(1, 2)", "<argument 1>:1:1: error: Unexpected min after start of text in expression\n"
                  "min(1, 2)\n"
                  "^\n"
                  "<argument 1>:1:1: note: with --natural, there is min(x, ...)\n"
                  "min(1, 2)\n"
                  "^\n"},
    // The processor refuses this division: the evaluation fails, the tool lives.
    {"(-9223372036854775807 - 1) / -1 + 3",
     "<argument 1>:1:31: error: Division fault: -9223372036854775808 divided by -1 is beyond int64\n"
     "(-9223372036854775807 - 1) / -1 + 3\n"
     "                              ^\n"},
    {"(-9223372036854775807 - 1) % -1",
     "<argument 1>:1:31: error: Division fault: -9223372036854775808 divided by -1 is beyond int64\n"
     "(-9223372036854775807 - 1) % -1\n"
     "                              ^\n"},
    {"(-9223372036854775807 - 1) / -1 + 'a' * 2",
     "<argument 1>:1:31: error: Division fault: -9223372036854775808 divided by -1 is beyond int64\n"
     "(-9223372036854775807 - 1) / -1 + 'a' * 2\n"
     "                              ^\n"},
};

TEST(EvalError, IsReportedAtItsPlace)
{
    for (const ErrorRow& row : s_errors)
        EXPECT_EQ(RunTool({"eval", row.m_expression}), (ProgramResult{1, "", row.m_errors}));
}

// The line numbers within the library's sources are tested where they are fixed.
TEST(Eval, ReportsAFailedAssertionWithConditionFileAndLine)
{
    const ProgramResult result = RunTool({"eval", "'abc'[0]"});
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_EQ(result.m_output, "");
    EXPECT_THAT(result.m_errors, ::testing::MatchesRegex("<argument 1>:1:7: error: assertion failed: 0 "
                                                         "\\(src/KSValue:[0-9]+\\)\n'abc'\\[0\\]\n      \\^\n"
                                                         "<argument 1>:1:7: note: the language refuses subscripts and "
                                                         "len of strings\n'abc'\\[0\\]\n      \\^\n"));
}

TEST(Eval, GoesOnAfterAFailure)
{
    EXPECT_EQ(RunTool({"eval", "1", "(-9223372036854775807 - 1) / -1", "2"}),
              (ProgramResult{1, "1\n2\n",
                             "<argument 2>:1:31: error: Division fault: -9223372036854775808 divided by -1 is beyond "
                             "int64\n"
                             "(-9223372036854775807 - 1) / -1\n"
                             "                              ^\n"}));
}

TEST(Eval, CutsAVeryLongLineAroundThePlace)
{
    const std::string ones(200, '1');
    const std::string text = "'" + ones + "' ? '" + ones + "'";
    EXPECT_EQ(RunTool({"eval", text}).m_errors, "<argument 1>:1:408: error: Expected : when read end of text\n..." +
                                                    std::string(119, '1') + "'\n" + std::string(123, ' ') + "^\n");
    EXPECT_EQ(RunTool({"eval", "? '" + ones + "'"}).m_errors,
              "<argument 1>:1:1: error: Unexpected ? after start of text in expression\n? '" + std::string(77, '1') +
                  "...\n^\n");
}

TEST(Eval, EvaluatesDeeplyNestedText)
{
    const std::string open(200000, '(');
    const std::string close(200000, ')');
    const ProgramResult result = RunTool({"eval"}, open + "1" + close);
    EXPECT_EQ(result.m_exitCode, 0);
    EXPECT_EQ(result.m_output, "1\n");
}

// --- Input

constexpr char s_lines[] = "1 + 1\n"
                           "\n"
                           "# a comment\n"
                           "   // another\n"
                           "/* and */\n"
                           "  2.5 *\r\n"
                           "'windows'\r\n"
                           "(1 +\n"
                           "7";

const ProgramResult ResultOfLines(const std::string& name)
{
    return {1, "2\nwindows\n7\n",
            name + ":6:8: error: Unexpected end of text after * in expression\n  2.5 *\n       ^\n" + name +
                ":8:5: error: Unexpected end of text after + in expression\n(1 +\n    ^\n"};
}

TEST(Eval, ReadsStandardInputByLines)
{
    EXPECT_EQ(RunTool({"eval"}, s_lines), ResultOfLines("<stdin>"));
    EXPECT_EQ(RunTool({"eval", "-f", "-"}, s_lines), ResultOfLines("<stdin>"));
    EXPECT_EQ(RunTool({"eval"}, ""), (ProgramResult{0, "", ""}));
}

TEST(Eval, ReadsStandardInputForADash)
{
    EXPECT_EQ(RunTool({"eval", "-"}, "1\n2\n"), (ProgramResult{0, "1\n2\n", ""}));
}

TEST(Eval, TakesAWholeTextAsOneExpression)
{
    const std::string text = "(1 + // one\n  2)\n* 3\n";
    const TemporaryFolder folder;
    const ProgramResult nine{0, "9\n", ""};
    EXPECT_EQ(RunTool({"eval", "--whole"}, text), nine);
    EXPECT_EQ(RunTool({"eval", "--whole", "-"}, text), nine);
    EXPECT_EQ(RunTool({"eval", "--whole", "-f", folder.MakeFile("whole.ks", text)}), nine);
    EXPECT_EQ(RunTool({"eval", "--whole", "--json"}, "1\n+\n"),
              (ProgramResult{1,
                             "{\"error\":{\"kind\":\"syntax\",\"message\":\"Unexpected end of text after + in "
                             "expression\",\"line\":3,\"column\":1}}\n",
                             ""}));
    EXPECT_EQ(RunTool({"eval", "--whole"}, "# nothing\n").m_exitCode, 1);
    EXPECT_EQ(RunTool({"eval", "--whole", "-f", "/nowhere"}).m_exitCode, 1);
}

TEST(Eval, PassesAByteOrderMark)
{
    EXPECT_EQ(RunTool({"eval"}, "\xEF\xBB\xBF"
                                "1 + 1\r\n$\r\n"),
              (ProgramResult{1, "2\n", "<stdin>:2:1: error: Unexpected $ after start of text in expression\n$\n^\n"}));
    EXPECT_EQ(RunTool({"eval"}, "\xEF\xBB\xBF"), (ProgramResult{0, "", ""}));
    EXPECT_EQ(RunTool({"eval", "--whole"}, "\xEF\xBB\xBF"
                                           "2")
                  .m_output,
              "2\n");
}

// One error, and not one a line.
TEST(Eval, RefusesWhatIsNoText)
{
    EXPECT_EQ(RunTool({"eval", "-f", KELM_TOOL_TYPES}),
              (ProgramResult{1, "", "kelmscript: error: cannot read " KELM_TOOL_TYPES ": it is no text\n"}));
    EXPECT_EQ(RunTool({"eval"}, std::string("\xFF\xFE"
                                            "1\0\n\0",
                                            6)),
              (ProgramResult{1, "", "kelmscript: error: cannot read <stdin>: it is no text\n"}));
    EXPECT_EQ(RunTool({"repl"}, std::string("\xFF\xFE"
                                            "1\0\n\0",
                                            6)),
              (ProgramResult{1, "", "kelmscript: error: cannot read <stdin>: it is no text\n"}));
    // However much of a text stands before it.
    std::string lines;
    while (lines.size() < 200000)
        lines += "1\n";
    const ProgramResult late = RunTool({"eval"}, lines + std::string("\xFF\xFE\n\0\xFF\n\xFF\n\0", 9) + lines);
    EXPECT_EQ(late.m_errors, "kelmscript: error: cannot read <stdin>: it is no text\n");
    EXPECT_TRUE(lines.starts_with(late.m_output));
    // NUL alone, or octets that are no character, may stand in texts.
    EXPECT_EQ(RunTool({"eval"}, std::string("len('') == '\0'\n", 15)).m_errors.find("no text"), std::string::npos);
    EXPECT_EQ(RunTool({"eval"}, "'\xFF'\n"), (ProgramResult{0, "\xFF\n", ""}));
}

TEST(Eval, ReadsAFileByLines)
{
    const TemporaryFolder folder;
    const std::string file = folder.MakeFile("lines.ks", s_lines);
    EXPECT_EQ(RunTool({"eval", "-f", file}), ResultOfLines(file));
    EXPECT_EQ(RunTool({"eval", "--file", file}), ResultOfLines(file));
}

TEST(Eval, FailsWhereTheFileCannotBeRead)
{
    EXPECT_EQ(RunTool({"eval", "-f", "/nowhere/x.ks"}),
              (ProgramResult{1, "", "kelmscript: error: cannot read /nowhere/x.ks: No such file or directory\n"}));
    EXPECT_EQ(RunTool({"eval", "-f", "/"}),
              (ProgramResult{1, "", "kelmscript: error: cannot read /: Is a directory\n"}));
}

// --- JSON

struct JsonRow
{
    std::string m_expression;
    int m_exitCode;
    std::string m_output;
};

const JsonRow s_json[] = {
    {"-7", 0, R"({"value":-7,"kind":"int64"})"},
    {"9223372036854775807", 0, R"({"value":9223372036854775807,"kind":"int64"})"},
    {"1.0", 0, R"({"value":1.0,"kind":"float64"})"},
    {"0.1", 0, R"({"value":0.1,"kind":"float64"})"},
    {"1e300 * 1e300", 0, R"({"value":"inf","kind":"float64"})"},
    {"-1.5e300 * 1e300", 0, R"({"value":"-inf","kind":"float64"})"},
    {"true", 0, R"({"value":true,"kind":"bool"})"},
    {"'a\"\\n'", 0, R"({"value":"a\"\n","kind":"string"})"},
    {"'\\xFF'", 0, "{\"value\":\"\xEF\xBF\xBD\",\"kind\":\"string\"}"},
    {"1 / 0", 1, R"({"error":{"kind":"value","message":"Division by zero error","line":1,"column":5}})"},
    {"'\xC3\xA4' 2", 1,
     R"({"error":{"kind":"syntax","message":"Expected end of text when read 2","line":1,"column":5}})"},
    {"(-9223372036854775807 - 1) / -1", 1,
     R"({"error":{"kind":"division","message":"Division fault: -9223372036854775808 divided by -1 is beyond int64",)"
     R"("line":1,"column":31}})"},
};

TEST(EvalJson, IsOneObjectOnALine)
{
    for (const JsonRow& row : s_json)
        EXPECT_EQ(RunTool({"eval", "--json"}, row.m_expression + "\n"),
                  (ProgramResult{row.m_exitCode, row.m_output + "\n", ""}));
}

// What is wrong with names and data, too.
TEST(Eval, TellsOtherErrorsInJson)
{
    EXPECT_EQ(RunTool({"eval", "--json", "--set", "a=1/0", "a"}),
              (ProgramResult{1,
                             "{\"error\":{\"kind\":\"arithmetic\",\"message\":\"Division by zero error\","
                             "\"line\":1,\"column\":2}}\n",
                             ""}));
    EXPECT_EQ(RunTool({"eval", "--json", "-f", "/nowhere"}),
              (ProgramResult{1,
                             "{\"error\":{\"kind\":\"file\",\"message\":\"cannot read /nowhere: No such file or "
                             "directory\"}}\n",
                             ""}));
    EXPECT_EQ(RunTool({"eval", "--json", "--set", "1", "a"}).m_output, ""); // wrong usage is none of a value
}

TEST(Eval, CountsLinesInJson)
{
    EXPECT_EQ(RunTool({"eval", "--json"}, "1\n\n$\n"),
              (ProgramResult{1,
                             "{\"value\":1,\"kind\":\"int64\"}\n"
                             "{\"error\":{\"kind\":\"syntax\",\"message\":\"Unexpected $ after start of text in "
                             "expression\",\"line\":3,\"column\":1}}\n",
                             ""}));
}

TEST(Eval, TellsAFailedAssertionInJson)
{
    EXPECT_THAT(RunTool({"eval", "--json", "len('a')"}).m_output,
                ::testing::MatchesRegex("\\{\"error\":\\{\"kind\":\"assertion\",\"message\":\"assertion failed: 0 "
                                        "\\(src/KSValue:[0-9]+\\)\",\"line\":1,\"column\":8\\}\\}\n"));
}

// --- Terminals

TEST(Eval, ColoursErrorsOnATerminalAlone)
{
    const std::vector<std::string> command = ToolCommand({"eval", "1/0"});
    const std::string plain = "<argument 1>:1:3: error: Division by zero error\r\n1/0\r\n  ^\r\n";
    const std::string coloured = "\033[1m<argument 1>:1:3: \033[0m\033[1;31merror: \033[0m"
                                 "\033[1mDivision by zero error\033[0m\r\n1/0\r\n  \033[1;32m^\033[0m\r\n";
    EXPECT_EQ(Terminal(command, {{"TERM", "xterm"}, {"NO_COLOR", ""}}).ReadToEnd(), coloured);
    EXPECT_EQ(Terminal(command, {{"TERM", "xterm"}, {"NO_COLOR", "1"}}).ReadToEnd(), plain);
    EXPECT_EQ(
        Terminal(ToolCommand({"eval", "--color", "never", "1/0"}), {{"TERM", "xterm"}, {"NO_COLOR", ""}}).ReadToEnd(),
        plain);
    EXPECT_THAT(RunTool({"eval", "--color=always", "1/0"}, "", {{"NO_COLOR", "1"}}).m_errors,
                ::testing::StartsWith("\033[1m<argument 1>:1:3: \033[0m\033[1;31merror: "));
    EXPECT_EQ(Terminal(command, {{"TERM", "dumb"}, {"NO_COLOR", ""}}).ReadToEnd(), plain);
    EXPECT_EQ(Terminal(command, {{"TERM", ""}, {"NO_COLOR", ""}}).ReadToEnd(), plain);
}

// A program that feeds expressions one by one gets each value before it gives the next.
TEST(Eval, AnswersEachLineAtOnce)
{
    Terminal terminal(ToolCommand({"eval"}), {{"TERM", "dumb"}});
    terminal.Type("6 * 7\n");
    EXPECT_EQ(terminal.ReadUntil("42\r\n"), "6 * 7\r\n42\r\n");
    terminal.Type("\x04");
    EXPECT_EQ(terminal.Wait(), 0);
}

} // namespace

} // namespace kelm
