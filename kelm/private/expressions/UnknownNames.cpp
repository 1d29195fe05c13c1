#include <kelm/private/expressions/UnknownNames.h>

#include <kelm/private/errors/Failures.h>
#include <kelm/private/expressions/Functions.h>
#include <kelm/private/expressions/ScopeNames.h>
#include <klKelmScript/private/BuiltIns.h>

#include <string>
#include <utility>
#include <vector>

namespace kelm::evaluation
{

namespace
{

// As it is called: "Total()", "Scaled(...)".
std::string Call(std::string_view name, bool hasArguments)
{
    return std::string(name) + (hasArguments ? "(...)" : "()");
}

// Where it is not called as one.
bool FailFunction(const Record& record, Failure& failure)
{
    std::string classes;
    bool hasArguments = false;
    for (const Callable& member : record.m_members)
    {
        classes += classes.empty() ? "" : " and ";
        classes += ReflectionByteCode(member.m_class).GetName();
        hasArguments |= member.m_max != 1; // beside the object
    }
    return Fail(failure, ErrorKind::Name,
                record.m_name + " is a function of " + classes + ": object." + Call(record.m_name, hasArguments));
}

bool IsFunction(const Scope* scope, std::string_view name)
{
    if (const Record* const record = ScopeAccess::Find(scope, name))
        return record->m_is == Record::Is::Function;
    const BuiltIn* const builtIn = FindBuiltIn(name);
    return builtIn != nullptr ? builtIn->m_argument != Argument::None : FindOwnFunction(name) != nullptr;
}

bool FailUnknownMember(const Scope* scope, std::string_view name, Failure& failure)
{
    if (IsFunction(scope, name))
        return Fail(failure, ErrorKind::Name, std::string(name) + " is no function of objects: " + Call(name, true));
    return FailUnknown(failure, UnknownMessage(name), name, ScopeAccess::AllMembers(scope));
}

} // namespace

bool FailUnknownName(const Scope* scope, std::string_view name, Failure& failure)
{
    if (const Record* const record = ScopeAccess::FindMember(scope, name))
        return FailFunction(*record, failure);
    return FailUnknown(failure, UnknownMessage(name), name, ScopeAccess::AllNames(scope));
}

bool FailMember(const Scope* scope, std::string_view name, Failure& failure)
{
    const bool isName = failure.m_details->m_kind == ErrorKind::Name;
    const Record* const record = isName ? ScopeAccess::FindMember(scope, name) : nullptr;
    return record != nullptr && FailFunction(*record, failure);
}

void ThrowUnknownName(const Scope* scope, std::string_view name, std::size_t place)
{
    Rejected rejected{{}, place};
    FailUnknownName(scope, name, rejected.m_failure);
    throw std::move(rejected);
}

void ThrowUnknownMember(const Scope* scope, std::string_view name, std::size_t place)
{
    Rejected rejected{{}, place};
    FailUnknownMember(scope, name, rejected.m_failure);
    throw std::move(rejected);
}

} // namespace kelm::evaluation
