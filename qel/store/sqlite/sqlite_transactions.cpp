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
    forgetUndoPoints();
    m_failedLevel = 0;
}

SqliteCode SqliteTransactions::prepareWrite(std::string_view first, std::string_view last, bool& isDropped) {
    isDropped = m_failedLevel != 0;
    if (isDropped) return 0;
    if (m_level == 0) return m_connection.isInTransaction() ? 0 : m_begin.run();
    if (!hasUndoPoint(m_level)) {
        if (const SqliteCode code = openUndoPoint()) return code;
    }
    return isNoting() ? m_undoLog.note(first, last) : 0;
}

SqliteCode SqliteTransactions::openUndoPoint() {
    if (isGathering()) {
        if (const SqliteCode code = commitGathered()) return code;
    }
    SqliteCode code = 0;
    if (m_undoPoints.empty())
        code = m_begin.run();
    else if (m_undoPoints.size() < kSavepoints)
        code = m_savepoint.run();
    else
        m_undoLog.begin();
    if (code == 0) m_undoPoints.push_back(m_level);
    return code;
}

void SqliteTransactions::forgetUndoPoints() {
    m_undoPoints.clear();
    m_undoLog.clear();
}

SqliteCode SqliteTransactions::wrote(size_t bytes) {
    if (m_level != 0) return 0;
    ++m_gatheredWrites;
    m_gatheredBytes += bytes;
    const bool isEnough = m_gatheredWrites >= SqliteStore::kGatheredWrites ||
                          m_gatheredBytes >= static_cast<size_t>(SqliteStore::kGatheredBytes);
    return isEnough ? commitGathered() : 0;
}

// Some errors make the database roll back the whole transaction.
void SqliteTransactions::writeFailed() {
    const bool isAllGone = !m_connection.isInTransaction();
    if (isAllGone) {
        forgetUndoPoints();
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
    if (!hasUndoPoint(level)) return 0;
    if (level == 1) {
        forgetUndoPoints();
        const SqliteCode code = commitToLog();
        if (code) isKept = false;
        return code;
    }
    return joinUndoPoints();
}

/// Passes the innermost undo point on to the level that encloses its own.
SqliteCode SqliteTransactions::joinUndoPoints() {
    const int around = m_undoPoints.back() - 1;
    const bool isOwnAround = m_undoPoints.size() > 1 && m_undoPoints.end()[-2] == around;
    if (!isOwnAround) {
        m_undoPoints.back() = around;
        return 0;
    }
    const bool wasNoting = isNoting();
    m_undoPoints.pop_back();
    if (!wasNoting) return m_release.run();
    m_undoLog.commit();
    return 0;
}

void SqliteTransactions::passFailureOn(int level) {
    m_failedLevel = level - 1;
    if (hasUndoPoint(level)) undo();
    if (level == 1)
        logging::error() << "[STORE] store '" << m_path << "' rolled back a transaction that it can't write";
}

SqliteCode SqliteTransactions::rollback() {
    const int level = m_level--;
    if (m_failedLevel == level) m_failedLevel = 0;
    return hasUndoPoint(level) ? undo() : 0;
}

/// Rolls back the changes since the innermost undo point; if that fails, the whole transaction.
SqliteCode SqliteTransactions::undo() {
    const SqliteCode code = takeBackLevel();
    if (code == 0 || m_undoPoints.empty()) return code;
    forgetUndoPoints();
    if (m_connection.isInTransaction()) m_rollback.run();
    m_failedLevel = 1;
    return code;
}

SqliteCode SqliteTransactions::takeBackLevel() {
    const bool wasNoting = isNoting();
    m_undoPoints.pop_back();
    if (m_undoPoints.empty()) return m_rollback.run();
    if (wasNoting) return m_undoLog.rollback();
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
