// The nested transactions of a store, and the gathering of writes outside of them.
#pragma once

#include <qel/store/sqlite/sqlite_connection_p.h>
#include <qel/store/sqlite/sqlite_undo_log_p.h>

#include <string_view>
#include <utility>
#include <vector>

namespace qel::internal {

/// Turns begin(), commit() and rollback() into transactions of the database. A level costs nothing until
/// something is written in it.
///
/// The first level that writes opens the transaction, and the next ones open savepoints. Each write takes the
/// database time for every open savepoint, so levels beyond kSavepoints note in memory what they change. A
/// level shares the transaction, savepoint or notes of a level inside it that wrote first.
///
/// A write that fails dooms its level: what is written there from then on is dropped, a rollback() of the
/// level ends that, and a commit() passes the doom on to the level around it. So nothing is ever kept in
/// part. If a rollback fails, the whole transaction is taken back at once and level 1 is doomed.
class SqliteTransactions {
public:
    /// Levels that have the transaction or a savepoint of the database.
    static constexpr size_t kSavepoints = 4;

    /// @param path  for log lines. @owner all three must outlive it.
    SqliteTransactions(SqliteConnection& connection, SqliteEntries& entries, const String& path)
        : m_connection(connection), m_undoLog(entries), m_path(path) {}

    /// Compiles the statements; the connection must be open.
    SqliteCode prepare();
    /// Lets go of the connection, which may be closed then. Levels are only counted from now on.
    void detach();

    int level() const { return m_level; }
    void begin() { ++m_level; }
    /// Ends a level; there must be one. @return the error of the database.
    /// @param isKept  set to false if what was written in the level is lost.
    SqliteCode commit(bool& isKept);
    SqliteCode rollback();
    /// Prepares a write to positions from @p first to @p last, both included.
    /// @param isDropped  set when the write must not be done.
    SqliteCode prepareWrite(std::string_view first, std::string_view last, bool& isDropped);
    /// Counts a write of @p bytes that was done.
    SqliteCode wrote(size_t bytes);
    /// Takes note that the write failed.
    void writeFailed();
    /// Keeps what was gathered.
    SqliteCode commitGathered();
    /// Waits until what was kept is on the disk.
    SqliteCode sync();
    /// Returns whether writes outside of a transaction were lost since the last call.
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
    int m_failedLevel = 0; // writes of this level and those inside it are dropped; 0 for none
    /// The levels that can be taken back on their own, ascending. The first has the transaction, those up to
    /// kSavepoints a savepoint, the others a level of the undo log.
    std::vector<int> m_undoPoints;
    int m_gatheredWrites = 0;
    size_t m_gatheredBytes = 0;
    bool m_isSynced = true;
    bool m_isLost = false;
};

} // namespace qel::internal
