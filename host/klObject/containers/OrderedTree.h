#pragma once

// OrderedTree: what xmap and xset are made of. A B+-tree behind one pointer, null while it is empty.
//
// Entries lie in the leaves, sorted by their keys' total order (KEYS_ORDER), and are moved as bytes; a lone leaf grows
// from a few entries. An inner node keeps, for each child but the first, the bytes of the first key below it. They are
// an alias of that key: compared, never destroyed, and replaced when that key leaves. A leaf is freed when it is empty;
// fuller ones are not merged. Keys that ascend are appended to the last leaf at the cost of one comparison, and leave
// full nodes behind.
//
// An Entry has a member m_key of type Key. It is made in a place of its own in the head, before anything moves, since
// what it is made of may lie in the tree; whatever throws (a key's copy, a payload's construction, the memory) throws
// before the tree is changed.

#include <klObject/containers/OrderedTreeNodes.h>
#include <klUtils/IsRelocatable.h>
#include <klUtils/StackSegment.h>
#include <klUtils/types.h>

#include <algorithm>
#include <concepts>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace kelm
{

template <class Key, class Entry>
class OrderedTree
{
    using Leaf = OrderedTreeLeaf<Key, Entry>;
    using Inner = OrderedTreeInner<Key>;
    using Sought = SoughtKey<Key>;

    struct Head
    {
        void* m_root;
        int32 m_height; // of the root above the leaves
        ssize_t m_size;
        Leaf* m_first;
        Leaf* m_last;
        alignas(Entry) char m_fresh[sizeof(Entry)]; // where an entry is made, and destroyed
    };

    // The way from the root to a leaf: at each height above the leaves a node, and which of its children comes next.
    // Nodes have two children at least when they are made.
    struct Path
    {
        static constexpr int MaxHeight = 64;

        Inner* m_nodes[MaxHeight];
        int m_indices[MaxHeight];
    };

    // Where a key is, or where it would be inserted. Only the way to one inside the tree is kept in the path.
    struct Position
    {
        Leaf* m_leaf = nullptr;
        int m_index = 0;
        bool m_isFound = false;
        bool m_isBehindAll = false;
    };

public:
    template <class E>
    class Iterator
    {
    public:
        using value_type = std::remove_const_t<E>;
        using difference_type = ssize_t;
        using pointer = E*;
        using reference = E&;
        using iterator_category = std::bidirectional_iterator_tag;

        Iterator() = default;
        template <class Other>
        requires(std::is_const_v<E>&& std::is_same_v<const Other, E>) Iterator(const Iterator<Other>& other)
            : m_leaf(other.m_leaf), m_index(other.m_index)
        {
        }
        E& operator*() const { return m_leaf->Entries()[m_index]; }
        E* operator->() const { return &**this; }
        Iterator& operator++()
        {
            if (++m_index == m_leaf->m_count && m_leaf->m_next != nullptr)
                *this = Iterator(m_leaf->m_next, 0);
            return *this;
        }
        Iterator operator++(int)
        {
            const Iterator before = *this;
            ++*this;
            return before;
        }
        Iterator& operator--()
        {
            if (m_index == 0)
                *this = Iterator(m_leaf->m_previous, m_leaf->m_previous->m_count);
            --m_index;
            return *this;
        }
        Iterator operator--(int)
        {
            const Iterator before = *this;
            --*this;
            return before;
        }
        friend bool operator==(const Iterator&, const Iterator&) = default;

    private:
        friend class OrderedTree;
        template <class>
        friend class Iterator;
        Iterator(Leaf* leaf, int index) : m_leaf(leaf), m_index(index) {}

        Leaf* m_leaf = nullptr;
        int m_index = 0;
    };

    OrderedTree() = default;
    OrderedTree(const OrderedTree& other) : OrderedTree() { CopyEntries(other); }
    OrderedTree(OrderedTree&& other) noexcept { swap(other); }
    ~OrderedTree() { Clear(); }
    OrderedTree& operator=(const OrderedTree& other)
    {
        OrderedTree copy(other);
        swap(copy);
        return *this;
    }
    OrderedTree& operator=(OrderedTree&& other) noexcept
    {
        swap(other);
        return *this;
    }
    void swap(OrderedTree& other) noexcept { std::swap(m_head, other.m_head); }

    ssize_t Size() const { return m_head != nullptr ? m_head->m_size : 0; }

    template <class E>
    Iterator<E> Begin() const
    {
        return m_head != nullptr ? Iterator<E>(m_head->m_first, 0) : Iterator<E>();
    }
    template <class E>
    Iterator<E> End() const
    {
        return m_head != nullptr ? Iterator<E>(m_head->m_last, m_head->m_last->m_count) : Iterator<E>();
    }

    template <class E>
    Iterator<E> Find(const Key& key) const
    {
        Path path;
        const Position at = Search(Sought(key), path);
        return at.m_isFound ? Iterator<E>(at.m_leaf, at.m_index) : End<E>();
    }

    // The first entry whose key is not less than `key`.
    template <class E>
    Iterator<E> LowerBound(const Key& key) const
    {
        Path path;
        const Position at = Search(Sought(key), path);
        if (m_head != nullptr && at.m_index == at.m_leaf->m_count && at.m_leaf->m_next != nullptr)
            return Iterator<E>(at.m_leaf->m_next, 0);
        return Iterator<E>(at.m_leaf, at.m_index);
    }

    // The entry under `key`, which make(place) constructs where there is none, and whether it did.
    template <class Make>
    std::pair<Iterator<Entry>, bool> Insert(const Key& key, Make&& make)
    {
        CheckRelocatable<Key>();
        Path path;
        const Sought sought(key);
        Position at = Search(sought, path);
        if (at.m_isFound)
            return {Iterator<Entry>(at.m_leaf, at.m_index), false};
        if (m_head == nullptr)
            at.m_leaf = MakeFirstLeaf();
        try
        {
            make(static_cast<void*>(m_head->m_fresh));
            try
            {
                InsertFresh(at, path, sought.m_prefix);
            }
            catch (...)
            {
                Fresh()->~Entry();
                throw;
            }
        }
        catch (...)
        {
            if (m_head->m_size == 0)
                FreeNodes();
            throw;
        }
        return {Iterator<Entry>(at.m_leaf, at.m_index), true};
    }

    // Whether there was an entry to erase. `key` may be the one in the entry.
    bool Erase(const Key& key)
    {
        Path path;
        const Position at = Search(Sought(key), path);
        if (!at.m_isFound)
            return false;
        std::memcpy(m_head->m_fresh, static_cast<const void*>(at.m_leaf->Entries() + at.m_index), sizeof(Entry));
        at.m_leaf->RemoveEntry(at.m_index);
        --m_head->m_size;
        if (m_head->m_size > 0)
            RemoveAliases(at, path);
        // Out of the tree, should its destructor look there.
        CallWithEnoughStack([this]() noexcept { Fresh()->~Entry(); });
        if (m_head->m_size == 0)
            FreeNodes();
        return true;
    }

    void Clear() noexcept
    {
        if (m_head == nullptr)
            return;
        if constexpr (!std::is_trivially_destructible_v<Entry>)
            // Entries may hold trees of their own kind, nested to any depth.
            CallWithEnoughStack(
                [this]() noexcept
                {
                    for (Leaf* leaf = m_head->m_first; leaf != nullptr; leaf = leaf->m_next)
                        std::destroy_n(leaf->Entries(), leaf->m_count);
                });
        FreeNodes();
    }

    // By the entries, in order: compare(a, b) of two of them; of two trees of which one begins the other, the shorter
    // is less.
    template <EComparison C, class CompareEntries>
    static int CompareEach(const OrderedTree& a, const OrderedTree& b, CompareEntries compare)
    {
        if (Comparison<C>::s_isEquality && a.Size() != b.Size())
            return 1;
        if (IsStackLow()) // entries may hold trees of their own kind, nested to any depth
            return CallOnFreshSegment([&] { return CompareEach<C>(a, b, compare); });
        auto i = a.template Begin<const Entry>();
        auto j = b.template Begin<const Entry>();
        for (ssize_t left = std::min(a.Size(), b.Size()); left > 0; --left, ++i, ++j)
            if (const int order = compare(*i, *j))
                return order;
        return CompareScalars<C>(a.Size(), b.Size());
    }

private:
    Entry* Fresh() { return std::launder(reinterpret_cast<Entry*>(m_head->m_fresh)); }

    void CopyEntries(const OrderedTree& other)
    {
        if (IsStackLow()) // entries may hold trees of their own kind, nested to any depth
            return CallOnFreshSegment([&] { CopyEntries(other); });
        const auto end = other.template End<const Entry>();
        for (auto it = other.template Begin<const Entry>(); it != end; ++it)
            Insert(it->m_key, [&](void* place) { ::new (place) Entry(*it); });
    }

    // Where `sought` is, or where it would be inserted.
    Position Search(const Sought& sought, Path& path) const
    {
        static_assert(
            requires(const Key& k) {
                {
                    k < k
                    } -> std::convertible_to<bool>;
            },
            "the keys of an xmap and the elements of an xset need an operator<");
        if (m_head == nullptr)
            return {};
        Leaf* const last = m_head->m_last;
        if (const int order = last->CompareWithLast(sought); order >= 0)
            return {last, last->m_count - (order == 0), order == 0, order > 0};
        void* node = m_head->m_root;
        for (int height = m_head->m_height; height > 0; --height)
        {
            auto* const inner = static_cast<Inner*>(node);
            const int index = inner->ChildIndex(sought);
            path.m_nodes[height] = inner;
            path.m_indices[height] = index;
            node = inner->m_children[index];
        }
        auto* const leaf = static_cast<Leaf*>(node);
        const KeyPlace place = FindKey(*leaf, sought);
        return {leaf, place.m_index, place.m_isFound};
    }

    // The way to the last leaf.
    void FollowLast(Path& path) const
    {
        void* node = m_head->m_root;
        for (int height = m_head->m_height; height > 0; --height)
        {
            auto* const inner = static_cast<Inner*>(node);
            path.m_nodes[height] = inner;
            path.m_indices[height] = inner->m_count - 1;
            node = inner->m_children[inner->m_count - 1];
        }
    }

    Leaf* MakeFirstLeaf()
    {
        std::unique_ptr<Head> head(new Head);
        Leaf* const leaf = Leaf::New(Leaf::FirstCapacity);
        head->m_root = head->m_first = head->m_last = leaf;
        head->m_height = 0;
        head->m_size = 0;
        m_head = head.release();
        return leaf;
    }

    // Puts the fresh entry at `at`, which is moved to where that is then.
    void InsertFresh(Position& at, Path& path, uint64 prefix)
    {
        if (at.m_leaf->IsFull() && at.m_leaf->m_capacity == Leaf::MaxCount)
            Split(at, path, prefix);
        else
        {
            if (at.m_leaf->IsFull())
                at.m_leaf = GrowLoneLeaf();
            at.m_leaf->InsertEntry(at.m_index, prefix, *Fresh());
        }
        ++m_head->m_size;
    }

    // The lone leaf, which is not yet of full size.
    Leaf* GrowLoneLeaf()
    {
        Leaf* const old = m_head->m_first;
        Leaf* const leaf = Leaf::New(std::min(2 * old->m_capacity, Leaf::MaxCount));
        old->MoveEntries(0, *leaf);
        ShareMoreCharacters(*leaf);
        m_head->m_root = m_head->m_first = m_head->m_last = leaf;
        Leaf::Free(old);
        return leaf;
    }

    // A list of inner nodes, which frees what is left in it.
    struct InnerList
    {
        InnerList() = default;
        InnerList(const InnerList&) = delete;
        InnerList& operator=(const InnerList&) = delete;
        ~InnerList()
        {
            while (m_first != nullptr)
                delete Pop();
        }
        void Push(Inner* inner)
        {
            inner->m_nextInList = m_first;
            m_first = inner;
        }
        Inner* Pop() { return std::exchange(m_first, m_first->m_nextInList); }

        Inner* m_first = nullptr;
    };

    // Splits the full leaf at `at`, and each full node above that is to take a new child. Where the entry comes behind
    // all, what is there stays together, and the entry begins a new leaf.
    void Split(Position& at, Path& path, uint64 prefix)
    {
        if (at.m_isBehindAll)
            FollowLast(path);

        // What can fail comes first.
        int height = 1;
        InnerList fresh;
        for (; height <= m_head->m_height && path.m_nodes[height]->IsFull(); ++height)
            fresh.Push(new Inner);
        const bool isRaised = height > m_head->m_height;
        if (isRaised)
            fresh.Push(new Inner);
        Leaf* const right = Leaf::New(Leaf::MaxCount);

        SplitLeaf(at, *right, prefix);
        void* child = right;
        uint64 childPrefix = prefix;
        const void* childKey = &Fresh()->m_key;
        if (!at.m_isBehindAll)
        {
            childKey = &right->KeyAt(0);
            childPrefix = GetKeyPrefix(right->KeyAt(0));
        }
        for (int h = 1; h < height; ++h)
        {
            Inner* const rightInner = fresh.Pop();
            InsertAndSplit(*path.m_nodes[h], *rightInner, path.m_indices[h] + 1, at.m_isBehindAll, child, childPrefix,
                           childKey);
            child = rightInner;
            childPrefix = rightInner->FirstPrefix();
            childKey = rightInner->FirstKeyBytes();
        }
        if (isRaised)
            RaiseRoot(*fresh.Pop(), child, childPrefix, childKey);
        else
            path.m_nodes[height]->InsertChild(path.m_indices[height] + 1, child, childPrefix, childKey);
    }

    void SplitLeaf(Position& at, Leaf& right, uint64 prefix)
    {
        Leaf& left = *at.m_leaf;
        const int kept = at.m_isBehindAll ? left.m_count : left.m_count / 2;
        left.MoveEntries(kept, right);
        right.m_previous = &left;
        right.m_next = left.m_next;
        (right.m_next != nullptr ? right.m_next->m_previous : m_head->m_last) = &right;
        left.m_next = &right;
        if (at.m_isBehindAll || at.m_index > kept)
        {
            at.m_leaf = &right;
            at.m_index -= kept;
        }
        at.m_leaf->InsertEntry(at.m_index, prefix, *Fresh());
        ShareMoreCharacters(left);
        ShareMoreCharacters(right);
    }

    static void InsertAndSplit(Inner& left, Inner& right, int at, bool isBehindAll, void* child, uint64 prefix,
                               const void* key)
    {
        const int kept = isBehindAll ? left.m_count : left.m_count / 2;
        left.MoveChildren(kept, right);
        if (isBehindAll || at > kept)
            right.InsertChild(at - kept, child, prefix, key);
        else
            left.InsertChild(at, child, prefix, key);
    }

    void RaiseRoot(Inner& root, void* child, uint64 prefix, const void* key)
    {
        root.m_children[0] = m_head->m_root;
        root.m_count = 1;
        root.InsertChild(1, child, prefix, key);
        m_head->m_root = &root;
        ++m_head->m_height;
    }

    // After an entry has left `at`, and others are there: no alias of its key is kept, and no empty node.
    void RemoveAliases(const Position& at, Path& path)
    {
        if (at.m_leaf == m_head->m_last)
            FollowLast(path);
        Leaf* const leaf = at.m_leaf;
        int height = 1;
        if (leaf->m_count == 0)
        {
            (leaf->m_previous != nullptr ? leaf->m_previous->m_next : m_head->m_first) = leaf->m_next;
            (leaf->m_next != nullptr ? leaf->m_next->m_previous : m_head->m_last) = leaf->m_previous;
            Leaf::Free(leaf);
            while (path.m_nodes[height]->m_count == 1)
                delete path.m_nodes[height++];
            Inner& inner = *path.m_nodes[height];
            const int index = path.m_indices[height];
            inner.RemoveChild(index);
            if (index == 0) // what was the second child's key is that of the whole node now
                ReplaceAlias(path, height + 1, inner.FirstPrefix(), inner.FirstKeyBytes());
            LowerRoot();
        }
        else if (at.m_index == 0)
            ReplaceAlias(path, height, GetKeyPrefix(leaf->KeyAt(0)), &leaf->KeyAt(0));
    }

    // The key of what the path enters below `height` is kept where the path last turns away from a first child.
    void ReplaceAlias(const Path& path, int height, uint64 prefix, const void* key)
    {
        for (; height <= m_head->m_height; ++height)
            if (path.m_indices[height] > 0)
                return path.m_nodes[height]->SetKey(path.m_indices[height], prefix, key);
    }

    void LowerRoot()
    {
        while (m_head->m_height > 0 && static_cast<Inner*>(m_head->m_root)->m_count == 1)
        {
            auto* const root = static_cast<Inner*>(m_head->m_root);
            m_head->m_root = root->m_children[0];
            --m_head->m_height;
            delete root;
        }
    }

    // The head and all nodes, with no entries in them. Leaves are in a list; inner nodes are put into one level by
    // level.
    void FreeNodes() noexcept
    {
        for (Leaf* leaf = m_head->m_first; leaf != nullptr;)
            Leaf::Free(std::exchange(leaf, leaf->m_next));
        InnerList level;
        if (m_head->m_height > 0)
            level.Push(static_cast<Inner*>(m_head->m_root));
        for (int height = m_head->m_height; height > 0; --height)
        {
            InnerList below;
            while (level.m_first != nullptr)
            {
                Inner* const inner = level.Pop();
                for (int i = 0; height > 1 && i < inner->m_count; ++i)
                    below.Push(static_cast<Inner*>(inner->m_children[i]));
                delete inner;
            }
            std::swap(level.m_first, below.m_first);
        }
        delete std::exchange(m_head, nullptr);
    }

    Head* m_head = nullptr;
};

} // namespace kelm
