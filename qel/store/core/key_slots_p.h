// KeySlots: the sorted keys of one node of a tree, searched by numbers.
#pragma once

#include <qel/foundation/base/types.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <string_view>
#include <utility>

namespace qel::internal {

/// Up to kCapacity sorted keys beside their heads: the eight bytes behind the bytes that all have in common,
/// as a number. A @p Key has a function bytesOf() that gives its bytes.
template <typename Key>
class KeySlots {
public:
    static constexpr unsigned kCapacity = 32;

    unsigned size() const { return m_size; }
    bool isFull() const { return m_size == kCapacity; }
    Key& operator[](unsigned index) { return m_keys[index]; }
    const Key& operator[](unsigned index) const { return m_keys[index]; }

    /// Index of the first key that isn't smaller.
    unsigned lowerBound(std::string_view wanted) const {
        return search(wanted, [](std::string_view key, std::string_view than) { return key < than; });
    }
    /// Index of the first key that is greater.
    unsigned upperBound(std::string_view wanted) const {
        return search(wanted, [](std::string_view key, std::string_view than) { return key <= than; });
    }
    /// Puts a key before the one at @p index.
    void insert(unsigned index, Key key) {
        std::move_backward(m_keys + index, m_keys + m_size, m_keys + m_size + 1);
        std::copy_backward(m_heads + index, m_heads + m_size, m_heads + m_size + 1);
        m_keys[index] = std::move(key);
        ++m_size;
        const bool isOutermost = index == 0 || index + 1 == m_size;
        if (isOutermost && countCommon() != m_common) return readHeads();
        m_heads[index] = headOf(bytesOf(m_keys[index]));
    }
    /// Takes the key at @p index out.
    Key takeOut(unsigned index) {
        Key key = std::move(m_keys[index]);
        std::move(m_keys + index + 1, m_keys + m_size, m_keys + index);
        std::copy(m_heads + index + 1, m_heads + m_size, m_heads + index);
        --m_size;
        return key;
    }
    /// Moves the keys from @p index on to @p target, which is empty.
    void moveTail(unsigned index, KeySlots& target) {
        std::move(m_keys + index, m_keys + m_size, target.m_keys);
        target.m_size = m_size - index;
        m_size = index;
        readHeads();
        target.readHeads();
    }

private:
    /// @p isBefore(key, wanted) holds for the keys in front of the result.
    template <typename IsBefore>
    unsigned search(std::string_view wanted, IsBefore isBefore) const {
        if (m_size == 0) return 0;
        const std::string_view first = bytesOf(m_keys[0]);
        const size_t common = std::min(m_common, wanted.size());
        const int order = common != 0 ? std::memcmp(wanted.data(), first.data(), common) : 0;
        if (order < 0 || (order == 0 && common < m_common)) return 0;
        if (order > 0) return m_size;
        const uint64 head = headOf(wanted);
        unsigned index = countSmallerHeads(head);
        while (index < m_size && m_heads[index] == head && isBefore(bytesOf(m_keys[index]), wanted)) ++index;
        return index;
    }
    unsigned countSmallerHeads(uint64 head) const {
        const uint64* begin = m_heads;
        for (unsigned left = m_size; left > 1;) {
            const unsigned half = left / 2;
            begin += begin[half - 1] < head ? half : 0;
            left -= half;
        }
        return static_cast<unsigned>(begin - m_heads) + (*begin < head);
    }
    uint64 headOf(std::string_view bytes) const {
        const size_t size = bytes.size() - m_common;
        uint64 head = 0;
        std::memcpy(&head, bytes.data() + m_common, std::min(size, sizeof(head)));
        return std::endian::native == std::endian::little ? __builtin_bswap64(head) : head;
    }
    /// Bytes that all keys have in common; 0 for one key, whose end its next neighbour will set.
    size_t countCommon() const {
        if (m_size < 2) return 0;
        const std::string_view first = bytesOf(m_keys[0]);
        const std::string_view last = bytesOf(m_keys[m_size - 1]);
        const auto ends = std::mismatch(first.begin(), first.end(), last.begin(), last.end());
        return static_cast<size_t>(ends.first - first.begin());
    }
    void readHeads() {
        m_common = countCommon();
        for (unsigned i = 0; i < m_size; ++i) m_heads[i] = headOf(bytesOf(m_keys[i]));
    }

    unsigned m_size = 0;
    size_t m_common = 0;
    uint64 m_heads[kCapacity];
    Key m_keys[kCapacity];
};

} // namespace qel::internal
