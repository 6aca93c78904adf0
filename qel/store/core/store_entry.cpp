#include <qel/store/core/store_entry_p.h>

#include <cstring>
#include <new>

namespace qel::internal {
namespace {

/// Returns the space that @p size bytes take before an entry, which must be aligned.
constexpr size_t spaceFor(size_t size) {
    return (size + alignof(StoreEntry) - 1) / alignof(StoreEntry) * alignof(StoreEntry);
}

bool needsOwnKey(std::string_view order, ConstByteSpan key) {
    return order != key.asText();
}

} // namespace

StoreEntry::StoreEntry(std::string_view order, ConstByteSpan key, const Item& newValue)
    : m_orderSize(order.size()), m_keySize(key.size), m_hasOwnKey(needsOwnKey(order, key)), value(newValue) {
    if (!order.empty()) std::memcpy(bytes(), order.data(), order.size());
    if (m_hasOwnKey) std::memcpy(bytes() + m_orderSize, key.data, key.size);
}

StoreEntry::Owner StoreEntry::make(std::string_view order, ConstByteSpan key, const Item& value) {
    const size_t space = spaceFor(order.size() + (needsOwnKey(order, key) ? key.size : 0));
    auto* const memory = static_cast<char*>(::operator new(space + sizeof(StoreEntry)));
    return Owner(new (memory + space) StoreEntry(order, key, value));
}

StoreEntry::Owner StoreEntry::copyOf(const StoreEntry& other) {
    Owner copy = make(other.order(), other.key(), other.value);
    copy->writtenDownIn = other.writtenDownIn;
    return copy;
}

void DestroyStoreEntry::operator()(StoreEntry* entry) const {
    char* const memory = reinterpret_cast<char*>(entry) - spaceFor(entry->bytesSize());
    entry->~StoreEntry();
    ::operator delete(memory);
}

} // namespace qel::internal
