// MemoryStoreData: the parts of a MemoryStore.
#pragma once

#include <qel/store/core/order_key.h>
#include <qel/store/core/undo_log_p.h>

#include <vector>

namespace qel::internal {

class MemoryStoreCursor;

/// The tree, the undo log, and the most recently used entry: a walk continues from it without a search.
class MemoryStoreData {
public:
    MemoryStoreData() = default;
    MemoryStoreData(const MemoryStoreData& other);
    MemoryStoreData& operator=(const MemoryStoreData&) = delete;

    /// Returns the first entry equal to @p key; null if no entry is.
    StoreEntry* find(const Item& key);
    /// Returns the entry with the smallest key greater than @p key; null after the last entry.
    StoreEntry* findGreater(const Item& key);
    /// Returns the entry with the greatest key smaller than @p key; null before the first entry.
    StoreEntry* findSmaller(const Item& key);
    /// Returns the entry with the smallest key; null if the store is empty.
    StoreEntry* findFirst();

    /// Returns the position of the smallest key greater than @p key.
    EntryTree::Place placeAfter(const Item& key);
    /// Notifies @p cursor before each change of the tree, until removeCursor().
    void addCursor(MemoryStoreCursor* cursor) { m_cursors.push_back(cursor); }
    /// Undoes addCursor().
    void removeCursor(MemoryStoreCursor* cursor) { std::erase(m_cursors, cursor); }

    /// Sets the value of the first entry equal to @p key, or creates an entry. @return false for a question
    /// that equals no entry.
    bool set(const Item& key, const Item& value);
    /// Removes all entries equal to @p key.
    void removeEqual(const Item& key);
    /// Removes one entry.
    void remove(StoreEntry* entry);

    const EntryTree& tree() const { return m_tree; }
    bool isInTransaction() const { return m_undo.isOpen(); }
    void begin() { m_undo.begin(); }
    void commit() { m_undo.commit(); }
    void rollback();

private:
    using Place = EntryTree::Place;

    bool isRecent(const Item& key) const;
    StoreEntry* remember(Place place);
    bool isAnswer(Place place) const;
    void replace(StoreEntry& entry, const Item& value);
    void forgetPlaces();

    EntryTree m_tree;
    UndoLog m_undo;
    OrderKey m_order;
    Place m_recent;
    std::vector<MemoryStoreCursor*> m_cursors;
};

} // namespace qel::internal
