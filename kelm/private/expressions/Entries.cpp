// The entries of a map or a set as a list, for what goes through lists by index.

#include <kelm/private/values/CopyVariable.h>
#include <kelm/private/values/PlaceSteps.h>
#include <kelm/private/values/Variable.h>
#include <klObject/types/ForeignType.h>

#include <deque>
#include <vector>

namespace kelm::evaluation
{

namespace
{

// A list of places. Its type is made with it: a record as foreign types have it, and byte code that leads there.
struct Entries : Holder
{
    static ssize_t Count(const void* list) { return static_cast<ssize_t>(Of(list).size()); }
    static void* At(void* list, ssize_t i) { return Of(list)[static_cast<std::size_t>(i)]; }
    static const std::vector<void*>& Of(const void* list) { return *static_cast<const std::vector<void*>*>(list); }
    static constexpr ForeignListFns s_fns = {.Count = Count,
                                             .At = At,
                                             .Append = nullptr,
                                             .AppendCopies = nullptr,
                                             .Clear = nullptr,
                                             .m_isFixed = false,
                                             .m_isContiguous = false};
    static constexpr uint8 s_byteCode[] = {FT_FOREIGN, 0, 0};

    Entries(const Slot& container, const ReflectionByteCode& elementType, const ReflectionByteCode& keyType, bool isSet,
            bool mayChange)
        : m_container(container)
        , m_keyType(keyType)
        , m_isSet(isSet)
        , m_mayChange(mayChange)
        , m_part{elementType.m_bc, elementType.m_stringTable, elementType.m_mapOrSetFns}
    {
        m_destroy = [](Holder* holder) noexcept
        {
            auto* const entries = static_cast<Entries*>(holder);
            entries->m_container.Release();
            delete entries;
        };
        m_type.m_form = FF_LIST;
        m_type.m_size = sizeof(decltype(m_entries));
        m_type.m_parts = &m_part;
        m_type.m_numParts = 1;
        m_type.m_list = &s_fns;
        m_type.m_name = "entries";
    }

    // Of a map the payloads, of a set the elements.
    static bool Add(void* context, const void* key, void* payload)
    {
        auto& self = *static_cast<Entries*>(context);
        if (self.m_mayChange)
        {
            const Variable& copy = self.m_keys.emplace_back(self.m_keyType);
            CopyVariable(self.m_keyType, copy.Get(), key);
        }
        self.m_entries.push_back(payload != nullptr ? payload : const_cast<void*>(key));
        return true;
    }

    // By its key, which is the element in a set.
    bool Find(std::size_t i, Slot& element, Failure& failure) const
    {
        if (m_isSet)
        {
            element.SetPlace(m_keys[i].Get(), m_keyType, true);
            return true;
        }
        Slot container = m_container;
        if (GetWayFrom(Underlying(container)) != PathSteps::Way::Keys) // the scope's object is another one
            return Fail(failure, ErrorKind::Type, "No list but " + TextOfType(container));
        const Variable key(m_keyType); // of which a search may take the value
        CopyVariable(m_keyType, key.Get(), m_keys[i].Get());
        PathSteps steps = StepsFrom(m_container, PathSteps::Access::Read);
        if (!steps.TryStepToPayload(key.Get()))
        {
            std::string room;
            return FailKey(failure, LoadScalar(m_keyType, m_keys[i].Get(), room));
        }
        TakeOver(element, steps);
        return true;
    }

    Slot m_container;
    ReflectionByteCode m_keyType;
    bool m_isSet;
    bool m_mayChange;
    std::deque<Variable> m_keys;
    std::vector<void*> m_entries;
    ForeignPart m_part;
    ForeignType m_type{};
    const ConstStringZ m_stringTable[1] = {&m_type.m_form};
};

} // namespace

bool GoToList(Slot& slot, bool mayChange, Failure& failure)
{
    ReflectionByteCode type;
    if (slot.m_kind != Kind::Place)
        return true;
    if (!EnterChoices(slot, type))
        return FailNothing(failure);
    const ETypeByteCode code = type.m_bc != nullptr ? type.GetCode() : FT_CLASS;
    const bool isForeign = code == FT_FOREIGN && type.GetForeignType().GetForm() == FF_MAP;
    if (!isForeign && code != FT_MAP && code != FT_SET)
        return true;
    const bool isSet = isForeign ? type.GetForeignType().m_numParts == 1 : code == FT_SET;
    ReflectionByteCode elementType =
        isForeign ? type.GetForeignType().GetPartType(isSet ? 0 : 1) : type.GetElementType();
    if (code == FT_MAP)
    {
        elementType.ScanType();
        elementType.m_mapOrSetFns = type.m_mapOrSetFns + 1;
    }
    const ReflectionByteCode keyType = isForeign ? type.GetForeignType().GetPartType(0) : type.GetElementType();
    auto entries = std::make_unique<Entries>(slot, elementType, keyType, isSet, mayChange);
    const auto forEach = isForeign        ? type.GetForeignType().m_map->ForEach
                         : code == FT_MAP ? type.m_mapOrSetFns->mapFns->ForEach
                                          : nullptr;
    if (forEach != nullptr)
        forEach(slot.m_address, Entries::Add, entries.get());
    else
        type.m_mapOrSetFns->setFns->ForEach(slot.m_address, Entries::Add, entries.get());
    Slot list;
    list.SetPlace(&entries->m_entries, {Entries::s_byteCode, entries->m_stringTable}, slot.m_isConst || isSet);
    list.SetOwner(slot.GetOwner());
    list.m_holder = entries.release(); // which keeps what the slot kept
    slot = list;
    return true;
}

bool IsListOfEntries(const Slot& slot)
{
    return slot.m_kind == Kind::Place && slot.m_bc == Entries::s_byteCode;
}

bool GetElement(const Slot& list, const Slot& index, Slot& element, Failure& failure)
{
    element = list;
    element.m_holder = nullptr;
    if (!IsListOfEntries(list))
        return StepToElement(element, index, failure);
    const auto& entries = *static_cast<const Entries*>(list.m_holder);
    return entries.m_mayChange ? entries.Find(static_cast<std::size_t>(index.m_integer), element, failure)
                               : StepToElement(element, index, failure);
}

bool SetContainer(Slot& list, const Slot& container, Failure& failure)
{
    Slot there = container;
    ReflectionByteCode type;
    if (there.m_kind != Kind::Place || !EnterChoices(there, type))
        return FailNothing(failure);
    there.Retain();
    auto& entries = *static_cast<Entries*>(list.m_holder);
    entries.m_container.Release();
    entries.m_container = there;
    return true;
}

} // namespace kelm::evaluation
