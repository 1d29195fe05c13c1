#include "Workspace.h"

#include "../files/DataSources.h"
#include "../files/Files.h"
#include "../reporting/Diagnostics.h"
#include "../reporting/Suggest.h"
#include "ExactEvaluation.h"

#include <kelm/Expression.h>
#include <kelm/private/errors/Suggest.h>
#include <kelm/private/types/Names.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <iterator>
#include <new>

namespace kelm::tool
{

namespace
{

// Indexed by ErrorKind.
constexpr ConstStringZ s_kinds[] = {"syntax",     "name", "type", "range",   "check",
                                    "arithmetic", "call", "file", "internal"};
static_assert(std::size(s_kinds) == static_cast<std::size_t>(ErrorKind::Internal) + 1);

Failure FailureOf(const SourceText& source, const Error& error)
{
    Failure failure{s_kinds[static_cast<std::size_t>(error.GetKind())],
                    error.GetMessage(),
                    OffsetOf(source.m_text, error),
                    {},
                    error.GetExcerpt()};
    if (!error.GetSuggestions().empty())
        failure.m_notes.push_back({DidYouMean(error.GetSuggestions()), failure.m_offset});
    AddHint(failure, source.m_text);
    return failure;
}

Value ValueOf(const KSValue& value)
{
    switch (value.GetTag())
    {
    case KSV_BOOL: return value.as<bool>();
    case KSV_INT64: return static_cast<int64>(value.as<int64>());
    case KSV_FLOAT64: return static_cast<float64>(value.as<float64>());
    case KSV_STRING8: return value.as<string8>().view();
    case KSV_VOID:
    case KSV_REFLECTED_VALUE: break; // no expression has such a value
    }
    return {};
}

// "NAME=REST". Without a name in front, all is the rest.
struct NameAndRest
{
    std::string m_name;
    std::string m_rest;
};

NameAndRest SplitAtEqual(const std::string& text)
{
    const std::size_t equal = text.find('=');
    std::string name = text.substr(0, std::min(equal, text.size()));
    const bool isName = equal != std::string::npos && std::all_of(name.begin(), name.end(), IsIdentifierCharacter);
    return isName ? NameAndRest{std::move(name), text.substr(equal + 1)} : NameAndRest{{}, text};
}

} // namespace

Outcome OutcomeOf(const SourceText& source, const std::function<Result<Value>()>& evaluate)
{
    Outcome outcome;
    const DivisionWatch watch(nullptr);
    try
    {
        Result<Value> result = evaluate();
        if (result)
            outcome.m_value = *std::move(result);
        else
            outcome.m_failure = FailureOf(source, result.GetError());
    }
    catch (const Error& e)
    {
        outcome.m_failure = FailureOf(source, e);
    }
    catch (const std::bad_alloc&)
    {
        outcome.m_failure = Failure{"memory", "out of memory", 0, {}};
    }
    if (watch.HasFaulted()) [[unlikely]] // whatever came later came of its substitute result
        outcome.m_failure = FailureOfDivision(source, {});
    return outcome;
}

bool IsBlank(const SourceText& source)
{
    ParserBase parser;
    return !Attempt(source, parser, [&] { parser.Init(source.View()); }) && parser.m_token.m_type == TOKEN_END;
}

// --- Workspace -------------------------------------------------------------------------------------------------------

Workspace::Workspace(const Options& options)
    : m_options(options), m_language(options.m_natural ? Language::Natural : Language::Exact)
{
}

bool Workspace::ReadsStandardInput(const Options& options)
{
    return std::any_of(options.m_data.begin(), options.m_data.end(),
                       [](const std::string& data) { return SplitAtEqual(data).m_rest == "-"; });
}

int Workspace::Open()
{
    if (!m_options.m_natural && m_options.m_data.empty() && m_options.m_settings.empty())
        return EXIT_OK;
    for (const std::string& setting : m_options.m_settings)
        if (SplitAtEqual(setting).m_name.empty())
            return ReportUsage("--set: " + setting + " is not of the form NAME=EXPRESSION");
    bool hasObject = false;
    for (const std::string& data : m_options.m_data)
    {
        const NameAndRest parts = SplitAtEqual(data);
        if (parts.m_name.empty() && std::exchange(hasObject, true))
            return ReportUsage("--data: the members of one FILE alone are names; NAME=FILE names another");
    }
    for (const std::string& data : m_options.m_data)
    {
        const NameAndRest parts = SplitAtEqual(data);
        GcRoot object;
        if (!ReadData(parts.m_rest, object))
            return EXIT_FAILED;
        if (parts.m_name.empty())
            m_object = object;
        else
            m_data.push_back(std::make_unique<Data>(Data{parts.m_name, object, object.get()}));
    }
    try
    {
        BindData();
    }
    catch (const Error& e) // of a name
    {
        return ReportUsage("--data: " + e.GetMessage());
    }
    return EvaluateSettings();
}

bool Workspace::Load(const std::string& file)
{
    GcRoot object;
    const bool isRead = ReadData(file, object);
    if (isRead)
    {
        m_object = object;
        BindData();
        static_cast<void>(EvaluateSettings());
    }
    CollectGarbage(); // what was there before, or what a failure has left
    return isRead;
}

bool Workspace::ReadData(const std::string& file, GcRoot& object)
{
    const std::optional<NamedText> text = ReadFile(file);
    return text && LoadDataSource(text->Source(), TRAILING_WARNS, object);
}

void Workspace::BindData()
{
    m_scope = std::make_unique<Scope>();
    m_handle = m_object.get();
    m_scope->BindMembers(m_handle);
    for (const std::unique_ptr<Data>& data : m_data)
        m_scope->Bind(data->m_name, data->m_handle);
}

int Workspace::EvaluateSettings()
{
    for (const std::string& setting : m_options.m_settings)
    {
        const NameAndRest parts = SplitAtEqual(setting);
        const std::string name = "<" + parts.m_name + ">";
        const SourceText source{name, parts.m_rest};
        Outcome outcome = Evaluate(source);
        if (outcome.m_failure)
        {
            Report(source, *outcome.m_failure);
            return EXIT_FAILED;
        }
        try
        {
            m_scope->Set(parts.m_name, std::move(outcome.m_value));
        }
        catch (const Error& e)
        {
            return ReportUsage("--set: " + e.GetMessage());
        }
    }
    return EXIT_OK;
}

Expression Workspace::Compile(std::string_view text, const Scope& scope,
                              std::span<const std::string_view> parameters) const
{
    // The grammar is the same, and in the natural language nothing may stand behind an expression.
    if (m_language == Language::Exact)
        static_cast<void>(Expression(text, Language::Natural));
    return Expression(text, scope, parameters, m_language);
}

std::vector<std::string> Workspace::GetMemberNames() const
{
    return m_handle ? ModelFieldNames(*m_handle.GetReflectedClass()) : std::vector<std::string>();
}

std::vector<std::string> Workspace::GetNames() const
{
    std::vector<std::string> names = GetMemberNames();
    for (const std::unique_ptr<Data>& data : m_data)
        names.push_back(data->m_name);
    for (const std::string& setting : m_options.m_settings)
        names.push_back(SplitAtEqual(setting).m_name);
    return names;
}

std::vector<std::string> Workspace::MemberNamesAt(std::string_view path) const
{
    if (m_scope == nullptr)
        return {};
    const Result<Value> object = TryEvaluate(path, *m_scope);
    return object ? object->GetMemberNames() : std::vector<std::string>();
}

Outcome Workspace::Evaluate(const SourceText& source, EBlankText blank) const
{
    Outcome outcome;
    if (m_scope == nullptr)
    {
        KSValue value;
        KSParser parser;
        outcome.m_failure = EvaluateExactly(parser, source, blank, value, outcome.m_isBlank);
        if (!outcome.m_failure)
            outcome.m_value = ValueOf(value);
        return outcome;
    }
    outcome.m_isBlank = blank == BLANK_PASSES && IsBlank(source);
    if (!outcome.m_isBlank)
        outcome = OutcomeOf(source, [&] { return Compile(source.m_text, *m_scope, {}).TryEvaluate(); });
    return outcome;
}

} // namespace kelm::tool
