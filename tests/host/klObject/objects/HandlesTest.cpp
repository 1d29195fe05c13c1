#include <host/klObject/GraphNode.h>
#include <support/Expect.h>

#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>

#include <stdexcept>
#include <type_traits>

namespace kelm::test
{
namespace
{

TEST(Handle, IsTwoNullWordsAtFirst)
{
    const ptr<IObject> handle;
    EXPECT_EQ(handle.self(), nullptr);
    EXPECT_EQ(handle.fns(), nullptr);
    EXPECT_FALSE(handle);
    EXPECT_TRUE(handle == nullptr);
    EXPECT_EQ(sizeof handle, 16u);
}

TEST(Handle, ComparesByObject)
{
    const ptr<IPersistable> first = NewPersistableNode();
    const ptr<IObject> second = NewNode();
    const ptr<IObject> sameAsFirst = first;
    EXPECT_TRUE(sameAsFirst == ptr<IObject>(first));
    EXPECT_FALSE(sameAsFirst == second);
    EXPECT_FALSE(second == nullptr);
}

TEST(Handle, TurnsIntoAHandleToAnExtendedInterfaceAndNotBack)
{
    EXPECT_TRUE((std::is_convertible_v<ptr<IPersistable>, ptr<IObject>>));
    EXPECT_FALSE((std::is_constructible_v<ptr<IPersistable>, ptr<IObject>>));
}

TEST(Handle, TellsTheClassOfItsObject)
{
    EXPECT_STREQ(NewNode().GetReflectedClass()->m_name, "test::GraphNode");
}

TEST(Interfaces, AreDescribedByTheirNames)
{
    EXPECT_STREQ(_GetReflected(static_cast<const IObject*>(nullptr)).m_name, "kelm::IObject");
    EXPECT_STREQ(_GetReflected(static_cast<const IPersistable*>(nullptr)).m_name, "kelm::IPersistable");
}

TEST(QueryPersistable, AnswersNullForNull)
{
    EXPECT_FALSE(QueryPersistable(nullptr));
}

TEST(QueryPersistable, AnswersTheSameObject)
{
    const ptr<IObject> object = NewNode();
    EXPECT_TRUE(ptr<IObject>(QueryPersistable(object)) == object);
}

// A loader that finds objects by identity and counts how often it was asked.
struct Loader
{
    ptr<IPersistable> m_object; // found as 17
    int m_calls = 0;

    static ptr<IPersistable> Load(ObjectId id, void* context)
    {
        auto& loader = *static_cast<Loader*>(context);
        ++loader.m_calls;
        if (id < 0)
            throw std::runtime_error("the store is broken");
        return id == 17 ? loader.m_object : nullptr;
    }
};

class PersistentReference : public ::testing::Test
{
protected:
    PersistentReference()
    {
        m_loader.m_object = NewPersistableNode(170);
        SetObjectLoader(Loader::Load, &m_loader);
    }
    ~PersistentReference() override { SetObjectLoader(nullptr, nullptr); }

    Loader m_loader;
    prefbase m_reference;
};

TEST_F(PersistentReference, DesignatesNothingAtFirst)
{
    EXPECT_FALSE(m_reference.Get());
    EXPECT_FALSE(m_reference.GetLoaded());
    EXPECT_EQ(m_reference.GetObjectId(), 0);
    EXPECT_EQ(m_loader.m_calls, 0);
}

TEST_F(PersistentReference, LoadsOnceWhenItIsAskedFor)
{
    m_reference.SetObjectId(17);
    EXPECT_EQ(m_reference.GetObjectId(), 17);
    EXPECT_FALSE(m_reference.GetLoaded());
    EXPECT_EQ(m_loader.m_calls, 0);

    EXPECT_EQ(NodeOf(m_reference.Get()).m_value, 170);
    EXPECT_EQ(NodeOf(m_reference.Get()).m_value, 170);
    EXPECT_TRUE(m_reference.GetLoaded() == m_loader.m_object);
    EXPECT_EQ(m_loader.m_calls, 1);
}

TEST_F(PersistentReference, IsNullWhileTheLoaderDoesNotFindIt)
{
    m_reference.SetObjectId(18);
    EXPECT_FALSE(m_reference.Get());
    EXPECT_FALSE(m_reference.Get());
    EXPECT_EQ(m_loader.m_calls, 2);
    EXPECT_EQ(m_reference.GetObjectId(), 18);
}

TEST_F(PersistentReference, PassesOnWhatTheLoaderThrows)
{
    m_reference.SetObjectId(-1);
    EXPECT_THROW(m_reference.Get(), std::runtime_error);
    EXPECT_EQ(m_reference.GetObjectId(), -1);
}

TEST_F(PersistentReference, FindsNothingWithoutALoader)
{
    SetObjectLoader(nullptr, nullptr);
    m_reference.SetObjectId(17);
    EXPECT_FALSE(m_reference.Get());
    EXPECT_EQ(m_loader.m_calls, 0);
}

TEST_F(PersistentReference, TakesAnObjectThatNoStoreHasSeen)
{
    const ptr<IPersistable> object = NewPersistableNode(3);
    m_reference.Set(object);
    EXPECT_TRUE(m_reference.Get() == object);
    EXPECT_EQ(m_reference.GetObjectId(), 0);
    EXPECT_EQ(m_loader.m_calls, 0);

    object.fns()->SetObjectId(object.self(), 99);
    EXPECT_EQ(m_reference.GetObjectId(), 99);
}

TEST_F(PersistentReference, ForgetsWhatItDesignatedBefore)
{
    m_reference.SetObjectId(17);
    m_reference.Get();
    m_reference.SetObjectId(18);
    EXPECT_FALSE(m_reference.Get());
    m_reference.SetObjectId(17);
    m_reference.Set(nullptr);
    EXPECT_FALSE(m_reference.Get());
    EXPECT_EQ(m_reference.GetObjectId(), 0);
}

TEST_F(PersistentReference, IsCopiedAsBytes)
{
    EXPECT_TRUE(std::is_trivially_copyable_v<prefbase>);
    m_reference.SetObjectId(17);
    m_reference.Get();
    const prefbase copy = m_reference;
    EXPECT_TRUE(copy.GetLoaded() == m_loader.m_object);
    EXPECT_EQ(m_loader.m_calls, 1);
}

TEST_F(PersistentReference, OfATypeReachesTheObjectsData)
{
    pref<GraphNode> typed;
    EXPECT_EQ(typed.operator->(), nullptr);
    typed.SetObjectId(17);
    EXPECT_EQ(typed->m_value, 170);
}

struct NoNode
{
};

const ReflectedClass& _GetReflected(const NoNode*)
{
    static const ReflectedClass s_class = {.m_name = "test::NoNode", .m_size = sizeof(NoNode)};
    return s_class;
}

TEST_F(PersistentReference, OfATypeRefusesAnObjectOfAnotherClass)
{
    pref<NoNode> typed;
    EXPECT_EQ(typed.TryGet(), nullptr);
    typed.SetObjectId(17);
    EXPECT_TRUE(FailsAssertion([&] { typed.operator->(); }, "the object is a test::GraphNode, no test::NoNode",
                               "host/klObject/objects/CastObject"));
    EXPECT_EQ(typed.TryGet(), nullptr);
}

TEST_F(PersistentReference, KeepsNothingAliveThatIsNotLoaded)
{
    CollectGarbage();
    const GcRoot root(NewNode());
    const ptr<IPersistable> object = NewPersistableNode();
    object.fns()->SetObjectId(object.self(), 5);
    NodeOf(root.get()).m_reference.SetObjectId(5);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

} // namespace
} // namespace kelm::test
