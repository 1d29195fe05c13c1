// Calls of a program's functions whose signatures are known while an expression is recorded.

#include <kelm/private/expressions/Machine.h>

namespace kelm::evaluation
{

void OwnSomeScalars(Slot* first, const Slot* last)
{
    for (; first != last; ++first)
        if ((first->m_kind == Kind::Text && first->m_holder == nullptr) ||
            (first->m_kind == Kind::Place && !first->m_stays)) [[unlikely]]
            OwnScalar(*first);
}

void KeepFrom(const Slot* arguments, std::size_t count, Slot& result)
{
    for (std::size_t i = 0; i < count && result.m_holder == nullptr; ++i)
        if (arguments[i].m_kind == Kind::Place)
        {
            result.m_holder = arguments[i].m_holder;
            result.Retain();
        }
}

namespace
{

[[gnu::cold, gnu::noinline]] const Op* FailCall(const Op* op, Machine& machine, const Record& record, int32 argument)
{
    machine.FailCall(*op, record.m_name, argument);
    return machine.Failed(op);
}

template <Kind Result>
const Op* CallKnown(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    const Record& record = *static_cast<const Record*>(op->m_left);
    Slot* const arguments = top - op->m_count;
    machine.m_top = top;
    OwnScalars(machine.m_base, arguments);
    Slot result;
    if constexpr (Result == Kind::None)
        result.SetNone();
    CallFrame frame{arguments, op->m_count, &result, &machine.m_failure, -1};
    const ScopeAccess::Running running;
    if (!record.m_function.m_call(record.m_function.m_function, frame)) [[unlikely]]
        return FailCall(op, machine, record, frame.m_failed);
    if (Result == Kind::None && result.m_kind == Kind::Place)
        KeepFrom(arguments, op->m_count, result);
    if (op->GetToken() != 0)
        while (top != arguments)
            (--top)->Release();
    top = arguments;
    if (HasScopeChanged(machine)) [[unlikely]]
    {
        *top = result;
        machine.m_top = top + 1;
        return machine.GoOnGenerally(op);
    }
    if constexpr (Result == Kind::Float)
        return GoOnAt(op + 1, machine, top, 0, result.m_float);
    else if constexpr (Result == Kind::Integer)
        return GoOnAt(op + 1, machine, top, result.m_integer);
    else if constexpr (Result == Kind::Bool)
        return GoOnAt(op + 1, machine, top, result.m_bool);
    *top = result;
    return GoOnAt(op + 1, machine, top + 1);
}

// Of floats, all of whose arguments are.
const Op* CallOfFloats(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    const Callable& function = static_cast<const Record*>(op->m_left)->m_function;
    Slot* const arguments = top - op->m_count;
    machine.m_top = top;
    OwnScalars(machine.m_base, arguments);
    const ScopeAccess::Running running;
    const float64 result = function.m_ofFloats(function.m_function, arguments);
    if (HasScopeChanged(machine)) [[unlikely]]
    {
        arguments->Set(result);
        machine.m_top = arguments + 1;
        return machine.GoOnGenerally(op);
    }
    return GoOnAt(op + 1, machine, arguments, 0, result);
}

// By its address.
template <int Size, class... Floats>
[[gnu::always_inline]] inline const Op* CallAddress(const Op* op, const void* address, Machine& machine, Slot* top,
                                                    Floats... arguments)
{
    const auto function = reinterpret_cast<float64 (*)(Floats...)>(const_cast<void*>(address));
    float64 result = 0.0;
    {
        const ScopeAccess::Running running;
        result = function(arguments...);
    }
    if (HasScopeChanged(machine)) [[unlikely]]
    {
        top->Set(result);
        machine.m_top = top + 1;
        return machine.GoOnGenerally(op);
    }
    return GoOnAt(op + Size, machine, top, 0, result);
}

const Op* CallOfRegister(const Op* op, Machine& machine, Slot* top, int64, float64 f)
{
    machine.m_top = top;
    OwnScalars(machine.m_base, top);
    return CallAddress<1>(op, op->m_left, machine, top, f);
}

const Op* CallOfTwo(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    machine.m_top = top;
    OwnScalars(machine.m_base, top);
    return CallAddress<2>(op, op->m_left, machine, top, *static_cast<const float64*>(op[1].m_left),
                          *static_cast<const float64*>(op[1].m_right));
}

} // namespace

Step CallOfRegisterStep()
{
    return CallOfRegister;
}
Step CallOfTwoStep()
{
    return CallOfTwo;
}

Step CallStep(const Callable& function, bool areFloats)
{
    if (areFloats && function.m_ofFloats != nullptr)
        return CallOfFloats;
    switch (function.m_result)
    {
    case Kind::Bool: return CallKnown<Kind::Bool>;
    case Kind::Integer: return CallKnown<Kind::Integer>;
    case Kind::Float: return CallKnown<Kind::Float>;
    case Kind::None:
    case Kind::Text:
    case Kind::Place: break;
    }
    return CallKnown<Kind::None>;
}

} // namespace kelm::evaluation
