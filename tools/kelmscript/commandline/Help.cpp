#include "Help.h"

#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "Commands.h"

#include <algorithm>

namespace kelm::tool
{

namespace
{

constexpr std::string_view s_ending =
    R"(Exit codes: 0 when all went well, 1 when an expression, a file or a name failed, 2 for wrong usage.
Modules are also loaded from the environment variable KELMSCRIPT_MODULES, colons between them: whole paths, or names of
files in the folders of KELMSCRIPT_MODULE_PATH.

Examples:
  kelmscript eval '2 ^^ 10'
  kelmscript --module ./libklExampleShapes.so check scene.kds
  kelmscript SUBCOMMAND --help
)";

// Two columns under a heading.
class Section
{
public:
    explicit Section(std::string_view heading) : m_heading(heading) {}

    void Add(std::string left, std::string_view right) { m_rows.push_back({std::move(left), right}); }

    void Write() const
    {
        if (m_rows.empty())
            return;
        std::size_t width = 0;
        for (const Row& row : m_rows)
            width = std::max(width, row.m_left.size());
        Put("\n");
        PutLine(m_heading);
        for (const Row& row : m_rows)
        {
            Put("  " + row.m_left + std::string(width - row.m_left.size() + 2, ' '));
            PutLine(row.m_right);
        }
    }

private:
    struct Row
    {
        std::string m_left;
        std::string_view m_right;
    };
    std::string_view m_heading;
    std::vector<Row> m_rows;
};

std::string Left(const OptionRow& row)
{
    std::string text = row.m_letter != 0 ? std::string{'-', row.m_letter, ',', ' '} : "    ";
    text += row.m_name;
    if (!row.m_argument.empty())
        text += " ";
    text += row.m_argument;
    return text;
}

void PutOptions(const CommandRow* command)
{
    Section options("Options:");
    ForEachOption(command, [&](const OptionRow& row) { options.Add(Left(row), row.m_summary); });
    options.Write();
}

void PutHelpOfTool()
{
    PutLine("Evaluates KelmScript expressions and reads, checks and changes data sources.\n");
    PutLine("Usage: kelmscript SUBCOMMAND [OPTION...] [ARGUMENT...]");
    Section commands("Subcommands:");
    for (const CommandRow& row : GetCommands())
        commands.Add(std::string(row.m_name), row.m_summary);
    commands.Write();
    PutOptions(nullptr);
    Put("\n");
    Put(s_ending);
}

void PutHelpOf(const CommandRow& command)
{
    PutLine(std::string(command.m_summary) + ".\n");
    std::string usage = "Usage: kelmscript " + std::string(command.m_name) + " [OPTION...]";
    Section arguments("Arguments:");
    for (const ArgumentRow& row : command.m_arguments)
    {
        usage += " " + UsageOf(row);
        arguments.Add(std::string(row.m_name), row.m_summary);
    }
    PutLine(usage);
    arguments.Write();
    PutOptions(&command);
    PutLine("\nExamples:");
    Put(command.m_examples);
}

} // namespace

std::string UsageOf(const ArgumentRow& argument)
{
    std::string text(argument.m_name);
    if (argument.m_destination.m_texts != nullptr)
        text += "...";
    return argument.m_isRequired ? text : "[" + text + "]";
}

void PutHelp(const CommandRow* command)
{
    if (command == nullptr)
        PutHelpOfTool();
    else
        PutHelpOf(*command);
}

int RunHelp(const Options& options)
{
    const CommandRow* const command = FindCommand(options.m_name);
    if (command == nullptr && !options.m_name.empty())
        return ReportUsage(NoSubcommand(options.m_name));
    PutHelp(command);
    return EXIT_OK;
}

} // namespace kelm::tool
