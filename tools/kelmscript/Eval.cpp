#include "Eval.h"

#include "Attempt.h"
#include "Diagnostics.h"
#include "Files.h"
#include "JsonText.h"
#include "LineInput.h"
#include "Output.h"

#include <klKelmScript/KSParser.h>

namespace kelm::tool
{

namespace
{

// Evaluates expressions and writes what they come to, in the form that the options ask for.
class Evaluator
{
public:
    explicit Evaluator(const Options& options) : m_options(options) {}

    void EvaluateExpression(const SourceText& source, EBlankText blank)
    {
        const Outcome outcome = Evaluate(source, blank);
        if (outcome.m_isBlank)
            return;
        m_hasFailed |= outcome.m_failure.has_value();
        if (m_options.m_json)
            PutJson(outcome, source);
        else if (outcome.m_failure)
            Report(source, *outcome.m_failure);
        else
            PutValue(outcome.m_value, m_options.m_type);
    }

    // One expression a line; lines of white space and comments pass.
    void EvaluateLines(const std::string& path)
    {
        LineInput lines(path);
        SourceText source{lines.GetName(), {}, 0};
        while (lines.Read(source.m_text))
        {
            ++source.m_firstLine;
            EvaluateExpression(source, BLANK_PASSES);
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
    static void PutJson(const Outcome& outcome, const SourceText& source)
    {
        JsonText json(JSON_COMPACT);
        json.BeginObject();
        if (outcome.m_failure)
        {
            json.Name("error");
            json.Failure(*outcome.m_failure, source);
        }
        else
        {
            json.Name("value");
            json.Value(outcome.m_value);
            json.Name("kind");
            json.Text(TypeToString(outcome.m_value.GetTag()));
        }
        json.EndObject();
        PutLine(json.GetText());
    }

    const Options& m_options;
    bool m_hasFailed = false;
};

} // namespace

Outcome Evaluate(const SourceText& source, EBlankText blank)
{
    Outcome outcome;
    KSParser parser;
    outcome.m_failure = Attempt(source, parser,
                                [&]
                                {
                                    parser.Init(source.View());
                                    outcome.m_isBlank = blank == BLANK_PASSES && parser.m_token.m_type == TOKEN_END;
                                    if (outcome.m_isBlank)
                                        return;
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

void PutValue(const KSValue& value, bool withKind)
{
    if (withKind)
    {
        Put(TypeToString(value.GetTag()));
        Put(" ");
    }
    OutputStream os;
    os << value;
    Put("\n");
}

namespace
{

bool IsStandardInput(const std::vector<std::string>& expressions)
{
    return expressions.size() == 1 && expressions.front() == "-";
}

} // namespace

int RunEval(const Options& options)
{
    Evaluator evaluator(options);
    if (options.m_expressions.empty() || IsStandardInput(options.m_expressions))
    {
        const std::string path = options.m_file.empty() ? "-" : options.m_file;
        options.m_whole ? evaluator.EvaluateWhole(path) : evaluator.EvaluateLines(path);
        return evaluator.GetExitCode();
    }
    for (std::size_t i = 0; i < options.m_expressions.size(); ++i)
    {
        const std::string name = "<argument " + std::to_string(i + 1) + ">";
        evaluator.EvaluateExpression({name, options.m_expressions[i]}, BLANK_FAILS);
    }
    return evaluator.GetExitCode();
}

} // namespace kelm::tool
