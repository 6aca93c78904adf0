// A walk over the entries of a store in one direction.
#pragma once

#include <qel/store/core/item.h>
#include <qel/store/core/order_key.h>
#include <qel/store/sqlite/sqlite_connection_p.h>

#include <string>
#include <string_view>

namespace qel::internal {

/// Goes from row to row, and from one question to the next as long as nothing was written in between.
///
/// Each row is checked: its key must belong to its position, which must lie further on. A row that fails is
/// damage, reported as SQLITE_CORRUPT_INDEX, so that every walk ends.
class SqliteCursor {
public:
    enum class Direction { Up, Down };

    /// Whether a walk up from a position takes an entry right there, or begins behind it.
    enum class Start { At, Behind };

    /// Values above this size don't come along with the key.
    static constexpr int kValueSize = 4096;

    SqliteCode prepare(sqlite3* database, Direction direction);
    void finalize();

    /// Goes up to the first entry from @p position on, or down to the last before it.
    /// @return whether there is one. @errors none is found, and @p error is set.
    bool seek(std::string_view position, Start start, SqliteCode& error);
    /// Goes on to the next entry.
    bool step(SqliteCode& error);
    /// Ends the walk; necessary before anything is written.
    void reset();
    /// Whether it stands on the entry with exactly the bytes of @p key.
    bool standsOn(const Item& key) const;

    /// The entry's key. @owner valid until the cursor moves.
    ConstByteSpan key() const { return m_key; }
    /// Whether the entry's value came along.
    bool hasValue() { return !m_statement.isNull(1); }
    /// The value that came along. @owner valid until the cursor moves.
    ConstByteSpan value() { return m_statement.column(1); }

private:
    bool takeRow();
    bool isFurther(std::string_view position) const;

    SqliteStatement m_statement;
    Direction m_direction = Direction::Up;
    std::string m_start; // what the statement is bound to
    std::string m_position;
    ConstByteSpan m_key; // of the row
    OrderKey m_orderKey; // of the row
    bool m_isOnRow = false;
};

} // namespace qel::internal
