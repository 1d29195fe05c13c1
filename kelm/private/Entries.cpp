// The entries of a map or a set as a list, for what goes through lists by index.

#include <kelm/private/PlaceSteps.h>
#include <klObject/types/ForeignType.h>

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

    Entries(const Slot& container, const ReflectionByteCode& elementType)
        : m_container(container), m_part{elementType.m_bc, elementType.m_stringTable, elementType.m_mapOrSetFns}
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
        static_cast<Entries*>(context)->m_entries.push_back(payload != nullptr ? payload : const_cast<void*>(key));
        return true;
    }

    Slot m_container;
    std::vector<void*> m_entries;
    ForeignPart m_part;
    ForeignType m_type{};
    const ConstStringZ m_stringTable[1] = {&m_type.m_form};
};

} // namespace

bool GoToList(Slot& slot, Failure& failure)
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
    auto entries = std::make_unique<Entries>(slot, elementType);
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

} // namespace kelm::evaluation
