#include <qel/store/sqlite/sqlite_large_values_p.h>

#include <qel/foundation/base/crc32c.h>

#include <sqlite3.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace qel::internal {

namespace {

/// The number of low bits of a number that are the checksum; a running number is in the bits above.
constexpr int kCheckBits = 24;

int64 checkSumOf(std::string_view position) {
    const auto bytes = ConstByteSpan::fromText(position);
    return ~util::crc32c(~0U, bytes.data, bytes.size) & ((1U << kCheckBits) - 1);
}

bool belongsTo(int64 id, std::string_view position) {
    return id > 0 && (id & ((int64{1} << kCheckBits) - 1)) == checkSumOf(position);
}

} // namespace

SqliteCode SqliteLargeValues::prepare(sqlite3* database) {
    SqliteCode code = SqliteStatement::prepareAll(
        database, {{&m_read, "SELECT value FROM large_values WHERE id = ?1"},
                   {&m_lastId, "SELECT max(id) FROM large_values"},
                   {&m_add, "INSERT INTO large_values VALUES (?1, ?2)"},
                   {&m_erase, "DELETE FROM large_values WHERE id = ?1 RETURNING 1"},
                   {&m_check, "SELECT 1 FROM large_values WHERE id = ?1 AND typeof(value) = 'blob'"},
                   {&m_count, "SELECT count(*) FROM large_values"}});
    int64 last = 0;
    if (code == SQLITE_OK) code = m_lastId.readNumber(last);
    m_mayHaveAny = last != 0;
    return code;
}

void SqliteLargeValues::finalize() {
    for (SqliteStatement* statement : {&m_read, &m_lastId, &m_add, &m_erase, &m_check, &m_count})
        statement->finalize();
}

SqliteCode SqliteLargeValues::read(int64 id, std::string_view position,
                                   const std::function<void(ConstByteSpan)>& take) {
    if (!belongsTo(id, position)) return kValueOutOfPlace;
    m_read.bind(1, id);
    SqliteCode code = m_read.step();
    if (code == SQLITE_DONE || (code == SQLITE_ROW && !m_read.isBytes(0))) code = kValueOutOfPlace;
    if (code == SQLITE_ROW) take(m_read.column(0));
    m_read.reset();
    return code == SQLITE_ROW ? SQLITE_OK : code;
}

SqliteCode SqliteLargeValues::add(std::string_view position, ConstByteSpan value, int64& id) {
    int64 last = 0;
    if (const SqliteCode code = m_lastId.readNumber(last)) return code;
    const int64 number = (std::max<int64>(last, 0) >> kCheckBits) + 1;
    if (number > std::numeric_limits<int64>::max() >> kCheckBits) return SQLITE_FULL;
    id = number << kCheckBits | checkSumOf(position);
    m_add.bind(1, id);
    m_add.bind(2, value);
    m_mayHaveAny = true;
    return m_add.run();
}

SqliteCode SqliteLargeValues::erase(int64 id, std::string_view position) {
    if (!belongsTo(id, position)) return kValueOutOfPlace;
    m_erase.bind(1, id);
    return m_erase.runForRow(kValueOutOfPlace);
}

SqliteCode SqliteLargeValues::check(int64 id, std::string_view position) {
    if (!belongsTo(id, position)) return kValueOutOfPlace;
    m_check.bind(1, id);
    return m_check.runForRow(kValueOutOfPlace);
}

SqliteCode SqliteLargeValues::count(int64& count) {
    return m_count.readNumber(count);
}

} // namespace qel::internal
