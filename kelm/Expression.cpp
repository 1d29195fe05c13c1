#include <kelm/Expression.h>

#include <kelm/private/Failures.h>
#include <kelm/private/Machine.h>
#include <kelm/private/Recorder.h>
#include <klKelmScript/private/Evaluator.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>

#include <algorithm>
#include <string>
#include <utility>

namespace kelm
{

namespace evaluation
{

namespace
{

using RecordingEvaluator = Evaluator<text::ExpressionCursor, Recorder>;

bool IsOutOfRange(std::string_view message)
{
    return message.find(" is out of range of ") != std::string_view::npos;
}

// False, with why and where, where the text is no expression of the language, or has names that the scope has not.
bool TryRecord(Program& program, const Scope* scope, bool hasScope, std::span<const std::string_view> parameters,
               Failure& failure, std::size_t& place)
{
    try
    {
        ParserBase parser;
        parser.Init(program.m_text);
        RecordingEvaluator evaluator(parser, program, scope, hasScope, parameters);
        evaluator.GetSemantics().RecordText(evaluator);
        return true;
    }
    catch (const LexScannerException& e)
    {
        const std::string_view message(e.m_description);
        place = static_cast<std::size_t>(e.m_pos - program.m_text.data());
        return Fail(failure, IsOutOfRange(message) ? ErrorKind::Range : ErrorKind::Syntax, message);
    }
    catch (Rejected& e)
    {
        failure = std::move(e.m_failure);
        place = e.m_place;
        return false;
    }
}

} // namespace

bool TakeValue(Slot& result, Value& out, Failure& failure)
{
    if (!Load(result, failure))
        return false;
    Value value;
    Slot& slot = ValueAccess::Of(value);
    if (result.m_kind == Kind::Text && result.m_holder == nullptr)
        SetOwnText(slot, result.GetText());
    else
    {
        slot = result;
        result.SetNone();
    }
    out = std::move(value);
    return true;
}

bool EvaluateText(std::string_view text, const Scope* scope, Language language, const Receiver& receiver,
                  std::optional<Error>& error)
{
    Program program;
    program.m_text = text;
    program.m_language = language;
    Failure failure;
    std::size_t place = 0;
    if (TryRecord(program, scope, true, {}, failure, place)) [[likely]]
        if (Execute({&program, program.m_records.data(), scope, nullptr}, receiver, failure, place)) [[likely]]
            return true;
    error = MakeError(text, failure, place);
    return false;
}

} // namespace evaluation

using namespace evaluation; // NOLINT

struct Expression::Kept
{
    Kept(std::string_view text, const Scope* scope, bool hasScope, std::span<const std::string_view> parameters,
         Language language)
        : m_text(text), m_scope(scope), m_parameters(parameters.begin(), parameters.end())
    {
        m_program.m_text = m_text;
        m_program.m_language = language;
        Failure failure;
        std::size_t place = 0;
        if (!TryRecord(m_program, scope, hasScope, parameters, failure, place))
            throw MakeError(m_text, failure, place);
        for (const NameUse& use : m_program.m_names)
            if (!use.m_isMember && std::find(m_names.begin(), m_names.end(), use.m_name) == m_names.end())
                m_names.emplace_back(use.m_name);
    }

    const std::string m_text;
    const Scope* const m_scope;
    const std::vector<std::string> m_parameters;
    Program m_program;
    std::vector<std::string> m_names;
};

Expression::Expression(std::string_view text, Language language)
    : m_kept(std::make_unique<Kept>(text, nullptr, false, std::span<const std::string_view>(), language))
{
}

Expression::Expression(std::string_view text, const Scope& scope, std::initializer_list<std::string_view> parameters,
                       Language language)
    : Expression(text, scope, std::span(parameters.begin(), parameters.size()), language)
{
}

Expression::Expression(std::string_view text, const Scope& scope, std::span<const std::string_view> parameters,
                       Language language)
{
    for (std::size_t i = 0; i < parameters.size(); ++i)
    {
        ScopeAccess::CheckName(parameters[i]);
        if (std::find(parameters.begin(), parameters.begin() + static_cast<ssize_t>(i), parameters[i]) !=
            parameters.begin() + static_cast<ssize_t>(i))
            throw Error({.m_kind = ErrorKind::Name, .m_message = "Repeated name " + std::string(parameters[i])});
    }
    m_kept = std::make_unique<Kept>(text, &scope, true, parameters, language);
}

Expression::Expression(Expression&&) noexcept = default;
Expression& Expression::operator=(Expression&&) noexcept = default;
Expression::~Expression() = default;

const std::vector<std::string>& Expression::GetNames() const
{
    return m_kept->m_names;
}

bool Expression::Execute(const Scope* scope, const Slot* arguments, std::size_t numArguments, const Receiver& receiver,
                         std::optional<Error>& error) const
{
    const Kept& kept = *m_kept;
    if (numArguments != kept.m_parameters.size()) [[unlikely]]
    {
        const auto count = static_cast<int32>(kept.m_parameters.size());
        error = Error({.m_kind = ErrorKind::Call, .m_message = CountMessage("Evaluate", numArguments, count, count)});
        return false;
    }
    Failure failure;
    std::size_t place = 0;
    const Record* const* records = kept.m_program.m_records.data();
    SmallArray<const Record*, 12> others;
    if (scope != nullptr)
    {
        for (const NameUse& use : kept.m_program.m_names)
            others.Add(use.m_isMember ? ScopeAccess::FindMember(scope, use.m_name)
                                      : ScopeAccess::Find(scope, use.m_name));
        records = others.data();
    }
    if (evaluation::Execute({&kept.m_program, records, scope != nullptr ? scope : kept.m_scope, arguments}, receiver,
                            failure, place)) [[likely]]
        return true;
    error = MakeError(kept.m_text, failure, place);
    return false;
}

} // namespace kelm
