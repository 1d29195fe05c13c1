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
// keep the prefixes of their keys side by side.
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

// Looks among the keys [low, high) of a node, which are found by KeyAt(i).
template <class Key, class KeyAt>
KeyPlace FindKey(const uint64* prefixes, int low, int high, const SoughtKey<Key>& sought, KeyAt keyAt)
{
    constexpr EKeyPrefix kind = s_keyPrefix<Key>;
    int end = high;
    if constexpr (kind != KEY_PREFIX_NONE)
    {
        // The first prefix that is not less. Without a branch that the processor would guess wrong half of the time.
        const uint64* base = prefixes + low;
        for (int count = low < high && *base == sought.m_prefix ? 0 : high - low; count > 0;)
        {
            const int half = (count + 1) / 2;
            base = base[half - 1] < sought.m_prefix ? base + half : base;
            count -= half;
        }
        low = static_cast<int>(base - prefixes);
        if (low == high || prefixes[low] != sought.m_prefix)
            return {low, false};
        if constexpr (kind == KEY_PREFIX_WHOLE)
            return {low, true};
        // Keys with one beginning in common often fill a node.
        if (prefixes[high - 1] != sought.m_prefix)
            end = static_cast<int>(std::upper_bound(prefixes + low, prefixes + high, sought.m_prefix) - prefixes);
    }
    while (low < end)
    {
        const int middle = (low + end) / 2;
        const int order = Compare<KEYS_ORDER>(sought.m_key, keyAt(middle));
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

    int32 m_count;
    int32 m_capacity;
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

    KeyPlace Find(const SoughtKey<Key>& sought)
    {
        return FindKey(Prefixes(), 0, m_count, sought,
                       [entries = Entries()](int i) -> const Key& { return entries[i].m_key; });
    }

    // The order of `sought` and the key of the last entry, of which there is one.
    int CompareWithLast(const SoughtKey<Key>& sought)
    {
        if constexpr (PrefixSize != 0)
        {
            const uint64 last = Prefixes()[m_count - 1];
            if (sought.m_prefix != last || s_keyPrefix<Key> == KEY_PREFIX_WHOLE)
                return sought.m_prefix < last ? -1 : sought.m_prefix > last;
        }
        return Compare<KEYS_ORDER>(sought.m_key, KeyAt(m_count - 1));
    }

    void OpenGap(int at, uint64 prefix)
    {
        MoveBytes(Entries() + at + 1, Entries() + at, m_count - at);
        if constexpr (PrefixSize != 0)
        {
            MoveBytes(Prefixes() + at + 1, Prefixes() + at, m_count - at);
            Prefixes()[at] = prefix;
        }
        ++m_count;
    }
    void CloseGap(int at)
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
        m_count = kept;
    }

    static OrderedTreeLeaf* New(int capacity)
    {
        const std::size_t size = EntriesOffset(capacity) + static_cast<std::size_t>(capacity) * sizeof(Entry);
        return ::new (::operator new(size)) OrderedTreeLeaf{0, capacity, nullptr, nullptr};
    }
    static void Free(OrderedTreeLeaf* leaf) { ::operator delete(static_cast<void*>(leaf)); }
};

template <class Key>
struct OrderedTreeInner
{
    static constexpr int MaxCount = OrderedTreeFanout(sizeof(Key));
    static constexpr bool HasPrefixes = s_keyPrefix<Key> != KEY_PREFIX_NONE;
    static constexpr bool HasKeys = s_keyPrefix<Key> != KEY_PREFIX_WHOLE;

    int32 m_count; // of children
    OrderedTreeInner* m_nextInList;
    void* m_children[MaxCount];
    // Of the first key below each child; the first is not used.
    uint64 m_prefixes[HasPrefixes ? MaxCount : 1];
    alignas(Key) char m_keys[HasKeys ? MaxCount : 1][HasKeys ? sizeof(Key) : 1];

    bool IsFull() const { return m_count == MaxCount; }

    // The child whose subtree is the one for the key.
    int ChildIndex(const SoughtKey<Key>& sought) const
    {
        const KeyPlace place =
            FindKey(m_prefixes, 1, m_count, sought,
                    [this](int i) -> const Key& { return *std::launder(reinterpret_cast<const Key*>(m_keys[i])); });
        return place.m_isFound ? place.m_index : place.m_index - 1;
    }

    // `key` is the address of a key's bytes.
    void SetKey(int at, uint64 prefix, const void* key)
    {
        if constexpr (HasPrefixes)
            m_prefixes[at] = prefix;
        if constexpr (HasKeys)
            std::memcpy(m_keys[at], key, sizeof(Key));
    }
    uint64 PrefixAt(int i) const { return HasPrefixes ? m_prefixes[i] : 0; }
    const void* KeyBytesAt(int i) const { return HasKeys ? m_keys[i] : nullptr; }

    void InsertChild(int at, void* child, uint64 prefix, const void* key)
    {
        MoveTail(*this, at, *this, at + 1);
        m_children[at] = child;
        SetKey(at, prefix, key);
        ++m_count;
    }
    void RemoveChild(int at)
    {
        MoveTail(*this, at + 1, *this, at);
        --m_count;
    }
    // Moves the children from `kept` on to the empty node `to`.
    void MoveChildren(int kept, OrderedTreeInner& to)
    {
        MoveTail(*this, kept, to, 0);
        to.m_count = m_count - kept;
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
