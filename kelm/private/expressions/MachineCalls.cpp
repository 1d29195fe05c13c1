// The calls of a program: of functions that come with the library, of a scope's, and of what it is asked for. Where one
// fails, the place is found again in the text.

#include <kelm/private/expressions/Machine.h>

#include <kelm/private/errors/Failures.h>
#include <kelm/private/errors/WrittenPlaces.h>
#include <kelm/private/expressions/Functions.h>
#include <kelm/private/expressions/UnknownNames.h>
#include <klObject/objects/CastObject.h>

#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace kelm::evaluation
{

bool Machine::CallOwn(const Op& op)
{
    const OwnFunction& function = GetOwnFunction(static_cast<uint32>(op.m_index));
    const std::size_t count = op.m_count;
    Slot* const arguments = m_top - count;
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

bool Machine::CallName(const Op& op)
{
    const NameUse& use = m_program->m_names[op.m_index];
    const Record* const record = m_records[op.m_index];
    if (record == nullptr)
        return FailUnknownName(m_scope, use.m_name, m_failure);
    if (record->m_is != Record::Is::Function)
        return Fail(m_failure, ErrorKind::Type, record->m_name + " is not a function");
    return Call(op, record->m_function, use.m_name, 0);
}

namespace
{

// The function of an object's class, or of a base of it, to which the object is made then.
const Callable* FindMember(const Record& record, const ReflectedClass& rc, Slot& object)
{
    for (const Callable& member : record.m_members)
        if (std::strcmp(ReflectionByteCode(member.m_class).GetName(), rc.m_name) == 0)
            return &member;
    for (const Callable& member : record.m_members)
        if (TryGoToBase(object, member.m_class))
            return &member;
    return nullptr;
}

} // namespace

bool Machine::CallMember(const Op& op)
{
    const NameUse& use = m_program->m_names[op.m_index];
    const Record* const record = m_records[op.m_index];
    Slot& object = m_top[-static_cast<ssize_t>(op.m_count)];
    const ReflectedClass* const rc = GoToObject(object, m_failure);
    if (rc == nullptr)
        return false;
    const Callable* const member = record != nullptr ? FindMember(*record, *rc, object) : nullptr;
    if (member == nullptr)
        return Fail(m_failure, ErrorKind::Type,
                    std::string(use.m_name) + " is not a function of " + NameOfType(object));
    object.SetType(member->m_class);
    return Call(op, *member, use.m_name, 1);
}

bool Machine::Call(const Op& op, const Callable& function, std::string_view name, std::size_t numObjects)
{
    const std::size_t count = op.m_count;
    if (static_cast<std::size_t>(function.m_min) > count ||
        (function.m_max >= 0 && static_cast<std::size_t>(function.m_max) < count)) [[unlikely]]
        return FailCount(function, name, count, numObjects);
    Slot* const arguments = m_top - count;
    if (function.m_takesValues && !LoadArguments(arguments, count)) [[unlikely]]
        return false;
    OwnBelow(arguments);
    Slot result;
    result.SetNone();
    CallFrame frame{arguments, count, &result, &m_failure, -1};
    const ScopeAccess::Running running;
    if (!function.m_call(function.m_function, frame)) [[unlikely]]
        return FailCall(op, name, frame.m_failed < 0 ? -1 : frame.m_failed - static_cast<int32>(numObjects));
    if (result.m_kind == Kind::Place) [[unlikely]]
        KeepFrom(arguments, count, result);
    Return(arguments, count, result);
    return true;
}

void Machine::Return(Slot* arguments, std::size_t count, const Slot& result)
{
    for (std::size_t i = 0; i < count; ++i)
        arguments[i].Release();
    *arguments = result;
    m_top = arguments + 1;
}

// A function that takes values sees variables of numbers and texts as these.
bool Machine::LoadArguments(Slot* arguments, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        if (arguments[i].m_kind == Kind::Place && IsThere(arguments[i]) && !LoadPlace(arguments[i], m_failure))
            return false;
    return true;
}

bool Machine::PushResolved(const NameUse& use, Slot& slot)
{
    OwnBelow(m_top);
    const ScopeAccess::Running running;
    std::optional<Value> value = ScopeAccess::Resolve(m_scope, use.m_name);
    if (!value)
    {
        m_failedPlace = use.m_place;
        return FailUnknownName(m_scope, use.m_name, m_failure);
    }
    slot = ValueAccess::Of(*value);
    ValueAccess::Of(*value).SetNone();
    return true;
}

bool Machine::AtArgument(const Op& op, std::size_t index)
{
    m_failedPlace = PlaceOfArgument(m_program->m_text, op.GetPlace(), index);
    return false;
}

// A name that is no enumerator's, as a key, is wrong itself; an index is wrong at its bracket.
bool Machine::AtIndex(const Op& subscript)
{
    if (m_failure.m_details->m_kind == ErrorKind::Name)
        m_failedPlace = subscript.m_index;
    return false;
}

// What holds no value of the language, an empty optional or too large a number, is wrong itself, and not what is done
// with it.
bool Machine::AtOperands(const Op& op, Slot* left, Slot* right)
{
    if (m_failure.m_details->m_kind != ErrorKind::Range)
        return false;
    for (Slot* const operand : {left, right})
        if (Failure failure; operand != nullptr && !Load(*operand, failure))
        {
            m_failedPlace = PlaceOfOperand(m_program->m_text, op.GetPlace(), operand == right);
            break;
        }
    return false;
}

// A list, or what is evaluated for each of its elements.
bool Machine::AtListArgument(const Op& op, std::size_t index, Slot& argument)
{
    const ErrorKind kind = m_failure.m_details->m_kind;
    AtArgument(op, index);
    if (Failure failure; kind == ErrorKind::Range && !Load(argument, failure))
        m_failedPlace = PlaceOfValue(m_program->m_text, m_failedPlace);
    return false;
}

void Machine::AtResult(Slot& result)
{
    Failure failure;
    const bool isNothing = m_failure.m_details->m_kind == ErrorKind::Range && !Load(result, failure);
    m_failedPlace = isNothing ? PlaceOfValue(m_program->m_text, 0) : 0;
}

bool Machine::FailCall(const Op& op, std::string_view name, int32 argument)
{
    const std::string part = argument < 0 ? "" : ", argument " + std::to_string(argument + 1);
    m_failure.m_details->m_message.insert(0, std::string(name) + "()" + part + ": ");
    return argument >= 0 && AtArgument(op, static_cast<std::size_t>(argument));
}

bool Machine::FailCount(const Callable& function, std::string_view name, std::size_t count, std::size_t numObjects)
{
    const auto objects = static_cast<int32>(numObjects);
    return Fail(m_failure, ErrorKind::Call,
                CountMessage(name, count - numObjects, function.m_min - objects,
                             function.m_max < 0 ? -1 : function.m_max - objects));
}

} // namespace kelm::evaluation
