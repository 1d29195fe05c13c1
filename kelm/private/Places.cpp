#include <kelm/private/Places.h>

#include <kelm/Convert.h>
#include <kelm/private/Operations.h>
#include <kelm/private/ScopeNames.h>
#include <kelm/private/Texts.h>
#include <klObject/objects/prefbase.h>
#include <klObject/types/ClassModel.h>
#include <klObject/types/EnumIndex.h>
#include <klObject/types/ForeignType.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/values/ReflectedVariable.h>
#include <klUtils/MessageOf.h>
#include <klUtils/VectorOfByte.h>
#include <klUtils/xstring.h>

#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <utility>

namespace kelm::evaluation
{

namespace
{

// The type that a place has behind qualifiers; const ones make the place const.
ReflectionByteCode Underlying(Slot& slot)
{
    ReflectionByteCode type = slot.GetType();
    if ((type.AdvanceToUnderlyingType2() & PASSED_CONST) != 0)
        slot.m_isConst = true;
    return type;
}

template <class T>
T Read(const Slot& slot)
{
    T x;
    std::memcpy(&x, slot.m_address, sizeof x);
    return x;
}

void Become(Slot& slot, Slot value)
{
    slot.Release();
    slot = value;
}

template <class T>
bool LoadScalar(Slot& slot, Failure& failure)
{
    const T x = Read<T>(slot);
    Slot value;
    if constexpr (std::is_same_v<T, bool>)
        value.Set(x);
    else if constexpr (std::is_floating_point_v<T>)
        value.Set(static_cast<float64>(x));
    else
    {
        if constexpr (std::is_same_v<T, uint64>)
            if (x > static_cast<uint64>(std::numeric_limits<int64>::max()))
                return Fail(failure, ErrorKind::Range, "Value " + std::to_string(x) + " is out of range of int64");
        value.Set(static_cast<int64>(x));
    }
    Become(slot, value);
    return true;
}

// A text that lies in what the slot keeps alive goes on to be kept.
bool LoadText(Slot& slot, std::string_view text)
{
    slot.m_kind = Kind::Text;
    slot.m_text = text.data();
    slot.m_size = text.size();
    return true;
}

template <class T>
bool StoreScalar(const Slot& place, const Slot& value, Failure& failure)
{
    T x{};
    if (!Convert(value, x, failure))
        return false;
    std::memcpy(place.m_address, &x, sizeof x);
    return true;
}

// Calls f with a value of the C++ type that a code describes; `isScalar` says whether there is one.
template <class F>
bool WithScalar(ETypeByteCode code, F f, bool& isScalar)
{
    isScalar = true;
    switch (static_cast<int>(code))
    {
    case FT_BOOL: return f(bool());
    case FT_INT8: return f(int8());
    case FT_INT16: return f(int16());
    case FT_INT32: return f(int32());
    case FT_INT64: return f(int64());
    case FT_UINT8: return f(uint8());
    case FT_UINT16: return f(uint16());
    case FT_UINT32: return f(uint32());
    case FT_UINT64: return f(uint64());
    case FT_FLOAT32: return f(float32());
    case FT_FLOAT64: return f(float64());
    default: isScalar = false; return false;
    }
}

void MoveTo(Slot& slot, const ReflectionByteCode& type, void* address)
{
    slot.m_address = address;
    slot.SetType(type);
}

// What an optional, pointer or variant holds, in place of it; the type is that of what is reached. False where there is
// nothing.
bool Enter(Slot& slot, ReflectionByteCode& type)
{
    type = Underlying(slot);
    while (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_CHOICE)
    {
        const ForeignType& choice = type.GetForeignType();
        const int32 part = choice.m_choice->GetIndex(slot.m_address);
        if (part < 0)
            return false;
        MoveTo(slot, choice.GetPartType(part), choice.m_choice->GetValue(slot.m_address));
        type = Underlying(slot);
    }
    return true;
}

bool FailNothing(Failure& failure)
{
    return Fail(failure, ErrorKind::Range, "null dereference");
}

} // namespace

// --- Values ----------------------------------------------------------------------------------------------------------

bool LoadPlace(Slot& slot, Failure& failure)
{
    ReflectionByteCode type;
    if (!Enter(slot, type))
        return FailNothing(failure);
    bool isScalar = false;
    const bool isLoaded = WithScalar(
        type.GetCode(), [&]<class T>(T) { return LoadScalar<T>(slot, failure); }, isScalar);
    if (isScalar)
        return isLoaded;
    if (type.GetCode() == FT_CHAR8)
        return LoadText(slot, {static_cast<const char*>(slot.m_address), 1});
    if (type.GetCode() == FT_STRING8)
        return LoadText(slot, static_cast<const xstring*>(slot.m_address)->operator std::string_view());
    if (type.GetCode() == FT_ENUM)
    {
        const ReflectedEnum* const re = type.GetReflectedEnum();
        const int32 i = re != nullptr ? FindEnumeratorByValue(*re, Read<int32>(slot)) : -1;
        if (i >= 0)
            return LoadText(slot, re->m_strings[i]);
        return LoadScalar<int32>(slot, failure);
    }
    if (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_TEXT)
    {
        char buffer[ForeignTextFns::BufferSize];
        const SubString text = type.GetForeignType().m_text->Get(slot.m_address, buffer);
        const bool isInBuffer = buffer <= text.m_p1 && text.m_p1 <= buffer + sizeof buffer;
        if (!isInBuffer)
            return LoadText(slot, {text.m_p1, static_cast<std::size_t>(text.size())});
        Slot value;
        SetOwnText(value, {text.m_p1, static_cast<std::size_t>(text.size())});
        Become(slot, value);
    }
    return true;
}

namespace
{

bool FailAssignment(Failure& failure, const Slot& place)
{
    return Fail(failure, ErrorKind::Type, "Can't assign to " + NameOfType(place));
}

bool StoreText(const Slot& target, const ReflectionByteCode& type, const Slot& value, Failure& failure)
{
    const bool isForeign = type.GetCode() == FT_FOREIGN;
    if (type.GetCode() != FT_STRING8 && type.GetCode() != FT_ENUM &&
        !(isForeign && type.GetForeignType().GetForm() == FF_TEXT))
        return FailAssignment(failure, target);
    std::string_view text;
    std::string room;
    if (!ToText(value, text, room, failure))
        return false;
    if (type.GetCode() == FT_STRING8)
    {
        *static_cast<xstring*>(target.m_address) = xstring(text);
        return true;
    }
    if (isForeign)
    {
        const ForeignTextFns& fns = *type.GetForeignType().m_text;
        if (fns.Set(target.m_address, text))
            return true;
        return Fail(failure, fns.m_names != nullptr ? ErrorKind::Name : ErrorKind::Type,
                    std::string_view(MessageOf("Expected ", fns.m_what, " when read \"", SubString(text), "\"")));
    }
    const ReflectedEnum* const re = type.GetReflectedEnum();
    const int32 i = re != nullptr ? FindEnumerator(*re, text) : -1;
    if (i < 0)
        return Fail(failure, ErrorKind::Name,
                    std::string_view(
                        MessageOf("Expected ", SubString(NameOfType(target)), " when read \"", SubString(text), "\"")));
    const int32 number = re->GetValue(i);
    std::memcpy(target.m_address, &number, sizeof number);
    return true;
}

bool StoreUnchecked(Slot target, const Slot& value, Failure& failure)
{
    const ReflectionByteCode type = Underlying(target);
    if (target.m_isConst)
        return Fail(failure, ErrorKind::Type, "Can't assign to const " + NameOfType(target));
    if (type.GetCode() == FT_FOREIGN && type.GetForeignType().IsOptional())
    {
        const ForeignType& optional = type.GetForeignType();
        const bool wasEmpty = optional.m_choice->GetIndex(target.m_address) < 0;
        void* const held =
            wasEmpty ? optional.m_choice->Emplace(target.m_address, 0) : optional.m_choice->GetValue(target.m_address);
        Slot payload = target;
        MoveTo(payload, optional.GetPartType(0), held);
        const bool isStored = StoreUnchecked(payload, value, failure);
        if (wasEmpty && !isStored)
            optional.m_choice->Reset(target.m_address);
        return isStored;
    }
    ReflectionByteCode held;
    if (!Enter(target, held))
        return FailNothing(failure);
    bool isScalar = false;
    const bool isStored = WithScalar(
        held.GetCode(), [&]<class T>(T) { return StoreScalar<T>(target, value, failure); }, isScalar);
    return isScalar ? isStored : StoreText(target, held, value, failure);
}

// Undoes what StoreUnchecked does.
class OldValue
{
public:
    explicit OldValue(const Slot& place) : m_place(place), m_value(place)
    {
        m_place.m_holder = m_value.m_holder = nullptr;
        Failure failure;
        ReflectionByteCode type;
        m_wasEmpty = !Enter(m_value, type) || !LoadPlace(m_value, failure);
        if (!m_wasEmpty && m_value.m_kind == Kind::Text && m_value.m_holder == nullptr)
            SetOwnText(m_value, m_value.GetText());
    }
    ~OldValue() { m_value.Release(); }
    OldValue(const OldValue&) = delete;
    OldValue& operator=(const OldValue&) = delete;

    void Restore() const
    {
        Failure failure;
        Slot place = m_place;
        const ReflectionByteCode type = Underlying(place);
        if (m_wasEmpty && type.GetCode() == FT_FOREIGN && type.GetForeignType().IsOptional())
            type.GetForeignType().m_choice->Reset(place.m_address);
        else
            StoreUnchecked(m_place, m_value, failure);
    }

private:
    Slot m_place;
    Slot m_value;
    bool m_wasEmpty = false;
};

bool Check(const Slot& place, const Slot& value, const Checks& checks, Failure& failure)
{
    for (uint32 i = place.m_checks; i != 0; i = checks[i - 1].m_outer)
    {
        const CheckedMember& member = checks[i - 1];
        if (!member.m_rule->m_check(member.m_data))
            return Fail(failure, ErrorKind::Check,
                        std::string_view(MessageOf("Member '", member.m_name, "' of class ", member.m_class->m_name,
                                                   " refuses ", SubString(Written(value)))));
    }
    return true;
}

} // namespace

bool StorePlace(const Slot& place, const Slot& value, const Checks& checks, Failure& failure)
{
    if (place.m_checks == 0)
        return StoreUnchecked(place, value, failure);
    const OldValue old(place);
    if (!StoreUnchecked(place, value, failure))
        return false;
    try
    {
        if (Check(place, value, checks, failure))
            return true;
    }
    catch (...) // the program's
    {
        old.Restore();
        throw;
    }
    old.Restore();
    return false;
}

// --- Steps -----------------------------------------------------------------------------------------------------------

namespace
{

// Through handles, to an instance of a class: whether it is one.
bool GoToInstance(Slot& slot, ReflectionByteCode& type, Failure& failure)
{
    if (!Enter(slot, type))
        return FailNothing(failure);
    ptr<IObject> target;
    switch (static_cast<int>(type.GetCode()))
    {
    case FT_CLASS: return true;
    case FT_PREF:
    case FT_CREF: target = static_cast<const prefbase*>(slot.m_address)->Get(); break;
    case FT_INTERFACE_POINTER: target = Read<ptr<IObject>>(slot); break;
    default: return Fail(failure, ErrorKind::Type, ". not available on " + NameOfType(slot));
    }
    if (!target)
        return FailNothing(failure);
    slot.SetOwner(target);
    slot.m_address = target.self();
    slot.m_isConst = false;
    return true;
}

} // namespace

const ReflectedClass* GoToObject(Slot& slot, Failure& failure)
{
    ReflectionByteCode type;
    if (slot.m_kind != Kind::Place)
        Fail(failure, ErrorKind::Type, ". not available on " + NameOfType(slot));
    else if (GoToInstance(slot, type, failure))
    {
        const ReflectedClass* const rc =
            type.GetCode() == FT_CLASS ? type.GetReflectedClass() : slot.GetOwner().GetReflectedClass();
        if (rc != nullptr)
            return rc;
        Fail(failure, ErrorKind::Internal, "The class " + NameOfType(slot) + " is not registered");
    }
    return nullptr;
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

bool StepToMember(Slot& slot, std::string_view name, Checks& checks, Failure& failure)
{
    const ReflectedClass* const rc = GoToObject(slot, failure);
    if (rc == nullptr)
        return false;
    const ClassModel model = FindClassModel(*rc);
    const ssize_t i = model.m_class != nullptr ? FindPresentModelField(*model.m_class, name, 0) : -1;
    if (i < 0)
    {
        std::vector<std::string> existing;
        for (ssize_t k = 0; model.m_class != nullptr && k < GetModelFieldCount(*model.m_class); ++k)
            if (IsPresent(model.m_class->m_modelFields[k]))
                existing.emplace_back(model.m_class->m_modelFields[k].m_name);
        return FailUnknown(
            failure,
            std::string_view(MessageOf("Identifier ", SubString(name), " is not a model field of class ", rc->m_name)),
            name, std::move(existing));
    }
    const ReflectedModelField& field = model.m_class->m_modelFields[i];
    MoveTo(slot, {field.m_bc, model.m_class->m_stringTable, field.m_mapOrSetFns},
           static_cast<char*>(slot.m_address) + model.m_offset + field.m_offset);
    const FieldRule* const rule = model.m_class->m_rules != nullptr ? &model.m_class->m_rules[i] : nullptr;
    if (rule != nullptr && rule->m_check != nullptr)
    {
        checks.push_back({rule, rc, field.m_name, slot.m_address, slot.m_checks});
        slot.m_checks = static_cast<uint32>(checks.size());
    }
    return true;
}

namespace
{

// A variable of a type that is known at run time.
class Variable
{
public:
    explicit Variable(const ReflectionByteCode& type)
        : m_type(type), m_memory(new char[static_cast<std::size_t>(type.GetTypeSize())])
    {
        ConstructReflectedVariable(m_type, m_memory.get());
    }
    ~Variable() { DestructReflectedVariable(m_type, m_memory.get()); }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

    void* Get() const { return m_memory.get(); }
    Slot GetPlace() const
    {
        Slot place;
        place.SetPlace(m_memory.get(), m_type, false);
        return place;
    }

private:
    ReflectionByteCode m_type;
    std::unique_ptr<char[]> m_memory;
};

// A map, its types, and its entries by key.
class Map
{
public:
    // Of the map that a place is, if it is one.
    explicit Map(const ReflectionByteCode& type)
    {
        if (type.GetCode() == FT_MAP)
        {
            m_fns = type.m_mapOrSetFns->mapFns;
            m_key = type.GetElementType();
            m_payload = m_key;
            m_payload.ScanType();
            m_payload.m_mapOrSetFns = type.m_mapOrSetFns + 1;
        }
        else if (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_MAP &&
                 type.GetForeignType().m_numParts == 2)
        {
            m_foreign = type.GetForeignType().m_map;
            m_key = type.GetForeignType().GetPartType(0);
            m_payload = type.GetForeignType().GetPartType(1);
        }
    }

    explicit operator bool() const { return m_fns != nullptr || m_foreign != nullptr; }
    const ReflectionByteCode& GetKeyType() const { return m_key; }
    const ReflectionByteCode& GetPayloadType() const { return m_payload; }

    void* Find(void* map, const void* key) const
    {
        if (m_foreign != nullptr)
            return m_foreign->Find(map, key);
        struct Search
        {
            const Map* m_map;
            const void* m_key;
            void* m_found;
        } search{this, key, nullptr};
        m_fns->ForEach(
            map,
            [](void* context, const void* k, void* payload)
            {
                Search& s = *static_cast<Search*>(context);
                if (CompareEqReflectedVariable(s.m_map->m_key, k, s.m_map->m_key, s.m_key))
                    s.m_found = payload;
                return s.m_found == nullptr;
            },
            &search);
        return search.m_found;
    }

    // The key may be moved from.
    void* Insert(void* map, void* key) const
    {
        return m_foreign != nullptr ? m_foreign->Insert(map, key) : m_fns->Insert(map, key);
    }

private:
    const MapFns* m_fns = nullptr;
    const ForeignMapFns* m_foreign = nullptr;
    ReflectionByteCode m_key;
    ReflectionByteCode m_payload;
};

bool FailIndex(Failure& failure, ConstStringZ what, int64 i)
{
    return Fail(failure, ErrorKind::Range, std::string_view(MessageOf(what, " index ", i, " out of range")));
}

bool ToIndex(const Slot& slot, int64& i, Failure& failure)
{
    Slot index = slot;
    if (index.m_kind == Kind::Place)
    {
        index.m_holder = nullptr;
        const bool isLoaded = LoadPlace(index, failure);
        if (index.m_kind == Kind::Text)
            index.Release();
        if (!isLoaded)
            return false;
    }
    if (index.m_kind != Kind::Integer)
        return FailConversion(failure, slot, "int64");
    i = index.m_integer;
    return true;
}

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

bool StepInList(Slot& slot, const ReflectionByteCode& type, int64 i, Failure& failure)
{
    if (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_LIST)
    {
        const ForeignType& list = type.GetForeignType();
        if (i < 0 || i >= list.m_list->Count(slot.m_address))
            return FailIndex(failure, list.m_list->m_isFixed ? "Array" : "Vector", i);
        // Elements without an address of their own can be read alone.
        slot.m_isConst = slot.m_isConst || (!list.m_list->m_isFixed && list.m_list->Append == nullptr);
        MoveTo(slot, list.GetElementType(i), list.m_list->At(slot.m_address, i));
        return true;
    }
    const bool isArray = type.GetCode() == FT_ARRAY;
    if (!isArray && type.GetCode() != FT_VECTOR && type.GetCode() != FT_DYNARRAY)
        return Fail(failure, ErrorKind::Type, "[] not available on " + NameOfType(slot));
    const ReflectionByteCode element = isArray ? type.GetElementType() : type.GetTypeBehindByte();
    const ssize_t size = element.GetTypeSize();
    VectorOfByte* const bytes = isArray ? nullptr : static_cast<VectorOfByte*>(slot.m_address);
    if (i < 0 || i >= (isArray ? type.GetArrayCount() : bytes->size() / size))
        return FailIndex(failure, type.GetCode() == FT_VECTOR ? "Vector" : "Array", i);
    MoveTo(slot, element, (isArray ? static_cast<char*>(slot.m_address) : bytes->data()) + i * size);
    return true;
}

// The key as a variable of the map's own.
bool StoreKey(const Variable& key, const Slot& index, Failure& failure)
{
    return StoreUnchecked(key.GetPlace(), index, failure);
}

} // namespace

bool StepToElement(Slot& slot, const Slot& index, Failure& failure)
{
    ReflectionByteCode type;
    if (slot.m_kind == Kind::Place && !Enter(slot, type))
        return FailNothing(failure);
    if (slot.m_kind == Kind::Place)
        if (const Map map(type); map)
        {
            const Variable key(map.GetKeyType());
            if (!StoreKey(key, index, failure))
                return false;
            void* const payload = map.Find(slot.m_address, key.Get());
            if (payload == nullptr)
                return Fail(failure, ErrorKind::Range, "Key " + Written(index) + " is not there");
            MoveTo(slot, map.GetPayloadType(), payload);
            return true;
        }
    const bool isTextPlace =
        slot.m_kind == Kind::Place &&
        (type.GetCode() == FT_STRING8 || (type.GetCode() == FT_FOREIGN && type.GetForeignType().GetForm() == FF_TEXT));
    if (isTextPlace && !LoadPlace(slot, failure))
        return false;
    if (slot.m_kind != Kind::Text && slot.m_kind != Kind::Place)
        return Fail(failure, ErrorKind::Type, "[] not available on " + NameOfType(slot));
    int64 i = 0;
    if (!ToIndex(index, i, failure))
        return false;
    return slot.m_kind == Kind::Text ? StepInText(slot, i, failure) : StepInList(slot, type, i, failure);
}

bool StoreElement(const Slot& place, const Slot& index, const Slot& value, const Checks& checks, bool& isIndexWrong,
                  Failure& failure)
{
    Slot element = place;
    element.m_holder = nullptr;
    ReflectionByteCode type;
    isIndexWrong = true;
    if (element.m_kind == Kind::Place && !Enter(element, type))
        return FailNothing(failure);
    if (element.m_kind == Kind::Place)
        if (const Map map(type); map)
        {
            const Variable key(map.GetKeyType());
            if (!StoreKey(key, index, failure))
                return false;
            isIndexWrong = false;
            void* payload = map.Find(element.m_address, key.Get());
            if (payload == nullptr)
            {
                // Whether the value becomes one of the type is found out before there is an entry.
                const Variable trial(map.GetPayloadType());
                if (element.m_isConst)
                    return Fail(failure, ErrorKind::Type, "Can't assign to const " + NameOfType(element));
                if (!StoreUnchecked(trial.GetPlace(), value, failure))
                    return false;
                payload = map.Insert(element.m_address, key.Get());
            }
            MoveTo(element, map.GetPayloadType(), payload);
            return StorePlace(element, value, checks, failure);
        }
    if (!StepToElement(element, index, failure))
        return false;
    isIndexWrong = false;
    if (element.m_kind != Kind::Place)
    {
        element.Release();
        return Fail(failure, ErrorKind::Type, "Can't assign to string r-value");
    }
    return StorePlace(element, value, checks, failure);
}

bool GetLength(const Slot& slot, std::size_t& length, Failure& failure)
{
    Slot list = slot;
    ReflectionByteCode type;
    if (!Enter(list, type))
        return FailNothing(failure);
    ssize_t count = -1;
    switch (static_cast<int>(type.GetCode()))
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
    if (!Enter(place, type))
        return false;
    switch (static_cast<int>(type.GetCode()))
    {
    case FT_PREF:
    case FT_CREF: return static_cast<bool>(static_cast<const prefbase*>(place.m_address)->Get());
    case FT_INTERFACE_POINTER: return static_cast<bool>(Read<ptr<IObject>>(place));
    default: return true;
    }
}

bool Load(Slot& slot, Failure& failure)
{
    return slot.m_kind != Kind::Place || LoadPlace(slot, failure);
}

} // namespace kelm::evaluation
