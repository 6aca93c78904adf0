// A connection to the file of a store, and its prepared statements.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>

struct sqlite3;
struct sqlite3_stmt;

namespace qel::internal {

/// What a call of the database answered: its own extended code, 0 for success.
using SqliteCode = int;

/// Damage, besides the codes of the database: a row leads to no large value, or to one of another key.
constexpr SqliteCode kValueOutOfPlace = 11 | 100 << 8;

/// A prepared statement. Parameters and columns are bytes.
class SqliteStatement {
public:
    SqliteStatement() = default;
    ~SqliteStatement() { finalize(); }
    SqliteStatement(const SqliteStatement&) = delete;
    SqliteStatement& operator=(const SqliteStatement&) = delete;

    /// Compiles @p sql, one statement, for long use.
    SqliteCode prepare(sqlite3* database, const char* sql);
    void finalize();
    /// Sets parameter @p index, from 1 on. @owner the bytes must stay until the statement was reset.
    /// @errors bytes that are too many are told by the next step() or run().
    void bind(int index, ConstByteSpan bytes);
    void bind(int index, int64 number);
    /// Goes on to the next row. @return SQLITE_ROW, SQLITE_DONE or the error.
    SqliteCode step();
    /// Runs a statement without rows, and resets it. @return 0 or the error.
    SqliteCode run();
    /// Runs a statement that should find one row, and resets it. @return 0, @p missing without a row, or the
    /// error.
    SqliteCode runForRow(SqliteCode missing);
    /// Runs a query that returns one number, and resets it. @return 0 or the error.
    SqliteCode readNumber(int64& number);
    /// Ends the walk over the rows.
    void reset();
    /// Column @p index of the row, from 0 on. @owner valid until the next step() or reset().
    ConstByteSpan column(int index);
    bool isNull(int index);
    /// Returns true if column @p index holds bytes, and neither text nor a number.
    bool isBytes(int index);
    bool isInteger(int index);
    /// A column that holds a number.
    int64 number(int index);

private:
    sqlite3_stmt* m_statement = nullptr;
    SqliteCode m_bindError = 0;
};

/// Opens a store's file so that no other file is ever changed, and holds it alone.
class SqliteConnection {
public:
    SqliteConnection() = default;
    ~SqliteConnection() { close(false); }
    SqliteConnection(const SqliteConnection&) = delete;
    SqliteConnection& operator=(const SqliteConnection&) = delete;

    /// Opens the file, and makes it when it is missing or empty. @return the reason of a failure, else "".
    String open(const char* path);
    /// Closes; all statements must be finalized.
    /// @param isSound  false: the file and its log stay as they are.
    void close(bool isSound);
    /// Null when closed.
    sqlite3* get() const { return m_database; }
    /// Runs SQL that gives no rows that matter.
    SqliteCode execute(const char* sql);
    /// Whether a transaction is open; an error may have ended it.
    bool isInTransaction() const;
    /// Waits until all that was committed is on the disk.
    SqliteCode sync();
    /// Reads the whole file. @return the first fault, else "".
    String check();
    /// Gives a file of an earlier layout the present one. @return the reason of a failure, else "".
    String upgrade();
    /// Bytes of the database.
    int64 size();
    /// Whether the file is so small that it is checked as a whole when it is opened.
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

/// The database's text for an error.
String sqliteErrorText(SqliteCode code);
/// Whether an error says that the file is damaged.
bool isSqliteDamage(SqliteCode code);

} // namespace qel::internal
