#include <qel/store/core/cache_store.h>

#include <qel/store/core/order_key.h>
#include <qel/store/core/value_cache_p.h>

namespace qel {
namespace internal {

/// The data of a CacheStore.
struct CacheStoreData {
    ValueCache values{CacheStore::kCapacity};
    OrderKey order;
    Item answer; // to the last question
};

} // namespace internal

CacheStore::CacheStore(Store* backing)
    : m_lossesSeen(backing->getLossCount()),
      m_backing(backing),
      m_data(std::make_unique<internal::CacheStoreData>()) {}

CacheStore::~CacheStore() = default;

bool CacheStore::good() const {
    return m_backing->good();
}

/// Empties the cache if the backing store lost writes since the last call. @return true if it did.
bool CacheStore::dropLost() {
    const uint64 losses = m_backing->getLossCount();
    if (losses == m_lossesSeen) return false;
    m_lossesSeen = losses;
    m_data->values.clear();
    return true;
}

const Item* CacheStore::get(const Item& key) {
    dropLost();
    m_data->order.assign(key);
    if (m_data->order.isQuestion()) return askBacking(key, m_data->answer);
    bool isNew;
    auto& entry = m_data->values.access(key, m_data->order.bytes(), isNew);
    if (!isNew) {
        ++m_hits;
        return entry.value.getStore() ? &entry.value : nullptr;
    }
    try {
        return askBacking(key, entry.value);
    } catch (...) {
        m_data->values.clear(); // the entry has no value for this key
        throw;
    }
}

/// Reads a value from the wrapped store. @return @p value; null, with @p value without a store, if the
/// key is not stored.
const Item* CacheStore::askBacking(const Item& key, Item& value) {
    ++m_misses;
    const Item* const found = m_backing->get(key);
    if (!found) {
        value.clear();
        value.setStore(nullptr);
        return nullptr;
    }
    value = *found;
    value.setStore(this);
    return &value;
}

void CacheStore::set(const Item& key, const Item& value) {
    m_backing->set(key, value); // first: a value that it refuses with an exception is not cached
    if (dropLost()) return;
    m_data->order.assign(key);
    if (m_data->order.isQuestion()) return m_data->values.clear();
    bool isNew;
    auto& entry = m_data->values.access(key, m_data->order.bytes(), isNew);
    entry.value = value;
    entry.value.setStore(this);
}

void CacheStore::remove(const Item& first, const Item& last) {
    m_data->values.clear();
    m_backing->remove(first, last);
}

bool CacheStore::next(const Item& key, Item& out) {
    return ours(m_backing->next(key, out), out);
}

bool CacheStore::prev(const Item& key, Item& out) {
    return ours(m_backing->prev(key, out), out);
}

bool CacheStore::first(Item& out) {
    return ours(m_backing->first(out), out);
}

/// Sets the store of a key that was found to this one, so that a walk keeps using the cache.
bool CacheStore::ours(bool found, Item& key) {
    if (found) key.setStore(this);
    return found;
}

void CacheStore::begin() {
    m_backing->begin();
}

void CacheStore::commit() {
    m_backing->commit();
}

void CacheStore::rollback() {
    m_backing->rollback();
    m_data->values.clear();
}

void CacheStore::close() {
    m_backing->close();
}

void CacheStore::flush() {
    m_backing->flush();
}

int64 CacheStore::getSizeInBytes() const {
    return m_backing->getSizeInBytes();
}

String CacheStore::lastError() const {
    return m_backing->lastError();
}

void CacheStore::clearLastError() {
    m_backing->clearLastError();
}

bool CacheStore::tryCommit() {
    return m_backing->tryCommit();
}

bool CacheStore::tryFlush() {
    return m_backing->tryFlush();
}

uint64 CacheStore::getLossCount() const {
    return m_backing->getLossCount();
}

} // namespace qel
