// KeySlots: the sorted keys of one node of a tree, searched through numbers.
#pragma once

#include <qel/foundation/base/types.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>
#include <utility>

namespace qel::internal {

/// Up to kCapacity sorted keys and their heads. The head of a key is the number formed by the eight bytes
/// after the prefix that all keys share. A @p Key has a function bytesOf() that returns its bytes.
template <typename Key>
class KeySlots {
public:
    static constexpr unsigned kCapacity = 32;

    KeySlots() { std::fill(m_heads, m_heads + kCapacity, kUnused); }

    unsigned size() const { return m_size; }
    bool isFull() const { return m_size == kCapacity; }
    Key& operator[](unsigned index) { return m_keys[index]; }
    const Key& operator[](unsigned index) const { return m_keys[index]; }

    /// Prefetches the memory of the keys.
    void prefetchKeys() const {
        __builtin_prefetch(&m_size);
        for (unsigned i = 0; i < kCapacity; i += kBlock) __builtin_prefetch(m_keys + i);
    }
    /// Prefetches the memory that a search may need.
    void prefetch() const {
        prefetchKeys();
        for (unsigned i = 0; i < kCapacity; i += kBlock) __builtin_prefetch(m_heads + i);
    }
    /// Returns the index of the first key that is not smaller.
    unsigned lowerBound(std::string_view wanted) const {
        return search(wanted, [](std::string_view key, std::string_view than) { return key < than; });
    }
    /// Returns the index of the first key that is greater.
    unsigned upperBound(std::string_view wanted) const {
        return search(wanted, [](std::string_view key, std::string_view than) { return key <= than; });
    }
    /// Inserts a key before the one at @p index.
    void insert(unsigned index, Key key) {
        std::move_backward(m_keys + index, m_keys + m_size, m_keys + m_size + 1);
        std::copy_backward(m_heads + index, m_heads + m_size, m_heads + m_size + 1);
        m_keys[index] = std::move(key);
        ++m_size;
        const bool isOutermost = index == 0 || index + 1 == m_size;
        if (isOutermost && countCommon() != m_common) return readHeads();
        m_heads[index] = headOf(bytesOf(m_keys[index]));
    }
    /// Removes the key at @p index. @return the key.
    Key takeOut(unsigned index) {
        Key key = std::move(m_keys[index]);
        std::move(m_keys + index + 1, m_keys + m_size, m_keys + index);
        std::copy(m_heads + index + 1, m_heads + m_size, m_heads + index);
        m_heads[--m_size] = kUnused;
        return key;
    }
    /// Moves the keys from @p index on to @p target, which must be empty.
    void moveTail(unsigned index, KeySlots& target) {
        std::move(m_keys + index, m_keys + m_size, target.m_keys);
        target.m_size = m_size - index;
        std::fill(m_heads + index, m_heads + m_size, kUnused);
        m_size = index;
        readHeads();
        target.readHeads();
    }

private:
    /// Returns the index of the first key for which @p isBefore(key, wanted) is false.
    template <typename IsBefore>
    unsigned search(std::string_view wanted, IsBefore isBefore) const {
        const size_t common = std::min(m_common, wanted.size());
        const int order = common != 0 ? std::memcmp(wanted.data(), m_beginning, common) : 0;
        if (order < 0 || (order == 0 && common < m_common)) return 0;
        if (order > 0 || m_size == 0) return m_size;
        const uint64 head = headOf(wanted);
        const unsigned first = countSmallerHeads(head);
        if (first == m_size || m_heads[first] != head) return first;
        unsigned last = first + 1;
        while (last < m_size && m_heads[last] == head) ++last;
        const auto isKeyBefore = [isBefore](const Key& key, std::string_view than) {
            return isBefore(bytesOf(key), than);
        };
        return static_cast<unsigned>(std::lower_bound(m_keys + first, m_keys + last, wanted, isKeyBefore) -
                                     m_keys);
    }
    /// Compares @p head with the last head of each block, and then with those of its own block. Unused heads
    /// are compared too.
    unsigned countSmallerHeads(uint64 head) const {
        unsigned first = 0;
        for (unsigned last = kBlock - 1; last < kCapacity - 1; last += kBlock) {
            first += m_heads[last] < head ? kBlock : 0;
        }
        unsigned count = first;
        for (unsigned i = 0; i < kBlock; ++i) count += m_heads[first + i] < head;
        return count;
    }
    uint64 headOf(std::string_view bytes) const {
        const char* const begin = bytes.data() + m_common;
        const size_t size = bytes.size() - m_common;
        uint64 head = 0;
        if (size >= sizeof(head)) {
            std::memcpy(&head, begin, sizeof(head));
        } else {
            std::memcpy(&head, begin, size);
        }
        return std::endian::native == std::endian::little ? __builtin_bswap64(head) : head;
    }
    /// Returns the number of bytes that all keys share, as far as they are stored; 0 for a single key, whose
    /// prefix depends on its next neighbour.
    size_t countCommon() const {
        if (m_size < 2) return 0;
        const std::string_view first = bytesOf(m_keys[0]).substr(0, kBeginning);
        const std::string_view last = bytesOf(m_keys[m_size - 1]);
        const auto ends = std::mismatch(first.begin(), first.end(), last.begin(), last.end());
        return static_cast<size_t>(ends.first - first.begin());
    }
    void readHeads() {
        m_common = countCommon();
        if (m_common != 0) std::memcpy(m_beginning, bytesOf(m_keys[0]).data(), m_common);
        for (unsigned i = 0; i < m_size; ++i) m_heads[i] = headOf(bytesOf(m_keys[i]));
    }

    static constexpr unsigned kBlock = 8; // heads in a line of the processor's cache
    static constexpr size_t kBeginning = 48;
    static constexpr uint64 kUnused = ~uint64{0}; // no head is greater

    alignas(64) unsigned m_size = 0;
    size_t m_common = 0;
    char m_beginning[kBeginning]; // the prefix of all keys
    alignas(64) uint64 m_heads[kCapacity];
    Key m_keys[kCapacity];
};

} // namespace qel::internal
