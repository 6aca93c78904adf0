// SqliteStore: a durable Store in one file.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/store/core/store.h>

#include <memory>

namespace qel {

namespace internal {
class SqliteStoreData;
}

/// Keeps its entries in one file and behaves like MemoryStore. Keys and values may have up to about
/// 1,000,000,000 bytes.
/// || The outermost commit() makes its changes survive the end of the process, however it ends: a killed
/// process leaves the transaction either complete or not at all. flush() makes them survive a failure of the
/// machine. Writes outside a transaction are gathered. They are committed at the latest with the next begin()
/// that writes, flush() or close(), or once kGatheredWrites writes or kGatheredBytes bytes have accumulated;
/// no single write waits for the disk.
/// || While it is open, the file belongs to this object: opening it a second time, in this process or
/// another, fails at once. The file "<path>-wal" next to it belongs to the file until close(); after the end
/// of a process without close(), the two must stay together. docs/formats.md describes the format; a file of
/// an earlier layout is converted when it is opened.
/// || A file that is damaged, or not a store of this class, is never changed: good() returns false and the
/// reason is logged. In a file of up to kCheckedBytes the structure and every key are checked when it is
/// opened. In a larger one each key is checked when a walk reaches it and each reference to a large value
/// when it is followed; verify() checks everything. The bytes of values have no checksum, so damage there may
/// go unnoticed. When damage is found during use, it is logged once, good() returns false, reads find nothing
/// from then on, writes are dropped (tryCommit() and tryFlush() return false), and uncommitted changes are
/// lost. The file is left unchanged, so that it can be repaired or replaced with a backup.
/// || If the disk fails or is full, changes that cannot be written are rolled back, with a log line: an open
/// transaction as a whole at its end (its further writes are dropped), otherwise the gathered writes. Changes
/// that were kept before are not affected.
class QEL_API SqliteStore : public Store {
    QEL_CLASS(SqliteStore, Store)

public:
    /// The number of writes outside transactions that are committed together.
    static constexpr int kGatheredWrites = 1000;
    /// The number of bytes of keys and values, written outside transactions, that are committed together.
    static constexpr int64 kGatheredBytes = 1 << 20;
    /// The size up to which a file is checked completely when it is opened.
    static constexpr int64 kCheckedBytes = 16 << 20;
    /// The number of further get() calls during which a result remains valid.
    static constexpr int kValuesKept = 31;

    /// Opens the store in the file @p path, which is created if it is missing or empty.
    /// @errors good() returns false, and "[STORE] can't open store '<path>': " with the reason is logged.
    explicit SqliteStore(SmartCStr path);
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;
    /// Closes the store as close() does.
    ~SqliteStore() override;

    /// Returns true if the file is open and sound. Otherwise writes do nothing and reads find nothing.
    bool good() const override;
    void set(const Item& key, const Item& value) override;
    /// @owner the store's; valid until the kValuesKept-th further get().
    const Item* get(const Item& key) override;
    void remove(const Item& first, const Item& last) override;
    bool next(const Item& key, Item& out) override;
    bool prev(const Item& key, Item& out) override;
    bool first(Item& out) override;
    void begin() override;
    /// @errors without begin(), the error "sqlitestore, commit without begin" is logged.
    void commit() override;
    /// @errors without begin(), the error "sqlitestore, rollback without begin" is logged.
    void rollback() override;
    /// Rolls back open transactions, commits gathered writes, and closes the file. good() then returns false.
    void close() override;
    /// Waits until all committed changes, and all writes outside a transaction, are on disk. Changes of an
    /// open transaction are not affected.
    void flush() override;
    /// Returns the size of the file in bytes once all writes have reached it.
    int64 getSizeInBytes() const override;
    /// Also reports why the file could not be opened, and writes to a store that is not good().
    String lastError() const override;
    void clearLastError() override;
    /// @return also false if the store is not good().
    bool tryCommit() override;
    /// @return also false if the store is not good().
    bool tryFlush() override;
    uint64 getLossCount() const override;

    /// Reads everything and checks that it is consistent. @return true if it is.
    /// @errors otherwise the first fault is logged, and good() returns false from then on.
    bool verify();

private:
    std::unique_ptr<internal::SqliteStoreData> m_data;
};

} // namespace qel
