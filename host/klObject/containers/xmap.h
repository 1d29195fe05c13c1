#pragma once

// xmap: an ordered map, by operator< of the keys. One word, null while it is empty, and so movable as bytes.
//
//     xmap<xstring, int32> ages;
//     ages["Ann"] = 40;
//     for (const auto& [name, age] : ages)
//         ...
//
// A value: copied and compared by its entries. Keys and payloads are moved as bytes; an iterator, a pointer or a
// reference to an entry is valid until the next insertion or erasure. What throws leaves the map as it was.

#include <klObject/containers/OrderedTree.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <initializer_list>

namespace kelm
{

template <class K, class V>
class xmap
{
public:
    struct Entry
    {
        const K m_key;
        V m_value;
    };

private:
    using Tree = OrderedTree<K, Entry>;

public:
    using key_type = K;
    using mapped_type = V;
    using iterator = typename Tree::template Iterator<Entry>;
    using const_iterator = typename Tree::template Iterator<const Entry>;

    xmap() = default;
    xmap(std::initializer_list<Entry> entries) // of entries with one key, the first counts
    {
        for (const Entry& entry : entries)
            m_tree.Insert(entry.m_key, [&](void* place) { ::new (place) Entry(entry); });
    }

    ssize_t size() const { return m_tree.Size(); }
    bool empty() const { return size() == 0; }

    iterator begin() { return m_tree.template Begin<Entry>(); }
    iterator end() { return {}; }
    const_iterator begin() const { return m_tree.template Begin<const Entry>(); }
    const_iterator end() const { return {}; }

    iterator find(const K& key) { return m_tree.template Find<Entry>(key); }
    const_iterator find(const K& key) const { return m_tree.template Find<const Entry>(key); }
    ssize_t count(const K& key) const { return find(key) != end(); }

    // The payload under `key`, which is value-initialised where there was none.
    V& Insert(const K& key)
    {
        return m_tree.Insert(key, [&](void* place) { ::new (place) Entry{key, V()}; }).first->m_value;
    }
    V& operator[](const K& key) { return Insert(key); }

    // Whether there was an entry to erase.
    bool erase(const K& key) { return m_tree.Erase(key); }
    void clear() noexcept { m_tree.Clear(); }

    void swap(xmap& other) noexcept { m_tree.swap(other.m_tree); }

    friend bool operator==(const xmap& a, const xmap& b)
    {
        if (a.size() != b.size())
            return false;
        for (auto i = a.begin(), j = b.begin(); i != a.end(); ++i, ++j)
            if (!(i->m_key == j->m_key) || !(i->m_value == j->m_value))
                return false;
        return true;
    }

    // Entry by entry; an entry is less by its key, then by its payload.
    friend bool operator<(const xmap& a, const xmap& b)
    {
        auto i = a.begin();
        auto j = b.begin();
        for (; i != a.end() && j != b.end(); ++i, ++j)
        {
            if (i->m_key < j->m_key)
                return true;
            if (j->m_key < i->m_key)
                return false;
            if (i->m_value < j->m_value)
                return true;
            if (j->m_value < i->m_value)
                return false;
        }
        return i == a.end() && j != b.end();
    }

private:
    Tree m_tree;
};

static_assert(sizeof(xmap<int, int>) == sizeof(void*));

// The function table of one map type.
template <class K, class V>
struct MapFunctions
{
    using Map = xmap<K, V>;

    static void* Insert(void* map, const void* key)
    {
        return &static_cast<Map*>(map)->Insert(*static_cast<const K*>(key));
    }
    static void Construct(void* map) { ::new (map) Map(); }
    static void Destruct(void* map) { static_cast<Map*>(map)->~Map(); }
    static ssize_t Count(const void* map) { return static_cast<const Map*>(map)->size(); }
    static void ForEach(const void* map, EntryVisitor visitor, void* context)
    {
        for (const auto& [key, value] : *static_cast<const Map*>(map))
            if (!visitor(context, &key, const_cast<V*>(&value)))
                return;
    }

    static constexpr MapFns table = {Insert, Construct, Destruct, Count, ForEach};
};

} // namespace kelm
