#include <klPersistStore/ObjectStore.h>

#include <klObject/objects/Collector.h>
#include <klUtils/KelmAssertionError.h>

#include <atomic>
#include <mutex>
#include <unordered_map>

namespace kelm
{

IObjectStore::~IObjectStore() = default;

namespace
{

constexpr ConstStringZ s_sourceFile = "host/klPersistStore/ObjectStore";

class InMemoryObjectStore final : public IObjectStore
{
public:
    ptr<IPersistable> Load(ObjectId id) override
    {
        const std::lock_guard lock(m_mutex);
        const auto entry = m_entries.find(id);
        return entry != m_entries.end() ? entry->second.m_object : nullptr;
    }

    ObjectId Store(ptr<IPersistable> object) override
    {
        KELM_ASSERT(object);
        const std::lock_guard lock(m_mutex);
        ObjectId id = object.fns()->GetObjectId(object.self());
        const bool isNew = id == 0;
        if (isNew)
            id = NextId();
        m_entries.insert_or_assign(id, Entry(object));
        if (isNew)
            object.fns()->SetObjectId(object.self(), id);
        return id;
    }

    void Clear()
    {
        const std::lock_guard lock(m_mutex);
        m_entries.clear();
    }

private:
    struct Entry
    {
        explicit Entry(ptr<IPersistable> object) : m_object(object), m_root(object) {}

        ptr<IPersistable> m_object;
        GcRoot m_root;
    };

    // Identities are never used again, and those that objects brought along are passed over.
    ObjectId NextId()
    {
        do
            ++m_lastId;
        while (m_entries.contains(m_lastId));
        return m_lastId;
    }

    std::mutex m_mutex;
    std::unordered_map<ObjectId, Entry> m_entries;
    ObjectId m_lastId = 0;
};

// Never destroyed: objects may be looked up until the very end of the process.
InMemoryObjectStore& GetInMemoryObjectStore()
{
    static InMemoryObjectStore& store = *new InMemoryObjectStore;
    return store;
}

constinit std::atomic<IObjectStore*> s_installedStore = nullptr;

} // namespace

IObjectStore& GetObjectStore()
{
    IObjectStore* const installed = s_installedStore;
    return installed != nullptr ? *installed : GetInMemoryObjectStore();
}

void SetObjectStore(IObjectStore* store)
{
    s_installedStore = store;
}

void ClearInMemoryObjectStore()
{
    GetInMemoryObjectStore().Clear();
}

} // namespace kelm
