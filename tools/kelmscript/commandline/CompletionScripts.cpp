#include "CompletionScripts.h"

#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "Commands.h"

#include <array>
#include <iterator>

namespace kelm::tool
{

namespace
{

// The registered names, one a line.
constexpr std::string_view s_typeNames = "kelmscript types 2>/dev/null | sed -n 's/^    //p'";

// --- What all shells are told

// "--json --raw -f"
std::string OptionWords(const CommandRow* command)
{
    std::string words;
    ForEachOption(command,
                  [&](const OptionRow& row)
                  {
                      words += (words.empty() ? "" : " ") + std::string(row.m_name);
                      if (row.m_letter != 0)
                          words += std::string{' ', '-', row.m_letter};
                  });
    return words;
}

std::string CommandWords(std::string_view between)
{
    std::string words;
    for (const CommandRow& row : GetCommands())
        (words += words.empty() ? "" : between) += row.m_name;
    return words;
}

bool IsRepeated(const ArgumentRow& row)
{
    return row.m_destination.m_texts != nullptr;
}

std::string Replaced(std::string_view text, char what, std::string_view by)
{
    std::string replaced;
    for (const char c : text)
        c == what ? replaced.append(by) : replaced.append(1, c);
    return replaced;
}

// --- bash

std::string BashWords(const ValueRow& values)
{
    switch (values.m_values)
    {
    case VALUES_ANY: return "";
    case VALUES_FILES: return "_kelmscript_files \"$cur\"";
    case VALUES_TYPES: return "_kelmscript_words \"$(" + std::string(s_typeNames) + ")\" \"$cur\"";
    case VALUES_WORDS: return "_kelmscript_words '" + std::string(values.m_words) + "' \"$cur\"";
    case VALUES_SUBCOMMANDS: return "_kelmscript_words '" + CommandWords(" ") + "' \"$cur\"";
    }
    return "";
}

// Every option with a value, once: its names as a pattern, and what its value is.
template <class F>
void ForEachOptionWithValue(const F& f)
{
    std::string seen = " ";
    const auto tell = [&](const OptionRow& row)
    {
        const std::string name = std::string(row.m_name) + " ";
        if (row.m_argument.empty() || seen.find(" " + name) != std::string::npos)
            return;
        seen += name;
        f((row.m_letter != 0 ? std::string{'-', row.m_letter, '|'} : std::string()) + std::string(row.m_name),
          GetValues(row.m_argument));
    };
    for (const CommandRow& command : GetCommands())
        ForEachOption(&command, tell);
}

void PutBash()
{
    Put(R"(# bash completion for kelmscript

_kelmscript_words() {
    mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2")
}

_kelmscript_files() {
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_kelmscript_offer() {
    local cur=${COMP_WORDS[COMP_CWORD]} first=$COMP_CWORD command='' number=0 i
    COMPREPLY=()
    # Colons, which names have, are words of their own: what is completed is put together, and offered without what
    # stands before its last word.
    while [[ $first -gt 1 && (${COMP_WORDS[first]} == :* || ${COMP_WORDS[first - 1]} == *:) ]]; do
        first=$((first - 1))
        cur=${COMP_WORDS[first]}$cur
    done
    [[ $cur == *:* ]] && glued=${cur%"${COMP_WORDS[COMP_CWORD]##:*}"}
    # A value may stand behind an equals sign, which is a word of its own, too.
    local prev=${COMP_WORDS[first - 1]}
    if [[ $cur == '=' ]]; then
        cur=''
    elif [[ $prev == '=' ]]; then
        prev=${COMP_WORDS[first - 2]}
        [[ $prev != -* && $first -gt 3 ]] && prev=${COMP_WORDS[first - 3]} # --data NAME=
    fi
    for ((i = 1; i < first; ++i)); do
        case ${COMP_WORDS[i]} in
)");
    std::string withValues;
    ForEachOptionWithValue([&](const std::string& names, const ValueRow&)
                           { withValues += (withValues.empty() ? "" : "|") + names; });
    PutLine("            " + withValues + ") [[ ${COMP_WORDS[i + 1]} == '=' ]] && i=$((i + 1)); i=$((i + 1)) ;;");
    Put(R"(            =) i=$((i + 1)) ;;
            :*) number=$((number - 1)) ;; # what stands on both sides is one argument
            -?*) ;;
            *) if [[ -z $command ]]; then command=${COMP_WORDS[i]}; else number=$((number + 1)); fi ;;
        esac
    done
    case $prev in
)");
    ForEachOptionWithValue(
        [](const std::string& names, const ValueRow& values)
        {
            PutLine("        " + names + ") " + BashWords(values) + (values.m_values != VALUES_ANY ? "; " : "") +
                    "return ;;");
        });
    Put(R"(    esac
    if [[ $cur == -* ]]; then
        case $command in
)");
    for (const CommandRow& row : GetCommands())
        PutLine("            " + std::string(row.m_name) + ") _kelmscript_words '" + OptionWords(&row) +
                "' \"$cur\" ;;");
    PutLine("            '') _kelmscript_words '" + OptionWords(nullptr) + "' \"$cur\" ;;");
    Put(R"(        esac
        return
    fi
    case $command:$number in
)");
    PutLine("        :0) _kelmscript_words '" + CommandWords(" ") + "' \"$cur\" ;;");
    for (const CommandRow& row : GetCommands())
        for (std::size_t i = 0; i < row.m_arguments.size(); ++i)
            if (const std::string words = BashWords(GetValues(row.m_arguments[i].m_name)); !words.empty())
                PutLine("        " + std::string(row.m_name) + ":" +
                        (IsRepeated(row.m_arguments[i]) ? "*" : std::to_string(i)) + ") " + words + " ;;");
    Put(R"(    esac
}

_kelmscript() {
    local glued=''
    _kelmscript_offer
    [[ -z $glued ]] || COMPREPLY=("${COMPREPLY[@]#"$glued"}")
}

complete -F _kelmscript kelmscript
)");
}

// --- zsh

// Text within single quotes, and within brackets or between colons there.
std::string ZshText(std::string_view text)
{
    std::string escaped;
    for (const char c : text)
    {
        if (c == '[' || c == ']' || c == ':' || c == '\\')
            escaped += '\\';
        c == '\'' ? escaped.append("'\\''") : escaped.append(1, c);
    }
    return escaped;
}

std::string ZshAction(const ValueRow& values)
{
    switch (values.m_values)
    {
    case VALUES_ANY: return " ";
    case VALUES_FILES: return "_files";
    case VALUES_TYPES: return "_kelmscript_types";
    case VALUES_WORDS: return "(" + std::string(values.m_words) + ")";
    case VALUES_SUBCOMMANDS: return "(" + CommandWords(" ") + ")";
    }
    return " ";
}

std::string ZshOption(const OptionRow& row)
{
    const std::string name(row.m_name);
    const std::string letter = row.m_letter != 0 ? std::string{'-', row.m_letter} : std::string();
    const bool isRepeated = row.m_destination.m_texts != nullptr;
    const std::string value =
        row.m_argument.empty() ? "" : ":" + ZshText(row.m_argument) + ":" + ZshAction(GetValues(row.m_argument));
    const std::string rest = "'[" + ZshText(row.m_summary) + "]" + value + "'";
    const std::string equal = row.m_argument.empty() ? "" : "=";
    if (letter.empty())
        return (isRepeated ? "'*'" : "") + name + equal + rest;
    return "'(" + letter + " " + name + ")'{" + letter + "," + name + equal + "}" + rest;
}

void PutZshOptions(const CommandRow* command, std::string_view indentation)
{
    ForEachOption(command, [&](const OptionRow& row) { PutLine(std::string(indentation) + ZshOption(row) + " \\"); });
}

void PutZsh()
{
    PutLine("#compdef kelmscript\n\n_kelmscript_types() {\n    local -a names");
    PutLine("    names=(${(f)\"$(" + std::string(s_typeNames) + ")\"})");
    PutLine("    compadd -a names\n}\n\n_kelmscript() {\n    local context state state_descr line\n    typeset -A "
            "opt_args");
    PutLine("    _arguments -C \\");
    PutZshOptions(nullptr, "        ");
    PutLine("        '1:subcommand:->subcommand' '*::argument:->arguments'\n    case $state in\n    subcommand)");
    PutLine("        local -a commands\n        commands=(");
    for (const CommandRow& row : GetCommands())
        PutLine("            '" + std::string(row.m_name) + ":" + ZshText(row.m_summary) + "'");
    PutLine("        )\n        _describe subcommand commands\n        ;;\n    arguments)\n        case $line[1] in");
    for (const CommandRow& row : GetCommands())
    {
        PutLine("        " + std::string(row.m_name) + ")\n            _arguments \\");
        PutZshOptions(&row, "                ");
        std::string arguments = "               ";
        for (std::size_t i = 0; i < row.m_arguments.size(); ++i)
        {
            const ArgumentRow& argument = row.m_arguments[i];
            arguments += " '" + (IsRepeated(argument) ? "*" : std::to_string(i + 1)) +
                         (argument.m_isRequired || IsRepeated(argument) ? ":" : "::") + ZshText(argument.m_name) + ":" +
                         ZshAction(GetValues(argument.m_name)) + "'";
        }
        PutLine(arguments + "\n            ;;");
    }
    PutLine("        esac\n        ;;\n    esac\n}\n\n_kelmscript \"$@\"");
}

// --- fish

std::string FishText(std::string_view text)
{
    return "'" + Replaced(Replaced(text, '\\', "\\\\"), '\'', "\\'") + "'";
}

std::string FishValues(const ValueRow& values)
{
    switch (values.m_values)
    {
    case VALUES_ANY: return " -x";
    case VALUES_FILES: return " -r -F";
    case VALUES_TYPES: return " -x -a \"(" + std::string(s_typeNames) + ")\"";
    case VALUES_WORDS: return " -x -a '" + std::string(values.m_words) + "'";
    case VALUES_SUBCOMMANDS: return " -x -a '" + CommandWords(" ") + "'";
    }
    return "";
}

void PutFishOption(const OptionRow& row, const std::string& condition)
{
    std::string line = "complete -c kelmscript" + condition;
    if (row.m_letter != 0)
        line += std::string(" -s ") + row.m_letter;
    line += " -l " + std::string(row.m_name.substr(2)) + " -d " + FishText(row.m_summary);
    PutLine(line + (row.m_argument.empty() ? std::string() : FishValues(GetValues(row.m_argument))));
}

void PutFish()
{
    PutLine("# fish completion for kelmscript\n\ncomplete -c kelmscript -f");
    for (const CommandRow& row : GetCommands())
        PutLine("complete -c kelmscript -n __fish_use_subcommand -a " + std::string(row.m_name) + " -d " +
                FishText(row.m_summary));
    ForEachOption(nullptr, [](const OptionRow& row) { PutFishOption(row, ""); });
    for (const CommandRow& command : GetCommands())
    {
        const std::string condition = " -n '__fish_seen_subcommand_from " + std::string(command.m_name) + "'";
        for (const OptionRow& row : command.m_options)
            PutFishOption(row, condition);
        for (const ArgumentRow& row : command.m_arguments)
            if (const ValueRow values = GetValues(row.m_name); values.m_values != VALUES_ANY)
                PutLine("complete -c kelmscript" + condition +
                        (values.m_values == VALUES_FILES ? std::string(" -F") : FishValues(values)));
    }
}

struct ShellRow
{
    std::string_view m_name;
    void (*m_put)();
};
constexpr ShellRow s_shells[] = {{"bash", PutBash}, {"zsh", PutZsh}, {"fish", PutFish}};

} // namespace

int RunCompletion(const Options& options)
{
    for (const ShellRow& shell : s_shells)
        if (shell.m_name == options.m_name)
        {
            shell.m_put();
            return EXIT_OK;
        }
    return ReportUsage("there is no completion for " + options.m_name + ", but for bash, zsh and fish");
}

} // namespace kelm::tool
