// A connection to the file of a store, and its prepared statements.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>

#include <initializer_list>
#include <utility>

struct sqlite3;
struct sqlite3_stmt;

namespace qel::internal {

/// The result of a database call: its extended code, 0 for success.
using SqliteCode = int;

/// Damage that the database does not report: a row refers to no large value, or to one of another key.
constexpr SqliteCode kValueOutOfPlace = 11 | 100 << 8;

/// A prepared statement. Parameters and columns are bytes.
class SqliteStatement {
public:
    SqliteStatement() = default;
    ~SqliteStatement() { finalize(); }
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    /// Compiles @p sql, one statement, for repeated use.
    SqliteCode prepare(sqlite3* database, const char* sql);
    /// Compiles all @p statements, up to the first that fails.
    static SqliteCode prepareAll(sqlite3* database,
                                 std::initializer_list<std::pair<SqliteStatement*, const char*>> statements);
    void finalize();
    /// Binds parameter @p index, starting at 1. @owner the bytes must be valid until the statement is reset.
    /// @errors too many bytes are reported by the next step() or run().
    void bind(int index, ConstByteSpan bytes);
    void bind(int index, int64 number);
    /// Moves to the next row. @return SQLITE_ROW, SQLITE_DONE or the error.
    SqliteCode step();
    /// Runs a statement without rows, and resets it. @return 0 or the error.
    SqliteCode run();
    /// Runs a statement that should find one row, and resets it.
    /// @return 0, @p missing if there is no row, or the error.
    SqliteCode runForRow(SqliteCode missing);
    /// Runs a query that returns one number, and resets it. @return 0 or the error.
    SqliteCode readNumber(int64& number);
    /// Ends the iteration over the rows.
    void reset();
    /// Returns column @p index of the row, starting at 0. @owner valid until the next step() or reset().
    ConstByteSpan column(int index);
    /// Returns true if column @p index contains bytes, and not text or a number.
    bool isBytes(int index);
    bool isInteger(int index);
    /// Returns the value of a column that contains a number.
    int64 number(int index);

private:
    sqlite3_stmt* m_statement = nullptr;
    SqliteCode m_bindError = 0;
};

/// Opens a store's file exclusively, and such that no other file is ever changed.
class SqliteConnection {
public:
    SqliteConnection() = default;
    ~SqliteConnection() { close(false); }
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    /// Opens the file, and creates it if it is missing or empty. @return the reason of a failure, else "".
    String open(const char* path);
    /// Closes; all statements must be finalized.
    /// @param isSound  false to leave the file and its log unchanged.
    void close(bool isSound);
    /// Returns the connection; null if closed.
    sqlite3* get() const { return m_database; }
    /// Runs SQL whose rows are ignored.
    SqliteCode execute(const char* sql);
    /// Returns true if a transaction is open; an error may have ended it.
    bool isInTransaction() const;
    /// Waits until all committed changes are on disk.
    SqliteCode sync();
    /// Reads the whole file. @return the first fault, else "".
    String check();
    /// Converts a file of an earlier layout to the current one. @return the reason of a failure, else "".
    String upgrade();
    /// Returns the size of the database in bytes.
    int64 size();
    /// Returns true if the file is small enough to be checked completely when it is opened.
    bool isSmall();

private:
    String openFile(const char* path);
    String checkHead();
    bool isReadOnly() const;
    String lock();
    bool isNew();
    String checkLayout();
    String startLog();
    String reason(SqliteCode code) const;
    int64 readNumber(const char* sql);

    sqlite3* m_database = nullptr;
    int64 m_layout = 0; // version of the file's layout
};

/// Returns the database's text for an error.
String sqliteErrorText(SqliteCode code);
/// Returns true if an error means that the file is damaged.
bool isSqliteDamage(SqliteCode code);

} // namespace qel::internal
