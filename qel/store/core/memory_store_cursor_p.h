// MemoryStoreCursor: walks over a MemoryStore, node by node.
#pragma once

#include <qel/store/core/memory_store_data_p.h>
#include <qel/store/core/store_cursor.h>

namespace qel::internal {

/// Takes all entries of a node of the tree at a time. MemoryStoreData calls forgetPlace() before the tree
/// changes; the walk then goes on by a search for the key that it was on.
class MemoryStoreCursor : public StoreCursor {
public:
    /// @param data  the store's.
    MemoryStoreCursor(Store* store, MemoryStoreData& data) : StoreCursor(store), m_data(data) {
        m_data.addCursor(this);
    }
    ~MemoryStoreCursor() override { m_data.removeCursor(this); }

    void startAfter(const Item& key) override;
    /// Keeps the key alone. What the cursor shows is still in the tree.
    void forgetPlace();

private:
    enum class Position { BeforeFirst, AfterKey, AtPlace };

    bool readOn() override;

    MemoryStoreData& m_data;
    Position m_position = Position::BeforeFirst;
    EntryTree::Place m_place; // what comes after the entries ahead
    Item m_keptKey;
};

} // namespace qel::internal
