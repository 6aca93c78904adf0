// MemoryStoreCursor: iterates over a MemoryStore, node by node.
#pragma once

#include <qel/store/core/memory_store_data_p.h>
#include <qel/store/core/store_cursor.h>

namespace qel::internal {

/// Takes all entries of a tree node at a time. MemoryStoreData calls forgetPlace() before the tree changes;
/// the walk then continues with a search for its current key.
class MemoryStoreCursor : public StoreCursor {
public:
    /// @param data  the data of @p store.
    MemoryStoreCursor(Store* store, MemoryStoreData& data) : StoreCursor(store), m_data(data) {
        m_data.addCursor(this);
    }
    ~MemoryStoreCursor() override { m_data.removeCursor(this); }

    void startAfter(const Item& key) override;
    /// Keeps only the key. The current entry is still in the tree.
    void forgetPlace();

private:
    enum class Position { BeforeFirst, AfterKey, AtPlace };

    bool readOn() override;

    MemoryStoreData& m_data;
    Position m_position = Position::BeforeFirst;
    EntryTree::Place m_place; // the position after the entries ahead
    Item m_keptKey;
};

} // namespace qel::internal
