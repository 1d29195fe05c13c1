#pragma once

// The nodes of an OrderedTree: leaves, which hold the entries, and inner nodes above them. OrderedTree.h tells what
// they are for; nothing else uses them.

#include <klUtils/types.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace kelm
{

template <class T>
void MoveBytes(T* to, const T* from, ssize_t count)
{
    std::memmove(static_cast<void*>(to), static_cast<const void*>(from), static_cast<std::size_t>(count) * sizeof(T));
}

// About a kilobyte of what has that size.
constexpr int OrderedTreeFanout(std::size_t size)
{
    return std::clamp(static_cast<int>(1024 / size), 8, 32);
}

// The first index in [low, high) that isGreater holds for, as it does for all behind it; `high` where there is none.
template <class IsGreater>
int FirstGreater(int low, int high, IsGreater isGreater)
{
    while (low < high)
    {
        const int middle = (low + high) / 2;
        if (isGreater(middle))
            high = middle;
        else
            low = middle + 1;
    }
    return low;
}

template <class Key, class Entry>
struct OrderedTreeLeaf
{
    static constexpr int MaxCount() { return 2 * OrderedTreeFanout(sizeof(Entry)); }

    int32 m_count;
    int32 m_capacity;
    OrderedTreeLeaf* m_previous;
    OrderedTreeLeaf* m_next;

    // The entries follow the leaf in its memory.
    static constexpr std::size_t EntriesOffset()
    {
        static_assert(alignof(Entry) <= alignof(std::max_align_t));
        return (sizeof(OrderedTreeLeaf) + alignof(Entry) - 1) / alignof(Entry) * alignof(Entry);
    }
    Entry* Entries() { return reinterpret_cast<Entry*>(reinterpret_cast<char*>(this) + EntriesOffset()); }
    const Key& KeyAt(int i) { return Entries()[i].m_key; }
    bool IsFull() const { return m_count == m_capacity; }

    // The number of entries whose keys are not greater than `key`.
    int UpperBound(const Key& key)
    {
        return FirstGreater(0, m_count, [&](int i) { return static_cast<bool>(key < KeyAt(i)); });
    }

    static OrderedTreeLeaf* New(int capacity)
    {
        const std::size_t size = EntriesOffset() + static_cast<std::size_t>(capacity) * sizeof(Entry);
        return ::new (::operator new(size)) OrderedTreeLeaf{0, capacity, nullptr, nullptr};
    }
    static void Free(OrderedTreeLeaf* leaf) { ::operator delete(static_cast<void*>(leaf)); }
};

template <class Key>
struct OrderedTreeInner
{
    static constexpr int MaxCount = OrderedTreeFanout(sizeof(Key));

    int32 m_count; // of children
    void* m_children[MaxCount];
    alignas(Key) char m_keys[MaxCount][sizeof(Key)]; // the first is not used

    const Key& KeyAt(int i) const { return *std::launder(reinterpret_cast<const Key*>(m_keys[i])); }
    bool IsFull() const { return m_count == MaxCount; }

    // The child whose subtree is the one for `key`.
    int ChildIndex(const Key& key) const
    {
        return FirstGreater(1, m_count, [&](int i) { return static_cast<bool>(key < KeyAt(i)); }) - 1;
    }
    void* ChildFor(const Key& key) const { return m_children[ChildIndex(key)]; }

    void InsertChild(int at, void* child, const void* key)
    {
        MoveBytes(m_children + at + 1, m_children + at, m_count - at);
        MoveBytes(m_keys + at + 1, m_keys + at, m_count - at);
        m_children[at] = child;
        std::memcpy(m_keys[at], key, sizeof(Key));
        ++m_count;
    }
    void RemoveChild(int at)
    {
        --m_count;
        MoveBytes(m_children + at, m_children + at + 1, m_count - at);
        MoveBytes(m_keys + at, m_keys + at + 1, m_count - at);
    }
};

} // namespace kelm
