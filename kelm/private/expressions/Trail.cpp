#include <kelm/private/expressions/Trail.h>

#include <kelm/private/expressions/Machine.h>

#include <klUtils/StackSegment.h>

#include <algorithm>
#include <array>
#include <utility>

namespace kelm::evaluation
{

void Trail::Choose(std::size_t lowest, std::size_t chosen)
{
    std::erase_if(m_steps, [&](const Step& step) { return step.m_slot >= lowest && step.m_slot != chosen; });
    for (Step& step : StepsOf(chosen))
        step.m_slot = lowest;
}

std::span<Trail::Step> Trail::StepsOf(std::size_t slot)
{
    const auto first = std::lower_bound(m_steps.begin(), m_steps.end(), slot,
                                        [](const Step& step, std::size_t number) { return step.m_slot < number; });
    const auto end = std::find_if(first, m_steps.end(), [slot](const Step& step) { return step.m_slot != slot; });
    return {first, end};
}

namespace
{

// A value of its own, whatever becomes of the variable that it is in.
Value Owned(const Slot& slot)
{
    Value value;
    Slot& own = ValueAccess::Of(value);
    own = slot;
    own.Retain();
    if (!own.IsScalar())
        OwnSomeScalars(&own, &own + 1);
    return value;
}

// A place as it is.
Value Kept(const Slot& place)
{
    Value value;
    ValueAccess::Of(value) = place;
    place.Retain();
    return value;
}

void Take(Slot& slot, const Slot& value)
{
    slot = value;
    slot.Retain();
}

} // namespace

// --- Finding again ---------------------------------------------------------------------------------------------------

// From a trail's beginning on.
bool Machine::Repeat(const Op& op, const Value& value, Slot& found)
{
    switch (op.GetCode())
    {
    case Code::Member: return StepToMember(found, m_program->m_texts[op.m_index], GetChecks(), m_failure);
    case Code::Subscript: return StepToElement(found, ValueAccess::Of(value), m_failure);
    case Code::PushLocal:
        if (!FindElementAgain(m_base + op.m_index - 3))
            return false;
        Take(found, m_base[op.m_index]);
        found.m_stays = false;
        return true;
    case Code::PushName:
        if (ValueAccess::Of(value).m_kind == Kind::None) // a member of the scope's object, which may be another one
            return PushRecord(op, found);
        [[fallthrough]];
    default: Take(found, ValueAccess::Of(value)); return true;
    }
}

bool Machine::FindAgain(Slot& slot)
{
    if (slot.m_kind != Kind::Place || slot.m_isOwn || m_rest == nullptr)
        return true;
    Trail& trail = m_rest->m_trail;
    const std::span<Trail::Step> steps = trail.StepsOf(static_cast<std::size_t>(&slot - m_base));
    if (steps.empty() || steps.back().m_runs == trail.GetRuns())
        return true;
    if (IsStackLow()) // loops are within loops
        return CallOnFreshSegment([&] { return FindAgain(slot); });
    Value again;
    Slot& found = ValueAccess::Of(again);
    for (const Trail::Step& step : steps)
        if (!Repeat(*step.m_op, step.m_value, found))
        {
            if (m_failedPlace == s_noPlace)
                m_failedPlace = step.m_op->GetPlace();
            return false;
        }
    for (Trail::Step& step : steps)
        step.m_runs = trail.GetRuns();
    if (IsListOfEntries(slot))
        return SetContainer(slot, found, m_failure);
    found.m_stays = slot.m_stays;
    std::swap(found, slot);
    return true;
}

bool Machine::FindElementAgain(Slot* list)
{
    return list[2].m_checks == CountRuns() || (FindAgain(*list) && FindElement(list));
}

bool Machine::FindElement(Slot* list)
{
    Slot element;
    if (!GetElement(*list, list[2], element, m_failure))
        return false;
    element.m_stays = true;
    list[3] = element;
    list[2].m_checks = CountRuns();
    return true;
}

void Machine::OwnTraced(const Slot* last) const
{
    for (Slot* slot = m_base; slot != last; ++slot)
        if (slot->m_kind == Kind::Text || (slot->m_kind == Kind::Place && !slot->m_stays))
        {
            OwnSomeScalars(slot, slot + 1);
            if (slot->m_kind == Kind::Place)
                slot->m_stays = true;
        }
}

uint32 Machine::CountRuns() const
{
    return m_rest != nullptr ? m_rest->m_trail.GetRuns() : 0;
}

// --- Steps -----------------------------------------------------------------------------------------------------------

struct TracedSteps
{
    static Trail& Of(Machine& machine) { return machine.GetRest().m_trail; }
    static std::size_t IndexOf(const Machine& machine, const Slot* slot)
    {
        return static_cast<std::size_t>(slot - machine.m_base);
    }

    // A root, which stands above everything.
    template <bool (Machine::*Operation)(const Op&)>
    static bool Begin(Machine& machine, const Op& op)
    {
        const std::size_t slot = IndexOf(machine, machine.m_top);
        if (!(machine.*Operation)(op))
            return false;
        bool isAnother = false;
        if (op.GetCode() == Code::PushName)
        {
            const Record* const record = machine.m_records[op.m_index];
            isAnother = record != nullptr && record->m_is == Record::Is::Member;
            if (record == nullptr) // a resolver was asked
                Of(machine).Run();
        }
        Begin(machine, op, slot, isAnother);
        return true;
    }
    static bool Local(Machine& machine, const Op& op)
    {
        return machine.FindElementAgain(machine.m_base + op.m_index - 3) && Begin<&Machine::PushLocal>(machine, op);
    }
    static void Begin(Machine& machine, const Op& op, std::size_t slot, bool isAnother = false)
    {
        Of(machine).Cut(slot);
        if (machine.m_base[slot].m_kind == Kind::Place)
            Of(machine).Add(slot, &op, isAnother ? Value() : Kept(machine.m_base[slot]));
    }

    static bool Member(Machine& machine, const Op& op)
    {
        const std::size_t slot = IndexOf(machine, machine.m_top - 1);
        Of(machine).Cut(slot + 1);
        if (!machine.Member(op))
            return false;
        machine.m_top[-1].m_stays = false;
        Of(machine).Add(slot, &op, {});
        return true;
    }

    static bool Subscript(Machine& machine, const Op& op)
    {
        Slot* const base = machine.m_top - 2;
        const std::size_t slot = IndexOf(machine, base);
        if (!machine.FindAgain(*base))
            return false;
        Of(machine).Cut(slot + 1);
        Value index = Owned(base[1]);
        if (!machine.Subscript(op))
            return false;
        machine.m_top[-1].m_stays = false;
        Of(machine).Add(slot, &op, std::move(index));
        return true;
    }

    static bool Select(Machine& machine, const Op& op)
    {
        Slot* const condition = machine.m_top - 3;
        const std::size_t slot = IndexOf(machine, condition);
        if (!machine.FindAgain(condition[0]))
            return false;
        bool isFirst = false;
        if (!ToBool(*condition, isFirst, machine.m_failure))
            return false;
        if (isFirst && !machine.FindAgain(condition[1]))
            return false;
        Of(machine).Choose(slot, slot + (isFirst ? 1 : 2));
        return machine.Select(op);
    }

    // What takes so many operands; what it calls may move things.
    template <bool (Machine::*Operation)(const Op&), std::size_t Count, bool Runs>
    static bool Take(Machine& machine, const Op& op)
    {
        for (Slot* slot = machine.m_top - Count; slot != machine.m_top; ++slot)
            if (!machine.FindAgain(*slot))
                return false;
        const bool isDone = (machine.*Operation)(op);
        if constexpr (Runs)
            Of(machine).Run();
        return isDone;
    }

    template <bool (Machine::*Operation)(const Op&), bool Runs>
    static bool Call(Machine& machine, const Op& op)
    {
        Slot* const arguments = machine.m_top - op.m_count;
        for (std::size_t i = 0; i < op.m_count; ++i)
            if (!machine.FindAgain(arguments[i]))
                return false;
        const std::size_t slot = IndexOf(machine, arguments);
        if constexpr (Runs)
            Of(machine).Run();
        if (!(machine.*Operation)(op))
            return false;
        Begin(machine, op, slot);
        return true;
    }
};

namespace
{

template <bool (*Operation)(Machine&, const Op&), int Size = 1>
const Op* Do(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    machine.m_top = top;
    if (!Operation(machine, *op)) [[unlikely]]
        return machine.Failed(op);
    return GoOnAt(op + Size, machine, machine.m_top);
}

constexpr auto s_traced = []
{
    std::array<Step, static_cast<std::size_t>(Code::Scalar)> steps{};
    const auto set = [&](Code code, Step step) { steps[static_cast<std::size_t>(code)] = step; };
    set(Code::PushName, Do<TracedSteps::Begin<&Machine::PushName>>);
    set(Code::PushParameter, Do<TracedSteps::Begin<&Machine::PushParameter>>);
    set(Code::PushLocal, Do<TracedSteps::Local>);
    set(Code::Member, Do<TracedSteps::Member>);
    set(Code::Subscript, Do<TracedSteps::Subscript>);
    set(Code::Select, Do<TracedSteps::Select>);
    set(Code::Binary, Do<TracedSteps::Take<&Machine::Binary, 2, false>>);
    set(Code::CallOwn, Do<TracedSteps::Call<&Machine::CallOwn, false>>);
    set(Code::CallName, Do<TracedSteps::Call<&Machine::CallName, true>>);
    set(Code::CallMember, Do<TracedSteps::Call<&Machine::CallMember, true>>);
    set(Code::Store, Do<TracedSteps::Take<&Machine::Store, 2, true>>);
    set(Code::StoreName, Do<TracedSteps::Take<&Machine::StoreName, 1, true>>);
    set(Code::StoreElement, Do<TracedSteps::Take<&Machine::StoreElement, 3, true>, 2>);
    return steps;
}();

const Op* ElementAgain(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    machine.m_top = top;
    if (!machine.FindElement(machine.m_base + op->m_index - 3)) [[unlikely]]
        return machine.Failed(op);
    return GoOnAt(op + 1, machine, top);
}

} // namespace

void Trace(Program& program)
{
    program.m_isTraced = true;
    for (Op& op : program.m_ops)
        if (const Step step = s_traced[static_cast<std::size_t>(op.GetCode())])
            op.m_step = step;
}

Step ElementAgainStep()
{
    return ElementAgain;
}

} // namespace kelm::evaluation
