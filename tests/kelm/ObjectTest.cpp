#include <kelm/Object.h>

#include "DoorTypes.h"

#include <gmock/gmock.h>

#include <string>

namespace door
{

struct Body
{
    double mass = 1;
};
struct Planet : Body
{
    kelm::xstring name;
};
struct Star
{
    int brightness = 1;
};
struct Sun : Star, Planet
{
    int spots = 2;
};

} // namespace door

KELM_DESCRIBE(door::Body, mass)
KELM_DESCRIBE(door::Planet, Body, name)
KELM_DESCRIBE(door::Star, brightness)
KELM_DESCRIBE(door::Sun, Star, Planet, spots)

namespace kelm
{

namespace
{

using door::Circle;
using door::Line;
using door::Order;
using door::Shape;

class Objects : public ::testing::Test
{
protected:
    static void SetUpTestSuite() { Register<door::Colour, Line, Order, Shape, Circle>(); }
};

constexpr char s_chain[] = "door::Shape { name = \"first\" next = door::Circle { radius = 2 } }";

TEST_F(Objects, AreOfTheClassThatTheTextNames)
{
    const Object shape = Read<Object>(s_chain);
    EXPECT_EQ(shape.GetClassName(), "door::Shape");
    EXPECT_THAT(shape.GetMemberNames(), ::testing::ElementsAre("name", "next"));
    EXPECT_TRUE(shape.Is<Shape>());
    EXPECT_FALSE(shape.Is<Circle>());
    EXPECT_EQ(shape.As<Shape>().name, "first");
    EXPECT_EQ(Object(shape.As<Shape>().next).As<Circle>().radius, 2);
}

TEST_F(Objects, AreCheckedWhereTheyAreTakenForAnother)
{
    const Object circle = Read<Object>("door::Circle {}");
    try
    {
        circle.As<Shape>();
        FAIL();
    }
    catch (const Error& e)
    {
        EXPECT_EQ(e.GetKind(), ErrorKind::Type);
        EXPECT_STREQ(e.what(), "error: the object is a door::Circle and no door::Shape");
    }
}

TEST_F(Objects, AreTheirBasesToo)
{
    Register<door::Sun>();
    const Object sun = Read<Object>("door::Sun { mass = 7 name = 'Sol' brightness = 3 }");
    EXPECT_TRUE(sun.Is<door::Sun>() && sun.Is<door::Star>() && sun.Is<door::Planet>() && sun.Is<door::Body>());
    EXPECT_EQ(sun.As<door::Body>().mass, 7);
    EXPECT_EQ(sun.As<door::Planet>().name, "Sol");
    EXPECT_EQ(sun.As<door::Star>().brightness, 3);
    EXPECT_EQ(&sun.As<door::Body>(), static_cast<door::Body*>(&sun.As<door::Sun>()));
    EXPECT_FALSE(sun.Is<Circle>());
    EXPECT_THROW(sun.As<Circle>(), Error);
    EXPECT_FALSE(Read<Object>("door::Planet {}").Is<door::Sun>());
}

TEST_F(Objects, OfNothing)
{
    for (const Object& none : {Read<Object>("null"), Object()})
    {
        EXPECT_FALSE(none);
        EXPECT_FALSE(none.Is<Circle>());
        EXPECT_THROW(none.As<Circle>(), Error);
        EXPECT_THROW(none.GetClassName(), Error);
        EXPECT_EQ(Write(none), "null");
    }
}

TEST_F(Objects, OfUnknownClassesAreErrors)
{
    const Error error = TryRead<Object>("door::Cicle {}").GetError();
    EXPECT_EQ(error.GetKind(), ErrorKind::Name);
    EXPECT_STREQ(error.what(), "<text>:1:1: error: 'door::Cicle' is not a registered class name; did you mean "
                               "door::Circle?\ndoor::Cicle {}\n^~~~~~~~~~~");
    EXPECT_EQ(TryRead<Object>("{ radius = 1 }").GetError().GetMessage(), "Expected identifier when read {");
}

TEST_F(Objects, AreKeptAliveByRootsAndNothingElse)
{
    CollectGarbage();
    const int64 before = GetGcCounts().m_live;
    {
        Root<Shape> root = Read<Root<Shape>>("{ name = 'a' next = door::Circle { radius = 3 } }");
        const Root<Shape> second = root;
        const Object object(root.GetHandle());
        CollectGarbage();
        EXPECT_EQ(GetGcCounts().m_live, before + 2);
        EXPECT_EQ(Object(second->next).As<Circle>().radius, 3);
        EXPECT_EQ(&object.As<Shape>(), &*root);
        EXPECT_EQ(Write(root), Write(object));
        EXPECT_EQ(Read<Object>(Write(root)).As<Shape>().name, "a");
        root->next = nullptr;
        CollectGarbage();
        EXPECT_EQ(GetGcCounts().m_live, before + 1);
    }
    CollectGarbage();
    EXPECT_EQ(GetGcCounts().m_live, before);
    EXPECT_EQ(Root<Circle>()->radius, 1);
}

TEST_F(Objects, ThatWereNotReadWholeAreGarbage)
{
    CollectGarbage();
    const int64 before = GetGcCounts().m_live;
    EXPECT_FALSE(TryRead<Root<Shape>>("{ name = 'a' next = door::Circle { radius = x } }"));
    EXPECT_FALSE(TryRead<Object>("door::Shape { next = door::Circle {} what = 5 }"));
    CollectGarbage();
    EXPECT_EQ(GetGcCounts().m_live, before);
}

static_assert(HoldsHandles<Shape> && HoldsHandles<xvector<Shape>> && HoldsHandles<ptr<IObject>>);
static_assert(!HoldsHandles<Order> && !HoldsHandles<Circle> && !HoldsHandles<xmap<xstring, Line>>);

} // namespace

} // namespace kelm
