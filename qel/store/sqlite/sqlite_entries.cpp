#include <qel/store/sqlite/sqlite_entries_p.h>

#include <sqlite3.h>

#include <utility>

namespace qel::internal {

SqliteCode SqliteEntries::prepare(sqlite3* database) {
    const std::pair<SqliteStatement*, const char*> statements[] = {
        {&m_read, "SELECT value FROM entries WHERE position = ?1"},
        {&m_readRange, "SELECT position, key, value FROM entries WHERE position BETWEEN ?1 AND ?2"},
        {&m_set, "INSERT INTO entries VALUES (?1, ?2, ?3) ON CONFLICT DO UPDATE SET value = excluded.value"},
        {&m_erase, "DELETE FROM entries WHERE position BETWEEN ?1 AND ?2"}};
    for (const auto& [statement, sql] : statements) {
        if (const SqliteCode code = statement->prepare(database, sql)) return code;
    }
    return SQLITE_OK;
}

void SqliteEntries::finalize() {
    for (SqliteStatement* statement : {&m_read, &m_readRange, &m_set, &m_erase}) statement->finalize();
}

SqliteCode SqliteEntries::read(std::string_view position, const std::function<void(ConstByteSpan)>& take) {
    m_read.bind(1, ConstByteSpan::fromText(position));
    const SqliteCode code = m_read.step();
    if (code == SQLITE_ROW) take(m_read.column(0));
    m_read.reset();
    return code == SQLITE_ROW || code == SQLITE_DONE ? SQLITE_OK : code;
}

SqliteCode SqliteEntries::readRange(std::string_view first, std::string_view last,
                                    const std::function<void(const Row&)>& take) {
    m_readRange.bind(1, ConstByteSpan::fromText(first));
    m_readRange.bind(2, ConstByteSpan::fromText(last));
    SqliteCode code = SQLITE_ROW;
    while ((code = m_readRange.step()) == SQLITE_ROW)
        take({m_readRange.column(0).asText(), m_readRange.column(1), m_readRange.column(2)});
    m_readRange.reset();
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

SqliteCode SqliteEntries::set(const Row& row) {
    m_set.bind(1, ConstByteSpan::fromText(row.position));
    m_set.bind(2, row.key);
    m_set.bind(3, row.value);
    return m_set.run();
}

SqliteCode SqliteEntries::erase(std::string_view first, std::string_view last) {
    m_erase.bind(1, ConstByteSpan::fromText(first));
    m_erase.bind(2, ConstByteSpan::fromText(last));
    return m_erase.run();
}

} // namespace qel::internal
