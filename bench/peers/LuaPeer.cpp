// One Lua behind ScriptPeerFns; compiled once against each of the two.

#include "ScriptPeer.h"

#include <lua.hpp>

namespace
{

using namespace kelm::bench;

constexpr char s_setUp[] = "sin = math.sin; exp = math.exp";

void* Open()
{
    lua_State* const lua = luaL_newstate();
    luaL_openlibs(lua);
    if (luaL_loadstring(lua, s_setUp) != 0 || lua_pcall(lua, 0, 0, 0) != 0)
    {
        lua_close(lua);
        return nullptr;
    }
    return lua;
}

void Close(void* state)
{
    lua_close(static_cast<lua_State*>(state));
}

void Evaluate(void* state, const char* text, std::size_t length, PeerResult& result)
{
    lua_State* const lua = static_cast<lua_State*>(state);
    lua_settop(lua, 0);
    const bool isDone = luaL_loadbuffer(lua, text, length, "=") == 0 && lua_pcall(lua, 0, 1, 0) == 0;
    switch (isDone ? lua_type(lua, -1) : LUA_TNIL)
    {
    case LUA_TNUMBER: result = {PeerKind::Number, lua_tonumber(lua, -1), nullptr, 0}; break;
    case LUA_TBOOLEAN: result = {PeerKind::Bool, lua_toboolean(lua, -1) ? 1.0 : 0.0, nullptr, 0}; break;
    case LUA_TSTRING:
        result.m_kind = PeerKind::String;
        result.m_text = lua_tolstring(lua, -1, &result.m_length);
        break;
    default: result = {PeerKind::Error, 0, lua_tostring(lua, -1), 0}; break;
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) const ScriptPeerFns KelmBenchScriptPeer = {Open, Close, Evaluate};
