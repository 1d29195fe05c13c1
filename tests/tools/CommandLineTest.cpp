#include "Tool.h"

#include <klUtils/Version.h>
#include <support/Terminal.h>

#include <gmock/gmock.h>

namespace kelm
{

namespace
{

using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr char s_runHelp[] = "Run with --help for more information.\n";

TEST(CommandLine, TellsTheVersion)
{
    for (const char* option : {"--version", "-V"})
        EXPECT_EQ(RunTool({option}), (ProgramResult{0, "kelmscript " KELM_VERSION_TEXT "\n", ""}));
}

TEST(CommandLine, HelpNamesTheSubcommandsAndExitCodes)
{
    const ProgramResult result = RunTool({"--help"});
    EXPECT_EQ(result.m_exitCode, 0);
    EXPECT_EQ(result.m_errors, "");
    for (const char* part :
         {"eval ", "each ", "repl ", "check ", "print ", "get ", "set ", "unset ", "add ", "mv ", "types ",
          "--module LIB.so", "--version", "KELMSCRIPT_MODULES", "Exit codes: 0 ", "Examples:\n"})
        EXPECT_THAT(result.m_output, HasSubstr(part));
}

TEST(CommandLine, EachSubcommandHasHelpWithExamples)
{
    for (const std::string command : {"eval", "each", "repl", "check", "print", "get", "set", "unset", "add", "mv",
                                      "fmt", "types", "completion", "help", "manual"})
    {
        const ProgramResult result = RunTool({command, "--help"});
        EXPECT_EQ(RunTool({command, "-h"}), result);
        EXPECT_EQ(RunTool({"help", command}), result);
        EXPECT_EQ(result.m_exitCode, 0);
        EXPECT_EQ(result.m_errors, "");
        EXPECT_THAT(result.m_output, HasSubstr("Usage: kelmscript " + command));
        EXPECT_THAT(result.m_output, HasSubstr("Examples:\n  "));
    }
}

TEST(CommandLine, HelpIsASubcommandToo)
{
    EXPECT_EQ(RunTool({"help"}), RunTool({"--help"}));
    EXPECT_EQ(RunTool({"help", "chekc"}),
              (ProgramResult{2, "", "kelmscript: error: chekc is no subcommand; did you mean check?\n"}));
}

struct UsageRow
{
    std::vector<std::string> m_arguments;
    std::string m_error;
};

const UsageRow s_usages[] = {
    {{}, "A subcommand is required"},
    {{"evla", "1"}, "evla is no subcommand; did you mean eval?"},
    {{"frobnicate"}, "frobnicate is no subcommand"},
    {{"-x"}, "The following argument was not expected: -x"},
    {{"-x", "--yes", "eval", "1"}, "The following arguments were not expected: -x --yes"},
    {{"types", "a", "b"}, "The following argument was not expected: b"},
    {{"eval", "-f", "a", "--file=b"}, "--file is given twice"},
    {{"eval", "--json=1", "1"}, "--json takes no value"},
    {{"eval", "-f", "--json"}, "--file: 1 required FILE missing"},
    {{"eval", "--color", "sometimes", "1"}, "--color: sometimes is none of auto, always and never"},
    {{"get", "file", ".x", "--raw", "--json"}, "--json excludes --raw"},
    {{"eval", "--max-size", "large", "1"}, "--max-size: large is no size, such as 4096, 64M or 2G"},
    {{"eval", "--max-size", "1T", "1"}, "--max-size: 1T is no size, such as 4096, 64M or 2G"},
    {{"eval", "--max-size", "9999999999999999999", "1"},
     "--max-size: 9999999999999999999 is no size, such as 4096, 64M or 2G"},
    {{"eval", "--bar"}, "The following argument was not expected: --bar"},
    {{"eval", "-x"}, "The following argument was not expected: -x"},
    {{"eval", "-f", "a", "1"}, "EXPR excludes --file"},
    {{"eval", "--json", "--type", "1"}, "--type excludes --json"},
    {{"eval", "--json", "--raw", "1"}, "--json excludes --raw"},
    {{"eval", "--raw", "--type", "1"}, "--raw excludes --type"},
    {{"eval", "--set"}, "--set: 1 required NAME=EXPR missing"},
    {{"each", "it"}, "FILE is required"},
    {{"each"}, "EXPR is required"},
    {{"each", "it", "a", "b"}, "The following argument was not expected: b"},
    {{"set", "file", ".x", "1", "-i", "--json"}, "--json excludes --in-place"},
    {{"completion"}, "SHELL is required"},
    {{"repl", "1"}, "The following argument was not expected: 1"},
    {{"check"}, "FILE is required"},
    {{"get", "file"}, "PATH is required"},
    {{"set", "file", ".x"}, "VALUE is required"},
    {{"unset", "file"}, "PATH is required"},
    {{"add", "file", ".x"}, "VALUE is required"},
    {{"mv", "file", ".x"}, "TO is required"},
    {{"print", "file", "--json", "--compact"}, "--json excludes --compact"},
    {{"eval", "--module"}, "--module: 1 required LIB.so missing"},
    // Standard input has one end.
    {{"check", "-", "-"}, "standard input is named twice"},
    {{"each", "it", "-", "--data", "x=-"}, "standard input is named twice"},
    {{"eval", "--data=-", "--data", "x=-", "1"}, "standard input is named twice"},
    {{"eval", "--data", "-", "-f", "-"}, "standard input is named twice"},
};

TEST(WrongUsage, LeavesWithTwo)
{
    for (const UsageRow& row : s_usages)
        EXPECT_EQ(RunTool(row.m_arguments),
                  (ProgramResult{2, "", "kelmscript: error: " + row.m_error + "\n" + s_runHelp}));
}

TEST(CommandLine, TellsThatNoModuleIsLoadedWhereNoClassIsKnown)
{
    const ProgramResult result = RunTool({"check", "-"}, "garden.Plan {}");
    EXPECT_EQ(result.m_exitCode, 1);
    EXPECT_THAT(result.m_errors,
                HasSubstr(":1:8: note: no class is registered yet: name the module that describes it by "
                          "--module or in KELMSCRIPT_MODULES\n"));
}

TEST(CommandLine, RefusesToWriteStandardInputInPlace)
{
    const std::vector<std::vector<std::string>> commands = {{"set", "-i", "-", ".x", "1"},
                                                            {"unset", "-i", "-", ".x"},
                                                            {"add", "-i", "-", ".x", "1"},
                                                            {"mv", "-i", "-", ".x", ".y"}};
    for (const std::vector<std::string>& command : commands)
        EXPECT_EQ(RunTool(command, "X {}"),
                  (ProgramResult{2, "", "kelmscript: error: standard input cannot be written in place\n"}));
}

// --- Modules

struct ModuleRow
{
    std::string m_module;
    std::string m_why;
};

const ModuleRow s_modules[] = {
    {"/nowhere/libX.so", "cannot open shared object file: No such file or directory"},
    {"libNowhere.so", "cannot open shared object file: No such file or directory"},
    {"/nowhere/Shapes.so", "its name is not of the form libNAME.so"},
    {"/nowhere/libShapes.a", "its name is not of the form libNAME.so"},
    {KELM_LIBRARY_WITHOUT_TYPES, "it has no function Register_Project_klUtils"},
};

TEST(UnusableModule, IsReported)
{
    for (const ModuleRow& row : s_modules)
    {
        const ProgramResult expected{2, "",
                                     "kelmscript: error: cannot load module " + row.m_module + ": " + row.m_why + "\n"};
        EXPECT_EQ(RunTool({"eval", "--module", row.m_module, "1"}), expected);
        EXPECT_EQ(RunTool({"--module", row.m_module, "eval", "1"}), expected);
        if (row.m_module.starts_with('/'))
        {
            EXPECT_EQ(RunTool({"eval", "1"}, "", {{"KELMSCRIPT_MODULES", row.m_module}}), expected);
        }
    }
}

TEST(CommandLine, TakesValuesOfOptionsBehindAnEqualsSign)
{
    EXPECT_EQ(RunTool({"types", "--module=" KELM_TOOL_TYPES, "tool::Sealed"}),
              RunToolWithTypes({"types", "tool::Sealed"}));
}

// --- What lies in the current folder is someone else's

ProgramResult RunToolIn(const std::string& folder, const std::vector<std::string>& arguments,
                        EnvironmentChanges changes = {})
{
    std::vector<std::string> command = {"/bin/sh", "-c", "cd \"$0\" && exec \"$@\"", folder, KELMSCRIPT};
    command.insert(command.end(), arguments.begin(), arguments.end());
    changes.insert({{"KELMSCRIPT_MODULES", ""}, {"LC_ALL", "C"}});
    return RunProgram(command, {}, changes);
}

TEST(HostileFolder, GivesTheToolNoLibrary)
{
    const TemporaryFolder folder;
    for (const char* library : {"libc.so.6", "libm.so.6", "libgcc_s.so.1", "libstdc++.so.6", "libreadline.so.8",
                                "libtinfo.so.6", "libklUtils.so", "libklMacroExpander.so", "libkelmscriptPrompt.so"})
        folder.MakeFile(library, "no library");
    EXPECT_EQ(RunToolIn(folder.GetPath(), {"eval", "1 + 1"}), (ProgramResult{0, "2\n", ""}));
    Terminal prompt({"/bin/sh", "-c", "cd \"$0\" && exec \"$@\"", folder.GetPath(), KELMSCRIPT, "repl"},
                    {{"TERM", "dumb"}, {"XDG_STATE_HOME", folder.GetPath()}, {"INPUTRC", "/dev/null"}});
    EXPECT_THAT(prompt.ReadUntil("kelm> "), StartsWith("kelmscript " KELM_VERSION_TEXT ", :help for help\r\n"));
    prompt.Type("\x04");
    EXPECT_EQ(prompt.Wait(), 0);
}

TEST(HostileFolder, GivesTheEnvironmentNoModule)
{
    const std::filesystem::path module = KELM_TOOL_TYPES;
    const std::string folder = module.parent_path();
    const std::string name = module.filename();
    for (const std::string path : {"", "relative", "."})
        EXPECT_EQ(RunToolIn(folder, {"types"}, {{"KELMSCRIPT_MODULES", name}, {"KELMSCRIPT_MODULE_PATH", path}}),
                  (ProgramResult{2, "",
                                 "kelmscript: error: cannot load module " + name +
                                     ": no folder of KELMSCRIPT_MODULE_PATH has it\n"}));
    EXPECT_EQ(RunToolIn(folder, {"types"}, {{"KELMSCRIPT_MODULES", "./" + name}}),
              (ProgramResult{2, "",
                             "kelmscript: error: cannot load module ./" + name +
                                 ": KELMSCRIPT_MODULES holds whole paths, and names of files in "
                                 "KELMSCRIPT_MODULE_PATH\n"}));
}

TEST(Module, IsFoundInTheFoldersThatTheEnvironmentNames)
{
    const std::filesystem::path module = KELM_TOOL_TYPES;
    EXPECT_EQ(RunTool({"types"}, "",
                      {{"KELMSCRIPT_MODULES", module.filename()},
                       {"KELMSCRIPT_MODULE_PATH", "/nowhere::" + module.parent_path().string()}}),
              RunToolWithTypes({"types"}));
}

TEST(Module, IsLoadedFromTheCommandLineAndTheEnvironment)
{
    const std::string module = KELM_TOOL_TYPES;
    const ProgramResult ok = RunTool({"types", "--module", module});
    EXPECT_EQ(ok.m_exitCode, 0);
    EXPECT_EQ(ok.m_errors, "");
    EXPECT_NE(ok, RunTool({"types"}));
    EXPECT_EQ(RunTool({"--module", module, "--module", module, "types"}), ok);
    EXPECT_EQ(RunTool({"types"}, "", {{"KELMSCRIPT_MODULES", ":" + module + "::" + module}}), ok);
}

// A name without a slash is that of a file here.
TEST(Module, IsFoundInTheCurrentFolder)
{
    const std::filesystem::path module = KELM_TOOL_TYPES;
    const std::string change = "cd \"" + module.parent_path().string() + "\" && exec \"$0\" \"$@\"";
    const ProgramResult result =
        RunProgram({"/bin/sh", "-c", change, KELMSCRIPT, "types", "--module", module.filename()});
    EXPECT_EQ(result, RunTool({"types", "--module", module}));
}

TEST(Module, WhoseRegistrationFailsIsReported)
{
    const ProgramResult result = RunTool({"--module", KELM_TOOL_TYPES, "--module", KELM_TOOL_CLASH, "types"});
    EXPECT_EQ(result.m_exitCode, 2);
    EXPECT_EQ(result.m_output, "");
    EXPECT_THAT(result.m_errors, StartsWith("kelmscript: error: cannot load module " KELM_TOOL_CLASH
                                            ": Register_Project_klToolClash fails: assertion failed: "));
}

} // namespace

} // namespace kelm
