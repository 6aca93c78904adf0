#include <qel/store/sqlite/sqlite_store.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/sqlite/sqlite_store_data_p.h>

namespace qel {

SqliteStore::SqliteStore(SmartCStr path) : m_data(std::make_unique<internal::SqliteStoreData>(this, path)) {}

SqliteStore::~SqliteStore() = default;

bool SqliteStore::good() const {
    return m_data->good();
}

void SqliteStore::set(const Item& key, const Item& value) {
    m_data->set(key, value);
}

const Item* SqliteStore::get(const Item& key) {
    return m_data->get(key);
}

void SqliteStore::remove(const Item& first, const Item& last) {
    m_data->remove(first, last);
}

bool SqliteStore::next(const Item& key, Item& out) {
    return m_data->next(key, out);
}

bool SqliteStore::prev(const Item& key, Item& out) {
    return m_data->prev(key, out);
}

bool SqliteStore::first(Item& out) {
    return m_data->first(out);
}

void SqliteStore::begin() {
    m_data->begin();
}

void SqliteStore::commit() {
    m_data->tryCommit();
}

void SqliteStore::rollback() {
    m_data->rollback();
}

void SqliteStore::close() {
    m_data->close();
}

void SqliteStore::flush() {
    m_data->tryFlush();
}

int64 SqliteStore::getSizeInBytes() const {
    return m_data->size();
}

String SqliteStore::lastError() const {
    return m_data->lastError();
}

void SqliteStore::clearLastError() {
    m_data->clearLastError();
}

bool SqliteStore::tryCommit() {
    return m_data->tryCommit();
}

bool SqliteStore::tryFlush() {
    return m_data->tryFlush();
}

uint64 SqliteStore::getLossCount() const {
    return m_data->lossCount();
}

bool SqliteStore::verify() {
    return m_data->verify();
}

} // namespace qel
