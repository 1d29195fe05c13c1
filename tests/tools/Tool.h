#pragma once

// The command line tool as tests run it.

#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <unistd.h>

namespace kelm
{

inline bool operator==(const ProgramResult& a, const ProgramResult& b)
{
    return a.m_exitCode == b.m_exitCode && a.m_output == b.m_output && a.m_errors == b.m_errors;
}

inline void PrintTo(const ProgramResult& result, std::ostream* os)
{
    *os << "exit code " << result.m_exitCode << "\n--- output\n"
        << result.m_output << "--- errors\n"
        << result.m_errors << "---";
}

inline std::vector<std::string> ToolCommand(const std::vector<std::string>& arguments)
{
    std::vector<std::string> command = {KELMSCRIPT};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

// Runs the tool in an environment that does not depend on who runs the tests.
inline ProgramResult RunTool(const std::vector<std::string>& arguments, const std::string& input = {},
                             EnvironmentChanges changes = {})
{
    changes.insert({{"KELMSCRIPT_MODULES", ""}, {"NO_COLOR", ""}, {"LC_ALL", "C"}});
    return RunProgram(ToolCommand(arguments), input, changes);
}

// The same with the types of modules/ToolTypes.h.
inline ProgramResult RunToolWithTypes(const std::vector<std::string>& arguments, const std::string& input = {})
{
    return RunTool(arguments, input, {{"KELMSCRIPT_MODULES", KELM_TOOL_TYPES}});
}

// Runs a shell's script, in which "$0" is the tool and "$1" a file, with these types.
inline ProgramResult RunScript(const std::string& script, const std::string& file = {})
{
    return RunProgram({"/bin/sh", "-c", script, KELMSCRIPT, file}, {},
                      {{"KELMSCRIPT_MODULES", KELM_TOOL_TYPES}, {"LC_ALL", "C"}, {"TERM", "dumb"}});
}

// What a script begins a command with that runs without privileges: who may do everything becomes nobody. The folder is
// opened to everyone. Nothing where nobody cannot run the tool.
inline std::optional<std::string> ExecUnprivileged(const TemporaryFolder& folder)
{
    if (geteuid() != 0)
        return "exec ";
    std::filesystem::permissions(folder.GetPath(), std::filesystem::perms::all);
    const std::string exec = "exec setpriv --reuid=65534 --regid=65534 --clear-groups ";
    return RunScript(exec + "\"$0\" eval 1").m_exitCode == 0 ? std::optional(exec) : std::nullopt;
}

} // namespace kelm
