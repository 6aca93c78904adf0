#include <qel/foundation/base/string_pool.h>

#include <qel/foundation/base/log_line.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/cpu.h>

#include <fmt/format.h>

#include <bit>
#include <bitset>
#include <cstring>
#include <mutex>
#include <new>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace qel {
namespace {

constexpr std::size_t kFirstCapacity = 16;
constexpr std::size_t kHashClasses = 0x10000; // the statistics distinguish texts by this part of the hash

template <typename Word>
uint64 loadWord(const char* text) {
    Word word;
    std::memcpy(&word, text, sizeof(Word));
    return word;
}

/// The multiplication spreads every bit upwards, the rotation moves them back down.
uint64 mix(uint64 key, uint64 word) {
    return std::rotr((key ^ word) * 0x9E3779B97F4A7C15, 29);
}

/// Reads eight bytes at a time; the last eight may overlap those before.
uint64 keyOf(const char* text, std::size_t length) {
    uint64 key = length;
    if (length < 4) {
        for (std::size_t i = 0; i < length; ++i) key = key << 8 | static_cast<uint8>(text[i]);
        return mix(mix(key, 0), 0);
    }
    if (length < 8)
        return mix(mix(key, loadWord<uint32>(text) << 32 | loadWord<uint32>(text + length - 4)), 0);
    for (std::size_t i = 0; i + 8 < length; i += 8) key = mix(key, loadWord<uint64>(text + i));
    return mix(mix(key, loadWord<uint64>(text + length - 8)), 0);
}

/// The top bits of a key select the shard, the low bits the slot.
std::size_t firstSlotOf(uint64 key, std::size_t capacity) {
    return static_cast<std::size_t>(key) & (capacity - 1);
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

/// Adds a reference unless the count is 0: then another thread is about to call release() and will free the
/// element, and the text needs a new one. Under the shard's lock nobody sees the count in between.
bool tryAddReference(StringElement* element) {
    if (element->referenceCount.fetch_add(1, std::memory_order_relaxed) != 0) return true;
    element->referenceCount.store(0, std::memory_order_relaxed);
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
        if (count == 0) return; // about to be freed
        hashes.set(element.hash % kHashClasses);
        ++strings;
        references += count;
        bytes += element.length;
        bytesSaved += (count - 1) * element.length;
    }
};

/// Returns true if two texts of equal length are equal. Nearly all texts are short, and calling memcmp would
/// cost more than comparing them here.
bool isSame(const char* a, const char* b, std::size_t length) {
    if (length < 8 || length > 32) return std::memcmp(a, b, length) == 0;
    uint64 difference = loadWord<uint64>(a + length - 8) ^ loadWord<uint64>(b + length - 8);
    for (std::size_t i = 0; i + 8 < length; i += 8)
        difference |= loadWord<uint64>(a + i) ^ loadWord<uint64>(b + i);
    return difference == 0;
}

} // namespace

void StringPool::SearchLock::waitAndLock() {
    constexpr int kRoundsPerTurn = 100;
    for (int round = 1; m_isTaken.exchange(true, std::memory_order_acquire); ++round) {
        platform::relaxCpu();
        if (round % kRoundsPerTurn == 0) std::this_thread::yield();
    }
}

StringElement* StringPool::Shard::findLocked(const char* text, std::size_t length, uint64 key) {
    if (capacity == 0) return nullptr;
    for (std::size_t i = firstSlotOf(key, capacity); slots[i].element; i = (i + 1) & (capacity - 1)) {
        StringElement* element = slots[i].element;
        if (slots[i].key == key && element->length == length && isSame(element->text(), text, length) &&
            tryAddReference(element))
            return element;
    }
    return nullptr;
}

void StringPool::Shard::insertLocked(StringElement* element, uint64 key) {
    std::size_t i = firstSlotOf(key, capacity);
    while (slots[i].element) i = (i + 1) & (capacity - 1);
    slots[i] = {key, element};
    ++count;
}

void StringPool::Shard::eraseLocked(const StringElement* element, uint64 key) {
    const std::size_t mask = capacity - 1;
    std::size_t hole = firstSlotOf(key, capacity);
    while (slots[hole].element != element) hole = (hole + 1) & mask;
    // Later entries move into the hole, unless that would place them before their first slot.
    for (std::size_t i = (hole + 1) & mask; slots[i].element; i = (i + 1) & mask) {
        const std::size_t distance = (i - firstSlotOf(slots[i].key, capacity)) & mask;
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
        if (oldSlots[i].element) insertLocked(oldSlots[i].element, oldSlots[i].key);
    }
    delete[] oldSlots;
}

void StringPool::clear() {
    for (Shard& shard : m_shards) {
        const SearchGuard lock(shard.mutex);
        for (std::size_t i = 0; i < shard.capacity; ++i) {
            if (shard.slots[i].element) destroyElement(shard.slots[i].element);
        }
        delete[] std::exchange(shard.slots, nullptr);
        shard.capacity = shard.count = 0;
    }
}

template <typename Hash>
StringElement* StringPool::allocateWith(const char* text, std::size_t length, Hash&& hash) {
    const uint64 key = keyOf(text, length);
    Shard& shard = shardOf(key);
    const SearchGuard lock(shard.mutex);
    if (StringElement* found = shard.findLocked(text, length, key)) return found;
    shard.reserveOneLocked();
    StringElement* element = createElement(text, length, hash());
    shard.insertLocked(element, key);
    return element;
}

StringElement* StringPool::allocate(const char* text, std::size_t length, std::size_t hash) {
    return allocateWith(text, length, [hash] { return hash; });
}

StringElement* StringPool::allocate(const char* text, std::size_t length) {
    return allocateWith(text, length, [text, length] { return String::hash(text, length); });
}

void StringPool::release(StringElement* element) {
    const uint64 key = keyOf(element->text(), element->length);
    Shard& shard = shardOf(key);
    {
        const SearchGuard lock(shard.mutex);
        if (element->referenceCount.load(std::memory_order_acquire) != 0) return;
        shard.eraseLocked(element, key);
    }
    destroyElement(element);
}

unsigned StringPool::getNumberOfStrings() const {
    std::size_t count = 0;
    for (const Shard& shard : m_shards) {
        const SearchGuard lock(shard.mutex);
        count += shard.count;
    }
    return static_cast<unsigned>(count);
}

// The analysis cannot follow a loop that locks every shard.
void StringPool::printStats() const QEL_NO_THREAD_ANALYSIS {
    PoolFigures figures;
    {
        std::vector<std::unique_lock<SearchLock>> locks; // all at once, so that the figures are consistent
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

StringPool::Shard& StringPool::shardOf(uint64 key) {
    return m_shards[key >> (64 - kShardBits)];
}

namespace internal {
namespace {

static_assert(std::is_trivially_destructible_v<StringPool>, "static StringIds may outlive other statics");

constinit StringPool g_pool;

} // namespace

constinit StringPool& g_stringPool = g_pool;

} // namespace internal
} // namespace qel
