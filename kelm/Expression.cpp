#include <kelm/Expression.h>

#include <kelm/private/errors/Failures.h>
#include <kelm/private/expressions/Functions.h>
#include <kelm/private/expressions/Machine.h>
#include <kelm/private/expressions/MovedFrom.h>
#include <kelm/private/expressions/Recorder.h>
#include <klKelmScript/private/Evaluator.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/LexScannerException.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <mutex>
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

// How a text has been recorded.
enum class Recorded : uint8
{
    AsAsked,
    Wrongly, // a typed program, of what needs the general form
    Refused, // the text is no expression of the language, or has names that the scope has not
};

// Typed where `isTyped`: the types of its parameters are known then. With why and where, where the text is refused.
Recorded RecordText(Program& program, const Scope* scope, bool hasScope, bool isTyped, const ParameterType* types,
                    Failure& failure, std::size_t& place)
{
    try
    {
        ParserBase parser;
        parser.Init(program.m_text);
        RecordingEvaluator evaluator(parser, program, scope, hasScope, isTyped, types);
        evaluator.GetSemantics().RecordText(evaluator);
        return evaluator.GetSemantics().NeedsGeneralForm() ? Recorded::Wrongly : Recorded::AsAsked;
    }
    catch (const LexScannerException& e)
    {
        const std::string_view message(e.m_description);
        place = static_cast<std::size_t>(e.m_pos - program.m_text.data());
        Fail(failure, IsOutOfRange(message) ? ErrorKind::Range : ErrorKind::Syntax, message);
    }
    catch (Rejected& e)
    {
        failure = std::move(e.m_failure);
        place = e.m_place;
    }
    return Recorded::Refused;
}

Error ErrorOf(const Machine& machine)
{
    return MakeError(machine.m_program->m_text, machine.m_failure, machine.m_failedPlace);
}

bool TryRun(const Program& program, const Record* const* records, const Scope* scope, const Slot* arguments,
            const Receiver& receiver, std::optional<Error>& error)
{
    Machine machine(program, records, scope, arguments);
    if (machine.Run() && machine.Deliver(receiver)) [[likely]]
        return true;
    error = ErrorOf(machine);
    return false;
}

[[noreturn, gnu::cold, gnu::noinline]] void ThrowErrorOf(const Machine& machine)
{
    throw ErrorOf(machine);
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
        slot.m_isResult = false; // but one that the program keeps
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
    if (RecordText(program, scope, true, false, nullptr, failure, place) != Recorded::Refused) [[likely]]
        return TryRun(program, program.m_records.data(), scope, nullptr, receiver, error);
    error = MakeError(text, failure, place);
    return false;
}

} // namespace evaluation

using namespace evaluation; // NOLINT

namespace
{

struct TypedProgram;
using FloatWay = float64 (*)(const TypedProgram& typed, const Scope* scope, const Slot* arguments);
using IntegerWay = IntegerResult (*)(const TypedProgram& typed, const Scope* scope, const Slot* arguments,
                                     const Receiver& receiver);

// A program for one scope as it was, and parameters of certain types.
struct TypedProgram
{
    ScopeState m_state;
    std::vector<ParameterType> m_types;
    TypedProgram* m_next;
    FloatWay m_ofFloat = nullptr;       // where it has no parameters, the expression a scope, and that none outward
    FloatWay m_withArguments = nullptr; // where it takes the arguments
    IntegerWay m_ofInteger[2] = {};     // the same of an integer and of a bool
    IntegerWay m_ofIntegerAlone[2] = {};
    bool m_isPlain = false; // a scope's version and the arguments' types tell whether it is for them and can take them
    Program m_program;
    std::unique_ptr<Program> m_general; // for the same scope, where that is not what the expression was made with

    TypedProgram(const Scope* scope, const Slot* arguments, std::size_t numArguments)
        : m_state(scope), m_types(arguments, arguments + numArguments)
    {
        m_program.m_isTyped = true;
        m_program.m_state = &m_state;
    }

    void FindWays(bool hasScope);

    // Places in what an argument holds are made by the general form, which holds it too.
    bool CanTake(const Slot* arguments) const { return m_program.m_places.size() == 0 || !IsAnyHeld(arguments); }
    [[gnu::noinline]] bool IsAnyHeld(const Slot* arguments) const
    {
        return std::any_of(arguments, arguments + m_types.size(),
                           [](const Slot& x) { return x.m_kind == Kind::Place && x.m_holder != nullptr; });
    }
    bool IsFor(const Scope* scope, const Slot* arguments) const { return m_state.Is(scope) && AreOfTypes(arguments); }
    bool IsPlainlyFor(const Scope* scope, const Slot* arguments, std::size_t numArguments) const
    {
        return m_isPlain && ScopeAccess::VersionOf(scope) == m_state.GetVersion() && m_types.size() == numArguments &&
               AreOfTypes(arguments);
    }
    bool AreOfTypes(const Slot* arguments) const
    {
        for (const ParameterType& type : m_types)
            if (!type.Matches(*arguments++))
                return false;
        return true;
    }
};

} // namespace

// --- A float for whoever asks for one

float64 FloatOfVariable(const TypedProgram& typed, const Scope*, const Slot*)
{
    return *static_cast<const float64*>(typed.m_program.m_ops[0].m_left);
}

[[gnu::cold, gnu::noinline]] float64 FloatOfSlot(Machine& machine)
{
    float64 x = 0.0;
    if (!machine.Deliver({Receive<float64>, &x}))
        ThrowErrorOf(machine);
    return x;
}

template <Kind Result>
float64 FloatOfProgram(const TypedProgram& typed, const Scope* scope, const Slot* arguments)
{
    const Program& program = typed.m_program;
    if (!Machine::FitsRoom(program))
        __builtin_unreachable(); // FindFloatWay
    Machine machine(program, program.m_records.data(), scope, arguments);
    if (!machine.Run()) [[unlikely]]
        ThrowErrorOf(machine);
    if (machine.m_program != &program) [[unlikely]]
        return FloatOfSlot(machine);
    machine.AssumeEmpty();
    return Result == Kind::Float ? machine.m_float : static_cast<float64>(machine.m_integer);
}

// Null where the value may be no number, or there is more to do.
FloatWay FindFloatWay(const Program& program)
{
    if (!Machine::FitsRoom(program))
        return nullptr;
    const bool isFloat = program.m_result == Kind::Float;
    if (isFloat && program.m_ops.size() == 2 && program.m_ops[0].m_step == LoadStep(FT_FLOAT64))
        return FloatOfVariable;
    return isFloat                             ? FloatOfProgram<Kind::Float>
           : program.m_result == Kind::Integer ? FloatOfProgram<Kind::Integer>
                                               : nullptr;
}

// Of a program whose result is one; the receiver gets it where a function has changed the scope.
IntegerResult IntegerOfProgram(const TypedProgram& typed, const Scope* scope, const Slot* arguments,
                               const Receiver& receiver)
{
    const Program& program = typed.m_program;
    if (!Machine::FitsRoom(program))
        __builtin_unreachable(); // FindWays
    Machine machine(program, program.m_records.data(), scope, arguments);
    if (!machine.Run()) [[unlikely]]
        ThrowErrorOf(machine);
    if (machine.m_program != &program) [[unlikely]]
    {
        if (!machine.Deliver(receiver))
            ThrowErrorOf(machine);
        return {0, false};
    }
    machine.AssumeEmpty();
    return {machine.m_integer, true};
}

void TypedProgram::FindWays(bool hasScope)
{
    const FloatWay way = FindFloatWay(m_program);
    const bool isAlone = m_types.empty() && !m_state.HasOuter() && hasScope;
    const bool isBool = m_program.m_result == Kind::Bool;
    if (Machine::FitsRoom(m_program) && (isBool || m_program.m_result == Kind::Integer))
    {
        m_ofInteger[isBool] = IntegerOfProgram;
        m_ofIntegerAlone[isBool] = isAlone ? IntegerOfProgram : nullptr;
    }
    m_isPlain = !m_state.HasOuter() && m_program.m_places.size() == 0;
    m_ofFloat = isAlone ? way : nullptr;
    m_withArguments = way;
}

// The general form, and typed ones for what it has been evaluated with: the first few, which stay for good, so that any
// number of evaluations may go on in them.
struct Expression::Kept
{
    // Of expressions that others have been moved from.
    Kept() : m_scope(nullptr), m_state(nullptr), m_hidesOwnFunction(false), m_hasTypedForm(false) {}
    Kept(std::string_view text, const Scope* scope, bool hasScope, std::span<const std::string_view> parameters,
         Language language)
        : m_text(text)
        , m_scope(scope)
        , m_state(scope)
        , m_ownParameters(parameters.begin(), parameters.end())
        , m_parameters(m_ownParameters.begin(), m_ownParameters.end())
        , m_hasTypedForm(language == Language::Natural)
    {
        m_general.m_text = m_text;
        m_general.m_language = language;
        m_general.m_parameters = m_parameters;
        m_hidesOwnFunction = HidesOwnFunction(scope);
        Failure failure;
        std::size_t place = 0;
        if (RecordText(m_general, scope, hasScope, false, nullptr, failure, place) == Recorded::Refused)
            throw MakeError(m_text, failure, place);
        for (const NameUse& use : m_general.m_names)
            if (!use.m_isMember && std::find(m_names.begin(), m_names.end(), use.m_name) == m_names.end())
                m_names.emplace_back(use.m_name);
        if (hasScope && parameters.empty())
            FindTyped(scope, nullptr); // with parameters, when their types are known
    }
    ~Kept()
    {
        for (TypedProgram* program = m_typed; program != nullptr;)
            delete std::exchange(program, program->m_next);
    }
    Kept(const Kept&) = delete;
    Kept& operator=(const Kept&) = delete;

    // The newest fits nearly always. Null where there is none and none is to be made.
    const TypedProgram* FindNewest() const { return m_typed.load(std::memory_order_acquire); }
    // The newest where that is for them, for who calls nobody else then.
    [[gnu::always_inline]] const TypedProgram* FindPlain(const Scope* scope, const Slot* arguments,
                                                         std::size_t numArguments) const
    {
        const TypedProgram* const newest = FindNewest();
        return newest != nullptr && newest->IsPlainlyFor(scope, arguments, numArguments) ? newest : nullptr;
    }
    // One that is there already; null where there is none.
    [[gnu::always_inline]] const TypedProgram* Find(const Scope* scope, const Slot* arguments,
                                                    std::size_t numArguments) const
    {
        if (numArguments != m_parameters.size()) [[unlikely]]
            return nullptr;
        const TypedProgram* program = FindNewest();
        while (program != nullptr && !program->IsFor(scope, arguments))
            [[unlikely]] program = program->m_next;
        return program != nullptr && program->CanTake(arguments) ? program : nullptr;
    }
    const TypedProgram* FindTyped(const Scope* scope, const Slot* arguments)
    {
        const TypedProgram* const newest = FindNewest();
        for (const TypedProgram* program = newest; program != nullptr; program = program->m_next)
            if (program->IsFor(scope, arguments))
                return program->CanTake(arguments) ? program : nullptr;
        return m_hasTypedForm.load(std::memory_order_relaxed) ? MakeTyped(scope, arguments, newest) : nullptr;
    }

    void TryExecute(const Scope* scope, const Slot* arguments, std::size_t numArguments, const Receiver& receiver,
                    std::optional<Error>& error)
    {
        if (IsMovedFrom(*this))
        {
            error = Error({.m_kind = ErrorKind::Call, .m_message = "The expression has been moved from"});
            return;
        }
        if (numArguments != m_parameters.size())
        {
            const auto count = static_cast<int32>(m_parameters.size());
            error =
                Error({.m_kind = ErrorKind::Call, .m_message = CountMessage("Evaluate", numArguments, count, count)});
            return;
        }
        if (const TypedProgram* const typed = FindTyped(scope, arguments))
        {
            TryRun(typed->m_program, typed->m_program.m_records.data(), scope, arguments, receiver, error);
            return;
        }
        const Record* const* records = m_general.m_records.data();
        std::array<const Record*, 16> near;
        std::vector<const Record*> far;
        if (!m_state.Is(scope))
        {
            const std::size_t size = m_general.m_names.size();
            if (size > near.size())
                far.resize(size);
            const Record** const found = size > near.size() ? far.data() : near.data();
            FindRecords(m_general, scope, found);
            if (!FitsGeneralForm(scope, found)) [[unlikely]]
                return ExecuteAnew(scope, arguments, receiver, error);
            records = found;
        }
        TryRun(m_general, records, scope, arguments, receiver, error);
    }

    // Whatever is not commonest.
    [[gnu::noinline]] void Execute(const Scope* scope, const Slot* arguments, std::size_t numArguments,
                                   const Receiver& receiver)
    {
        std::optional<Error> error;
        TryExecute(scope, arguments, numArguments, receiver, error);
        if (error)
            throw *std::move(error);
    }

    [[gnu::noinline]] IntegerResult GetInteger(bool isBool, const Scope* scope, const Slot* arguments,
                                               std::size_t numArguments, const Receiver& receiver)
    {
        const TypedProgram* const typed = Find(scope, arguments, numArguments);
        if (typed != nullptr && typed->m_ofInteger[isBool] != nullptr)
            return typed->m_ofInteger[isBool](*typed, scope, arguments, receiver);
        Execute(scope, arguments, numArguments, receiver);
        return {0, false};
    }

    const std::string m_text;
    const Scope* const m_scope;
    const ScopeState m_state; // when the general form was recorded
    const std::vector<std::string> m_ownParameters;
    const std::vector<std::string_view> m_parameters;
    Program m_general;
    bool m_hidesOwnFunction; // the scope did then
    std::vector<std::string> m_names;

private:
    static constexpr int s_maxTyped = 8;

    static bool HidesOwnFunction(const Scope* scope)
    {
        const auto& own = GetOwnFunctions();
        return std::any_of(own.begin(), own.end(),
                           [scope](const OwnFunction& function)
                           { return ScopeAccess::Find(scope, function.m_name) != nullptr; });
    }

    // Whether names stand for what they stood for when the general form was recorded: functions of the library, members
    // of the scope's object, others.
    bool FitsGeneralForm(const Scope* scope, const Record* const* records) const
    {
        for (const NameUse& use : m_general.m_names)
        {
            const Record* const record = *records++;
            if (use.m_isOfObject != (record != nullptr && record->m_is == Record::Is::Member))
                return false;
        }
        return !m_hidesOwnFunction && !HidesOwnFunction(scope);
    }

    void ExecuteAnew(const Scope* scope, const Slot* arguments, const Receiver& receiver, std::optional<Error>& error)
    {
        Program program;
        Failure failure;
        std::size_t place = 0;
        if (RecordFor(program, scope, failure, place) == Recorded::Refused)
            error = MakeError(m_text, failure, place);
        else
            TryRun(program, program.m_records.data(), scope, arguments, receiver, error);
    }

    // The general form for another scope.
    Recorded RecordFor(Program& program, const Scope* scope, Failure& failure, std::size_t& place) const
    {
        program.m_text = m_text;
        program.m_language = m_general.m_language;
        program.m_parameters = m_parameters;
        return RecordText(program, scope, true, false, nullptr, failure, place);
    }

    // Unless another thread has made one meanwhile.
    [[gnu::noinline]] const TypedProgram* MakeTyped(const Scope* scope, const Slot* arguments,
                                                    const TypedProgram* newest)
    {
        const std::lock_guard lock(m_making);
        if (m_typed.load(std::memory_order_relaxed) != newest)
            return nullptr; // which is right as well
        auto typed = std::make_unique<TypedProgram>(scope, arguments, m_parameters.size());
        Program& program = typed->m_program;
        program.m_text = m_text;
        program.m_language = m_general.m_language;
        program.m_parameters = m_parameters;
        Failure failure;
        std::size_t place = 0;
        const Recorded recorded = RecordText(program, scope, true, true, typed->m_types.data(), failure, place);
        if (recorded == Recorded::Wrongly || ++m_numTried == s_maxTyped)
            m_hasTypedForm = false;
        if (recorded != Recorded::AsAsked)
            return nullptr;
        program.m_general = &m_general;
        if (!m_state.Is(scope))
        {
            typed->m_general = std::make_unique<Program>();
            program.m_general = typed->m_general.get();
            if (RecordFor(*typed->m_general, scope, failure, place) == Recorded::Refused)
                return nullptr;
        }
        typed->m_next = m_typed.load(std::memory_order_relaxed);
        typed->FindWays(m_scope != nullptr);
        m_typed.store(typed.get(), std::memory_order_release);
        const TypedProgram* const made = typed.release();
        return made->CanTake(arguments) ? made : nullptr;
    }

    std::atomic<TypedProgram*> m_typed = nullptr;
    std::atomic<bool> m_hasTypedForm;
    int m_numTried = 0;
    std::mutex m_making;
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

Expression::Expression(Expression&& other) noexcept : m_kept(TakeOver(other.m_kept)) {}
Expression& Expression::operator=(Expression&& other) noexcept
{
    Expression former(std::move(other));
    std::swap(m_kept, former.m_kept);
    return *this;
}
Expression::~Expression()
{
    Dispose(std::move(m_kept));
}

const std::vector<std::string>& Expression::GetNames() const&
{
    return m_kept->m_names;
}

void Expression::Execute(const Scope* scope, const Slot* arguments, std::size_t numArguments,
                         const Receiver& receiver) const
{
    Kept& kept = *m_kept;
    if (scope == nullptr)
        scope = kept.m_scope;
    const TypedProgram* const typed = kept.Find(scope, arguments, numArguments);
    if (typed == nullptr) [[unlikely]]
        return kept.Execute(scope, arguments, numArguments, receiver);
    Machine machine(typed->m_program, typed->m_program.m_records.data(), scope, arguments);
    if (!machine.Run() || !machine.Deliver(receiver)) [[unlikely]]
        ThrowErrorOf(machine);
}

float64 Expression::ExecuteFloat() const
{
    const Kept& kept = *m_kept;
    const TypedProgram* const newest = kept.FindNewest();
    if (newest != nullptr && newest->m_ofFloat != nullptr &&
        ScopeAccess::VersionOf(*kept.m_scope) == newest->m_state.GetVersion()) [[likely]]
        return newest->m_ofFloat(*newest, kept.m_scope, nullptr);
    return ExecuteAsFloat(kept.m_scope, nullptr, 0);
}

float64 Expression::ExecuteFloat(const Scope* scope, const Slot* arguments, std::size_t numArguments) const
{
    const Kept& kept = *m_kept;
    if (scope == nullptr)
        scope = kept.m_scope;
    const TypedProgram* const plain = kept.FindPlain(scope, arguments, numArguments);
    if (plain != nullptr && plain->m_withArguments != nullptr) [[likely]]
        return plain->m_withArguments(*plain, scope, arguments);
    return ExecuteAsFloat(scope, arguments, numArguments);
}

float64 Expression::ExecuteAsFloat(const Scope* scope, const Slot* arguments, std::size_t numArguments) const
{
    const TypedProgram* const typed = m_kept->Find(scope, arguments, numArguments);
    if (typed != nullptr && typed->m_withArguments != nullptr)
        return typed->m_withArguments(*typed, scope, arguments);
    float64 x = 0.0;
    Execute(scope, arguments, numArguments, {Receive<float64>, &x});
    return x;
}

IntegerResult Expression::ExecuteInteger(bool isBool, const Receiver& receiver) const
{
    const Kept& kept = *m_kept;
    const TypedProgram* const newest = kept.FindNewest();
    if (newest != nullptr && newest->m_ofIntegerAlone[isBool] != nullptr &&
        ScopeAccess::VersionOf(*kept.m_scope) == newest->m_state.GetVersion()) [[likely]]
        return newest->m_ofIntegerAlone[isBool](*newest, kept.m_scope, nullptr, receiver);
    return ExecuteInteger(isBool, nullptr, nullptr, 0, receiver);
}

IntegerResult Expression::ExecuteInteger(bool isBool, const Scope* scope, const Slot* arguments,
                                         std::size_t numArguments, const Receiver& receiver) const
{
    const Kept& kept = *m_kept;
    if (scope == nullptr)
        scope = kept.m_scope;
    const TypedProgram* const plain = kept.FindPlain(scope, arguments, numArguments);
    if (plain != nullptr && plain->m_ofInteger[isBool] != nullptr) [[likely]]
        return plain->m_ofInteger[isBool](*plain, scope, arguments, receiver);
    return m_kept->GetInteger(isBool, scope, arguments, numArguments, receiver);
}

void Expression::Refuse(int64 x, const Receiver& receiver) const
{
    Failure failure;
    Slot slot;
    slot.Set(x);
    receiver.m_receive(slot, receiver.m_out, failure);
    throw MakeError(m_kept->m_text, failure, 0);
}

void Expression::TryExecute(const Scope* scope, const Slot* arguments, std::size_t numArguments,
                            const Receiver& receiver, std::optional<Error>& error) const
{
    Kept& kept = *m_kept;
    if (scope == nullptr)
        scope = kept.m_scope;
    if (const TypedProgram* const typed = kept.Find(scope, arguments, numArguments)) [[likely]]
        TryRun(typed->m_program, typed->m_program.m_records.data(), scope, arguments, receiver, error);
    else
        kept.TryExecute(scope, arguments, numArguments, receiver, error);
}

} // namespace kelm
