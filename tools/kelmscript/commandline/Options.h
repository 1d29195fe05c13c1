#pragma once

#include <string>
#include <vector>

namespace kelm::tool
{

// What the command line asks for.
struct Options
{
    int (*m_run)(const Options&) = nullptr; // the subcommand; gives the exit code
    bool m_needsTypes = true;               // whether it looks at any types

    std::vector<std::string> m_modules;
    std::vector<std::string> m_catalogues;
    std::vector<std::string> m_expressions;
    std::vector<std::string> m_files;
    std::vector<std::string> m_data;
    std::vector<std::string> m_settings;
    std::vector<std::string> m_more;
    std::string m_expression;
    std::string m_list;
    std::string m_where;
    std::string m_file;
    std::string m_path;
    std::string m_value;
    std::string m_name;
    std::string m_maxSize;
    std::string m_colour;
    std::string m_width;
    std::string m_indent;
    std::string m_dump;
    std::string m_to;
    std::string m_class;
    std::string m_typesFile;
    bool m_json = false;
    bool m_raw = false;
    bool m_type = false;
    bool m_whole = false;
    bool m_natural = false;
    bool m_compact = false;
    bool m_inPlace = false;
    bool m_replace = false;
    bool m_sarif = false;
    bool m_check = false;
    bool m_diff = false;
    bool m_toOutput = false;
    bool m_isWorker = false;
};

// The exit codes of the tool.
enum EExitCode
{
    EXIT_OK = 0,
    EXIT_FAILED = 1, // an expression, a file or a name
    EXIT_USAGE = 2,  // the command line, a module
};

// Reads the command line. Where that is all there is to do (help, version, an error, each already written), m_run is
// null and `exitCode` says how to leave.
Options ParseOptions(int argc, char** argv, int& exitCode);

} // namespace kelm::tool
