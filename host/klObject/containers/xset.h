#pragma once

// xset: an ordered set, by operator< of the elements. One word, null while it is empty, and so movable as bytes.
//
// A value: copied and compared by its elements, which are moved as bytes; an iterator or a reference to an element is
// valid until the next insertion or erasure. What throws leaves the set as it was.

#include <klObject/containers/OrderedTree.h>
#include <klObject/types/ReflectedTypes.h>
#include <klUtils/types.h>

#include <initializer_list>

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
    using value_type = T;

    class const_iterator
    {
    public:
        const_iterator() = default;
        const T& operator*() const { return m_entry->m_key; }
        const T* operator->() const { return &m_entry->m_key; }
        const_iterator& operator++()
        {
            ++m_entry;
            return *this;
        }
        friend bool operator==(const const_iterator&, const const_iterator&) = default;

    private:
        friend class xset;
        explicit const_iterator(typename Tree::template Iterator<const Entry> entry) : m_entry(entry) {}

        typename Tree::template Iterator<const Entry> m_entry;
    };

    xset() = default;
    xset(std::initializer_list<T> elements)
    {
        for (const T& element : elements)
            Insert(element);
    }

    ssize_t size() const { return m_tree.Size(); }
    bool empty() const { return size() == 0; }

    const_iterator begin() const { return const_iterator(m_tree.template Begin<const Entry>()); }
    const_iterator end() const { return {}; }

    const_iterator find(const T& element) const { return const_iterator(m_tree.template Find<const Entry>(element)); }
    ssize_t count(const T& element) const { return find(element) != end(); }

    // False when it was there.
    bool Insert(const T& element)
    {
        return m_tree.Insert(element, [&](void* place) { ::new (place) Entry{element}; }).second;
    }

    // Whether there was an element to erase.
    bool erase(const T& element) { return m_tree.Erase(element); }
    void clear() noexcept { m_tree.Clear(); }

    void swap(xset& other) noexcept { m_tree.swap(other.m_tree); }

    friend bool operator==(const xset& a, const xset& b)
    {
        if (a.size() != b.size())
            return false;
        for (auto i = a.begin(), j = b.begin(); i != a.end(); ++i, ++j)
            if (!(*i == *j))
                return false;
        return true;
    }

    // Element by element; of two sets of which one begins the other, the shorter is less.
    friend bool operator<(const xset& a, const xset& b)
    {
        auto i = a.begin();
        auto j = b.begin();
        for (; i != a.end() && j != b.end(); ++i, ++j)
        {
            if (*i < *j)
                return true;
            if (*j < *i)
                return false;
        }
        return i == a.end() && j != b.end();
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
