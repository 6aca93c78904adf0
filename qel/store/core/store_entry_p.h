// StoreEntry: one entry of a MemoryStore in one block of memory.
#pragma once

#include <qel/store/core/item.h>

#include <memory>
#include <string_view>

namespace qel::internal {

struct DestroyStoreEntry;

/// A value, preceded in memory by the ordered form of its key and the key's own bytes, which are stored only
/// once if both are equal. An entry never moves, so pointers to its value remain valid.
class StoreEntry {
    // First, next to the key and the start of the value: usually get() needs only one cache line.
    size_t m_orderSize;
    size_t m_keySize : 63;
    size_t m_hasOwnKey : 1; // the key's bytes differ from its ordered form, and follow it

public:
    using Owner = std::unique_ptr<StoreEntry, DestroyStoreEntry>;

    /// Creates an entry. @param order  the form of OrderKey. @param key  the plain bytes of the same key.
    static Owner make(std::string_view order, ConstByteSpan key, const Item& value);
    /// Copies @p other.
    static Owner copyOf(const StoreEntry& other);
    StoreEntry(const StoreEntry&) = delete;
    StoreEntry& operator=(const StoreEntry&) = delete;

    /// Returns the key's ordered form.
    std::string_view order() const { return {bytes(), m_orderSize}; }
    /// Returns the key's own bytes.
    ConstByteSpan key() const {
        return {reinterpret_cast<const uint8*>(bytes()) + (m_hasOwnKey ? m_orderSize : 0), m_keySize};
    }
    /// Returns a view of the key.
    Item keyView() const { return Item(Item::ExternalBufferMode, key()); }

    /// Prefetches the memory that a walk will need.
    void prefetchKey() const {
        __builtin_prefetch(&m_orderSize);
        __builtin_prefetch(reinterpret_cast<const char*>(this) - kUsualKeySize);
    }

    Item value;
    /// The transaction that last recorded the previous value; see UndoLog.
    uint64 writtenDownIn = 0;

private:
    friend struct DestroyStoreEntry;

    static constexpr size_t kUsualKeySize = 24;

    StoreEntry(std::string_view order, ConstByteSpan key, const Item& value);
    size_t bytesSize() const { return m_orderSize + (m_hasOwnKey ? m_keySize : 0); }
    char* bytes() { return reinterpret_cast<char*>(this) - bytesSize(); }
    const char* bytes() const { return reinterpret_cast<const char*>(this) - bytesSize(); }
};

/// Frees an entry.
struct DestroyStoreEntry {
    void operator()(StoreEntry* entry) const;
};

/// Returns the bytes by which a KeySlots orders the entry.
inline std::string_view bytesOf(const StoreEntry::Owner& entry) {
    return entry->order();
}

} // namespace qel::internal
