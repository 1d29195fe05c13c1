#include <kelm/private/values/Places.h>

#include <kelm/private/expressions/Operations.h>
#include <kelm/private/types/TypeText.h>
#include <kelm/private/values/Conversions.h>
#include <kelm/private/values/CopyVariable.h>
#include <kelm/private/values/MemberChecks.h>
#include <kelm/private/values/PlaceSteps.h>
#include <kelm/private/values/Texts.h>
#include <kelm/private/values/Variable.h>
#include <klObject/objects/CastObject.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ForeignType.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/xstring.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>

namespace kelm::evaluation
{

namespace
{

constexpr ConstStringZ s_sourceFile = "kelm/Places";

template <class T>
T Read(const Slot& slot)
{
    T x;
    std::memcpy(&x, slot.m_address, sizeof x);
    return x;
}

bool Become(Slot& slot, const Slot& value)
{
    slot.Release();
    slot = value;
    return true;
}

template <class T>
bool BecomeNumber(Slot& slot)
{
    Slot value;
    if constexpr (std::is_floating_point_v<T>)
        value.Set(static_cast<float64>(Read<T>(slot)));
    else
        value.Set(static_cast<int64>(Read<T>(slot)));
    return Become(slot, value);
}

// A text that lies in what the slot keeps alive goes on to be kept.
bool BecomeText(Slot& slot, std::string_view text)
{
    slot.m_kind = Kind::Text;
    slot.m_text = text.data();
    slot.m_size = text.size();
    return true;
}

bool BecomeOwnText(Slot& slot, std::string_view text)
{
    Slot value;
    SetOwnText(value, text);
    return Become(slot, value);
}

} // namespace

// --- Values ----------------------------------------------------------------------------------------------------------

bool LoadPlace(Slot& slot, Failure& failure)
{
    ReflectionByteCode type;
    if (!EnterChoices(slot, type))
        return FailNothing(failure);
    if (type.m_bc == nullptr)
        return true;
    switch (static_cast<int>(type.GetCode()))
    {
    case FT_FLOAT64: return BecomeNumber<float64>(slot);
    case FT_INT32: return BecomeNumber<int32>(slot);
    case FT_INT64: return BecomeNumber<int64>(slot);
    default: break;
    }
    std::string room;
    const Scalar scalar = LoadScalar(type, slot.m_address, room);
    Slot value;
    switch (scalar.m_kind)
    {
    case Scalar::Kind::None: return true;
    case Scalar::Kind::UInt64: return FailMisfit(failure, Fit::OutOfRange, TypeOfCode(FT_INT64), scalar);
    case Scalar::Kind::Bool: value.Set(scalar.m_bool); break;
    case Scalar::Kind::Int64: value.Set(scalar.m_int64); break;
    case Scalar::Kind::Float64: value.Set(scalar.m_float64); break;
    case Scalar::Kind::Text:
        return scalar.m_text.data() == room.data() ? BecomeOwnText(slot, room) : BecomeText(slot, scalar.m_text);
    }
    return Become(slot, value);
}

namespace
{

// A variable of its own.
struct VariableHolder : Holder
{
    explicit VariableHolder(const ReflectionByteCode& type) : m_variable(type)
    {
        m_destroy = [](Holder* holder) noexcept { delete static_cast<VariableHolder*>(holder); };
    }
    Variable m_variable;
};

// False where such a variable does not take the scalar.
bool TryOwn(Slot& slot, const ReflectionByteCode& type, const Scalar& scalar)
{
    auto holder = std::make_unique<VariableHolder>(type);
    void* const variable = holder->m_variable.Get();
    if (scalar.m_kind != Scalar::Kind::None && kelm::StoreScalar(type, variable, scalar) != Fit::Fits)
        return false;
    Slot value;
    value.SetPlace(variable, type, slot.m_isConst, holder.release());
    value.m_isOwn = true;
    return Become(slot, value);
}

} // namespace

void OwnScalar(Slot& slot)
{
    if (slot.m_kind == Kind::Text)
        return SetOwnText(slot, slot.GetText());
    Slot there = slot;
    ReflectionByteCode type;
    const ReflectionByteCode outer = Underlying(there);
    const bool isAnything = EnterChoices(there, type);
    if (isAnything && type.m_bc == nullptr)
        return;
    std::string room;
    const Scalar scalar = isAnything ? LoadScalar(type, there.m_address, room) : Scalar();
    if (isAnything && scalar.m_kind == Scalar::Kind::None)
        return;
    Slot value;
    switch (outer.m_bc == type.m_bc ? scalar.m_kind : Scalar::Kind::None)
    {
    case Scalar::Kind::Bool: value.Set(scalar.m_bool); break;
    case Scalar::Kind::Int64: value.Set(scalar.m_int64); break;
    case Scalar::Kind::Float64: value.Set(scalar.m_float64); break;
    case Scalar::Kind::None:
    case Scalar::Kind::UInt64:
    case Scalar::Kind::Text: // of what is more than a text, perhaps
        if (!TryOwn(slot, outer, scalar))
            TryOwn(slot, type, scalar);
        return;
    }
    Become(slot, value);
}

bool Load(Slot& slot, Failure& failure)
{
    return slot.m_kind != Kind::Place || LoadPlace(slot, failure);
}

bool ToScalar(const Slot& slot, Scalar& scalar, std::string& room, Failure& failure)
{
    switch (slot.m_kind)
    {
    case Kind::None: scalar = {}; return true;
    case Kind::Bool: scalar = Scalar(slot.m_bool); return true;
    case Kind::Integer: scalar = Scalar(slot.m_integer); return true;
    case Kind::Float: scalar = Scalar(slot.m_float); return true;
    case Kind::Text: scalar = Scalar(slot.GetText()); return true;
    case Kind::Place: break;
    }
    Slot place = slot;
    ReflectionByteCode type;
    if (!EnterChoices(place, type))
        return FailNothing(failure);
    scalar = type.m_bc != nullptr ? LoadScalar(type, place.m_address, room) : Scalar();
    return true;
}

bool TryGoToType(Slot& slot, const ReflectionByteCode& type)
{
    if (slot.m_kind != Kind::Place)
        return false;
    slot.m_holder = nullptr;
    Failure failure;
    while (!IsOfType(slot, type))
    {
        ReflectionByteCode there = Underlying(slot);
        if (there.m_bc == nullptr)
            return false;
        const ETypeByteCode code = there.GetCode();
        const bool isChoice = code == FT_FOREIGN && there.GetForeignType().GetForm() == FF_CHOICE;
        const bool isHandle = code == FT_INTERFACE_POINTER || code == FT_PREF || code == FT_CREF;
        if (isChoice ? !EnterChoice(slot) : !isHandle || GoToObject(slot, failure) == nullptr)
            return false;
    }
    return true;
}

bool TryGoToBase(Slot& slot, const ReflectionByteCode& type)
{
    ReflectionByteCode wanted = type;
    wanted.AdvanceToUnderlyingType2();
    const ReflectedClass* const rc = wanted.GetCode() == FT_CLASS ? ClassOf(slot) : nullptr;
    void* const base = rc != nullptr ? FindInstance(*rc, slot.m_address, wanted.GetName()) : nullptr;
    if (base == nullptr)
        return false;
    slot.m_address = base;
    slot.SetType(type);
    return true;
}

bool GetLength(const Slot& slot, std::size_t& length, Failure& failure)
{
    Slot list = slot;
    ReflectionByteCode type;
    if (!EnterChoices(list, type))
        return FailNothing(failure);
    ssize_t count = -1;
    switch (type.m_bc != nullptr ? static_cast<int>(type.GetCode()) : FT_CLASS)
    {
    case FT_ARRAY: count = type.GetArrayCount(); break;
    case FT_VECTOR:
    case FT_DYNARRAY:
        count = static_cast<VectorOfByte*>(list.m_address)->size() / type.GetTypeBehindByte().GetTypeSize();
        break;
    case FT_MAP: count = type.m_mapOrSetFns->mapFns->Count(list.m_address); break;
    case FT_SET: count = type.m_mapOrSetFns->setFns->Count(list.m_address); break;
    case FT_FOREIGN:
        if (type.GetForeignType().GetForm() == FF_LIST)
            count = type.GetForeignType().m_list->Count(list.m_address);
        else if (type.GetForeignType().GetForm() == FF_MAP)
            count = type.GetForeignType().m_map->Count(list.m_address);
        break;
    default: break;
    }
    if (count < 0)
        return Fail(failure, ErrorKind::Type, "len() not available on " + NameOfType(slot));
    length = static_cast<std::size_t>(count);
    return true;
}

bool IsThere(const Slot& slot)
{
    if (slot.m_kind != Kind::Place)
        return slot.m_kind != Kind::None;
    Slot place = slot;
    ReflectionByteCode type;
    if (!EnterChoices(place, type))
        return false;
    switch (type.m_bc != nullptr ? static_cast<int>(type.GetCode()) : FT_CLASS)
    {
    case FT_PREF:
    case FT_CREF: return static_cast<bool>(static_cast<const prefbase*>(place.m_address)->Get());
    case FT_INTERFACE_POINTER: return static_cast<bool>(Read<ptr<IObject>>(place));
    default: return true;
    }
}

bool FailNothing(Failure& failure)
{
    return Fail(failure, ErrorKind::Range, "null dereference");
}

ReflectionByteCode TypeOfCode(ETypeByteCode code)
{
    static constexpr auto codes = []
    {
        std::array<uint8, 256> all{};
        for (std::size_t i = 0; i < all.size(); ++i)
            all[i] = static_cast<uint8>(i);
        return all;
    }();
    return {&codes[code], nullptr};
}

// --- Assignment ------------------------------------------------------------------------------------------------------

namespace
{

std::string TextOf(const Assigned& value)
{
    const bool isObject = value.m_object.m_kind == Kind::Place && value.m_scalar.m_kind == Scalar::Kind::None;
    return isObject ? "this " + TextOfType(value.m_object) : Written(value.m_scalar);
}

bool Check(const Slot& place, const Assigned& value, const Checks& checks, Failure& failure)
{
    for (uint32 i = place.m_checks; i != 0; i = checks[i - 1].m_outer)
    {
        const CheckedMember& member = checks[i - 1];
        if (!member.m_rule->m_check(member.m_data))
            return Fail(failure, ErrorKind::Check,
                        std::string("Member '") + member.m_name + "' of class " + member.m_class->m_name + " refuses " +
                            TextOf(value));
    }
    return true;
}

// What has been changed is so again where a check refuses it, or throws.
template <class Undo>
bool KeepOrUndo(const Slot& place, const Assigned& value, const Checks& checks, Failure& failure, const Undo& undo)
{
    if (place.m_checks == 0)
        return true;
    try
    {
        if (Check(place, value, checks, failure))
            return true;
    }
    catch (...) // the program's
    {
        undo();
        throw;
    }
    undo();
    return false;
}

// Two variables of a type, which is no class.
void Exchange(const ReflectionByteCode& type, void* a, void* b)
{
    if (type.GetCode() == FT_FOREIGN)
    {
        KELM_ASSERT(type.GetForeignType().Exchange);
        return type.GetForeignType().Exchange(a, b);
    }
    constexpr ssize_t most = 24;
    const auto size = static_cast<std::size_t>(std::min(type.GetTypeSize(), most));
    char bytes[most];
    std::memcpy(bytes, a, size);
    std::memcpy(a, b, size);
    std::memcpy(b, bytes, size);
}

bool FailConst(const Slot& place, Failure& failure)
{
    return Fail(failure, ErrorKind::Type, "Can't assign to const " + NameOfVariable(place));
}

bool IsEmptyOptional(const ReflectionByteCode& type, const void* data)
{
    return type.GetCode() == FT_FOREIGN && type.GetForeignType().IsOptional() &&
           type.GetForeignType().m_choice->GetIndex(data) < 0;
}

bool CanBeNull(const ReflectionByteCode& type)
{
    const ETypeByteCode code = type.m_bc != nullptr ? type.GetCode() : FT_CLASS;
    return code == FT_INTERFACE_POINTER || code == FT_PREF || code == FT_CREF ||
           (code == FT_FOREIGN && type.GetForeignType().IsOptional());
}

bool StoreNull(const Slot& place, const Assigned& value, const Checks& checks, Failure& failure)
{
    Slot target = place;
    const ReflectionByteCode type = Underlying(target);
    if (!CanBeNull(type))
        return FailOtherType(failure, TextOf(value), TextOfType(target));
    if (target.m_isConst)
        return FailConst(target, failure);
    const Variable null(type);
    Exchange(type, target.m_address, null.Get());
    return KeepOrUndo(place, value, checks, failure, [&] { Exchange(type, target.m_address, null.Get()); });
}

bool StoreScalar(const Slot& place, const Assigned& value, const Checks& checks, Failure& failure)
{
    Slot target = place;
    ReflectionByteCode type = Underlying(target);
    while (type.m_bc != nullptr && !IsEmptyOptional(type, target.m_address) && EnterChoice(target))
        type = Underlying(target);
    if (type.m_bc == nullptr)
        return FailOtherType(failure, TextOf(value), TextOfType(target));
    if (target.m_isConst)
        return FailConst(target, failure);
    const auto store = [&](void* variable)
    {
        const Fit fit = kelm::StoreScalar(type, variable, value.m_scalar);
        return fit == Fit::Fits || FailMisfit(failure, fit, type, value.m_scalar);
    };
    if (place.m_checks == 0)
        return store(target.m_address);
    const Variable changed(type);
    if (!store(changed.Get()))
        return false;
    Exchange(type, target.m_address, changed.Get());
    return KeepOrUndo(place, value, checks, failure, [&] { Exchange(type, target.m_address, changed.Get()); });
}

// A copy of another variable of the type, which may be a part of what is assigned to.
bool StoreCopy(const Slot& target, const TypeAt& type, const void* from, const Assigned& value, const Checks& checks,
               Failure& failure)
{
    if (!CanBeAssigned(type.Get()))
        return Fail(failure, ErrorKind::Type, "Can't assign to " + TextOfType(target) + ", of which a part is const");
    const Variable copy(type.Get());
    CopyVariable(type.Get(), copy.Get(), from);
    const auto exchange = [&] { ExchangeVariables(type.Get(), target.m_address, copy.Get()); };
    exchange();
    return KeepOrUndo(target, value, checks, failure, exchange);
}

// Whether an object is one of the type, or leads to one, where it is then.
bool TryGoTo(Slot& object, const Assigned& value, const ReflectionByteCode& type)
{
    object = value.m_object;
    return value.m_exchange != nullptr ? IsOfType(object, type) : TryGoToType(object, type);
}

bool StoreObject(const Slot& place, const Assigned& value, const Checks& checks, Failure& failure)
{
    Slot target = place;
    const ReflectionByteCode type = Underlying(target);
    const TypeAt wholeType(target);
    Slot object;
    if (TryGoTo(object, value, wholeType.Get()))
    {
        if (target.m_isConst)
            return FailConst(target, failure);
        if (!CheckMembers(wholeType.Get(), object.m_address, failure))
            return false;
        if (value.m_exchange == nullptr)
            return StoreCopy(target, wholeType, object.m_address, value, checks, failure);
        const auto exchange = [&] { value.m_exchange(target.m_address, object.m_address); };
        exchange();
        return KeepOrUndo(place, value, checks, failure, exchange);
    }
    if (value.m_object.m_bc != nullptr)
    {
        std::string room;
        const Scalar scalar = LoadScalar(value.m_object.GetType(), value.m_object.m_address, room);
        if (scalar.m_kind != Scalar::Kind::None)
            return StoreScalar(place, {.m_scalar = scalar}, checks, failure);
    }
    // Nothing is what an optional or a handle may hold, whatever it is nothing of.
    if (!IsThere(value.m_object) && CanBeNull(type))
        return StoreNull(place, {}, checks, failure);
    if (type.m_bc != nullptr && !IsEmptyOptional(type, target.m_address) && EnterChoice(target))
        return StoreObject(target, value, checks, failure);
    if (type.m_bc != nullptr && IsEmptyOptional(type, target.m_address))
    {
        const ForeignType& optional = type.GetForeignType();
        const Variable changed(type);
        Slot held;
        held.SetPlace(optional.m_choice->Emplace(changed.Get(), 0), optional.GetPartType(0), false);
        if (Slot inside; TryGoTo(inside, value, held.GetType()))
        {
            if (target.m_isConst)
                return FailConst(target, failure);
            if (!StoreObject(held, value, {}, failure))
                return false;
            Exchange(type, target.m_address, changed.Get());
            return KeepOrUndo(place, value, checks, failure, [&] { Exchange(type, target.m_address, changed.Get()); });
        }
    }
    return IsThere(object) ? FailConversion(failure, value.m_object, TextOfType(target).c_str()) : FailNothing(failure);
}

} // namespace

bool StorePlace(const Slot& place, const Assigned& value, const Checks& checks, Failure& failure)
{
    if (value.m_object.m_kind == Kind::Place)
        return StoreObject(place, value, checks, failure);
    return value.m_scalar.m_kind != Scalar::Kind::None ? StoreScalar(place, value, checks, failure)
                                                       : StoreNull(place, value, checks, failure);
}

bool ToAssigned(const Slot& value, Assigned& assigned, std::string& room, Failure& failure)
{
    if (value.m_kind != Kind::Place)
        return ToScalar(value, assigned.m_scalar, room, failure);
    Slot held = value;
    ReflectionByteCode type;
    const ReflectionByteCode outer = Underlying(held);
    if (EnterChoices(held, type) && type.m_bc != nullptr)
        assigned.m_scalar = LoadScalar(type, held.m_address, room);
    // What holds a scalar is assigned whole where it can be.
    if (assigned.m_scalar.m_kind == Scalar::Kind::None || type.m_bc != outer.m_bc)
        assigned.m_object = value;
    return true;
}

bool StorePlace(const Slot& place, const Slot& value, const Checks& checks, Failure& failure)
{
    std::string room;
    Assigned assigned;
    return ToAssigned(value, assigned, room, failure) && StorePlace(place, assigned, checks, failure);
}

// --- Elements --------------------------------------------------------------------------------------------------------

namespace
{

// An entry that is new, and gone again unless it is kept.
class NewEntry
{
public:
    // The key is copied for later; the other one may be moved from.
    NewEntry(const ReflectionByteCode& mapType, void* map, const ReflectionByteCode& keyType, const Scalar& key)
        : m_type(mapType), m_map(map), m_key(keyType)
    {
        kelm::StoreScalar(keyType, m_key.Get(), key);
    }
    ~NewEntry()
    {
        if (m_isMade)
            (m_type.GetCode() == FT_FOREIGN ? m_type.GetForeignType().m_map->Erase
                                            : m_type.m_mapOrSetFns->mapFns->Erase)(m_map, m_key.Get());
    }
    NewEntry(const NewEntry&) = delete;
    NewEntry& operator=(const NewEntry&) = delete;

    void Made() { m_isMade = true; }
    void Keep() { m_isMade = false; }

private:
    ReflectionByteCode m_type;
    void* m_map;
    Variable m_key;
    bool m_isMade = false;
};

// What is assigned, where it may lie in a map that is about to move its entries.
class OwnAssigned
{
public:
    explicit OwnAssigned(const Assigned& value) : m_value(value), m_text(value.m_scalar.m_text)
    {
        m_value.m_scalar.m_text = m_text;
        if (value.m_object.m_kind != Kind::Place || value.m_exchange != nullptr || value.m_object.m_bc == nullptr)
            return;
        m_copy.emplace(value.m_object.GetType());
        CopyVariable(value.m_object.GetType(), m_copy->Get(), value.m_object.m_address);
        m_value.m_object.m_address = m_copy->Get();
    }
    OwnAssigned(const OwnAssigned&) = delete;
    OwnAssigned& operator=(const OwnAssigned&) = delete;

    const Assigned& Get() const { return m_value; }

private:
    Assigned m_value;
    std::string m_text;
    std::optional<Variable> m_copy;
};

bool StoreEntry(const Slot& map, const Scalar& index, const Assigned& value, const Checks& checks, bool& isIndexWrong,
                Failure& failure)
{
    PathSteps steps = StepsFrom(map, PathSteps::Access::Alter);
    const ReflectionByteCode keyType = steps.GetKeyType();
    const Variable key(keyType);
    if (const Fit fit = kelm::StoreScalar(keyType, key.Get(), index); fit != Fit::Fits)
        return FailMisfit(failure, fit, keyType, index);
    Slot entry = map;
    if (steps.TryStepToPayload(key.Get()))
    {
        isIndexWrong = false;
        TakeOver(entry, steps);
        return StorePlace(entry, value, checks, failure);
    }
    Slot whole = map;
    const ReflectionByteCode type = Underlying(whole);
    const bool isSet = type.GetCode() == FT_FOREIGN && type.GetForeignType().m_numParts == 1;
    if (isSet)
        return FailKey(failure, index);
    isIndexWrong = false;
    if (whole.m_isConst)
        return FailConst(whole, failure);
    const OwnAssigned own(value);
    NewEntry made(type, map.m_address, keyType, index);
    PathSteps adding = StepsFrom(map, PathSteps::Access::Write);
    adding.TryStepToPayload(key.Get());
    made.Made();
    TakeOver(entry, adding);
    const bool isStored = StorePlace(entry, own.Get(), checks, failure);
    if (isStored)
        made.Keep();
    return isStored;
}

// Elements that have no address, such as bits.
bool StoreCopy(const Slot& list, const ForeignType& type, const Slot& element, int64 i, const Assigned& value,
               const Checks& checks, Failure& failure)
{
    Slot old = element;
    const ReflectionByteCode elementType = Underlying(old);
    const Variable copy(elementType);
    Slot place;
    place.SetPlace(copy.Get(), elementType, false);
    if (!StorePlace(place, value, {}, failure))
        return false;
    type.m_list->Assign(list.m_address, i, copy.Get());
    return KeepOrUndo(list, value, checks, failure, [&] { type.m_list->Assign(list.m_address, i, old.m_address); });
}

} // namespace

bool StoreElement(const Slot& place, const Scalar& index, const Assigned& value, const Checks& checks,
                  bool& isIndexWrong, Failure& failure)
{
    isIndexWrong = true;
    Slot element = place;
    element.m_holder = nullptr;
    ReflectionByteCode type;
    if (element.m_kind == Kind::Place && !EnterChoices(element, type))
        return FailNothing(failure);
    const Slot list = element;
    if (list.m_kind == Kind::Place && GetWayFrom(type) == PathSteps::Way::Keys)
        return StoreEntry(list, index, value, checks, isIndexWrong, failure);
    if (!StepToElement(element, index, failure))
        return false;
    isIndexWrong = false;
    if (element.m_kind != Kind::Place)
    {
        element.Release();
        return Fail(failure, ErrorKind::Type, "Can't assign to string r-value");
    }
    if (type.m_bc != nullptr && type.GetCode() == FT_FOREIGN && type.GetForeignType().m_list->Assign != nullptr &&
        !list.m_isConst)
        return StoreCopy(list, type.GetForeignType(), element, index.m_int64, value, checks, failure);
    return StorePlace(element, value, checks, failure);
}

bool StoreElement(const Slot& place, const Slot& index, const Slot& value, const Checks& checks, bool& isIndexWrong,
                  Failure& failure)
{
    std::string roomOfKey;
    std::string room;
    Scalar key;
    Assigned assigned;
    isIndexWrong = true;
    if (!ToScalar(index, key, roomOfKey, failure))
        return false;
    isIndexWrong = false;
    if (!ToAssigned(value, assigned, room, failure))
        return false;
    return StoreElement(place, key, assigned, checks, isIndexWrong, failure);
}

} // namespace kelm::evaluation
