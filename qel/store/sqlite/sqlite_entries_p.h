// The table of a store's file.
#pragma once

#include <qel/store/sqlite/sqlite_connection_p.h>

#include <functional>
#include <string_view>

namespace qel::internal {

/// Reads and writes rows by their positions, which are the forms of OrderKey.
class SqliteEntries {
public:
    /// A row. @owner the views are valid during the call that they are passed to.
    struct Row {
        std::string_view position;
        ConstByteSpan key, value;
    };

    /// Compiles the statements; the table must exist.
    SqliteCode prepare(sqlite3* database);
    void finalize();

    /// Passes the value at @p position to @p take, if there is one. @return 0 or the error.
    SqliteCode read(std::string_view position, const std::function<void(ConstByteSpan)>& take);
    /// Passes every row from @p first to @p last, both included, to @p take. @return 0 or the error.
    SqliteCode readRange(std::string_view first, std::string_view last,
                         const std::function<void(const Row&)>& take);
    /// Inserts a row; one that is already there keeps its key and gets the value. @return 0 or the error.
    SqliteCode set(const Row& row);
    /// Removes every row from @p first to @p last, both included. @return 0 or the error.
    SqliteCode erase(std::string_view first, std::string_view last);

private:
    SqliteStatement m_read, m_readRange, m_set, m_erase;
};

} // namespace qel::internal
