#include <qel/foundation/base/string_pool.h>

#include <qel/foundation/base/log_line.h>

#include <fmt/format.h>

#include <bitset>
#include <cstring>
#include <mutex>
#include <new>
#include <vector>

namespace qel {
namespace {

constexpr std::size_t kFirstCapacity = 16;
constexpr std::size_t kHashClasses =
    0x10000; // texts are told apart by this much of the hash in the statistics

/// Spreads what FNV leaves uneven; the top bits choose the shard, the ones below it the slot.
constexpr uint64 spread(uint64 hash) {
    return hash * 0x9E3779B97F4A7C15;
}

std::size_t firstSlotOf(uint64 hash, std::size_t capacity) {
    return static_cast<std::size_t>(spread(hash) >> 20) & (capacity - 1);
}

StringElement* createElement(const char* text, std::size_t length, uint64 hash) {
    void* memory = ::operator new(sizeof(StringElement) + length + 1);
    auto* element = ::new (memory) StringElement{{1}, hash, length};
    char* bytes = reinterpret_cast<char*>(element + 1);
    std::memcpy(bytes, text, length);
    bytes[length] = '\0';
    return element;
}

void destroyElement(StringElement* element) {
    element->~StringElement();
    ::operator delete(element);
}

/// Adds a reference unless the last one has gone: then its thread is on the way to release() and will free
/// the element, and the text needs a new one.
bool tryAddReference(StringElement* element) {
    uint32 count = element->referenceCount.load(std::memory_order_relaxed);
    while (count != 0) {
        if (element->referenceCount.compare_exchange_weak(count, count + 1, std::memory_order_relaxed))
            return true;
    }
    return false;
}

struct PoolFigures {
    std::bitset<kHashClasses> hashes;
    uint64 strings = 0;
    uint64 references = 0;
    uint64 bytes = 0;
    uint64 bytesSaved = 0;

    void add(const StringElement& element) {
        const uint64 count = element.referenceCount.load(std::memory_order_relaxed);
        if (count == 0) return; // on its way out
        hashes.set(element.hash % kHashClasses);
        ++strings;
        references += count;
        bytes += element.length;
        bytesSaved += (count - 1) * element.length;
    }
};

} // namespace

StringElement* StringPool::Shard::findLocked(const char* text, std::size_t length, uint64 textHash) {
    if (capacity == 0) return nullptr;
    for (std::size_t i = firstSlotOf(textHash, capacity); slots[i].element; i = (i + 1) & (capacity - 1)) {
        StringElement* element = slots[i].element;
        if (slots[i].hash == textHash && element->length == length &&
            std::memcmp(element->text(), text, length) == 0 && tryAddReference(element))
            return element;
    }
    return nullptr;
}

void StringPool::Shard::insertLocked(StringElement* element) {
    std::size_t i = firstSlotOf(element->hash, capacity);
    while (slots[i].element) i = (i + 1) & (capacity - 1);
    slots[i] = {element->hash, element};
    ++count;
}

void StringPool::Shard::eraseLocked(const StringElement* element) {
    const std::size_t mask = capacity - 1;
    std::size_t hole = firstSlotOf(element->hash, capacity);
    while (slots[hole].element != element) hole = (hole + 1) & mask;
    // Entries behind the hole move up into it, unless that would put them before their first slot.
    for (std::size_t i = (hole + 1) & mask; slots[i].element; i = (i + 1) & mask) {
        const std::size_t distance = (i - firstSlotOf(slots[i].hash, capacity)) & mask;
        if (distance < ((i - hole) & mask)) continue;
        slots[hole] = slots[i];
        hole = i;
    }
    slots[hole].element = nullptr;
    --count;
}

void StringPool::Shard::reserveOneLocked() {
    if (count + 1 <= capacity / 4 * 3) return;
    Slot* const oldSlots = slots;
    const std::size_t oldCapacity = capacity;
    const std::size_t newCapacity = oldCapacity ? oldCapacity * 2 : kFirstCapacity;
    slots = new Slot[newCapacity]();
    capacity = newCapacity;
    count = 0;
    for (std::size_t i = 0; i < oldCapacity; ++i) {
        if (oldSlots[i].element) insertLocked(oldSlots[i].element);
    }
    delete[] oldSlots;
}

StringPool::~StringPool() {
    for (Shard& shard : m_shards) {
        const MutexLock lock(shard.mutex);
        for (std::size_t i = 0; i < shard.capacity; ++i) {
            if (shard.slots[i].element) destroyElement(shard.slots[i].element);
        }
        delete[] shard.slots;
    }
}

StringElement* StringPool::allocate(const char* text, std::size_t length, std::size_t hash) {
    Shard& shard = shardOf(hash);
    const MutexLock lock(shard.mutex);
    if (StringElement* found = shard.findLocked(text, length, hash)) return found;
    shard.reserveOneLocked();
    StringElement* element = createElement(text, length, hash);
    shard.insertLocked(element);
    return element;
}

void StringPool::release(StringElement* element) {
    Shard& shard = shardOf(element->hash);
    {
        const MutexLock lock(shard.mutex);
        if (element->referenceCount.load(std::memory_order_acquire) != 0) return;
        shard.eraseLocked(element);
    }
    destroyElement(element);
}

unsigned StringPool::getNumberOfStrings() const {
    std::size_t count = 0;
    for (const Shard& shard : m_shards) {
        const MutexLock lock(shard.mutex);
        count += shard.count;
    }
    return static_cast<unsigned>(count);
}

// A lock for each shard of a loop is more than the analysis can follow.
void StringPool::printStats() const QEL_NO_THREAD_ANALYSIS {
    PoolFigures figures;
    {
        std::vector<std::unique_lock<std::mutex>> locks; // all at once, so that the figures fit together
        for (const Shard& shard : m_shards) locks.emplace_back(shard.mutex);
        for (const Shard& shard : m_shards) {
            for (std::size_t i = 0; i < shard.capacity; ++i) {
                if (shard.slots[i].element) figures.add(*shard.slots[i].element);
            }
        }
    }
    internal::logLine(
        1, fmt::format("StringId Stats numberOfHashes={}, numberOfStrings={}, numberOfStringRefs={}, "
                       "numberOfTotalBytes={}, numberOfBytesSaved={}",
                       figures.hashes.count(), figures.strings, figures.references, figures.bytes,
                       figures.bytesSaved));
}

StringPool::Shard& StringPool::shardOf(uint64 hash) {
    return m_shards[spread(hash) >> (64 - kShardBits)];
}

namespace internal {
namespace {

/// Keeps the pool from being destroyed: static StringIds of other modules may die after this one's statics.
union PoolStorage {
    constexpr PoolStorage() : pool() {}
    ~PoolStorage() {}
    StringPool pool;
};

constinit PoolStorage g_poolStorage;

} // namespace

constinit StringPool& g_stringPool = g_poolStorage.pool;

} // namespace internal
} // namespace qel
