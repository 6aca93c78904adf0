// MemoryStore: a Store in memory with nested transactions.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/store/core/store.h>

#include <memory>

namespace qel {

namespace internal {
class MemoryStoreData;
}

/// Keeps its entries in one ordered tree beside a log of what open transactions changed.
///
/// begin() and commit() cost the same at any size, rollback() costs what the transaction changed. get() and
/// the walk by next() and prev() allocate nothing; a walk goes on from the entry it gave last. The value that
/// get() gives stays in its place while other keys are written.
class QEL_API MemoryStore : public Store {
    QEL_CLASS(MemoryStore, Store)

public:
    /// An empty store. @param transactions  false: begin() and commit() do nothing.
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

    /// Always true.
    bool good() const override;
    /// @errors for a key with a `Wildcard` or a NaN that equals no entry the error
    ///         "memorystore, set of a key with a wildcard or a nan" is logged.
    void set(const Item& key, const Item& value) override;
    const Item* get(const Item& key) override;
    void remove(const Item& first, const Item& last) override;
    bool next(const Item& key, Item& out) override;
    bool prev(const Item& key, Item& out) override;
    bool first(Item& out) override;
    void begin() override;
    /// @errors without begin() the error "memorystore, commit without begin" is logged.
    void commit() override;
    /// @errors without begin() the error "memorystore, rollback without begin" is logged; in a store without
    ///         transactions "memorystore, rollback called in transactionless mode".
    void rollback() override;
    /// Does nothing.
    void close() override;
    /// Does nothing.
    void flush() override;
    /// Always 0.
    int64 getSizeInBytes() const override;
    /// A derived class is walked by its own operations, which may answer otherwise.
    std::unique_ptr<StoreCursor> openCursor() override;

    /// Appends every entry to @p blob, in order: a `SubItem` with the key's bytes, then one with the value's.
    void writeBlob(Item& blob) const;
    /// Sets every entry that @p blob holds in the form of writeBlob(), up to the first thing that is none;
    /// other keys remain. @errors keys with a `Wildcard` or a NaN are left out, with one log line.
    void readBlob(const Item& blob);

    /// Keeps the entries of @p store as one binary value of the machine's registry, in the form of
    /// writeBlob(). Defined in store/core/registry_blob.cpp.
    /// @param keyName    path of names joined by backslashes, below the machine's root.
    /// @param valueName  name of the value.
    /// @return whether the value was written.
    static bool saveToWindowsRegistry(MemoryStore* store, const String& keyName, const String& valueName);
    /// Reads what saveToWindowsRegistry() wrote and sets it in @p store; other keys remain. Defined in
    /// store/core/registry_blob.cpp.
    /// @return false if there is no such value, if it is empty, or if it can't be read whole; true otherwise,
    ///         however many entries it holds.
    static bool loadFromWindowsRegistry(MemoryStore* store, const String& keyName, const String& valueName);

private:
    std::unique_ptr<internal::MemoryStoreData> m_data;
    bool m_transactions;
};

} // namespace qel
