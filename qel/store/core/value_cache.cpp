#include <qel/store/core/value_cache_p.h>

namespace qel::internal {
namespace {

/// FNV-1a (G. Fowler, L. C. Noll, K.-P. Vo).
uint32 hashOf(std::string_view bytes) {
    uint32 hash = 0x811c9dc5;
    for (const char byte : bytes) hash = (hash ^ static_cast<uint8>(byte)) * 16777619;
    return hash;
}

} // namespace

ValueCache::Entry& ValueCache::access(const Item& key, std::string_view order, bool& isNew) {
    const uint32 hash = hashOf(order);
    Entry* entry = find(key, hash);
    isNew = entry == nullptr;
    if (isNew) {
        entry = takeUnused();
        entry->key = key;
        entry->hash = hash;
        entry->nextInBucket = bucketOf(hash);
        bucketOf(hash) = entry;
        linkFirst(*entry);
    } else if (entry != m_mostRecent) {
        unlinkFromUse(*entry);
        linkFirst(*entry);
    }
    return *entry;
}

ValueCache::Entry* ValueCache::find(const Item& key, uint32 hash) const {
    Entry* entry = m_buckets[hash % kBuckets];
    while (entry && (entry->hash != hash || Item::compare(entry->key, key) != 0)) entry = entry->nextInBucket;
    return entry;
}

/// Returns an entry that is in no list: one that clear() left, a new one, or the least recently used one.
ValueCache::Entry* ValueCache::takeUnused() {
    if (m_used < m_capacity) {
        if (m_used == m_entries.size()) m_entries.push_back(std::make_unique<Entry>());
        return m_entries[m_used++].get();
    }
    Entry* const oldest = m_leastRecent;
    unlinkFromUse(*oldest);
    unlinkFromBucket(*oldest);
    return oldest;
}

void ValueCache::unlinkFromUse(Entry& entry) {
    (entry.moreRecent ? entry.moreRecent->lessRecent : m_mostRecent) = entry.lessRecent;
    (entry.lessRecent ? entry.lessRecent->moreRecent : m_leastRecent) = entry.moreRecent;
}

void ValueCache::linkFirst(Entry& entry) {
    entry.moreRecent = nullptr;
    entry.lessRecent = m_mostRecent;
    (m_mostRecent ? m_mostRecent->moreRecent : m_leastRecent) = &entry;
    m_mostRecent = &entry;
}

void ValueCache::unlinkFromBucket(Entry& entry) {
    Entry** link = &bucketOf(entry.hash);
    while (*link != &entry) link = &(*link)->nextInBucket;
    *link = entry.nextInBucket;
}

void ValueCache::clear() {
    m_buckets.fill(nullptr);
    m_mostRecent = nullptr;
    m_leastRecent = nullptr;
    m_used = 0;
}

} // namespace qel::internal
