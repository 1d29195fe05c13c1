#pragma once

#include "../commandline/Options.h"
#include "../repl/BlankText.h"
#include "../reporting/Failure.h"

#include <kelm/Error.h>
#include <kelm/Expression.h>
#include <kelm/Language.h>
#include <kelm/Scope.h>
#include <kelm/Value.h>
#include <kelm/private/errors/Source.h>
#include <klObject/objects/Collector.h>

#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace kelm::tool
{

// What an expression came to: its value, or else why it has none.
struct Outcome
{
    Value m_value;
    std::optional<Failure> m_failure;
    bool m_isBlank = false; // there was no expression, and that is no failure
};

// What is said where --data takes what expressions were expected in.
inline constexpr char s_holdsData[] = "standard input holds the data, and no expressions";

// What an evaluation of the text with names came to; `evaluate` gives a result or throws an Error.
Outcome OutcomeOf(const SourceText& source, const std::function<Result<Value>()>& evaluate);

// Whether a text holds nothing but white space and comments.
bool IsBlank(const SourceText& source);

// What expressions are evaluated with: a language, and the names of the data that the command line gives. Without
// either it is the library's own parser that evaluates, which knows no names.
class Workspace
{
public:
    explicit Workspace(const Options& options);
    Workspace(const Workspace&) = delete;
    Workspace& operator=(const Workspace&) = delete;

    // Whether a data source is read from standard input, which then holds nothing else.
    static bool ReadsStandardInput(const Options& options);

    // Reads what --data names and evaluates what --set asks for. Gives the exit code; what is wrong where that is not
    // EXIT_OK has been reported.
    int Open();

    // Reads a data source, in place of the one whose members are names, and evaluates anew what --set asks for. False,
    // after the error was reported, where it cannot be read.
    bool Load(const std::string& file);

    // Whose members are names; null where nothing is loaded.
    ptr<IObject> GetObject() const { return m_object.get(); }

    // Null where there are no names.
    const Scope* GetScope() const { return m_scope.get(); }

    // The members that are names; all names of the data, these among them; and the members at the end of a path that
    // begins with one: "order.lines[0]".
    std::vector<std::string> GetMemberNames() const;
    std::vector<std::string> GetNames() const;
    std::vector<std::string> MemberNamesAt(std::string_view path) const;

    // Evaluates a text that is one expression to its end.
    Outcome Evaluate(const SourceText& source, EBlankText blank = BLANK_FAILS) const;

    // An expression to its end, in the language that was asked for. Throws an Error.
    Expression Compile(std::string_view text, const Scope& scope, std::span<const std::string_view> parameters) const;

private:
    struct Data
    {
        std::string m_name;
        GcRoot m_root;
        ptr<IObject> m_handle; // what the name stands for
    };

    static bool ReadData(const std::string& file, GcRoot& object);
    void BindData();
    int EvaluateSettings();

    const Options& m_options;
    const Language m_language;
    std::vector<std::unique_ptr<Data>> m_data;
    GcRoot m_object;
    ptr<IObject> m_handle; // the same, as the scope sees it
    std::unique_ptr<Scope> m_scope;
};

} // namespace kelm::tool
