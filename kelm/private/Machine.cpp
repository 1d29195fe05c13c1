#include <kelm/private/Machine.h>

#include <kelm/private/Failures.h>
#include <kelm/private/Functions.h>
#include <kelm/private/Operations.h>
#include <kelm/private/Places.h>
#include <kelm/private/ScopeNames.h>
#include <klKelmScript/private/BuiltIns.h>

#include <cstring>
#include <memory>

namespace kelm::evaluation
{

namespace
{

// --- Names -----------------------------------------------------------------------------------------------------------

// The variables of the commonest types are read where they are.
[[gnu::always_inline]] inline bool PushName(const Record& record, Slot& slot, Failure& failure)
{
    switch (record.m_is)
    {
    case Record::Is::Float64: slot.Set(*static_cast<const float64*>(record.m_variable)); return true;
    case Record::Is::Int64: slot.Set(*static_cast<const int64*>(record.m_variable)); return true;
    case Record::Is::Int32: slot.Set(static_cast<int64>(*static_cast<const int32*>(record.m_variable))); return true;
    default: return PushAny(record, slot, failure);
    }
}

// --- The stack -------------------------------------------------------------------------------------------------------

// Values from m_base to m_top are alive, whenever something is called that can throw.
class Stack
{
public:
    explicit Stack(std::size_t depth) : m_base(reinterpret_cast<Slot*>(m_room)), m_top(m_base)
    {
        if (depth <= s_size) [[likely]]
            return;
        m_heap = std::make_unique<unsigned char[]>(depth * sizeof(Slot));
        m_base = m_top = reinterpret_cast<Slot*>(m_heap.get());
    }
    ~Stack()
    {
        while (m_top != m_base)
            (--m_top)->Release();
    }
    Stack(const Stack&) = delete;
    Stack& operator=(const Stack&) = delete;

private:
    static constexpr std::size_t s_size = 16;

    alignas(Slot) unsigned char m_room[s_size * sizeof(Slot)];
    std::unique_ptr<unsigned char[]> m_heap;

public:
    Slot* m_base;
    Slot* m_top;
};

// --- Single operations -----------------------------------------------------------------------------------------------

// All that is not done in the loop: takes values from the stack's top and leaves the result there.
class Machine
{
public:
    Machine(const Evaluation& evaluation, Stack& stack, Failure& failure)
        : m_evaluation(evaluation), m_program(*evaluation.m_program), m_stack(stack), m_failure(failure)
    {
    }

    // The operator of an operation, whatever its form.
    [[gnu::noinline]] bool Binary(const Op& op)
    {
        Slot& a = m_stack.m_top[-2];
        Slot& b = m_stack.m_top[-1];
        if (!GetOperations().m_binary[op.m_token](a, b, op.m_token, m_failure))
            return false;
        --m_stack.m_top;
        return true;
    }

    // The value of an operation that pushes.
    [[gnu::noinline]] bool Push(const Op& op)
    {
        Slot& slot = *m_stack.m_top;
        switch (op.m_code)
        {
        case Code::PushInteger: slot.Set(op.m_integer); break;
        case Code::PushFloat: slot.Set(op.m_float); break;
        default:
            if (!PushUse(op, slot))
                return false;
            break;
        }
        ++m_stack.m_top;
        return true;
    }

    bool PushUse(const Op& op, Slot& slot)
    {
        const Record* const record = m_evaluation.m_records[op.m_arg];
        return record != nullptr ? PushName(*record, slot, m_failure) : PushResolved(m_program.m_names[op.m_arg], slot);
    }

    bool Prefix(const Op& op) { return GetOperations().m_prefix[op.m_token](m_stack.m_top[-1], op.m_token, m_failure); }

    bool BuiltInFunction(const Op& op)
    {
        return ApplyBuiltIn(m_program.m_language, *m_program.m_builtIns[op.m_arg], m_stack.m_top[-1], m_failure);
    }

    bool Member(const Op& op)
    {
        return StepToMember(m_stack.m_top[-1], m_program.m_texts[op.m_arg], m_checks, m_failure);
    }

    bool Subscript(const Op&)
    {
        Slot& base = m_stack.m_top[-2];
        Slot& index = m_stack.m_top[-1];
        if (m_program.m_language == Language::Exact && base.m_kind == Kind::Text)
            return Fail(m_failure, ErrorKind::Internal, "[] is refused on string");
        if (!StepToElement(base, index, m_failure))
            return false;
        index.Release();
        --m_stack.m_top;
        return true;
    }

    bool CallOwn(const Op& op)
    {
        const OwnFunction& function = GetOwnFunction(op.m_arg);
        const std::size_t count = op.GetCount();
        Slot* const arguments = m_stack.m_top - count;
        for (std::size_t i = 0; i < count; ++i)
            if (!Load(arguments[i], m_failure))
                return AtArgument(op, i);
        Slot result;
        std::size_t failed = 0;
        if (!function.m_apply(arguments, count, result, failed, m_failure))
            return AtArgument(op, failed);
        Return(arguments, count, result);
        return true;
    }

    bool CallName(const Op& op)
    {
        const NameUse& use = m_program.m_names[op.m_arg];
        const Record* const record = m_evaluation.m_records[op.m_arg];
        if (record == nullptr)
            return Fail(m_failure, ErrorKind::Name, "Unknown name " + std::string(use.m_name));
        if (record->m_is != Record::Is::Function)
            return Fail(m_failure, ErrorKind::Type, record->m_name + " is not a function");
        return Call(op, record->m_function, use.m_name, 0);
    }

    bool CallMember(const Op& op)
    {
        const NameUse& use = m_program.m_names[op.m_arg];
        const Record* const record = m_evaluation.m_records[op.m_arg];
        Slot& object = m_stack.m_top[-static_cast<ssize_t>(op.GetCount())];
        const ReflectedClass* const rc = GoToObject(object, m_failure);
        if (rc == nullptr)
            return false;
        if (record != nullptr)
            for (const Callable& member : record->m_members)
                if (std::strcmp(ReflectionByteCode(member.m_class).GetName(), rc->m_name) == 0)
                {
                    object.SetType(member.m_class);
                    return Call(op, member, use.m_name, 1);
                }
        return Fail(m_failure, ErrorKind::Type,
                    std::string(use.m_name) + " is not a function of " + NameOfType(object));
    }

    // Whether a bool is there, and which.
    bool TakeBool(bool& x)
    {
        Slot& slot = m_stack.m_top[-1];
        if (!ToBool(slot, x, m_failure))
            return false;
        slot.Release();
        --m_stack.m_top;
        return true;
    }

    bool CheckBool()
    {
        bool x = false;
        if (!TakeBool(x))
            return false;
        (m_stack.m_top++)->Set(x);
        return true;
    }

    bool Select()
    {
        Slot* const top = m_stack.m_top;
        bool isFirst = false;
        if (!ToBool(top[-3], isFirst, m_failure))
            return false;
        top[-3].Release();
        top[-3] = top[isFirst ? -2 : -1];
        top[isFirst ? -1 : -2].Release();
        m_stack.m_top = top - 2;
        return true;
    }

    bool Store(const Op& op)
    {
        Slot& target = m_stack.m_top[-2];
        if (target.m_kind != Kind::Place)
            return Fail(m_failure, ErrorKind::Type,
                        "Can't assign to " + NameOfType(target) + (target.m_kind != Kind::None ? " r-value" : ""));
        if (op.m_token != IndexOfToken(TOKEN_EQUAL))
        {
            *m_stack.m_top = target;
            m_stack.m_top->m_holder = nullptr;
            if (!CombineWith(op))
                return false;
        }
        if (!StorePlace(target, m_stack.m_top[-1], m_checks, m_failure))
            return false;
        (--m_stack.m_top)->Release();
        target.Release();
        target.SetNone();
        return true;
    }

    // To an element; the operation behind this one says where its bracket is.
    bool StoreElement(const Op& op)
    {
        Slot* const top = m_stack.m_top;
        bool isIndexWrong = false;
        if (!evaluation::StoreElement(top[-3], top[-2], top[-1], m_checks, isIndexWrong, m_failure))
        {
            if (isIndexWrong)
                m_failedPlace = (&op)[1].m_place;
            return false;
        }
        for (int i = 1; i <= 3; ++i)
            top[-i].Release();
        top[-3].SetNone();
        m_stack.m_top = top - 2;
        return true;
    }

    bool StoreName(const Op& op)
    {
        const NameUse& use = m_program.m_names[op.m_arg];
        const Record* const record = m_evaluation.m_records[op.m_arg];
        if (record == nullptr)
            return Fail(m_failure, ErrorKind::Type,
                        "Can't assign to " + std::string(use.m_name) + ", which is no variable");
        if (op.m_token != IndexOfToken(TOKEN_EQUAL))
            if (!PushName(*record, *m_stack.m_top, m_failure) || !CombineWith(op))
                return false;
        Slot& value = m_stack.m_top[-1];
        if (!StoreInName(*record, value, m_checks, m_failure))
            return false;
        value.Release();
        value.SetNone();
        return true;
    }

    // --- Lists

    // Whether there is an element, which has been pushed with what counts them; otherwise the result is there.
    bool ListBegin(const Op& op, bool& hasElement)
    {
        Slot* const list = m_stack.m_top - 1;
        std::size_t length = 0;
        if (list->m_kind != Kind::Place)
            return Fail(m_failure, ErrorKind::Type, "No list but " + NameOfType(*list));
        if (!GoToList(*list, m_failure))
            return false;
        if (!GetLength(*list, length, m_failure))
            return Fail(m_failure, ErrorKind::Type, "No list but " + NameOfType(*list));
        const auto function = static_cast<ListFunction>(op.m_count);
        if (function == ListFunction::Any || function == ListFunction::All)
            list[1].Set(function == ListFunction::All);
        else
            list[1].Set(int64(0));
        list[2].Set(int64(0));
        list[2].m_holder = nullptr;
        list[2].m_size = length;
        m_stack.m_top += 2;
        return PushElement(op, hasElement);
    }

    // The body's value is at the top.
    bool ListNext(const Op& op, bool& hasElement)
    {
        Slot* const list = m_stack.m_top - 5;
        const auto function = static_cast<ListFunction>(op.m_count);
        if (function == ListFunction::Sum)
        {
            const std::size_t plus = IndexOfToken(TOKEN_PLUS);
            if (!GetOperations().m_binary[plus](list[1], list[4], plus, m_failure))
                return false;
        }
        else
        {
            bool holds = false;
            if (!ToBool(list[4], holds, m_failure))
                return false;
            list[4].Release();
            if (function == ListFunction::Count)
                list[1].m_integer += holds;
            else
                list[1].m_bool = holds;
            if (function == (holds ? ListFunction::Any : ListFunction::All))
                list[2].m_size = 0; // nothing more can change it
        }
        m_stack.m_top = list + 3; // the element owns nothing
        ++list[2].m_integer;
        return PushElement(op, hasElement);
    }

    // has(path): what it began with stands below the path, and above that one which it is within.
    void BeginPath(const Op& op)
    {
        Slot& frame = *m_stack.m_top++;
        frame.Set(m_path);
        frame.m_size = op.m_arg;
        m_path = m_stack.m_top - m_stack.m_base;
    }

    // The path is at the top.
    void EndPath()
    {
        const bool isThere = IsThere(m_stack.m_top[-1]);
        (--m_stack.m_top)->Release();
        m_path = m_stack.m_top[-1].m_integer;
        m_stack.m_top[-1].Set(isThere);
    }

    // Behind a path that leads nowhere.
    bool GoOnBehindPath(const Op*& op)
    {
        if (m_path == 0 || m_failure.m_details->m_kind != ErrorKind::Range)
            return false;
        Slot* const path = m_stack.m_base + m_path;
        while (m_stack.m_top > path)
            (--m_stack.m_top)->Release();
        m_path = path[-1].m_integer;
        op = m_program.m_ops.data() + path[-1].m_size + 1;
        path[-1].Set(false);
        return true;
    }

    std::size_t m_failedPlace = s_noPlace;
    static constexpr std::size_t s_noPlace = ~std::size_t(0);

private:
    const Operations& GetOperations() const { return OperationsOf(m_program.m_language); }

    [[gnu::noinline]] bool PushResolved(const NameUse& use, Slot& slot)
    {
        // Bound since, perhaps.
        if (const Record* const record = ScopeAccess::Find(m_evaluation.m_scope, use.m_name))
            return PushName(*record, slot, m_failure) &&
                   (record->m_is != Record::Is::Member || StepToMember(slot, record->m_name, m_checks, m_failure));
        std::optional<Value> value = ScopeAccess::Resolve(m_evaluation.m_scope, use.m_name);
        if (!value)
        {
            m_failedPlace = use.m_place;
            return FailUnknown(m_failure, "Unknown name " + std::string(use.m_name), use.m_name,
                               ScopeAccess::AllNames(m_evaluation.m_scope));
        }
        slot = ValueAccess::Of(*value);
        ValueAccess::Of(*value).SetNone();
        return true;
    }

    bool AtArgument(const Op& op, std::size_t index)
    {
        m_failedPlace = PlaceOfArgument(m_program.m_text, op.m_place, index);
        return false;
    }

    [[gnu::always_inline]] void Return(Slot* arguments, std::size_t count, const Slot& result)
    {
        for (std::size_t i = 0; i < count; ++i)
            arguments[i].Release();
        if (result.m_kind == Kind::Float) [[likely]]
            arguments->Set(result.m_float);
        else
            *arguments = result;
        m_stack.m_top = arguments + 1;
    }

    // The function's first arguments are objects, which its caller does not count.
    [[gnu::always_inline]] bool Call(const Op& op, const Callable& function, std::string_view name,
                                     std::size_t numObjects)
    {
        const std::size_t count = op.GetCount();
        if (static_cast<std::size_t>(function.m_min) > count ||
            (function.m_max >= 0 && static_cast<std::size_t>(function.m_max) < count)) [[unlikely]]
            return FailCount(function, name, count, numObjects);
        Slot* const arguments = m_stack.m_top - count;
        if (function.m_takesValues && !LoadArguments(arguments, count)) [[unlikely]]
            return false;
        Slot result;
        result.SetNone();
        CallFrame frame{arguments, count, &result, &m_failure, -1};
        if (!function.m_call(function.m_function, frame)) [[unlikely]]
            return FailArgument(op, name, static_cast<std::size_t>(frame.m_failed) - numObjects);
        if (result.m_kind == Kind::Place) [[unlikely]]
            KeepFrom(arguments, count, result);
        Return(arguments, count, result);
        return true;
    }

    // A function that takes values sees variables of numbers and texts as these.
    [[gnu::noinline]] bool LoadArguments(Slot* arguments, std::size_t count)
    {
        for (std::size_t i = 0; i < count; ++i)
            if (arguments[i].m_kind == Kind::Place && IsThere(arguments[i]) && !LoadPlace(arguments[i], m_failure))
                return false;
        return true;
    }

    // A part of an object that only the call kept alive goes on to be kept.
    static void KeepFrom(const Slot* arguments, std::size_t count, Slot& result)
    {
        for (std::size_t i = 0; i < count && result.m_holder == nullptr; ++i)
            if (arguments[i].m_kind == Kind::Place)
            {
                result.m_holder = arguments[i].m_holder;
                result.Retain();
            }
    }

    [[gnu::cold]] bool FailArgument(const Op& op, std::string_view name, std::size_t index)
    {
        const std::string prefix = std::string(name) + "(), argument " + std::to_string(index + 1) + ": ";
        m_failure.m_details->m_message.insert(0, prefix);
        return AtArgument(op, index);
    }

    [[gnu::cold]] bool FailCount(const Callable& function, std::string_view name, std::size_t count,
                                 std::size_t numObjects)
    {
        const auto objects = static_cast<int32>(numObjects);
        return Fail(m_failure, ErrorKind::Call,
                    CountMessage(name, count - numObjects, function.m_min - objects,
                                 function.m_max < 0 ? -1 : function.m_max - objects));
    }

    // The value below the top with the new value; the old one is at the top, not counted yet.
    bool CombineWith(const Op& op)
    {
        Slot& value = m_stack.m_top[-1];
        Slot& old = *m_stack.m_top++;
        std::swap(value, old);
        if (!GetOperations().m_binary[op.m_token](value, old, op.m_token, m_failure))
            return false;
        --m_stack.m_top;
        return true;
    }

    bool PushElement(const Op&, bool& hasElement)
    {
        Slot* const list = m_stack.m_top - 3;
        hasElement = list[2].m_integer < static_cast<int64>(list[2].m_size);
        if (!hasElement)
        {
            list->Release();
            *list = list[1];
            m_stack.m_top = list + 1;
            return true;
        }
        list[3] = *list;
        list[3].m_holder = nullptr;
        if (!StepToElement(list[3], list[2], m_failure))
            return false;
        ++m_stack.m_top;
        return true;
    }

    Checks m_checks;
    int64 m_path = 0; // where the innermost path that is asked for begins
    const Evaluation& m_evaluation;
    const Program& m_program;
    Stack& m_stack;
    Failure& m_failure;
};

// --- What is commonest -----------------------------------------------------------------------------------------------

// Of two numbers of a kind: false where they are not, or the operation can fail on them.
template <class Operation>
[[gnu::always_inline]] inline bool ApplyHot(Slot& a, const Slot& b)
{
    constexpr bool isDivision = std::is_same_v<Operation, operation::Divide>;
    if (a.m_kind == Kind::Float && b.m_kind == Kind::Float)
    {
        if (isDivision && b.m_float == 0.0) [[unlikely]]
            return false;
        if constexpr (isDivision)
            a.m_float /= b.m_float;
        else
            a.Set(Operation::Of(a.m_float, b.m_float));
        return true;
    }
    if constexpr (!isDivision)
        if (a.m_kind == Kind::Integer && b.m_kind == Kind::Integer)
        {
            a.Set(Operation::Of(a.m_integer, b.m_integer));
            return true;
        }
    return false;
}

// What the operation behind pushes, where that is a number that is at hand.
[[gnu::always_inline]] inline bool TryGetNext(const Op& next, const Record* const* records, Slot& b)
{
    if (next.m_code == Code::PushFloat)
        b.Set(next.m_float);
    else if (next.m_code == Code::PushInteger)
        b.Set(next.m_integer);
    else
    {
        const Record* const record = records[next.m_arg];
        if (record == nullptr) [[unlikely]]
            return false;
        if (record->m_is == Record::Is::Float64)
            b.Set(*static_cast<const float64*>(record->m_variable));
        else if (record->m_is == Record::Is::Int64)
            b.Set(*static_cast<const int64*>(record->m_variable));
        else if (record->m_is == Record::Is::Int32)
            b.Set(static_cast<int64>(*static_cast<const int32*>(record->m_variable)));
        else
            return false;
    }
    return true;
}

} // namespace

bool Execute(const Evaluation& evaluation, const Receiver& receiver, Failure& failure, std::size_t& place)
{
    const Program& program = *evaluation.m_program;
    const Op* const ops = program.m_ops.data();
    const Record* const* const records = evaluation.m_records;
    Stack stack(program.m_depth);
    Machine machine(evaluation, stack, failure);
    const Op* op = ops;
    Slot* top = stack.m_base; // stack.m_top, but for what has been pushed or taken since

    // Applies an operation that is not done here; false where it fails.
    const auto apply = [&](bool(Machine::*f)(const Op&)) __attribute__((always_inline))
    {
        stack.m_top = top;
        if (!(machine.*f)(*op)) [[unlikely]]
            return false;
        top = stack.m_top;
        ++op;
        return true;
    };
    const auto hot = [&]<class Operation>(Operation) __attribute__((always_inline))
    {
        if (ApplyHot<Operation>(top[-2], top[-1])) [[likely]]
        {
            --top;
            ++op;
            return true;
        }
        return apply(&Machine::Binary);
    };
    const auto hotNext = [&]<class Operation>(Operation) __attribute__((always_inline))
    {
        Slot next;
        if (TryGetNext(op[1], records, next)) [[likely]]
            if (ApplyHot<Operation>(top[-1], next)) [[likely]]
            {
                op += 2;
                return true;
            }
        stack.m_top = top;
        if (!machine.Push(op[1]) || !machine.Binary(*op))
            return false;
        top = stack.m_top;
        op += 2;
        return true;
    };

    while (true)
    {
        bool isGood = true;
        if (op->m_code > Code::End)
            __builtin_unreachable(); // no range to check
        switch (op->m_code)
        {
        case Code::PushNone:
            (top++)->SetNone();
            ++op;
            break;
        case Code::PushBool:
            (top++)->Set(op->m_integer != 0);
            ++op;
            break;
        case Code::PushInteger:
            (top++)->Set(op->m_integer);
            ++op;
            break;
        case Code::PushFloat:
            (top++)->Set(op->m_float);
            ++op;
            break;
        case Code::PushText:
            (top++)->SetText(program.m_texts[op->m_arg]);
            ++op;
            break;
        case Code::PushName:
        {
            const Record* const record = records[op->m_arg];
            if (record != nullptr && record->m_is == Record::Is::Float64) [[likely]]
            {
                (top++)->Set(*static_cast<const float64*>(record->m_variable));
                ++op;
            }
            else
                isGood = apply(&Machine::Push);
            break;
        }
        case Code::PushParameter:
            *top = evaluation.m_parameters[op->m_arg];
            (top++)->Retain();
            ++op;
            break;
        case Code::PushLocal:
            *top = stack.m_base[op->m_arg];
            (top++)->Retain();
            ++op;
            break;
        case Code::Binary: isGood = apply(&Machine::Binary); break;
        case Code::Add: isGood = hot(operation::Add()); break;
        case Code::Subtract: isGood = hot(operation::Subtract()); break;
        case Code::Multiply: isGood = hot(operation::Multiply()); break;
        case Code::Divide: isGood = hot(operation::Divide()); break;
        case Code::Less: isGood = hot(operation::Less()); break;
        case Code::LessOrEqual: isGood = hot(operation::LessOrEqual()); break;
        case Code::Greater: isGood = hot(operation::Greater()); break;
        case Code::GreaterOrEqual: isGood = hot(operation::GreaterOrEqual()); break;
        case Code::Equal: isGood = hot(operation::Equal()); break;
        case Code::NotEqual: isGood = hot(operation::NotEqual()); break;
        case Code::AddNext: isGood = hotNext(operation::Add()); break;
        case Code::SubtractNext: isGood = hotNext(operation::Subtract()); break;
        case Code::MultiplyNext: isGood = hotNext(operation::Multiply()); break;
        case Code::DivideNext: isGood = hotNext(operation::Divide()); break;
        case Code::LessNext: isGood = hotNext(operation::Less()); break;
        case Code::LessOrEqualNext: isGood = hotNext(operation::LessOrEqual()); break;
        case Code::GreaterNext: isGood = hotNext(operation::Greater()); break;
        case Code::GreaterOrEqualNext: isGood = hotNext(operation::GreaterOrEqual()); break;
        case Code::EqualNext: isGood = hotNext(operation::Equal()); break;
        case Code::NotEqualNext: isGood = hotNext(operation::NotEqual()); break;
        case Code::Prefix: isGood = apply(&Machine::Prefix); break;
        case Code::BuiltIn: isGood = apply(&Machine::BuiltInFunction); break;
        case Code::Member: isGood = apply(&Machine::Member); break;
        case Code::Subscript: isGood = apply(&Machine::Subscript); break;
        case Code::CallOwn: isGood = apply(&Machine::CallOwn); break;
        case Code::CallName: isGood = apply(&Machine::CallName); break;
        case Code::CallMember: isGood = apply(&Machine::CallMember); break;
        case Code::Jump: op = ops + op->m_arg; break;
        case Code::JumpIfNot:
        {
            bool x = false;
            stack.m_top = top;
            isGood = machine.TakeBool(x);
            if (isGood)
            {
                top = stack.m_top;
                op = x ? op + 1 : ops + op->m_arg;
            }
            break;
        }
        case Code::AndJump:
        case Code::OrJump:
        {
            bool x = false;
            stack.m_top = top;
            isGood = machine.TakeBool(x);
            if (isGood)
            {
                top = stack.m_top;
                if (x == (op->m_code == Code::OrJump))
                {
                    (top++)->Set(x);
                    op = ops + op->m_arg;
                }
                else
                    ++op;
            }
            break;
        }
        case Code::CheckBool:
            stack.m_top = top;
            isGood = machine.CheckBool();
            op += isGood;
            break;
        case Code::Select:
            stack.m_top = top;
            isGood = machine.Select();
            top = stack.m_top;
            op += isGood;
            break;
        case Code::Store: isGood = apply(&Machine::Store); break;
        case Code::StoreName: isGood = apply(&Machine::StoreName); break;
        case Code::StoreElement:
            isGood = apply(&Machine::StoreElement);
            op += isGood;
            break;
        case Code::HasBegin:
            stack.m_top = top;
            machine.BeginPath(*op);
            top = stack.m_top;
            ++op;
            break;
        case Code::HasEnd:
            stack.m_top = top;
            machine.EndPath();
            top = stack.m_top;
            ++op;
            break;
        case Code::ListBegin:
        case Code::ListNext:
        {
            const bool isBegin = op->m_code == Code::ListBegin;
            bool hasElement = false;
            stack.m_top = top;
            isGood = isBegin ? machine.ListBegin(*op, hasElement) : machine.ListNext(*op, hasElement);
            if (isGood)
            {
                top = stack.m_top;
                // From the beginning into the body or past the end, from the end past it or back into the body.
                op = hasElement == isBegin ? op + 1 : ops + op->m_arg;
            }
            break;
        }
        case Code::End:
            stack.m_top = top;
            if (receiver.m_receive(top[-1], receiver.m_out, failure)) [[likely]]
                return true;
            place = 0;
            return false;
        }
        if (!isGood) [[unlikely]]
        {
            if (machine.GoOnBehindPath(op))
            {
                top = stack.m_top;
                continue;
            }
            if (machine.m_failedPlace != Machine::s_noPlace)
                place = machine.m_failedPlace;
            else if (op->m_code == Code::PushName)
                place = program.m_names[op->m_arg].m_place;
            else
                place = op->m_place;
            return false;
        }
    }
}

} // namespace kelm::evaluation
