#include "Commands.h"

#include "../commands/Check.h"
#include "../commands/Convert.h"
#include "../commands/Each.h"
#include "../commands/Edits.h"
#include "../commands/Eval.h"
#include "../commands/Format.h"
#include "../commands/Types.h"
#include "../files/DataSources.h"
#include "../lsp/Lsp.h"
#include "../repl/Repl.h"
#include "CompletionScripts.h"
#include "Help.h"
#include "Manual.h"

#include <kelm/private/errors/Suggest.h>

#include <algorithm>
#include <array>
#include <iterator>

namespace kelm::tool
{

namespace
{

constexpr OptionRow s_commonOptions[] = {
    {0, "--module", "LIB.so", &Options::m_modules, "Load a library that registers types (repeatable)"},
    {0, "--catalogue", "FILE", &Options::m_catalogues, "Take types from what types --dump wrote of them (repeatable)"},
    {0, "--max-size", "N", &Options::m_maxSize,
     "Refuse longer files, lines and dynamic arrays: octets, or with K, M or G behind; 1G unless given"},
    {0, "--color", "WHEN", &Options::m_colour,
     "Colour errors: always, never, or (auto) on a terminal without NO_COLOR"},
};

// Those that tell of the tool, and do nothing else.
constexpr OptionRow s_everywhereOptions[] = {
    {'h', "--help", "", static_cast<bool Options::*>(nullptr), "Write this help"},
    {'V', "--version", "", static_cast<bool Options::*>(nullptr), "Write the version"},
};

// What may be given where help has these names.
constexpr ValueRow s_values[] = {
    {"FILE", VALUES_FILES, {}},
    {"[NAME=]FILE", VALUES_FILES, {}},
    {"LIB.so", VALUES_FILES, {}},
    {"NAME", VALUES_TYPES, {}},
    {"CLASS", VALUES_TYPES, {}},
    {"FORM", VALUES_WORDS, "json kds"},
    {"WHEN", VALUES_WORDS, "auto always never"},
    {"SHELL", VALUES_WORDS, "bash zsh fish"},
    {"SUBCOMMAND", VALUES_SUBCOMMANDS, {}},
};

constexpr OptionRow s_raw = {0, "--raw", "", &Options::m_raw, "Write the value alone, of a string its characters"};

// A subcommand's own options, then what its expressions are evaluated with, and how their values are written.
template <class... Row>
constexpr auto WithExpressionOptions(Row... own)
{
    return std::to_array<OptionRow>({
        own...,
        {0, "--data", "[NAME=]FILE", &Options::m_data,
         "Take the members of a data source as names, or NAME for all of it (repeatable)"},
        {0, "--set", "NAME=EXPR", &Options::m_settings, "Give a value a name (repeatable)"},
        {0, "--natural", "", &Options::m_natural, "Let floats stay floats, and evaluate only what is needed"},
        {0, "--type", "", &Options::m_type, "Write the kind before each value", "--json"},
        {0, "--json", "", &Options::m_json, "Write one JSON object a line: value and kind, or error", "--raw"},
        {0, "--raw", "", &Options::m_raw, "Write the value alone, of a string its characters: the default", "--type"},
    });
}

constexpr ArgumentRow s_file = {"FILE", &Options::m_file, true, "A data source; - is standard input"};
constexpr ArgumentRow s_path = {"PATH", &Options::m_path, true, "The field, as in .items[3].name"};

// --- eval

constexpr ArgumentRow s_evalArguments[] = {
    {"EXPR", &Options::m_expressions, false, "Expressions; without any, or for -, one a line of standard input",
     "--file"},
};
constexpr auto s_evalOptions = WithExpressionOptions(
    OptionRow{'f', "--file", "FILE", &Options::m_file, "Evaluate a file, one expression a line; - is standard input"},
    OptionRow{0, "--whole", "", &Options::m_whole, "Take what is read as one expression, not one a line"});

// --- each, repl

constexpr ArgumentRow s_eachArguments[] = {
    {"EXPR", &Options::m_expression, true, "An expression, in which the element's members are names"},
    s_file,
};
constexpr auto s_eachOptions = WithExpressionOptions(
    OptionRow{0, "--in", "LIST", &Options::m_list, "The list, as in .order.lines; needed where FILE has several"},
    OptionRow{0, "--where", "EXPR", &Options::m_where, "Pass over the elements of which this is not true"});
constexpr auto s_replOptions = WithExpressionOptions();

// --- print, get, and what changes files

constexpr OptionRow s_printOptions[] = {
    {0, "--json", "", &Options::m_json, "Write JSON", "--compact"},
    {0, "--compact", "", &Options::m_compact, "Write one line"},
};

constexpr ArgumentRow s_convertArguments[] = {
    {"FILE", &Options::m_file, true, "A data source or JSON; - is standard input"},
};
constexpr OptionRow s_convertOptions[] = {
    {0, "--to", "FORM", &Options::m_to, "kds or json; without it, whichever FILE is not"},
    {0, "--class", "CLASS", &Options::m_class, "The class of the object where the JSON has no \"$class\""},
};

constexpr ArgumentRow s_getArguments[] = {s_file, s_path};
constexpr OptionRow s_getOptions[] = {
    {0, "--json", "", &Options::m_json, "Write a JSON object: type and value", "--raw"},
    s_raw,
};

constexpr OptionRow s_inPlace = {'i', "--in-place", "", &Options::m_inPlace,
                                 "Write to the file itself, whole or not at all"};
constexpr ArgumentRow s_more = {"MORE", &Options::m_more, false, "Further paths and values"};

constexpr ArgumentRow s_setArguments[] = {
    s_file,
    s_path,
    {"VALUE", &Options::m_value, true, "The value, as data sources write it; containers grow by it"},
    s_more,
};
constexpr OptionRow s_setOptions[] = {
    s_inPlace,
    {0, "--replace", "", &Options::m_replace, "Empty the field first"},
    {0, "--compact", "", &Options::m_compact, "Write the object anew, as one line"},
    {0, "--json", "", &Options::m_json, "Write JSON, which is no data source any longer", "--in-place"},
};
constexpr ArgumentRow s_unsetArguments[] = {
    s_file,
    {"PATH", &Options::m_more, true, "What is no longer to be written, as in .items[3] or .counts[\"two\"]"},
};
constexpr ArgumentRow s_addArguments[] = {
    s_file,
    {"PATH", &Options::m_path, true, "A list, or where in it, as in .items[3]; or a key, as in .counts[\"two\"]"},
    {"VALUE", &Options::m_value, true, "The element, or what is under the key, as data sources write it"},
    s_more,
};
constexpr ArgumentRow s_mvArguments[] = {
    s_file,
    {"FROM", &Options::m_path, true, "An element, a key or a member that is written"},
    {"TO", &Options::m_value, true, "Another index of the list, another key, another member of the class"},
};
constexpr OptionRow s_editOptions[] = {s_inPlace};

// --- check

constexpr ArgumentRow s_checkArguments[] = {
    {"FILE", &Options::m_files, true, "Data sources; - is standard input"},
};
constexpr OptionRow s_checkOptions[] = {
    {0, "--all", "", &Options::m_whole, "Warn of octets that are not UTF-8 too, and in files that fail"},
    {0, "--json", "", &Options::m_json, "Write a JSON object a line for each file: all that is wrong with it",
     "--sarif"},
    {0, "--sarif", "", &Options::m_sarif, "Write all of it as SARIF 2.1.0, for code review"},
};

// --- fmt

constexpr ArgumentRow s_formatArguments[] = {
    {"FILE", &Options::m_files, false, "Data sources; without any, or for -, standard input to standard output"},
};
constexpr OptionRow s_formatOptions[] = {
    {0, "--check", "", &Options::m_check, "Write the names of files that would change, and nothing else"},
    {0, "--diff", "", &Options::m_diff, "Write what would change, as patch takes it", "--stdout"},
    {0, "--stdout", "", &Options::m_toOutput, "Write to standard output, and leave the files alone", "--check"},
    {0, "--json", "", &Options::m_json, "Write a JSON object a line for each file: whether it changed, or the error",
     "--diff"},
    {0, "--width", "N", &Options::m_width,
     "Characters that a line should have at most; 100 unless kelm.json says more"},
    {0, "--indent", "N", &Options::m_indent, "Blanks a level; 4 unless kelm.json says more"},
};

// --- types

constexpr ArgumentRow s_typesArguments[] = {
    {"NAME", &Options::m_name, false, "A type or function, qualified or the last part of its name"},
};

constexpr OptionRow s_typesOptions[] = {
    {0, "--json", "", &Options::m_json, "Write a catalogue as JSON: types, members, defaults, documentation"},
    {0, "--dump", "FILE", &Options::m_dump, "Write that to a file, for editors and others that have no modules",
     "--json"},
};

constexpr ArgumentRow s_schemaArguments[] = {
    {"CLASS", &Options::m_name, true, "A class, qualified or the last part of its name"},
};

constexpr OptionRow s_lspOptions[] = {
    {0, "--types", "FILE", &Options::m_typesFile, "Take the types from what `types --dump` has written"},
    {0, "--worker", "", &Options::m_isWorker, "Be the process that has the modules, which the server starts itself"},
};

constexpr ArgumentRow s_completionArguments[] = {
    {"SHELL", &Options::m_name, true, "bash, zsh or fish"},
};
constexpr ArgumentRow s_helpArguments[] = {
    {"SUBCOMMAND", &Options::m_name, false, "Its help; that of the tool where none is named"},
};
constexpr ArgumentRow s_manualArguments[] = {
    {"SUBCOMMAND", &Options::m_name, false, "Its page; that of the tool where none is named"},
};

const CommandRow s_commands[] = {
    {"eval", "Evaluate expressions",
     "Evaluates each expression and writes its value on a line. Without names they are those of the exact language; "
     "--data and --set give names to data, --natural asks for the language in which floats stay floats.",
     RunEval, s_evalArguments, s_evalOptions,
     R"(  kelmscript eval '1 + 2 * 3' 'sin(0.5)'
  kelmscript eval --type '7 / 2' '7 / 2.5'
  kelmscript eval --json '1 / 0'
  kelmscript eval -f expressions.ks
  echo '2 ^^ 10' | kelmscript eval
  kelmscript eval --natural --data garden.kds --set scale=1.5 'len(title) * scale'
)"},
    {"each", "Evaluate an expression for every element of a list",
     "Reads a data source and evaluates an expression for every element of a list in it. The element's members are "
     "names, \"it\" is the element itself and \"index\" its number, from 0; the members of the data source are names "
     "too, where the element has none of the same name.",
     RunEach, s_eachArguments, s_eachOptions,
     R"(  kelmscript each name garden.kds --in .shapes
  kelmscript each 'position.x * 2' garden.kds --in .shapes --where 'position.x > 1'
  kelmscript each --json it garden.kds --in .margins
)"},
    {"repl",
     "Evaluate expressions at a prompt",
     "Reads expressions and commands, line by line, from a terminal with editing, completion and a history, or from "
     "whatever standard input is. :help lists the commands.",
     RunRepl,
     {},
     s_replOptions,
     R"(  kelmscript repl
  kelmscript repl --module ./libklExampleShapes.so --data garden.kds
  printf '1 + 2\n:type 1.5\n' | kelmscript repl
)"},
    {"check", "Read data sources and report their errors",
     "Reads every file and reports all that is wrong with it, with the place and the nearest names. A member that is "
     "written twice, and text behind the data source, are warnings.",
     RunCheck, s_checkArguments, s_checkOptions,
     R"(  kelmscript check --module ./libklExampleShapes.so scene.kds people.kds
  kelmscript check --sarif *.kds > kelmscript.sarif
)"},
    {"print",
     "Read a data source and write it back",
     "Writes the object with all its members, those that the file leaves out too. Comments are lost.",
     RunPrint,
     {&s_file, 1},
     s_printOptions,
     R"(  kelmscript print --module ./libklExampleShapes.so scene.kds
  kelmscript print --json scene.kds | jq .
)"},
    {"convert", "Turn a data source into JSON, or JSON into a data source",
     "Writes a data source as JSON, or JSON of that form as a data source: a text of what the JSON gives, which is "
     "read "
     "before it is written. JSON may have comments.",
     RunConvert, s_convertArguments, s_convertOptions,
     R"(  kelmscript convert scene.kds > scene.json
  kelmscript convert scene.json > scene.kds
  kelmscript convert --class garden::Shape elm.json
)"},
    {"get", "Write the type and value of a field", "Follows a path through the object, and changes nothing on the way.",
     RunGet, s_getArguments, s_getOptions,
     R"(  kelmscript get scene.kds .title
  kelmscript get --json scene.kds '.shapes[1].position'
)"},
    {"set", "Change fields where they are written",
     "Writes a data source in which fields have other values, to standard output or, whole or not at all, to the file "
     "itself. Comments, layout and all that is not named stay as they are. Where the values are those already, the "
     "file "
     "is not written.",
     RunSet, s_setArguments, s_setOptions,
     R"(  kelmscript set scene.kds .title '"Harbour"'
  kelmscript set -i scene.kds '.shapes[1].position.x' -2.5 .title '"Harbour"'
  kelmscript set -i --replace scene.kds .shapes '[]'
)"},
    {"unset", "Take members, elements and keys out",
     "Writes a data source without what is named: members, which then have the values that creation gives them, "
     "elements "
     "of lists, and keys of maps; each with the comments that belong to it.",
     RunUnset, s_unsetArguments, s_editOptions,
     R"(  kelmscript unset scene.kds .title
  kelmscript unset -i garden.kds '.shapes[2]' '.plants["thyme"]'
)"},
    {"add", "Put elements and keys in",
     "Writes a data source with a further element in a list or a set, before the one at an index or behind the last "
     "one, or with a key in a map that was not there.",
     RunAdd, s_addArguments, s_editOptions,
     R"(  kelmscript add -i garden.kds '.layers[0].levels' BED
  kelmscript add garden.kds '.plants["mint"]' '{ species = "Mentha" }'
)"},
    {"mv", "Move elements, and give keys and members other names",
     "Writes a data source in which an element of a list stands elsewhere, with its comments, or what is written under "
     "a key or as a member has another name.",
     RunMove, s_mvArguments, s_editOptions,
     R"(  kelmscript mv -i garden.kds '.shapes[2]' '.shapes[0]'
  kelmscript mv garden.kds '.plants["thyme"]' '.plants["lemon thyme"]'
)"},
    {"fmt", "Give data sources their layout",
     "Writes data sources anew with the white space of one layout, whole or not at all, where that is another one than "
     "they have. Tokens and comments stay, and what is between \"// fmt: off\" and \"// fmt: on\". No types are "
     "needed. "
     "The nearest kelm.json, in a file's folder or in one around it, may say otherwise than the tool: "
     "{\"fmt\": {\"width\": 100, \"indent\": 4}}.",
     RunFormat, s_formatArguments, s_formatOptions,
     R"(  kelmscript fmt garden.kds people.kds
  kelmscript fmt --check *.kds
  kelmscript fmt --diff --width 80 garden.kds
  kelmscript fmt < garden.kds
)",
     false},
    {"types", "List what is registered, or show one type",
     "Lists classes, variants, enumerations, typedefs, interfaces and functions, or shows one as C++ would declare it. "
     "A catalogue is all that is to be known of types without their modules; to make it, an object of every class is "
     "created.",
     RunTypes, s_typesArguments, s_typesOptions,
     R"(  kelmscript types --module ./libklExampleShapes.so
  kelmscript types KSValue
  kelmscript types --dump garden.types.json --module ./libklExampleShapes.so
)"},
    {"schema",
     "Write a JSON Schema of a class",
     "Writes what JSON of a class is like, as a JSON Schema of 2020-12: as print --json writes it, and convert reads "
     "it.",
     RunSchema,
     s_schemaArguments,
     {},
     R"(  kelmscript schema garden::Plan > plan.schema.json
)"},
    {"lsp",
     "Be a language server for editors",
     "Speaks the language server protocol on standard input and output: an editor starts it, and has from it what is "
     "wrong with data sources while they are written, completion, descriptions and more. Modules are loaded by a "
     "process "
     "beside it, so that nothing that they do ends it.",
     RunLsp,
     {},
     s_lspOptions,
     R"(  kelmscript lsp --module ./libklExampleShapes.so
  kelmscript lsp --types garden.types.json
)",
     false},
    {"completion",
     "Write a shell's completion script",
     "Writes what a shell completes subcommands, options and their values by. It is installed with the tool.",
     RunCompletion,
     s_completionArguments,
     {},
     R"(  source <(kelmscript completion bash)
)"},
    {"help",
     "Write this help, or that of a subcommand",
     "Writes what --help does: of the tool, or of a subcommand.",
     RunHelp,
     s_helpArguments,
     {},
     R"(  kelmscript help each
)"},
    {"manual",
     "Write a manual page",
     "Writes the manual page of the tool or of a subcommand, for man. They are installed with the tool.",
     RunManual,
     s_manualArguments,
     {},
     R"(  kelmscript manual eval | man -l -
)"},
};

} // namespace

std::span<const CommandRow> GetCommands()
{
    return s_commands;
}

const CommandRow* FindCommand(std::string_view name)
{
    const auto* const row = std::find_if(std::begin(s_commands), std::end(s_commands),
                                         [&](const CommandRow& candidate) { return candidate.m_name == name; });
    return row != std::end(s_commands) ? row : nullptr;
}

std::string NoSubcommand(std::string_view word)
{
    std::vector<std::string> names;
    for (const CommandRow& row : s_commands)
        names.emplace_back(row.m_name);
    const std::string question = DidYouMean(NearestNames(word, names));
    return std::string(word) + " is no subcommand" + (question.empty() ? "" : "; ") + question;
}

std::span<const OptionRow> GetCommonOptions()
{
    return s_commonOptions;
}

std::span<const OptionRow> GetEverywhereOptions()
{
    return s_everywhereOptions;
}

ValueRow GetValues(std::string_view name)
{
    const auto* const row = std::find_if(std::begin(s_values), std::end(s_values),
                                         [&](const ValueRow& candidate) { return candidate.m_name == name; });
    return row != std::end(s_values) ? *row : ValueRow{name, VALUES_ANY, {}};
}

} // namespace kelm::tool
