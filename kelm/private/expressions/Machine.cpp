#include <kelm/private/expressions/Interruption.h>
#include <kelm/private/expressions/Machine.h>

#include <kelm/private/errors/Failures.h>
#include <kelm/private/expressions/Functions.h>
#include <kelm/private/expressions/Scalars.h>
#include <kelm/private/expressions/UnknownNames.h>
#include <klKelmScript/private/BuiltIns.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

namespace kelm::evaluation
{

namespace
{

// The variables of the commonest types are read where they are.
[[gnu::always_inline]] inline bool PushRecord(const Record& record, Slot& slot, Failure& failure)
{
    switch (record.m_is)
    {
    case Record::Is::Float64: slot.Set(*static_cast<const float64*>(record.m_variable)); return true;
    case Record::Is::Int64: slot.Set(*static_cast<const int64*>(record.m_variable)); return true;
    case Record::Is::Int32: slot.Set(static_cast<int64>(*static_cast<const int32*>(record.m_variable))); return true;
    default: return PushAny(record, slot, failure);
    }
}

} // namespace

void FindRecords(const Program& program, const Scope* scope, const Record** records)
{
    for (const NameUse& use : program.m_names)
        *records++ = use.m_isMember ? ScopeAccess::FindMember(scope, use.m_name) : ScopeAccess::Find(scope, use.m_name);
}

void Machine::MakeRest()
{
    m_rest = std::make_unique<Rest>();
}

void Machine::MakeRoom(std::size_t depth)
{
    GetRest().m_slots = std::make_unique<unsigned char[]>((depth + s_spare) * sizeof(Slot));
    m_base = m_top = reinterpret_cast<Slot*>(m_rest->m_slots.get());
}

// --- Values ----------------------------------------------------------------------------------------------------------

bool Machine::PushNone(const Op&)
{
    (m_top++)->SetNone();
    return true;
}

bool Machine::PushBool(const Op& op)
{
    (m_top++)->Set(op.m_integer != 0);
    return true;
}

bool Machine::PushText(const Op& op)
{
    (m_top++)->SetText(m_program->m_texts[op.m_index]);
    return true;
}

bool Machine::PushName(const Op& op)
{
    const bool isThere = PushRecord(op, *m_top);
    m_top += isThere;
    return isThere;
}

bool Machine::PushRecord(const Op& op, Slot& slot)
{
    const NameUse& use = m_program->m_names[op.m_index];
    const Record* record = m_records[op.m_index];
    if (record == nullptr) // bound since, perhaps
        record = ScopeAccess::Find(m_scope, use.m_name);
    if (record == nullptr)
        return PushResolved(use, slot);
    if (!evaluation::PushRecord(*record, slot, m_failure))
        return false;
    if (record->m_is != Record::Is::Member || StepToMember(slot, record->m_name, GetChecks(), m_failure))
        return true;
    slot.Release();
    slot.SetNone();
    return false;
}

bool Machine::PushParameter(const Op& op)
{
    *m_top = m_parameters[op.m_index];
    (m_top++)->Retain();
    return true;
}

bool Machine::PushLocal(const Op& op)
{
    *m_top = m_base[op.m_index];
    m_top->m_stays = false;
    (m_top++)->Retain();
    return true;
}

bool Machine::Binary(const Op& op)
{
    if (!GetOperations().m_binary[op.GetToken()](m_top[-2], m_top[-1], op.GetToken(), m_failure)) [[unlikely]]
        return AtOperands(op, m_top - 2, m_top - 1);
    --m_top;
    return true;
}

// --- Operations on values --------------------------------------------------------------------------------------------

bool Machine::Prefix(const Op& op)
{
    return GetOperations().m_prefix[op.GetToken()](m_top[-1], op.GetToken(), m_failure) ||
           AtOperands(op, nullptr, m_top - 1);
}

bool Machine::BuiltInFunction(const Op& op)
{
    return ApplyBuiltIn(m_program->m_language, *m_program->m_builtIns[op.m_index], m_top[-1], m_failure) ||
           AtArgument(op, 0);
}

bool Machine::Member(const Op& op)
{
    const std::string_view name = m_program->m_texts[op.m_index];
    return StepToMember(m_top[-1], name, GetChecks(), m_failure) || FailMember(m_scope, name, m_failure);
}

bool Machine::Subscript(const Op& op)
{
    Slot& base = m_top[-2];
    Slot& index = m_top[-1];
    if (m_program->m_language == Language::Exact && base.m_kind == Kind::Text)
        return Fail(m_failure, ErrorKind::Internal, "[] is refused on string");
    if (!StepToElement(base, index, m_failure))
        return AtIndex(op);
    index.Release();
    --m_top;
    return true;
}

bool Machine::Select(const Op&)
{
    Slot* const top = m_top;
    bool isFirst = false;
    if (!ToBool(top[-3], isFirst, m_failure))
        return false;
    top[-3].Release();
    top[-3] = top[isFirst ? -2 : -1];
    top[isFirst ? -1 : -2].Release();
    m_top = top - 2;
    return true;
}

bool Machine::TakeBool(const Op& op, bool isRight, bool& x)
{
    Slot& slot = m_top[-1];
    if (!ToBool(slot, x, m_failure)) [[unlikely]]
        return AtOperands(op, isRight ? nullptr : &slot, isRight ? &slot : nullptr);
    slot.Release();
    --m_top;
    return true;
}

bool Machine::CheckBool(const Op& op)
{
    bool x = false;
    if (!TakeBool(op, true, x))
        return false;
    (m_top++)->Set(x);
    return true;
}

// --- Lists and paths -------------------------------------------------------------------------------------------------

bool Machine::ListBegin(const Op& op, bool& hasElement)
{
    Slot* const list = m_top - 1;
    std::size_t length = 0;
    if (list->m_kind == Kind::Place && !GoToList(*list, m_program->m_isTraced, m_failure))
        return AtListArgument(op, 0, *list);
    if (list->m_kind != Kind::Place || !GetLength(*list, length, m_failure))
    {
        Fail(m_failure, ErrorKind::Type, "No list but " + NameOfType(*list));
        return AtListArgument(op, 0, *list);
    }
    const auto function = static_cast<ListFunction>(op.m_index);
    if (function == ListFunction::Any || function == ListFunction::All)
        list[1].Set(function == ListFunction::All);
    else
        list[1].Set(int64(0));
    list[2].Set(int64(0)); // the number of the element
    list[2].m_checks = 0;
    list[2].m_holder = nullptr;
    list[2].m_size = length;
    m_top += 2;
    return PushElement(hasElement);
}

volatile std::sig_atomic_t s_isInterrupted = 0;

// The body's value is at the top.
bool Machine::ListNext(const Op& op, bool& hasElement)
{
    if (s_isInterrupted != 0) [[unlikely]]
        return Fail(m_failure, ErrorKind::Internal, "Interrupted");
    Slot* const list = m_top - 5;
    const auto function = static_cast<ListFunction>(op.m_index);
    if (function == ListFunction::Sum)
    {
        const std::size_t plus = IndexOfToken(TOKEN_PLUS);
        if (!GetOperations().m_binary[plus](list[1], list[4], plus, m_failure))
            return AtListArgument(op, 2, list[4]);
    }
    else
    {
        bool holds = false;
        if (!ToBool(list[4], holds, m_failure))
            return AtListArgument(op, 2, list[4]);
        list[4].Release();
        if (function == ListFunction::Count)
            list[1].m_integer += holds;
        else
            list[1].m_bool = holds;
        if (function == (holds ? ListFunction::Any : ListFunction::All))
            list[2].m_size = 0; // nothing more can change it
    }
    m_top = list + 3; // the element owns nothing
    ++list[2].m_integer;
    return PushElement(hasElement);
}

bool Machine::PushElement(bool& hasElement)
{
    Slot* const list = m_top - 3;
    hasElement = list[2].m_integer < static_cast<int64>(list[2].m_size);
    if (!hasElement)
    {
        list->Release();
        *list = list[1];
        m_top = list + 1;
        return true;
    }
    if (!(m_program->m_isTraced ? FindAgain(*list) : true) || !FindElement(list))
        return false;
    ++m_top;
    return true;
}

// has(path): what it began with stands below the path, and above that one which it is within.
bool Machine::BeginPath(const Op& op)
{
    Slot& frame = *m_top++;
    frame.Set(GetRest().m_path);
    frame.m_size = op.m_target;
    m_rest->m_path = m_top - m_base;
    return true;
}

// The path is at the top.
bool Machine::EndPath(const Op&)
{
    const bool isThere = IsThere(m_top[-1]);
    (--m_top)->Release();
    m_rest->m_path = m_top[-1].m_integer;
    m_top[-1].Set(isThere);
    return true;
}

// Behind a path that leads nowhere.
bool Machine::GoOnBehindPath(const Op*& op)
{
    if (m_rest == nullptr || m_rest->m_path == 0 || m_failure.m_details->m_kind != ErrorKind::Range)
        return false;
    Slot* const path = m_base + m_rest->m_path;
    while (m_top > path)
        (--m_top)->Release();
    m_rest->m_path = path[-1].m_integer;
    op = GetOp(path[-1].m_size);
    path[-1].Set(false);
    m_failure.m_details = nullptr;
    m_failedPlace = s_noPlace;
    return true;
}

// --- The way through the program -------------------------------------------------------------------------------------

const Op* Machine::Failed(const Op* op)
{
    if (GoOnBehindPath(op))
        return BackTo(op);
    if (m_failedPlace == s_noPlace)
        m_failedPlace = op->GetPlace();
    return nullptr;
}

const Op* Machine::FailAs(bool (Machine::*operation)(const Op&), const Op* op, Slot* top)
{
    m_top = top;
    return (this->*operation)(*op) ? BackTo(op + 1) : Failed(op);
}

namespace
{

template <bool (Machine::*Operation)(const Op&), int Size = 1>
const Op* Do(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    machine.m_top = top;
    if (!(machine.*Operation)(*op)) [[unlikely]]
        return machine.Failed(op);
    return GoOnAt(op + Size, machine, machine.m_top);
}

// A call, which may change that.
template <bool (Machine::*Operation)(const Op&)>
const Op* DoCall(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    machine.m_top = top;
    if (!(machine.*Operation)(*op)) [[unlikely]]
        return machine.Failed(op);
    if (machine.m_program->m_isTyped && HasScopeChanged(machine)) [[unlikely]]
        return machine.GoOnGenerally(op);
    return GoOnAt(op + 1, machine, machine.m_top);
}

const Op* Jump(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
{
    return GoOnAt(machine.GetOp(op->m_target), machine, top, i, f);
}

// Takes a bool away; where it is the one to jump for, it jumps, and leaves it if it is to stay.
template <bool Jumps, bool Stays>
const Op* JumpIf(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    bool x = false;
    machine.m_top = top;
    if (!machine.TakeBool(*op, false, x)) [[unlikely]]
        return machine.Failed(op);
    if (x != Jumps)
        return GoOnAt(op + 1, machine, machine.m_top);
    if constexpr (Stays)
        (machine.m_top++)->Set(x);
    return GoOnAt(machine.GetOp(op->m_target), machine, machine.m_top);
}

// From its beginning into the body or past its end; from its end past it, or back, which must not go deeper.
template <bool (Machine::*Operation)(const Op&, bool& hasElement), bool IsBegin>
const Op* DoList(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    bool hasElement = false;
    machine.m_top = top;
    if (!(machine.*Operation)(*op, hasElement)) [[unlikely]]
        return machine.Failed(op);
    return machine.BackTo(hasElement == IsBegin ? op + 1 : machine.GetOp(op->m_target));
}

const Op* Pause(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
{
    machine.m_top = top;
    machine.m_integer = i;
    machine.m_float = f;
    return op + 1;
}

const Op* End(const Op*, Machine& machine, Slot* top, int64, float64)
{
    machine.m_top = top;
    return nullptr;
}

// --- What is commonest

[[gnu::always_inline]] inline const Op* PushNumber(const Op* op, Machine& machine, Slot* top, int64 x)
{
    top->Set(x);
    return GoOnAt(op + 1, machine, top + 1);
}
[[gnu::always_inline]] inline const Op* PushNumber(const Op* op, Machine& machine, Slot* top, float64 x)
{
    top->Set(x);
    return GoOnAt(op + 1, machine, top + 1);
}

const Op* PushInteger(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    return PushNumber(op, machine, top, op->m_integer);
}

const Op* PushFloat(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    return PushNumber(op, machine, top, op->m_float);
}

const Op* PushName(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
{
    const Record* const record = machine.m_records[op->m_index];
    if (record != nullptr && record->m_is == Record::Is::Float64) [[likely]]
        return PushNumber(op, machine, top, *static_cast<const float64*>(record->m_variable));
    return Do<&Machine::PushName>(op, machine, top, i, f);
}

// An operator of the natural language, which looks first whether its operands are two numbers of a kind, and it cannot
// fail on them.
template <class Operation>
const Op* Combine(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
{
    constexpr bool isDivision = std::is_same_v<Operation, operation::Divide>;
    Slot& a = top[-2];
    const Slot& b = top[-1];
    if (a.m_kind == Kind::Float && b.m_kind == Kind::Float && !(isDivision && b.m_float == 0.0))
    {
        if constexpr (isDivision)
            a.m_float /= b.m_float;
        else
            a.Set(Operation::Of(a.m_float, b.m_float));
        return GoOnAt(op + 1, machine, top - 1);
    }
    if constexpr (!isDivision)
        if (a.m_kind == Kind::Integer && b.m_kind == Kind::Integer)
        {
            a.Set(Operation::Of(a.m_integer, b.m_integer));
            return GoOnAt(op + 1, machine, top - 1);
        }
    return Do<&Machine::Binary>(op, machine, top, i, f);
}

} // namespace

// In the order of Code.
const Step s_steps[] = {
    Do<&Machine::PushNone>,
    Do<&Machine::PushBool>,
    PushInteger,
    PushFloat,
    Do<&Machine::PushText>,
    PushName,
    Do<&Machine::PushParameter>,
    Do<&Machine::PushLocal>,
    Do<&Machine::Binary>,
    Do<&Machine::Prefix>,
    Do<&Machine::BuiltInFunction>,
    Do<&Machine::Member>,
    Do<&Machine::Subscript>,
    Do<&Machine::CallOwn>,
    DoCall<&Machine::CallName>,
    DoCall<&Machine::CallMember>,
    Jump,
    JumpIf<false, false>,
    JumpIf<false, true>,
    JumpIf<true, true>,
    Do<&Machine::CheckBool>,
    Do<&Machine::Select>,
    Do<&Machine::KeepPlace>,
    Do<&Machine::Store>,
    Do<&Machine::StoreName>,
    Do<&Machine::StoreElement, 2>,
    Do<&Machine::BeginPath>,
    Do<&Machine::EndPath>,
    DoList<&Machine::ListBegin, true>,
    DoList<&Machine::ListNext, false>,
    Pause,
    End,
};
static_assert(std::size(s_steps) == static_cast<std::size_t>(Code::Scalar));

namespace
{

struct BinarySteps
{
    Step m_steps[s_numTokenIndices];

    explicit constexpr BinarySteps(Language language) : m_steps()
    {
        for (Step& step : m_steps)
            step = Do<&Machine::Binary>;
        if (language == Language::Exact)
            return;
        const auto set = [this](EToken token, Step step) { m_steps[IndexOfToken(token)] = step; };
        set(TOKEN_PLUS, Combine<operation::Add>);
        set(TOKEN_MINUS, Combine<operation::Subtract>);
        set(TOKEN_ASTERISK, Combine<operation::Multiply>);
        set(TOKEN_FORWARD_SLASH, Combine<operation::Divide>);
        set(TOKEN_LESS, Combine<operation::Less>);
        set(TOKEN_LESS_EQUAL, Combine<operation::LessOrEqual>);
        set(TOKEN_GREATER, Combine<operation::Greater>);
        set(TOKEN_GREATER_EQUAL, Combine<operation::GreaterOrEqual>);
        set(TOKEN_DBL_EQUAL, Combine<operation::Equal>);
        set(TOKEN_EXCLAM_EQUAL, Combine<operation::NotEqual>);
    }
};

constexpr BinarySteps s_stepsOf[] = {BinarySteps(Language::Natural), BinarySteps(Language::Exact)};

} // namespace

Step BinaryStepOf(Language language, EToken token)
{
    return s_stepsOf[static_cast<std::size_t>(language)].m_steps[IndexOfToken(token)];
}

} // namespace kelm::evaluation
