#include <host/klObject/GraphNode.h>
#include <support/Expect.h>

#include <klObject/describe/Describe.h>
#include <klObject/objects/CastObject.h>

namespace cast
{

struct Named
{
    kelm::int32 m_name = 1;
};
struct Placed
{
    kelm::int32 m_place = 2;
};
struct Shape : Named, Placed
{
    kelm::int32 m_shape = 3;
};
struct Circle : Shape
{
    kelm::int32 m_radius = 4;
};
struct Entry
{
    kelm::int32 m_first = 5;
};
struct Order : Named, Entry
{
    kelm::int32 m_second = 6;
};

} // namespace cast

KELM_DESCRIBE(cast::Named, m_name)
KELM_DESCRIBE(cast::Placed, m_place)
KELM_DESCRIBE(cast::Shape, Named, Placed, m_shape)
KELM_DESCRIBE(cast::Circle, Shape, m_radius)
KELM_CLASS(cast::Entry, KELM_MODEL(m_first))
KELM_CLASS(cast::Order, KELM_BASE(cast::Entry), KELM_MODEL(m_second))

namespace kelm::test
{
namespace
{

// A class of GraphNode's name, described once more, as a library that hides its descriptors sees it.
struct OtherGraphNode : GraphNode
{
};

const ReflectedClass& _GetReflected(const OtherGraphNode*)
{
    static const ReflectedClass s_class = {.m_name = "test::GraphNode", .m_size = sizeof(GraphNode)};
    return s_class;
}

template <class T>
ptr<IObject> NewObject()
{
    const ptr<IObject> object = CreateGcObject<T>();
    RegisterGcObject(object);
    return object;
}

TEST(CastObject, ReachesAnObjectOfTheClass)
{
    const ptr<IObject> node = NewNode(7);
    EXPECT_EQ(CastObject<GraphNode>(node), node.self());
    EXPECT_EQ(TryCastObject<GraphNode>(node), node.self());
    EXPECT_EQ(CastObject<const GraphNode>(node)->m_value, 7);
}

TEST(CastObject, TellsAClassByItsName)
{
    const ptr<IObject> node = NewNode(7);
    EXPECT_EQ(CastObject<OtherGraphNode>(node)->m_value, 7);
}

TEST(CastObject, RefusesAnObjectOfAnotherClass)
{
    const ptr<IObject> node = NewNode();
    EXPECT_TRUE(FailsAssertion([&] { CastObject<cast::Entry>(node); },
                               "the object is a test::GraphNode, no cast::Entry", "host/klObject/objects/CastObject"));
    EXPECT_EQ(TryCastObject<cast::Entry>(node), nullptr);
}

TEST(CastObject, GivesNullForNull)
{
    EXPECT_EQ(CastObject<GraphNode>(nullptr), nullptr);
    EXPECT_EQ(TryCastObject<GraphNode>(nullptr), nullptr);
}

TEST(CastObject, ReachesDescribedBases)
{
    const ptr<IObject> circle = NewObject<cast::Circle>();
    EXPECT_EQ(CastObject<cast::Circle>(circle)->m_radius, 4);
    EXPECT_EQ(CastObject<cast::Shape>(circle)->m_shape, 3);
    EXPECT_EQ(CastObject<cast::Placed>(circle)->m_place, 2);
    EXPECT_EQ(CastObject<cast::Named>(circle)->m_name, 1);

    const ptr<IObject> order = NewObject<cast::Order>();
    EXPECT_EQ(CastObject<cast::Entry>(order)->m_first, 5);
    EXPECT_EQ(TryCastObject<cast::Named>(order), nullptr); // is no described base of it
    EXPECT_EQ(TryCastObject<cast::Order>(NewObject<cast::Entry>()), nullptr);
    CollectGarbage();
}

} // namespace
} // namespace kelm::test
