// The table of the values that are too large for the rows of a store.
#pragma once

#include <qel/store/sqlite/sqlite_connection_p.h>

#include <functional>
#include <string_view>

namespace qel::internal {

/// Reads and writes large values by their numbers. A search in the table of entries reads whole rows, so
/// these must be small.
/// || The low bits of a number are a checksum of the position to which the value belongs, so a damaged number
/// never leads to the value of another key: it is reported as kValueOutOfPlace.
class SqliteLargeValues {
public:
    /// Values above this size are stored here.
    static constexpr size_t kLargestInRow = 512;

    /// Compiles the statements; the table must exist.
    SqliteCode prepare(sqlite3* database);
    void finalize();

    /// Returns true if the table may contain a value; false only if it is empty.
    bool mayHaveAny() const { return m_mayHaveAny; }
    /// Passes value @p id, which belongs to @p position, to @p take. @return 0 or the error.
    SqliteCode read(int64 id, std::string_view position, const std::function<void(ConstByteSpan)>& take);
    /// Adds a value that belongs to @p position. @param id  receives its number. @return 0 or the error.
    SqliteCode add(std::string_view position, ConstByteSpan value, int64& id);
    /// Removes value @p id, which belongs to @p position. @return 0 or the error.
    SqliteCode erase(int64 id, std::string_view position);
    /// Checks that value @p id exists and belongs to @p position. @return 0 or the error.
    SqliteCode check(int64 id, std::string_view position);
    /// Counts the values. @return 0 or the error.
    SqliteCode count(int64& count);

private:
    SqliteStatement m_read, m_lastId, m_add, m_erase, m_check, m_count;
    bool m_mayHaveAny = false;
};

} // namespace qel::internal
