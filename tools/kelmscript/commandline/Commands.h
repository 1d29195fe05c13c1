#pragma once

// What the command line may hold, as tables: what it is read by, and what help tells.

#include "Options.h"

#include <klUtils/types.h>

#include <span>
#include <string_view>

namespace kelm::tool
{

// Where a part of the command line goes; one of them.
struct Destination
{
    constexpr Destination(bool Options::*flag) : m_flag(flag) {}
    constexpr Destination(std::string Options::*text) : m_text(text) {}
    constexpr Destination(std::vector<std::string> Options::*texts) : m_texts(texts) {}

    bool Options::*m_flag = nullptr;
    std::string Options::*m_text = nullptr;
    std::vector<std::string> Options::*m_texts = nullptr; // takes any number
};

struct OptionRow
{
    char m_letter; // 0 for none
    std::string_view m_name;
    std::string_view m_argument; // empty for a flag
    Destination m_destination;
    std::string_view m_summary;
    std::string_view m_excluded = {}; // the name of an option that it does not go with
};

struct ArgumentRow
{
    std::string_view m_name;
    Destination m_destination;
    bool m_isRequired;
    std::string_view m_summary;
    std::string_view m_excluded = {}; // the name of an option that it does not go with
};

struct CommandRow
{
    std::string_view m_name;
    std::string_view m_summary;
    std::string_view m_description; // for the manual
    int (*m_run)(const Options&);
    std::span<const ArgumentRow> m_arguments;
    std::span<const OptionRow> m_options;
    std::string_view m_examples;
    bool m_needsTypes = true; // otherwise no modules are loaded for it
};

std::span<const CommandRow> GetCommands();

// Null where there is none of that name; and what is said then.
const CommandRow* FindCommand(std::string_view name);
std::string NoSubcommand(std::string_view word);

// Options that go with every subcommand, before it or behind.
std::span<const OptionRow> GetCommonOptions();

// Options that ask for no work.
std::span<const OptionRow> GetEverywhereOptions();

// Calls f(row) for the options of a subcommand and those of the tool, or for these alone.
template <class F>
void ForEachOption(const CommandRow* command, const F& f)
{
    if (command != nullptr)
        for (const OptionRow& row : command->m_options)
            f(row);
    for (const OptionRow& row : GetCommonOptions())
        f(row);
    for (const OptionRow& row : GetEverywhereOptions())
        f(row);
}

// What can be given for an argument or for the value of an option, by the name that help has for it.
enum EValues
{
    VALUES_ANY,
    VALUES_FILES,
    VALUES_TYPES, // registered names
    VALUES_WORDS,
    VALUES_SUBCOMMANDS,
};
struct ValueRow
{
    std::string_view m_name;
    EValues m_values;
    std::string_view m_words; // with blanks between them
};
ValueRow GetValues(std::string_view name);

// An argument as a usage line has it.
std::string UsageOf(const ArgumentRow& argument);

// Writes what --help tells: of the tool, or of a subcommand.
void PutHelp(const CommandRow* command);

} // namespace kelm::tool
