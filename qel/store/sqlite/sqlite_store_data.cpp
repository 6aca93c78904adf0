#include <qel/store/sqlite/sqlite_store_data_p.h>

#include <qel/foundation/log/message_stream.h>

#include <sqlite3.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qel::internal {

namespace {

/// Results of get() above this size release their memory when they are reused.
constexpr size_t kKeptValueSize = 64 * 1024;

/// Follows the position of every key that does not begin with that many End elements, which real keys never
/// do.
constexpr std::string_view kBehindAll = "\xFF\xFF\xFF\xFF";

/// Returns the reason why a file cannot be opened; empty for success.
String reasonOf(SqliteCode code) {
    if (code == SQLITE_OK) return {};
    return (isSqliteDamage(code) ? "damaged: " : "") + sqliteErrorText(code);
}

Item view(ConstByteSpan bytes) {
    return {Item::ExternalBufferMode, bytes};
}

} // namespace

SqliteStoreData::SqliteStoreData(SqliteStore* store, SmartCStr path)
    : m_store(store), m_path(path.c_str()), m_transactions(m_connection, m_entries, m_path) {
    const String fault = open();
    if (fault.empty()) return;
    logging::error() << "[STORE] can't open store '" << m_path << "': " << fault;
    m_lastError = fault;
    releaseFile(false);
}

/// Opens the file. Everything that can be checked before the file is changed is checked.
/// @return the reason of a failure.
String SqliteStoreData::open() {
    String fault = m_connection.open(m_path.c_str());
    if (fault.empty()) fault = reasonOf(m_up.prepare(m_connection.get(), SqliteCursor::Direction::Up));
    if (fault.empty() && m_connection.isSmall()) fault = reasonOf(checkKeys());
    if (fault.empty()) fault = m_connection.upgrade();
    if (fault.empty()) fault = reasonOf(prepare());
    if (fault.empty() && m_connection.isSmall()) fault = reasonOf(m_entries.check());
    return fault;
}

SqliteCode SqliteStoreData::prepare() {
    if (const SqliteCode code = m_entries.prepare(m_connection.get())) return code;
    if (const SqliteCode code = m_down.prepare(m_connection.get(), SqliteCursor::Direction::Down))
        return code;
    return m_transactions.prepare();
}

void SqliteStoreData::releaseFile(bool isSound) {
    m_entries.finalize();
    m_up.finalize();
    m_down.finalize();
    m_transactions.detach();
    m_connection.close(isSound);
    ++m_lossCount; // a closed store has no values
}

void SqliteStoreData::resetCursors() {
    m_up.reset();
    m_down.reset();
}

// --- Writing ----------------------------------------------------------------------------------------------

void SqliteStoreData::set(const Item& key, const Item& value) {
    if (!isWritable()) return;
    m_orderKey.assign(key);
    if (!m_orderKey.isQuestion()) return store(key, value);
    if (!findEqual(key)) {
        logging::error() << "sqlitestore, set of a key with a wildcard or a nan";
        return;
    }
    const Item equal(Item::PlainMode, m_up.key());
    m_orderKey.assign(equal);
    store(equal, value);
}

/// Writes at the position of m_orderKey.
void SqliteStoreData::store(const Item& key, const Item& value) {
    const SqliteEntries::Row row{m_orderKey.bytes(), key.getConstByteSpan(), value.getConstByteSpan()};
    const size_t bytes = row.position.size() + row.key.size + row.value.size;
    write(row.position, row.position, bytes, [this, &row] { return m_entries.set(row); });
}

/// Calls @p write, which writes @p bytes to positions from @p first to @p last and returns a SqliteCode.
/// @return true if it was done.
template <typename Write>
bool SqliteStoreData::write(std::string_view first, std::string_view last, size_t bytes, const Write& write) {
    resetCursors();
    bool isDropped = false;
    SqliteCode code = m_transactions.prepareWrite(first, last, isDropped);
    if (isDropped) {
        noteLoss("an earlier write of the transaction failed");
        return false;
    }
    if (code == SQLITE_OK) code = write();
    if (code == SQLITE_OK) code = m_transactions.wrote(bytes);
    if (code == SQLITE_OK) return true;
    m_transactions.writeFailed();
    report("write to", code);
    return false;
}

void SqliteStoreData::remove(const Item& first, const Item& last) {
    if (!isWritable() || Item::compare(first, last) > 0) return;
    m_orderKey.assign(first);
    m_lastKey.assign(last);
    if (m_orderKey.isQuestion() || m_lastKey.isQuestion()) return removeByQuestion(first, last);
    erase(m_orderKey.bytes(), m_lastKey.bytes());
}

// Moves from one group of equal keys to the next, so that each bound is compared with compare().
void SqliteStoreData::removeByQuestion(const Item& first, const Item& last) {
    Item key(first);
    do {
        eraseEqual(key);
    } while (good() && next(key, key) && Item::compare(key, last) <= 0);
}

/// Removes all keys that are equal to @p key.
void SqliteStoreData::eraseEqual(const Item& key) {
    m_orderKey.assign(key);
    if (!m_orderKey.isQuestion()) {
        erase(m_orderKey.bytes(), m_orderKey.bytes());
        return;
    }
    std::vector<std::string> places; // a write would end the walk
    visitEqual(key, [&places](const Item& equal) {
        places.emplace_back(OrderKey(equal).bytes());
        return true;
    });
    for (const std::string& place : places) {
        if (!erase(place, place)) return;
    }
}

bool SqliteStoreData::erase(std::string_view first, std::string_view last) {
    return write(first, last, first.size() + last.size(), [&] { return m_entries.erase(first, last); });
}

bool SqliteStoreData::tryCommit() {
    if (m_transactions.level() == 0) {
        logging::error() << "sqlitestore, commit without begin";
        return good();
    }
    resetCursors();
    bool isKept = good();
    if (const SqliteCode code = m_transactions.commit(isKept)) report("commit to", code);
    if (!isKept) noteLoss("the transaction was rolled back");
    return isKept && good();
}

void SqliteStoreData::rollback() {
    if (m_transactions.level() == 0) {
        logging::error() << "sqlitestore, rollback without begin";
        return;
    }
    resetCursors();
    if (const SqliteCode code = m_transactions.rollback()) report("roll back", code);
}

bool SqliteStoreData::tryFlush() {
    if (!good()) return false;
    resetCursors();
    SqliteCode code = m_transactions.commitGathered();
    if (code == SQLITE_OK) code = m_transactions.sync();
    if (code != SQLITE_OK) report("flush", code);
    return !m_transactions.takeLoss() && code == SQLITE_OK;
}

void SqliteStoreData::close() {
    if (!good()) return;
    while (good() && m_transactions.level() > 0) rollback();
    if (!good()) return;
    resetCursors();
    if (const SqliteCode code = m_transactions.commitGathered()) report("write to", code);
    if (good()) releaseFile(true);
}

// --- Reading ----------------------------------------------------------------------------------------------

const Item* SqliteStoreData::get(const Item& key) {
    if (!good()) return nullptr;
    if (m_up.standsOn(key) && m_up.hasValue()) return keep(m_up.value());
    m_orderKey.assign(key);
    if (m_orderKey.isQuestion()) {
        if (!findEqual(key)) return nullptr;
        m_orderKey.assign(view(m_up.key()));
    }
    return find();
}

/// Reads the entry at the position of m_orderKey.
const Item* SqliteStoreData::find() {
    const Item* value = nullptr;
    const SqliteCode code =
        m_entries.read(m_orderKey.bytes(), [&](ConstByteSpan bytes) { value = keep(bytes); });
    if (code != SQLITE_OK) report("read", code);
    return value;
}

const Item* SqliteStoreData::keep(ConstByteSpan value) {
    Item& kept = m_values[m_nextValue];
    m_nextValue = (m_nextValue + 1) % m_values.size();
    if (kept.getPlainSize() > kKeptValueSize) {
        std::destroy_at(&kept);
        std::construct_at(&kept);
    }
    kept.setPlain(value.data, value.size);
    kept.setStore(m_store);
    return &kept;
}

bool SqliteStoreData::found(bool isRow, SqliteCode error) {
    if (error != SQLITE_OK) report("read", error);
    return isRow;
}

bool SqliteStoreData::give(SqliteCursor& cursor, Item& out) {
    const ConstByteSpan key = cursor.key();
    out.setPlain(key.data, key.size);
    out.setStore(m_store);
    return true;
}

bool SqliteStoreData::first(Item& out) {
    if (!good()) return false;
    SqliteCode error = SQLITE_OK;
    return found(m_up.seek({}, SqliteCursor::Start::At, error), error) && give(m_up, out);
}

bool SqliteStoreData::next(const Item& key, Item& out) {
    if (!good()) return false;
    SqliteCode error = SQLITE_OK;
    if (m_up.standsOn(key)) return found(m_up.step(error), error) && give(m_up, out);
    m_orderKey.assign(key);
    if (m_orderKey.isQuestion()) return nextOfQuestion(key, out);
    return found(m_up.seek(m_orderKey.bytes(), SqliteCursor::Start::Behind, error), error) && give(m_up, out);
}

bool SqliteStoreData::prev(const Item& key, Item& out) {
    if (!good()) return false;
    SqliteCode error = SQLITE_OK;
    if (m_down.standsOn(key)) return found(m_down.step(error), error) && give(m_down, out);
    m_orderKey.assign(key);
    if (m_orderKey.isQuestion()) return prevOfQuestion(key, out);
    return found(m_down.seek(m_orderKey.bytes(), SqliteCursor::Start::At, error), error) && give(m_down, out);
}

// Keys that begin like a question are adjacent. Among them, keys that are smaller than, equal to and greater
// than the question may be mixed, so each is compared. m_orderKey is the question's and is changed.

/// Calls @p visit(key) for each key that is equal to @p question. If it returns false, m_up stays there.
template <typename Visit>
void SqliteStoreData::visitEqual(const Item& question, const Visit& visit) {
    SqliteCode error = SQLITE_OK;
    bool isRow = m_up.seek(m_orderKey.fixedPart(), SqliteCursor::Start::At, error);
    const std::string_view end = m_orderKey.turnIntoEndOfFixedPart();
    for (; isRow; isRow = m_up.step(error)) {
        const Item key = view(m_up.key());
        if (Item::compare(key, question) == 0) {
            if (!visit(key)) return;
        } else if (!end.empty() && OrderKey(key).bytes() >= end) {
            break;
        }
    }
    m_up.reset();
    found(false, error);
}

/// Moves m_up to the first key that is equal to @p question. @return true if there is one.
bool SqliteStoreData::findEqual(const Item& question) {
    bool isThere = false;
    visitEqual(question, [&isThere](const Item&) {
        isThere = true;
        return false;
    });
    return isThere;
}

bool SqliteStoreData::nextOfQuestion(const Item& question, Item& out) {
    SqliteCode error = SQLITE_OK;
    bool isRow = m_up.seek(m_orderKey.fixedPart(), SqliteCursor::Start::At, error);
    while (isRow && Item::compare(view(m_up.key()), question) <= 0) isRow = m_up.step(error);
    return found(isRow, error) && give(m_up, out);
}

bool SqliteStoreData::prevOfQuestion(const Item& question, Item& out) {
    const std::string_view end = m_orderKey.turnIntoEndOfFixedPart();
    SqliteCode error = SQLITE_OK;
    bool isRow = m_down.seek(end.empty() ? kBehindAll : end, SqliteCursor::Start::At, error);
    while (isRow && Item::compare(view(m_down.key()), question) >= 0) isRow = m_down.step(error);
    return found(isRow, error) && give(m_down, out);
}

// --- Health -----------------------------------------------------------------------------------------------

/// Returns true if the file is open; a write to a closed file is a loss.
bool SqliteStoreData::isWritable() {
    if (!good()) noteLoss("the store is not open");
    return good();
}

void SqliteStoreData::noteLoss(const String& reason) {
    ++m_lossCount;
    if (m_lastError.empty()) m_lastError = reason;
}

void SqliteStoreData::report(const char* what, SqliteCode code) {
    if (isSqliteDamage(code)) return closeDamaged(sqliteErrorText(code));
    noteLoss(sqliteErrorText(code));
    logging::error() << "[STORE] can't " << what << " store '" << m_path << "': " << sqliteErrorText(code);
}

void SqliteStoreData::closeDamaged(const String& fault) {
    noteLoss("damaged: " + fault);
    logging::error() << "[STORE] store '" << m_path << "' is damaged and was closed: " << fault;
    releaseFile(false);
}

int64 SqliteStoreData::size() {
    return good() ? std::max<int64>(m_connection.size(), 0) : 0;
}

bool SqliteStoreData::verify() {
    if (!good()) return false;
    resetCursors();
    String fault = m_connection.check();
    if (fault.empty()) {
        SqliteCode code = checkKeys();
        if (code == SQLITE_OK) code = m_entries.check();
        if (code != SQLITE_OK) fault = sqliteErrorText(code);
    }
    if (!fault.empty() && good()) closeDamaged(fault);
    return good();
}

/// Iterates over all entries. @return the first error.
SqliteCode SqliteStoreData::checkKeys() {
    SqliteCode error = SQLITE_OK;
    bool isRow = m_up.seek({}, SqliteCursor::Start::At, error);
    while (isRow) isRow = m_up.step(error);
    return error;
}

} // namespace qel::internal
