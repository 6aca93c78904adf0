#include <qel/store/sqlite/sqlite_entries_p.h>

#include <sqlite3.h>

#include <utility>

namespace qel::internal {

namespace {

void bindRange(SqliteStatement& statement, std::string_view first, std::string_view last) {
    statement.bind(1, ConstByteSpan::fromText(first));
    statement.bind(2, ConstByteSpan::fromText(last));
}

/// Calls @p visit(id, position), which returns 0 or an error, for each row of @p statement.
/// @return 0 or the first error.
template <typename Visit>
SqliteCode visitIds(SqliteStatement& statement, const Visit& visit) {
    SqliteCode code = statement.step();
    while (code == SQLITE_ROW) {
        code = visit(statement.number(1), statement.column(0).asText());
        if (code == SQLITE_OK) code = statement.step();
    }
    statement.reset();
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

} // namespace

SqliteCode SqliteEntries::prepare(sqlite3* database) {
    const SqliteCode code = SqliteStatement::prepareAll(
        database,
        {{&m_read, "SELECT value FROM entries WHERE position = ?1"},
         {&m_readRange, "SELECT position, key, value FROM entries WHERE position BETWEEN ?1 AND ?2"},
         {&m_readLarge, "SELECT position, value FROM entries "
                        "WHERE position BETWEEN ?1 AND ?2 AND typeof(value) <> 'blob'"},
         {&m_checkRows, "SELECT position, value FROM entries WHERE typeof(value) <> 'blob'"},
         {&m_set, "INSERT INTO entries VALUES (?1, ?2, ?3) ON CONFLICT DO UPDATE SET value = excluded.value"},
         {&m_erase, "DELETE FROM entries WHERE position BETWEEN ?1 AND ?2"},
         {&m_savepoint, "SAVEPOINT write"},
         {&m_release, "RELEASE write"},
         {&m_rollbackTo, "ROLLBACK TO write"},
         {&m_rollback, "ROLLBACK"}});
    return code == SQLITE_OK ? m_largeValues.prepare(database) : code;
}

void SqliteEntries::finalize() {
    for (SqliteStatement* statement : {&m_read, &m_readRange, &m_readLarge, &m_checkRows, &m_set, &m_erase,
                                       &m_savepoint, &m_release, &m_rollbackTo, &m_rollback})
        statement->finalize();
    m_largeValues.finalize();
}

SqliteCode SqliteEntries::read(std::string_view position, const std::function<void(ConstByteSpan)>& take) {
    m_read.bind(1, ConstByteSpan::fromText(position));
    SqliteCode code = m_read.step();
    if (code == SQLITE_ROW) code = takeValue(m_read, 0, position, take);
    m_read.reset();
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

/// Passes a row's value on, from the row itself or from the table of large values. @return 0 or the error.
SqliteCode SqliteEntries::takeValue(SqliteStatement& row, int column, std::string_view position,
                                    const std::function<void(ConstByteSpan)>& take) {
    if (row.isInteger(column)) return m_largeValues.read(row.number(column), position, take);
    if (!row.isBytes(column)) return kValueOutOfPlace;
    take(row.column(column));
    return SQLITE_OK;
}

SqliteCode SqliteEntries::readRange(std::string_view first, std::string_view last,
                                    const std::function<void(const Row&)>& take) {
    bindRange(m_readRange, first, last);
    SqliteCode code = m_readRange.step();
    while (code == SQLITE_ROW) {
        const std::string_view position = m_readRange.column(0).asText();
        code = takeValue(m_readRange, 2, position, [&](ConstByteSpan value) {
            take({position, m_readRange.column(1), value});
        });
        if (code == SQLITE_OK) code = m_readRange.step();
    }
    m_readRange.reset();
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

// --- Writing ----------------------------------------------------------------------------------------------

SqliteCode SqliteEntries::set(const Row& row) {
    const bool isLarge = row.value.size > SqliteLargeValues::kLargestInRow;
    bool wasLarge = false;
    if (const SqliteCode code = hasLarge(row.position, row.position, wasLarge)) return code;
    if (!isLarge && !wasLarge) return setSmall(row);
    return writeBothTables([&] {
        const SqliteCode code = eraseLarge(row.position, row.position);
        if (code != SQLITE_OK) return code;
        return isLarge ? setLarge(row) : setSmall(row);
    });
}

SqliteCode SqliteEntries::erase(std::string_view first, std::string_view last) {
    bool wasLarge = false;
    if (const SqliteCode code = hasLarge(first, last, wasLarge)) return code;
    if (!wasLarge) return eraseRows(first, last);
    return writeBothTables([&] {
        const SqliteCode code = eraseLarge(first, last);
        return code != SQLITE_OK ? code : eraseRows(first, last);
    });
}

/// Calls @p write, which returns 0 or an error, and rolls back its changes if it fails.
template <typename Write>
SqliteCode SqliteEntries::writeBothTables(const Write& write) {
    if (const SqliteCode code = m_savepoint.run()) return code;
    const SqliteCode code = write();
    if (code == SQLITE_OK) return m_release.run();
    if (m_rollbackTo.run() != SQLITE_OK || m_release.run() != SQLITE_OK) m_rollback.run();
    return code;
}

SqliteCode SqliteEntries::hasLarge(std::string_view first, std::string_view last, bool& result) {
    if (!m_largeValues.mayHaveAny()) return SQLITE_OK;
    bindRange(m_readLarge, first, last);
    const SqliteCode code = m_readLarge.runForRow(SQLITE_DONE);
    result = code == SQLITE_OK;
    return code == SQLITE_DONE ? SQLITE_OK : code;
}

SqliteCode SqliteEntries::eraseLarge(std::string_view first, std::string_view last) {
    if (!m_largeValues.mayHaveAny()) return SQLITE_OK;
    bindRange(m_readLarge, first, last);
    return visitIds(m_readLarge, [this](int64 id, std::string_view position) {
        return m_largeValues.erase(id, position);
    });
}

SqliteCode SqliteEntries::setSmall(const Row& row) {
    m_set.bind(3, row.value);
    return setRow(row);
}

SqliteCode SqliteEntries::setLarge(const Row& row) {
    int64 id = 0;
    if (const SqliteCode code = m_largeValues.add(row.position, row.value, id)) return code;
    m_set.bind(3, id);
    return setRow(row);
}

/// Writes a row whose value is already bound.
SqliteCode SqliteEntries::setRow(const Row& row) {
    m_set.bind(1, ConstByteSpan::fromText(row.position));
    m_set.bind(2, row.key);
    return m_set.run();
}

SqliteCode SqliteEntries::eraseRows(std::string_view first, std::string_view last) {
    bindRange(m_erase, first, last);
    return m_erase.run();
}

// --- Health -----------------------------------------------------------------------------------------------

SqliteCode SqliteEntries::check() {
    int64 references = 0, values = 0;
    SqliteCode code = visitIds(m_checkRows, [&](int64 id, std::string_view position) {
        ++references;
        return m_largeValues.check(id, position);
    });
    if (code == SQLITE_OK) code = m_largeValues.count(values);
    return code == SQLITE_OK && references != values ? kValueOutOfPlace : code;
}

} // namespace qel::internal
