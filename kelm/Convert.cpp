#include <kelm/Convert.h>

#include <kelm/private/Operations.h>
#include <kelm/private/Places.h>
#include <kelm/private/ScopeNames.h>
#include <klKelmScript/private/KSValueOperations.h>
#include <klUtils/MessageOf.h>

#include <cmath>
#include <limits>

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

bool FailConversion(Failure& failure, const Slot& slot, ConstStringZ name)
{
    return Fail(
        failure, ErrorKind::Type,
        std::string_view(MessageOf("No implicit conversion from value ", SubString(Written(slot)), " to ", name)));
}

namespace
{

bool FailRange(Failure& failure, const Slot& slot, ConstStringZ name)
{
    return Fail(failure, ErrorKind::Range,
                std::string_view(MessageOf("Value ", SubString(Written(slot)), " is out of range of ", name)));
}

// The value that a place has. What was in the slot stays whose it was.
class Loaded
{
public:
    explicit Loaded(const Slot& slot) : m_slot(slot)
    {
        if (slot.m_kind == Kind::Place)
            m_slot.m_holder = nullptr;
    }
    ~Loaded()
    {
        if (m_isOwn)
            m_slot.Release();
    }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;

    bool Load(Failure& failure)
    {
        if (m_slot.m_kind != Kind::Place)
            return true;
        m_isOwn = true;
        return LoadPlace(m_slot, failure);
    }
    const Slot& Get() const { return m_slot; }

private:
    Slot m_slot;
    bool m_isOwn = false;
};

// Whole-numbered floats as the integers that they are; Type for what is no number, or has a fraction.
bool ToWhole(const Slot& slot, ConstStringZ name, bool& fits, int64& x, Failure& failure)
{
    fits = true;
    if (slot.m_kind == Kind::Integer)
        x = slot.m_integer;
    else if (slot.m_kind != Kind::Float || std::isnan(slot.m_float) ||
             (std::isfinite(slot.m_float) && std::trunc(slot.m_float) != slot.m_float))
        return FailConversion(failure, slot, name);
    else
    {
        x = TruncateToInt64(slot.m_float);
        fits = static_cast<float64>(x) == slot.m_float;
    }
    return true;
}

} // namespace

bool ToInteger(const Slot& slot, int64 min, int64 max, ConstStringZ name, int64& x, Failure& failure)
{
    Loaded value(slot);
    bool fits = false;
    if (!value.Load(failure) || !ToWhole(value.Get(), name, fits, x, failure))
        return false;
    return (fits && min <= x && x <= max) || FailRange(failure, value.Get(), name);
}

bool ToUnsigned(const Slot& slot, uint64 max, ConstStringZ name, uint64& x, Failure& failure)
{
    Loaded value(slot);
    bool fits = false;
    int64 whole = 0;
    if (!value.Load(failure) || !ToWhole(value.Get(), name, fits, whole, failure))
        return false;
    if (!fits && 0.0 < value.Get().m_float && value.Get().m_float < 18446744073709551616.0)
    {
        fits = true;
        x = static_cast<uint64>(value.Get().m_float);
    }
    else
    {
        fits = fits && whole >= 0;
        x = static_cast<uint64>(whole);
    }
    return (fits && x <= max) || FailRange(failure, value.Get(), name);
}

bool ToFloat64(const Slot& slot, float64& x, Failure& failure)
{
    Loaded value(slot);
    if (!value.Load(failure))
        return false;
    if (value.Get().m_kind == Kind::Integer)
        x = static_cast<float64>(value.Get().m_integer);
    else if (value.Get().m_kind == Kind::Float)
        x = value.Get().m_float;
    else
        return FailConversion(failure, value.Get(), "float64");
    return true;
}

bool ToFloat32(const Slot& slot, float32& x, Failure& failure)
{
    Loaded value(slot);
    float64 wide = 0.0;
    if (!value.Load(failure))
        return false;
    if (value.Get().m_kind != Kind::Integer && value.Get().m_kind != Kind::Float)
        return FailConversion(failure, value.Get(), "float32");
    ToFloat64(value.Get(), wide, failure);
    x = static_cast<float32>(wide);
    return std::isfinite(x) || !std::isfinite(wide) || FailRange(failure, value.Get(), "float32");
}

bool ToBool(const Slot& slot, bool& x, Failure& failure)
{
    Loaded value(slot);
    if (!value.Load(failure))
        return false;
    if (value.Get().m_kind != Kind::Bool)
        return FailConversion(failure, value.Get(), "bool");
    x = value.Get().m_bool;
    return true;
}

bool ToText(const Slot& slot, std::string_view& text, std::string& room, Failure& failure)
{
    Loaded value(slot);
    if (!value.Load(failure))
        return false;
    if (value.Get().m_kind != Kind::Text)
        return FailConversion(failure, value.Get(), "string");
    text = value.Get().GetText();
    if (slot.m_kind == Kind::Place && value.Get().m_holder != nullptr)
        text = room = text;
    return true;
}

bool ToObject(const Slot& slot, const ReflectionByteCode& type, bool isWritten, void*& object, Failure& failure)
{
    Slot wanted;
    wanted.SetPlace(nullptr, type, false);
    const std::string name = NameOfType(wanted);
    if (slot.m_kind != Kind::Place || !IsSameType(slot.GetType(), type))
        return FailConversion(failure, slot, name.c_str());
    if (isWritten && slot.m_isConst)
        return Fail(failure, ErrorKind::Type, "The " + name + " is const");
    object = slot.m_address;
    return true;
}

} // namespace kelm::evaluation
