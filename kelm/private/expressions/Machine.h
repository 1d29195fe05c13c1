#pragma once

// Applies the operations of a recorded expression.

#include <kelm/Expression.h>
#include <kelm/Slot.h>
#include <kelm/private/expressions/Operations.h>
#include <kelm/private/expressions/Program.h>
#include <kelm/private/expressions/ScopeNames.h>
#include <kelm/private/expressions/Trail.h>
#include <kelm/private/values/Places.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string_view>

namespace kelm::evaluation
{

// What the names of a program stand for in a scope.
void FindRecords(const Program& program, const Scope* scope, const Record** records);

// The operation at `op`, with what it needs.
[[gnu::always_inline]] inline const Op* GoOnAt(const Op* op, Machine& machine, Slot* top, int64 i = 0, float64 f = 0.0)
{
    return op->m_step(op, machine, top, i, f);
}

// A function is free to change the variables of operands and arguments that wait below its own: these are what they
// were when their turn came.
void OwnSomeScalars(Slot* first, const Slot* last);
[[gnu::always_inline]] inline void OwnScalars(Slot* first, const Slot* last)
{
    if (first != last)
        OwnSomeScalars(first, last);
}

// One evaluation: of a program, with what its names stand for in the scope. Slots from m_base to m_top are alive,
// whenever something is called that can throw. The functions that are general operations take values from the stack's
// top and leave the result there; they are false where they fail.
struct Machine
{
    [[gnu::always_inline]] Machine(const Program& program, const Record* const* records, const Scope* scope,
                                   const Slot* parameters)
        : m_program(&program)
        , m_records(records)
        , m_scope(scope)
        , m_parameters(parameters)
        , m_base(reinterpret_cast<Slot*>(m_room))
        , m_top(m_base)
    {
        if (!FitsRoom(program)) [[unlikely]]
            MakeRoom(program.m_depth);
    }
    // Whether it needs no more slots than the machine has within.
    static bool FitsRoom(const Program& program) { return program.m_depth <= s_size - s_spare; }
    [[gnu::always_inline]] ~Machine()
    {
        while (m_top != m_base)
            (--m_top)->Release();
    }
    Machine(const Machine&) = delete;
    Machine& operator=(const Machine&) = delete;

    // False, with why and where, where the expression has no value. What a program's functions throw passes through.
    [[gnu::always_inline]] bool Run()
    {
        const Op* op = GoOnAt(GetOp(0), *this, m_base);
        while (op != nullptr)
            [[unlikely]] op = GoOnAt(op, *this, m_top, m_integer, m_float);
        return m_failure.m_details == nullptr;
    }

    // Behind that, where it went well and left its value in a register: the compiler is told that nothing else is left,
    // so that it does not look for it at the end.
    [[gnu::always_inline]] void AssumeEmpty() const
    {
        if (m_top != m_base || m_failure.m_details != nullptr)
            __builtin_unreachable();
    }

    // The same in any case: the value to the receiver, which may refuse it.
    [[gnu::always_inline]] bool Deliver(const Receiver& receiver)
    {
        Slot* result = m_base;
        switch (m_program->m_result)
        {
        case Kind::Bool: result->Set(m_integer != 0); break;
        case Kind::Integer: result->Set(m_integer); break;
        case Kind::Float: result->Set(m_float); break;
        case Kind::None:
        case Kind::Text:
        case Kind::Place: result = m_top - 1; break;
        }
        if (receiver.m_receive(*result, receiver.m_out, m_failure)) [[likely]]
            return true;
        AtResult(*result);
        return false;
    }

    // --- General operations

    bool PushNone(const Op& op);
    bool PushBool(const Op& op);
    bool PushText(const Op& op);
    bool PushName(const Op& op);
    bool PushParameter(const Op& op);
    bool PushLocal(const Op& op);
    bool Binary(const Op& op);
    bool Prefix(const Op& op);
    bool BuiltInFunction(const Op& op);
    bool Member(const Op& op);
    bool Subscript(const Op& op);
    bool CallOwn(const Op& op);
    bool CallName(const Op& op);
    bool CallMember(const Op& op);
    bool Select(const Op& op);
    bool CheckBool(const Op& op);
    bool KeepPlace(const Op& op);
    bool Store(const Op& op);
    bool StoreName(const Op& op);
    bool StoreElement(const Op& op);
    bool BeginPath(const Op& op);
    bool EndPath(const Op& op);
    // Whether there is an element, which has been pushed with what counts them; otherwise the result is there.
    bool ListBegin(const Op& op, bool& hasElement);
    bool ListNext(const Op& op, bool& hasElement);
    // Whether a bool is there, and which: the operand before an operator, or behind it.
    bool TakeBool(const Op& op, bool isRight, bool& x);

    // --- Places that have waited (Trail.cpp)

    // The place in a slot, by its trail, where anything has been called since it was reached.
    bool FindAgain(Slot& slot);
    // The element at hand of a list that is gone through, and the list before; the element alone.
    bool FindElementAgain(Slot* list);
    bool FindElement(Slot* list);
    // OwnScalars of all that waits below, before something runs. What is a place then is not looked into again before
    // it has been found again.
    void OwnBelow(const Slot* last) const
    {
        if (m_program->m_isTraced) [[unlikely]]
            OwnTraced(last);
        else
            OwnScalars(m_base, last);
    }
    void OwnTraced(const Slot* last) const;

    // --- The way through the program

    // Where to go on when an operation has failed: null where the evaluation has.
    [[gnu::cold, gnu::noinline]] const Op* Failed(const Op* op);
    // The same where that is known to fail in its general form, whose operands are at the top.
    [[gnu::cold, gnu::noinline]] const Op* FailAs(bool (Machine::*operation)(const Op&), const Op* op, Slot* top);

    // From behind a call of a typed program, whose scope has changed since it was recorded, on in the general form. All
    // values are in slots.
    [[gnu::cold, gnu::noinline]] const Op* GoOnGenerally(const Op* call);

    // What an argument is converted to; what the call gives where `argument` is negative.
    bool FailCall(const Op& op, std::string_view name, int32 argument);

    const Op* GetOp(std::size_t i) const { return m_program->m_ops.data() + i; }

    // Where Run goes on, with nothing in the registers.
    const Op* BackTo(const Op* op)
    {
        m_integer = 0;
        m_float = 0.0;
        return op;
    }

    // The function's first arguments are objects, which its caller does not count. The result is at the top.
    bool Call(const Op& op, const Callable& function, std::string_view name, std::size_t numObjects);

    // --- State

    const Program* m_program;
    const Record* const* m_records;
    const Scope* const m_scope;
    const Slot* m_parameters;
    Failure m_failure;
    std::size_t m_failedPlace = s_noPlace;

    Slot* m_base;
    Slot* m_top;
    int64 m_integer; // registers during a Pause, and behind the end
    float64 m_float;

private:
    friend struct TracedSteps;

    static constexpr std::size_t s_noPlace = ~std::size_t(0);
    static constexpr std::size_t s_size = 16;
    static constexpr std::size_t s_spare = 2; // for operands that go from registers to the general form

    Checks& GetChecks() { return GetRest().m_checks; }
    [[gnu::cold, gnu::noinline]] void MakeRoom(std::size_t depth);
    const Operations& GetOperations() const { return OperationsOf(m_program->m_language); }
    bool PushRecord(const Op& op, Slot& slot);
    bool PushResolved(const NameUse& use, Slot& slot);
    bool Repeat(const Op& op, const Value& value, Slot& found);
    uint32 CountRuns() const;
    bool CombineWith(const Op& op);
    bool PushElement(bool& hasElement);
    bool GoOnBehindPath(const Op*& op);
    bool AtArgument(const Op& op, std::size_t index);
    bool AtIndex(const Op& subscript);
    bool AtOperands(const Op& op, Slot* left, Slot* right);
    bool AtListArgument(const Op& op, std::size_t index, Slot& argument);
    [[gnu::cold, gnu::noinline]] void AtResult(Slot& result);
    void Return(Slot* arguments, std::size_t count, const Slot& result);
    bool LoadArguments(Slot* arguments, std::size_t count);
    bool FailCount(const Callable& function, std::string_view name, std::size_t count, std::size_t numObjects);

    // What few evaluations have.
    struct Rest
    {
        Checks m_checks;
        int64 m_path = 0; // where the innermost path that is asked for begins
        Trail m_trail;
        std::unique_ptr<unsigned char[]> m_slots;
    };
    Rest& GetRest()
    {
        if (m_rest == nullptr)
            MakeRest();
        return *m_rest;
    }
    [[gnu::noinline]] void MakeRest();

    std::unique_ptr<Rest> m_rest;
    alignas(Slot) unsigned char m_room[s_size * sizeof(Slot)];
};

// A part of an object that only the call kept alive goes on to be kept.
void KeepFrom(const Slot* arguments, std::size_t count, Slot& result);

// Whether what names stand for has changed since a typed program was recorded.
[[gnu::always_inline]] inline bool HasScopeChanged(const Machine& machine)
{
    return !machine.m_program->m_state->Is(*machine.m_scope);
}

// The steps of general operations.
extern const Step s_steps[static_cast<std::size_t>(Code::Scalar)]; // by their codes
inline Step StepOf(Code code)
{
    return s_steps[static_cast<std::size_t>(code)];
}

Step BinaryStepOf(Language language, EToken token);

// The step of a call of a function (m_left, a Record) that takes no Values and whose result is always of a kind, which
// goes to the register (None: any, which goes to a slot). the operator says whether any argument owns something.
Step CallStep(const Callable& function, bool areFloats);

// The step of a call of a function of floats by its address (m_left; m_right is the Record): of the register, or of two
// in memory, where that is said by the operation behind this one, whose operands they are.
Step CallOfRegisterStep();
Step CallOfTwoStep();

} // namespace kelm::evaluation
