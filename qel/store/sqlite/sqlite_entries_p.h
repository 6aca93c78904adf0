// The tables of a store's file.
#pragma once

#include <qel/store/sqlite/sqlite_connection_p.h>
#include <qel/store/sqlite/sqlite_large_values_p.h>

#include <functional>
#include <string_view>

namespace qel::internal {

/// Reads and writes rows by their positions, which are the forms of OrderKey. Large values are stored in a
/// separate table.
class SqliteEntries {
public:
    /// A row. @owner the views are valid during the call that they are passed to.
    struct Row {
        std::string_view position;
        ConstByteSpan key, value;
    };

    /// Compiles the statements; the tables must exist.
    SqliteCode prepare(sqlite3* database);
    void finalize();

    /// Passes the value at @p position to @p take if there is one. @return 0 or the error.
    SqliteCode read(std::string_view position, const std::function<void(ConstByteSpan)>& take);
    /// Passes every row from @p first to @p last, both included, to @p take. @return 0 or the error.
    SqliteCode readRange(std::string_view first, std::string_view last,
                         const std::function<void(const Row&)>& take);
    /// Inserts a row; an existing one keeps its key and receives the value. A transaction must be open.
    /// @return 0 or the error; then nothing was written, or the whole transaction was rolled back.
    SqliteCode set(const Row& row);
    /// Removes every row from @p first to @p last, both included. Otherwise like set().
    SqliteCode erase(std::string_view first, std::string_view last);
    /// Checks that rows and large values match. @return 0 or the error.
    SqliteCode check();

private:
    SqliteCode takeValue(SqliteStatement& row, int column, std::string_view position,
                         const std::function<void(ConstByteSpan)>& take);
    SqliteCode hasLarge(std::string_view first, std::string_view last, bool& result);
    SqliteCode eraseLarge(std::string_view first, std::string_view last);
    SqliteCode setSmall(const Row& row);
    SqliteCode setLarge(const Row& row);
    SqliteCode setRow(const Row& row);
    SqliteCode eraseRows(std::string_view first, std::string_view last);
    template <typename Write>
    SqliteCode writeBothTables(const Write& write);

    SqliteLargeValues m_largeValues;
    SqliteStatement m_read, m_readRange, m_readLarge, m_checkRows, m_set, m_erase;
    SqliteStatement m_savepoint, m_release, m_rollbackTo, m_rollback;
};

} // namespace qel::internal
