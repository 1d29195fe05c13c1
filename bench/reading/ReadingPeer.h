#pragma once

// What each module of readers exports. A reader may need another compiler and another standard library than ours, so
// nothing crosses the border but plain bytes and numbers; each is loaded with its symbols kept to itself.

#include "ClassLists.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace kelm::bench
{

// Objects of one root class.
struct RootFns
{
    // The digest of what the text holds; whether it could be read.
    bool (*Digest)(void* text, std::uint64_t& digest);

    // Reads and releases.
    void (*Read)(void* text);
};

struct ReadingPeer
{
    const char* m_name;

    // The text as the reader wants it before the call that is measured.
    void* (*MakeText)(const char* text, std::size_t size);
    void (*DropText)(void* text);

    RootFns m_roots[s_rootCount];
};

struct ReadingPeers
{
    const ReadingPeer* m_begin;
    std::size_t m_count;
};

inline constexpr const char* s_readingPeersSymbol = "KelmBenchReadingPeers"; // a ReadingPeers

// The compiler must take what `object` holds as used.
template <class T>
void Use(T& object)
{
    asm volatile("" : : "g"(&object) : "memory");
}

// A reader's row of functions: Way<Class> has the two of RootFns as static members.
#define BENCH_ROOT_FNS(NAME) {Way<NAME>::Digest, Way<NAME>::Read},

} // namespace kelm::bench
