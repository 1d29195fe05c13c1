// The front door: expressions with a program's names, from a text that is new each time and kept, with values that
// change; beside who does the same. Like bench_calls, it does the work of one row so many times, for counting
// instructions.
//
//     bench_door                                 lists the rows: the units of one call, what a unit is, and the name
//     bench_door contenders                      lists who does them, or some of them
//     bench_door ROW CONTENDER CALLS

#include <kelm/kelm.h>

#include <cmath>
#include <cstdio>
#include <exception>
#include <functional>
#include <initializer_list>
#include <lua.hpp>
#include <memory>
#include <muParser.h>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace bench
{

struct Line
{
    double price = 2;
    double quantity = 3;
};

struct Order
{
    double price = 2;
    double quantity = 3;
    std::vector<Line> lines{4};
};

} // namespace bench

KELM_DESCRIBE(bench::Line, price, quantity)
KELM_DESCRIBE(bench::Order, price, quantity, lines)

namespace
{

// An empty text: cannot do it.
struct Row
{
    const char* m_name;
    const char* m_ours;
    const char* m_muParser;
    const char* m_lua;
};

constexpr Row s_rows[] = {
    {"three names, five operators, one function", "price * quantity * (1.0 + vat) - half(price) / 2.0",
     "price * quantity * (1.0 + vat) - half(price) / 2.0", "price * quantity * (1.0 + vat) - half(price) / 2.0"},
    {"polynomial", "price * quantity * quantity + vat * quantity + 3.0",
     "price * quantity * quantity + vat * quantity + 3.0", "price * quantity * quantity + vat * quantity + 3.0"},
    {"condition", "quantity < price ? price - quantity : quantity - price",
     "quantity < price ? price - quantity : quantity - price",
     "quantity < price and price - quantity or quantity - price"},
    {"logic", "quantity > 0.0 && quantity < 1000.0 || price == 3.0 ? 1.0 : 2.0",
     "quantity > 0.0 && quantity < 1000.0 || price == 3.0 ? 1.0 : 2.0",
     "(quantity > 0.0 and quantity < 1000.0 or price == 3.0) and 1.0 or 2.0"},
    {"a name", "quantity", "quantity", "quantity"},
    {"a function of two floats", "mix(price, quantity)", "mix(price, quantity)", "mix(price, quantity)"},
    {"functions of the library", "sin(quantity) + sqrt(price)", "sin(quantity) + sqrt(price)",
     "sin(quantity) + sqrt(price)"},
    {"least and greatest", "min(quantity, price) * max(vat, 2.0)", "min(quantity, price) * max(vat, 2.0)",
     "min(quantity, price) * max(vat, 2.0)"},
    {"members", "order.price * order.quantity + vat", "", "order.price * order.quantity + vat"},
    {"elements", "order.lines[2].price * order.lines[2].quantity", "",
     "order.lines[3].price * order.lines[3].quantity"},
    {"texts", "name == 'abc' ? quantity : price", "", "name == 'abc' and quantity or price"},
};

enum class Mode
{
    Text,
    Kept,
    Parameter, // what changes is one
};
constexpr const char* s_modes[] = {"text: ", "kept: ", "kept, parameter: "};

// Evaluates with a quantity.
using Evaluate = std::function<double(double quantity)>;

double Half(double x)
{
    return x * 0.5;
}
double Mix(double x, double y)
{
    return x + y;
}

constexpr double s_price = 9.5;
constexpr double s_vat = 0.19;

Evaluate MakeOurs(const Row& row, Mode mode)
{
    struct World
    {
        double m_price = s_price;
        double m_quantity = 3;
        double m_vat = s_vat;
        std::string m_name = "abc";
        bench::Order m_order;
        kelm::Scope m_scope;
    };
    const auto world = std::make_shared<World>();
    kelm::Scope& scope = world->m_scope;
    scope.Bind("price", world->m_price).Bind("quantity", world->m_quantity).Bind("vat", world->m_vat);
    scope.Bind("name", world->m_name).Bind("order", world->m_order).Define("half", Half).Define("mix", Mix);
    if (mode == Mode::Text)
        return [=](double quantity)
        {
            world->m_quantity = quantity;
            return kelm::Evaluate<double>(row.m_ours, world->m_scope);
        };
    if (mode == Mode::Parameter)
    {
        const auto kept =
            std::make_shared<kelm::Expression>(row.m_ours, scope, std::initializer_list<std::string_view>{"quantity"});
        return [=](double quantity) { return static_cast<void>(world), kept->Evaluate<double>(quantity); };
    }
    const auto kept = std::make_shared<kelm::Expression>(row.m_ours, scope);
    return [=](double quantity)
    {
        world->m_quantity = quantity;
        return kept->Evaluate<double>();
    };
}

Evaluate MakeMuParser(const Row& row, Mode mode)
{
    if (*row.m_muParser == '\0' || mode == Mode::Parameter)
        return nullptr;
    struct World
    {
        double m_price = s_price;
        double m_quantity = 3;
        double m_vat = s_vat;
        mu::Parser m_parser;
    };
    const auto world = std::make_shared<World>();
    world->m_parser.DefineVar("price", &world->m_price);
    world->m_parser.DefineVar("quantity", &world->m_quantity);
    world->m_parser.DefineVar("vat", &world->m_vat);
    world->m_parser.DefineFun("half", Half);
    world->m_parser.DefineFun("mix", Mix);
    world->m_parser.SetExpr(row.m_muParser);
    return [=, text = std::string(row.m_muParser)](double quantity)
    {
        world->m_quantity = quantity;
        if (mode == Mode::Text)
            world->m_parser.SetExpr(text);
        return world->m_parser.Eval();
    };
}

int LuaHalf(lua_State* lua)
{
    lua_pushnumber(lua, Half(luaL_checknumber(lua, 1)));
    return 1;
}
int LuaMix(lua_State* lua)
{
    lua_pushnumber(lua, Mix(luaL_checknumber(lua, 1), luaL_checknumber(lua, 2)));
    return 1;
}

Evaluate MakeLua(const Row& row, Mode mode)
{
    const std::shared_ptr<lua_State> lua(luaL_newstate(), lua_close);
    lua_State* const L = lua.get();
    luaL_openlibs(L);
    lua_register(L, "half", LuaHalf);
    lua_register(L, "mix", LuaMix);
    const char* const setUp =
        "price = 9.5; vat = 0.19; name = 'abc'; sin = math.sin; sqrt = math.sqrt; min = math.min; "
        "max = math.max order = {price = 2.0, quantity = 3.0, lines = {}} "
        "for k = 1, 4 do order.lines[k] = {price = 2.0, quantity = 3.0} end";
    const std::string body = std::string("return ") + row.m_lua;
    const std::string text = mode == Mode::Parameter ? "return function(quantity) " + body + " end" : body;
    if (luaL_dostring(L, setUp) != LUA_OK || luaL_loadstring(L, text.c_str()) != LUA_OK)
        throw std::runtime_error(lua_tostring(L, -1));
    if (mode == Mode::Parameter)
        lua_call(L, 0, 1);
    return [=](double quantity)
    {
        if (mode == Mode::Text)
            luaL_loadbuffer(lua.get(), text.data(), text.size(), "=");
        else
            lua_pushvalue(lua.get(), 1);
        lua_pushnumber(lua.get(), quantity);
        if (mode != Mode::Parameter)
            lua_setglobal(lua.get(), "quantity");
        lua_pcall(lua.get(), mode == Mode::Parameter ? 1 : 0, 1, 0);
        const double value = lua_tonumber(lua.get(), -1);
        lua_pop(lua.get(), 1);
        return value;
    };
}

struct Contender
{
    const char* m_name;
    Evaluate (*m_make)(const Row& row, Mode mode);
};
constexpr Contender s_contenders[] = {{"KelmScript", MakeOurs}, {"muParser", MakeMuParser}, {"Lua 5.4", MakeLua}};

void Run(const std::vector<std::string>& arguments)
{
    if (arguments.size() == 1 && arguments[0] == "contenders")
        for (const Contender& contender : s_contenders)
            std::puts(contender.m_name);
    bool isFound = arguments.size() < 3;
    for (const Mode mode : {Mode::Text, Mode::Kept, Mode::Parameter})
        for (const Row& row : s_rows)
        {
            const std::string name = std::string(s_modes[static_cast<int>(mode)]) + row.m_name;
            if (arguments.empty())
                std::printf("1\tcall\t%s\n", name.c_str());
            if (arguments.size() != 3 || arguments[0] != name)
                continue;
            isFound = true;
            for (const Contender& contender : s_contenders)
                if (arguments[1] == contender.m_name)
                {
                    const Evaluate ours = MakeOurs(row, Mode::Kept);
                    const Evaluate evaluate = contender.m_make(row, mode);
                    if (evaluate == nullptr)
                        throw std::runtime_error("cannot do this row");
                    for (const double x : {1.0, 7.5, 2000.0})
                        if (std::abs(evaluate(x) - ours(x)) > 1e-9)
                            throw std::runtime_error("the result is wrong");
                    for (long i = std::stol(arguments[2]); i > 0; --i)
                        evaluate(static_cast<double>(i));
                }
        }
    if (!isFound)
        throw std::runtime_error("no such row: " + arguments[0]);
}

} // namespace

int main(int argc, char** argv)
{
    try
    {
        Run({argv + 1, argv + argc});
    }
    catch (const std::exception& e)
    {
        std::fprintf(stderr, "bench_door: %s\n", e.what());
        return 1;
    }
    return 0;
}
