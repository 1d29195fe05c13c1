#include "Options.h"

#include "Suggest.h"

#include "DataSources.h"
#include "Eval.h"
#include "Repl.h"
#include "Types.h"

#include <klUtils/types.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>

namespace kelm::tool
{

namespace
{

constexpr ConstStringZ s_description = "Evaluates KelmScript expressions and reads, checks and changes data sources.";

constexpr ConstStringZ s_exitCodes =
    R"(Exit codes: 0 when all went well, 1 when an expression, a file or a name failed, 2 for wrong usage.
Modules are also loaded from the environment variable KELMSCRIPT_MODULES, colons between them.

Examples:
  kelmscript eval '2 ^^ 10'
  kelmscript --module ./libklExampleShapes.so check scene.kds
  kelmscript SUBCOMMAND --help)";

constexpr ConstStringZ s_evalExamples = R"(Examples:
  kelmscript eval '1 + 2 * 3' 'sin(0.5)'
  kelmscript eval --type '7 / 2' '7 / 2.5'
  kelmscript eval --json '1 / 0'
  kelmscript eval -f expressions.ks
  echo '2 ^^ 10' | kelmscript eval)";

constexpr ConstStringZ s_replExamples = R"(Examples:
  kelmscript repl
  kelmscript repl --module ./libklExampleShapes.so
  printf '1 + 2\n:type 1.5\n' | kelmscript repl)";

constexpr ConstStringZ s_checkExamples = R"(Examples:
  kelmscript check --module ./libklExampleShapes.so scene.kds people.kds)";

constexpr ConstStringZ s_printExamples = R"(Examples:
  kelmscript print --module ./libklExampleShapes.so scene.kds
  kelmscript print --json scene.kds | jq .)";

constexpr ConstStringZ s_getExamples = R"(Examples:
  kelmscript get scene.kds .title
  kelmscript get --json scene.kds '.shapes[1].position')";

constexpr ConstStringZ s_setExamples = R"(Examples:
  kelmscript set scene.kds .title '"Harbour"'
  kelmscript set -i scene.kds '.shapes[1].position.x' -2.5
  kelmscript set -i --replace scene.kds .shapes '[]')";

constexpr ConstStringZ s_typesExamples = R"(Examples:
  kelmscript types --module ./libklExampleShapes.so
  kelmscript types KSValue)";

CLI::App* AddCommand(CLI::App& app, Options& options, ConstStringZ name, ConstStringZ description,
                     ConstStringZ examples, int (*run)(const Options&))
{
    CLI::App* const command = app.add_subcommand(name, description);
    command->footer(examples);
    command->callback([&options, run] { options.m_run = run; });
    return command;
}

void AddEval(CLI::App& app, Options& options)
{
    CLI::App* const command = AddCommand(app, options, "eval", "Evaluate expressions", s_evalExamples, RunEval);
    CLI::Option* const expressions =
        command->add_option("EXPR", options.m_expressions, "Expressions; without any, one a line of standard input");
    command->add_option("-f,--file", options.m_file, "Evaluate a file, one expression a line; - is standard input")
        ->excludes(expressions);
    CLI::Option* const type = command->add_flag("--type", options.m_type, "Write the kind before each value");
    command->add_flag("--json", options.m_json, "Write one JSON object a line: value and kind, or error")
        ->excludes(type);
}

void AddRepl(CLI::App& app, Options& options)
{
    AddCommand(app, options, "repl", "Evaluate expressions at a prompt", s_replExamples, RunRepl);
}

void AddFile(CLI::App* command, Options& options)
{
    command->add_option("FILE", options.m_file, "A data source; - is standard input")->required();
}

void AddPath(CLI::App* command, Options& options)
{
    command->add_option("PATH", options.m_path, "The field, as in .items[3].name")->required();
}

void AddCheck(CLI::App& app, Options& options)
{
    CLI::App* const command =
        AddCommand(app, options, "check", "Read data sources and report their errors", s_checkExamples, RunCheck);
    command->add_option("FILE", options.m_files, "Data sources; - is standard input")->required();
}

void AddPrint(CLI::App& app, Options& options)
{
    CLI::App* const command =
        AddCommand(app, options, "print", "Read a data source and write it back", s_printExamples, RunPrint);
    AddFile(command, options);
    CLI::Option* const json = command->add_flag("--json", options.m_json, "Write JSON");
    command->add_flag("--compact", options.m_compact, "Write one line")->excludes(json);
}

void AddGet(CLI::App& app, Options& options)
{
    CLI::App* const command =
        AddCommand(app, options, "get", "Write the type and value of a field", s_getExamples, RunGet);
    AddFile(command, options);
    AddPath(command, options);
    command->add_flag("--json", options.m_json, "Write a JSON object: type and value");
}

void AddSet(CLI::App& app, Options& options)
{
    CLI::App* const command =
        AddCommand(app, options, "set", "Change a field and write the whole data source", s_setExamples, RunSet);
    AddFile(command, options);
    AddPath(command, options);
    command->add_option("VALUE", options.m_value, "The value, as data sources write it; containers grow by it")
        ->required();
    command->add_flag("-i,--in-place", options.m_inPlace, "Write to the file itself, whole or not at all");
    command->add_flag("--replace", options.m_replace, "Empty the field first");
    command->add_flag("--compact", options.m_compact, "Write one line");
}

void AddTypes(CLI::App& app, Options& options)
{
    CLI::App* const command =
        AddCommand(app, options, "types", "List what is registered, or show one type", s_typesExamples, RunTypes);
    command->add_option("NAME", options.m_name, "A type or function, qualified or the last part of its name");
}

// The library that reads the command line takes -5 for an option and [1] for a list. Such arguments are values here:
// a mark in front hides them, and is taken off again.
constexpr char s_valueMark = '\x1f';

bool IsOption(const std::string& argument)
{
    const auto isLetter = [&](std::size_t i)
    { return i < argument.size() && std::isalpha(static_cast<unsigned char>(argument[i])) != 0; };
    const bool isShort = argument.size() == 2 && isLetter(1);
    return argument.starts_with("--") ? argument.size() == 2 || isLetter(2) : isShort;
}

std::vector<std::string> MarkValues(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    for (std::string& argument : arguments)
    {
        if (argument == "--")
            break;
        const bool looksLikeOption = argument.starts_with('-') && argument.size() > 1;
        if ((looksLikeOption && !IsOption(argument)) || argument.starts_with('['))
            argument.insert(argument.begin(), s_valueMark);
    }
    return arguments;
}

void UnmarkValues(Options& options)
{
    const auto unmark = [](std::string& text)
    {
        if (text.starts_with(s_valueMark))
            text.erase(0, 1);
    };
    for (std::vector<std::string>* texts : {&options.m_expressions, &options.m_files, &options.m_modules})
        std::for_each(texts->begin(), texts->end(), unmark);
    for (std::string* text : {&options.m_file, &options.m_path, &options.m_value, &options.m_name})
        unmark(*text);
}

} // namespace

namespace
{

// The library says no more than that there must be a subcommand, whatever stands in its place.
CLI::ParseError NoSubcommand(const CLI::App& app, const std::string& word)
{
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(command->get_name());
    if (word.starts_with('-'))
        return CLI::ParseError("The following argument was not expected: " + word, CLI::ExitCodes::ExtrasError);
    std::string message = word + " is no subcommand";
    if (const std::string question = DidYouMean(NearestNames(word, names)); !question.empty())
        message += "; " + question;
    return CLI::ParseError(message, CLI::ExitCodes::RequiredError);
}

} // namespace

Options ParseOptions(int argc, char** argv, int& exitCode)
{
    Options options;
    CLI::App app(s_description, "kelmscript");
    app.footer(s_exitCodes);
    app.require_subcommand(1);
    app.fallthrough(); // inherited: options of the tool may stand behind the subcommand
    app.set_version_flag("--version", "kelmscript " KELM_VERSION);
    app.add_option("--module", options.m_modules, "Load a library that registers types (repeatable)")
        ->type_name("LIB.so")
        ->allow_extra_args(false);
    for (const auto add : {AddEval, AddRepl, AddCheck, AddPrint, AddGet, AddSet, AddTypes})
        add(app, options);

    exitCode = EXIT_OK;
    try
    {
        std::vector<std::string> arguments = MarkValues(argc, argv);
        std::reverse(arguments.begin(), arguments.end()); // as CLI::App::parse wants them
        app.parse(std::move(arguments));
        UnmarkValues(options);
    }
    catch (const CLI::ParseError& e)
    {
        const std::vector<std::string> rest = app.remaining();
        const bool isNoSubcommand =
            dynamic_cast<const CLI::RequiredError*>(&e) != nullptr && app.get_subcommands().empty() && !rest.empty();
        exitCode = app.exit(isNoSubcommand ? NoSubcommand(app, rest.front()) : e) == EXIT_OK ? EXIT_OK : EXIT_USAGE;
        options.m_run = nullptr;
    }
    return options;
}

} // namespace kelm::tool
