// ValueCache: the most recently used keys of a CacheStore with their values.
#pragma once

#include <qel/store/core/item.h>

#include <array>
#include <memory>
#include <string_view>
#include <vector>

namespace qel::internal {

/// A table of values by key with a fixed capacity. It evicts the least recently used key.
class ValueCache {
public:
    /// A key and what the cache knows about it. @owner the cache's; it never moves.
    struct Entry {
        /// The value; if it has no store, the key is known to be absent.
        Item value;

    private:
        friend class ValueCache;

        Item key;
        uint32 hash = 0;
        Entry* nextInBucket = nullptr;
        Entry* moreRecent = nullptr; // null for the first
        Entry* lessRecent = nullptr; // null for the last
    };

    explicit ValueCache(size_t capacity) : m_capacity(capacity) {}

    /// Returns the entry of a key and makes it the most recent one.
    /// @param order  the ordered form of the key: equal keys have the same.
    /// @param isNew  receives true if the key was unknown; the value is then meaningless.
    Entry& access(const Item& key, std::string_view order, bool& isNew);
    /// Removes all keys; the entries' memory is reused.
    void clear();

private:
    Entry* find(const Item& key, uint32 hash) const;
    Entry* takeUnused();
    void unlinkFromUse(Entry& entry);
    void linkFirst(Entry& entry);
    void unlinkFromBucket(Entry& entry);
    Entry*& bucketOf(uint32 hash) { return m_buckets[hash % kBuckets]; }

    static constexpr size_t kBuckets = 1024;

    size_t m_capacity;
    std::array<Entry*, kBuckets> m_buckets{};
    Entry* m_mostRecent = nullptr;
    Entry* m_leastRecent = nullptr;
    std::vector<std::unique_ptr<Entry>> m_entries;
    size_t m_used = 0; // the number of entries of m_entries that contain a key
};

} // namespace qel::internal
