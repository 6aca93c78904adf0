// CacheStore: keeps the values last used of a slower Store in memory.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/store/core/store.h>

#include <memory>

namespace qel {

namespace internal {
struct CacheStoreData;
}

/// Wraps another store and remembers up to 8,192 keys, those last read or written: their values, and of
/// absent keys that they are absent. Writes go through to the wrapped store, and so do questions of order.
///
/// Nobody else may write to the wrapped store. What that store drops or takes back by itself, as on a full
/// disk, is dropped from the cache too: the cache is emptied when Store::getLossCount() changes. In the long
/// run nothing is allocated: entries are used again with their buffers.
class QEL_API CacheStore : public Store {
    QEL_CLASS(CacheStore, Store)

public:
    /// Entries that the cache holds at most.
    static constexpr int kCapacity = 8192;

    /// An empty cache. @owner takes a reference to @p backing.
    explicit CacheStore(Store* backing);
    CacheStore(const CacheStore&) = delete;
    CacheStore& operator=(const CacheStore&) = delete;
    ~CacheStore() override;

    /// How often get() knew the answer.
    uint32 getHits() const { return m_hits; }
    /// How often get() had to ask the store behind.
    uint32 getMisses() const { return m_misses; }

    bool good() const override;
    void set(const Item& key, const Item& value) override;
    /// @owner the cache's; valid until 8,191 other keys were used or the cache was emptied. The value under a
    ///        key with a `Wildcard` or a NaN isn't cached, and valid until the next such question.
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
