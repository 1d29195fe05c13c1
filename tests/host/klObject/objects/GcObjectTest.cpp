#include <host/klObject/GraphNode.h>
#include <support/Expect.h>
#include <support/OutOfMemory.h>

#include <klObject/objects/GcObject.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace kelm::test
{
namespace
{

// No hook, no interfaces, no handles.
struct Plain
{
    int32 m_number = 3;
    xstring m_text = "a text that does not fit into the string itself";
};

const ReflectedClass& _GetReflected(const Plain*)
{
    static const ReflectedClass s_class = {
        .m_name = "test::Plain", .m_size = sizeof(Plain), .m_createFn = CreateGcObject<Plain>};
    return s_class;
}

struct alignas(64) Overaligned
{
    char m_bytes[64] = {};
};

const ReflectedClass& _GetReflected(const Overaligned*)
{
    static const ReflectedClass s_class = {.m_name = "test::Overaligned", .m_size = sizeof(Overaligned)};
    return s_class;
}

struct OneByte
{
    char m_byte = 'x';
};

const ReflectedClass& _GetReflected(const OneByte*)
{
    static const ReflectedClass s_class = {.m_name = "test::OneByte", .m_size = sizeof(OneByte)};
    return s_class;
}

struct Unconstructible
{
    Unconstructible() { throw std::runtime_error("no"); }
    xstring m_text;
};

const ReflectedClass& _GetReflected(const Unconstructible*)
{
    static const ReflectedClass s_class = {.m_name = "test::Unconstructible", .m_size = sizeof(Unconstructible)};
    return s_class;
}

// Hands itself out before it is whole, as its mode says.
template <std::size_t Alignment>
struct alignas(Alignment) Early
{
    Early()
    {
        const ptr<IObject> self(this, &GcObjectFns<Early>);
        EXPECT_EQ(self.fns()->GetSysState(this).m_mark, 0u);
        RegisterGcObject(self);
        if (s_throws)
            throw std::runtime_error("no");
        EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    }
    ~Early() { ++s_destroyed; }

    xstring m_text = "a text that does not fit into the string itself";

    static inline bool s_throws = false;
    static inline int s_destroyed = 0;
};

// Leaves a handle to what fails to be made.
struct Leaked
{
    Leaked()
    {
        const ptr<IObject> self(this, &GcObjectFns<Leaked>);
        RegisterGcObject(self);
        *s_left = self;
        throw std::runtime_error("no");
    }

    static inline GcRoot* s_left = nullptr;
};

const ReflectedClass& _GetReflected(const Leaked*)
{
    static const ReflectedClass s_class = {.m_name = "test::Leaked", .m_size = sizeof(Leaked)};
    return s_class;
}

template <std::size_t Alignment>
const ReflectedClass& _GetReflected(const Early<Alignment>*)
{
    static const ReflectedClass s_class = {.m_name = "test::Early", .m_size = sizeof(Early<Alignment>)};
    return s_class;
}

template <class T>
T& ObjectOf(const ptr<IObject>& object)
{
    return *static_cast<T*>(object.self());
}

InterfaceHandle Query(const ptr<IObject>& object, ConstStringZ interfaceName)
{
    const ReflectedInterface wanted = {.m_name = interfaceName};
    const InterfaceHandle bound = object.fns()->BindInterface(object.self(), wanted);
    const InterfaceHandle queried = object.fns()->QueryInterface(object.self(), wanted);
    EXPECT_EQ(bound.m_self, queried.m_self);
    EXPECT_EQ(bound.m_fns, queried.m_fns);
    return queried;
}

TEST(GcObject, HoldsADefaultConstructedT)
{
    const ptr<IObject> object = _GetReflected(static_cast<const Plain*>(nullptr)).m_createFn();
    EXPECT_EQ(ObjectOf<Plain>(object).m_number, 3);
    EXPECT_EQ(ObjectOf<Plain>(object).m_text, "a text that does not fit into the string itself");
    object.fns()->Destroy(object.self());
}

TEST(GcObject, IsNotOwnedUntilItIsRegistered)
{
    CollectGarbage();
    const ptr<IObject> object = CreateGcObject<Plain>();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    RegisterGcObject(object);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

TEST(GcObject, TellsTheClassOfT)
{
    const ptr<IObject> object = CreateGcObject<Plain>();
    RegisterGcObject(object);
    EXPECT_EQ(object.GetReflectedClass(), &_GetReflected(static_cast<const Plain*>(nullptr)));
}

TEST(GcObject, AnswersTheInterfacesOfItsClassByName)
{
    const ptr<IObject> plain = CreateGcObject<Plain>();
    RegisterGcObject(plain);
    const ptr<IObject> persistable = NewNode();
    const struct
    {
        ConstStringZ m_interface;
        bool m_isPlains;
        bool m_isPersistables;
    } rows[] = {
        {"kelm::IObject", true, true},
        {"kelm::IPersistable", false, true},
        {"kelm::IObjec", false, false},
        {"test::Plain", false, false},
        {"", false, false},
    };
    for (const auto& row : rows)
    {
        EXPECT_EQ(Query(plain, row.m_interface).m_self, row.m_isPlains ? plain.self() : nullptr) << row.m_interface;
        EXPECT_EQ(Query(persistable, row.m_interface).m_self, row.m_isPersistables ? persistable.self() : nullptr)
            << row.m_interface;
        EXPECT_EQ(Query(plain, row.m_interface).m_fns != nullptr, row.m_isPlains) << row.m_interface;
    }
}

TEST(GcObject, AnswersTheFunctionTableOfTheInterface)
{
    const ptr<IObject> object = NewNode();
    const InterfaceHandle handle = Query(object, "kelm::IPersistable");
    EXPECT_EQ(handle.m_fns, static_cast<const IPersistableFns*>(&GcObjectFns<GraphNode>));
    EXPECT_EQ(Query(object, "kelm::IObject").m_fns, static_cast<const IObjectFns*>(&GcObjectFns<GraphNode>));
}

TEST(GcObject, RemembersItsIdentity)
{
    const ptr<IPersistable> object = NewPersistableNode();
    EXPECT_EQ(object.fns()->GetObjectId(object.self()), 0);
    object.fns()->SetObjectId(object.self(), -5);
    EXPECT_EQ(object.fns()->GetObjectId(object.self()), -5);
}

TEST(GcObject, IsAlignedAsTNeeds)
{
    for (int i = 0; i < 8; ++i)
    {
        const ptr<IObject> overaligned = CreateGcObject<Overaligned>();
        RegisterGcObject(overaligned);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(overaligned.self()) % alignof(Overaligned), 0u);
        std::memset(overaligned.self(), 0xff, sizeof(Overaligned));

        const ptr<IObject> small = CreateGcObject<OneByte>();
        RegisterGcObject(small);
        EXPECT_EQ(ObjectOf<OneByte>(small).m_byte, 'x');
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(&small.fns()->GetSysState(small.self())) % alignof(SysState), 0u);
    }
    CollectGarbage();
}

TEST(GcObject, IsFreedWhereItsConstructorThrows)
{
    EXPECT_THROW(CreateGcObject<Unconstructible>(), std::runtime_error);
}

template <class T>
void TestThatAConstructorMayHandItsObjectOut()
{
    CollectGarbage();
    T::s_throws = false;
    T::s_destroyed = 0;
    const GcRoot root(CreateGcObject<T>());
    EXPECT_TRUE(root.get().fns()->GetSysState(root.get().self()).m_isRegistered);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    EXPECT_EQ(ObjectOf<T>(root.get()).m_text, "a text that does not fit into the string itself");
}

template <class T>
void TestThatARegisteredObjectMayFailToBeMade()
{
    CollectGarbage();
    T::s_throws = true;
    T::s_destroyed = 0;
    EXPECT_THROW(CreateGcObject<T>(), std::runtime_error);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
    EXPECT_EQ(T::s_destroyed, 0);
}

TEST(GcObject, MayBeHandedOutByItsConstructor)
{
    TestThatAConstructorMayHandItsObjectOut<Early<8>>();
    TestThatAConstructorMayHandItsObjectOut<Early<128>>();
}

TEST(GcObject, LeavesABlockToTheCollectorWhereARegisteredOneIsNotMade)
{
    TestThatARegisteredObjectMayFailToBeMade<Early<8>>();
    TestThatARegisteredObjectMayFailToBeMade<Early<128>>();
}

// Such a block is an object of no class, which holds nothing, for as long as somebody has it.
TEST(GcObject, LeavesABlockThatIsNothingWhereAHandleToItIsKept)
{
    CollectGarbage();
    GcRoot left;
    Leaked::s_left = &left;
    EXPECT_THROW(CreateGcObject<Leaked>(), std::runtime_error);
    EXPECT_EQ(CollectGarbage().m_lastFreed, 0);
    const ptr<IObject> remains = GetGcObjectState(left.get().self()).m_object;
    EXPECT_EQ(remains.self(), left.get().self());
    EXPECT_EQ(remains.GetReflectedClass(), nullptr);
    EXPECT_EQ(Query(remains, "kelm::IPersistable").m_self, nullptr);
    left = ptr<IObject>();
    EXPECT_EQ(CollectGarbage().m_lastFreed, 1);
}

TEST(GcObject, IsNotMadeWithoutMemory)
{
    const int64 live = GetGcCounts().m_live;
    {
        const OutOfMemory outOfMemory;
        EXPECT_THROW(CreateGcObject<Plain>(), std::bad_alloc);
    }
    EXPECT_EQ(GetGcCounts().m_live, live);
}

TEST(GcObject, EndsWithTheHookOfT)
{
    static int s_ended = 0;
    s_ended = 0;
    CollectGarbage();
    GraphNode::s_onGarbageCollect = [](GraphNode& node) { s_ended += node.m_value; };
    NewNode(4);
    CollectGarbage();
    GraphNode::s_onGarbageCollect = nullptr;
    EXPECT_EQ(s_ended, 4);
}

// The order of the function table is fixed: it is used as data by what was compiled elsewhere.
TEST(ObjectFunctionTable, KeepsItsOrder)
{
    const auto slot = [](auto member)
    {
        const IPersistableFns fns = {};
        const auto* const begin = reinterpret_cast<const char*>(&fns);
        return (reinterpret_cast<const char*>(&(fns.*member)) - begin) / static_cast<ssize_t>(sizeof(void*));
    };
    EXPECT_EQ(slot(&IObjectFns::QueryInterface), 0);
    EXPECT_EQ(slot(&IObjectFns::BindInterface), 1);
    EXPECT_EQ(slot(&IObjectFns::GetReflectedClass), 2);
    EXPECT_EQ(slot(&IObjectFns::VisitObjects), 3);
    EXPECT_EQ(slot(&IObjectFns::OnGarbageCollect), 4);
    EXPECT_EQ(slot(&IObjectFns::Destroy), 5);
    EXPECT_EQ(slot(&IObjectFns::GetSysState), 6);
    EXPECT_EQ(slot(&IPersistableFns::GetObjectId), 7);
    EXPECT_EQ(slot(&IPersistableFns::SetObjectId), 8);
}

} // namespace
} // namespace kelm::test
