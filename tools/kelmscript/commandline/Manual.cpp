#include "Manual.h"

#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "Commands.h"

#include <klUtils/Version.h>

#include <algorithm>
#include <iterator>

namespace kelm::tool
{

namespace
{

// --- The formatter's language

// Text as it is, whatever the formatter would take characters for.
std::string Escaped(std::string_view text)
{
    std::string escaped;
    bool isAtLineStart = true;
    for (const char c : text)
    {
        if (isAtLineStart && (c == '.' || c == '\''))
            escaped += "\\&";
        isAtLineStart = c == '\n';
        if (c == '\\')
            escaped += "\\e";
        else if (c == '-')
            escaped += "\\-";
        else
            escaped += c;
    }
    return escaped;
}

std::string Bold(std::string_view text)
{
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(std::string_view text)
{
    return "\\fI" + Escaped(text) + "\\fR";
}

void PutTitle(const std::string& name)
{
    std::string title = name;
    std::transform(title.begin(), title.end(), title.begin(),
                   [](char c) { return 'a' <= c && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
    PutLine(".TH " + title + " 1 \"\" \"KelmScript " KELM_VERSION_TEXT "\" \"User Commands\"");
}

void PutHeading(std::string_view heading)
{
    PutLine(".SH " + std::string(heading));
}

void PutEntry(const std::string& term, const std::string& text)
{
    PutLine(".TP");
    PutLine(term);
    PutLine(text);
}

// --- Sections

void PutName(const std::string& name, std::string_view summary)
{
    PutTitle(name);
    PutHeading("NAME");
    std::string lower(summary);
    lower[0] = static_cast<char>(lower[0] - 'A' + 'a');
    PutLine(Escaped(name) + " \\- " + Escaped(lower));
}

std::string Term(const OptionRow& row)
{
    std::string term = row.m_letter != 0 ? Bold(std::string{'-', row.m_letter}) + ", " : std::string();
    term += Bold(row.m_name);
    return row.m_argument.empty() ? term : term + " " + Italic(row.m_argument);
}

void PutOptions(std::span<const OptionRow> rows)
{
    for (const OptionRow& row : rows)
        PutEntry(Term(row), Escaped(row.m_summary) + ".");
}

void PutCommonOptions()
{
    PutOptions(GetCommonOptions());
    PutOptions(GetEverywhereOptions());
}

void PutExamples(std::string_view examples)
{
    PutHeading("EXAMPLES");
    PutLine(".nf");
    Put(Escaped(examples));
    PutLine(".fi");
}

void PutExitStatus()
{
    struct Row
    {
        const char* m_code;
        const char* m_meaning;
    };
    constexpr Row rows[] = {{"0", "All went well."},
                            {"1", "An expression, a file or a name failed."},
                            {"2", "Wrong usage, or a module that cannot be loaded."}};
    PutHeading("EXIT STATUS");
    for (const Row& row : rows)
        PutEntry(Bold(row.m_code), row.m_meaning);
}

void PutPageOfTool()
{
    PutName("kelmscript", "Evaluate expressions, and read, check and change data sources");
    PutHeading("SYNOPSIS");
    PutLine(Bold("kelmscript") + " " + Italic("SUBCOMMAND") + " [" + Italic("OPTION") + "]... [" + Italic("ARGUMENT") +
            "]...");
    PutHeading("DESCRIPTION");
    PutLine("Evaluates KelmScript expressions, alone or with the names of a program's data, and reads, checks, prints");
    PutLine("and changes data sources, whose classes come from modules.");
    PutHeading("SUBCOMMANDS");
    for (const CommandRow& row : GetCommands())
        PutEntry(Bold("kelmscript-" + std::string(row.m_name)) + "(1)", Escaped(row.m_summary) + ".");
    PutHeading("OPTIONS");
    PutCommonOptions();
    PutExitStatus();
    PutHeading("ENVIRONMENT");
    PutEntry(Bold("KELMSCRIPT_MODULES"),
             "Modules that are loaded first, with colons between them: whole paths, or names of files in the folders "
             "of\n" +
                 Bold("KELMSCRIPT_MODULE_PATH") + ".");
    PutEntry(Bold("NO_COLOR"), "Where it is set and not empty, errors are not coloured.");
    PutEntry(Bold("XDG_STATE_HOME"), "The folder in which the prompt keeps its history, kelmscript/history.");
}

void PutPageOf(const CommandRow& command)
{
    const std::string name(command.m_name);
    PutName("kelmscript-" + name, command.m_summary);
    PutHeading("SYNOPSIS");
    std::string usage = Bold("kelmscript " + name) + " [" + Italic("OPTION") + "]...";
    for (const ArgumentRow& row : command.m_arguments)
        usage += " " + Italic(UsageOf(row));
    PutLine(usage);
    PutHeading("DESCRIPTION");
    PutLine(Escaped(command.m_description));
    for (const ArgumentRow& row : command.m_arguments)
        PutEntry(Italic(row.m_name), Escaped(row.m_summary) + ".");
    PutHeading("OPTIONS");
    PutOptions(command.m_options);
    PutCommonOptions();
    PutExitStatus();
    PutExamples(command.m_examples);
    PutHeading("SEE ALSO");
    PutLine(Bold("kelmscript") + "(1)");
}

} // namespace

int RunManual(const Options& options)
{
    if (options.m_name.empty())
    {
        PutPageOfTool();
        return EXIT_OK;
    }
    const CommandRow* const command = FindCommand(options.m_name);
    if (command == nullptr)
        return ReportUsage(NoSubcommand(options.m_name));
    PutPageOf(*command);
    return EXIT_OK;
}

} // namespace kelm::tool
