#include <kelm/private/values/PlaceSteps.h>

#include <kelm/private/expressions/Operations.h>
#include <kelm/private/expressions/ScopeNames.h>
#include <kelm/private/types/Names.h>
#include <kelm/private/types/TypeText.h>
#include <kelm/private/values/Conversions.h>
#include <kelm/private/values/Variable.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/Registry.h>
#include <klObject/types/private/TypeCodes.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/MessageOf.h>

#include <cstring>

namespace kelm::evaluation
{

ReflectionByteCode Underlying(Slot& slot)
{
    ReflectionByteCode type = slot.GetType();
    if (type.m_bc != nullptr && GetTypeCode(type).m_passedAs != 0) [[unlikely]]
        if ((type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0)
            slot.m_isConst = true;
    return type;
}

bool IsOfType(const Slot& slot, const ReflectionByteCode& type)
{
    if (slot.m_bc != nullptr)
        return IsSameType(slot.GetType(), type);
    ReflectionByteCode wanted = type;
    wanted.AdvanceToUnderlyingType2();
    return wanted.GetCode() == FT_CLASS &&
           std::strcmp(wanted.GetName(), slot.GetOwner().GetReflectedClass()->m_name) == 0;
}

std::string TextOfType(const Slot& slot)
{
    if (slot.m_bc == nullptr)
        return slot.GetOwner().GetReflectedClass()->m_name;
    ReflectionByteCode type = slot.GetType();
    type.AdvanceToUnderlyingType2();
    return TypeText(type);
}

PathSteps StepsFrom(const Slot& slot, PathSteps::Access access)
{
    return {slot.GetOwner(), slot.GetType(), slot.m_address, access, slot.m_isConst};
}

void TakeOver(Slot& slot, const PathSteps& steps)
{
    slot.SetOwner(steps.GetOwner());
    slot.m_address = steps.GetAddress();
    slot.SetType(steps.GetType());
    slot.m_isConst = steps.IsConst();
}

namespace
{

bool IsChoice(const ReflectionByteCode& type)
{
    return type.m_bc != nullptr && type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_CHOICE;
}

// Steps of a kind; what breaks an invariant of the descriptions is a failure too.
template <class Step>
bool Try(Failure& failure, const Step& step)
{
    try
    {
        return step();
    }
    catch (const KelmAssertionError& e)
    {
        return Fail(failure, ErrorKind::Internal, e.what());
    }
}

// Of a step that has failed, from where it has got to.
[[gnu::cold, gnu::noinline]] bool FailStep(Failure& failure, Slot& slot, const PathSteps& steps, std::string_view name)
{
    const PathProblem& problem = steps.GetProblem();
    TakeOver(slot, steps);
    switch (problem.m_fault)
    {
    case PathFault::NullDereference: return FailNothing(failure);
    case PathFault::NoFields: return Fail(failure, ErrorKind::Type, ". not available on " + NameOfType(slot));
    case PathFault::NoElements: return Fail(failure, ErrorKind::Type, "[] not available on " + NameOfType(slot));
    default: break;
    }
    const xstring message = MessageOf(problem, LSToken(TOKEN_IDENTIFIER, name));
    if (problem.m_fault != PathFault::UnknownField)
        return Fail(failure, ErrorKind::Range, message.view());
    const ReflectedClass* const rc = TryFindReflectedClass(problem.m_subject);
    return FailUnknown(failure, message.view(), name,
                       rc != nullptr ? ModelFieldNames(*rc) : std::vector<std::string>());
}

} // namespace

bool EnterChoice(Slot& slot)
{
    ReflectionByteCode type = Underlying(slot);
    if (!IsChoice(type))
        return false;
    const ForeignChoiceFns& fns = *type.GetForeignType().m_choice;
    const int32 part = fns.GetIndex(slot.m_address);
    if (part < 0)
        return false;
    slot.m_isConst = slot.m_isConst && !fns.m_isPointer;
    slot.m_isResult = slot.m_isResult && !fns.m_isPointer;
    slot.m_address = fns.GetValue(slot.m_address);
    slot.SetType(type.GetForeignType().GetPartType(part));
    return true;
}

bool EnterChoices(Slot& slot, ReflectionByteCode& type)
{
    while (EnterChoice(slot))
    {
    }
    type = Underlying(slot);
    return !IsChoice(type);
}

PathSteps::Way GetWayFrom(const ReflectionByteCode& type)
{
    return type.m_bc != nullptr ? PathSteps::GetWayFrom(type) : PathSteps::Way::Fields;
}

const ReflectedClass* GoToObject(Slot& slot, Failure& failure)
{
    const ReflectedClass* rc = nullptr;
    if (slot.m_kind != Kind::Place)
        Fail(failure, ErrorKind::Type, ". not available on " + NameOfType(slot));
    else
        Try(failure,
            [&]
            {
                PathSteps steps = StepsFrom(slot, PathSteps::Access::Read);
                rc = steps.TryEnterInstance();
                if (rc == nullptr)
                    return FailStep(failure, slot, steps, {});
                TakeOver(slot, steps);
                return true;
            });
    return rc;
}

const ReflectedClass* ClassOf(Slot slot)
{
    Failure failure;
    slot.m_holder = nullptr;
    return slot.m_kind == Kind::Place ? GoToObject(slot, failure) : nullptr;
}

bool StepToMember(Slot& slot, std::string_view name, Checks& checks, Failure& failure)
{
    if (slot.m_kind != Kind::Place)
        return Fail(failure, ErrorKind::Type, ". not available on " + NameOfType(slot));
    ReflectionByteCode type;
    if (slot.m_isResult && !EnterChoices(slot, type)) [[unlikely]]
        return FailNothing(failure);
    return Try(failure,
               [&]
               {
                   PathSteps steps = StepsFrom(slot, PathSteps::Access::Read);
                   if (!steps.TryStepToField(name)) [[unlikely]]
                       return FailStep(failure, slot, steps, name);
                   TakeOver(slot, steps);
                   slot.m_isResult = slot.m_isResult && slot.m_owner == nullptr; // a handle leads out of it
                   const PathField& field = steps.GetField();
                   const ReflectedClass& rc = *field.m_model.m_class;
                   if (rc.m_rules == nullptr)
                       return true;
                   const FieldRule& rule = rc.m_rules[field.m_field - rc.m_modelFields];
                   if (rule.m_check != nullptr)
                   {
                       checks.push_back({&rule, &rc, field.m_field->m_name, slot.m_address, slot.m_checks});
                       slot.m_checks = static_cast<uint32>(checks.size());
                   }
                   return true;
               });
}

// --- Elements --------------------------------------------------------------------------------------------------------

namespace
{

bool StepInText(Slot& slot, int64 i, Failure& failure)
{
    const auto size = static_cast<int64>(slot.m_size);
    if (i < 0 || i >= size)
        return Fail(failure, ErrorKind::Range,
                    std::string_view(MessageOf("Index ", i, " out of range [0,", size, ") on string")));
    slot.m_text += i; // what held the text holds its part
    slot.m_size = 1;
    return true;
}

// To an entry, which must be there.
bool StepToKey(Slot& slot, const Scalar& key, Failure& failure)
{
    PathSteps steps = StepsFrom(slot, PathSteps::Access::Read);
    const ReflectionByteCode keyType = steps.GetKeyType();
    const Variable variable(keyType);
    if (const Fit fit = StoreScalar(keyType, variable.Get(), key); fit != Fit::Fits)
        return FailMisfit(failure, fit, keyType, key);
    if (!steps.TryStepToPayload(variable.Get()))
        return FailKey(failure, key);
    TakeOver(slot, steps);
    return true;
}

bool IsText(ReflectionByteCode type)
{
    return type.m_bc != nullptr && (type.GetCode() == FT_STRING8 ||
                                    (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_TEXT));
}

} // namespace

bool FailKey(Failure& failure, const Scalar& key)
{
    return Fail(failure, ErrorKind::Range, "Key " + Written(key) + " is not there");
}

bool StepToElement(Slot& slot, const Scalar& index, Failure& failure)
{
    ReflectionByteCode type;
    if (slot.m_kind == Kind::Place && !EnterChoices(slot, type))
        return FailNothing(failure);
    const auto way = slot.m_kind == Kind::Place ? GetWayFrom(type) : PathSteps::Way::Nowhere;
    if (way == PathSteps::Way::Nowhere && IsText(type) && !LoadPlace(slot, failure))
        return false;
    if (way == PathSteps::Way::Keys)
        return Try(failure, [&] { return StepToKey(slot, index, failure); });
    if (slot.m_kind != Kind::Text && way != PathSteps::Way::Elements)
        return Fail(failure, ErrorKind::Type, "[] not available on " + NameOfType(slot));
    if (index.m_kind != Scalar::Kind::Int64)
        return FailMisfit(failure, index.m_kind == Scalar::Kind::UInt64 ? Fit::OutOfRange : Fit::OtherType,
                          TypeOfCode(FT_INT64), index);
    if (slot.m_kind == Kind::Text)
        return StepInText(slot, index.m_int64, failure);
    return Try(failure,
               [&]
               {
                   PathSteps steps = StepsFrom(slot, PathSteps::Access::Read);
                   if (!steps.TryStepToElement(index.m_int64)) [[unlikely]]
                       return FailStep(failure, slot, steps, {});
                   TakeOver(slot, steps);
                   return true;
               });
}

bool StepToElement(Slot& slot, const Slot& index, Failure& failure)
{
    std::string room;
    Scalar key;
    return ToScalar(index, key, room, failure) && StepToElement(slot, key, failure);
}

} // namespace kelm::evaluation
