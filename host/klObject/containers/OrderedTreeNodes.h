#pragma once

// The nodes of an OrderedTree: leaves, which hold the entries, and inner nodes above them, and how a key is found among
// the keys of one. OrderedTree.h tells what they are for; nothing else uses them.

#include <klUtils/Compare.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <new>
#include <type_traits>

namespace kelm
{

template <class T>
void MoveBytes(T* to, const T* from, ssize_t count)
{
    std::memmove(static_cast<void*>(to), static_cast<const void*>(from), static_cast<std::size_t>(count) * sizeof(T));
}

// Keys are looked at by a number each: where the prefixes of two keys differ, they are ordered as the keys are. Nodes
// keep the prefixes of their keys side by side. The prefix of a text is eight of its characters; where all keys of a
// node begin with the same ones (names in one namespace, paths in one folder), those that follow.
enum EKeyPrefix
{
    KEY_PREFIX_NONE,    // all are zero
    KEY_PREFIX_PARTIAL, // keys of one prefix may differ
    KEY_PREFIX_WHOLE,   // keys of one prefix are equal
};

template <class Key>
inline constexpr EKeyPrefix s_keyPrefix = IsScalarType<Key> && sizeof(Key) <= 8 ? KEY_PREFIX_WHOLE
                                          : std::is_same_v<Key, xstring>        ? KEY_PREFIX_PARTIAL
                                                                                : KEY_PREFIX_NONE;

template <class Key>
uint64 GetKeyPrefix(const Key& key)
{
    constexpr uint64 sign = uint64(1) << 63;
    if constexpr (s_keyPrefix<Key> == KEY_PREFIX_NONE)
        return 0;
    else if constexpr (std::is_same_v<Key, xstring>)
        return key.GetPrefix();
    else if constexpr (std::is_floating_point_v<Key>)
    {
        if (key != key)
            return ~uint64(0);                                                   // any NaN, behind all numbers
        const auto bits = std::bit_cast<uint64>(static_cast<double>(key) + 0.0); // -0.0 becomes 0.0
        return (bits & sign) != 0 ? ~bits : bits | sign;
    }
    else if constexpr (std::is_pointer_v<Key>)
        return reinterpret_cast<uint64>(key);
    else if constexpr (std::is_enum_v<Key>)
        return GetKeyPrefix(static_cast<std::underlying_type_t<Key>>(key));
    else if constexpr (std::is_same_v<Key, char>) // has a sign, whatever the processor
        return GetKeyPrefix(static_cast<signed char>(key));
    else if constexpr (std::is_signed_v<Key>)
        return static_cast<uint64>(static_cast<int64>(key)) ^ sign;
    else
        return static_cast<uint64>(key);
}

// A key that is looked for, with its prefix.
template <class Key>
struct SoughtKey
{
    explicit SoughtKey(const Key& key) : m_key(key), m_prefix(GetKeyPrefix(key)) {}

    const Key& m_key;
    uint64 m_prefix;
};

// Where a key is among sorted ones, or where it would be inserted.
struct KeyPlace
{
    int m_index;
    bool m_isFound;
};

// --- The keys of a node
//
// Those with the indices from Node::FirstKey on to m_count, which KeyAt(i) finds, and their prefixes. Texts share their
// first m_shared characters, which is zero where there is no key, and the prefixes are of what follows them.

template <class Node>
inline constexpr bool SharesCharacters = s_keyPrefix<typename Node::KeyType> == KEY_PREFIX_PARTIAL;

// How many characters, of so many at most, two texts begin with in common.
inline ssize_t GetCommonStart(const xstring& a, const xstring& b, ssize_t most)
{
    const char* const begin = a.data();
    return std::mismatch(begin, begin + std::min(a.size(), most), b.begin(), b.end()).first - begin;
}

template <class Node>
[[gnu::noinline]] void ShareCharacters(Node& node, ssize_t shared)
{
    node.m_shared = shared;
    for (int i = Node::FirstKey; i < node.m_count; ++i)
        node.Prefixes()[i] = node.KeyAt(i).GetPrefixFrom(shared);
}

// Looks behind prefixes that are all the same.
template <class Node>
void ShareMoreCharacters(Node& node)
{
    if constexpr (SharesCharacters<Node>)
    {
        const int last = node.m_count - 1;
        if (Node::FirstKey < last && node.Prefixes()[Node::FirstKey] == node.Prefixes()[last])
        {
            const xstring& first = node.KeyAt(Node::FirstKey);
            ShareCharacters(node, GetCommonStart(first, node.KeyAt(last), first.size()));
        }
    }
}

template <class Node>
[[gnu::noinline]] void AdmitKeyToShared(Node& node, int at)
{
    const int other = at == Node::FirstKey ? at + 1 : Node::FirstKey;
    const ssize_t shared = other < node.m_count ? GetCommonStart(node.KeyAt(at), node.KeyAt(other), node.m_shared) : 0;
    if (shared < node.m_shared)
        ShareCharacters(node, shared);
    else
        node.Prefixes()[at] = node.KeyAt(at).GetPrefixFrom(shared);
}

// A key has come to a place. `prefix` is of its beginning.
template <class Node>
void AdmitKey(Node& node, int at, uint64 prefix)
{
    if constexpr (SharesCharacters<Node>)
        if (node.m_shared > 0) [[unlikely]]
            return AdmitKeyToShared(node, at);
    if constexpr (s_keyPrefix<typename Node::KeyType> != KEY_PREFIX_NONE)
        node.Prefixes()[at] = prefix;
}

// What a key is beside those of a node: where it does not begin with what they share its order, else a prefix like
// theirs, of which zero is the least.
struct KeyStart
{
    int m_order;
    uint64 m_prefix;
};

[[gnu::noinline]] inline KeyStart LookBehindShared(const xstring& key, const xstring& sharing, ssize_t shared)
{
    const ssize_t size = std::min(key.size(), shared);
    const int order = std::memcmp(key.data(), sharing.data(), static_cast<std::size_t>(size));
    return {order, order == 0 && size == shared ? key.GetPrefixFrom(shared) : 0};
}

template <class Node, class Key>
KeyStart GetKeyStart(Node& node, const SoughtKey<Key>& sought)
{
    if constexpr (SharesCharacters<Node>)
        if (node.m_shared > 0) [[unlikely]]
            return LookBehindShared(sought.m_key, node.KeyAt(Node::FirstKey), node.m_shared);
    return {0, sought.m_prefix};
}

template <class Node, class Key>
KeyPlace FindKey(Node& node, const SoughtKey<Key>& sought)
{
    constexpr EKeyPrefix kind = s_keyPrefix<Key>;
    int low = Node::FirstKey;
    int end = node.m_count;
    if constexpr (kind != KEY_PREFIX_NONE)
    {
        const KeyStart start = GetKeyStart(node, sought);
        if (start.m_order != 0)
            return {start.m_order < 0 ? low : end, false};
        // The first prefix that is not less. Without a branch that the processor would guess wrong half of the time.
        const uint64* const prefixes = node.Prefixes();
        const uint64* base = prefixes + low;
        for (int count = low < end && *base == start.m_prefix ? 0 : end - low; count > 0;)
        {
            const int half = (count + 1) / 2;
            base = base[half - 1] < start.m_prefix ? base + half : base;
            count -= half;
        }
        low = static_cast<int>(base - prefixes);
        if (low == end || prefixes[low] != start.m_prefix)
            return {low, false};
        if constexpr (kind == KEY_PREFIX_WHOLE)
            return {low, true};
        // Keys with one beginning in common often fill a node.
        if (prefixes[end - 1] != start.m_prefix)
            end = static_cast<int>(std::upper_bound(prefixes + low, prefixes + end, start.m_prefix) - prefixes);
    }
    while (low < end)
    {
        const int middle = (low + end) / 2;
        const int order = Compare<KEYS_ORDER>(sought.m_key, node.KeyAt(middle));
        if (order == 0)
            return {middle, true};
        if (order < 0)
            end = middle;
        else
            low = middle + 1;
    }
    return {low, false};
}

// About a kilobyte of what has that size.
constexpr int OrderedTreeFanout(std::size_t size)
{
    return std::clamp(static_cast<int>(1024 / size), 8, 32);
}

template <class Key, class Entry>
struct OrderedTreeLeaf
{
    static constexpr int MaxCount = 2 * OrderedTreeFanout(sizeof(Entry));
    static constexpr int FirstCapacity = std::clamp(static_cast<int>(256 / sizeof(Entry)), 1, 4);
    static constexpr int FirstKey = 0;
    using KeyType = Key;

    int32 m_count;
    int32 m_capacity;
    ssize_t m_shared;
    OrderedTreeLeaf* m_previous;
    OrderedTreeLeaf* m_next;

    // The prefixes, where the keys have any, and the entries follow the leaf in its memory.
    static constexpr std::size_t PrefixSize = s_keyPrefix<Key> != KEY_PREFIX_NONE ? sizeof(uint64) : 0;
    static constexpr std::size_t EntriesOffset(int capacity)
    {
        static_assert(alignof(Entry) <= alignof(std::max_align_t));
        const std::size_t end = sizeof(OrderedTreeLeaf) + static_cast<std::size_t>(capacity) * PrefixSize;
        return (end + alignof(Entry) - 1) / alignof(Entry) * alignof(Entry);
    }
    uint64* Prefixes() { return reinterpret_cast<uint64*>(this + 1); }
    Entry* Entries() { return reinterpret_cast<Entry*>(reinterpret_cast<char*>(this) + EntriesOffset(m_capacity)); }
    const Key& KeyAt(int i) { return Entries()[i].m_key; }
    bool IsFull() const { return m_count == m_capacity; }

    // The order of `sought` and the key of the last entry, of which there is one.
    int CompareWithLast(const SoughtKey<Key>& sought)
    {
        if constexpr (PrefixSize != 0)
        {
            const KeyStart start = GetKeyStart(*this, sought);
            if (start.m_order != 0)
                return start.m_order;
            const uint64 last = Prefixes()[m_count - 1];
            if (start.m_prefix != last || s_keyPrefix<Key> == KEY_PREFIX_WHOLE)
                return start.m_prefix < last ? -1 : start.m_prefix > last;
        }
        return Compare<KEYS_ORDER>(sought.m_key, KeyAt(m_count - 1));
    }

    // Takes in the bytes of an entry, whose key has the prefix.
    void InsertEntry(int at, uint64 prefix, const Entry& entry)
    {
        MoveBytes(Entries() + at + 1, Entries() + at, m_count - at);
        std::memcpy(static_cast<void*>(Entries() + at), static_cast<const void*>(&entry), sizeof(Entry));
        if constexpr (PrefixSize != 0)
            MoveBytes(Prefixes() + at + 1, Prefixes() + at, m_count - at);
        ++m_count;
        AdmitKey(*this, at, prefix);
    }
    void RemoveEntry(int at)
    {
        --m_count;
        MoveBytes(Entries() + at, Entries() + at + 1, m_count - at);
        if constexpr (PrefixSize != 0)
            MoveBytes(Prefixes() + at, Prefixes() + at + 1, m_count - at);
    }
    // Moves the entries from `kept` on to the empty leaf `to`.
    void MoveEntries(int kept, OrderedTreeLeaf& to)
    {
        to.m_count = m_count - kept;
        MoveBytes(to.Entries(), Entries() + kept, to.m_count);
        if constexpr (PrefixSize != 0)
            MoveBytes(to.Prefixes(), Prefixes() + kept, to.m_count);
        to.m_shared = to.m_count > 0 ? m_shared : 0;
        m_count = kept;
    }

    static OrderedTreeLeaf* New(int capacity)
    {
        const std::size_t size = EntriesOffset(capacity) + static_cast<std::size_t>(capacity) * sizeof(Entry);
        return ::new (::operator new(size)) OrderedTreeLeaf{0, capacity, 0, nullptr, nullptr};
    }
    static void Free(OrderedTreeLeaf* leaf) { ::operator delete(static_cast<void*>(leaf)); }
};

template <class Key>
struct OrderedTreeInner
{
    static constexpr int MaxCount = OrderedTreeFanout(sizeof(Key));
    static constexpr bool HasPrefixes = s_keyPrefix<Key> != KEY_PREFIX_NONE;
    static constexpr bool HasKeys = s_keyPrefix<Key> != KEY_PREFIX_WHOLE;
    static constexpr int FirstKey = 1;
    using KeyType = Key;

    int32 m_count; // of children
    ssize_t m_shared = 0;
    OrderedTreeInner* m_nextInList;
    void* m_children[MaxCount];
    // Of the first key below each child; the first is not used.
    uint64 m_prefixes[HasPrefixes ? MaxCount : 1];
    alignas(Key) char m_keys[HasKeys ? MaxCount : 1][HasKeys ? sizeof(Key) : 1];

    bool IsFull() const { return m_count == MaxCount; }

    uint64* Prefixes() { return m_prefixes; }
    const Key& KeyAt(int i) { return *std::launder(reinterpret_cast<const Key*>(m_keys[i])); }

    // The child whose subtree is the one for the key.
    int ChildIndex(const SoughtKey<Key>& sought)
    {
        const KeyPlace place = FindKey(*this, sought);
        return place.m_isFound ? place.m_index : place.m_index - 1;
    }

    // `key` is the address of a key's bytes.
    void SetKey(int at, uint64 prefix, const void* key)
    {
        if constexpr (HasKeys)
            std::memcpy(m_keys[at], key, sizeof(Key));
        AdmitKey(*this, at, prefix);
    }
    // Of the first child, where it was not the first before.
    uint64 FirstPrefix()
    {
        if constexpr (HasKeys)
            return GetKeyPrefix(KeyAt(0));
        else
            return m_prefixes[0];
    }
    const void* FirstKeyBytes() const { return HasKeys ? m_keys[0] : nullptr; }

    void InsertChild(int at, void* child, uint64 prefix, const void* key)
    {
        MoveTail(*this, at, *this, at + 1);
        m_children[at] = child;
        ++m_count;
        SetKey(at, prefix, key);
        ShareMoreCharacters(*this);
    }
    void RemoveChild(int at)
    {
        MoveTail(*this, at + 1, *this, at);
        if (--m_count == FirstKey)
            m_shared = 0;
    }
    // Moves the children from `kept` on to the empty node `to`.
    void MoveChildren(int kept, OrderedTreeInner& to)
    {
        MoveTail(*this, kept, to, 0);
        to.m_count = m_count - kept;
        to.m_shared = to.m_count > FirstKey ? m_shared : 0;
        m_count = kept;
    }

private:
    static void MoveTail(OrderedTreeInner& from, int start, OrderedTreeInner& to, int at)
    {
        const int count = from.m_count - start;
        MoveBytes(to.m_children + at, from.m_children + start, count);
        if constexpr (HasPrefixes)
            MoveBytes(to.m_prefixes + at, from.m_prefixes + start, count);
        if constexpr (HasKeys)
            MoveBytes(to.m_keys + at, from.m_keys + start, count);
    }
};

} // namespace kelm
