#include <qel/store/sqlite/sqlite_store_data_p.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/item_order.h>
#include <qel/store/sqlite/key_question_p.h>

#include <sqlite3.h>

#include <memory>
#include <utility>

namespace qel::internal {

namespace {

/// Results of get() above this size give their memory back when they are used again.
constexpr size_t kKeptValueSize = 64 * 1024;

std::string positionOf(const Item& key) {
    std::string position;
    appendOrderedBytes(key, position);
    return position;
}

/// The smallest position behind that of @p key.
std::string positionBehind(const Item& key) {
    return positionOf(key) + '\0';
}

Item view(ConstByteSpan bytes) {
    return {Item::ExternalBufferMode, bytes};
}

Item viewOfStart(const Item& key, size_t size) {
    return {Item::ExternalBufferMode, key.getPlainBytePointer(), size};
}

/// A position behind those of all keys that begin with the first @p size bytes of @p key.
std::string positionBehindSubtree(const Item& key, size_t size) {
    return positionOf(viewOfStart(key, size)) + '\xFF';
}

} // namespace

SqliteStoreData::SqliteStoreData(SqliteStore* store, SmartCStr path)
    : m_store(store), m_path(path.c_str()), m_transactions(m_connection, m_path) {
    String fault = m_connection.open(m_path.c_str());
    if (fault.empty()) {
        if (const SqliteCode code = prepare()) fault = sqliteErrorText(code);
    }
    if (fault.empty()) return;
    logging::error() << "[STORE] can't open store '" << m_path << "': " << fault;
    releaseFile(false);
}

SqliteCode SqliteStoreData::prepare() {
    const std::pair<SqliteStatement*, const char*> statements[] = {
        {&m_find, "SELECT value FROM entries WHERE position = ?1"},
        {&m_set, "INSERT INTO entries VALUES (?1, ?2, ?3) ON CONFLICT DO UPDATE SET value = excluded.value"},
        {&m_erase, "DELETE FROM entries WHERE position = ?1"},
        {&m_eraseRange, "DELETE FROM entries WHERE position BETWEEN ?1 AND ?2"}};
    for (const auto& [statement, sql] : statements) {
        if (const SqliteCode code = statement->prepare(m_connection.get(), sql)) return code;
    }
    if (const SqliteCode code = m_up.prepare(m_connection.get(), SqliteCursor::Direction::Up)) return code;
    if (const SqliteCode code = m_down.prepare(m_connection.get(), SqliteCursor::Direction::Down))
        return code;
    return m_transactions.prepare();
}

void SqliteStoreData::releaseFile(bool isSound) {
    for (SqliteStatement* statement : {&m_find, &m_set, &m_erase, &m_eraseRange}) statement->finalize();
    m_up.finalize();
    m_down.finalize();
    m_transactions.detach();
    m_connection.close(isSound);
}

void SqliteStoreData::resetCursors() {
    m_up.reset();
    m_down.reset();
}

// --- Writing ----------------------------------------------------------------------------------------------

void SqliteStoreData::set(const Item& key, const Item& value) {
    if (!good()) return;
    const size_t before = sizeBeforeQuestion(key);
    if (before == kNoQuestion) return store(key, positionOf(key), value);
    if (findEqual(key, before)) {
        const Item equal(Item::PlainMode, m_up.key());
        return store(equal, positionOf(equal), value);
    }
    std::string position;
    if (appendOrderedBytes(key, position)) return store(key, position, value);
    logging::error() << "[STORE] store '" << m_path << "' can't hold a key with a wildcard";
}

void SqliteStoreData::store(const Item& key, const std::string& position, const Item& value) {
    m_set.bind(1, ConstByteSpan::fromText(position));
    m_set.bind(2, key.getConstByteSpan());
    m_set.bind(3, value.getConstByteSpan());
    write(m_set, position.size() + key.getPlainSize() + value.getPlainSize());
}

bool SqliteStoreData::write(SqliteStatement& statement, size_t bytes) {
    resetCursors();
    bool isDropped = false;
    SqliteCode code = m_transactions.prepareWrite(isDropped);
    if (isDropped) return false;
    if (code == SQLITE_OK) code = statement.run();
    if (code == SQLITE_OK) code = m_transactions.wrote(bytes);
    if (code == SQLITE_OK) return true;
    m_transactions.writeFailed();
    report("write to", code);
    return false;
}

void SqliteStoreData::remove(const Item& first, const Item& last) {
    if (!good() || Item::compare(first, last) > 0) return;
    if (sizeBeforeQuestion(first) != kNoQuestion || sizeBeforeQuestion(last) != kNoQuestion)
        return removeByQuestion(first, last);
    const std::string from = positionOf(first);
    const std::string to = positionOf(last);
    m_eraseRange.bind(1, ConstByteSpan::fromText(from));
    m_eraseRange.bind(2, ConstByteSpan::fromText(to));
    write(m_eraseRange, from.size() + to.size());
}

// Goes from one group of equal keys to the next, so that each bound means what compare() makes of it.
void SqliteStoreData::removeByQuestion(const Item& first, const Item& last) {
    Item key(first);
    do {
        erase(key);
    } while (good() && next(key, key) && Item::compare(key, last) <= 0);
}

/// Erases all keys that are equal to @p key.
void SqliteStoreData::erase(const Item& key) {
    const auto eraseAt = [this](const std::string& position) {
        m_erase.bind(1, ConstByteSpan::fromText(position));
        return write(m_erase, position.size());
    };
    const size_t before = sizeBeforeQuestion(key);
    if (before == kNoQuestion) {
        eraseAt(positionOf(key));
        return;
    }
    while (good() && findEqual(key, before)) {
        if (!eraseAt(positionOf(view(m_up.key())))) return;
    }
}

void SqliteStoreData::commit() {
    if (m_transactions.level() == 0) {
        logging::error() << "sqlitestore, commit without begin";
        return;
    }
    resetCursors();
    if (const SqliteCode code = m_transactions.commit()) report("commit to", code);
}

void SqliteStoreData::rollback() {
    if (m_transactions.level() == 0) {
        logging::error() << "sqlitestore, rollback without begin";
        return;
    }
    resetCursors();
    if (const SqliteCode code = m_transactions.rollback()) report("roll back", code);
}

void SqliteStoreData::flush() {
    if (!good()) return;
    resetCursors();
    SqliteCode code = m_transactions.commitGathered();
    if (code == SQLITE_OK) code = m_transactions.sync();
    if (code != SQLITE_OK) report("flush", code);
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
    const size_t before = sizeBeforeQuestion(key);
    if (before == kNoQuestion) return find(positionOf(key));
    return findEqual(key, before) ? find(positionOf(view(m_up.key()))) : nullptr;
}

const Item* SqliteStoreData::find(const std::string& position) {
    m_find.bind(1, ConstByteSpan::fromText(position));
    const SqliteCode code = m_find.step();
    const Item* const value = code == SQLITE_ROW ? keep(m_find.column(0)) : nullptr;
    m_find.reset();
    if (code != SQLITE_ROW && code != SQLITE_DONE) report("read", code);
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
    return found(m_up.seek({}, error), error) && give(m_up, out);
}

bool SqliteStoreData::next(const Item& key, Item& out) {
    if (!good()) return false;
    const size_t before = sizeBeforeQuestion(key);
    if (before != kNoQuestion) return nextOfQuestion(key, before, out);
    SqliteCode error = SQLITE_OK;
    const bool isRow = m_up.standsOn(key) ? m_up.step(error) : m_up.seek(positionBehind(key), error);
    return found(isRow, error) && give(m_up, out);
}

bool SqliteStoreData::prev(const Item& key, Item& out) {
    if (!good()) return false;
    const size_t before = sizeBeforeQuestion(key);
    if (before != kNoQuestion) return prevOfQuestion(key, before, out);
    SqliteCode error = SQLITE_OK;
    const bool isRow = m_down.standsOn(key) ? m_down.step(error) : m_down.seek(positionOf(key), error);
    return found(isRow, error) && give(m_down, out);
}

// Among the keys that begin as a question does, those that are smaller, equal and greater than it may lie
// mixed.

/// Puts m_up on the first key that is equal to @p question.
bool SqliteStoreData::findEqual(const Item& question, size_t before) {
    const std::string end = positionBehindSubtree(question, before);
    SqliteCode error = SQLITE_OK;
    bool isRow = m_up.seek(positionOf(viewOfStart(question, before)), error);
    while (isRow) {
        const Item key = view(m_up.key());
        if (Item::compare(key, question) == 0) return true;
        isRow = positionOf(key) < end && m_up.step(error);
    }
    m_up.reset();
    return found(false, error);
}

bool SqliteStoreData::nextOfQuestion(const Item& question, size_t before, Item& out) {
    SqliteCode error = SQLITE_OK;
    bool isRow = m_up.seek(positionOf(viewOfStart(question, before)), error);
    while (isRow && Item::compare(view(m_up.key()), question) <= 0) isRow = m_up.step(error);
    return found(isRow, error) && give(m_up, out);
}

bool SqliteStoreData::prevOfQuestion(const Item& question, size_t before, Item& out) {
    SqliteCode error = SQLITE_OK;
    bool isRow = m_down.seek(positionBehindSubtree(question, before), error);
    while (isRow && Item::compare(view(m_down.key()), question) >= 0) isRow = m_down.step(error);
    return found(isRow, error) && give(m_down, out);
}

// --- Health -----------------------------------------------------------------------------------------------

void SqliteStoreData::report(const char* what, SqliteCode code) {
    if (isSqliteDamage(code)) return closeDamaged(sqliteErrorText(code));
    logging::error() << "[STORE] can't " << what << " store '" << m_path << "': " << sqliteErrorText(code);
}

void SqliteStoreData::closeDamaged(const String& fault) {
    logging::error() << "[STORE] store '" << m_path << "' is damaged and was closed: " << fault;
    releaseFile(false);
}

int64 SqliteStoreData::size() {
    return good() ? m_connection.size() : 0;
}

bool SqliteStoreData::verify() {
    if (!good()) return false;
    resetCursors();
    String fault = m_connection.check();
    if (fault.empty()) fault = firstMisplacedKey();
    if (!fault.empty() && good()) closeDamaged(fault);
    return good();
}

String SqliteStoreData::firstMisplacedKey() {
    SqliteStatement entries;
    SqliteCode code = entries.prepare(m_connection.get(), "SELECT position, key FROM entries");
    if (code != SQLITE_OK) return sqliteErrorText(code);
    while ((code = entries.step()) == SQLITE_ROW) {
        const Item key = view(entries.column(1));
        if (entries.column(0).asText() != positionOf(key)) return "wrong position of " + key.asString();
    }
    return code == SQLITE_DONE ? String() : sqliteErrorText(code);
}

} // namespace qel::internal
