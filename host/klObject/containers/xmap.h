#pragma once

// xmap: an ordered map. One word, null while it is empty, and so movable as bytes.
//
//     xmap<xstring, int32> ages;
//     ages["Ann"] = 40;
//     for (const auto& [name, age] : ages)
//         ...
//
// Keys are in the total order of Compare.h (a NaN is equal to itself and behind all numbers, -0.0 is equal to 0.0), and
// a class that has no other in that of its operators.
//
// A value: copied and compared by its entries. Keys and payloads are moved as bytes (IsRelocatable.h); an iterator, a
// pointer or a reference to an entry is valid until the next insertion or erasure. What throws leaves the map as it
// was. Arguments may lie in the map.

#include <klObject/containers/OrderedTree.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

#include <compare>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <utility>

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
    using value_type = Entry;
    using size_type = ssize_t;
    using difference_type = ssize_t;
    using reference = Entry&;
    using const_reference = const Entry&;
    using iterator = typename Tree::template Iterator<Entry>;
    using const_iterator = typename Tree::template Iterator<const Entry>;
    using reverse_iterator = std::reverse_iterator<iterator>;
    using const_reverse_iterator = std::reverse_iterator<const_iterator>;

    xmap() = default;
    // Of entries with one key, the first counts.
    xmap(std::initializer_list<Entry> entries) : xmap(entries.begin(), entries.end()) {}
    // Of entries, or pairs of a key and a payload.
    template <std::input_iterator Iterator, std::sentinel_for<Iterator> Sentinel>
    xmap(Iterator first, Sentinel last)
    {
        for (; first != last; ++first)
        {
            const auto& [key, value] = *first;
            if constexpr (std::is_convertible_v<decltype(key), const K&>)
                try_emplace(key, value);
            else
                try_emplace(K(key), value);
        }
    }

    ssize_t size() const { return m_tree.Size(); }
    bool empty() const { return size() == 0; }

    iterator begin() { return m_tree.template Begin<Entry>(); }
    iterator end() { return m_tree.template End<Entry>(); }
    const_iterator begin() const { return m_tree.template Begin<const Entry>(); }
    const_iterator end() const { return m_tree.template End<const Entry>(); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }
    reverse_iterator rbegin() { return reverse_iterator(end()); }
    reverse_iterator rend() { return reverse_iterator(begin()); }
    const_reverse_iterator rbegin() const { return const_reverse_iterator(end()); }
    const_reverse_iterator rend() const { return const_reverse_iterator(begin()); }

    iterator find(const K& key) { return m_tree.template Find<Entry>(key); }
    const_iterator find(const K& key) const { return m_tree.template Find<const Entry>(key); }
    // The first entry whose key is not less.
    iterator lower_bound(const K& key) { return m_tree.template LowerBound<Entry>(key); }
    const_iterator lower_bound(const K& key) const { return m_tree.template LowerBound<const Entry>(key); }
    bool contains(const K& key) const { return find(key) != end(); }
    ssize_t count(const K& key) const { return contains(key); }

    // The payload under `key`, which is value-initialised where there was none.
    V& Insert(const K& key) { return try_emplace(key).first->m_value; }
    V& operator[](const K& key) { return try_emplace(key).first->m_value; }

    // The entry under `key`, and whether it was made, with a payload made of `args`.
    template <class... Args>
    std::pair<iterator, bool> try_emplace(const K& key, Args&&... args)
    {
        CheckRelocatable<V>();
        return m_tree.Insert(key, [&](void* place) { ::new (place) Entry{key, V(std::forward<Args>(args)...)}; });
    }
    // The entry under the key, and whether it is a copy of `entry`.
    std::pair<iterator, bool> insert(const Entry& entry) { return try_emplace(entry.m_key, entry.m_value); }

    // Whether there was an entry to erase.
    bool erase(const K& key) { return m_tree.Erase(key); }
    void clear() noexcept { m_tree.Clear(); }

    void swap(xmap& other) noexcept { m_tree.swap(other.m_tree); }
    friend void swap(xmap& a, xmap& b) noexcept { a.swap(b); }

    friend bool operator==(const xmap& a, const xmap& b) { return CompareFor(Comparison<VALUES_EQUAL>(), a, b) == 0; }
    // Entry by entry; an entry is less by its key, then by its payload.
    friend std::weak_ordering operator<=>(const xmap& a, const xmap& b)
    {
        return CompareFor(Comparison<VALUES_ORDER>(), a, b) <=> 0;
    }
    template <EComparison C>
    friend int CompareFor(Comparison<C>, const xmap& a, const xmap& b)
    {
        return Tree::template CompareEach<C>(a.m_tree, b.m_tree,
                                             [](const Entry& x, const Entry& y)
                                             {
                                                 const int order = Compare<Comparison<C>::s_ofKeys>(x.m_key, y.m_key);
                                                 return order != 0 ? order : Compare<C>(x.m_value, y.m_value);
                                             });
    }

    template <class T>
    static constexpr bool MovesAsBytes()
    {
        return sizeof(T) == sizeof(xmap);
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

    static void* Find(const void* map, const void* key)
    {
        const Map& m = *static_cast<const Map*>(map);
        const auto found = m.find(*static_cast<const K*>(key));
        return found != m.end() ? const_cast<V*>(&(*found).m_value) : nullptr;
    }
    static bool Erase(void* map, const void* key) { return static_cast<Map*>(map)->erase(*static_cast<const K*>(key)); }

    template <class T>
    static constexpr bool s_isOurs = IsScalarType<T> || std::is_same_v<T, xstring> || std::is_same_v<T, xstring16>;

    static constexpr MapFns table = {Insert,  Construct, Destruct, Count,
                                     ForEach, Find,      Erase,    s_isOurs<K>&& s_isOurs<V>};
};

} // namespace kelm
