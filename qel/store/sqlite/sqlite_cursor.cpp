#include <qel/store/sqlite/sqlite_cursor_p.h>

#include <fmt/format.h>
#include <sqlite3.h>

namespace qel::internal {

SqliteCode SqliteCursor::prepare(sqlite3* database, Direction direction) {
    const bool isUp = direction == Direction::Up;
    const std::string sql =
        fmt::format("SELECT key, CASE WHEN length(value) <= {} THEN value END FROM entries WHERE position {}",
                    kValueSize, isUp ? ">= ?1 ORDER BY position" : "< ?1 ORDER BY position DESC");
    return m_statement.prepare(database, sql.c_str());
}

void SqliteCursor::finalize() {
    m_isOnRow = false;
    m_statement.finalize();
}

bool SqliteCursor::seek(std::string_view position, Start start, SqliteCode& error) {
    reset();
    m_position = position;
    if (start == Start::Behind) m_position += '\0'; // the smallest position behind it
    m_statement.bind(1, ConstByteSpan::fromText(m_position));
    return step(error);
}

bool SqliteCursor::step(SqliteCode& error) {
    const SqliteCode code = m_statement.step();
    m_isOnRow = code == SQLITE_ROW;
    if (m_isOnRow) {
        m_key = m_statement.column(0);
        return true;
    }
    if (code != SQLITE_DONE) error = code;
    m_statement.reset();
    return false;
}

void SqliteCursor::reset() {
    if (m_isOnRow) m_statement.reset();
    m_isOnRow = false;
}

bool SqliteCursor::standsOn(const Item& key) const {
    return m_isOnRow && m_key.asText() == key.getConstByteSpan().asText();
}

} // namespace qel::internal
