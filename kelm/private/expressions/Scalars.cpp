#include <kelm/private/expressions/Scalars.h>

#include <kelm/private/expressions/Machine.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

namespace kelm::evaluation
{

namespace
{

// --- Registers -------------------------------------------------------------------------------------------------------

template <class T>
inline constexpr Kind s_kindOf = std::is_same_v<T, bool>       ? Kind::Bool
                                 : std::is_floating_point_v<T> ? Kind::Float
                                 : std::is_same_v<T, uint64>   ? Kind::None
                                                               : Kind::Integer;

template <class T>
T ReadAt(const void* address)
{
    T x;
    std::memcpy(&x, address, sizeof x);
    return x;
}

// On with a value in its register.
[[gnu::always_inline]] inline const Op* GoOnWith(const Op* op, Machine& machine, Slot* top, int64 x)
{
    return GoOnAt(op, machine, top, x, 0.0);
}
[[gnu::always_inline]] inline const Op* GoOnWith(const Op* op, Machine& machine, Slot* top, float64 x)
{
    return GoOnAt(op, machine, top, 0, x);
}

template <Kind K>
[[gnu::always_inline]] inline void SetSlot(Slot& slot, int64 i, float64 f)
{
    if constexpr (K == Kind::Float)
        slot.Set(f);
    else if constexpr (K == Kind::Integer)
        slot.Set(i);
    else
        slot.Set(i != 0);
}

// A step for each kind of scalar.
template <template <Kind> class Make>
Step ForKind(Kind kind)
{
    switch (kind)
    {
    case Kind::Bool: return Make<Kind::Bool>::Do;
    case Kind::Integer: return Make<Kind::Integer>::Do;
    case Kind::Float: return Make<Kind::Float>::Do;
    case Kind::None:
    case Kind::Text:
    case Kind::Place: break;
    }
    return nullptr;
}

// A step for each scalar type whose every value is one here.
template <template <class> class Make>
Step ForType(ETypeByteCode type)
{
    switch (static_cast<int>(type))
    {
    case FT_BOOL: return Make<bool>::Do;
    case FT_INT8: return Make<int8>::Do;
    case FT_INT16: return Make<int16>::Do;
    case FT_INT32: return Make<int32>::Do;
    case FT_INT64: return Make<int64>::Do;
    case FT_UINT8: return Make<uint8>::Do;
    case FT_UINT16: return Make<uint16>::Do;
    case FT_UINT32: return Make<uint32>::Do;
    case FT_FLOAT32: return Make<float32>::Do;
    case FT_FLOAT64: return Make<float64>::Do;
    default: return nullptr;
    }
}

// As it is in its register.
template <class T>
auto ToRegister(T x)
{
    if constexpr (std::is_floating_point_v<T>)
        return static_cast<float64>(x);
    else
        return static_cast<int64>(x);
}

// --- Combinations ----------------------------------------------------------------------------------------------------

// Where an operand comes from, as a type.
template <class T, From Where>
struct Operand
{
    using Type = T;
    static constexpr From s_from = Where;

    [[gnu::always_inline]] static T Get(const void* at, const Machine& machine, const Slot* top, int64 i, float64 f)
    {
        if constexpr (Where == From::Memory)
            return ReadAt<T>(at);
        else if constexpr (Where == From::Parameter)
            return ReadAt<T>(reinterpret_cast<const char*>(machine.m_parameters) + reinterpret_cast<std::intptr_t>(at));
        else if constexpr (Where == From::Stack)
            return std::is_same_v<T, float64> ? static_cast<T>(top[-1].m_float) : static_cast<T>(top[-1].m_integer);
        else
            return std::is_same_v<T, float64> ? static_cast<T>(f) : static_cast<T>(i);
    }
};

template <class Operation>
inline constexpr bool s_isComparison = (Operation::s_kinds & KIND_TEXT) != 0 &&
                                       !std::is_same_v<Operation, operation::Add>;

// Of what comes from an operator: false where the general form says what is wrong.
template <class Operation>
[[gnu::always_inline]] inline bool Compute(int64 a, int64 b, int64& x)
{
    if constexpr (std::is_same_v<Operation, operation::Divide> || std::is_same_v<Operation, operation::Remainder>)
    {
        if (b == 0 || (b == -1 && a == std::numeric_limits<int64>::min())) [[unlikely]]
            return false;
        x = std::is_same_v<Operation, operation::Divide> ? a / b : a % b;
    }
    else
        x = Operation::Of(a, b);
    return true;
}

template <class Operation>
[[gnu::always_inline]] inline bool Compute(float64 a, float64 b, float64& x)
{
    if constexpr (std::is_same_v<Operation, operation::Divide> || std::is_same_v<Operation, operation::Remainder>)
    {
        if (b == 0.0) [[unlikely]]
            return false;
        x = std::is_same_v<Operation, operation::Divide> ? a / b : std::fmod(a, b);
    }
    else
        x = Operation::Of(a, b);
    return true;
}

// Of an integer and a float, of which a whole-numbered one compares as the integer that it is.
template <class Operation, class A, class B>
[[gnu::always_inline]] inline bool Compare(A a, B b)
{
    if constexpr (std::is_same_v<A, B>)
        return Operation::Of(a, b);
    else
    {
        const float64 f = std::is_same_v<A, float64> ? static_cast<float64>(a) : static_cast<float64>(b);
        const int64 whole = TruncateToInt64(f);
        if (static_cast<float64>(whole) != f)
            return Operation::Of(static_cast<float64>(a), static_cast<float64>(b));
        return std::is_same_v<A, float64> ? Operation::Of(whole, static_cast<int64>(b))
                                          : Operation::Of(static_cast<int64>(a), whole);
    }
}

template <class Operation, class Left, class Right>
const Op* Combine(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
{
    using A = typename Left::Type;
    using B = typename Right::Type;
    const A a = Left::Get(op->m_left, machine, top, i, f);
    const B b = Right::Get(op->m_right, machine, top, i, f);
    if constexpr (Left::s_from == From::Stack)
        --top;
    if constexpr (s_isComparison<Operation>)
        return GoOnWith(op + 1, machine, top, static_cast<int64>(Compare<Operation>(a, b)));
    else
    {
        using Result = std::conditional_t<std::is_same_v<A, B>, A, float64>;
        Result x;
        if (Compute<Operation>(static_cast<Result>(a), static_cast<Result>(b), x)) [[likely]]
            return GoOnWith(op + 1, machine, top, x);
        top[0].Set(a);
        top[1].Set(b);
        return machine.FailAs(&Machine::Binary, op, top + 2);
    }
}

// The operands that there can be, as an index into the table.
constexpr std::size_t s_numOperands = 8;
constexpr std::size_t IndexOfOperand(Kind kind, From from)
{
    return 2 * static_cast<std::size_t>(from) + (kind == Kind::Float ? 1 : 0);
}

class Combinations
{
public:
    constexpr Step Find(std::size_t token, std::size_t left, std::size_t right) const
    {
        const uint8 row = m_rows[token];
        return row == 0 ? nullptr : m_steps[row - 1][left][right];
    }
    constexpr bool IsComparison(std::size_t token) const { return m_isComparison[token]; }

    template <class Operation>
    constexpr void Add(EToken token)
    {
        m_isComparison[IndexOfToken(token)] = s_isComparison<Operation>;
        m_rows[IndexOfToken(token)] = ++m_numRows;
        AddOperands<Operation, int64, int64>();
        if constexpr ((Operation::s_kinds & KIND_FLOAT) != 0 || std::is_same_v<Operation, operation::Remainder>)
        {
            AddOperands<Operation, int64, float64>();
            AddOperands<Operation, float64, int64>();
            AddOperands<Operation, float64, float64>();
        }
    }

private:
    static constexpr std::size_t s_numOperators = 16;

    template <class Operation, class A, class B>
    constexpr void AddOperands()
    {
        AddOne<Operation, Operand<A, From::Stack>, Operand<B, From::Register>>();
        AddRights<Operation, Operand<A, From::Register>, B>();
        AddRights<Operation, Operand<A, From::Memory>, B>();
        AddRights<Operation, Operand<A, From::Parameter>, B>();
    }
    template <class Operation, class Left, class B>
    constexpr void AddRights()
    {
        AddOne<Operation, Left, Operand<B, From::Memory>>();
        AddOne<Operation, Left, Operand<B, From::Parameter>>();
    }
    template <class Operation, class Left, class Right>
    constexpr void AddOne()
    {
        m_steps[m_numRows - 1][IndexOfOperand(s_kindOf<typename Left::Type>, Left::s_from)]
               [IndexOfOperand(s_kindOf<typename Right::Type>, Right::s_from)] = Combine<Operation, Left, Right>;
    }

    uint8 m_numRows = 0;
    uint8 m_rows[s_numTokenIndices] = {}; // counted from 1
    bool m_isComparison[s_numTokenIndices] = {};
    Step m_steps[s_numOperators][s_numOperands][s_numOperands] = {};
};

constexpr Combinations MakeCombinations()
{
    Combinations table;
    table.Add<operation::Add>(TOKEN_PLUS);
    table.Add<operation::Subtract>(TOKEN_MINUS);
    table.Add<operation::Multiply>(TOKEN_ASTERISK);
    table.Add<operation::Divide>(TOKEN_FORWARD_SLASH);
    table.Add<operation::Remainder>(TOKEN_PERCENT);
    table.Add<operation::Less>(TOKEN_LESS);
    table.Add<operation::LessOrEqual>(TOKEN_LESS_EQUAL);
    table.Add<operation::Greater>(TOKEN_GREATER);
    table.Add<operation::GreaterOrEqual>(TOKEN_GREATER_EQUAL);
    table.Add<operation::Equal>(TOKEN_DBL_EQUAL);
    table.Add<operation::NotEqual>(TOKEN_EXCLAM_EQUAL);
    table.Add<operation::ShiftLeft>(TOKEN_DBL_LESS);
    table.Add<operation::ShiftRight>(TOKEN_DBL_GREATER);
    table.Add<operation::BitwiseAnd>(TOKEN_AMPERSAND);
    table.Add<operation::BitwiseOr>(TOKEN_VLINE);
    table.Add<operation::BitwiseExclusiveOr>(TOKEN_CARET);
    return table;
}

constexpr Combinations s_combinations = MakeCombinations();

bool IsNumber(Kind kind)
{
    return kind == Kind::Integer || kind == Kind::Float;
}

// --- Loads and stores ------------------------------------------------------------------------------------------------

template <class T>
struct LoadVariable
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64, float64)
    {
        return GoOnWith(op + 1, machine, top, ToRegister(ReadAt<T>(op->m_left)));
    }
};

template <class T>
struct LoadAtAddress
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64 i, float64)
    {
        return GoOnWith(op + 1, machine, top, ToRegister(ReadAt<T>(reinterpret_cast<const char*>(i) + op->m_offset)));
    }
};

template <class T>
struct PushVariable
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64, float64)
    {
        const T x = ReadAt<T>(op->m_left);
        if constexpr (std::is_same_v<T, bool>)
            top->Set(x);
        else
            top->Set(ToRegister(x));
        return GoOnAt(op + 1, machine, top + 1);
    }
};

const Slot& ParameterOf(const Op& op, const Machine& machine)
{
    return *reinterpret_cast<const Slot*>(reinterpret_cast<const char*>(machine.m_parameters) + op.m_index -
                                          offsetof(Slot, m_float));
}

template <Kind K>
struct LoadParameter
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64, float64)
    {
        const Slot& slot = ParameterOf(*op, machine);
        if constexpr (K == Kind::Float)
            return GoOnWith(op + 1, machine, top, slot.m_float);
        else
            return GoOnWith(op + 1, machine, top, K == Kind::Bool ? slot.m_bool : slot.m_integer);
    }
};

template <Kind K>
struct PushParameterOf
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64, float64)
    {
        const Slot& slot = ParameterOf(*op, machine);
        SetSlot<K>(*top, K == Kind::Bool ? slot.m_bool : slot.m_integer, slot.m_float);
        return GoOnAt(op + 1, machine, top + 1);
    }
};

template <Kind K>
struct Spill
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
    {
        SetSlot<K>(*top, i, f);
        return GoOnAt(op + 1, machine, top + 1);
    }
};

template <Kind K>
struct Unspill
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64, float64)
    {
        --top;
        if constexpr (K == Kind::Float)
            return GoOnWith(op + 1, machine, top, top->m_float);
        else
            return GoOnWith(op + 1, machine, top, K == Kind::Bool ? top->m_bool : top->m_integer);
    }
};

template <Kind K>
struct SpillAndJump
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
    {
        SetSlot<K>(*top, i, f);
        return GoOnAt(machine.GetOp(op->m_target), machine, top + 1);
    }
};

template <Kind K>
struct Negate
{
    static const Op* Do(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
    {
        if constexpr (K == Kind::Float)
            return GoOnWith(op + 1, machine, top, -f);
        else
            return GoOnWith(op + 1, machine, top, static_cast<int64>(0 - static_cast<uint64>(i)));
    }
};

const Op* Complement(const Op* op, Machine& machine, Slot* top, int64 i, float64)
{
    return GoOnWith(op + 1, machine, top, ~i);
}

const Op* Not(const Op* op, Machine& machine, Slot* top, int64 i, float64)
{
    return GoOnWith(op + 1, machine, top, i ^ 1);
}

const Op* ToFloat(const Op* op, Machine& machine, Slot* top, int64 i, float64)
{
    return GoOnWith(op + 1, machine, top, static_cast<float64>(i));
}

[[gnu::cold, gnu::noinline]] const Op* FailFunction(const Op* op, Machine& machine, Slot* top, float64 f)
{
    Op general = *op;
    general.m_index = op->m_count;
    general.m_count = 1;
    top->Set(f);
    machine.m_top = top + 1;
    if (op->GetCode() == Code::BuiltIn)
        machine.BuiltInFunction(general);
    else
        machine.CallOwn(general);
    return machine.Failed(op);
}

template <Domain D>
const Op* Function(const Op* op, Machine& machine, Slot* top, int64, float64 f)
{
    if ((D == Domain::Positive && f <= 0.0) || (D == Domain::NotNegative && f < 0.0)) [[unlikely]]
        return FailFunction(op, machine, top, f);
    return GoOnWith(op + 1, machine, top, op->m_function(f));
}

template <bool IsLeast, class T>
const Op* Extreme(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    const auto read = [](const Slot& slot)
    {
        if constexpr (std::is_same_v<T, float64>)
            return slot.m_float;
        else
            return slot.m_integer;
    };
    Slot* const numbers = top - op->m_count;
    T x = read(*numbers);
    for (const Slot* slot = numbers + 1; slot != top; ++slot)
        if (const T y = read(*slot); IsLeast ? y < x : x < y)
            x = y;
    return GoOnWith(op + 1, machine, numbers, x);
}

// --- Branches --------------------------------------------------------------------------------------------------------

const Op* JumpIfNot(const Op* op, Machine& machine, Slot* top, int64 i, float64)
{
    return GoOnAt(i != 0 ? op + 1 : machine.GetOp(op->m_target), machine, top);
}

// The bool that it jumps for stays.
template <bool Jumps, bool IsInSlot>
const Op* LogicalJump(const Op* op, Machine& machine, Slot* top, int64 i, float64)
{
    if ((i != 0) != Jumps)
        return GoOnAt(op + 1, machine, top);
    if constexpr (IsInSlot)
        (top++)->Set(Jumps);
    return GoOnWith(machine.GetOp(op->m_target), machine, top, i);
}

// --- Addresses -------------------------------------------------------------------------------------------------------

[[gnu::always_inline]] inline const Op* GoOnWithAddress(const Op* op, Machine& machine, Slot* top, const void* address)
{
    return GoOnAt(op, machine, top, static_cast<int64>(reinterpret_cast<std::intptr_t>(address)));
}

const Op* ParameterAddress(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    return GoOnWithAddress(op + 1, machine, top, machine.m_parameters[op->m_index].m_address);
}

const Op* ObjectAddress(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    return GoOnWithAddress(op + 1, machine, top, ValueAccess::Of(*static_cast<const Value*>(op->m_left)).m_address);
}

const Op* LocalAddress(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    return GoOnWithAddress(op + 1, machine, top, machine.m_base[op->m_index].m_address);
}

template <From Where>
const Op* Element(const Op* op, Machine& machine, Slot* top, int64 i, float64 f)
{
    const KnownPlace& place = machine.m_program->m_places[op->m_index];
    i = Operand<int64, Where>::Get(op->m_right, machine, top, i, f);
    const void* const element = place.Find(place.m_slot.m_address, i);
    if (element != nullptr) [[likely]]
        return GoOnWithAddress(op + 1, machine, top, element);
    top[0] = place.m_slot;
    top[1].Set(i);
    return machine.FailAs(&Machine::Subscript, op, top + 2);
}

// What a place in a slot keeps alive is kept by what the evaluation was given: its type is known, so it was not made by
// a function.
const Op* ElementOfSlot(const Op* op, Machine& machine, Slot* top, int64 i, float64)
{
    const void* const element = machine.m_program->m_places[op->m_index].Find(top[-1].m_address, i);
    if (element != nullptr) [[likely]]
        return GoOnWithAddress(op + 1, machine, top - 1, element);
    top->Set(i);
    return machine.FailAs(&Machine::Subscript, op, top + 1);
}

const Op* PushPlace(const Op* op, Machine& machine, Slot* top, int64, float64)
{
    *top = machine.m_program->m_places[op->m_index].m_slot;
    return GoOnAt(op + 1, machine, top + 1);
}

const Op* SpillPlace(const Op* op, Machine& machine, Slot* top, int64 i, float64)
{
    *top = machine.m_program->m_places[op->m_index].m_slot;
    top->m_address = reinterpret_cast<char*>(i) + op->m_offset;
    return GoOnAt(op + 1, machine, top + 1);
}

template <Kind K>
struct End
{
    static const Op* Do(const Op*, Machine& machine, Slot* top, [[maybe_unused]] int64 i, [[maybe_unused]] float64 f)
    {
        machine.m_top = top;
        if constexpr (K == Kind::Float)
            machine.m_float = f;
        else
            machine.m_integer = i;
        return nullptr;
    }
};

} // namespace

// --- Finding them ----------------------------------------------------------------------------------------------------

Step FindCombination(std::size_t token, Kind leftKind, From left, Kind rightKind, From right)
{
    if (!IsNumber(leftKind) || !IsNumber(rightKind))
        return nullptr;
    return s_combinations.Find(token, IndexOfOperand(leftKind, left), IndexOfOperand(rightKind, right));
}

Kind KindOfCombination(std::size_t token, Kind left, Kind right)
{
    return s_combinations.IsComparison(token)                ? Kind::Bool
           : left == Kind::Integer && right == Kind::Integer ? Kind::Integer
                                                             : Kind::Float;
}

Kind KindOfScalar(ETypeByteCode type)
{
    switch (static_cast<int>(type))
    {
    case FT_BOOL: return Kind::Bool;
    case FT_INT8:
    case FT_INT16:
    case FT_INT32:
    case FT_INT64:
    case FT_UINT8:
    case FT_UINT16:
    case FT_UINT32: return Kind::Integer;
    case FT_FLOAT32:
    case FT_FLOAT64: return Kind::Float;
    default: return Kind::None;
    }
}

Step LoadStep(ETypeByteCode type)
{
    return ForType<LoadVariable>(type);
}
Step PushStep(ETypeByteCode type)
{
    return ForType<PushVariable>(type);
}
Step LoadParameterStep(Kind kind)
{
    return ForKind<LoadParameter>(kind);
}
Step PushParameterStep(Kind kind)
{
    return ForKind<PushParameterOf>(kind);
}
Step LoadAtAddressStep(ETypeByteCode type)
{
    return ForType<LoadAtAddress>(type);
}
Step SpillStep(Kind kind)
{
    return ForKind<Spill>(kind);
}
Step UnspillStep(Kind kind)
{
    return ForKind<Unspill>(kind);
}
Step NegateStep(Kind kind)
{
    return ForKind<Negate>(kind);
}
Step ComplementStep()
{
    return Complement;
}
Step NotStep()
{
    return Not;
}
Step ToFloatStep()
{
    return ToFloat;
}
Step FunctionStep(Domain domain)
{
    switch (domain)
    {
    case Domain::Any: break;
    case Domain::Positive: return Function<Domain::Positive>;
    case Domain::NotNegative: return Function<Domain::NotNegative>;
    }
    return Function<Domain::Any>;
}
Step ExtremeStep(bool isLeast, Kind kind)
{
    if (kind == Kind::Float)
        return isLeast ? Extreme<true, float64> : Extreme<false, float64>;
    return isLeast ? Extreme<true, int64> : Extreme<false, int64>;
}
Step JumpIfNotStep()
{
    return JumpIfNot;
}
Step AndJumpStep(bool isInSlot)
{
    return isInSlot ? LogicalJump<false, true> : LogicalJump<false, false>;
}
Step OrJumpStep(bool isInSlot)
{
    return isInSlot ? LogicalJump<true, true> : LogicalJump<true, false>;
}
Step SpillAndJumpStep(Kind kind)
{
    return ForKind<SpillAndJump>(kind);
}
Step ParameterAddressStep()
{
    return ParameterAddress;
}
Step ObjectAddressStep()
{
    return ObjectAddress;
}
Step LocalAddressStep()
{
    return LocalAddress;
}
Step ElementStep(From index)
{
    return index == From::Memory ? Element<From::Memory> : Element<From::Parameter>;
}
Step ElementOfSlotStep()
{
    return ElementOfSlot;
}
Step PushPlaceStep()
{
    return PushPlace;
}
Step SpillPlaceStep()
{
    return SpillPlace;
}
Step EndStep(Kind kind)
{
    return ForKind<End>(kind);
}

} // namespace kelm::evaluation
