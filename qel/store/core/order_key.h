// OrderKey: a key in bytes whose plain order is the order of keys.
#pragma once

#include <qel/platform/api.h>
#include <qel/store/core/item.h>

#include <array>
#include <memory>
#include <string_view>

namespace qel::internal {

/// Writes a key so that comparing bytes answers as Item::compare() does: for stores that keep keys in trees
/// or tables of bytes. Equal keys have the same form, however wide their integers; the key itself can't be
/// read back from it.
///
/// Each element gives its tag (that of Integer64 for all integers) and a payload: texts as they stand;
/// integers in a byte for sign and length and their lowest bytes, highest first; floats as 8 bytes, highest
/// first, with the sign bit turned, or all bits of a negative one; GUIDs from the last byte to the first;
/// sized payloads with 00 FF for 00, ended by 00 00; a nested list as its elements, 00, what is malformed
/// behind them as a sized payload. What is malformed behind the key's own elements stands behind a 00 as it
/// is.
///
/// Keys with a Wildcard or a NaN have no place in this order; they are called questions (see Store).
class QEL_API OrderKey {
public:
    /// The form of the empty key.
    OrderKey() = default;
    /// The form of @p key.
    explicit OrderKey(const Item& key) { assign(key); }
    OrderKey(const OrderKey&) = delete;
    OrderKey& operator=(const OrderKey&) = delete;

    /// Becomes the form of @p key; memory is used again, so that keys of a usual size allocate nothing.
    void assign(const Item& key);
    /// The form. @owner valid until the next assign().
    std::string_view bytes() const { return {m_bytes, m_size}; }
    /// Whether the key holds a Wildcard or a NaN.
    bool isQuestion() const { return m_isQuestion; }
    /// The form up to the first Wildcard or NaN. The forms of all keys that equal the question begin with it;
    /// what sorts before those is smaller than the question, what sorts behind them greater.
    std::string_view fixedPart() const { return {m_bytes, m_fixedSize}; }
    /// The smallest string greater than every one that begins with fixedPart(), written over the form;
    /// empty if there is none.
    std::string_view turnIntoEndOfFixedPart();

private:
    class Writer;

    static constexpr size_t kInlineSize = 128;
    static constexpr size_t kKeptSize = size_t{1} << 16;

    char* reserve(size_t size);

    std::array<char, kInlineSize> m_inline;
    std::unique_ptr<char[]> m_heap;
    size_t m_heapSize = 0;
    char* m_bytes = m_inline.data();
    size_t m_size = 0;
    size_t m_fixedSize = 0;
    bool m_isQuestion = false;
};

} // namespace qel::internal
