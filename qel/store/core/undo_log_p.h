// UndoLog: what the open transactions of a MemoryStore changed.
#pragma once

#include <qel/store/core/entry_tree_p.h>

#include <unordered_map>
#include <variant>
#include <vector>

namespace qel::internal {

/// The changes of all open transactions in their order, and where each transaction began. An inner commit
/// leaves its changes to the transaction around it by forgetting where it began; a rollback takes them back
/// from the end. Of a value that is replaced again and again within one transaction the first is kept.
class UndoLog {
public:
    /// Which entry of a copied tree stands for one of the original.
    using Copies = std::unordered_map<const StoreEntry*, StoreEntry*>;

    /// Whether a transaction is open, so that changes must be noted.
    bool isOpen() const { return !m_open.empty(); }
    /// Opens a transaction.
    void begin();
    /// Ends the innermost transaction, which must be open; its changes stay.
    void commit();
    /// Ends the innermost transaction, which must be open, and takes its changes back from @p tree.
    void rollback(EntryTree& tree);

    /// An entry was inserted.
    void noteInserted(StoreEntry& entry);
    /// An entry was taken out of the tree.
    void noteTaken(StoreEntry::Owner entry);
    /// The value of an entry is going to be replaced; it may be moved away.
    void noteReplacing(StoreEntry& entry);

    /// Becomes a copy of @p other, which is not this; this one is empty. @param copies  those of the tree;
    /// those of entries that were taken out join them.
    void copyFrom(const UndoLog& other, Copies& copies);

private:
    struct Inserted {
        StoreEntry* entry;
    };
    struct Taken {
        StoreEntry::Owner entry;
    };
    struct Replaced {
        StoreEntry* entry;
        Item oldValue;
        uint64 writtenDownBefore;
    };
    using Change = std::variant<Inserted, Taken, Replaced>;
    struct Transaction {
        size_t firstChange;
        uint64 number;
    };

    std::vector<Change> m_changes;
    std::vector<Transaction> m_open;
    uint64 m_lastNumber = 0;
};

} // namespace qel::internal
