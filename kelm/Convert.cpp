#include <kelm/Convert.h>

#include <kelm/private/expressions/Operations.h>
#include <kelm/private/types/TypeText.h>
#include <kelm/private/values/Conversions.h>
#include <kelm/private/values/Places.h>

#include <string>
#include <utility>

namespace kelm::evaluation
{

bool Fail(Failure& failure, ErrorKind kind, std::string_view message)
{
    failure.m_details.reset(new Failure::Details{.m_kind = kind, .m_message = std::string(message)});
    return false;
}

bool FailUnknown(Failure& failure, std::string_view message, std::string_view name, std::vector<std::string> existing)
{
    Fail(failure, ErrorKind::Name, message);
    failure.m_details->m_unknown = name;
    failure.m_details->m_existing = std::move(existing);
    return false;
}

void ThrowWithoutPlace(Failure& failure)
{
    throw Error({.m_kind = failure.m_details->m_kind, .m_message = std::move(failure.m_details->m_message)});
}

bool FromUnsigned(uint64 x, Slot& slot, Failure& failure)
{
    if (!std::in_range<int64>(x))
        return Fail(failure, ErrorKind::Range, "Value " + std::to_string(x) + " is out of range of int64");
    slot.Set(static_cast<int64>(x));
    return true;
}

bool FailConversion(Failure& failure, const Slot& slot, ConstStringZ name)
{
    return FailOtherType(failure, Written(slot), name);
}

namespace
{

// The place is where the way to an object of the type has ended.
bool FailObject(Failure& failure, const Slot& place, const ReflectionByteCode& type)
{
    return place.m_kind == Kind::Place && !IsThere(place) ? FailNothing(failure)
                                                          : FailConversion(failure, place, TypeText(type).c_str());
}

} // namespace

bool ToVariable(const Slot& slot, const ReflectionByteCode& type, void* variable, Failure& failure)
{
    std::string room;
    Scalar scalar;
    if (!ToScalar(slot, scalar, room, failure))
        return false;
    if (scalar.m_kind == Scalar::Kind::None)
        return FailObject(failure, slot, type);
    const Fit fit = StoreScalar(type, variable, scalar);
    return fit == Fit::Fits || FailMisfit(failure, fit, type, scalar);
}

bool ToVariable(const Slot& slot, const ReflectionByteCode& type, void* variable, const Copying& copying,
                Failure& failure)
{
    Slot place = slot;
    if (TryGoToType(place, type))
    {
        copying.m_whole(variable, place.m_address);
        return true;
    }
    if (copying.m_held != nullptr)
    {
        ReflectionByteCode optional = type;
        optional.AdvanceToUnderlyingType2();
        Slot held = slot;
        if (IsNull(slot))
        {
            optional.GetForeignType().m_choice->Reset(variable);
            return true;
        }
        if (TryGoToType(held, optional.GetForeignType().GetPartType(0)))
        {
            copying.m_held(variable, held.m_address);
            return true;
        }
    }
    return ToVariable(place, type, variable, failure);
}

bool IsNull(const Slot& slot)
{
    return !IsThere(slot);
}

bool ToBool(const Slot& slot, bool& x, Failure& failure)
{
    if (slot.m_kind != Kind::Bool)
        return ToVariable(slot, TypeOfCode(FT_BOOL), &x, failure);
    x = slot.m_bool;
    return true;
}

bool ToText(const Slot& slot, std::string_view& text, std::string& room, Failure& failure)
{
    Scalar scalar;
    if (!ToScalar(slot, scalar, room, failure))
        return false;
    if (scalar.m_kind == Scalar::Kind::None)
        return FailConversion(failure, slot, "string");
    if (scalar.m_kind != Scalar::Kind::Text)
        return FailOtherType(failure, Written(scalar), "string");
    text = scalar.m_text;
    return true;
}

bool ToObject(const Slot& slot, const ReflectionByteCode& type, bool isWritten, void*& object, Failure& failure)
{
    Slot place = slot;
    if (!TryGoToType(place, type) && !TryGoToBase(place, type))
        return FailObject(failure, place, type);
    if (isWritten && place.m_isConst)
        return Fail(failure, ErrorKind::Type, "The " + TypeText(type) + " is const");
    object = place.m_address;
    return true;
}

} // namespace kelm::evaluation
