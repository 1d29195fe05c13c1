#include <host/klObject/GraphNode.h>
#include <support/Expect.h>

#include <klObject/types/Registry.h>
#include <klPersistStore/ObjectStore.h>
#include <klPersistStore/klPersistStore.h>

#include <map>
#include <set>
#include <thread>
#include <vector>

namespace kelm::test
{
namespace
{

ObjectId IdOf(ptr<IPersistable> object)
{
    return object.fns()->GetObjectId(object.self());
}

void SetId(ptr<IPersistable> object, ObjectId id)
{
    object.fns()->SetObjectId(object.self(), id);
}

// With an empty store, and without garbage before and after.
class ObjectStore : public ::testing::Test
{
protected:
    ObjectStore() { Empty(); }
    ~ObjectStore() override
    {
        SetObjectStore(nullptr);
        Empty();
    }

private:
    static void Empty()
    {
        ClearInMemoryObjectStore();
        CollectGarbage();
    }
};

using InMemoryObjectStore = ObjectStore;

TEST_F(InMemoryObjectStore, GivesObjectsAnIdentityAndFindsThem)
{
    const ptr<IPersistable> first = NewPersistableNode(1);
    const ptr<IPersistable> second = NewPersistableNode(2);
    const ObjectId firstId = GetObjectStore().Store(first);
    const ObjectId secondId = GetObjectStore().Store(second);
    EXPECT_NE(firstId, 0);
    EXPECT_NE(firstId, secondId);
    EXPECT_EQ(IdOf(first), firstId);
    EXPECT_EQ(GetObjectStore().Load(firstId), first);
    EXPECT_EQ(GetObjectStore().Load(secondId), second);
}

TEST_F(InMemoryObjectStore, FindsNothingElse)
{
    const ObjectId id = GetObjectStore().Store(NewPersistableNode());
    EXPECT_EQ(GetObjectStore().Load(0), nullptr);
    EXPECT_EQ(GetObjectStore().Load(-1), nullptr);
    EXPECT_EQ(GetObjectStore().Load(id + 1), nullptr);
}

TEST_F(InMemoryObjectStore, LetsAnObjectKeepItsIdentity)
{
    const ptr<IPersistable> object = NewPersistableNode();
    const ObjectId id = GetObjectStore().Store(object);
    EXPECT_EQ(GetObjectStore().Store(object), id);

    const ptr<IPersistable> own = NewPersistableNode();
    SetId(own, -77);
    EXPECT_EQ(GetObjectStore().Store(own), -77);
    EXPECT_EQ(GetObjectStore().Load(-77), own);
}

TEST_F(InMemoryObjectStore, PutsAnObjectInThePlaceOfOneWithItsIdentity)
{
    const ptr<IPersistable> old = NewPersistableNode(1);
    const ptr<IPersistable> renewed = NewPersistableNode(2);
    SetId(old, 500);
    SetId(renewed, 500);
    GetObjectStore().Store(old);
    GetObjectStore().Store(renewed);
    EXPECT_EQ(GetObjectStore().Load(500), renewed);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

TEST_F(InMemoryObjectStore, PassesOverIdentitiesThatObjectsBrought)
{
    const ObjectId id = GetObjectStore().Store(NewPersistableNode());
    const ptr<IPersistable> own = NewPersistableNode();
    SetId(own, id + 1);
    GetObjectStore().Store(own);
    EXPECT_EQ(GetObjectStore().Store(NewPersistableNode()), id + 2);
    EXPECT_EQ(GetObjectStore().Load(id + 1), own);
}

TEST_F(InMemoryObjectStore, RefusesNull)
{
    EXPECT_TRUE(FailsAssertion([] { GetObjectStore().Store(nullptr); }, "object", "host/klPersistStore/ObjectStore"));
}

TEST_F(InMemoryObjectStore, KeepsItsObjectsAndWhatTheyReachAliveUntilItIsCleared)
{
    const ptr<IPersistable> stored = NewPersistableNode(1);
    NodeOf(stored).m_next = NewNode(2);
    GetObjectStore().Store(stored);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    EXPECT_EQ(NodeOf(NodeOf(stored).m_next).m_value, 2);
    ClearInMemoryObjectStore();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 2);
}

TEST_F(InMemoryObjectStore, UsesNoIdentityAgainAfterItWasCleared)
{
    const ObjectId id = GetObjectStore().Store(NewPersistableNode());
    ClearInMemoryObjectStore();
    EXPECT_EQ(GetObjectStore().Load(id), nullptr);
    EXPECT_GT(GetObjectStore().Store(NewPersistableNode()), id);
}

TEST_F(InMemoryObjectStore, IsUsedFromAnyThread)
{
    constexpr int perThread = 500;
    static std::vector<ObjectId> s_ids[4];
    std::vector<std::thread> threads;
    for (std::vector<ObjectId>& ids : s_ids)
        threads.emplace_back(
            [&ids]
            {
                for (int i = 0; i < perThread; ++i)
                {
                    const ptr<IPersistable> object = NewPersistableNode(i);
                    ids.push_back(GetObjectStore().Store(object));
                    EXPECT_EQ(GetObjectStore().Load(ids.back()), object);
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    std::set<ObjectId> all;
    for (const std::vector<ObjectId>& ids : s_ids)
        all.insert(ids.begin(), ids.end());
    EXPECT_EQ(all.size(), 4u * perThread);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
}

// A store that makes its objects when they are asked for, as one that reads a file would.
class MakingStore final : public IObjectStore
{
public:
    ptr<IPersistable> Load(ObjectId id) override
    {
        ++m_loads;
        if (id <= 0)
            return nullptr;
        const ptr<IPersistable> object = NewPersistableNode(static_cast<int32>(id));
        SetId(object, id);
        return object;
    }
    ObjectId Store(ptr<IPersistable>) override { return 0; }

    int m_loads = 0;
};

TEST_F(ObjectStore, IsTheHostsWhileItIsInstalled)
{
    MakingStore store;
    IObjectStore& inMemory = GetObjectStore();
    SetObjectStore(&store);
    EXPECT_EQ(&GetObjectStore(), &store);
    SetObjectStore(nullptr);
    EXPECT_EQ(&GetObjectStore(), &inMemory);
}

TEST_F(ObjectStore, IsWhereReferencesLoadFrom)
{
    Register_Project_klPersistStore();
    const ptr<IPersistable> stored = NewPersistableNode(5);
    prefbase reference;
    reference.SetObjectId(GetObjectStore().Store(stored));
    EXPECT_EQ(reference.Get(), stored);

    MakingStore store;
    SetObjectStore(&store);
    reference.SetObjectId(12);
    EXPECT_EQ(NodeOf(reference.Get()).m_value, 12);
    EXPECT_EQ(NodeOf(reference.Get()).m_value, 12);
    EXPECT_EQ(store.m_loads, 1);
    reference.SetObjectId(-12);
    EXPECT_EQ(reference.Get(), nullptr);
}

TEST_F(ObjectStore, LoadsObjectsThatTheReferenceThenKeepsAlive)
{
    Register_Project_klPersistStore();
    MakingStore store;
    SetObjectStore(&store);
    const GcRoot root(NewNode());
    NodeOf(root.get()).m_reference.SetObjectId(3);
    NodeOf(root.get()).m_reference.Get();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    EXPECT_EQ(NodeOf(NodeOf(root.get()).m_reference.Get()).m_value, 3);
    EXPECT_EQ(store.m_loads, 1);
}

TEST(PersistStoreProject, RegistersTheObjectProject)
{
    Register_Project_klPersistStore();
    EXPECT_NE(TryFindReflectedInterface("kelm::IPersistable"), nullptr);
}

TEST(PersistStoreProject, InstallsItsLoaderOnce)
{
    Register_Project_klPersistStore();
    SetObjectLoader(nullptr, nullptr);
    Unregister_Project_klPersistStore();
    Unregister_Project_klPersistStore();
    Register_Project_klPersistStore();
    prefbase reference;
    reference.SetObjectId(GetObjectStore().Store(NewPersistableNode()));
    EXPECT_EQ(reference.Get(), nullptr);
    // As the registration left it, for the other tests of this program.
    SetObjectLoader([](ObjectId id, void*) { return GetObjectStore().Load(id); }, nullptr);
}

} // namespace
} // namespace kelm::test
