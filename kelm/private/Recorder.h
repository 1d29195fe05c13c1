#pragma once

// What the evaluator's grammar means when operations are recorded: each becomes an Op of a Program. A value that is
// known, a name or a constant, is not pushed before something must stand above it.

#include <kelm/private/Failures.h>
#include <kelm/private/Functions.h>
#include <kelm/private/Operations.h>
#include <kelm/private/Program.h>
#include <kelm/private/ScopeNames.h>
#include <klKelmScript/private/BuiltIns.h>
#include <klKelmScript/private/Operators.h>
#include <klUtils/StackSegment.h>
#include <klUtils/text/private/ExpressionCursor.h>

#include <span>
#include <string_view>

namespace kelm::evaluation
{

// An operand of the grammar: what is known of it, or that it has been pushed.
struct RecordedOperand
{
    enum class Is : uint8
    {
        Nothing,
        Bool,
        Integer,
        Float,
        Text,
        Name,
        Parameter,
        Local,
        Pushed, // a value
        Place,  // pushed, and can be assigned to where it is a variable
    };

    Is m_is = Is::Nothing;
    uint32 m_index = 0;
    union
    {
        int64 m_integer = 0;
        float64 m_float;
        std::size_t m_place; // of the name
    };
};

// How the evaluator sets one: it owns nothing.
struct RecordedAccess
{
    static constexpr bool IsReflected(const RecordedOperand&) { return false; }
    static constexpr bool OwnsMemory(const RecordedOperand&) { return false; }
    static void SetVoid(RecordedOperand& operand) { operand.m_is = RecordedOperand::Is::Nothing; }
    static void Construct(RecordedOperand& operand, int64 x)
    {
        operand.m_is = RecordedOperand::Is::Integer;
        operand.m_integer = x;
    }
    static void Construct(RecordedOperand& operand, float64 x)
    {
        operand.m_is = RecordedOperand::Is::Float;
        operand.m_float = x;
    }
};

class Recorder
{
public:
    using Operand = RecordedOperand;
    using Access = RecordedAccess;
    static constexpr bool s_isRecording = true;

    Recorder(Program& program, const Scope* scope, bool hasScope, std::span<const std::string_view> parameters)
        : m_codes(&s_codes[static_cast<int>(program.m_language)])
        , m_program(&program)
        , m_scope(scope)
        , m_hasScope(hasScope)
        , m_parameters(parameters)
    {
    }

    // --- What the grammar calls --------------------------------------------------------------------------------------

    // An operator and its place, until its right operand has been read; of one that may skip it, where it jumps.
    struct Operator
    {
        EToken m_token;
        uint32 m_jump;
        std::size_t m_place;
    };

    template <class Tokens>
    Operator BeginOperator(const Tokens& tokens, Operand& left, EToken token)
    {
        const std::size_t place = PlaceOf(tokens);
        Push(left);
        uint32 jump = s_noJump;
        if (token == TOKEN_DBL_AMPERSAND || token == TOKEN_DBL_VLINE) [[unlikely]]
            jump = BeginLogical(token, place);
        return {token, jump, place};
    }

    void EndOperator(const Operator& op, Operand& left, Operand& right)
    {
        if (op.m_jump != s_noJump) [[unlikely]]
            return EndLogical(op, left, right);
        const Code hot = m_codes->m_codes[IndexOfToken(op.m_token)];
        if (hot != Code::Binary && IsNumberOrName(right))
        {
            Emit(NextForm(hot), op.m_token, 0, op.m_place);
            EmitPush(right);
            Raise(1); // where it has to be pushed after all
            --m_depth;
        }
        else
        {
            Push(right);
            --m_depth;
            Emit(hot, op.m_token, 0, op.m_place);
        }
        left.m_is = Operand::Is::Pushed;
    }

    template <class E>
    void SetText(E& e, Operand& operand)
    {
        operand.m_is = Operand::Is::Text;
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
            const Operand target = left;
            const bool isName = target.m_is == Operand::Is::Name;
            // An element is not looked for before there is a value for it.
            const bool isElement = target.m_is == Operand::Is::Place && token == TOKEN_EQUAL &&
                                   m_program->m_ops.back().m_code == Code::Subscript;
            const Op subscript = isElement ? m_program->m_ops.back() : Op();
            if (isElement)
            {
                m_program->m_ops.Shrink(m_program->m_ops.size() - 1);
                ++m_depth;
            }
            else if (!isName)
                Push(left);
            Operand right;
            e.EvaluateNextOperand(right);
            e.FinishConditional(right);
            Push(right);
            m_depth -= isElement ? 2 : isName ? 0 : 1;
            const Code store = isElement ? Code::StoreElement : isName ? Code::StoreName : Code::Store;
            Emit(store, token, isName ? target.m_index : 0, place);
            if (isElement)
                m_program->m_ops.Add(subscript);
            left.m_is = Operand::Is::Pushed;
        } while (e.IsNow(ROLE_ASSIGNMENT));
    }

    template <class E>
    void Branch(E& e, Operand& condition)
    {
        const std::size_t place = PlaceOf(e.m_tokens);
        const bool isLazy = m_program->m_language == Language::Natural;
        Push(condition);
        const uint32 toSecond = isLazy ? Emit(Code::JumpIfNot, TOKEN_QUESTION, 0, place) : s_noJump;
        if (isLazy)
            --m_depth;
        Operand first;
        e.EvaluateNextSafely(first);
        if (!e.m_tokens.Is(TOKEN_COLON))
            e.m_tokens.ThrowExpected(":");
        Push(first);
        const uint32 toEnd = isLazy ? Emit(Code::Jump, TOKEN_QUESTION, 0, place) : s_noJump;
        if (isLazy)
        {
            --m_depth;
            JumpHere(toSecond);
        }
        Operand second;
        e.EvaluateNextOperand(second);
        e.FinishConditional(second);
        Push(second);
        if (isLazy)
            JumpHere(toEnd);
        else
        {
            m_depth -= 2;
            Emit(Code::Select, TOKEN_QUESTION, 0, place);
        }
        condition.m_is = Operand::Is::Pushed;
    }

    template <class E>
    void Prefix(E& e, Operand& operand)
    {
        const EToken token = e.m_tokens.GetKind();
        const std::size_t place = PlaceOf(e.m_tokens);
        e.EvaluateNextOperand(operand);
        if (token == TOKEN_MINUS && m_program->m_language == Language::Natural)
        {
            if (operand.m_is == Operand::Is::Integer)
                return Access::Construct(operand, static_cast<int64>(0 - static_cast<uint64>(operand.m_integer)));
            if (operand.m_is == Operand::Is::Float)
                return Access::Construct(operand, -operand.m_float);
        }
        Push(operand);
        Emit(Code::Prefix, token, 0, place);
        operand.m_is = Operand::Is::Pushed;
    }

    template <class E>
    void Subscript(E& e, Operand& operand)
    {
        Push(operand);
        Operand index;
        e.EvaluateNextSafely(index);
        Push(index);
        const std::size_t place = PlaceOf(e.m_tokens);
        e.m_tokens.PassBehindOperand(TOKEN_RIGHT_SQUARE, "]");
        --m_depth;
        Emit(Code::Subscript, TOKEN_END, 0, place);
        operand.m_is = Operand::Is::Place;
    }

    template <class E>
    void Member(E& e, Operand& operand)
    {
        e.m_tokens.Next();
        if (!e.m_tokens.Is(TOKEN_IDENTIFIER))
            e.m_tokens.ThrowExpected("identifier");
        const std::string_view name = TextOf(e.m_tokens);
        const std::size_t place = PlaceOf(e.m_tokens);
        Push(operand);
        e.m_tokens.NextBehindOperand();
        if (e.m_tokens.Is(TOKEN_LEFT_PAREN))
        {
            const uint32 use = UseMember(name, place);
            const std::size_t count = 1 + Arguments(e);
            EmitCall(Code::CallMember, use, count, place);
        }
        else
            Emit(Code::Member, TOKEN_END, AddText(name), place);
        operand.m_is = Operand::Is::Place;
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
        if (FindLocal(name, operand))
            return e.m_tokens.NextBehindOperand();
        const evaluation::Record* const record = ScopeAccess::Find(m_scope, name);
        if (record == nullptr)
            if (const BuiltIn* const builtIn = FindBuiltIn(name))
                return Nest([&] { BuiltInName(e, operand, *builtIn, place); });
        e.m_tokens.NextBehindOperand();
        if (e.m_tokens.Is(TOKEN_LEFT_PAREN))
            return Nest([&] { FunctionCall(e, operand, name, place, record); });
        if (record == nullptr && m_hasScope && !ScopeAccess::HasResolver(m_scope))
            ThrowUnknown(name, place, ScopeAccess::AllNames(m_scope));
        operand.m_is = Operand::Is::Name;
        operand.m_index = AddUse(name, record, place, false);
        operand.m_place = place;
        if (record != nullptr && record->m_is == Record::Is::Member) [[unlikely]]
        {
            Push(operand); // the object
            Emit(Code::Member, TOKEN_END, AddText(name), place);
            operand.m_is = Operand::Is::Place;
        }
    }

    // --- A whole text ------------------------------------------------------------------------------------------------

    template <class E>
    void RecordText(E& e)
    {
        Operand result;
        e.EvaluateSafely(result);
        if (m_program->m_language == Language::Natural && !e.m_tokens.Is(TOKEN_END))
            e.ThrowUnexpected();
        Push(result);
        Emit(Code::End, TOKEN_END, 0, 0);
        m_program->m_depth = m_maxDepth;
    }

private:
    static constexpr uint32 s_noJump = 0xFFFFFFFF;

    struct Local
    {
        std::string_view m_name;
        uint32 m_slot; // from the stack's bottom
    };

    // What brackets enclose may nest without limit.
    template <class F>
    static void Nest(F record)
    {
        if (IsStackLow()) [[unlikely]]
            return CallOnFreshSegment(record);
        record();
    }

    // --- Forms that begin with a name --------------------------------------------------------------------------------

    template <class E>
    void BuiltInName(E& e, Operand& operand, const BuiltIn& builtIn, std::size_t place)
    {
        if (builtIn.m_argument == Argument::None)
        {
            operand.m_is = Operand::Is::Bool;
            operand.m_integer = builtIn.m_constant;
            return e.m_tokens.NextBehindOperand();
        }
        e.EvaluateInBrackets(operand);
        Push(operand);
        m_program->m_builtIns.Add(&builtIn);
        Emit(Code::BuiltIn, TOKEN_END, static_cast<uint32>(m_program->m_builtIns.size() - 1), place);
        operand.m_is = Operand::Is::Pushed;
    }

    template <class E>
    void FunctionCall(E& e, Operand& operand, std::string_view name, std::size_t place,
                      const evaluation::Record* record)
    {
        operand.m_is = Operand::Is::Pushed;
        const OwnFunction* const own = record == nullptr ? FindOwnFunction(name) : nullptr;
        if (own != nullptr)
            return OwnFunctionCall(e, operand, *own, place);
        if (record == nullptr && m_hasScope)
            ThrowUnknown(name, place, ScopeAccess::AllNames(m_scope));
        const uint32 use = AddUse(name, record, place, false);
        const std::size_t count = Arguments(e);
        if (record != nullptr)
            CheckCall(*record, count, place);
        EmitCall(Code::CallName, use, count, place);
    }

    template <class E>
    void OwnFunctionCall(E& e, Operand& operand, const OwnFunction& own, std::size_t place)
    {
        if (own.m_form == OwnFunction::Form::Has)
            return HasPath(e, operand, place);
        if (own.m_form == OwnFunction::Form::List)
            return OverList(e, operand, own, place);
        const std::size_t count = Arguments(e);
        CheckCount(own.m_name, count, own.m_min, own.m_max, place);
        EmitCall(Code::CallOwn, IndexOfOwnFunction(own), count, place);
    }

    // Everything between the brackets, pushed: how many.
    template <class E>
    std::size_t Arguments(E& e)
    {
        std::size_t count = 0;
        e.m_tokens.Next();
        while (!e.m_tokens.Is(TOKEN_RIGHT_PAREN))
        {
            Operand argument;
            e.EvaluateSafely(argument);
            Push(argument);
            ++count;
            if (e.m_tokens.Is(TOKEN_COMMA))
                e.m_tokens.Next(); // a trailing comma is accepted
            else if (!e.m_tokens.Is(TOKEN_RIGHT_PAREN))
                e.ThrowUnexpected();
        }
        e.m_tokens.NextBehindOperand();
        return count;
    }

    template <class E>
    void HasPath(E& e, Operand& operand, std::size_t place)
    {
        const uint32 begin = Emit(Code::HasBegin, TOKEN_END, 0, place);
        Raise(1);
        Operand path;
        e.EvaluateNextSafely(path);
        if (path.m_is != Operand::Is::Name && path.m_is != Operand::Is::Place && path.m_is != Operand::Is::Local &&
            path.m_is != Operand::Is::Parameter)
            ThrowAt(ErrorKind::Type, "has() takes a path", place);
        Push(path);
        e.m_tokens.PassBehindOperand(TOKEN_RIGHT_PAREN, ")");
        JumpHere(begin);
        Emit(Code::HasEnd, TOKEN_END, 0, place);
        --m_depth;
        operand.m_is = Operand::Is::Pushed;
    }

    template <class E>
    void OverList(E& e, Operand& operand, const OwnFunction& function, std::size_t place)
    {
        Operand list;
        e.EvaluateNextSafely(list);
        Push(list);
        e.m_tokens.Pass(TOKEN_COMMA, ",");
        if (!e.m_tokens.Is(TOKEN_IDENTIFIER))
            e.m_tokens.ThrowExpected("identifier");
        const std::string_view name = TextOf(e.m_tokens);
        if (FindBuiltIn(name) != nullptr)
            ThrowAt(ErrorKind::Name, "\"" + std::string(name) + "\" is a built-in name", PlaceOf(e.m_tokens));
        e.m_tokens.Next();
        if (!e.m_tokens.Is(TOKEN_COMMA))
            e.m_tokens.ThrowExpected(",");
        // On the stack: the list, the result so far, the number of the element, the element.
        const uint32 begin = Emit(Code::ListBegin, TOKEN_END, 0, place);
        m_program->m_ops[begin].m_count = static_cast<uint8>(function.m_list);
        Raise(3);
        m_locals.Add({name, static_cast<uint32>(m_depth - 1)});
        const auto body = static_cast<uint32>(m_program->m_ops.size());
        Operand each;
        e.EvaluateNextSafely(each);
        Push(each);
        m_locals.Shrink(m_locals.size() - 1);
        e.m_tokens.PassBehindOperand(TOKEN_RIGHT_PAREN, ")");
        const uint32 next = Emit(Code::ListNext, TOKEN_END, body, place);
        m_program->m_ops[next].m_count = static_cast<uint8>(function.m_list);
        JumpHere(begin);
        m_depth -= 4;
        operand.m_is = Operand::Is::Pushed;
    }

    // --- Names -------------------------------------------------------------------------------------------------------

    bool FindLocal(std::string_view name, Operand& operand) const
    {
        for (std::size_t i = m_locals.size(); i-- > 0;)
            if (m_locals[i].m_name == name)
            {
                operand.m_is = Operand::Is::Local;
                operand.m_index = m_locals[i].m_slot;
                return true;
            }
        for (std::size_t i = 0; i < m_parameters.size(); ++i)
            if (m_parameters[i] == name)
            {
                operand.m_is = Operand::Is::Parameter;
                operand.m_index = static_cast<uint32>(i);
                return true;
            }
        return false;
    }

    uint32 AddUse(std::string_view name, const Record* record, std::size_t place, bool isMember)
    {
        m_program->m_names.Add({name, place, isMember});
        m_program->m_records.Add(record);
        return static_cast<uint32>(m_program->m_names.size() - 1);
    }

    uint32 UseMember(std::string_view name, std::size_t place)
    {
        const Record* const record = ScopeAccess::FindMember(m_scope, name);
        if (record == nullptr && m_hasScope)
            ThrowUnknown(name, place, ScopeAccess::AllMembers(m_scope));
        return AddUse(name, record, place, true);
    }

    static void CheckCall(const Record& record, std::size_t count, std::size_t place)
    {
        if (record.m_is != Record::Is::Function)
            ThrowAt(ErrorKind::Type, record.m_name + " is not a function", place);
        CheckCount(record.m_name, count, record.m_function.m_min, record.m_function.m_max, place);
    }

    static void CheckCount(std::string_view name, std::size_t count, int32 min, int32 max, std::size_t place)
    {
        if (static_cast<std::size_t>(min) > count || (max >= 0 && static_cast<std::size_t>(max) < count)) [[unlikely]]
            ThrowAt(ErrorKind::Call, CountMessage(name, count, min, max), place);
    }

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

    uint32 Emit(Code code, EToken token, uint32 arg, std::size_t place)
    {
        Op op;
        op.m_code = code;
        op.m_count = 0;
        op.m_token = static_cast<uint16>(token - TOKEN_END);
        op.m_arg = arg;
        op.m_place = place;
        m_program->m_ops.Add(op);
        return static_cast<uint32>(m_program->m_ops.size() - 1);
    }

    // The operation, a jump, goes behind the last one.
    void JumpHere(uint32 jump) { m_program->m_ops[jump].m_arg = static_cast<uint32>(m_program->m_ops.size()); }

    static Code NextForm(Code hot) { return static_cast<Code>(static_cast<int>(hot) + s_toNext); }
    static bool IsNumberOrName(const Operand& operand)
    {
        return operand.m_is == Operand::Is::Name || operand.m_is == Operand::Is::Integer ||
               operand.m_is == Operand::Is::Float;
    }

    void Push(Operand& operand)
    {
        if (operand.m_is >= Operand::Is::Pushed)
            return;
        EmitPush(operand);
        Raise(1);
        operand.m_is = Operand::Is::Pushed;
    }

    void EmitPush(const Operand& operand)
    {
        constexpr Code codes[] = {Code::PushNone, Code::PushBool, Code::PushInteger,   Code::PushFloat,
                                  Code::PushText, Code::PushName, Code::PushParameter, Code::PushLocal};
        const uint32 op = Emit(codes[static_cast<std::size_t>(operand.m_is)], TOKEN_END, operand.m_index, 0);
        m_program->m_ops[op].m_integer = operand.m_integer;
    }

    void EmitCall(Code code, uint32 arg, std::size_t count, std::size_t place)
    {
        if (count > s_maxArguments) [[unlikely]]
            ThrowAt(ErrorKind::Call, "Too many arguments", place);
        Op& op = m_program->m_ops[Emit(code, TOKEN_END, arg, place)];
        op.m_token = static_cast<uint16>(count);
        op.m_count = static_cast<uint8>(count >> 16);
        m_depth -= count;
        Raise(1);
    }

    static constexpr std::size_t s_maxArguments = 0xFFFFFF;

    // --- Logic -------------------------------------------------------------------------------------------------------

    // In the natural language a right operand that is not needed is jumped over.
    uint32 BeginLogical(EToken token, std::size_t place)
    {
        if (m_program->m_language == Language::Exact)
            return s_noJump;
        --m_depth;
        return Emit(token == TOKEN_DBL_AMPERSAND ? Code::AndJump : Code::OrJump, token, 0, place);
    }

    void EndLogical(const Operator& op, Operand& left, Operand& right)
    {
        Push(right);
        Emit(Code::CheckBool, op.m_token, 0, op.m_place);
        JumpHere(op.m_jump);
        left.m_is = Operand::Is::Pushed;
    }

    // The code of each binary operator.
    struct Codes
    {
        Code m_codes[s_numTokenIndices];

        explicit constexpr Codes(Language language) : m_codes()
        {
            for (Code& code : m_codes)
                code = Code::Binary;
            if (language == Language::Exact)
                return;
            const auto set = [this](EToken token, Code code) { m_codes[IndexOfToken(token)] = code; };
            set(TOKEN_PLUS, Code::Add);
            set(TOKEN_MINUS, Code::Subtract);
            set(TOKEN_ASTERISK, Code::Multiply);
            set(TOKEN_FORWARD_SLASH, Code::Divide);
            set(TOKEN_LESS, Code::Less);
            set(TOKEN_LESS_EQUAL, Code::LessOrEqual);
            set(TOKEN_GREATER, Code::Greater);
            set(TOKEN_GREATER_EQUAL, Code::GreaterOrEqual);
            set(TOKEN_DBL_EQUAL, Code::Equal);
            set(TOKEN_EXCLAM_EQUAL, Code::NotEqual);
        }
    };
    static const Codes s_codes[2]; // by Language

    const Codes* m_codes;
    Program* m_program;
    const Scope* m_scope;
    bool m_hasScope;
    std::span<const std::string_view> m_parameters;
    SmallArray<Local, 4> m_locals;
    std::size_t m_depth = 0;
    std::size_t m_maxDepth = 0;
};

inline constexpr Recorder::Codes Recorder::s_codes[2] = {Codes(Language::Natural), Codes(Language::Exact)};

} // namespace kelm::evaluation
