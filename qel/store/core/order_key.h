// OrderKey: a byte form of a key whose byte order is the order of keys.
#pragma once

#include <qel/platform/api.h>
#include <qel/store/core/item.h>

#include <array>
#include <memory>
#include <string_view>

namespace qel::internal {

/// Encodes a key such that comparing the bytes has the same result as Item::compare(), for stores that keep
/// keys in trees or tables of bytes. Equal keys have the same form, whatever the width of their integers; the
/// key itself cannot be restored from it.
/// || Each element is encoded as its tag (that of Integer64 for all integers) and a payload: texts unchanged;
/// integers as a byte for sign and length and their lowest bytes, highest first; floats as 8 bytes, highest
/// first, with the sign bit inverted, or all bits for a negative one; GUIDs from the last byte to the first;
/// sized payloads with 00 FF for 00, ended by 00 00; a nested list as its elements, 00, and malformed bytes
/// after them as a sized payload. Malformed bytes after the key's own elements follow a 00 unchanged.
/// || Keys with a Wildcard or a NaN have no position in this order; they are called questions (see Store).
class QEL_API OrderKey {
public:
    /// Creates the form of the empty key.
    OrderKey() = default;
    /// Creates the form of @p key.
    explicit OrderKey(const Item& key) { assign(key); }
    OrderKey(const OrderKey&) = delete;
    OrderKey& operator=(const OrderKey&) = delete;

    /// Replaces this form with that of @p key; memory is reused, so keys of a usual size allocate nothing.
    void assign(const Item& key);
    /// Returns the form. @owner valid until the next assign().
    std::string_view bytes() const { return {m_bytes, m_size}; }
    /// Returns true if the key contains a Wildcard or a NaN.
    bool isQuestion() const { return m_isQuestion; }
    /// Returns the form up to the first Wildcard or NaN. The forms of all keys that equal the question begin
    /// with it; forms ordered before those are smaller than the question, forms after them are greater.
    std::string_view fixedPart() const { return {m_bytes, m_fixedSize}; }
    /// Overwrites the form with the smallest string greater than every string that begins with fixedPart().
    /// @return that string; empty if no string is greater.
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
