#pragma once

// What the evaluator's grammar means when operations are recorded: each becomes an Op of a Program. A value that is
// known, a name or a constant, is not pushed before something must stand above it.

#include <kelm/private/errors/Failures.h>
#include <kelm/private/expressions/Functions.h>
#include <kelm/private/expressions/NameRecorder.h>
#include <kelm/private/expressions/Operations.h>
#include <kelm/private/expressions/Program.h>
#include <kelm/private/expressions/ScopeNames.h>
#include <kelm/private/expressions/Trail.h>
#include <klKelmScript/private/BuiltIns.h>
#include <klKelmScript/private/Operators.h>
#include <klUtils/StackSegment.h>
#include <klUtils/text/private/ExpressionCursor.h>

#include <cstddef>
#include <string_view>
#include <utility>

namespace kelm::evaluation
{

class Recorder : private NameRecorder
{
public:
    using Operand = RecordedOperand;
    using Access = RecordedAccess;
    static constexpr bool s_isRecording = true;

    Recorder(Program& program, const Scope* scope, bool hasScope, bool isTyped, const ParameterType* types)
        : NameRecorder(program, scope, hasScope, isTyped, types)
    {
    }

    // Whether something has been recorded that a typed program cannot have, which must be recorded in the general form.
    bool NeedsGeneralForm() const { return m_needsGeneralForm || (m_program->m_isTyped && m_waits); }

    // --- What the grammar calls --------------------------------------------------------------------------------------

    using Operator = OperandRecorder::Operator;

    template <class Tokens>
    Operator BeginOperator(const Tokens& tokens, Operand& left, EToken token)
    {
        const std::size_t place = PlaceOf(tokens);
        uint32 jump = s_noJump;
        if (token == TOKEN_DBL_AMPERSAND || token == TOKEN_DBL_VLINE) [[unlikely]]
            jump = BeginLogical(token, left, place);
        else if (m_isTyped && left.m_kind != Kind::None)
        {
            if (left.m_is != Operand::Is::Pushed)
                ToRegister(left);
        }
        else
            Push(left);
        return {token, jump, place};
    }

    void EndOperator(const Operator& op, Operand& left, Operand& right)
    {
        if (op.m_jump != s_noJump) [[unlikely]]
            return EndLogical(op, left, right);
        if (!m_isTyped || !TryCombine(op, left, right))
        {
            Push(left);
            Push(right);
            LookAtWaiting(left);
            --m_depth;
            Add(BinaryStepOf(m_program->m_language, op.m_token), Code::Binary, op.m_token, op.m_place);
            SetPushed(left, m_isTyped ? KindOfGeneral(op.m_token, left.m_kind, right.m_kind) : Kind::None);
        }
    }

    template <class E>
    void SetText(E& e, Operand& operand)
    {
        operand.m_is = Operand::Is::Text;
        operand.m_kind = Kind::None;
        operand.m_index = AddContents(e.m_tokens);
        e.m_tokens.NextBehindOperand();
    }

    template <class E>
    void Assign(E& e, Operand& left)
    {
        do
        {
            const EToken token = e.m_tokens.GetKind();
            const std::size_t place = PlaceOf(e.m_tokens);
            const bool isName = IsName(left);
            const uint32 name = left.m_index;
            // An element is not looked for before there is a value for it.
            const bool isElement = left.m_is == Operand::Is::Place && token == TOKEN_EQUAL &&
                                   m_program->m_ops.back().GetCode() == Code::Subscript;
            m_needsGeneralForm = m_needsGeneralForm || (m_isTyped && !isName);
            Op subscript{};
            if (isElement)
                subscript = m_program->m_ops.back();
            if (isElement)
            {
                m_program->m_ops.Shrink(m_program->m_ops.size() - 1);
                ++m_depth;
            }
            else if (!isName)
            {
                Push(left);
                Emit(Code::KeepPlace, TOKEN_END, 0, 0);
            }
            Operand right;
            e.EvaluateNextOperand(right);
            e.FinishConditional(right);
            Push(right);
            LookAtWaiting(left);
            m_depth -= isElement ? 2 : isName ? 0 : 1;
            const Code store = isElement ? Code::StoreElement : isName ? Code::StoreName : Code::Store;
            Emit(store, token, isName ? name : 0, place);
            if (isElement)
                m_program->m_ops.Add(subscript);
            ++m_numCalls; // a whole object, perhaps, and checks are asked
            SetPushed(left, Kind::None);
        } while (e.IsNow(ROLE_ASSIGNMENT));
    }

    template <class E>
    void Branch(E& e, Operand& condition)
    {
        const std::size_t place = PlaceOf(e.m_tokens);
        if (m_program->m_language == Language::Exact)
            return Choice(e, condition, place);
        uint32 toSecond = 0;
        if (TryTakeBool(condition))
            toSecond = EmitStep(JumpIfNotStep(), place);
        else
        {
            toSecond = Emit(Code::JumpIfNot, TOKEN_QUESTION, 0, place);
            --m_depth;
        }
        Operand first;
        e.EvaluateNextSafely(first);
        if (!e.m_tokens.Is(TOKEN_COLON))
            e.m_tokens.ThrowExpected(":");
        const bool isFirstKnown = TryToRegister(first);
        const Kind kind = first.m_kind;
        if (!isFirstKnown)
            Push(first);
        TakeRegister();
        const uint32 toEnd = Emit(Code::Jump, TOKEN_QUESTION, 0, place);
        if (!isFirstKnown)
            --m_depth;
        JumpHere(toSecond);
        Operand second;
        e.EvaluateNextOperand(second);
        e.FinishConditional(second);
        if (isFirstKnown && second.m_kind == kind)
        {
            ToRegister(second);
            SetRegister(condition, kind);
        }
        else
        {
            if (isFirstKnown)
                m_program->m_ops[toEnd].m_step = SpillAndJumpStep(kind);
            Push(second);
            SetPushed(condition, Kind::None);
            if (first.m_is >= Operand::Is::Chosen || second.m_is >= Operand::Is::Chosen)
                SetPlace(condition, Operand::Is::Chosen);
        }
        JumpHere(toEnd);
    }

    template <class E>
    void Prefix(E& e, Operand& operand)
    {
        const EToken token = e.m_tokens.GetKind();
        const std::size_t place = PlaceOf(e.m_tokens);
        e.EvaluateNextOperand(operand);
        const bool isNatural = m_program->m_language == Language::Natural;
        if (token == TOKEN_MINUS && isNatural)
        {
            if (operand.m_is == Operand::Is::Integer)
                return Access::Construct(operand, static_cast<int64>(0 - static_cast<uint64>(operand.m_integer)));
            if (operand.m_is == Operand::Is::Float)
                return Access::Construct(operand, -operand.m_float);
        }
        if (m_isTyped && TryPrefix(operand, token, place))
            return;
        Push(operand);
        Emit(Code::Prefix, token, 0, place);
        SetPushed(operand, Kind::None);
    }

    template <class E>
    void Subscript(E& e, Operand& operand)
    {
        KnownPlace list;
        KnownVariable element;
        const bool isKnown = IsKnownVariable(operand) && FindKnownElements(operand.m_variable, list, element);
        const bool isObject = operand.m_is == Operand::Is::Object;
        const std::size_t bracket = PlaceOf(e.m_tokens);
        if (isKnown)
            PushList(operand, list);
        else
            Push(operand);
        const std::size_t pushed = m_program->m_ops.size();
        Operand index;
        e.EvaluateNextSafely(index);
        const std::size_t place = PlaceOf(e.m_tokens);
        LookAtWaiting(operand);
        if (isKnown && index.m_kind == Kind::Integer)
        {
            StepToElement(operand, index, isObject && pushed == m_program->m_ops.size(), place);
            SetAddress(operand, element);
            return e.m_tokens.PassBehindOperand(TOKEN_RIGHT_SQUARE, "]");
        }
        Push(index);
        e.m_tokens.PassBehindOperand(TOKEN_RIGHT_SQUARE, "]");
        --m_depth;
        Emit(Code::Subscript, TOKEN_END, bracket + 1, place);
        SetPlace(operand);
    }

    template <class E>
    void Member(E& e, Operand& operand)
    {
        e.m_tokens.Next();
        if (!e.m_tokens.Is(TOKEN_IDENTIFIER))
            e.m_tokens.ThrowExpected("identifier");
        const std::string_view name = TextOf(e.m_tokens);
        const std::size_t place = PlaceOf(e.m_tokens);
        e.m_tokens.NextBehindOperand();
        if (e.m_tokens.Is(TOKEN_LEFT_PAREN))
        {
            Push(operand);
            const uint32 use = UseMember(name, place);
            ArgumentKinds kinds;
            const std::size_t count = 1 + Arguments(e, kinds);
            LookAtWaiting(operand);
            if (const evaluation::Record* const record = m_program->m_records[use])
                CheckMemberCall(*record, count, place);
            EmitCall(Code::CallMember, use, count, place);
            ++m_numCalls;
            return SetPlace(operand);
        }
        StepToMember(operand, name, place);
    }

    // What stands before the bracket is no name.
    template <class E>
    [[noreturn]] void Call(E& e, Operand&)
    {
        e.ThrowUnexpected();
    }

    template <class E>
    void Name(E& e, Operand& operand)
    {
        const std::string_view name = TextOf(e.m_tokens);
        const std::size_t place = PlaceOf(e.m_tokens);
        // No name that is given is a built-in one.
        const bool hasLocals = !m_locals.empty() || !m_program->m_parameters.empty();
        if (hasLocals && FindLocal(name, operand, place)) [[unlikely]]
            return e.m_tokens.NextBehindOperand();
        const evaluation::Record* const record = ScopeAccess::Find(m_scope, name);
        if (record == nullptr)
            if (const BuiltIn* const builtIn = FindBuiltIn(name))
                return Nest([&] { BuiltInName(e, operand, *builtIn, place); });
        e.m_tokens.NextBehindOperand();
        if (e.m_tokens.Is(TOKEN_LEFT_PAREN))
            return Nest([&] { FunctionCall(e, operand, name, place, record); });
        if (record == nullptr && m_hasScope && !ScopeAccess::HasResolver(m_scope))
            ThrowUnknownName(m_scope, name, place);
        operand.m_is = Operand::Is::Name;
        operand.m_kind = Kind::None;
        operand.m_index = AddUse(name, record, place, false);
        operand.m_place = place;
        if (record == nullptr)
            ++m_numCalls; // of a resolver
        if (record != nullptr && record->m_is == Record::Is::Member) [[unlikely]]
        {
            if (m_isTyped)
                LookAtObject(operand, *record);
            if (IsKnownVariable(operand))
                return StepToMember(operand, name, place);
            Push(operand);
            SetPlace(operand);
        }
        else if (m_isTyped)
            LookAtRecord(operand, record);
    }

    // --- A whole text ------------------------------------------------------------------------------------------------

    template <class E>
    void RecordText(E& e)
    {
        Operand result;
        e.EvaluateSafely(result);
        if (m_program->m_language == Language::Natural && !e.m_tokens.Is(TOKEN_END))
            e.ThrowUnexpected();
        if (TryToRegister(result))
        {
            m_program->m_result = result.m_kind;
            EmitStep(EndStep(result.m_kind), 0);
        }
        else
        {
            Push(result);
            Emit(Code::End, TOKEN_END, 0, 0);
        }
        m_program->m_depth = m_maxDepth;
        if (m_waits && !m_program->m_isTyped) [[unlikely]]
            Trace(*m_program);
    }

private:
    // What brackets enclose may nest without limit.
    template <class F>
    static void Nest(F record)
    {
        if (IsStackLow()) [[unlikely]]
            return CallOnFreshSegment(record);
        record();
    }

    // In the exact language both branches are evaluated.
    template <class E>
    void Choice(E& e, Operand& condition, std::size_t place)
    {
        Push(condition);
        Operand first;
        e.EvaluateNextSafely(first);
        if (!e.m_tokens.Is(TOKEN_COLON))
            e.m_tokens.ThrowExpected(":");
        Push(first);
        Operand second;
        e.EvaluateNextOperand(second);
        e.FinishConditional(second);
        Push(second);
        LookAtWaiting(condition);
        LookAtWaiting(first);
        m_depth -= 2;
        Emit(Code::Select, TOKEN_QUESTION, 0, place);
        SetPlace(condition, Operand::Is::Chosen);
    }

    // --- Forms that begin with a name --------------------------------------------------------------------------------

    template <class E>
    void BuiltInName(E& e, Operand& operand, const BuiltIn& builtIn, std::size_t place)
    {
        if (builtIn.m_argument == Argument::None)
        {
            operand.m_is = Operand::Is::Bool;
            operand.m_kind = Kind::Bool;
            operand.m_integer = builtIn.m_constant;
            return e.m_tokens.NextBehindOperand();
        }
        if (m_program->m_language == Language::Exact)
            e.EvaluateInBrackets(operand);
        else
        {
            const std::string_view name(builtIn.m_name.data(), static_cast<std::size_t>(builtIn.m_name.size()));
            e.NextToBracket();
            e.m_tokens.Next();
            RefuseEnd(e, name, 0, 1, place);
            e.EvaluateSafely(operand);
            RefuseMore(e, name, 1, place);
            e.m_tokens.PassBehindOperand(TOKEN_RIGHT_PAREN, ")");
        }
        const std::size_t index = m_program->m_builtIns.size();
        m_program->m_builtIns.Add(&builtIn);
        if (builtIn.m_function != nullptr && TryToFloat(operand))
        {
            const bool isOfPositive = builtIn.m_argument == Argument::PositiveFloat;
            return Function(operand, builtIn.m_function, isOfPositive ? Domain::Positive : Domain::Any, Code::BuiltIn,
                            index, place);
        }
        Push(operand);
        Emit(Code::BuiltIn, TOKEN_END, index, place);
        SetPushed(operand, builtIn.m_function != nullptr ? Kind::Float : Kind::None);
    }

    template <class E>
    void FunctionCall(E& e, Operand& operand, std::string_view name, std::size_t place,
                      const evaluation::Record* record)
    {
        const OwnFunction* const own = record == nullptr ? FindOwnFunction(name) : nullptr;
        if (own != nullptr)
            return OwnFunctionCall(e, operand, *own, place);
        if (record == nullptr && m_hasScope)
            ThrowUnknownName(m_scope, name, place);
        const uint32 use = AddUse(name, record, place, false);
        ArgumentKinds kinds;
        const std::size_t count = Arguments(e, kinds);
        if (record != nullptr)
            CheckCall(*record, count, place);
        if (m_isTyped && kinds.m_areFloats && TryCallAddress(record, count, place))
            return SetRegister(operand, Kind::Float);
        EmitCall(Code::CallName, use, count, place);
        ++m_numCalls;
        SetPushed(operand, Kind::None);
        if (!m_isTyped || record->m_function.m_takesValues)
            return;
        const Kind result = record->m_function.m_result;
        Op& op = m_program->m_ops.back();
        op.m_step = CallStep(record->m_function, kinds.m_areFloats);
        op.m_left = record;
        op.m_bits = Op::BitsOf(place, !kinds.m_areScalars, Code::CallName);
        if (result == Kind::None)
            return;
        --m_depth;
        SetRegister(operand, result);
    }

    template <class E>
    void OwnFunctionCall(E& e, Operand& operand, const OwnFunction& own, std::size_t place)
    {
        if (own.m_form == OwnFunction::Form::Has)
            return HasPath(e, operand, place);
        if (own.m_form == OwnFunction::Form::List)
            return OverList(e, operand, own, place);
        ArgumentKinds kinds;
        const std::size_t count = Arguments(e, kinds);
        CheckCount(own.m_name, count, own.m_min, own.m_max, place);
        const uint32 index = IndexOfOwnFunction(own);
        if (m_isTyped && count == 1 && own.m_function != nullptr && kinds.m_areNumbers &&
            (kinds.m_areFloats || own.m_domain == Domain::Any))
        {
            SetPushed(operand, kinds.m_areFloats ? Kind::Float : Kind::Integer);
            TryToFloat(operand);
            return Function(operand, own.m_function, own.m_domain, Code::CallOwn, index, place);
        }
        if (m_isTyped && own.m_isExtreme && (kinds.m_areIntegers || kinds.m_areFloats))
        {
            const Kind kind = kinds.m_areFloats ? Kind::Float : Kind::Integer;
            m_program->m_ops[EmitStep(ExtremeStep(own.m_name == "min", kind), place)].m_count = count;
            m_depth -= count;
            return SetRegister(operand, kind);
        }
        EmitCall(Code::CallOwn, index, count, place);
        const bool isAsArguments = own.m_result == OwnFunction::Result::AsArguments;
        SetPushed(operand, own.m_result == OwnFunction::Result::Float  ? Kind::Float
                           : own.m_result == OwnFunction::Result::Bool ? Kind::Bool
                           : isAsArguments && kinds.m_areIntegers      ? Kind::Integer
                           : isAsArguments && kinds.m_areNumbers       ? Kind::Float
                                                                       : Kind::None);
    }

    // A function of the float in the register.
    void Function(Operand& operand, double (*function)(double), Domain domain, Code general, std::size_t index,
                  std::size_t place)
    {
        Op& op = m_program->m_ops[EmitStep(FunctionStep(domain), place)];
        op.m_function = function;
        op.m_count = index;
        op.m_bits = Op::BitsOf(place, 0, general);
        SetRegister(operand, Kind::Float);
    }

    // Everything between the brackets, pushed: how many.
    template <class E>
    std::size_t Arguments(E& e, ArgumentKinds& kinds)
    {
        SpillCached();
        std::size_t count = 0;
        e.m_tokens.Next();
        while (!e.m_tokens.Is(TOKEN_RIGHT_PAREN))
        {
            Operand argument;
            e.EvaluateSafely(argument);
            kinds.Look(argument.m_kind);
            Push(argument);
            if (argument.m_is >= Operand::Is::Chosen && argument.m_calls < kinds.m_calls)
                kinds.m_calls = argument.m_calls;
            ++count;
            if (e.m_tokens.Is(TOKEN_COMMA))
                e.m_tokens.Next(); // a trailing comma is accepted
            else if (!e.m_tokens.Is(TOKEN_RIGHT_PAREN))
                e.ThrowUnexpected();
        }
        e.m_tokens.NextBehindOperand();
        LookAtWaiting(Operand::Is::Place, kinds.m_calls);
        return count;
    }

    // Where a bracket closes behind fewer arguments than there must be.
    template <class E>
    static void RefuseEnd(const E& e, std::string_view name, std::size_t count, int32 wanted, std::size_t place)
    {
        if (e.m_tokens.Is(TOKEN_RIGHT_PAREN)) [[unlikely]]
            ThrowAt(ErrorKind::Call, CountMessage(name, count, wanted, wanted), place);
    }

    // Where others stand behind all that there may be: how many there are.
    template <class E>
    void RefuseMore(E& e, std::string_view name, std::size_t wanted, std::size_t place)
    {
        if (e.m_tokens.Is(TOKEN_COMMA)) [[unlikely]]
            Nest([&] { CountMore(e, name, wanted, place); });
    }
    template <class E>
    [[noreturn, gnu::cold, gnu::noinline]] void CountMore(E& e, std::string_view name, std::size_t wanted,
                                                          std::size_t place)
    {
        const std::size_t comma = PlaceOf(e.m_tokens);
        ArgumentKinds kinds;
        const std::size_t more = Arguments(e, kinds);
        if (more == 0)
            ThrowAt(ErrorKind::Syntax, "Expected ) when read ,", comma);
        const auto count = static_cast<int32>(wanted);
        ThrowAt(ErrorKind::Call, CountMessage(name, wanted + more, count, count), place);
    }

    // In general operations, whose failures are looked at.
    template <class E>
    void HasPath(E& e, Operand& operand, std::size_t place)
    {
        SpillCached();
        const bool isTyped = std::exchange(m_isTyped, false);
        const uint32 begin = Emit(Code::HasBegin, TOKEN_END, 0, place);
        Raise(1);
        Operand path;
        e.m_tokens.Next();
        RefuseEnd(e, "has", 0, 1, place);
        e.EvaluateSafely(path);
        RefuseMore(e, "has", 1, place);
        if (path.m_is != Operand::Is::Name && path.m_is != Operand::Is::Place && path.m_is != Operand::Is::Local &&
            path.m_is != Operand::Is::Parameter)
            ThrowAt(ErrorKind::Type, "has() takes a path", place);
        Push(path);
        e.m_tokens.PassBehindOperand(TOKEN_RIGHT_PAREN, ")");
        const uint32 end = Emit(Code::HasEnd, TOKEN_END, 0, place);
        m_program->m_ops[begin].m_target = end + 1;
        --m_depth;
        m_isTyped = isTyped;
        SetPushed(operand, Kind::Bool);
    }

    template <class E>
    void OverList(E& e, Operand& operand, const OwnFunction& function, std::size_t place)
    {
        Operand list;
        e.m_tokens.Next();
        RefuseEnd(e, function.m_name, 0, function.m_max, place);
        e.EvaluateSafely(list);
        RefuseEnd(e, function.m_name, 1, function.m_max, place);
        Local local{{}, 0, false, {}, 0};
        KnownPlace known;
        local.m_isKnown = IsKnownVariable(list) && FindKnownElements(list.m_variable, known, local.m_variable);
        Push(list);
        e.m_tokens.Pass(TOKEN_COMMA, ",");
        if (!e.m_tokens.Is(TOKEN_IDENTIFIER))
            e.m_tokens.ThrowExpected("identifier");
        const std::string_view name = TextOf(e.m_tokens);
        if (FindBuiltIn(name) != nullptr)
            ThrowAt(ErrorKind::Name, "\"" + std::string(name) + "\" is a built-in name", PlaceOf(e.m_tokens));
        e.m_tokens.Next();
        RefuseEnd(e, function.m_name, 2, function.m_max, place);
        if (!e.m_tokens.Is(TOKEN_COMMA))
            e.m_tokens.ThrowExpected(",");
        // On the stack: the list, the result so far, the number of the element, the element.
        const uint32 begin = Emit(Code::ListBegin, TOKEN_END, 0, place);
        m_program->m_ops[begin].m_index = static_cast<uint64>(function.m_list);
        Raise(3);
        local.m_name = name;
        local.m_slot = static_cast<uint32>(m_depth - 1);
        local.m_calls = m_numCalls;
        m_locals.Push(local);
        const auto body = static_cast<uint32>(m_program->m_ops.size());
        Operand each;
        e.EvaluateNextSafely(each);
        Push(each);
        m_locals.Pop();
        LookAtWaiting(list);
        if (local.m_calls != m_numCalls && (!local.m_isKnown || !m_locals.empty())) // the next elements of both, too
            m_waits = true;
        RefuseMore(e, function.m_name, 3, place);
        e.m_tokens.PassBehindOperand(TOKEN_RIGHT_PAREN, ")");
        Op& next = m_program->m_ops[Emit(Code::ListNext, TOKEN_END, static_cast<uint64>(function.m_list), place)];
        next.m_target = body;
        JumpHere(begin);
        m_depth -= 4;
        SetPushed(operand, IsOfBools(function.m_list)               ? Kind::Bool
                           : function.m_list == ListFunction::Count ? Kind::Integer
                                                                    : Kind::None);
    }
};

} // namespace kelm::evaluation
