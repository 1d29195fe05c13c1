#include "Options.h"

#include "../files/Files.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Output.h"
#include "../reporting/Suggest.h"
#include "Commands.h"

#include <kelm/private/files/FileDescriptor.h>
#include <klUtils/Version.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace kelm::tool
{

namespace
{

// A command line that asks for nothing that there is.
struct UsageError
{
    std::string m_message;
};

bool IsLetter(std::string_view text, std::size_t i)
{
    return i < text.size() && (('a' <= text[i] && text[i] <= 'z') || ('A' <= text[i] && text[i] <= 'Z'));
}

// What else begins with a dash is a value, such as -5 and -sin(0.5).
bool IsOption(std::string_view argument)
{
    return argument.starts_with("--") ? IsLetter(argument, 2)
                                      : argument.size() == 2 && argument[0] == '-' && IsLetter(argument, 1);
}

const OptionRow* FindOption(std::span<const OptionRow> rows, std::string_view name)
{
    const auto row =
        std::find_if(rows.begin(), rows.end(),
                     [&](const OptionRow& candidate)
                     { return name == candidate.m_name || (name.size() == 2 && name[1] == candidate.m_letter); });
    return row != rows.end() ? &*row : nullptr;
}

// "2G" and the like.
std::optional<std::size_t> SizeOf(std::string_view text)
{
    struct Unit
    {
        std::string_view m_letter;
        int m_shift;
    };
    constexpr Unit units[] = {{"", 0}, {"K", 10}, {"M", 20}, {"G", 30}};
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    for (const Unit& unit : units)
        if (error == std::errc() && text.substr(static_cast<std::size_t>(end - text.data())) == unit.m_letter &&
            number <= (std::size_t{1} << 62) >> unit.m_shift)
            return number << unit.m_shift;
    return std::nullopt;
}

// Reads the arguments one after the other.
class CommandLine
{
public:
    CommandLine(int argc, char** argv) : m_next(argv + 1), m_end(argv + argc) {}

    // False where help or the version was asked for, and written.
    bool Parse()
    {
        while (m_next != m_end)
        {
            const std::string_view argument = *m_next++;
            if (!m_isOnlyArguments && argument == "--")
                m_isOnlyArguments = true;
            else if (m_isOnlyArguments || !IsOption(argument))
                TakeArgument(argument);
            else if (TakeHelp(argument))
                return false;
            else
                TakeOption(argument);
        }
        Check();
        m_options.m_run = m_command->m_run;
        m_options.m_needsTypes = m_command->m_needsTypes;
        return true;
    }

    Options m_options;

private:
    bool TakeHelp(std::string_view argument) const
    {
        const bool isVersion = argument == "--version" || argument == "-V";
        if (isVersion)
            PutLine("kelmscript " KELM_VERSION_TEXT);
        else if (argument == "--help" || argument == "-h")
            PutHelp(m_command);
        else
            return false;
        return true;
    }

    void TakeOption(std::string_view argument)
    {
        const std::size_t nameEnd = std::min(argument.find('='), argument.size());
        const std::string_view name = argument.substr(0, nameEnd);
        const OptionRow* row = m_command != nullptr ? FindOption(m_command->m_options, name) : nullptr;
        if (row == nullptr)
            row = FindOption(GetCommonOptions(), name);
        if (row == nullptr)
        {
            m_unexpected.push_back(argument);
            return;
        }
        const bool isAgain = Has(row->m_name) && row->m_destination.m_texts == nullptr && !row->m_argument.empty();
        if (isAgain)
            throw UsageError{std::string(row->m_name) + " is given twice"};
        m_given.push_back(row->m_name);
        if (row->m_argument.empty())
        {
            if (nameEnd != argument.size())
                throw UsageError{std::string(row->m_name) + " takes no value"};
            m_options.*row->m_destination.m_flag = true;
        }
        else if (nameEnd != argument.size())
            Store(*row, row->m_argument, argument.substr(nameEnd + 1));
        else if (m_next != m_end && !IsOption(*m_next))
            Store(*row, row->m_argument, *m_next++);
        else
            throw UsageError{std::string(row->m_name) + ": 1 required " + std::string(row->m_argument) + " missing"};
    }

    void TakeArgument(std::string_view argument)
    {
        if (m_command == nullptr)
        {
            m_command = CommandOf(argument);
            return;
        }
        for (const ArgumentRow& row : m_command->m_arguments)
            if (row.m_destination.m_texts != nullptr || !Has(row.m_name))
            {
                m_given.push_back(row.m_name);
                return Store(row, row.m_name, argument);
            }
        m_unexpected.push_back(argument);
    }

    template <class Row>
    void Store(const Row& row, std::string_view valueName, std::string_view value)
    {
        // It has one end.
        const bool isInput = value == "-" || (value.ends_with("=-") && value.find('/') == std::string_view::npos);
        if (isInput && GetValues(valueName).m_values == VALUES_FILES && std::exchange(m_namesInput, true))
            throw UsageError{"standard input is named twice"};
        const Destination& destination = row.m_destination;
        if (destination.m_texts != nullptr)
            (m_options.*destination.m_texts).emplace_back(value);
        else
            m_options.*destination.m_text = value;
    }

    const CommandRow* CommandOf(std::string_view word) const
    {
        if (!m_unexpected.empty())
            ThrowUnexpected(); // before it, which may be why the word is none
        const CommandRow* const row = FindCommand(word);
        if (row == nullptr)
            throw UsageError{NoSubcommand(word)};
        return row;
    }

    bool Has(std::string_view name) const { return std::find(m_given.begin(), m_given.end(), name) != m_given.end(); }

    [[noreturn]] void ThrowUnexpected() const
    {
        std::string message = m_unexpected.size() == 1 ? "The following argument was not expected:"
                                                       : "The following arguments were not expected:";
        for (const std::string_view argument : m_unexpected)
            (message += " ") += argument;
        throw UsageError{message};
    }

    // What only the whole command line tells.
    void Check() const
    {
        if (!m_unexpected.empty())
            ThrowUnexpected();
        if (m_command == nullptr)
            throw UsageError{"A subcommand is required"};
        CheckExclusions(m_command->m_arguments);
        CheckExclusions(m_command->m_options);
        for (const ArgumentRow& row : m_command->m_arguments)
            if (row.m_isRequired && !Has(row.m_name))
                throw UsageError{std::string(row.m_name) + " is required"};
    }

    template <class Row>
    void CheckExclusions(std::span<const Row> rows) const
    {
        for (const Row& row : rows)
            if (Has(row.m_name) && !row.m_excluded.empty() && Has(row.m_excluded))
                throw UsageError{std::string(row.m_name) + " excludes " + std::string(row.m_excluded)};
    }

    char** m_next;
    char** m_end;
    bool m_isOnlyArguments = false;
    bool m_namesInput = false;
    const CommandRow* m_command = nullptr;
    std::vector<std::string_view> m_given; // names of rows
    std::vector<std::string_view> m_unexpected;
};

void UseSizeLimit(const std::string& text)
{
    if (text.empty())
        return;
    const std::optional<std::size_t> size = SizeOf(text);
    if (!size)
        throw UsageError{"--max-size: " + text + " is no size, such as 4096, 64M or 2G"};
    SetSizeLimit(*size);
}

void UseColour(const std::string& when)
{
    constexpr std::string_view names[] = {"auto", "always", "never"}; // as EColour has them
    const auto* const name = std::find(std::begin(names), std::end(names), when);
    if (name == std::end(names) && !when.empty())
        throw UsageError{"--color: " + when + " is none of auto, always and never"};
    SetColour(when.empty() ? COLOUR_AUTO : static_cast<EColour>(name - names));
}

} // namespace

Options ParseOptions(int argc, char** argv, int& exitCode)
{
    CommandLine line(argc, argv);
    exitCode = EXIT_OK;
    try
    {
        if (line.Parse())
        {
            UseSizeLimit(line.m_options.m_maxSize);
            UseColour(line.m_options.m_colour);
        }
        return std::move(line.m_options);
    }
    catch (const UsageError& e)
    {
        exitCode = ReportUsage(e.m_message);
        static_cast<void>(WriteAll(STDERR_FILENO, "Run with --help for more information.\n"));
        return {};
    }
}

} // namespace kelm::tool
