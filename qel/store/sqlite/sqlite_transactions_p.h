// The nested transactions of a store, and the gathering of writes outside transactions.
#pragma once

#include <qel/store/sqlite/sqlite_connection_p.h>
#include <qel/store/sqlite/sqlite_undo_log_p.h>

#include <string_view>
#include <utility>
#include <vector>

namespace qel::internal {

/// Maps begin(), commit() and rollback() to transactions of the database. A level costs nothing until
/// something is written in it.
/// || The first level that writes opens the transaction, and the next ones open savepoints. Each open
/// savepoint slows down every write, so levels beyond kSavepoints record their changes in memory. A level
/// shares the transaction, savepoint or records of an inner level that wrote first.
/// || A write that fails marks its level as failed: later writes in it are dropped. A rollback() of the level
/// ends that, and a commit() passes the failure on to the enclosing level. So changes are never kept in part.
/// If a rollback fails, the whole transaction is rolled back at once and level 1 is marked as failed.
class SqliteTransactions {
public:
    /// The number of levels that use the transaction or a savepoint of the database.
    static constexpr size_t kSavepoints = 4;

    /// @param path  for log lines. @owner all three arguments must outlive it.
    SqliteTransactions(SqliteConnection& connection, SqliteEntries& entries, const String& path)
        : m_connection(connection), m_undoLog(entries), m_path(path) {}

    /// Compiles the statements; the connection must be open.
    SqliteCode prepare();
    /// Releases the connection, which may then be closed. From now on levels are only counted.
    void detach();

    int level() const { return m_level; }
    void begin() { ++m_level; }
    /// Ends a level; there must be one. @return the error of the database.
    /// @param isKept  set to false if the changes of the level are lost.
    SqliteCode commit(bool& isKept);
    SqliteCode rollback();
    /// Prepares a write to positions from @p first to @p last, both included.
    /// @param isDropped  set if the write must not be done.
    SqliteCode prepareWrite(std::string_view first, std::string_view last, bool& isDropped);
    /// Counts a completed write of @p bytes.
    SqliteCode wrote(size_t bytes);
    /// Records that the write failed.
    void writeFailed();
    /// Commits the gathered writes.
    SqliteCode commitGathered();
    /// Waits until the committed changes are on disk.
    SqliteCode sync();
    /// Returns true if writes outside a transaction were lost since the last call.
    bool takeLoss() { return std::exchange(m_isLost, false); }

private:
    bool hasUndoPoint(int level) const { return !m_undoPoints.empty() && m_undoPoints.back() == level; }
    bool isNoting() const { return m_undoPoints.size() > kSavepoints; }
    bool isGathering() const { return m_undoPoints.empty() && m_connection.isInTransaction(); }
    SqliteCode openUndoPoint();
    SqliteCode joinUndoPoints();
    SqliteCode undo();
    SqliteCode takeBackLevel();
    void forgetUndoPoints();
    SqliteCode commitToLog();
    void forgetGathered();
    void passFailureOn(int level);

    SqliteConnection& m_connection;
    SqliteUndoLog m_undoLog;
    const String& m_path;
    SqliteStatement m_begin, m_commit, m_rollback, m_savepoint, m_release, m_rollbackTo;
    int m_level = 0;
    int m_failedLevel = 0; // writes of this level and its inner levels are dropped; 0 for none
    /// The levels that can be rolled back individually, ascending. The first has the transaction, those up to
    /// kSavepoints a savepoint, the others a level of the undo log.
    std::vector<int> m_undoPoints;
    int m_gatheredWrites = 0;
    size_t m_gatheredBytes = 0;
    bool m_isSynced = true;
    bool m_isLost = false;
};

} // namespace qel::internal
