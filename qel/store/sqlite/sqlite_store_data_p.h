// The implementation of a SqliteStore.
#pragma once

#include <qel/store/core/order_key.h>
#include <qel/store/sqlite/sqlite_cursor_p.h>
#include <qel/store/sqlite/sqlite_entries_p.h>
#include <qel/store/sqlite/sqlite_store.h>
#include <qel/store/sqlite/sqlite_transactions_p.h>

#include <array>

namespace qel::internal {

/// See SqliteStore.
class SqliteStoreData {
public:
    /// @param store  is set as the store of returned keys and values.
    SqliteStoreData(SqliteStore* store, SmartCStr path);
    ~SqliteStoreData() { close(); }

    bool good() const { return m_connection.get() != nullptr; }
    void set(const Item& key, const Item& value);
    const Item* get(const Item& key);
    void remove(const Item& first, const Item& last);
    bool next(const Item& key, Item& out);
    bool prev(const Item& key, Item& out);
    bool first(Item& out);
    void begin() { m_transactions.begin(); }
    bool tryCommit();
    void rollback();
    void close();
    bool tryFlush();
    const String& lastError() const { return m_lastError; }
    void clearLastError() { m_lastError.clear(); }
    uint64 lossCount() const { return m_lossCount; }
    int64 size();
    bool verify();

private:
    String open();
    SqliteCode prepare();
    void releaseFile(bool isSound);
    void resetCursors();

    template <typename Write>
    bool write(std::string_view first, std::string_view last, size_t bytes, const Write& write);
    void store(const Item& key, const Item& value);
    bool erase(std::string_view first, std::string_view last);
    void eraseEqual(const Item& key);
    void removeByQuestion(const Item& first, const Item& last);

    bool found(bool isRow, SqliteCode error);
    const Item* keep(ConstByteSpan value);
    const Item* find();
    bool give(SqliteCursor& cursor, Item& out);
    template <typename Visit>
    void visitEqual(const Item& question, const Visit& visit);
    bool findEqual(const Item& question);
    bool nextOfQuestion(const Item& question, Item& out);
    bool prevOfQuestion(const Item& question, Item& out);

    bool isWritable();
    void noteLoss(const String& reason);
    void report(const char* what, SqliteCode code);
    void closeDamaged(const String& fault);
    SqliteCode checkKeys();

    SqliteStore* const m_store;
    const String m_path;
    SqliteConnection m_connection;
    SqliteEntries m_entries;
    SqliteTransactions m_transactions;
    SqliteCursor m_up, m_down;
    OrderKey m_orderKey, m_lastKey;                          // of the current operation
    std::array<Item, SqliteStore::kValuesKept + 1> m_values; // results of get(), used in turn
    size_t m_nextValue = 0;
    String m_lastError;
    uint64 m_lossCount = 0;
};

} // namespace qel::internal
