#include "Eval.h"

#include "../evaluation/ExactEvaluation.h"
#include "../evaluation/Values.h"
#include "../evaluation/Workspace.h"
#include "../files/Files.h"
#include "../files/LineInput.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Progress.h"

#include <algorithm>

namespace kelm::tool
{

namespace
{

// Evaluates expressions and writes what they come to, in the form that the options ask for.
class Evaluator
{
public:
    Evaluator(const Workspace& workspace, const Options& options) : m_workspace(workspace), m_form(ValueFormOf(options))
    {
    }

    void EvaluateExpression(const SourceText& source, EBlankText blank)
    {
        const Outcome outcome = m_workspace.Evaluate(source, blank);
        if (!outcome.m_isBlank)
            m_hasFailed |= !PutOutcome(source, outcome, m_form);
    }

    // One expression a line; lines of white space and comments pass.
    void EvaluateLines(const std::string& path)
    {
        LineInput lines(path);
        SourceText source{lines.GetName(), {}, 0};
        const bool isDirect = m_form == VALUE_PLAIN && m_workspace.GetScope() == nullptr;
        while (lines.Read(source.m_text))
        {
            ++source.m_firstLine;
            isDirect ? EvaluateWithoutNames(source, BLANK_PASSES) : EvaluateExpression(source, BLANK_PASSES);
            Progress::Tell(lines.GetNumRead(), lines.GetSize());
        }
        m_hasFailed |= lines.HasFailed();
    }

    // All that is read is one expression.
    void EvaluateWhole(const std::string& path)
    {
        if (const std::optional<NamedText> file = ReadFile(path))
            EvaluateExpression(file->Source(), BLANK_FAILS);
        else
            m_hasFailed = true;
    }

    int GetExitCode() const { return m_hasFailed ? EXIT_FAILED : EXIT_OK; }

private:
    // What most lines are, which need no more than the parser: the same without a detour.
    void EvaluateWithoutNames(const SourceText& source, EBlankText blank)
    {
        KSValue value;
        bool isBlank = false;
        const std::optional<Failure> failure = EvaluateExactly(m_parser, source, blank, value, isBlank);
        if (failure) [[unlikely]]
        {
            Report(source, *failure);
            m_hasFailed = true;
        }
        else if (!isBlank)
            PutPlain(value);
    }

    const Workspace& m_workspace;
    const EValueForm m_form;
    KSParser m_parser;
    bool m_hasFailed = false;
};

// Whether the expressions themselves come from a file.
bool ReadsExpressions(const Options& options)
{
    return options.m_expressions.empty() || (options.m_expressions.size() == 1 && options.m_expressions.front() == "-");
}

} // namespace

int RunEval(const Options& options)
{
    const bool readsExpressions = ReadsExpressions(options);
    const std::string path = options.m_file.empty() ? "-" : options.m_file;
    if (readsExpressions && path == "-" && Workspace::ReadsStandardInput(options))
        return ReportUsage(s_holdsData);
    UseJsonErrors(options.m_json);
    Workspace workspace(options);
    if (const int exitCode = workspace.Open(); exitCode != EXIT_OK)
        return exitCode;
    Evaluator evaluator(workspace, options);
    const Progress progress(readsExpressions ? NameOfFile(path) : "evaluating");
    if (readsExpressions)
        options.m_whole ? evaluator.EvaluateWhole(path) : evaluator.EvaluateLines(path);
    else
        for (std::size_t i = 0; i < options.m_expressions.size(); ++i)
        {
            const std::string name = "<argument " + std::to_string(i + 1) + ">";
            evaluator.EvaluateExpression({name, options.m_expressions[i]}, BLANK_FAILS);
        }
    return evaluator.GetExitCode();
}

} // namespace kelm::tool
