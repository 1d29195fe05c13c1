#pragma once

// xset: an ordered set. One word, null while it is empty, and so movable as bytes. Its elements are ordered as an
// xmap's keys are.
//
// A value: copied and compared by its elements, which are moved as bytes (IsRelocatable.h); an iterator or a reference
// to an element is valid until the next insertion or erasure. What throws leaves the set as it was. Arguments may lie
// in the set.

#include <klObject/containers/OrderedTree.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <compare>
#include <initializer_list>
#include <iterator>
#include <utility>

namespace kelm
{

template <class T>
class xset
{
    struct Entry
    {
        T m_key;
    };
    using Tree = OrderedTree<T, Entry>;

public:
    class const_iterator
    {
    public:
        using value_type = T;
        using difference_type = ssize_t;
        using pointer = const T*;
        using reference = const T&;
        using iterator_category = std::bidirectional_iterator_tag;

        const_iterator() = default;
        const T& operator*() const { return m_entry->m_key; }
        const T* operator->() const { return &m_entry->m_key; }
        const_iterator& operator++()
        {
            ++m_entry;
            return *this;
        }
        const_iterator operator++(int) { return const_iterator(m_entry++); }
        const_iterator& operator--()
        {
            --m_entry;
            return *this;
        }
        const_iterator operator--(int) { return const_iterator(m_entry--); }
        friend bool operator==(const const_iterator&, const const_iterator&) = default;

    private:
        friend class xset;
        explicit const_iterator(typename Tree::template Iterator<const Entry> entry) : m_entry(entry) {}

        typename Tree::template Iterator<const Entry> m_entry;
    };

    using key_type = T;
    using value_type = T;
    using size_type = ssize_t;
    using difference_type = ssize_t;
    using reference = const T&;
    using const_reference = const T&;
    using iterator = const_iterator;
    using reverse_iterator = std::reverse_iterator<const_iterator>;
    using const_reverse_iterator = reverse_iterator;

    xset() = default;
    xset(std::initializer_list<T> elements) : xset(elements.begin(), elements.end()) {}
    template <std::input_iterator Iterator, std::sentinel_for<Iterator> Sentinel>
    xset(Iterator first, Sentinel last)
    {
        for (; first != last; ++first)
            insert(T(*first));
    }

    ssize_t size() const { return m_tree.Size(); }
    bool empty() const { return size() == 0; }

    const_iterator begin() const { return const_iterator(m_tree.template Begin<const Entry>()); }
    const_iterator end() const { return const_iterator(m_tree.template End<const Entry>()); }
    const_iterator cbegin() const { return begin(); }
    const_iterator cend() const { return end(); }
    reverse_iterator rbegin() const { return reverse_iterator(end()); }
    reverse_iterator rend() const { return reverse_iterator(begin()); }

    const_iterator find(const T& element) const { return const_iterator(m_tree.template Find<const Entry>(element)); }
    // The first element that is not less.
    const_iterator lower_bound(const T& element) const
    {
        return const_iterator(m_tree.template LowerBound<const Entry>(element));
    }
    bool contains(const T& element) const { return find(element) != end(); }
    ssize_t count(const T& element) const { return contains(element); }

    // False when it was there.
    bool Insert(const T& element) { return insert(element).second; }
    // The element, and whether it was not there.
    std::pair<const_iterator, bool> insert(const T& element)
    {
        const auto [at, isNew] = m_tree.Insert(element, [&](void* place) { ::new (place) Entry{element}; });
        return {const_iterator(at), isNew};
    }

    // Whether there was an element to erase.
    bool erase(const T& element) { return m_tree.Erase(element); }
    void clear() noexcept { m_tree.Clear(); }

    void swap(xset& other) noexcept { m_tree.swap(other.m_tree); }
    friend void swap(xset& a, xset& b) noexcept { a.swap(b); }

    friend bool operator==(const xset& a, const xset& b) { return CompareFor(Comparison<VALUES_EQUAL>(), a, b) == 0; }
    // Element by element; of two sets of which one begins the other, the shorter is less.
    friend std::weak_ordering operator<=>(const xset& a, const xset& b)
    {
        return CompareFor(Comparison<VALUES_ORDER>(), a, b) <=> 0;
    }
    template <EComparison C>
    friend int CompareFor(Comparison<C>, const xset& a, const xset& b)
    {
        return Tree::template CompareEach<C>(a.m_tree, b.m_tree,
                                             [](const Entry& x, const Entry& y)
                                             { return Compare<Comparison<C>::s_ofKeys>(x.m_key, y.m_key); });
    }

    template <class U>
    static constexpr bool MovesAsBytes()
    {
        return sizeof(U) == sizeof(xset);
    }

private:
    Tree m_tree;
};

static_assert(sizeof(xset<int>) == sizeof(void*));

// The function table of one set type.
template <class T>
struct SetFunctions
{
    using Set = xset<T>;

    static bool Insert(void* set, const void* element)
    {
        return static_cast<Set*>(set)->Insert(*static_cast<const T*>(element));
    }
    static void Construct(void* set) { ::new (set) Set(); }
    static void Destruct(void* set) { static_cast<Set*>(set)->~Set(); }
    static ssize_t Count(const void* set) { return static_cast<const Set*>(set)->size(); }
    static void ForEach(const void* set, EntryVisitor visitor, void* context)
    {
        for (const T& element : *static_cast<const Set*>(set))
            if (!visitor(context, &element, nullptr))
                return;
    }

    static constexpr SetFns table = {Insert, Construct, Destruct, Count, ForEach};
};

} // namespace kelm
