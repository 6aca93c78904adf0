// EntryTree: the ordered entries of a MemoryStore in a tree of wide nodes.
#pragma once

#include <qel/store/core/key_slots_p.h>
#include <qel/store/core/store_entry_p.h>

#include <string_view>

namespace qel::internal {

/// A B+tree over the order of the entries' keys. Its nodes contain up to 32 keys. For each key they keep the
/// eight bytes after the prefix that all keys of the node share, so nearly every step of a search compares
/// adjacent numbers. A node is removed once it is empty; nodes are not merged before (T. Johnson, D. Shasha:
/// "B-trees with inserts and deletes: why free-at-empty is better than merge-at-half", 1993).
class EntryTree {
    struct Inner;
    struct Path;
    struct Node {
        explicit Node(bool leaf) : isLeaf(leaf) {}

        bool isLeaf;
    };
    struct Leaf : Node {
        Leaf() : Node(true) {}

        Leaf* previous = nullptr;
        Leaf* next = nullptr;
        KeySlots<StoreEntry::Owner> entries;
    };

public:
    /// The position of an entry, or the end. Valid until an entry is inserted or removed.
    class Place {
    public:
        /// Creates the end position.
        Place() = default;
        /// Returns the entry; null at the end.
        StoreEntry* entry() const { return m_leaf ? m_leaf->entries[m_index].get() : nullptr; }
        /// Moves to the next entry; has no effect at the end.
        inline void next();
        /// Calls @p visit(StoreEntry&) for this entry and those after it in its node, and moves after them.
        /// Must not be called at the end.
        template <typename Visit>
        void takeNode(const Visit& visit);

    private:
        friend class EntryTree;
        inline Place(Leaf* leaf, unsigned index);
        inline void prefetchAhead() const;

        Leaf* m_leaf = nullptr;
        unsigned m_index = 0;
    };

    EntryTree();
    ~EntryTree();
    EntryTree(const EntryTree&) = delete;
    EntryTree& operator=(const EntryTree&) = delete;

    /// Returns the position of the first entry.
    Place begin() const;
    /// Returns the position of the first entry whose key is not smaller than @p order.
    Place lowerBound(std::string_view order) const;
    /// Returns the position of the first entry whose key is greater than @p order.
    Place upperBound(std::string_view order) const;
    /// Returns the position before @p place, which may be the end; the end for the first position.
    Place before(Place place) const;
    /// Inserts an entry whose key does not exist. @return the entry.
    StoreEntry* insert(StoreEntry::Owner entry);
    /// Removes an entry, which must exist. @return the entry.
    StoreEntry::Owner takeOut(const StoreEntry* entry);

private:
    Leaf* findLeaf(std::string_view order, Path* path) const;
    void insertAndSplit(Leaf* left, unsigned index, StoreEntry::Owner entry, Path& path);
    void addChild(Path& path, std::string_view separator, Node* child);
    void removeLeaf(Leaf* leaf, Path& path);

    Node* m_root;
    Leaf* m_first;
    Leaf* m_last;
};

inline EntryTree::Place::Place(Leaf* leaf, unsigned index) : m_leaf(leaf), m_index(index) {
    if (m_leaf && m_index == m_leaf->entries.size()) {
        m_leaf = m_leaf->next;
        m_index = 0;
    }
    if (m_leaf && m_leaf->entries.size() == 0) m_leaf = nullptr; // the root of an empty tree
}

inline void EntryTree::Place::next() {
    if (!m_leaf) return;
    prefetchAhead();
    *this = Place(m_leaf, m_index + 1);
}

/// Prefetches the entries of the next node and the positions of the node after it, so that a walk waits for
/// neither.
template <typename Visit>
void EntryTree::Place::takeNode(const Visit& visit) {
    Leaf* const leaf = m_leaf;
    if (const Leaf* const next = leaf->next) {
        if (next->next) next->next->entries.prefetchKeys();
        for (unsigned i = 0; i < next->entries.size(); ++i) next->entries[i]->prefetchKey();
    }
    for (unsigned i = m_index; i < leaf->entries.size(); ++i) visit(*leaf->entries[i]);
    *this = Place(leaf, leaf->entries.size());
}

/// Prefetches entries, which may be anywhere in memory, and the next leaf before a walk reaches them.
inline void EntryTree::Place::prefetchAhead() const {
    constexpr unsigned kAhead = 10;
    const Leaf* leaf = m_leaf;
    if (m_index == 0 && leaf->next) leaf->next->entries.prefetch();
    unsigned index = m_index + kAhead;
    if (index >= leaf->entries.size()) {
        index -= leaf->entries.size();
        leaf = leaf->next;
        if (!leaf || index >= leaf->entries.size()) return;
    }
    leaf->entries[index]->prefetchKey();
}

} // namespace qel::internal
