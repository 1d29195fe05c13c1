#include <klObject/types/Registry.h>

#include <klObject/types/EnumIndex.h>
#include <klObject/types/FieldIndex.h>
#include <klObject/types/VariantIndex.h>
#include <klObject/types/private/DescriptionChecks.h>
#include <klObject/types/private/TextHash.h>
#include <klUtils/KelmAssertionError.h>
#include <klUtils/private/KeepMapped.h>
#include <klUtils/text/QualifiedName.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace kelm
{

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klObject/types/Registry";

enum EEntryKind : uint8
{
    ENTRY_NAMESPACE,
    ENTRY_CLASS,
    ENTRY_VARIANT,
    ENTRY_ENUM,
    ENTRY_TYPEDEF,
    ENTRY_INTERFACE,
    ENTRY_GLOBAL_FUNCTION,
};

template <class Descriptor>
constexpr EEntryKind KindOf = ENTRY_NAMESPACE;
template <>
constexpr EEntryKind KindOf<ReflectedClass> = ENTRY_CLASS;
template <>
constexpr EEntryKind KindOf<ReflectedVariant> = ENTRY_VARIANT;
template <>
constexpr EEntryKind KindOf<ReflectedEnum> = ENTRY_ENUM;
template <>
constexpr EEntryKind KindOf<ReflectedTypedef> = ENTRY_TYPEDEF;
template <>
constexpr EEntryKind KindOf<ReflectedInterface> = ENTRY_INTERFACE;
template <>
constexpr EEntryKind KindOf<ReflectedGlobalFunction> = ENTRY_GLOBAL_FUNCTION;

// A registered descriptor, or a namespace that such a one's name implies. Lives until the process ends.
struct Entry
{
    SubString m_name; // in the text of a descriptor's name
    EEntryKind m_kind;
    const void* m_descriptor;
    XTarget* m_target;
    std::shared_ptr<const void> m_index; // of a descriptor that has one
};

// Entries by name, open addressing. Readers take no lock: a slot goes from null to its entry once, and a table that
// grows is replaced by a larger copy while the old one stays for those who still read it.
class Table
{
public:
    explicit Table(std::size_t size) : m_slots(size), m_mask(size - 1) {}

    std::size_t size() const { return m_slots.size(); }

    const Entry* Find(SubString name) const
    {
        for (std::size_t i = HashOfText(name) & m_mask;; i = (i + 1) & m_mask)
        {
            const Entry* entry = m_slots[i].load(std::memory_order_acquire);
            if (entry == nullptr || IsSameText(entry->m_name, name))
                return entry;
        }
    }

    void Insert(const Entry& entry) noexcept
    {
        std::size_t i = HashOfText(entry.m_name) & m_mask;
        while (m_slots[i].load(std::memory_order_relaxed) != nullptr)
            i = (i + 1) & m_mask;
        m_slots[i].store(&entry, std::memory_order_release);
    }

private:
    std::vector<std::atomic<const Entry*>> m_slots; // a power of two, never more than half of them taken
    std::size_t m_mask;
};

class Registry
{
public:
    const Entry* Find(SubString name) const { return m_table.load(std::memory_order_acquire)->Find(name); }

    template <class Descriptor>
    ENameSpaceError Register(const Descriptor* descriptor, XTarget* target);

    template <class Descriptor>
    xvector<const Descriptor*> GetAll() const;

private:
    ENameSpaceError CheckNamespacesOf(SubString name) const;
    template <class Descriptor, class Index>
    void AddWithIndex(const Descriptor& descriptor, std::unique_ptr<const Index> index, const Index*& published,
                      XTarget* target);
    void Add(SubString name, EEntryKind kind, const void* descriptor, XTarget* target,
             std::shared_ptr<const void> index);
    Table& MakeRoomFor(std::size_t added);

    mutable std::mutex m_mutex; // held while registering
    DescriptionChecks m_checks;
    std::vector<std::unique_ptr<Entry>> m_entries;
    std::vector<std::unique_ptr<Table>> m_tables = MakeFirstTable(); // the last one is in use
    std::atomic<const Table*> m_table = m_tables.back().get();

    static std::vector<std::unique_ptr<Table>> MakeFirstTable()
    {
        std::vector<std::unique_ptr<Table>> tables;
        tables.push_back(std::make_unique<Table>(256));
        return tables;
    }
};

// Never destroyed: threads may look names up until the very end.
Registry& GetRegistry()
{
    static Registry& registry = *new Registry;
    return registry;
}

ENameSpaceError CheckSyntax(ConstStringZ name)
{
    switch (FindNameFault(name)) // GCOVR_EXCL_BR_LINE: one case for each
    {
    case NAME_OK: break;
    case NAME_LACKS_IDENTIFIER: return NSE_IDENTIFIER_EXPECTED;
    case NAME_LACKS_COLONS: return NSE_COLON_EXPECTED;
    }
    return NSE_OK;
}

// The namespace in which a name lies; empty for a name of the outermost one.
SubString GetNamespaceOf(SubString name)
{
    const char* end = name.m_p2;
    while (end != name.m_p1 && end[-1] != ':')
        --end;
    return {name.m_p1, end == name.m_p1 ? end : end - 2};
}

ENameSpaceError Registry::CheckNamespacesOf(SubString name) const
{
    for (SubString outer = GetNamespaceOf(name); !outer.empty(); outer = GetNamespaceOf(outer))
        if (const Entry* entry = Find(outer)) // with all that are around it
            return entry->m_kind == ENTRY_NAMESPACE ? NSE_OK : NSE_NOT_A_NAMESPACE;
    return NSE_OK;
}

template <class Descriptor>
ENameSpaceError Registry::Register(const Descriptor* descriptor, XTarget* target)
{
    if (descriptor == nullptr || descriptor->m_name == nullptr)
        return NSE_NAME_NOT_FOUND;
    if (const ENameSpaceError error = CheckSyntax(descriptor->m_name))
        return error;

    const SubString name = descriptor->m_name;
    const std::lock_guard lock(m_mutex);
    if (const ENameSpaceError error = CheckNamespacesOf(name))
        return error;
    if (Find(name) != nullptr)
        return NSE_NAME_ALREADY_IN_USE;

    constexpr bool isChecked = requires
    {
        m_checks.Check(*descriptor);
    };
    if constexpr (isChecked)
        m_checks.Check(*descriptor);
    KeepMapped(descriptor);
    if constexpr (KindOf<Descriptor> == ENTRY_CLASS)
        AddWithIndex(*descriptor, MakeFieldIndex(*descriptor), descriptor->m_fieldIndex, target);
    else if constexpr (KindOf<Descriptor> == ENTRY_ENUM)
        AddWithIndex(*descriptor, MakeEnumIndex(*descriptor), descriptor->m_index, target);
    else if constexpr (KindOf<Descriptor> == ENTRY_VARIANT)
        AddWithIndex(*descriptor, MakeVariantIndex(*descriptor), descriptor->m_index, target);
    else
        Add(name, KindOf<Descriptor>, descriptor, target, nullptr);
    if constexpr (isChecked)
        m_checks.Commit();
    return NSE_OK;
}

// The index is published once the descriptor is there to stay.
template <class Descriptor, class Index>
void Registry::AddWithIndex(const Descriptor& descriptor, std::unique_ptr<const Index> index, const Index*& published,
                            XTarget* target)
{
    const Index* const made = index.get();
    Add(descriptor.m_name, KindOf<Descriptor>, &descriptor, target, std::shared_ptr<const Index>(std::move(index)));
    std::atomic_ref<const Index*>(published).store(made, std::memory_order_release);
}

// Adds the descriptor and the namespaces that its name implies: all of them, or none where memory runs out.
void Registry::Add(SubString name, EEntryKind kind, const void* descriptor, XTarget* target,
                   std::shared_ptr<const void> index)
{
    std::vector<std::unique_ptr<Entry>> fresh;
    for (SubString outer = GetNamespaceOf(name); !outer.empty() && Find(outer) == nullptr;
         outer = GetNamespaceOf(outer))
        fresh.push_back(std::make_unique<Entry>(Entry{outer, ENTRY_NAMESPACE, nullptr, nullptr, nullptr}));
    fresh.push_back(std::make_unique<Entry>(Entry{name, kind, descriptor, target, std::move(index)}));

    if (const std::size_t size = m_entries.size() + fresh.size(); size > m_entries.capacity())
        m_entries.reserve(2 * size);
    Table& table = MakeRoomFor(fresh.size());
    for (std::unique_ptr<Entry>& entry : fresh)
    {
        table.Insert(*entry);
        m_entries.push_back(std::move(entry));
    }
}

Table& Registry::MakeRoomFor(std::size_t added)
{
    std::size_t size = m_tables.back()->size();
    if (2 * (m_entries.size() + added) > size)
    {
        while (2 * (m_entries.size() + added) > size)
            size *= 2;
        auto larger = std::make_unique<Table>(size);
        for (const std::unique_ptr<Entry>& entry : m_entries)
            larger->Insert(*entry);
        m_tables.push_back(std::move(larger));
        m_table.store(m_tables.back().get(), std::memory_order_release);
    }
    return *m_tables.back();
}

template <class Descriptor>
xvector<const Descriptor*> Registry::GetAll() const
{
    xvector<const Descriptor*> all;
    const std::lock_guard lock(m_mutex);
    for (const std::unique_ptr<Entry>& entry : m_entries)
        if (entry->m_kind == KindOf<Descriptor>)
            all.push_back(static_cast<const Descriptor*>(entry->m_descriptor));
    std::sort(all.begin(), all.end(),
              [](const Descriptor* a, const Descriptor* b) { return std::strcmp(a->m_name, b->m_name) < 0; });
    return all;
}

template <class Descriptor>
const Descriptor* FindRegistered(ConstStringZ name)
{
    const Entry* entry = name != nullptr ? GetRegistry().Find(name) : nullptr;
    return entry != nullptr && entry->m_kind == KindOf<Descriptor> ? static_cast<const Descriptor*>(entry->m_descriptor)
                                                                   : nullptr;
}

} // namespace

// That the text is the descriptor's name is checked each time, since other text may come to lie at that address.
template <class Descriptor>
const Descriptor* FoundDescriptors<Descriptor>::FindByText(ConstStringZ name)
{
    if (name == nullptr)
        return nullptr;
    std::atomic<const Descriptor*>& slot = SlotOf(name);
    const Descriptor* const before = slot.load(std::memory_order_acquire);
    if (before != nullptr && std::strcmp(before->m_name, name) == 0)
        return before;
    const Descriptor* const found = FindRegistered<Descriptor>(name);
    if (found != nullptr)
        slot.store(found, std::memory_order_release);
    return found;
}

template class FoundDescriptors<ReflectedClass>;
template class FoundDescriptors<ReflectedVariant>;
template class FoundDescriptors<ReflectedEnum>;
template class FoundDescriptors<ReflectedTypedef>;

constinit FoundDescriptors<ReflectedClass> s_foundClasses;
constinit FoundDescriptors<ReflectedVariant> s_foundVariants;
constinit FoundDescriptors<ReflectedEnum> s_foundEnums;
constinit FoundDescriptors<ReflectedTypedef> s_foundTypedefs;

ENameSpaceError RegisterReflectedClass(const ReflectedClass* descriptor, XTarget* target)
{
    return GetRegistry().Register(descriptor, target);
}

ENameSpaceError RegisterReflectedVariant(const ReflectedVariant* descriptor, XTarget* target)
{
    return GetRegistry().Register(descriptor, target);
}

ENameSpaceError RegisterReflectedEnum(const ReflectedEnum* descriptor, XTarget* target)
{
    return GetRegistry().Register(descriptor, target);
}

ENameSpaceError RegisterReflectedTypedef(const ReflectedTypedef* descriptor, XTarget* target)
{
    return GetRegistry().Register(descriptor, target);
}

ENameSpaceError RegisterReflectedInterface(const ReflectedInterface* descriptor, XTarget* target)
{
    return GetRegistry().Register(descriptor, target);
}

ENameSpaceError RegisterReflectedGlobalFunction(const ReflectedGlobalFunction* descriptor, XTarget* target)
{
    return GetRegistry().Register(descriptor, target);
}

const ReflectedClass& FindReflectedClass(ConstStringZ name)
{
    const ReflectedClass* rc = TryFindReflectedClass(name);
    KELM_ASSERT(rc);
    return *rc;
}

const ReflectedInterface* TryFindReflectedInterface(ConstStringZ name)
{
    return FindRegistered<ReflectedInterface>(name);
}

const ReflectedGlobalFunction* TryFindReflectedGlobalFunction(ConstStringZ name)
{
    return FindRegistered<ReflectedGlobalFunction>(name);
}

XTarget* GetTargetOfName(ConstStringZ name)
{
    const Entry* entry = name != nullptr ? GetRegistry().Find(name) : nullptr;
    return entry != nullptr ? entry->m_target : nullptr;
}

xvector<const ReflectedClass*> GetReflectedClasses()
{
    return GetRegistry().GetAll<ReflectedClass>();
}

xvector<const ReflectedVariant*> GetReflectedVariants()
{
    return GetRegistry().GetAll<ReflectedVariant>();
}

xvector<const ReflectedEnum*> GetReflectedEnums()
{
    return GetRegistry().GetAll<ReflectedEnum>();
}

xvector<const ReflectedTypedef*> GetReflectedTypedefs()
{
    return GetRegistry().GetAll<ReflectedTypedef>();
}

xvector<const ReflectedInterface*> GetReflectedInterfaces()
{
    return GetRegistry().GetAll<ReflectedInterface>();
}

xvector<const ReflectedGlobalFunction*> GetReflectedGlobalFunctions()
{
    return GetRegistry().GetAll<ReflectedGlobalFunction>();
}

} // namespace kelm
