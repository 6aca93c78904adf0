#include <qel/store/sqlite/sqlite_connection_p.h>

#include <qel/platform/file_system.h>
#include <qel/store/sqlite/sqlite_store.h>

#include <fmt/format.h>
#include <sqlite3.h>

#include <array>
#include <string_view>
#include <system_error>
#include <utility>

namespace qel::internal {

namespace {

constexpr const char* kDenied = "permission denied";
constexpr uint32 kApplicationId = 0x71656C53; // "qelS"
constexpr uint32 kLayoutVersion = 2;          // version 1 had no table of large values
constexpr const char* kEntries = "CREATE TABLE entries (position BLOB PRIMARY KEY, key BLOB NOT NULL, "
                                 "value BLOB NOT NULL) WITHOUT ROWID";
constexpr const char* kLargeValues =
    "CREATE TABLE large_values (id INTEGER PRIMARY KEY, value BLOB NOT NULL)";

// The offsets of numbers in the header of every SQLite database, high byte first.
// // https://www.sqlite.org/fileformat2.html, "The Database Header".
constexpr size_t kHeadSize = 100;
constexpr std::string_view kMagic{"SQLite format 3\0", 16};
constexpr size_t kWriteVersionAt = 18;
constexpr uint8 kNewestVersion = 2; // a file with a newer write version can only be read
constexpr size_t kLayoutVersionAt = 60;
constexpr size_t kApplicationIdAt = 68;

uint32 loadBigEndian(const uint8* bytes) {
    return uint32{bytes[0]} << 24 | uint32{bytes[1]} << 16 | uint32{bytes[2]} << 8 | bytes[3];
}

String faultOfHead(const std::array<uint8, kHeadSize>& head) {
    if (std::string_view(reinterpret_cast<const char*>(head.data()), kMagic.size()) != kMagic)
        return "not a database";
    if (loadBigEndian(&head[kApplicationIdAt]) != kApplicationId) return "a database of another program";
    const uint32 version = loadBigEndian(&head[kLayoutVersionAt]);
    if (version < 1 || version > kLayoutVersion) return fmt::format("layout {} is unknown", version);
    for (const size_t at : {kWriteVersionAt, kWriteVersionAt + 1}) {
        if (head[at] > kNewestVersion) return fmt::format("damaged: version {} of the file format", head[at]);
    }
    return {};
}

/// Returns true if the user lacks the permission to create the missing file @p path. The database then tries
/// to open it for reading only, after which the cause is lost.
bool isCreationDenied(const std::string& path) {
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    platform::FileStatus status;
    const platform::FileError error = platform::readStatus(status, path.c_str());
    if (error != std::errc::no_such_file_or_directory) return error == std::errc::permission_denied;
    return platform::testAccess(folder.c_str(), true) == std::errc::permission_denied;
}

} // namespace

String sqliteErrorText(SqliteCode code) {
    if (code == SQLITE_CORRUPT_INDEX) return fmt::format("a key is out of place ({})", code);
    if (code == kValueOutOfPlace) return fmt::format("a value is out of place ({})", code);
    return fmt::format("{} ({})", sqlite3_errstr(code), code);
}

bool isSqliteDamage(SqliteCode code) {
    return (code & 0xff) == SQLITE_CORRUPT || (code & 0xff) == SQLITE_NOTADB;
}

String SqliteConnection::open(const char* path) {
    String fault = openFile(path);
    platform::FileStatus status;
    if (fault.empty() && platform::readStatus(status, path)) fault = "no file";
    if (fault.empty() && status.size > 0) fault = checkHead();
    if (fault.empty()) fault = lock();
    if (fault.empty()) fault = checkLayout();
    if (fault.empty() && isSmall()) fault = check();
    if (fault.empty()) fault = startLog();
    if (!fault.empty()) close(false);
    return fault;
}

String SqliteConnection::openFile(const char* path) {
    if (*path == '\0') return "no path";
    platform::FileStatus status;
    if (!platform::readStatus(status, path) && status.kind != platform::FileKind::File) return "not a file";
    // The prefix keeps names with a special meaning from being interpreted.
    const std::string plainPath = *path == '/' ? path : std::string("./") + path;
    const SqliteCode code =
        sqlite3_open_v2(plainPath.c_str(), &m_database,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (code != SQLITE_OK) return isCreationDenied(plainPath) ? kDenied : reason(code);
    sqlite3_extended_result_codes(m_database, 1);
    return isReadOnly() ? kDenied : "";
}

// Without write permission the database opens a file read-only, without an error.
bool SqliteConnection::isReadOnly() const {
    return sqlite3_db_readonly(m_database, "main") != 0;
}

// The header is read through the database's own handle: closing a second descriptor of the file would release
// this process's locks on it. Before this point nothing was locked or written.
String SqliteConnection::checkHead() {
    sqlite3_file* file = nullptr;
    sqlite3_file_control(m_database, "main", SQLITE_FCNTL_FILE_POINTER, &file);
    std::array<uint8, kHeadSize> head;
    const SqliteCode code = file->pMethods->xRead(file, head.data(), static_cast<int>(head.size()), 0);
    if (code == SQLITE_IOERR_SHORT_READ) return "not a database";
    return code == SQLITE_OK ? faultOfHead(head) : reason(code);
}

// A new file receives its layout in one step with a rollback journal, so that a file with any content has a
// header that identifies its owner. Its content shows whether it is new: if the process is killed in that
// step, taking the lock rolls the bytes back.
String SqliteConnection::lock() {
    for (const int distrusted :
         {SQLITE_DBCONFIG_ENABLE_TRIGGER, SQLITE_DBCONFIG_ENABLE_VIEW, SQLITE_DBCONFIG_TRUSTED_SCHEMA})
        sqlite3_db_config(m_database, distrusted, 0, nullptr);
    sqlite3_db_config(m_database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    SqliteCode code = execute("PRAGMA locking_mode=EXCLUSIVE; PRAGMA cell_size_check=ON; "
                              "PRAGMA temp_store=MEMORY; PRAGMA cache_size=-16384; BEGIN EXCLUSIVE");
    if (code == SQLITE_OK && isNew()) {
        code = execute(fmt::format("PRAGMA application_id={}; PRAGMA user_version={}; {}; {}", kApplicationId,
                                   kLayoutVersion, kEntries, kLargeValues)
                           .c_str());
    }
    if (code == SQLITE_OK) code = execute("COMMIT");
    if (code != SQLITE_OK) return reason(code);
    return isReadOnly() ? "damaged: it can only be read" : "";
}

bool SqliteConnection::isNew() {
    return readNumber("PRAGMA application_id") == 0 && readNumber("SELECT count(*) FROM sqlite_schema") == 0;
}

String SqliteConnection::checkLayout() {
    const String query = fmt::format(
        "SELECT CASE WHEN count(*) = 1 AND min(sql) = '{0}' THEN 1 "
        "WHEN count(*) = 2 AND min(sql) = '{0}' AND max(sql) = '{1}' THEN 2 END FROM sqlite_schema",
        kEntries, kLargeValues);
    m_layout = readNumber("PRAGMA user_version");
    return m_layout == readNumber(query.c_str()) ? String()
                                                 : String("damaged: it doesn't hold the tables of a store");
}

// The checkpoint writes the new version to the header of the file itself, where earlier programs look for it.
String SqliteConnection::upgrade() {
    if (m_layout == kLayoutVersion) return {};
    if (isSmall() && readNumber("SELECT count(*) FROM entries WHERE typeof(value) <> 'blob'") != 0)
        return "damaged: " + sqliteErrorText(kValueOutOfPlace);
    SqliteCode code = execute(
        fmt::format("BEGIN; {}; PRAGMA user_version={}; COMMIT", kLargeValues, kLayoutVersion).c_str());
    if (code == SQLITE_OK) code = execute("PRAGMA wal_checkpoint(TRUNCATE)");
    return code == SQLITE_OK ? String() : reason(code);
}

String SqliteConnection::startLog() {
    const SqliteCode code = execute("PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL; "
                                    "PRAGMA journal_size_limit=16777216");
    return code == SQLITE_OK ? String() : reason(code);
}

void SqliteConnection::close(bool isSound) {
    if (!m_database) return;
    if (!isSound) sqlite3_db_config(m_database, SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
    sqlite3_close(m_database);
    m_database = nullptr;
}

SqliteCode SqliteConnection::execute(const char* sql) {
    return sqlite3_exec(m_database, sql, nullptr, nullptr, nullptr);
}

bool SqliteConnection::isInTransaction() const {
    return sqlite3_get_autocommit(m_database) == 0;
}

// Commits write to the log next to the file and do not wait for the disk; everything committed is on disk as
// soon as that log is.
SqliteCode SqliteConnection::sync() {
    sqlite3_file* log = nullptr;
    sqlite3_file_control(m_database, "main", SQLITE_FCNTL_JOURNAL_POINTER, &log);
    return log && log->pMethods ? log->pMethods->xSync(log, SQLITE_SYNC_NORMAL) : SQLITE_OK;
}

String SqliteConnection::check() {
    SqliteStatement statement;
    SqliteCode code = statement.prepare(m_database, "PRAGMA quick_check(1)");
    if (code == SQLITE_OK) code = statement.step();
    if (code != SQLITE_ROW) return reason(code);
    const std::string_view fault = statement.column(0).asText();
    return fault == "ok" ? String() : String(fmt::format("damaged: {}", fault));
}

int64 SqliteConnection::size() {
    return readNumber("SELECT page_count * page_size FROM pragma_page_count, pragma_page_size");
}

bool SqliteConnection::isSmall() {
    return size() <= SqliteStore::kCheckedBytes;
}

String SqliteConnection::reason(SqliteCode code) const {
    if ((code & 0xff) == SQLITE_BUSY) return "another process or object has it open";
    if (code == SQLITE_READONLY_DIRECTORY) return kDenied; // the log beside the file can't be created
    const std::error_code cause(sqlite3_system_errno(m_database), std::generic_category());
    const bool isOpening = (code & 0xff) == SQLITE_CANTOPEN || (code & 0xff) == SQLITE_READONLY;
    if (isOpening && cause == std::errc::permission_denied) return kDenied;
    if (isSqliteDamage(code)) return "damaged: " + sqliteErrorText(code);
    return sqliteErrorText(code);
}

int64 SqliteConnection::readNumber(const char* sql) {
    SqliteStatement statement;
    int64 number = -1;
    const bool isRead =
        statement.prepare(m_database, sql) == SQLITE_OK && statement.readNumber(number) == SQLITE_OK;
    return isRead ? number : -1;
}

SqliteCode SqliteStatement::prepare(sqlite3* database, const char* sql) {
    finalize();
    return sqlite3_prepare_v3(database, sql, -1, SQLITE_PREPARE_PERSISTENT, &m_statement, nullptr);
}

SqliteCode
SqliteStatement::prepareAll(sqlite3* database,
                            std::initializer_list<std::pair<SqliteStatement*, const char*>> statements) {
    for (const auto& [statement, sql] : statements) {
        if (const SqliteCode code = statement->prepare(database, sql)) return code;
    }
    return SQLITE_OK;
}

void SqliteStatement::finalize() {
    sqlite3_finalize(m_statement);
    m_statement = nullptr;
}

void SqliteStatement::bind(int index, ConstByteSpan bytes) {
    const void* const data = bytes.size != 0 ? bytes.data : static_cast<const void*>("");
    const SqliteCode code = sqlite3_bind_blob64(m_statement, index, data, bytes.size, SQLITE_STATIC);
    if (code != SQLITE_OK) m_bindError = code; // the parameter still has its previous bytes
}

void SqliteStatement::bind(int index, int64 number) {
    const SqliteCode code = sqlite3_bind_int64(m_statement, index, number);
    if (code != SQLITE_OK) m_bindError = code;
}

SqliteCode SqliteStatement::step() {
    if (m_bindError != SQLITE_OK) return std::exchange(m_bindError, SQLITE_OK);
    return sqlite3_step(m_statement);
}

SqliteCode SqliteStatement::run() {
    const SqliteCode code = step();
    sqlite3_reset(m_statement);
    return code == SQLITE_DONE || code == SQLITE_ROW ? SQLITE_OK : code;
}

SqliteCode SqliteStatement::runForRow(SqliteCode missing) {
    SqliteCode code = step();
    if (code == SQLITE_DONE) code = missing;
    sqlite3_reset(m_statement);
    return code == SQLITE_ROW ? SQLITE_OK : code;
}

SqliteCode SqliteStatement::readNumber(int64& result) {
    const SqliteCode code = step();
    if (code == SQLITE_ROW) result = number(0);
    sqlite3_reset(m_statement);
    return code == SQLITE_ROW ? SQLITE_OK : code;
}

void SqliteStatement::reset() {
    sqlite3_reset(m_statement);
}

ConstByteSpan SqliteStatement::column(int index) {
    const void* const data = sqlite3_column_blob(m_statement, index);
    const int size = sqlite3_column_bytes(m_statement, index);
    return {static_cast<const uint8*>(data), static_cast<size_t>(size)};
}

bool SqliteStatement::isBytes(int index) {
    return sqlite3_column_type(m_statement, index) == SQLITE_BLOB;
}

bool SqliteStatement::isInteger(int index) {
    return sqlite3_column_type(m_statement, index) == SQLITE_INTEGER;
}

int64 SqliteStatement::number(int index) {
    return sqlite3_column_int64(m_statement, index);
}

} // namespace qel::internal
