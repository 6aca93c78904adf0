#include <qel/store/sqlite/sqlite_cursor_p.h>

#include <sqlite3.h>

namespace qel::internal {

SqliteCode SqliteCursor::prepare(sqlite3* database, Direction direction) {
    m_direction = direction;
    const bool isUp = direction == Direction::Up;
    const std::string sql = std::string("SELECT key, value, position FROM entries WHERE position ") +
                            (isUp ? ">= ?1 ORDER BY position" : "< ?1 ORDER BY position DESC");
    return m_statement.prepare(database, sql.c_str());
}

void SqliteCursor::finalize() {
    m_isOnRow = false;
    m_statement.finalize();
}

bool SqliteCursor::seek(std::string_view position, Start start, SqliteCode& error) {
    reset();
    m_start = position;
    if (start == Start::Behind) m_start += '\0'; // the smallest position after it
    m_statement.bind(1, ConstByteSpan::fromText(m_start));
    return step(error);
}

bool SqliteCursor::step(SqliteCode& error) {
    SqliteCode code = m_statement.step();
    if (code == SQLITE_ROW && !takeRow()) code = SQLITE_CORRUPT_INDEX;
    m_isOnRow = code == SQLITE_ROW;
    if (m_isOnRow) return true;
    if (code != SQLITE_DONE) error = code;
    m_statement.reset();
    return false;
}

/// Reads the current row of the statement. @return true if it is in its place. A position that is not of type
/// bytes is not: searches compare types first, and would miss rows around it.
bool SqliteCursor::takeRow() {
    if (!m_statement.isBytes(2)) return false;
    const std::string_view position = m_statement.column(2).asText();
    m_key = m_statement.column(0);
    m_orderKey.assign(Item(Item::ExternalBufferMode, m_key));
    if (m_orderKey.isQuestion() || m_orderKey.bytes() != position || !isFurther(position)) return false;
    m_position = position;
    return true;
}

bool SqliteCursor::isFurther(std::string_view position) const {
    if (m_direction == Direction::Down) return position < (m_isOnRow ? m_position : m_start);
    return m_isOnRow ? position > m_position : position >= m_start;
}

void SqliteCursor::reset() {
    if (m_isOnRow) m_statement.reset();
    m_isOnRow = false;
}

bool SqliteCursor::standsOn(const Item& key) const {
    return m_isOnRow && m_key.asText() == key.getConstByteSpan().asText();
}

} // namespace qel::internal
