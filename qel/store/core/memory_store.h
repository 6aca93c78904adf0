// MemoryStore: a Store in memory with nested transactions.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/store/core/store.h>

#include <memory>

namespace qel {

namespace internal {
class MemoryStoreData;
}

/// Keeps its entries in one ordered tree, together with a log of what open transactions have changed.
/// || The cost of begin() and commit() does not depend on the size; that of rollback() depends on the changes
/// of the transaction. get() and walks with next() and prev() allocate nothing; a walk continues from the
/// entry that it returned last. A value returned by get() keeps its address while other keys are written.
class QEL_API MemoryStore : public Store {
    QEL_CLASS(MemoryStore, Store)

public:
    /// Creates an empty store. @param transactions  false if begin() and commit() shall do nothing.
    explicit MemoryStore(bool transactions = true);
    /// Copies all entries and the open transactions.
    MemoryStore(const MemoryStore& other);
    /// Takes over all entries and the open transactions; @p other is empty afterwards.
    /// @errors running out of memory ends the process.
    MemoryStore(MemoryStore&& other) noexcept;
    /// Copies all entries and the open transactions.
    MemoryStore& operator=(const MemoryStore& other);
    /// Takes over all entries and the open transactions; @p other is empty afterwards.
    /// @errors running out of memory ends the process.
    MemoryStore& operator=(MemoryStore&& other) noexcept;
    ~MemoryStore() override;

    /// Returns true always.
    bool good() const override;
    /// @errors for a key with a `Wildcard` or a NaN that equals no entry, the error "memorystore, set of a
    /// key with a wildcard or a nan" is logged.
    void set(const Item& key, const Item& value) override;
    const Item* get(const Item& key) override;
    void remove(const Item& first, const Item& last) override;
    bool next(const Item& key, Item& out) override;
    bool prev(const Item& key, Item& out) override;
    bool first(Item& out) override;
    void begin() override;
    /// @errors without begin(), the error "memorystore, commit without begin" is logged.
    void commit() override;
    /// @errors without begin(), the error "memorystore, rollback without begin" is logged; in a store without
    /// transactions, "memorystore, rollback called in transactionless mode".
    void rollback() override;
    /// Does nothing.
    void close() override;
    /// Does nothing.
    void flush() override;
    /// Returns 0 always.
    int64 getSizeInBytes() const override;
    /// For a derived class the cursor uses its virtual functions, which may behave differently.
    std::unique_ptr<StoreCursor> openCursor() override;

    /// Appends every entry to @p blob, in order: a `SubItem` with the key's bytes, then one with the value's
    /// bytes.
    void writeBlob(Item& blob) const;
    /// Sets every entry that @p blob contains in the form of writeBlob(), up to the first invalid one; other
    /// keys are kept. @errors keys with a `Wildcard` or a NaN are left out, with one log line.
    void readBlob(const Item& blob);

    /// Stores the entries of @p store as one binary value in the machine's registry, in the form of
    /// writeBlob(). Defined in store/core/registry_blob.cpp.
    /// @param keyName  path of names joined by backslashes, below the machine's root.
    /// @param valueName  name of the value.
    /// @return true if the value was written.
    static bool saveToWindowsRegistry(MemoryStore* store, const String& keyName, const String& valueName);
    /// Reads what saveToWindowsRegistry() wrote and sets it in @p store; other keys are kept. Defined in
    /// store/core/registry_blob.cpp.
    /// @return false if there is no such value, if it is empty, or if it cannot be read completely; otherwise
    /// true, regardless of the number of entries.
    static bool loadFromWindowsRegistry(MemoryStore* store, const String& keyName, const String& valueName);

private:
    std::unique_ptr<internal::MemoryStoreData> m_data;
    bool m_transactions;
};

} // namespace qel
