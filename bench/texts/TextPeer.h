#pragma once

// What each module of peers exports. A peer may need another compiler and another standard library than ours, so
// nothing crosses the border but plain bytes and numbers; each is loaded with its symbols kept to itself.

#include "ClassLists.h"

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace kelm::bench
{

// What is done with objects of one root class. A digest tells what an object holds; the functions that give one say
// whether they could.
struct RootFns
{
    bool (*DigestOfText)(void* text, std::uint64_t& digest);
    void (*Read)(void* text); // and releases what was read

    // Null with those that do not write.
    void* (*MakeObject)(void* text);
    void (*DropObject)(void* object);
    bool (*DigestOfWritten)(void* object, std::uint64_t& digest); // of the object that the written text reads back to
    void (*Write)(void* object);
};

struct TextPeer
{
    const char* m_name;

    // The text as the peer wants it before the call that is measured.
    void* (*MakeText)(const char* text, std::size_t size);
    void (*DropText)(void* text);

    RootFns m_roots[s_rootCount];
};

struct TextPeers
{
    const TextPeer* m_begin;
    std::size_t m_count;
};

inline constexpr const char* s_textPeersSymbol = "KelmBenchTextPeers"; // a TextPeers

// The compiler must take what `object` holds as used.
template <class T>
void Use(T& object)
{
    asm volatile("" : : "g"(&object) : "memory");
}

// A row of functions: those of Way<Class>, static members of the same names.
#define BENCH_READING_FNS(NAME) {Way<NAME>::DigestOfText, Way<NAME>::Read, nullptr, nullptr, nullptr, nullptr},
#define BENCH_FNS(NAME)                                                                                                \
    {Way<NAME>::DigestOfText,    Way<NAME>::Read, Way<NAME>::MakeObject, Way<NAME>::DropObject,                        \
     Way<NAME>::DigestOfWritten, Way<NAME>::Write},

// What a module exports, in the global namespace.
#define BENCH_EXPORT_PEERS(PEERS)                                                                                      \
    extern "C" __attribute__((visibility("default")))                                                                  \
    const kelm::bench::TextPeers KelmBenchTextPeers = {PEERS, std::size(PEERS)};

} // namespace kelm::bench
