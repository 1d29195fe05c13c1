// Every operation of the front door, with each of its allocations failing in turn: std::bad_alloc passes through, and
// what was to be changed is as it was.

#include <kelm/kelm.h>

#include <support/OutOfMemory.h>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <new>
#include <optional>
#include <string>
#include <vector>

namespace scarce
{

struct Line
{
    std::string item = "an item whose name takes memory of its own";
    int quantity = 1;
};

struct Order
{
    std::string customer = "a customer whose name takes memory of its own";
    std::vector<Line> lines = {Line{}, Line{}};
    std::map<std::string, double> rates = {{"a key that takes memory of its own, too", 1.5}};
    std::optional<Line> gift;
    std::vector<bool> flags = {true, false};
    kelm::xstring note = "a note that takes memory of its own";
    kelm::xmap<kelm::xstring, kelm::xstring> notes;
};

inline bool IsKnown(const std::string& name)
{
    return !name.empty();
}

struct Checked
{
    std::string name = "a name that takes memory of its own";
};

} // namespace scarce

KELM_DESCRIBE(scarce::Line, item, quantity)
KELM_DESCRIBE(scarce::Order, customer, lines, rates, gift, flags, note, notes)
KELM_CLASS(scarce::Checked, KELM_MODEL(name).Check(scarce::IsKnown))

namespace kelm
{

namespace
{

using scarce::Checked;
using scarce::Line;
using scarce::Order;

struct World
{
    Order order;
    Checked checked;
    Scope scope;
    Value value = "a value that takes memory of its own";

    World()
    {
        scope.Bind("order", order).Bind("checked", checked);
        scope.Define("twice", [](const std::string& text) { return text + text; });
        scope.Define("make", [](int quantity) { return Line{"another item that takes memory", quantity}; });
    }
    std::string Written() const { return Write(order) + Write(checked); }
};

const std::string s_text = Write(Order());
constexpr char s_long[] = "a text that is longer than any that is stored in place";

struct Operation
{
    const char* m_name;
    void (*m_do)(World& world);
};

constexpr Operation s_operations[] = {
    {"read", [](World&) { Read<Order>(s_text); }},
    {"try to read", [](World&) { static_cast<void>(TryRead<Order>(s_text)); }},
    {"fail to read", [](World&) { static_cast<void>(TryRead<Order>("{ lines = [{ qantity = 5 }] }")); }},
    {"read an object", [](World&) { Read<Object>("scarce::Order { customer = 'x' }"); }},
    {"write", [](World& world) { Write(world.order); }},
    {"get", [](World& world) { Get<std::string>(world.order, ".lines[1].item"); }},
    {"get a whole", [](World& world) { Get<std::vector<Line>>(world.order, ".lines"); }},
    {"fail to get", [](World& world) { static_cast<void>(TryGet<int>(world.order, ".lines[7].item")); }},
    {"set", [](World& world) { Set(world.order, ".customer", s_long); }},
    {"set ours", [](World& world) { Set(world.order, ".note", s_long); }},
    {"set an element", [](World& world) { Set(world.order, ".lines[0].item", s_long); }},
    {"set an entry", [](World& world) { Set(world.order, ".rates['another key that takes memory of its own']", 2); }},
    {"set an entry of ours",
     [](World& world) { Set(world.order, ".notes['another key that takes memory of its own']", s_long); }},
    {"set a whole", [](World& world) { Set(world.order, ".gift", Line{}); }},
    {"set what is checked", [](World& world) { Set(world.checked, ".name", s_long); }},
    {"fail to set", [](World& world) { static_cast<void>(TrySet(world.checked, ".name", "")); }},
    {"has", [](World& world) { Has(world.order, ".gift.item"); }},
    {"visit", [](World& world) { Visit(world.order, [](const Field& field) { static_cast<void>(field.GetPath()); }); }},
    {"evaluate", [](World& world) { Evaluate("twice(order.customer) + order.lines[1].item", world.scope); }},
    {"evaluate and assign", [](World& world) { Evaluate("order.customer = twice(order.note)", world.scope); }},
    {"assign an entry",
     [](World& world) { Evaluate("order.rates['a third key that takes memory'] = 3", world.scope); }},
    {"sum", [](World& world) { Evaluate("sum(order.lines, l, l.quantity) + len(twice(make(3).item))", world.scope); }},
    {"fail to evaluate", [](World& world) { static_cast<void>(TryEvaluate("order.lines[0].itm + 1", world.scope)); }},
    {"keep", [](World& world) { Expression("twice(text) + order.customer", world.scope, {"text"}).Evaluate(s_long); }},
    {"bind",
     [](World& world)
     {
         Scope scope(&world.scope);
         scope.Bind("a_name_that_takes_memory_of_its_own", world.order).Set("text", s_long);
         scope.Define("thrice", [&world](const Value& value) { return value; });
         Evaluate("thrice(text)", scope);
     }},
    {"copy a value", [](World& world) { Value(world.value).As<std::string>(); }},
};

TEST(OutOfMemory, PassesThroughAndChangesNothing)
{
    for (const Operation& operation : s_operations)
    {
        World unscathed;
        operation.m_do(unscathed); // registers, and says what is to come out
        const std::string after = unscathed.Written();
        bool isDone = false;
        for (long allocations = 0; !isDone && allocations < 5000; ++allocations)
        {
            World world;
            const std::string before = world.Written();
            bool hasThrown = false;
            try
            {
                const OutOfMemory outOfMemory(allocations);
                operation.m_do(world);
                isDone = true;
            }
            catch (const std::bad_alloc&)
            {
                hasThrown = true;
            }
            ASSERT_EQ(hasThrown, !isDone);
            ASSERT_EQ(world.Written(), isDone ? after : before) << operation.m_name << " " << allocations;
        }
        EXPECT_TRUE(isDone) << operation.m_name;
    }
}

} // namespace

} // namespace kelm
