// SqliteStore: a Store that lasts, in one file.
#pragma once

#include <qel/foundation/base/smart_cstr.h>
#include <qel/foundation/base/string.h>
#include <qel/store/core/store.h>

#include <memory>

namespace qel {

namespace internal {
class SqliteStoreData;
}

/// Keeps its entries in one file and answers as MemoryStore does. Keys and values may have up to about
/// 1,000,000,000 bytes.
///
/// The outermost commit() makes its changes last beyond the end of the process, however it ends: a killed
/// process leaves the transaction whole or not at all. flush() makes them last beyond the end of the machine.
/// What is written outside a transaction is gathered and kept at the latest with the next begin() that
/// writes, flush() or close(), or when kGatheredWrites writes or kGatheredBytes bytes have come together; no
/// single write waits for the disk.
///
/// While it is open the file belongs to this object: opening it a second time, in this process or another,
/// fails at once. Beside it stands "<path>-wal", which belongs to the file until close(); after the end of a
/// process without close() the two must stay together. The file's form is told in docs/formats.md; a file of
/// an earlier layout is converted when it is opened.
///
/// A file that is damaged, or isn't this class's, is never changed: good() is false and the reason is logged.
/// The structure and every key of a file of up to kCheckedBytes are checked when it is opened; of a larger
/// one each key is checked when a walk comes to it and each link to a large value when it is followed, and
/// verify() checks all. The bytes of values have no
/// check sum: damage there may go unnoticed. Damage found in use ends the use: it is logged once, good()
/// turns false, reads find nothing from then on, writes are dropped (tryCommit() and tryFlush() return
/// false), and what wasn't committed is lost. The file stays as it is, for repair or for a backup to take its
/// place.
///
/// A disk that fails or is full takes back what can't be written, with a log line: an open transaction as a
/// whole at its end (its further writes are dropped), else what was gathered. What was kept before stands.
class QEL_API SqliteStore : public Store {
    QEL_CLASS(SqliteStore, Store)

public:
    /// Writes outside transactions that are kept together.
    static constexpr int kGatheredWrites = 1000;
    /// Bytes of keys and values written outside transactions that are kept together.
    static constexpr int64 kGatheredBytes = 1 << 20;
    /// Size up to which a file is checked as a whole when it is opened.
    static constexpr int64 kCheckedBytes = 16 << 20;
    /// How many further get() leave the result of one valid.
    static constexpr int kValuesKept = 31;

    /// Opens the store in the file @p path, which is made when it is missing or empty.
    /// @errors good() is false, and "[STORE] can't open store '<path>': " with the reason is logged.
    explicit SqliteStore(SmartCStr path);
    SqliteStore(const SqliteStore&) = delete;
    SqliteStore& operator=(const SqliteStore&) = delete;
    /// As close().
    ~SqliteStore() override;

    /// Whether the file is open and sound. Else writes do nothing and reads find nothing.
    bool good() const override;
    void set(const Item& key, const Item& value) override;
    /// @owner the store's; valid until the kValuesKept-th further get().
    const Item* get(const Item& key) override;
    void remove(const Item& first, const Item& last) override;
    bool next(const Item& key, Item& out) override;
    bool prev(const Item& key, Item& out) override;
    bool first(Item& out) override;
    void begin() override;
    /// @errors without begin() the error "sqlitestore, commit without begin" is logged.
    void commit() override;
    /// @errors without begin() the error "sqlitestore, rollback without begin" is logged.
    void rollback() override;
    /// Rolls back what is open, keeps what was gathered, and lets go of the file. good() is false then.
    void close() override;
    /// Waits until all that was committed, and all that was written outside a transaction, is on the disk.
    /// Changes of a transaction that is still open stay with it.
    void flush() override;
    /// Bytes of the file when all that was written has reached it.
    int64 getSizeInBytes() const override;
    /// Also reports why the file could not be opened, and writes to a store that is not good().
    String lastError() const override;
    void clearLastError() override;
    /// @return also false if the store is not good().
    bool tryCommit() override;
    /// @return also false if the store is not good().
    bool tryFlush() override;
    uint64 getLossCount() const override;

    /// Reads everything and checks that it fits together. @return whether it does.
    /// @errors else the first fault is logged, and good() is false from then on.
    bool verify();

private:
    std::unique_ptr<internal::SqliteStoreData> m_data;
};

} // namespace qel
