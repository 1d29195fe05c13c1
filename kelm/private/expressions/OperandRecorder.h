#pragma once

// Records operations on operands, whatever the grammar is that they come from: in slots, or in a typed program in
// registers as long as no more than one value is needed there.
//
// Whatever is pushed in the general form is pushed in a typed program too, in the same order, at the latest when
// something is called; so that an evaluation can go on in the other form behind every call.

#include <kelm/private/errors/Failures.h>
#include <kelm/private/expressions/Machine.h>
#include <kelm/private/expressions/Operations.h>
#include <kelm/private/expressions/Program.h>
#include <kelm/private/expressions/RecordedOperand.h>
#include <kelm/private/expressions/Scalars.h>
#include <klKelmScript/private/Operators.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace kelm::evaluation
{

class OperandRecorder
{
protected:
    using Operand = RecordedOperand;
    using Access = RecordedAccess;

    OperandRecorder(Program& program, bool isTyped)
        : m_program(&program), m_isTyped(isTyped && program.m_language == Language::Natural)
    {
    }

    // An operator and its place, until its right operand has been read; of one that may skip it, where it jumps.
    struct Operator
    {
        EToken m_token;
        uint32 m_jump;
        std::size_t m_place;
    };
    static constexpr uint32 s_noJump = 0xFFFFFFFF;

    // --- Operations --------------------------------------------------------------------------------------------------

    template <class Tokens>
    std::size_t PlaceOf(const Tokens& tokens) const
    {
        return static_cast<std::size_t>(tokens.GetText().m_p1 - m_program->m_text.data());
    }
    template <class Tokens>
    static std::string_view TextOf(const Tokens& tokens)
    {
        const SubString text = tokens.GetText();
        return {text.m_p1, static_cast<std::size_t>(text.size())};
    }

    // Of the quoted literal at the cursor.
    template <class Tokens>
    uint32 AddContents(const Tokens& tokens)
    {
        if (tokens.IsVerbatim())
        {
            const SubString contents = tokens.GetContents();
            return AddText({contents.m_p1, static_cast<std::size_t>(contents.size())});
        }
        xstring contents;
        tokens.GetString(contents);
        return AddText(m_program->m_ownTexts.emplace_front(std::string_view(contents)));
    }
    uint32 AddText(std::string_view text)
    {
        m_program->m_texts.Add(text);
        return static_cast<uint32>(m_program->m_texts.size() - 1);
    }

    void Raise(std::size_t count)
    {
        m_depth += count;
        if (m_depth > m_maxDepth)
            m_maxDepth = m_depth;
    }

    // Its operands are whatever they are.
    [[gnu::always_inline]] Op& Add(Step step, Code code, EToken token, std::size_t place)
    {
        constexpr std::size_t stepsBetweenPauses = 32;
        if (m_program->m_ops.size() % stepsBetweenPauses == stepsBetweenPauses - 1) [[unlikely]]
            AddPause();
        Op& op = m_program->m_ops.Add();
        op.m_step = step;
        op.m_bits = Op::BitsOf(place, IndexOfToken(token), code);
        return op;
    }
    [[gnu::noinline]] void AddPause()
    {
        Op& op = m_program->m_ops.Add();
        op.m_step = StepOf(Code::Pause);
        op.m_bits = Op::BitsOf(0, 0, Code::Pause);
    }

    [[gnu::always_inline]] uint32 Emit(Code code, EToken token, uint64 index, std::size_t place)
    {
        Add(StepOf(code), code, token, place).m_index = index;
        return static_cast<uint32>(m_program->m_ops.size() - 1);
    }
    uint32 EmitStep(Step step, std::size_t place, EToken token = TOKEN_END)
    {
        Add(step, Code::Scalar, token, place);
        return static_cast<uint32>(m_program->m_ops.size() - 1);
    }

    // The operation, a jump, goes behind the last one.
    void JumpHere(uint32 jump)
    {
        m_program->m_ops[jump].m_target = m_program->m_ops.size();
        m_load = s_noLoad;
    }

    void EmitCall(Code code, uint32 index, std::size_t count, std::size_t place)
    {
        SpillCached();
        m_program->m_ops[Emit(code, TOKEN_END, index, place)].m_count = count;
        m_depth -= count;
        Raise(1);
    }

    // A call of a function of floats that has an address, where its arguments, pushed last, need not be in slots.
    bool TryCallAddress(const Record* record, std::size_t count, std::size_t place)
    {
        const auto address = reinterpret_cast<const void*>(record->m_function.m_address);
        if (address == nullptr)
            return false;
        SmallArray<Op, 48>& ops = m_program->m_ops;
        const Step pushFloat = PushStep(FT_FLOAT64);
        if (count == 1 && ops.back().m_step == SpillStep(Kind::Float))
            ops.Shrink(ops.size() - 1);
        else if (count == 1 && ops.back().m_step == pushFloat)
            ops.back().m_step = LoadStep(FT_FLOAT64);
        else if (count != 2 || ops.size() < 2 || ops.back().m_step != pushFloat ||
                 ops[ops.size() - 2].m_step != pushFloat)
            return false;
        m_depth -= count;
        m_load = s_noLoad;
        ++m_numCalls;
        if (count == 2)
        {
            Op& call = ops[ops.size() - 2];
            Op& operands = ops.back();
            operands.m_right = operands.m_left;
            operands.m_left = call.m_left;
            SetCall(call, CallOfTwoStep(), address, record, place);
        }
        else
            SetCall(Add(nullptr, Code::CallName, TOKEN_END, place), CallOfRegisterStep(), address, record, place);
        return true;
    }
    static void SetCall(Op& call, Step step, const void* address, const Record* record, std::size_t place)
    {
        call.m_step = step;
        call.m_left = address;
        call.m_right = record;
        call.m_bits = Op::BitsOf(place, 0, Code::CallName);
    }

    // --- Operands in slots -------------------------------------------------------------------------------------------

    static void SetPushed(Operand& operand, Kind kind)
    {
        operand.m_is = Operand::Is::Pushed;
        operand.m_kind = kind;
    }
    void SetPlace(Operand& operand, Operand::Is is = Operand::Is::Place) const
    {
        operand.m_is = is;
        operand.m_kind = Kind::None;
        operand.m_calls = m_numCalls;
    }

    // An operand that an operation is about to take: a place that has waited while something was called that may have
    // moved what it lies in must be found again.
    void LookAtWaiting(const Operand& operand) { LookAtWaiting(operand.m_is, operand.m_calls); }
    void LookAtWaiting(Operand::Is is, uint64 calls)
    {
        if (is >= Operand::Is::Chosen && calls < m_numCalls) [[unlikely]]
            m_waits = true;
    }

    void Push(Operand& operand)
    {
        if (m_isTyped) [[unlikely]]
            return PushTyped(operand);
        if (operand.m_is >= Operand::Is::Pushed)
            return;
        Raise(1);
        EmitPush(operand);
        SetBehindPush(operand);
    }

    // What a name or a parameter stands for stays where it is.
    void SetBehindPush(Operand& operand) const
    {
        if (operand.m_is == Operand::Is::Local) [[unlikely]]
            return SetPlace(operand);
        operand.m_is = Operand::Is::Pushed;
    }

    [[gnu::noinline]] void PushTyped(Operand& operand)
    {
        switch (operand.m_is)
        {
        case Operand::Is::Pushed:
        case Operand::Is::Chosen:
        case Operand::Is::Place: return;
        case Operand::Is::Register:
        case Operand::Is::Address: return SpillCached();
        default: break;
        }
        SpillCached();
        Raise(1);
        if (operand.m_is == Operand::Is::Object)
        {
            m_program->m_ops[EmitStep(PushPlaceStep(), 0)].m_index = AddPlace(operand);
            return SetPlaceThatStays(operand, true);
        }
        if (operand.m_is == Operand::Is::Scalar)
        {
            const bool isInMemory = operand.m_from == From::Memory;
            const Step step = isInMemory ? PushStep(operand.m_code) : PushParameterStep(operand.m_kind);
            m_program->m_ops[EmitStep(step, 0)].m_left = operand.m_at;
        }
        else
        {
            EmitPush(operand);
            return SetBehindPush(operand);
        }
        operand.m_is = Operand::Is::Pushed;
    }

    void SetPlaceThatStays(Operand& operand, bool stays) const
    {
        SetPlace(operand);
        if (stays)
            operand.m_calls = Operand::s_stays;
    }

    void EmitPush(const Operand& operand)
    {
        constexpr Code codes[] = {Code::PushNone, Code::PushBool, Code::PushInteger,   Code::PushFloat,
                                  Code::PushText, Code::PushName, Code::PushParameter, Code::PushLocal};
        const Code code = codes[static_cast<std::size_t>(operand.m_is)];
        const bool isConstant = Code::PushBool <= code && code <= Code::PushFloat;
        const std::size_t place = code == Code::PushName || code == Code::PushLocal ? operand.m_place : 0;
        Emit(code, TOKEN_END, isConstant ? static_cast<uint64>(operand.m_integer) : operand.m_index, place);
    }

    // --- Operands of known kinds -------------------------------------------------------------------------------------

    // What is in the registers, if anything, goes to a slot, since another value will be there.
    void SpillCached()
    {
        if (m_cached != nullptr) [[unlikely]]
            Spill();
    }
    [[gnu::noinline]] void Spill()
    {
        Operand& operand = *std::exchange(m_cached, nullptr);
        Raise(1);
        if (operand.m_is == Operand::Is::Address && operand.m_kind != Kind::None)
            LoadAtAddress(operand);
        else if (operand.m_is == Operand::Is::Address)
        {
            Op& op = m_program->m_ops[EmitStep(SpillPlaceStep(), 0)];
            op.m_index = AddPlace(operand);
            op.m_offset = operand.m_variable.m_offset;
            return SetPlaceThatStays(operand, operand.m_stays);
        }
        if (m_load + 1 == m_program->m_ops.size())
            m_program->m_ops.back().m_step =
                m_loadedFrom == From::Memory ? PushStep(m_loadedType) : PushParameterStep(operand.m_kind);
        else
            EmitStep(SpillStep(operand.m_kind), 0);
        m_load = s_noLoad;
        operand.m_is = Operand::Is::Pushed;
    }

    // What is in the registers has been taken, or goes on elsewhere.
    void TakeRegister() { m_cached = nullptr; }

    void SetRegister(Operand& operand, Kind kind)
    {
        operand.m_is = Operand::Is::Register;
        operand.m_kind = kind;
        m_cached = &operand;
    }

    void SetAddress(Operand& operand, const KnownVariable& variable, bool stays = false)
    {
        operand.m_is = Operand::Is::Address;
        operand.m_variable = variable;
        operand.m_stays = stays;
        m_cached = &operand;
        Settle(operand);
    }

    // After a step to a known variable, which may be a scalar.
    static void Settle(Operand& operand)
    {
        operand.m_code = UnderlyingCode(operand.m_variable.GetType());
        operand.m_kind = KindOfScalar(operand.m_code);
        operand.m_index = Operand::s_noName;
        if (operand.m_is != Operand::Is::Object)
            return;
        operand.m_at = static_cast<const char*>(operand.m_at) + std::exchange(operand.m_variable.m_offset, 0);
        if (operand.m_kind != Kind::None)
            operand.m_is = Operand::Is::Scalar;
    }

    static bool IsKnownVariable(const Operand& operand)
    {
        return operand.m_is == Operand::Is::Object || operand.m_is == Operand::Is::Address;
    }

    uint32 AddPlace(const Operand& operand)
    {
        KnownPlace place{};
        return AddPlace(operand, place);
    }
    uint32 AddPlace(const Operand& operand, KnownPlace& place)
    {
        const bool isObject = operand.m_is == Operand::Is::Object;
        place.m_slot.SetPlace(isObject ? operand.m_at : nullptr, operand.m_variable.GetType(),
                              operand.m_variable.m_isConst);
        m_program->m_places.Add(place);
        return static_cast<uint32>(m_program->m_places.size() - 1);
    }

    // A list whose elements are known; its index is that of the place from then on.
    void PushList(Operand& operand, KnownPlace& list)
    {
        const bool isObject = operand.m_is == Operand::Is::Object;
        const uint32 place = AddPlace(operand, list);
        if (isObject)
            SpillCached();
        m_cached = nullptr;
        Raise(1);
        Op& op = m_program->m_ops[EmitStep(isObject ? PushPlaceStep() : SpillPlaceStep(), 0)];
        op.m_index = place;
        op.m_offset = operand.m_variable.m_offset;
        SetPlaceThatStays(operand, isObject || operand.m_stays);
        operand.m_index = place;
    }

    // From such a list to the address of an element; `isDirect` where nothing has been recorded behind the list.
    void StepToElement(const Operand& list, Operand& index, bool isDirect, std::size_t place)
    {
        --m_depth;
        if (isDirect && IsDirect(index))
        {
            Op& op = m_program->m_ops.back();
            op.m_step = ElementStep(index.m_from);
            op.m_right = index.m_at;
            op.m_bits = Op::BitsOf(place, 0, Code::Scalar);
            return;
        }
        ToRegister(index);
        m_cached = nullptr;
        m_program->m_ops[EmitStep(ElementOfSlotStep(), place)].m_index = list.m_index;
    }

    // Whether a number can be an operand where it is; constants become such.
    bool IsDirect(Operand& operand)
    {
        if (operand.m_is == Operand::Is::Scalar)
            return operand.m_code == FT_INT64 || operand.m_code == FT_FLOAT64;
        if (operand.m_is != Operand::Is::Integer && operand.m_is != Operand::Is::Float)
            return false;
        MakeScalar(operand);
        return true;
    }

    // Of a constant.
    void MakeScalar(Operand& operand)
    {
        const bool isFloat = operand.m_is == Operand::Is::Float;
        operand.m_at =
            isFloat ? m_program->m_constants.Add(operand.m_float) : m_program->m_constants.Add(operand.m_integer);
        operand.m_code = isFloat ? FT_FLOAT64 : operand.m_is == Operand::Is::Bool ? FT_BOOL : FT_INT64;
        operand.m_is = Operand::Is::Scalar;
        operand.m_from = From::Memory;
        operand.m_index = Operand::s_noName;
    }

    // A value of a known kind.
    void ToRegister(Operand& operand)
    {
        const Kind kind = operand.m_kind;
        switch (operand.m_is)
        {
        case Operand::Is::Register: return;
        case Operand::Is::Address: LoadAtAddress(operand); break;
        case Operand::Is::Pushed:
            --m_depth;
            EmitStep(UnspillStep(kind), 0);
            break;
        case Operand::Is::Scalar:
        default: Load(operand); break;
        }
        SetRegister(operand, kind);
    }

    void Load(Operand& operand)
    {
        SpillCached();
        if (operand.m_is != Operand::Is::Scalar)
            MakeScalar(operand);
        m_loadedFrom = operand.m_from;
        m_loadedType = operand.m_code;
        const Step step = m_loadedFrom == From::Memory ? LoadStep(m_loadedType) : LoadParameterStep(operand.m_kind);
        m_load = EmitStep(step, 0);
        m_program->m_ops.back().m_left = operand.m_at;
    }

    void LoadAtAddress(const Operand& operand)
    {
        m_program->m_ops[EmitStep(LoadAtAddressStep(operand.m_code), 0)].m_offset = operand.m_variable.m_offset;
    }

    bool TryToRegister(Operand& operand)
    {
        if (!m_isTyped || operand.m_kind == Kind::None)
            return false;
        ToRegister(operand);
        return true;
    }

    bool TryToFloat(Operand& operand)
    {
        if (!m_isTyped || (operand.m_kind != Kind::Float && operand.m_kind != Kind::Integer))
            return false;
        const bool isInteger = operand.m_kind == Kind::Integer;
        ToRegister(operand);
        if (isInteger)
            EmitStep(ToFloatStep(), 0);
        return true;
    }

    // What an operator makes of numbers of known kinds.
    bool TryCombine(const Operator& op, Operand& left, Operand& right)
    {
        const std::size_t token = IndexOfToken(op.m_token);
        const Kind leftKind = left.m_kind;
        if (FindCombination(token, leftKind, From::Register, right.m_kind, From::Memory) == nullptr)
            return false;
        // A float sees an integer as the float that it is, as long as there is one.
        constexpr int64 end = int64(1) << 53;
        if (right.m_is == Operand::Is::Integer && leftKind == Kind::Float && -end <= right.m_integer &&
            right.m_integer <= end)
            Access::Construct(right, static_cast<float64>(right.m_integer));
        const Kind rightKind = right.m_kind;
        const auto find = [&](From from) { return FindCombination(token, leftKind, from, rightKind, right.m_from); };
        if (!IsDirect(right))
        {
            ToRegister(right);
            right.m_from = From::Register;
            --m_depth;
            m_cached = nullptr;
            EmitStep(find(From::Stack), op.m_place, op.m_token);
        }
        else if (left.m_is == Operand::Is::Register && m_load + 1 == m_program->m_ops.size() &&
                 (m_loadedType == FT_INT64 || m_loadedType == FT_FLOAT64))
        {
            // Nothing but the left operand's value has been loaded.
            Op& load = m_program->m_ops.back();
            load.m_step = find(m_loadedFrom);
            load.m_bits = Op::BitsOf(op.m_place, token, Code::Scalar);
            load.m_right = right.m_at;
        }
        else
        {
            ToRegister(left);
            m_program->m_ops[EmitStep(find(From::Register), op.m_place, op.m_token)].m_right = right.m_at;
        }
        m_load = s_noLoad;
        SetRegister(left, KindOfCombination(token, leftKind, rightKind));
        return true;
    }

    // The kind that the general form of an operator gives, where that is known.
    static Kind KindOfGeneral(EToken token, Kind left, Kind right)
    {
        const bool areNumbers =
            (left == Kind::Integer || left == Kind::Float) && (right == Kind::Integer || right == Kind::Float);
        const int level = LevelOf(token);
        if (level == LEVEL_POWER && !areNumbers)
            return Kind::None;
        if (level == LEVEL_EQUALITY || level == LEVEL_RELATIONAL)
            return Kind::Bool;
        if (level != LEVEL_POWER)
            return Kind::None;
        return left == Kind::Integer && right == Kind::Integer ? Kind::Integer : Kind::Float;
    }

    // A sign before a value of a known kind.
    bool TryPrefix(Operand& operand, EToken token, std::size_t place)
    {
        const Kind kind = operand.m_kind;
        const bool isNumber = kind == Kind::Integer || kind == Kind::Float;
        Step step = nullptr;
        if (token == TOKEN_MINUS && isNumber)
            step = NegateStep(kind);
        else if (token == TOKEN_EXCLAM && kind == Kind::Bool)
            step = NotStep();
        else if (token == TOKEN_TILDE && kind == Kind::Integer)
            step = ComplementStep();
        else if (token != TOKEN_PLUS || !isNumber)
            return false;
        ToRegister(operand);
        if (step != nullptr)
            EmitStep(step, place, token);
        return true;
    }

    // --- Logic -------------------------------------------------------------------------------------------------------

    static bool IsOfBools(ListFunction function)
    {
        return function == ListFunction::Any || function == ListFunction::All;
    }

    // A condition for a jump: whether it is a bool in the register; it is on the stack otherwise.
    bool TryTakeBool(Operand& condition)
    {
        if (m_isTyped && condition.m_kind == Kind::Bool)
        {
            ToRegister(condition);
            m_cached = nullptr;
            return true;
        }
        Push(condition);
        return false;
    }

    // In the natural language a right operand that is not needed is jumped over.
    uint32 BeginLogical(EToken token, Operand& left, std::size_t place)
    {
        if (m_program->m_language == Language::Exact)
        {
            Push(left);
            return s_noJump;
        }
        const bool isAnd = token == TOKEN_DBL_AMPERSAND;
        if (TryTakeBool(left))
            return EmitStep(isAnd ? AndJumpStep(false) : OrJumpStep(false), place);
        --m_depth;
        return Emit(isAnd ? Code::AndJump : Code::OrJump, token, 0, place);
    }

    void EndLogical(const Operator& op, Operand& left, Operand& right)
    {
        const bool isInRegister = m_program->m_ops[op.m_jump].GetCode() == Code::Scalar;
        if (isInRegister && right.m_kind == Kind::Bool)
        {
            ToRegister(right);
            JumpHere(op.m_jump);
            return SetRegister(left, Kind::Bool);
        }
        if (isInRegister)
            m_program->m_ops[op.m_jump].m_step =
                op.m_token == TOKEN_DBL_AMPERSAND ? AndJumpStep(true) : OrJumpStep(true);
        Push(right);
        Emit(Code::CheckBool, op.m_token, 0, op.m_place);
        JumpHere(op.m_jump);
        SetPushed(left, Kind::Bool);
    }

    Program* m_program;
    bool m_isTyped;
    bool m_waits = false;  // some place, while something is called
    uint64 m_numCalls = 0; // so far, of what may run the program's code or assigns
    std::size_t m_depth = 0;
    std::size_t m_maxDepth = 0;

private:
    static constexpr std::size_t s_noLoad = ~std::size_t(0) - 1;

    Operand* m_cached = nullptr;   // what is in the registers
    std::size_t m_load = s_noLoad; // the last operation, where it has done no more than bring that there
    From m_loadedFrom;
    ETypeByteCode m_loadedType;
};

} // namespace kelm::evaluation
