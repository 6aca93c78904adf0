#include <qel/store/sqlite/sqlite_transactions_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <utility>

namespace qel::internal {

SqliteCode SqliteTransactions::prepare() {
    const std::pair<SqliteStatement*, const char*> statements[] = {
        {&m_begin, "BEGIN"},           {&m_commit, "COMMIT"},
        {&m_rollback, "ROLLBACK"},     {&m_savepoint, "SAVEPOINT level"},
        {&m_release, "RELEASE level"}, {&m_rollbackTo, "ROLLBACK TO level"}};
    for (const auto& [statement, sql] : statements) {
        if (const SqliteCode code = statement->prepare(m_connection.get(), sql)) return code;
    }
    return 0;
}

void SqliteTransactions::detach() {
    for (SqliteStatement* statement :
         {&m_begin, &m_commit, &m_rollback, &m_savepoint, &m_release, &m_rollbackTo})
        statement->finalize();
    m_savepoints.clear();
    m_failedLevel = 0;
}

SqliteCode SqliteTransactions::prepareWrite(bool& isDropped) {
    isDropped = m_failedLevel != 0;
    if (isDropped || hasSavepoint(m_level)) return 0;
    if (m_level == 0) return m_connection.isInTransaction() ? 0 : m_begin.run();
    if (isGathering()) {
        if (const SqliteCode code = commitGathered()) return code;
    }
    const SqliteCode code = m_savepoints.empty() ? m_begin.run() : m_savepoint.run();
    if (code == 0) m_savepoints.push_back(m_level);
    return code;
}

SqliteCode SqliteTransactions::wrote(size_t bytes) {
    if (m_level != 0) return 0;
    ++m_gatheredWrites;
    m_gatheredBytes += bytes;
    const bool isEnough = m_gatheredWrites >= SqliteStore::kGatheredWrites ||
                          m_gatheredBytes >= static_cast<size_t>(SqliteStore::kGatheredBytes);
    return isEnough ? commitGathered() : 0;
}

// Some errors make the database roll back the whole transaction by itself.
void SqliteTransactions::writeFailed() {
    const bool isAllGone = !m_connection.isInTransaction();
    if (isAllGone) {
        m_savepoints.clear();
        forgetGathered();
    }
    if (m_level == 0) m_isLost = true;
    if (m_level != 0 && m_failedLevel == 0) m_failedLevel = isAllGone ? 1 : m_level;
}

void SqliteTransactions::forgetGathered() {
    if (m_gatheredWrites > 0)
        logging::error() << "[STORE] store '" << m_path << "' lost " << m_gatheredWrites
                         << " writes that were not flushed";
    if (m_gatheredWrites > 0) m_isLost = true;
    m_gatheredWrites = 0;
    m_gatheredBytes = 0;
}

SqliteCode SqliteTransactions::commit(bool& isKept) {
    const int level = m_level--;
    if (m_failedLevel != 0 && m_failedLevel <= level) {
        isKept = false;
        if (m_failedLevel == level) passFailureOn(level);
        return 0;
    }
    if (!hasSavepoint(level)) return 0;
    if (level == 1) {
        m_savepoints.clear();
        const SqliteCode code = commitToLog();
        if (code) isKept = false;
        return code;
    }
    const bool isOwnAround = m_savepoints.size() > 1 && m_savepoints.end()[-2] == level - 1;
    if (!isOwnAround) {
        m_savepoints.back() = level - 1;
        return 0;
    }
    m_savepoints.pop_back();
    return m_release.run();
}

void SqliteTransactions::passFailureOn(int level) {
    m_failedLevel = level - 1;
    if (hasSavepoint(level)) undo();
    if (level == 1)
        logging::error() << "[STORE] store '" << m_path << "' rolled back a transaction that it can't write";
}

SqliteCode SqliteTransactions::rollback() {
    const int level = m_level--;
    if (m_failedLevel == level) m_failedLevel = 0;
    return hasSavepoint(level) ? undo() : 0;
}

SqliteCode SqliteTransactions::undo() {
    m_savepoints.pop_back();
    if (m_savepoints.empty()) return m_rollback.run();
    const SqliteCode code = m_rollbackTo.run();
    return code ? code : m_release.run();
}

SqliteCode SqliteTransactions::commitGathered() {
    if (!isGathering()) return 0;
    if (const SqliteCode code = commitToLog()) {
        forgetGathered();
        return code;
    }
    m_gatheredWrites = 0;
    m_gatheredBytes = 0;
    return 0;
}

SqliteCode SqliteTransactions::commitToLog() {
    const SqliteCode code = m_commit.run();
    if (code == 0)
        m_isSynced = false;
    else if (m_connection.isInTransaction())
        m_rollback.run();
    return code;
}

SqliteCode SqliteTransactions::sync() {
    if (m_isSynced) return 0;
    const SqliteCode code = m_connection.sync();
    m_isSynced = code == 0;
    return code;
}

} // namespace qel::internal
