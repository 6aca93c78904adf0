#include <qel/store/core/store_entry_p.h>

#include <cstring>
#include <new>

namespace qel::internal {

StoreEntry::StoreEntry(std::string_view order, ConstByteSpan key, const Item& newValue)
    : value(newValue),
      m_orderSize(order.size()),
      m_keySize(key.size),
      m_keyOffset(order == key.asText() ? 0 : order.size()) {
    if (!order.empty()) std::memcpy(bytes(), order.data(), order.size());
    if (m_keyOffset != 0) std::memcpy(bytes() + m_keyOffset, key.data, key.size);
}

StoreEntry::Owner StoreEntry::make(std::string_view order, ConstByteSpan key, const Item& value) {
    void* const memory = ::operator new(sizeof(StoreEntry) + order.size() + key.size);
    return Owner(new (memory) StoreEntry(order, key, value));
}

StoreEntry::Owner StoreEntry::copyOf(const StoreEntry& other) {
    Owner copy = make(other.order(), other.key(), other.value);
    copy->writtenDownIn = other.writtenDownIn;
    return copy;
}

void DestroyStoreEntry::operator()(StoreEntry* entry) const {
    entry->~StoreEntry();
    ::operator delete(entry);
}

} // namespace qel::internal
