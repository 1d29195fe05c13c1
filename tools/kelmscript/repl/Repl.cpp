#include "Repl.h"

#include "../commands/Types.h"
#include "../evaluation/Values.h"
#include "../evaluation/Workspace.h"
#include "../files/DataSources.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Interruption.h"
#include "../reporting/Output.h"
#include "../reporting/Progress.h"
#include "../reporting/Suggest.h"
#include "Completion.h"
#include "LineReader.h"

#include <kelm/private/expressions/Functions.h>
#include <kelm/private/types/Names.h>
#include <kelmDocument/Part.h>
#include <klKelmScript/private/BuiltIns.h>
#include <klObject/objects/Collector.h>
#include <klUtils/LexScannerException.h>
#include <klUtils/Version.h>
#include <klUtils/text/LsScanToken.h>

#include <cstdlib>
#include <deque>

#include <pwd.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

constexpr ConstStringZ s_prompt = "kelm> ";
constexpr ConstStringZ s_continuation = "  ... ";

constexpr ConstStringZ s_expressionBreaks = " \t\n\"'`@$><=;|&{}()[]+-*/%^~!?:,.";
constexpr ConstStringZ s_nameBreaks = " \t\n\"'";
constexpr ConstStringZ s_valueBreaks = " \t\n\"'(){}[],=>";

// Counts the brackets of a text that comes line by line, each of which is scanned once.
class OpenBrackets
{
public:
    // Whether the text so far, of which this is the next line, ends inside brackets. One that cannot be scanned does
    // not: its error is due.
    bool AreThereBehind(std::string_view line)
    {
        SubString rest(line.data(), line.data() + line.size());
        try
        {
            for (LSToken token = LsScanToken(rest, true); token.m_type != TOKEN_END; token = LsScanToken(rest, false))
                m_depth += DepthOf(token.m_type);
        }
        catch (const LexScannerException&)
        {
            return false;
        }
        return m_depth > 0;
    }

private:
    static int DepthOf(EToken token)
    {
        switch (token)
        {
        case TOKEN_LEFT_PAREN:
        case TOKEN_LEFT_SQUARE:
        case TOKEN_LEFT_CURLY: return 1;
        case TOKEN_RIGHT_PAREN:
        case TOKEN_RIGHT_SQUARE:
        case TOKEN_RIGHT_CURLY: return -1;
        default: return 0;
        }
    }

    int m_depth = 0;
};

constexpr ConstStringZ s_blanks = " \t\r\n";

// Neither part keeps blanks at its ends.
struct WordAndRest
{
    std::string m_word;
    std::string m_rest;
};

WordAndRest SplitBehind(const std::string& text, std::size_t begin, std::size_t end)
{
    const std::size_t rest = std::min(text.find_first_not_of(s_blanks, end), text.size());
    const std::size_t last = text.find_last_not_of(s_blanks) + 1;
    return {text.substr(begin, end - begin), rest < last ? text.substr(rest, last - rest) : std::string()};
}

// Splits at the first white space.
WordAndRest SplitFirstWord(const std::string& text)
{
    const std::size_t begin = text.find_first_not_of(s_blanks);
    if (begin == std::string::npos)
        return {};
    return SplitBehind(text, begin, std::min(text.find_first_of(s_blanks, begin), text.size()));
}

// Whether the bracket before `at` closes an index into a dynamic array, "[[7]", and what follows is another step, or
// the end of the path.
bool ClosesDynamicIndex(std::string_view path, std::size_t at)
{
    const std::size_t inside = path.find_last_not_of("0123456789", at - 2);
    const bool hasDigits = inside != std::string_view::npos && inside < at - 2;
    const bool isInList = at < path.size() && std::string_view(". \t\r\n[").find(path[at]) == std::string_view::npos;
    return hasDigits && !isInList && path.substr(0, inside + 1).ends_with("[[");
}

// A path ends at white space outside of its brackets: keys may hold some.
std::size_t EndOfPath(const std::string& text, std::size_t begin)
{
    std::size_t at = begin;
    int depth = 0;
    while (at < text.size())
    {
        const Part part = ScanPart(text, at);
        if (part.m_kind == PartKind::Space && depth == 0)
            break;
        depth += static_cast<int>(IsOpeningBracket(part.m_token)) - static_cast<int>(IsClosingBracket(part.m_token));
        at = part.m_span.m_end;
        if (depth == 1 && part.m_token == TOKEN_RIGHT_SQUARE && ClosesDynamicIndex(text, at))
            depth = 0;
    }
    return at;
}

// Of a name as the editor completes it, in quotes and from a home folder, that of the file.
std::string FileOfArgument(std::string_view argument)
{
    const char quote = argument.front();
    if (quote == '"' || quote == '\'')
    {
        argument.remove_prefix(1);
        if (argument.ends_with(quote))
            argument.remove_suffix(1);
    }
    const std::size_t userEnd = std::min(argument.find('/'), argument.size());
    if (!argument.starts_with('~'))
        return std::string(argument);
    const std::string user(argument.substr(1, userEnd - 1));
    const char* home = user.empty() ? std::getenv("HOME") : nullptr;
    if (home == nullptr)
    {
        const passwd* const entry = user.empty() ? getpwuid(getuid()) : getpwnam(user.c_str());
        home = entry != nullptr ? entry->pw_dir : nullptr;
    }
    return home != nullptr ? home + std::string(argument.substr(userEnd)) : std::string(argument);
}

class Repl : private CompletionSource
{
public:
    explicit Repl(const Options& options) : m_options(options), m_workspace(options) {}

    int Run()
    {
        if (Workspace::ReadsStandardInput(m_options))
            return ReportUsage(s_holdsData);
        UseJsonErrors(m_options.m_json);
        if (const int exitCode = m_workspace.Open(); exitCode != EXIT_OK)
            return exitCode;
        m_reader = MakeLineReader(*this);
        if (m_reader->IsInteractive())
            PutLine("kelmscript " KELM_VERSION_TEXT ", :help for help");
        while (!m_isLeaving)
            ReadEntry();
        return m_hasFailed && !m_reader->IsInteractive() ? EXIT_FAILED : EXIT_OK;
    }

private:
    // What a command's argument is, which decides its completion.
    enum EArgument
    {
        ARG_NONE,
        ARG_EXPRESSION,
        ARG_FILE,
        ARG_PATH,
        ARG_PATH_AND_VALUE,
        ARG_TYPE,
    };

    struct Command
    {
        ConstStringZ m_name;
        ConstStringZ m_synopsis;
        EArgument m_argument;
        bool m_needsArgument;
        bool (Repl::*m_run)(const std::string& argument); // false after a failure was reported
        ConstStringZ m_summary;
    };
    static const Command s_commands[];

    // The next line, of what was pasted or of what is typed.
    ERead ReadLine(ConstStringZ prompt, std::string& line)
    {
        if (!m_pasted.empty())
        {
            line = std::move(m_pasted.front());
            m_pasted.pop_front();
            return READ_LINE;
        }
        std::string_view read;
        const ERead result = m_reader->Read(prompt, read);
        if (result == READ_LINE)
            line = read;
        return result;
    }

    // A block that was pasted comes at once. Where it is not one expression, its lines are taken as if typed.
    void SplitPasted(std::string& block)
    {
        const std::size_t end = block.find('\n');
        for (std::size_t begin = end + 1; begin < block.size();)
        {
            const std::size_t lineEnd = std::min(block.find('\n', begin), block.size());
            m_pasted.push_back(block.substr(begin, lineEnd - begin));
            begin = lineEnd + 1;
        }
        block.resize(end);
    }

    static bool IsExpression(const std::string& text)
    {
        try
        {
            static_cast<void>(Expression(text));
            return true;
        }
        catch (const Error&)
        {
            return false;
        }
    }

    // Reads one expression or command, several lines while a bracket is open, and runs it.
    void ReadEntry()
    {
        std::string entry;
        OpenBrackets brackets;
        int64 numLines = 0;
        bool isOpen = true;
        while (isOpen)
        {
            FlushOutput(); // what is known is shown before input is waited for
            std::string line;
            const ERead read = ReadLine(numLines == 0 ? s_prompt : s_continuation, line);
            if (read == READ_INTERRUPTED)
                return;
            m_hasFailed |= read == READ_FAILED;
            m_isLeaving = read == READ_END || read == READ_FAILED;
            if (m_isLeaving)
                break;
            if (line.find('\n') != std::string::npos && (numLines > 0 || !IsExpression(line)))
                SplitPasted(line);
            if (numLines++ > 0)
                entry += '\n';
            entry += line;
            isOpen = !IsCommand(entry) && brackets.AreThereBehind(line);
        }

        const SourceText source{m_reader->IsInteractive() ? "<prompt>" : "<stdin>", entry, m_nextLine};
        if (!m_reader->IsInteractive())
            m_nextLine += numLines;
        if (!IsBlank(source))
        {
            m_reader->Remember(entry);
            const std::string command = IsCommand(entry) ? entry.substr(1) : CommandOfWord(entry);
            const bool isExpression = command.empty() && !IsCommand(entry);
            m_hasFailed |=
                !Interruptible([&] { return isExpression ? EvaluateExpression(source) : RunCommand(command); });
        }
    }

    // Ctrl-C ends what runs, and what it has not written yet is forgotten.
    template <class F>
    static bool Interruptible(const F& run)
    {
        try
        {
            return run();
        }
        catch (const Interrupted&)
        {
            evaluation::s_isInterrupted = 0;
            DropOutput();
            Put("\ninterrupted\n"); // behind what the terminal shows of the key
            return false;
        }
    }

    static bool IsCommand(const std::string& entry) { return entry.starts_with(':'); }

    // What people try first works without its colon.
    static std::string CommandOfWord(const std::string& entry)
    {
        const WordAndRest words = SplitFirstWord(entry);
        for (const ConstStringZ word : {"help", "quit", "exit"})
            if (words.m_rest.empty() && words.m_word == word)
                return words.m_word;
        return {};
    }

    bool EvaluateExpression(const SourceText& source) const
    {
        return PutOutcome(source, Evaluate(source), ValueFormOf(m_options));
    }

    Outcome Evaluate(const SourceText& source) const
    {
        const Progress progress("evaluating");
        Outcome outcome = m_workspace.Evaluate(source);
        ThrowIfInterrupted();
        return outcome;
    }

    bool RunCommand(const std::string& text)
    {
        const WordAndRest words = SplitFirstWord(text);
        const Command* const command = FindCommand(words.m_word);
        if (command == nullptr)
        {
            std::vector<std::string> nearest = NearestNames(words.m_word, CommandNames());
            for (std::string& name : nearest)
                name.insert(name.begin(), ':');
            const std::string question = DidYouMean(nearest);
            ReportError("unknown command :" + words.m_word, "command");
            ReportNote(question.empty() ? ":help lists the commands" : question);
            return false;
        }
        if (command->m_needsArgument && words.m_rest.empty())
        {
            ReportError(":" + words.m_word + " takes an argument: " + command->m_synopsis, "command");
            return false;
        }
        return (this->*command->m_run)(words.m_rest);
    }

    // --- The commands

    bool Help(const std::string&);

    bool Type(const std::string& expression)
    {
        const SourceText source{"<expression>", expression};
        const Outcome outcome = Evaluate(source);
        if (outcome.m_failure)
            return PutOutcome(source, outcome, ValueFormOf(m_options));
        PutLine(KindOf(outcome.m_value));
        return true;
    }

    bool Load(const std::string& argument)
    {
        const bool isLoaded = m_workspace.Load(FileOfArgument(argument));
        if (isLoaded)
            PutLine(GetObject() ? GetObject().GetReflectedClass()->m_name : "null");
        return isLoaded;
    }

    bool Get(const std::string& path)
    {
        return HasObject() && PutIfAny(FieldText(GetObject(), path, FieldFormOf(m_options)));
    }

    bool Set(const std::string& argument)
    {
        const WordAndRest words = SplitBehind(argument, 0, EndOfPath(argument, 0));
        return HasObject() && SetField(GetObject(), words.m_word, words.m_rest, false) &&
               PutIfAny(FieldText(GetObject(), words.m_word, FieldFormOf(m_options)));
    }

    bool Print(const std::string&) { return HasObject() && PutObject(GetObject(), FormOf(m_options)); }

    bool Types(const std::string& name)
    {
        if (!name.empty())
            return ShowType(name);
        ListTypes();
        return true;
    }

    bool Quit(const std::string&)
    {
        m_isLeaving = true;
        return true;
    }

    ptr<IObject> GetObject() const { return m_workspace.GetObject(); }

    bool HasObject() const
    {
        if (!GetObject())
            ReportError("no object is loaded: :load FILE loads one", "command");
        return static_cast<bool>(GetObject());
    }

    static bool PutIfAny(const std::optional<std::string>& text)
    {
        if (text)
            PutLine(*text);
        return text.has_value();
    }

    // --- Completion

    static const Command* FindCommand(const std::string& name);
    static std::vector<std::string> CommandNames();

    // What a line is the beginning of, and where its argument begins.
    static EArgument ArgumentOf(const std::string& line, std::size_t& begin)
    {
        begin = 0;
        if (!IsCommand(line))
            return ARG_EXPRESSION;
        const Command* const command = FindCommand(SplitFirstWord(line.substr(1)).m_word);
        begin = line.find_first_not_of(" \t", std::min(line.find_first_of(" \t"), line.size()));
        return command != nullptr ? command->m_argument : ARG_NONE;
    }

    // Where the value begins that follows the path at `path`; npos where there is none yet.
    static std::size_t ValueOf(const std::string& line, std::size_t path)
    {
        const std::size_t end = EndOfPath(line, path);
        if (end == line.size())
            return std::string::npos;
        return std::min(line.find_first_not_of(" \t", end), line.size());
    }

    bool TakesFile(const std::string& line) const override
    {
        std::size_t begin = 0;
        return ArgumentOf(line, begin) == ARG_FILE;
    }

    ConstStringZ GetWordBreaks(const std::string& line) const override
    {
        std::size_t begin = 0;
        const EArgument argument = ArgumentOf(line, begin);
        if (argument == ARG_PATH_AND_VALUE && ValueOf(line, begin) != std::string::npos)
            return s_valueBreaks;
        return argument == ARG_FILE || argument == ARG_TYPE ? s_nameBreaks : s_expressionBreaks;
    }

    Completions Complete(const std::string& line, std::size_t start, std::size_t end) const override
    {
        const std::string word = line.substr(start, end - start);
        if (IsCommand(line) && line.find_first_of(" \t") >= end)
            return {StartingWith(word, CommandNames())};
        std::size_t begin = 0;
        switch (ArgumentOf(line, begin))
        {
        case ARG_EXPRESSION: return {CompleteInExpression(m_workspace, line.substr(begin, start - begin), word)};
        case ARG_FILE: return {{}, true};
        case ARG_TYPE: return {CompleteTypeName(word)};
        case ARG_PATH_AND_VALUE:
            if (const std::size_t value = ValueOf(line, begin); value <= start)
            {
                const std::string_view all(line);
                const std::string_view path = all.substr(begin, EndOfPath(line, begin) - begin);
                return {CompleteValue(GetObject(), path, all.substr(value, end - value), start - value)};
            }
            [[fallthrough]];
        case ARG_PATH:
            if (begin < start)
                return {StartingWith(word, FieldNamesAt(GetObject(), line.substr(begin, start - begin)))};
            return {};
        case ARG_NONE: return {};
        }
        return {};
    }

    const Options& m_options;
    Workspace m_workspace;
    std::unique_ptr<LineReader> m_reader;
    std::deque<std::string> m_pasted; // lines that are still to be taken
    int64 m_nextLine = 1;
    bool m_isLeaving = false;
    bool m_hasFailed = false;
};

const Repl::Command Repl::s_commands[] = {
    {"help", ":help", ARG_NONE, false, &Repl::Help, "this text"},
    {"type", ":type EXPR", ARG_EXPRESSION, true, &Repl::Type, "the kind of an expression's value"},
    {"load", ":load FILE", ARG_FILE, true, &Repl::Load, "read a data source, whose members are names then"},
    {"get", ":get PATH", ARG_PATH, true, &Repl::Get, "the type and value of a field of what is loaded"},
    {"set", ":set PATH VALUE", ARG_PATH_AND_VALUE, true, &Repl::Set, "read a value into a field of what is loaded"},
    {"print", ":print", ARG_NONE, false, &Repl::Print, "write what is loaded"},
    {"types", ":types [NAME]", ARG_TYPE, false, &Repl::Types, "what is registered, or one type"},
    {"quit", ":quit", ARG_NONE, false, &Repl::Quit, "leave (so does Ctrl-D)"},
    {"exit", ":exit", ARG_NONE, false, &Repl::Quit, "the same"},
};

const Repl::Command* Repl::FindCommand(const std::string& name)
{
    for (const Command& command : s_commands)
        if (name == command.m_name)
            return &command;
    return nullptr;
}

std::vector<std::string> Repl::CommandNames()
{
    std::vector<std::string> names;
    for (const Command& command : s_commands)
        names.emplace_back(command.m_name);
    return names;
}

// A row of two columns.
void PutRow(std::string_view left, std::string_view right)
{
    constexpr std::size_t width = 18;
    Put("  ");
    Put(left);
    Put(std::string(left.size() < width ? width - left.size() : 0, ' ') + " ");
    PutLine(right);
}

// What the natural language makes of a built-in name: len has results, and functions of floats take all numbers.
std::string InNatural(std::string_view name, std::string summary)
{
    if (name == "len")
        return "how many octets a text has, or elements a list";
    constexpr std::string_view exact = "a float64";
    const bool isOfFloats = name != "is_double" && name != "double";
    if (const std::size_t at = summary.find(exact); isOfFloats && at != std::string::npos)
        summary.replace(at, exact.size(), "a number");
    return summary;
}

bool Repl::Help(const std::string&)
{
    PutLine("An expression is evaluated; while a bracket is open, it goes on in the next line.\n");
    for (const Command& command : s_commands)
        PutRow(command.m_synopsis, command.m_summary);
    PutLine(m_workspace.GetScope() != nullptr
                ? "\nFunctions:\n"
                : "\nFunctions, with --natural, --data or --set, or when a data source is loaded:\n");
    for (const evaluation::OwnFunction& function : evaluation::GetOwnFunctions())
        PutRow(std::string(function.m_name) + "(" + function.m_parameters + ")", function.m_summary);
    PutLine("\nNames in expressions:\n");
    for (const BuiltIn& builtIn : GetBuiltIns())
    {
        std::string name(builtIn.m_name.begin(), builtIn.m_name.end());
        std::string summary(builtIn.m_summary);
        if (m_options.m_natural)
            summary = InNatural(name, summary);
        if (builtIn.m_argument != Argument::None)
            name += builtIn.m_argument == Argument::Any || m_options.m_natural ? "(x)" : "(f)";
        PutRow(name, summary);
    }
    return true;
}

} // namespace

int RunRepl(const Options& options)
{
    return Repl(options).Run();
}

} // namespace kelm::tool
