// ValueCache: the keys last used of a CacheStore with their values.
#pragma once

#include <qel/store/core/item.h>

#include <array>
#include <memory>
#include <string_view>
#include <vector>

namespace qel::internal {

/// A table of values by keys, of a fixed capacity, that gives up what wasn't used for longest.
class ValueCache {
public:
    /// A key and what the cache knows of it. @owner the cache's; it never moves.
    struct Entry {
        /// The value; without a store the key is known to be absent.
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

    /// The entry of a key, made the most recent one.
    /// @param order  the form of the key for the order: equal keys have the same.
    /// @param isNew  gets whether the key was unknown, so that the value means nothing yet.
    Entry& access(const Item& key, std::string_view order, bool& isNew);
    /// Forgets all keys; the entries' memory stays for others.
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
    size_t m_used = 0; // entries of m_entries that hold a key
};

} // namespace qel::internal
