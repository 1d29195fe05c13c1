#pragma once

// OrderedTree: what xmap and xset are made of. A B+-tree behind one pointer, null while it is empty.
//
// Entries lie in the leaves, sorted, and are moved as bytes; a lone leaf grows from a few entries. An inner node keeps,
// for each child but the first, the bytes of the first key below it. They are an alias of that key: compared, never
// destroyed, and replaced when that key leaves. A leaf is freed when it is empty; fuller ones are not merged. Keys
// that ascend are appended to the last leaf at the cost of one comparison, and leave full nodes behind.
//
// An Entry has a member m_key of type Key. Whatever throws (a key's copy, a payload's construction, the memory) throws
// before the tree is changed.

#include <klObject/containers/OrderedTreeNodes.h>
#include <klUtils/StackSegment.h>
#include <klUtils/types.h>

#include <algorithm>
#include <concepts>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

namespace kelm
{

template <class Key, class Entry>
class OrderedTree
{
    using Leaf = OrderedTreeLeaf<Key, Entry>;
    using Inner = OrderedTreeInner<Key>;

    static constexpr int FirstCapacity = 4;

    struct Head
    {
        void* m_root;
        int32 m_height; // of the root above the leaves
        ssize_t m_size;
        Leaf* m_first;
        Leaf* m_last;
    };

    struct Position
    {
        Leaf* m_leaf = nullptr;
        int m_index = 0;
        bool m_isFound = false;
    };

public:
    template <class E>
    class Iterator
    {
    public:
        Iterator() = default;
        E& operator*() const { return m_leaf->Entries()[m_index]; }
        E* operator->() const { return &**this; }
        Iterator& operator++()
        {
            if (++m_index == m_leaf->m_count)
                *this = Iterator(m_leaf->m_next, 0);
            return *this;
        }
        friend bool operator==(const Iterator&, const Iterator&) = default;

    private:
        friend class OrderedTree;
        Iterator(Leaf* leaf, int index) : m_leaf(leaf), m_index(index) {}

        Leaf* m_leaf = nullptr;
        int m_index = 0;
    };

    OrderedTree() = default;
    OrderedTree(const OrderedTree& other) : OrderedTree()
    {
        for (auto it = other.template Begin<const Entry>(); it != Iterator<const Entry>(); ++it)
            Insert(it->m_key, [&](void* place) { ::new (place) Entry(*it); });
    }
    OrderedTree(OrderedTree&& other) noexcept { swap(other); }
    ~OrderedTree() { Clear(); }
    OrderedTree& operator=(OrderedTree other) noexcept
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
    Iterator<E> Find(const Key& key) const
    {
        const Position at = Search(key);
        return at.m_isFound ? Iterator<E>(at.m_leaf, at.m_index) : Iterator<E>();
    }

    // The entry under `key`, which make(place) constructs where there is none, and whether it did.
    template <class Make>
    std::pair<Entry*, bool> Insert(const Key& key, Make&& make)
    {
        const Position at = Search(key);
        if (at.m_isFound)
            return {at.m_leaf->Entries() + at.m_index, false};
        alignas(Entry) char fresh[sizeof(Entry)];
        make(static_cast<void*>(fresh));
        Entry* place;
        try
        {
            place = OpenGap(at, key);
        }
        catch (...)
        {
            std::launder(reinterpret_cast<Entry*>(fresh))->~Entry();
            throw;
        }
        std::memcpy(static_cast<void*>(place), fresh, sizeof fresh);
        return {place, true};
    }

    // Whether there was an entry to erase. `key` may be the one in the entry.
    bool Erase(const Key& key)
    {
        if (!Search(key).m_isFound)
            return false;
        alignas(Entry) char erased[sizeof(Entry)];
        if (Remove(m_head->m_root, m_head->m_height, key, nullptr, erased))
            delete std::exchange(m_head, nullptr);
        else
        {
            --m_head->m_size;
            LowerRoot();
        }
        std::launder(reinterpret_cast<Entry*>(erased))->~Entry();
        return true;
    }

    void Clear() noexcept
    {
        if (m_head == nullptr)
            return;
        // Entries may hold trees of their own kind, nested to any depth.
        CallWithEnoughStack([this]() noexcept { FreeNodes(m_head->m_root, m_head->m_height); });
        delete std::exchange(m_head, nullptr);
    }

private:
    bool IsBeyondLast(const Key& key) const
    {
        Leaf* const last = m_head->m_last;
        return last->KeyAt(last->m_count - 1) < key;
    }

    // Where `key` is, or where it would be inserted.
    Position Search(const Key& key) const
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
        if (IsBeyondLast(key))
            return {m_head->m_last, m_head->m_last->m_count, false};
        void* node = m_head->m_root;
        for (int height = m_head->m_height; height > 0; --height)
            node = static_cast<Inner*>(node)->ChildFor(key);
        Leaf* const leaf = static_cast<Leaf*>(node);
        const int after = leaf->UpperBound(key);
        const bool isFound = after > 0 && !(leaf->KeyAt(after - 1) < key);
        return {leaf, isFound ? after - 1 : after, isFound};
    }

    // Room for one entry at `at`, which Search gave for `key`.
    Entry* OpenGap(Position at, const Key& key)
    {
        if (m_head == nullptr)
            at.m_leaf = MakeFirstLeaf();
        else if (at.m_leaf->IsFull())
        {
            if (at.m_leaf->m_capacity < Leaf::MaxCount())
                GrowFirstLeaf();
            else
                SplitTowards(key);
            at = Search(key);
        }
        Entry* const gap = at.m_leaf->Entries() + at.m_index;
        MoveBytes(gap + 1, gap, at.m_leaf->m_count - at.m_index);
        ++at.m_leaf->m_count;
        ++m_head->m_size;
        return gap;
    }

    Leaf* MakeFirstLeaf()
    {
        auto head = std::make_unique<Head>();
        Leaf* const leaf = Leaf::New(FirstCapacity);
        *head = {leaf, 0, 0, leaf, leaf};
        m_head = head.release();
        return leaf;
    }

    // The lone leaf, which is not yet of full size.
    void GrowFirstLeaf()
    {
        Leaf* const old = m_head->m_first;
        Leaf* const leaf = Leaf::New(std::min(2 * old->m_capacity, Leaf::MaxCount()));
        MoveBytes(leaf->Entries(), old->Entries(), old->m_count);
        leaf->m_count = old->m_count;
        m_head->m_root = m_head->m_first = m_head->m_last = leaf;
        Leaf::Free(old);
    }

    // Splits every full node on the way to the leaf of `key`, from the top, so that each parent has room.
    void SplitTowards(const Key& key)
    {
        const bool isAppended = IsBeyondLast(key);
        Inner* parent = nullptr;
        void* node = m_head->m_root;
        for (int height = m_head->m_height;; --height)
        {
            const bool isFull = height == 0 ? static_cast<Leaf*>(node)->IsFull() : static_cast<Inner*>(node)->IsFull();
            if (isFull)
            {
                if (parent == nullptr)
                    parent = RaiseRoot();
                const int index = parent->ChildIndex(key);
                if (height == 0)
                    SplitLeaf(*parent, index, isAppended);
                else
                    SplitInner(*parent, index, isAppended);
                node = parent->ChildFor(key);
            }
            if (height == 0)
                return;
            parent = static_cast<Inner*>(node);
            node = parent->ChildFor(key);
        }
    }

    Inner* RaiseRoot()
    {
        auto* const root = new Inner;
        root->m_count = 1;
        root->m_children[0] = m_head->m_root;
        m_head->m_root = root;
        ++m_head->m_height;
        return root;
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

    void SplitLeaf(Inner& parent, int index, bool isAppended)
    {
        auto* const left = static_cast<Leaf*>(parent.m_children[index]);
        Leaf* const right = Leaf::New(Leaf::MaxCount());
        const int kept = isAppended ? left->m_count - 1 : left->m_count / 2;
        right->m_count = left->m_count - kept;
        MoveBytes(right->Entries(), left->Entries() + kept, right->m_count);
        left->m_count = kept;
        right->m_previous = left;
        right->m_next = left->m_next;
        (right->m_next != nullptr ? right->m_next->m_previous : m_head->m_last) = right;
        left->m_next = right;
        parent.InsertChild(index + 1, right, &right->KeyAt(0));
    }
    static void SplitInner(Inner& parent, int index, bool isAppended)
    {
        auto* const left = static_cast<Inner*>(parent.m_children[index]);
        auto* const right = new Inner;
        const int kept = isAppended ? left->m_count - 1 : left->m_count / 2;
        right->m_count = left->m_count - kept;
        MoveBytes(right->m_children, left->m_children + kept, right->m_count);
        MoveBytes(right->m_keys, left->m_keys + kept, right->m_count);
        left->m_count = kept;
        parent.InsertChild(index + 1, right, right->m_keys[0]);
    }

    // Moves the entry of `key`, which is there, out of the node's subtree into `erased`, and says whether the node was
    // freed because nothing is left in it. `alias` is where the subtree's first key is kept; null for the first one.
    bool Remove(void* node, int height, const Key& key, char* alias, char* erased)
    {
        if (height == 0)
            return RemoveFromLeaf(static_cast<Leaf*>(node), key, alias, erased);
        auto* const inner = static_cast<Inner*>(node);
        const int index = inner->ChildIndex(key);
        if (!Remove(inner->m_children[index], height - 1, key, index > 0 ? inner->m_keys[index] : alias, erased))
            return false;
        inner->RemoveChild(index);
        if (inner->m_count == 0)
        {
            delete inner;
            return true;
        }
        if (index == 0 && alias != nullptr)
            std::memcpy(alias, inner->m_keys[0], sizeof(Key)); // the key of the child that is the first now
        return false;
    }
    bool RemoveFromLeaf(Leaf* leaf, const Key& key, char* alias, char* erased)
    {
        const int index = leaf->UpperBound(key) - 1;
        Entry* const entry = leaf->Entries() + index;
        std::memcpy(erased, static_cast<void*>(entry), sizeof(Entry));
        --leaf->m_count;
        MoveBytes(entry, entry + 1, leaf->m_count - index);
        if (leaf->m_count == 0)
        {
            (leaf->m_previous != nullptr ? leaf->m_previous->m_next : m_head->m_first) = leaf->m_next;
            (leaf->m_next != nullptr ? leaf->m_next->m_previous : m_head->m_last) = leaf->m_previous;
            Leaf::Free(leaf);
            return true;
        }
        if (index == 0 && alias != nullptr)
            std::memcpy(alias, static_cast<const void*>(&leaf->KeyAt(0)), sizeof(Key));
        return false;
    }

    // With the entries in them. As deep as the tree is high, which is little.
    static void FreeNodes(void* node, int height) noexcept
    {
        if (height == 0)
        {
            auto* const leaf = static_cast<Leaf*>(node);
            std::destroy_n(leaf->Entries(), leaf->m_count);
            Leaf::Free(leaf);
            return;
        }
        auto* const inner = static_cast<Inner*>(node);
        for (int i = 0; i < inner->m_count; ++i)
            FreeNodes(inner->m_children[i], height - 1);
        delete inner;
    }

    Head* m_head = nullptr;
};

} // namespace kelm
