#pragma once

// The command line tool as tests run it.

#include <support/RunProgram.h>
#include <support/TemporaryFolder.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

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

} // namespace kelm
