#include <qel/store/core/memory_store.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/store/core/memory_store_cursor_p.h>

#include <typeinfo>

namespace qel {

using internal::MemoryStoreData;
using internal::StoreEntry;

namespace {

/// Sets @p out to the key of an entry. @return true if there is one.
bool giveKey(const StoreEntry* entry, Store* store, Item& out) {
    if (!entry) return false;
    out.setPlain(entry->key().data, entry->key().size);
    out.setStore(store);
    return true;
}

} // namespace

MemoryStore::MemoryStore(bool transactions)
    : m_data(std::make_unique<MemoryStoreData>()), m_transactions(transactions) {}

MemoryStore::MemoryStore(const MemoryStore& other)
    : Store(other),
      m_data(std::make_unique<MemoryStoreData>(*other.m_data)),
      m_transactions(other.m_transactions) {}

MemoryStore::MemoryStore(MemoryStore&& other) noexcept : MemoryStore(other.m_transactions) {
    m_data.swap(other.m_data);
}

MemoryStore& MemoryStore::operator=(const MemoryStore& other) {
    return *this = MemoryStore(other);
}

MemoryStore& MemoryStore::operator=(MemoryStore&& other) noexcept {
    if (this == &other) return *this;
    m_data = std::exchange(other.m_data, std::make_unique<MemoryStoreData>());
    m_transactions = other.m_transactions;
    return *this;
}

MemoryStore::~MemoryStore() = default;

bool MemoryStore::good() const {
    return true;
}

void MemoryStore::set(const Item& key, const Item& value) {
    if (!m_data->set(key, value)) {
        logging::error() << "memorystore, set of a key with a wildcard or a nan";
    }
}

const Item* MemoryStore::get(const Item& key) {
    StoreEntry* const entry = m_data->find(key);
    if (!entry) return nullptr;
    entry->value.setStore(this);
    return &entry->value;
}

void MemoryStore::remove(const Item& first, const Item& last) {
    if (Item::compare(first, last) > 0) return;
    m_data->removeEqual(first);
    Item key = first;
    while (StoreEntry* const entry = m_data->findGreater(key)) {
        giveKey(entry, this, key);
        if (Item::compare(key, last) > 0) return;
        m_data->remove(entry);
    }
}

bool MemoryStore::next(const Item& key, Item& out) {
    return giveKey(m_data->findGreater(key), this, out);
}

bool MemoryStore::prev(const Item& key, Item& out) {
    return giveKey(m_data->findSmaller(key), this, out);
}

bool MemoryStore::first(Item& out) {
    return giveKey(m_data->findFirst(), this, out);
}

void MemoryStore::begin() {
    if (m_transactions) m_data->begin();
}

void MemoryStore::commit() {
    if (!m_transactions) return;
    if (!m_data->isInTransaction()) {
        logging::error() << "memorystore, commit without begin";
        return;
    }
    m_data->commit();
}

void MemoryStore::rollback() {
    if (!m_transactions) {
        logging::error() << "memorystore, rollback called in transactionless mode";
    } else if (!m_data->isInTransaction()) {
        logging::error() << "memorystore, rollback without begin";
    } else {
        m_data->rollback();
    }
}

void MemoryStore::close() {}

void MemoryStore::flush() {}

int64 MemoryStore::getSizeInBytes() const {
    return 0;
}

std::unique_ptr<StoreCursor> MemoryStore::openCursor() {
    if (typeid(*this) != typeid(MemoryStore)) return Store::openCursor();
    return std::make_unique<internal::MemoryStoreCursor>(this, *m_data);
}

// --- blobs ----------------------------------------------------------------------------------------------

void MemoryStore::writeBlob(Item& blob) const {
    for (auto place = m_data->tree().begin(); place.entry(); place.next()) {
        blob.addItem(place.entry()->keyView()).addItem(place.entry()->value);
    }
}

void MemoryStore::readBlob(const Item& blob) {
    Item key;
    Item value;
    internal::OrderKey order;
    int refused = 0;
    Item::Iterator it = blob.getIterator();
    while (it.asWeakSubItem(key) && it.asWeakSubItem(value)) {
        order.assign(key);
        if (order.isQuestion()) {
            ++refused; // without a look-up: the time must be linear in the size of the blob
        } else {
            m_data->set(key, value);
        }
    }
    if (refused != 0) {
        logging::error() << "memorystore, left out " << refused << " keys with a wildcard or a nan";
    }
}

} // namespace qel
