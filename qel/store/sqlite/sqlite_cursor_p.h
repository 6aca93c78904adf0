// Iterates over the entries of a store in one direction.
#pragma once

#include <qel/store/core/item.h>
#include <qel/store/core/order_key.h>
#include <qel/store/sqlite/sqlite_connection_p.h>

#include <string>
#include <string_view>

namespace qel::internal {

/// Moves from row to row, and from one question to the next as long as nothing was written in between.
/// || Each row is checked: its key must match its position, and the position must be further in the direction
/// of the walk. A row that fails the check is damage, reported as SQLITE_CORRUPT_INDEX, so every walk ends.
class SqliteCursor {
public:
    enum class Direction { Up, Down };

    /// A walk up from a position starts at the entry there, or after it.
    enum class Start { At, Behind };

    SqliteCode prepare(sqlite3* database, Direction direction);
    void finalize();

    /// Moves up to the first entry from @p position on, or down to the last one before it.
    /// @return true if there is one. @errors returns false and sets @p error.
    bool seek(std::string_view position, Start start, SqliteCode& error);
    /// Moves to the next entry.
    bool step(SqliteCode& error);
    /// Ends the walk; required before anything is written.
    void reset();
    /// Returns true if the current entry's key has exactly the bytes of @p key.
    bool standsOn(const Item& key) const;

    /// Returns the entry's key. @owner valid until the cursor moves.
    ConstByteSpan key() const { return m_key; }
    /// Returns true if the entry's row contains its value. Large values are not in the rows.
    bool hasValue() { return m_statement.isBytes(1); }
    /// Returns the value in the row. @owner valid until the cursor moves.
    ConstByteSpan value() { return m_statement.column(1); }

private:
    bool takeRow();
    bool isFurther(std::string_view position) const;

    SqliteStatement m_statement;
    Direction m_direction = Direction::Up;
    std::string m_start; // the bound value of the statement
    std::string m_position;
    ConstByteSpan m_key; // of the current row
    OrderKey m_orderKey; // of the current row
    bool m_isOnRow = false;
};

} // namespace qel::internal
