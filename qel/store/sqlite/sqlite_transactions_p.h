// The nested transactions of a store, and the gathering of writes outside of them.
#pragma once

#include <qel/store/sqlite/sqlite_connection_p.h>

#include <utility>
#include <vector>

namespace qel::internal {

/// Turns begin(), commit() and rollback() into transactions and savepoints of the database. A level costs
/// nothing until something is written in it, and shares the savepoint of a level inside it that wrote first.
///
/// A write that fails dooms its level: what is written there from then on is dropped, a rollback() of the
/// level ends that, and a commit() passes the doom on to the level around it. So nothing is ever kept in
/// part.
class SqliteTransactions {
public:
    /// @param path  for log lines. @owner both must outlive it.
    SqliteTransactions(SqliteConnection& connection, const String& path)
        : m_connection(connection), m_path(path) {}

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
    /// Makes ready for a write. @param isDropped  set when the write must not be done.
    SqliteCode prepareWrite(bool& isDropped);
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
    bool hasSavepoint(int level) const { return !m_savepoints.empty() && m_savepoints.back() == level; }
    bool isGathering() const { return m_savepoints.empty() && m_connection.isInTransaction(); }
    SqliteCode commitToLog();
    SqliteCode undo();
    void forgetGathered();
    void passFailureOn(int level);

    SqliteConnection& m_connection;
    const String& m_path;
    SqliteStatement m_begin, m_commit, m_rollback, m_savepoint, m_release, m_rollbackTo;
    int m_level = 0;
    int m_failedLevel = 0;         // writes of this level and those inside it are dropped; 0 for none
    std::vector<int> m_savepoints; // the levels that have one, rising; the first is the transaction itself
    int m_gatheredWrites = 0;
    size_t m_gatheredBytes = 0;
    bool m_isSynced = true;
    bool m_isLost = false;
};

} // namespace qel::internal
