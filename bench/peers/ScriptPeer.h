#pragma once

// What each Lua module exports. The two Luas have the same symbols, so that each is loaded as a module of its own,
// whose symbols stay with it.

#include <cstddef>

namespace kelm::bench
{

enum class PeerKind
{
    Error,
    Number,
    Bool,
    String,
};

struct PeerResult
{
    PeerKind m_kind;
    double m_number;
    const char* m_text; // valid until the next evaluation; of an error, its message
    std::size_t m_length;
};

struct ScriptPeerFns
{
    void* (*Open)();
    void (*Close)(void* state);
    void (*Evaluate)(void* state, const char* text, std::size_t length, PeerResult& result);
};

inline constexpr const char* s_scriptPeerSymbol = "KelmBenchScriptPeer"; // a ScriptPeerFns

} // namespace kelm::bench
