#include "Eval.h"

#include "Attempt.h"
#include "Diagnostics.h"
#include "Files.h"
#include "JsonText.h"

#include <klKelmScript/KSParser.h>
#include <klUtils/xostream.h>

#include <cstdio>
#include <iostream>
#include <istream>
#include <sstream>

namespace kelm::tool
{

namespace
{

// Evaluates expressions and writes what they come to, in the form that the options ask for.
class Evaluator
{
public:
    explicit Evaluator(const Options& options) : m_options(options) {}

    // A text that must be an expression.
    void EvaluateExpression(const SourceText& source)
    {
        const Outcome outcome = Evaluate(source);
        m_hasFailed |= outcome.m_failure.has_value();
        if (m_options.m_json)
            Put(CompactText(JsonOfOutcome(outcome, source)));
        else if (outcome.m_failure)
            Report(source, *outcome.m_failure);
        else
            Put(TextOf(outcome.m_value, m_options.m_type));
    }

    // One expression a line; lines of white space and comments pass. What is known is written before more input is
    // waited for.
    void EvaluateLines(std::istream& lines, const std::string& name)
    {
        SourceText source{name, {}, 0};
        while (std::getline(lines, source.m_text))
        {
            ++source.m_firstLine;
            if (!IsBlank(source))
                EvaluateExpression(source);
            if (lines.rdbuf()->in_avail() <= 0)
                std::fflush(stdout);
        }
    }

    int GetExitCode() const { return m_hasFailed ? 1 : 0; }

private:
    static Json JsonOfOutcome(const Outcome& outcome, const SourceText& source)
    {
        if (outcome.m_failure)
            return {{"error", JsonOfFailure(*outcome.m_failure, source)}};
        return {{"value", JsonOfValue(outcome.m_value)}, {"kind", TypeToString(outcome.m_value.GetTag())}};
    }

    static void Put(std::string line)
    {
        line += '\n';
        std::fwrite(line.data(), 1, line.size(), stdout);
    }

    const Options& m_options;
    bool m_hasFailed = false;
};

} // namespace

Outcome Evaluate(const SourceText& source)
{
    Outcome outcome;
    KSParser parser;
    outcome.m_failure = Attempt(source, parser,
                                [&]
                                {
                                    parser.Init(source.View());
                                    parser.ParseExpression(outcome.m_value);
                                    if (parser.m_token.m_type != TOKEN_END)
                                        parser.ThrowExpectedException("end of text");
                                });
    return outcome;
}

bool IsBlank(const SourceText& source)
{
    ParserBase parser;
    return !Attempt(source, parser, [&] { parser.Init(source.View()); }) && parser.m_token.m_type == TOKEN_END;
}

std::string TextOf(const KSValue& value, bool withKind)
{
    StringStream os(64);
    if (withKind)
        os << TypeToString(value.GetTag()) << " ";
    os << value;
    return std::string(os.GetString().view());
}

int RunEval(const Options& options)
{
    Evaluator evaluator(options);
    if (!options.m_file.empty())
    {
        const std::optional<SourceText> file = ReadFile(options.m_file);
        if (!file)
            return 1;
        std::istringstream lines(file->m_text);
        evaluator.EvaluateLines(lines, file->m_name);
    }
    else if (options.m_expressions.empty())
    {
        std::ios::sync_with_stdio(false);
        evaluator.EvaluateLines(std::cin, "<stdin>");
    }
    else
    {
        for (std::size_t i = 0; i < options.m_expressions.size(); ++i)
            evaluator.EvaluateExpression({"<argument " + std::to_string(i + 1) + ">", options.m_expressions[i]});
    }
    return evaluator.GetExitCode();
}

} // namespace kelm::tool
