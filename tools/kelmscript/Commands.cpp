#include "Commands.h"

#include "DataSources.h"
#include "Eval.h"
#include "Repl.h"
#include "Types.h"

namespace kelm::tool
{

namespace
{

constexpr OptionRow s_commonOptions[] = {
    {0, "--module", "LIB.so", &Options::m_modules, "Load a library that registers types (repeatable)"},
    {0, "--max-size", "N", &Options::m_maxSize,
     "Refuse longer files, lines and dynamic arrays: octets, or with K, M or G behind; 1G unless given"},
    {0, "--color", "WHEN", &Options::m_colour,
     "Colour errors: always, never, or (auto) on a terminal without NO_COLOR"},
};

constexpr OptionRow s_raw = {0, "--raw", "", &Options::m_raw, "Write the value alone, of a string its characters"};

constexpr ArgumentRow s_file = {"FILE", &Options::m_file, true, "A data source; - is standard input"};
constexpr ArgumentRow s_path = {"PATH", &Options::m_path, true, "The field, as in .items[3].name"};

// --- eval

constexpr ArgumentRow s_evalArguments[] = {
    {"EXPR", &Options::m_expressions, false, "Expressions; without any, or for -, one a line of standard input",
     "--file"},
};
constexpr OptionRow s_evalOptions[] = {
    {'f', "--file", "FILE", &Options::m_file, "Evaluate a file, one expression a line; - is standard input"},
    {0, "--whole", "", &Options::m_whole, "Take what is read as one expression, not one a line"},
    {0, "--type", "", &Options::m_type, "Write the kind before each value", "--json"},
    {0, "--json", "", &Options::m_json, "Write one JSON object a line: value and kind, or error"},
};

// --- print, get, set

constexpr OptionRow s_printOptions[] = {
    {0, "--json", "", &Options::m_json, "Write JSON", "--compact"},
    {0, "--compact", "", &Options::m_compact, "Write one line"},
};

constexpr ArgumentRow s_getArguments[] = {s_file, s_path};
constexpr OptionRow s_getOptions[] = {
    {0, "--json", "", &Options::m_json, "Write a JSON object: type and value", "--raw"},
    s_raw,
};

constexpr ArgumentRow s_setArguments[] = {
    s_file,
    s_path,
    {"VALUE", &Options::m_value, true, "The value, as data sources write it; containers grow by it"},
};
constexpr OptionRow s_setOptions[] = {
    {'i', "--in-place", "", &Options::m_inPlace, "Write to the file itself, whole or not at all"},
    {0, "--replace", "", &Options::m_replace, "Empty the field first"},
    {0, "--compact", "", &Options::m_compact, "Write one line"},
};

// --- check, types

constexpr ArgumentRow s_checkArguments[] = {
    {"FILE", &Options::m_files, true, "Data sources; - is standard input"},
};
constexpr ArgumentRow s_typesArguments[] = {
    {"NAME", &Options::m_name, false, "A type or function, qualified or the last part of its name"},
};

const CommandRow s_commands[] = {
    {"eval", "Evaluate expressions", RunEval, s_evalArguments, s_evalOptions,
     R"(  kelmscript eval '1 + 2 * 3' 'sin(0.5)'
  kelmscript eval --type '7 / 2' '7 / 2.5'
  kelmscript eval --json '1 / 0'
  kelmscript eval -f expressions.ks
  echo '2 ^^ 10' | kelmscript eval
)"},
    {"repl",
     "Evaluate expressions at a prompt",
     RunRepl,
     {},
     {},
     R"(  kelmscript repl
  kelmscript repl --module ./libklExampleShapes.so
  printf '1 + 2\n:type 1.5\n' | kelmscript repl
)"},
    {"check",
     "Read data sources and report their errors",
     RunCheck,
     s_checkArguments,
     {},
     R"(  kelmscript check --module ./libklExampleShapes.so scene.kds people.kds
)"},
    {"print",
     "Read a data source and write it back",
     RunPrint,
     {&s_file, 1},
     s_printOptions,
     R"(  kelmscript print --module ./libklExampleShapes.so scene.kds
  kelmscript print --json scene.kds | jq .
)"},
    {"get", "Write the type and value of a field", RunGet, s_getArguments, s_getOptions,
     R"(  kelmscript get scene.kds .title
  kelmscript get --json scene.kds '.shapes[1].position'
)"},
    {"set", "Change a field and write the whole data source", RunSet, s_setArguments, s_setOptions,
     R"(  kelmscript set scene.kds .title '"Harbour"'
  kelmscript set -i scene.kds '.shapes[1].position.x' -2.5
  kelmscript set -i --replace scene.kds .shapes '[]'
)"},
    {"types",
     "List what is registered, or show one type",
     RunTypes,
     s_typesArguments,
     {},
     R"(  kelmscript types --module ./libklExampleShapes.so
  kelmscript types KSValue
)"},
};

} // namespace

std::span<const CommandRow> GetCommands()
{
    return s_commands;
}

std::span<const OptionRow> GetCommonOptions()
{
    return s_commonOptions;
}

} // namespace kelm::tool
