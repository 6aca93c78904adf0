// StoreEntry: one entry of a MemoryStore, in one piece of memory.
#pragma once

#include <qel/store/core/item.h>

#include <memory>
#include <string_view>

namespace qel::internal {

struct DestroyStoreEntry;

/// A value, and behind it the form of its key for the order and the key's own bytes, which are kept once when
/// both are the same. It never moves, so that pointers to its value hold.
class StoreEntry {
public:
    using Owner = std::unique_ptr<StoreEntry, DestroyStoreEntry>;

    /// @param order  the form of OrderKey. @param key  the plain bytes of the same key.
    static Owner make(std::string_view order, ConstByteSpan key, const Item& value);
    /// A copy of @p other.
    static Owner copyOf(const StoreEntry& other);
    StoreEntry(const StoreEntry&) = delete;
    StoreEntry& operator=(const StoreEntry&) = delete;

    /// The key's form for the order.
    std::string_view order() const { return {bytes(), m_orderSize}; }
    /// The key's own bytes.
    ConstByteSpan key() const { return {reinterpret_cast<const uint8*>(bytes()) + m_keyOffset, m_keySize}; }
    /// A view of the key.
    Item keyView() const { return Item(Item::ExternalBufferMode, key()); }

    /// Asks for the memory that a walk will need.
    void prefetchKey() const {
        __builtin_prefetch(&m_orderSize);
        __builtin_prefetch(bytes() + kUsualKeySize);
    }

    Item value;
    /// The transaction that last wrote down what was here before; see UndoLog.
    uint64 writtenDownIn = 0;

private:
    friend struct DestroyStoreEntry;

    static constexpr size_t kUsualKeySize = 24;

    StoreEntry(std::string_view order, ConstByteSpan key, const Item& value);
    char* bytes() { return reinterpret_cast<char*>(this + 1); }
    const char* bytes() const { return reinterpret_cast<const char*>(this + 1); }

    // Beside the key's bytes, which follow: a walk needs no more than these.
    size_t m_orderSize;
    size_t m_keySize;
    size_t m_keyOffset;
};

/// Frees an entry.
struct DestroyStoreEntry {
    void operator()(StoreEntry* entry) const;
};

/// What sorts the entry in a KeySlots.
inline std::string_view bytesOf(const StoreEntry::Owner& entry) {
    return entry->order();
}

} // namespace qel::internal
