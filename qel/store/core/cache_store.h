// CacheStore: keeps the most recently used values of a slower Store in memory.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/store/core/store.h>

#include <memory>

namespace qel {

namespace internal {
struct CacheStoreData;
}

/// Wraps another store and caches the 8,192 keys that were read or written most recently: their values, or
/// the fact that they are absent. Writes are passed to the wrapped store, and so are queries for neighbouring
/// keys.
/// || Nobody else may write to the wrapped store. Changes that the wrapped store drops or rolls back by
/// itself, for example on a full disk, are dropped from the cache too: the cache is emptied when
/// Store::getLossCount() changes. Entries are reused with their buffers, so nothing is allocated once the
/// cache is full.
class QEL_API CacheStore : public Store {
    QEL_CLASS(CacheStore, Store)

public:
    /// The largest number of entries in the cache.
    static constexpr int kCapacity = 8192;

    /// Creates an empty cache. @owner takes a reference to @p backing.
    explicit CacheStore(Store* backing);
    CacheStore(const CacheStore&) = delete;
    CacheStore& operator=(const CacheStore&) = delete;
    ~CacheStore() override;

    /// Returns the number of get() calls that the cache answered.
    uint32 getHits() const { return m_hits; }
    /// Returns the number of get() calls that were passed to the wrapped store.
    uint32 getMisses() const { return m_misses; }

    bool good() const override;
    void set(const Item& key, const Item& value) override;
    /// @owner the cache's; valid until 8,191 other keys were used or the cache was emptied. The value of a
    /// key with a `Wildcard` or a NaN is not cached; it is valid until the next call with such a key.
    const Item* get(const Item& key) override;
    /// Also empties the cache.
    void remove(const Item& first, const Item& last) override;
    bool next(const Item& key, Item& out) override;
    bool prev(const Item& key, Item& out) override;
    bool first(Item& out) override;
    void begin() override;
    void commit() override;
    /// Also empties the cache.
    void rollback() override;
    void close() override;
    void flush() override;
    int64 getSizeInBytes() const override;
    String lastError() const override;
    void clearLastError() override;
    bool tryCommit() override;
    bool tryFlush() override;
    uint64 getLossCount() const override;

private:
    bool dropLost();
    const Item* askBacking(const Item& key, Item& value);
    bool ours(bool found, Item& key);

    uint32 m_hits = 0;
    uint32 m_misses = 0;
    uint64 m_lossesSeen = 0;
    SmartPointer<Store> m_backing;
    std::unique_ptr<internal::CacheStoreData> m_data;
};

} // namespace qel
