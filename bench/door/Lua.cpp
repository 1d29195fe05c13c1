// One Lua; compiled once against each of the two. LuaJIT is asked twice: for a call of the program's each time, and for
// a loop of its own, which it compiles.

#include "DoorPeer.h"

#include <lua.hpp>

#include <stdexcept>
#include <string>

namespace
{

using namespace kelm::bench;

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

constexpr char s_setUp[] =
    "price = 9.5; vat = 0.19; name = 'abc'; sin = math.sin; sqrt = math.sqrt; min = math.min; max = math.max; "
    "order = {price = 2.0, quantity = 3.0, lines = {}} "
    "for k = 1, 4 do order.lines[k] = {price = 2.0, quantity = 3.0} end";

class LuaWork : public DoorWork
{
public:
    LuaWork(const std::string& text, DoorMode mode) : m_lua(luaL_newstate()), m_text(text), m_mode(mode)
    {
        luaL_openlibs(m_lua);
        lua_register(m_lua, "half", LuaHalf);
        lua_register(m_lua, "mix", LuaMix);
        Do(s_setUp);
        if (luaL_loadstring(m_lua, text.c_str()) != 0)
            Throw();
        if (mode == DoorMode::Parameter)
            lua_call(m_lua, 0, 1);
    }
    ~LuaWork() override { lua_close(m_lua); }

    double Evaluate(double quantity) override
    {
        const bool isParameter = m_mode == DoorMode::Parameter;
        if (m_mode == DoorMode::Text)
            luaL_loadbuffer(m_lua, m_text.data(), m_text.size(), "=");
        else
            lua_pushvalue(m_lua, 1);
        lua_pushnumber(m_lua, quantity);
        if (!isParameter)
            lua_setglobal(m_lua, "quantity");
        lua_pcall(m_lua, isParameter ? 1 : 0, 1, 0);
        const double value = lua_tonumber(m_lua, -1);
        lua_pop(m_lua, 1);
        return value;
    }

protected:
    void Do(const char* text)
    {
        if (luaL_loadstring(m_lua, text) != 0 || lua_pcall(m_lua, 0, 0, 0) != 0)
            Throw();
    }
    [[noreturn]] void Throw() { throw std::runtime_error(lua_tostring(m_lua, -1)); }

    lua_State* const m_lua;

private:
    const std::string m_text;
    const DoorMode m_mode;
};

std::string TextOf(const DoorRow& row, DoorMode mode)
{
    const std::string body = std::string("return ") + row.m_lua;
    return mode == DoorMode::Parameter ? "return function(quantity) " + body + " end" : body;
}

std::unique_ptr<DoorWork> Make(const DoorRow& row, DoorMode mode)
{
    return std::make_unique<LuaWork>(TextOf(row, mode), mode);
}

#ifdef LUAJIT_VERSION

// Functions of the program by their addresses, which compiled code calls.
constexpr char s_addresses[] = "local ffi = require('ffi') "
                               "half = ffi.cast('double (*)(double)', halfAddress) "
                               "mix = ffi.cast('double (*)(double, double)', mixAddress)";

class CompiledWork : public LuaWork
{
public:
    CompiledWork(const DoorRow& row, DoorMode mode) : LuaWork(TextOf(row, mode), mode)
    {
        lua_pushlightuserdata(m_lua, reinterpret_cast<void*>(&Half));
        lua_setglobal(m_lua, "halfAddress");
        lua_pushlightuserdata(m_lua, reinterpret_cast<void*>(&Mix));
        lua_setglobal(m_lua, "mixAddress");
        Do(s_addresses);
        const std::string body = std::string("return ") + row.m_lua;
        const std::string loop = mode == DoorMode::Parameter
                                     ? "local f = function(quantity) " + body +
                                           " end return function(n) local s = 0 "
                                           "for i = n, 1, -1 do s = s + f(i) end return s end"
                                     : "local f = function() " + body +
                                           " end return function(n) local s = 0 "
                                           "for i = n, 1, -1 do quantity = i; s = s + f() end return s end";
        if (luaL_loadstring(m_lua, loop.c_str()) != 0)
            Throw();
        lua_call(m_lua, 0, 1);
        lua_setglobal(m_lua, "repeatAll");
    }
    void Repeat(long count) override
    {
        lua_getglobal(m_lua, "repeatAll");
        lua_pushnumber(m_lua, static_cast<double>(count));
        if (lua_pcall(m_lua, 1, 1, 0) != 0)
            Throw();
        lua_pop(m_lua, 1);
    }
};

std::unique_ptr<DoorWork> MakeCompiled(const DoorRow& row, DoorMode mode)
{
    if (mode == DoorMode::Text)
        return nullptr;
    return std::make_unique<CompiledWork>(row, mode);
}

#endif

} // namespace

#ifdef LUAJIT_VERSION
KELM_BENCH_DOOR_PEERS = {{"LuaJIT", Make}, {"LuaJIT, compiled", MakeCompiled}, {nullptr, nullptr}};
#else
KELM_BENCH_DOOR_PEERS = {{"Lua 5.4", Make}, {nullptr, nullptr}};
#endif
