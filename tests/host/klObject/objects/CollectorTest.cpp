#include <host/klObject/GraphNode.h>
#include <support/Expect.h>
#include <support/OutOfMemory.h>

#include <klObject/objects/Collector.h>

#include <gmock/gmock.h>

#include <memory>
#include <new>
#include <string>
#include <thread>
#include <vector>

namespace kelm::test
{
namespace
{

using ::testing::ElementsAre;

// Begins without garbage and leaves none behind.
class Collection : public ::testing::Test
{
protected:
    Collection() { CollectGarbage(); }
    ~Collection() override
    {
        GraphNode::s_onGarbageCollect = nullptr;
        GraphNode::s_onDestroy = nullptr;
        CollectGarbage();
        EXPECT_EQ(GraphNode::s_live, 0);
    }
};

TEST_F(Collection, FreesWhatNoRootReaches)
{
    NewNode();
    NewNode();
    EXPECT_EQ(GraphNode::s_live, 2);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 2);
    EXPECT_EQ(GraphNode::s_live, 0);
}

TEST_F(Collection, HappensOnRequestAlone)
{
    for (int i = 0; i < 1000; ++i)
        NewNode();
    EXPECT_EQ(GraphNode::s_live, 1000);
}

TEST_F(Collection, KeepsWhatARootDesignates)
{
    const GcRoot root(NewNode(7));
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    EXPECT_EQ(NodeOf(root.get()).m_value, 7);
}

TEST_F(Collection, KeepsWhatReachedObjectsHold)
{
    const GcRoot root(NewNode(1));
    NodeOf(root.get()).m_next = NewNode(2);
    NodeOf(NodeOf(root.get()).m_next).m_next = NewNode(3);
    NewNode(4);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(NodeOf(NodeOf(NodeOf(root.get()).m_next).m_next).m_value, 3);
}

TEST_F(Collection, KeepsWhatALoadedReferenceDesignates)
{
    const GcRoot root(NewNode());
    NodeOf(root.get()).m_reference.Set(NewPersistableNode(5));
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    EXPECT_EQ(NodeOf(NodeOf(root.get()).m_reference.GetLoaded()).m_value, 5);
}

TEST_F(Collection, FreesWhatIsNoLongerReached)
{
    const GcRoot root(NewNode());
    NodeOf(root.get()).m_next = NewNode();
    CollectGarbage();
    NodeOf(root.get()).m_next = nullptr;
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(GraphNode::s_live, 1);
}

TEST_F(Collection, KeepsASharedObjectAsLongAsOneHolderIsReached)
{
    const ptr<IObject> shared = NewNode();
    const GcRoot first(NewNode());
    GcRoot second(NewNode());
    NodeOf(first.get()).m_next = shared;
    NodeOf(second.get()).m_next = shared;
    second = nullptr;
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(GraphNode::s_live, 2);
}

TEST_F(Collection, FreesAnObjectThatHoldsItself)
{
    const ptr<IObject> object = NewNode();
    NodeOf(object).m_next = object;
    NodeOf(object).m_reference.Set(QueryPersistable(object));
    {
        const GcRoot root(object);
        EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    }
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

TEST_F(Collection, FreesACycle)
{
    GcRoot root(NewNode());
    ptr<IObject> last = root.get();
    for (int i = 0; i < 9; ++i)
        last = NodeOf(last).m_next = NewNode();
    NodeOf(last).m_next = root.get();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    root = nullptr;
    EXPECT_EQ(CollectGarbage().m_lastFreed, 10);
}

TEST_F(Collection, FollowsAndFreesAChainOfAMillionObjects)
{
    constexpr int count = 1000000;
    GcRoot root(NewNode());
    for (int i = 1; i < count; ++i)
    {
        const ptr<IObject> object = NewNode(i);
        NodeOf(object).m_next = root.get();
        root = object;
    }
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    EXPECT_EQ(GraphNode::s_live, count);
    root = nullptr;
    EXPECT_EQ(CollectGarbage().m_lastFreed, count);
}

TEST_F(Collection, NeedsNoMemory)
{
    const GcRoot root(NewNode());
    for (int i = 0; i < 100; ++i)
    {
        const ptr<IObject> object = NewNode();
        NodeOf(object).m_next = NodeOf(root.get()).m_next;
        NodeOf(root.get()).m_next = object;
        NewNode();
    }
    GcCounts counts;
    {
        const OutOfMemory outOfMemory;
        counts = CollectGarbage();
    }
    EXPECT_EQ(counts.m_lastFreed, 100);
    EXPECT_EQ(GraphNode::s_live, 101);
}

TEST_F(Collection, CountsWhatLivesAndWhatWasFreed)
{
    const GcCounts before = GetGcCounts();
    const GcRoot root(NewNode());
    NewNode();
    NewNode();
    const GcCounts created = GetGcCounts();
    EXPECT_EQ(created.m_live, before.m_live + 3);
    EXPECT_EQ(created.m_totalFreed, before.m_totalFreed);
    EXPECT_EQ(created.m_collections, before.m_collections);

    const GcCounts first = CollectGarbage();
    EXPECT_EQ(first.m_live, before.m_live + 1);
    EXPECT_EQ(first.m_lastFreed, 2);
    EXPECT_EQ(first.m_totalFreed, before.m_totalFreed + 2);
    EXPECT_EQ(first.m_collections, before.m_collections + 1);

    const GcCounts second = CollectGarbage();
    EXPECT_EQ(second.m_live, before.m_live + 1);
    EXPECT_EQ(second.m_lastFreed, 0);
    EXPECT_EQ(second.m_totalFreed, before.m_totalFreed + 2);
    EXPECT_EQ(second.m_collections, before.m_collections + 2);
}

TEST_F(Collection, WithoutObjectsFreesNothing)
{
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
}

TEST_F(Collection, IgnoresNullHandles)
{
    const int64 live = GetGcCounts().m_live;
    RegisterGcObject(nullptr);
    const GcRoot null;
    EXPECT_EQ(CollectGarbage().m_live, live);
}

TEST_F(Collection, OwnsAnObjectThatIsRegisteredTwiceOnce)
{
    const ptr<IObject> object = NewNode();
    RegisterGcObject(object);
    NewNode();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 2);
}

// A host may keep some objects itself.
TEST_F(Collection, TracesAnUnregisteredObjectAndLeavesItAlone)
{
    const ptr<IObject> own = CreateGcObject<GraphNode>();
    NodeOf(own).m_next = NewNode();
    GcRoot root(own);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    root = nullptr;
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(GraphNode::s_live, 1);
    own.fns()->Destroy(own.self());
}

std::vector<std::string> s_events;

void LogEnds()
{
    s_events.clear();
    GraphNode::s_onGarbageCollect = [](GraphNode& node) { s_events.push_back("end " + std::to_string(node.m_value)); };
    GraphNode::s_onDestroy = [](GraphNode& node) { s_events.push_back("destroy " + std::to_string(node.m_value)); };
}

TEST_F(Collection, FinalisesAllGarbageBeforeItDestroysAny)
{
    LogEnds();
    const ptr<IObject> first = NewNode(1);
    NodeOf(first).m_next = NewNode(2);
    NewNode(3);
    CollectGarbage();
    EXPECT_THAT(s_events, ElementsAre("end 3", "end 2", "end 1", "destroy 3", "destroy 2", "destroy 1"));
}

TEST_F(Collection, FinalisesNothingThatIsReached)
{
    LogEnds();
    const GcRoot root(NewNode(1));
    CollectGarbage();
    EXPECT_THAT(s_events, ElementsAre());
}

TEST_F(Collection, LetsAFinaliserSeeOtherGarbageWhole)
{
    static int32 s_seen = 0;
    s_seen = 0;
    GraphNode::s_onGarbageCollect = [](GraphNode& node) { s_seen += NodeOf(node.m_next).m_value; };
    const ptr<IObject> first = NewNode(1);
    const ptr<IObject> second = NewNode(20);
    NodeOf(first).m_next = second;
    NodeOf(second).m_next = first;
    CollectGarbage();
    EXPECT_EQ(s_seen, 21);
}

TEST_F(Collection, KeepsWhatAFinaliserCreatesUntilTheNextOne)
{
    GraphNode::s_onGarbageCollect = [](GraphNode& node)
    {
        if (node.m_value == 1)
            NewNode(2);
    };
    NewNode(1);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(GraphNode::s_live, 1);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

TEST_F(Collection, DoesNothingInsideAnother)
{
    static GcCounts s_counts;
    static int s_destroyed = 0;
    s_destroyed = 0;
    const auto collect = [](GraphNode& node)
    {
        if (node.m_value != 1)
            return;
        NewNode(2);
        s_counts = CollectGarbage();
        EXPECT_EQ(NodeOf(node.m_next).m_value, 3); // is still whole
    };
    GraphNode::s_onGarbageCollect = collect;
    GraphNode::s_onDestroy = [](GraphNode&)
    {
        CollectGarbage();
        ++s_destroyed;
    };
    const GcCounts before = CollectGarbage();
    NodeOf(NewNode(1)).m_next = NewNode(3);
    const GcCounts after = CollectGarbage();
    EXPECT_EQ(s_counts.m_collections, before.m_collections);
    EXPECT_EQ(s_counts.m_totalFreed, before.m_totalFreed);
    EXPECT_EQ(after.m_lastFreed, 2);
    EXPECT_EQ(after.m_collections, before.m_collections + 1);
    EXPECT_EQ(s_destroyed, 2);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

// Objects that are being made are held by nobody yet.
TEST_F(Collection, KeepsWhatIsRegisteredInAScope)
{
    NewNode(1);
    {
        const NewObjectsScope scope;
        NodeOf(NewNode(2)).m_next = NewNode(3);
        EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
        {
            const NewObjectsScope inner;
            NewNode(4);
        }
        EXPECT_EQ(CollectGarbage().m_lastFreed, 0); // until the last of the scopes has ended
    }
    EXPECT_EQ(CollectGarbage().m_lastFreed, 3);
}

TEST_F(Collection, KeepsNothingOfAScopeThatHasEnded)
{
    {
        const NewObjectsScope scope;
        NewNode(1);
    }
    const NewObjectsScope scope;
    NewNode(2);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

TEST_F(Collection, KeepsWhatOtherThreadsRegisterInAScope)
{
    auto scope = std::make_unique<NewObjectsScope>();
    std::thread([] { NewNode(); }).join();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    scope.reset();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

// An object whose handles cannot be visited.
struct Untraceable
{
    ptr<IObject> m_held;
    SysState m_state;
    bool m_isBroken = true;
    int m_visits = 0;

    static void Visit(const void* self, IObjectVisitor& visitor)
    {
        const auto& object = *static_cast<const Untraceable*>(self);
        visitor.Visit(object.m_held);
        ++const_cast<Untraceable&>(object).m_visits;
        if (object.m_isBroken)
            throw std::bad_alloc();
    }
    static void Destroy(void* self) { delete static_cast<Untraceable*>(self); }
    static SysState& GetSysState(void* self) { return static_cast<Untraceable*>(self)->m_state; }

    static constexpr IObjectFns s_fns = {.QueryInterface = nullptr,
                                         .BindInterface = nullptr,
                                         .GetReflectedClass = nullptr,
                                         .VisitObjects = Visit,
                                         .OnGarbageCollect = [](void*) {},
                                         .Destroy = Destroy,
                                         .GetSysState = GetSysState};
};

TEST_F(Collection, FreesNothingWhenTracingFails)
{
    auto* const untraceable = new Untraceable;
    const ptr<IObject> object(untraceable, &Untraceable::s_fns);
    RegisterGcObject(object);
    NewNode(1);
    untraceable->m_held = NewNode(2);
    NodeOf(untraceable->m_held).m_next = NewNode(3);
    GcRoot root(object);

    const GcCounts before = GetGcCounts();
    EXPECT_THROW(CollectGarbage(), std::bad_alloc);
    EXPECT_THROW(CollectGarbage(), std::bad_alloc);
    EXPECT_EQ(untraceable->m_visits, 2);
    EXPECT_EQ(GraphNode::s_live, 3);
    EXPECT_EQ(GetGcCounts().m_live, before.m_live);
    EXPECT_EQ(GetGcCounts().m_collections, before.m_collections);

    untraceable->m_isBroken = false;
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(NodeOf(NodeOf(untraceable->m_held).m_next).m_value, 3);
    root = nullptr;
    EXPECT_EQ(CollectGarbage().m_lastFreed, 3);
}

TEST_F(Collection, RunsOneAtATime)
{
    for (int i = 0; i < 1000; ++i)
        NewNode();
    const GcCounts before = GetGcCounts();
    std::thread other([] { CollectGarbage(); });
    CollectGarbage();
    other.join();
    EXPECT_EQ(GetGcCounts().m_totalFreed, before.m_totalFreed + 1000);
    EXPECT_EQ(GetGcCounts().m_collections, before.m_collections + 2);
}

// Roots are seen through what a collection leaves alive.
using Roots = Collection;

TEST_F(Roots, AreCopiedAsRootsOfTheirOwn)
{
    auto root = std::make_unique<GcRoot>(NewNode(1));
    const GcRoot copy(*root);
    root.reset();
    CollectGarbage();
    EXPECT_EQ(NodeOf(copy.get()).m_value, 1);
}

TEST_F(Roots, AreAssignedFromRootsAndHandles)
{
    GcRoot root(NewNode(1));
    const GcRoot other(NewNode(2));
    root = other;
    EXPECT_EQ(root.get(), other.get());
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    root = NewNode(3);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    EXPECT_EQ(NodeOf(root.get()).m_value, 3);
    const GcRoot& itself = root;
    root = itself;
    EXPECT_EQ(NodeOf(root.get()).m_value, 3);
}

TEST_F(Roots, EndInAnyOrder)
{
    // Each order in which three may end, by what is left after two.
    for (const int survivor : {0, 1, 2})
        for (const bool isForward : {true, false})
        {
            CollectGarbage();
            std::unique_ptr<GcRoot> roots[3];
            for (int i = 0; i < 3; ++i)
                roots[i] = std::make_unique<GcRoot>(NewNode(i));
            for (int i = 0; i < 3; ++i)
                if (const int ended = isForward ? i : 2 - i; ended != survivor)
                    roots[ended].reset();
            EXPECT_EQ(CollectGarbage().m_lastFreed, 2);
            EXPECT_EQ(NodeOf(roots[survivor]->get()).m_value, survivor);
        }
}

// An object that owns a root which ends with it.
struct RootHolder
{
    GcRoot m_root;
};

const ReflectedClass& _GetReflected(const RootHolder*)
{
    static const ReflectedClass s_class = {.m_name = "test::RootHolder", .m_size = sizeof(RootHolder)};
    return s_class;
}

TEST_F(Roots, MayEndWithAnObject)
{
    const ptr<IObject> holder = CreateGcObject<RootHolder>();
    RegisterGcObject(holder);
    static_cast<RootHolder*>(holder.self())->m_root = NewNode();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

void RunOnThreads(int count, void (*work)(int thread))
{
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i)
        threads.emplace_back(work, i);
    for (std::thread& thread : threads)
        thread.join();
}

TEST_F(Roots, KeepObjectsFromAnyThread)
{
    static std::vector<std::unique_ptr<GcRoot>> s_roots;
    s_roots.clear();
    s_roots.resize(4);
    RunOnThreads(4,
                 [](int thread)
                 {
                     std::vector<std::unique_ptr<GcRoot>> passing(7);
                     for (std::size_t i = 0; i < 5000; ++i)
                         passing[i % passing.size()] = std::make_unique<GcRoot>(NewNode());
                     s_roots[static_cast<std::size_t>(thread)] = std::make_unique<GcRoot>(NewNode(thread));
                 });
    EXPECT_EQ(GraphNode::s_live, 4 * 5001);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 4 * 5000);
    for (int thread = 0; thread < 4; ++thread)
        EXPECT_EQ(NodeOf(s_roots[static_cast<std::size_t>(thread)]->get()).m_value, thread);
    // One of another thread's ends here.
    s_roots.clear();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 4);
}

TEST_F(Collection, TakesObjectsFromAllThreadsAtOnce)
{
    static GcRoot s_chains[4];
    constexpr int length = 20000;
    const int64 live = GetGcCounts().m_live;
    RunOnThreads(4,
                 [](int thread)
                 {
                     for (int i = 0; i < length; ++i)
                     {
                         const ptr<IObject> object = NewNode(i);
                         NodeOf(object).m_next = s_chains[thread].get();
                         s_chains[thread] = object;
                     }
                 });
    EXPECT_EQ(GetGcCounts().m_live, live + 4 * length);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    for (GcRoot& chain : s_chains)
    {
        int found = 0;
        for (ptr<IObject> object = chain.get(); object; object = NodeOf(object).m_next)
            ++found;
        EXPECT_EQ(found, length);
        chain = nullptr;
        EXPECT_EQ(CollectGarbage().m_lastFreed, length);
    }
}

} // namespace
} // namespace kelm::test
