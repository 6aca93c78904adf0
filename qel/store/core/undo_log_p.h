// UndoLog: the changes of the open transactions of a MemoryStore.
#pragma once

#include <qel/store/core/entry_tree_p.h>

#include <unordered_map>
#include <variant>
#include <vector>

namespace qel::internal {

/// The changes of all open transactions in order, and the position where each transaction began. An inner
/// commit passes its changes to the enclosing transaction by removing its start position; a rollback undoes
/// changes from the end. If a value is replaced several times within one transaction, only the first old
/// value is kept.
class UndoLog {
public:
    /// Maps each entry of the original tree to its copy.
    using Copies = std::unordered_map<const StoreEntry*, StoreEntry*>;

    /// Returns true if a transaction is open, so that changes must be noted.
    bool isOpen() const { return !m_open.empty(); }
    /// Opens a transaction.
    void begin();
    /// Ends the innermost transaction, which must be open; its changes are kept.
    void commit();
    /// Ends the innermost transaction, which must be open, and undoes its changes in @p tree.
    void rollback(EntryTree& tree);

    /// Notes that an entry was inserted.
    void noteInserted(StoreEntry& entry);
    /// Notes that an entry was removed from the tree.
    void noteTaken(StoreEntry::Owner entry);
    /// Notes that the value of an entry will be replaced; the value may be moved away.
    void noteReplacing(StoreEntry& entry);

    /// Copies @p other, which is a different object, into this empty log. @param copies  the entries of the
    /// copied tree; copies of removed entries are added.
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
