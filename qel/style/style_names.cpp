#include <qel/style/style_names_p.h>

#include <qel/platform/random_device.h>

#include <cstring>
#include <span>

namespace qel::internal {

namespace {

uint64 randomSeed() {
    static const uint64 seed = [] {
        uint64 bytes = 0;
        platform::fillRandom(std::as_writable_bytes(std::span(&bytes, 1)));
        return bytes;
    }();
    return seed;
}

/// Spreads every bit over the word. Source: A. Appleby, MurmurHash3, finalizer for 64 bits.
uint64 spread(uint64 word) {
    word = (word ^ word >> 33) * 0xFF51AFD7ED558CCD;
    word = (word ^ word >> 33) * 0xC4CEB9FE1A85EC53;
    return word ^ word >> 33;
}

template <typename Word>
uint64 wordAt(const char* text) {
    Word word;
    std::memcpy(&word, text, sizeof(Word));
    return word;
}

} // namespace

StyleNames::StyleNames() : m_seed(randomSeed()) {}

/// Reads eight bytes at a time; the last eight may overlap those before.
uint32 StyleNames::hashOf(std::string_view name) const {
    const char* const text = name.data();
    const size_t size = name.size();
    uint64 hash = m_seed + size;
    if (size >= 8) {
        for (size_t i = 0; i + 8 < size; i += 8) hash = spread(hash ^ wordAt<uint64>(text + i));
        return static_cast<uint32>(spread(hash ^ wordAt<uint64>(text + size - 8)));
    }
    uint64 rest = 0;
    if (size >= 4) {
        rest = wordAt<uint32>(text) << 32 | wordAt<uint32>(text + size - 4);
    } else {
        for (const char c : name) rest = rest << 8 | static_cast<uint8>(c);
    }
    return static_cast<uint32>(spread(hash ^ rest));
}

uint32 StyleNames::add(std::string_view name) {
    const uint32 hash = hashOf(name);
    Slot& slot = m_slots[slotOf(name, hash)];
    if (slot.number != kNone) return slot.number;
    m_names.push_back(name);
    slot = {hash, size()};
    if (m_names.size() * 2 > m_slots.size()) grow();
    return size();
}

uint32 StyleNames::find(std::string_view name) const {
    const Slot& slot = m_slots[slotOf(name, hashOf(name))];
    return slot.number != kNone ? slot.number : kUnknown;
}

/// Returns the slot of @p name, or a free one if it is not known.
size_t StyleNames::slotOf(std::string_view name, uint32 hash) const {
    const size_t mask = m_slots.size() - 1;
    size_t i = hash & mask;
    while (m_slots[i].number != kNone && (m_slots[i].hash != hash || m_names[m_slots[i].number - 1] != name))
        i = (i + 1) & mask;
    return i;
}

void StyleNames::grow() {
    std::vector<Slot> old(m_slots.size() * 2);
    old.swap(m_slots);
    const size_t mask = m_slots.size() - 1;
    for (const Slot& slot : old) {
        if (slot.number == kNone) continue;
        size_t i = slot.hash & mask;
        while (m_slots[i].number != kNone) i = (i + 1) & mask;
        m_slots[i] = slot;
    }
}

} // namespace qel::internal
