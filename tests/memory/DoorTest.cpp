// The public entries of the front door, all of them, where memory ends.

#include "EveryAllocation.h"
#include "ScarceTypes.h"

#include <kelm/Types.h>
#include <support/TemporaryFolder.h>

#include <functional>
#include <span>
#include <sstream>
#include <utility>

namespace kelm
{

namespace
{

using scarce::Checked;
using scarce::Line;
using scarce::Link;
using scarce::Order;

const TemporaryFolder s_folder;

const std::string s_text = Write(Order());
constexpr char s_long[] = "a text that is longer than any that is stored in place";

struct World
{
    Order order;
    Checked checked;
    Root<Link> root;
    Scope scope;
    Value value = s_long;
    int number = 7;
    std::string text = "another text that takes memory of its own";
    FilePath file = s_folder.MakeFile("order.kds", s_text);

    World()
    {
        scope.Bind("order", order).Bind("checked", checked);
        scope.Define("twice", [](const std::string& x) { return x + x; });
        scope.Define("length", [](const std::optional<std::string>& x) { return uint64(x ? x->size() : 0); });
        scope.Define("make", [](int quantity) { return Line{"another item that takes memory", quantity}; });
    }
    std::string Written() const
    {
        std::string written = Write(order) + Write(checked) + Write(root) + value.ToText() + text + ' ' +
                              std::to_string(number) + TextOfFile(file.GetText());
        for (const auto& entry : std::filesystem::directory_iterator(s_folder.GetPath()))
            written += entry.path().filename().string() + ' ';
        return written;
    }
};

template <class T>
std::string OutcomeOf(const Result<T>& result)
{
    return result ? "done" : result.GetError().what();
}

std::string NamesOf(const auto& names)
{
    std::string all;
    for (const auto& name : names)
        all.append(name).append(" ");
    return all;
}

const std::string s_widths[] = {"w", "h"};

constexpr Operation<World> s_operations[] = {
    {"read", [](World&) { return Write(Read<Order>(s_text)); }},
    {"try to read", [](World&) { return OutcomeOf(TryRead<Order>(s_text)); }},
    {"fail to read", [](World&) { return OutcomeOf(TryRead<Order>("{ lines = [{ qantity = 5 }] }")); }},
    {"pass over members", [](World&)
     { return OutcomeOf(TryRead<Order>("{ unknown = [{ a = 'b' }] note = 'c' }", UnknownMembers::PassOver)); }},
    {"read an object", [](World&) { return Write(Read<Object>("scarce::Order { customer = 'x' }")); }},
    {"read a root", [](World&) { return Write(Read<Root<Link>>("{ next = scarce::Link { name = 'inner' } }")); }},
    {"read a file", [](World& world) { return Write(ReadFile<Order>(world.file)); }},
    {"read no file", [](World&) { return OutcomeOf(TryReadFile<Order>("/a folder/that is not there")); }},
    {"write", [](World& world) { return Write(world.order); }},
    {"write an object", [](World& world) { return Write(Object(world.root.GetHandle())); }},
    {"write a file",
     [](World& world)
     {
         WriteFile(world.file, Line{"what the file says now, in memory of its own", 5});
         return std::string();
     }},
    {"write no file", [](World& world) { return OutcomeOf(TryWriteFile("/a folder/not there", world.order)); }},
    {"write types", [](World& world) { return OutcomeOf(TryWriteTypes<Order, Checked>(world.file)); }},
    {"an object",
     [](World& world)
     {
         const Object object(world.root.GetHandle());
         return std::string(object.GetClassName()) + NamesOf(object.GetMemberNames()) + object.As<Link>().name.c_str() +
                (object.Is<Line>() ? " is a Line" : " is none");
     }},
    {"an object of another class",
     [](World& world)
     {
         try
         {
             return std::to_string(Object(world.root.GetHandle()).As<Line>().quantity);
         }
         catch (const Error& error)
         {
             return std::string(error.what());
         }
     }},
    {"a new root",
     [](World& world)
     {
         const Root<Link> inner;
         Root<Link> outer;
         outer->next = inner.GetHandle();
         world.root = outer;
         return std::string();
     }},
    {"register",
     [](World&)
     {
         Register<Order, Link>();
         return std::string();
     }},

    {"get", [](World& world) { return Get<std::string>(world.order, ".lines[1].item"); }},
    {"get a whole", [](World& world) { return std::to_string(Get<std::vector<Line>>(world.order, ".lines").size()); }},
    {"fail to get", [](World& world) { return OutcomeOf(TryGet<int>(world.order, ".lines[7].item")); }},
    {"set",
     [](World& world)
     {
         Set(world.order, ".customer", s_long);
         return std::string();
     }},
    {"set ours", [](World& world) { return OutcomeOf(TrySet(world.order, ".note", s_long)); }},
    {"set an element", [](World& world) { return OutcomeOf(TrySet(world.order, ".lines[0].item", s_long)); }},
    {"set an entry", [](World& world)
     { return OutcomeOf(TrySet(world.order, ".rates['another key that takes memory of its own']", 2)); }},
    {"set an entry of ours", [](World& world)
     { return OutcomeOf(TrySet(world.order, ".notes['another key that takes memory of its own']", s_long)); }},
    {"set a whole", [](World& world) { return OutcomeOf(TrySet(world.order, ".gift", Line{})); }},
    {"set a value", [](World& world) { return OutcomeOf(TrySet(world.order, ".customer", world.value)); }},
    {"set what is checked", [](World& world) { return OutcomeOf(TrySet(world.checked, ".name", s_long)); }},
    {"fail to set", [](World& world) { return OutcomeOf(TrySet(world.checked, ".name", "")); }},
    {"has", [](World& world) { return std::to_string(Has(world.order, ".gift.item")); }},
    {"visit",
     [](World& world)
     {
         std::string all;
         Visit(world.order, [&all](const Field& field)
               { all += field.GetPath() + ' ' + field.GetTypeName() + OutcomeOf(field.TryGet<double>()); });
         return all;
     }},

    {"evaluate",
     [](World& world) { return Evaluate("twice(order.customer) + order.lines[1].item", world.scope).ToText(); }},
    {"what may be null, and is no int64",
     [](World& world) { return Evaluate("length(order.gift) + length(order.customer)", world.scope).ToText(); }},
    {"evaluate exactly",
     [](World&) { return Evaluate<std::string>("'a' + 'a text of some length'", Language::Exact); }},
    {"evaluate and assign",
     [](World& world) { return Evaluate("order.customer = twice(order.note)", world.scope).ToText(); }},
    {"assign an entry",
     [](World& world) { return Evaluate("order.rates['a third key that takes memory'] = 3", world.scope).ToText(); }},
    {"sum", [](World& world)
     { return Evaluate("sum(order.lines, l, l.quantity) + len(twice(make(3).item))", world.scope).ToText(); }},
    {"fail to evaluate", [](World& world) { return OutcomeOf(TryEvaluate("order.lines[0].itm + 1", world.scope)); }},
    {"evaluate to an object",
     [](World& world) { return std::to_string(Evaluate<Line>("order.lines[0]", world.scope).quantity); }},
    {"keep", [](World& world)
     { return Expression("twice(text) + order.customer", world.scope, {"text"}).Evaluate<std::string>(s_long); }},
    {"keep, with names from elsewhere",
     [](World& world)
     {
         const std::vector<std::string_view> parameters(std::begin(s_widths), std::end(s_widths));
         const Expression area("w * h", world.scope, parameters);
         return std::to_string(area.Evaluate<double>(2, 3.5)) + std::to_string(area.Evaluate<int>(2, 3)) +
                std::to_string(Expression("w < h", world.scope, parameters).Evaluate<bool>(1, 2)) +
                OutcomeOf(area.TryEvaluate<int8>(100, 3));
     }},
    {"keep, and refuse what is too large",
     [](World& world)
     {
         const Expression large("300 + 1", world.scope);
         try
         {
             return std::to_string(large.Evaluate<int8>());
         }
         catch (const Error& error)
         {
             return error.what() + std::to_string(large.Evaluate<double>()) + std::to_string(large.Evaluate<int>());
         }
     }},
    {"names of an expression",
     [](World&)
     {
         Expression expression("a_name_that_takes_memory_of_its_own + sin(another)");
         Expression other("1");
         other = std::move(expression);
         const std::string names = NamesOf(other.GetNames());
         return names + NamesOf(Expression(std::move(other)).GetNames());
     }},
    {"bind",
     [](World& world)
     {
         Scope scope(&world.scope);
         scope.Bind("a_name_that_takes_memory_of_its_own", world.order).Set("text", s_long);
         scope.Bind("number", world.number).Bind("its_text", world.text);
         scope.BindMembers(world.checked);
         scope.Define("thrice", [&world](const Value& value) { return world.text + value.ToText(); });
         scope.Define("doubled", &Line::Double);
         scope.Define("thrice", [](const Value& value) { return value; }); // in the former one's place
         scope.Resolve([](std::string_view name) { return std::optional<Value>(std::string(name) + s_long); });
         scope.Resolve([](std::string_view name) { return std::optional<Value>(name); });
         Scope moved(std::move(scope));
         scope = std::move(moved);
         return Evaluate("thrice(text) + name + its_text + unknown_until_it_is_asked_for", scope).ToText() +
                Evaluate("number + a_name_that_takes_memory_of_its_own.lines[0].doubled()", scope).ToText();
     }},
    {"names of what was moved from",
     [](World& world)
     {
         std::string all;
         const std::function<void(Scope&)> changes[] = {
             [&](Scope& scope) { scope.Bind("name", world.text); },
             [&](Scope& scope) { scope.BindMembers(world.checked); },
             [](Scope& scope) { scope.Define("name", [text = std::string(s_long)] { return text; }); },
             [](Scope& scope) { scope.Define("name", &Line::Double); },
             [](Scope& scope)
             { scope.Resolve([text = std::string(s_long)](std::string_view) { return std::optional<Value>(text); }); },
         };
         for (const auto& change : changes)
         {
             Scope scope;
             static_cast<void>(Scope(std::move(scope)));
             change(scope);
             const Result<Value> result = TryEvaluate("name", scope);
             all += result ? result->ToText() : result.GetError().GetMessage();
         }
         return all;
     }},
    {"bind no name",
     [](World& world)
     {
         try
         {
             world.scope.Bind("no name", world.number);
             return std::string();
         }
         catch (const Error& error)
         {
             return std::string(error.what());
         }
     }},
    {"bind members of a value",
     [](World& world)
     {
         Scope scope;
         scope.BindMembers(Evaluate("order.lines[0]", world.scope));
         return Evaluate("item", scope).ToText();
     }},

    {"copy a value",
     [](World& world)
     {
         Value copy(world.value);
         copy = Value(Line{});
         return Value(copy).As<Line>().item + world.value.As<std::string>() + NamesOf(copy.GetMemberNames());
     }},
    {"values of all kinds",
     [](World& world)
     {
         std::string all;
         for (const Value& value : {Value(), Value(true), Value('c'), Value(7), Value(uint64(7)), Value(1.5f),
                                    Value(s_long), Value(world.text), Value(world.order)})
         {
             all += value.ToText() + std::to_string(static_cast<int>(value.GetKind()));
             std::ostringstream os;
             os.exceptions(std::ios::badbit); // which says that its own memory has ended
             os << value;
             all += os.str();
         }
         return all;
     }},
    {"a value's text, its bool, its object",
     [](World& world)
     {
         const Value object(world.order);
         return std::string(world.value.As<std::string_view>()) + std::to_string(Value(true).As<bool>()) +
                object.As<const Order&>().customer + std::to_string(Value(5).As<int>());
     }},
    {"what a value is not",
     [](World& world)
     {
         std::string all;
         const Value number(1);
         const auto add = [&all](auto as)
         {
             try
             {
                 as();
             }
             catch (const Error& error)
             {
                 all += error.what();
             }
         };
         add([&] { static_cast<void>(world.value.As<int>()); });
         add([&] { static_cast<void>(number.As<std::string_view>()); });
         add([&] { static_cast<void>(Value(1).As<const Order&>()); });
         add([&] { static_cast<void>(Value(Line{}).As<const Line&>()); });
         add([&] { static_cast<void>(Value(~uint64(0))); });
         return all;
     }},
    {"an error of the program's own",
     [](World&)
     {
         const Error error({.m_kind = ErrorKind::Check, .m_message = s_long, .m_suggestions = {s_long, s_long}});
         Error copy(error);
         copy = Result<int>(5).GetError();
         return std::string(error.what()) + copy.what();
     }},
};

TEST(Memory, OfTheDoor)
{
    ExpectAllWhole(s_operations);
}

} // namespace

} // namespace kelm
