// Non-owning views of bytes.
#pragma once

#include <qel/foundation/base/types.h>

#include <string_view>

namespace qel {

/// A view of bytes that are only read. It is valid for as long as the memory it was made from stays in
/// place and allocated; it never frees.
struct ConstByteSpan {
    /// First byte; may be null when size is 0.
    const uint8* data = nullptr;
    /// Number of bytes.
    size_t size = 0;

    /// An empty view with null data.
    ConstByteSpan() = default;
    /// Views the @p n bytes at @p p.
    ConstByteSpan(const uint8* p, size_t n) : data(p), size(n) {}
    /// Views the bytes of a text, without a terminating zero.
    static ConstByteSpan fromText(std::string_view text) {
        return {reinterpret_cast<const uint8*>(text.data()), text.size()};
    }

    /// True when there is no byte.
    bool empty() const { return size == 0; }
    /// First byte, for range-based loops.
    const uint8* begin() const { return data; }
    /// End of the bytes.
    const uint8* end() const { return data + size; }
    /// The byte at @p i, which must be below size.
    const uint8& operator[](size_t i) const { return data[i]; }
    /// The same bytes as text.
    std::string_view asText() const { return {reinterpret_cast<const char*>(data), size}; }
};

/// A view of bytes that may be written; otherwise as ConstByteSpan, to which it converts.
struct ByteSpan {
    /// First byte; may be null when size is 0.
    uint8* data = nullptr;
    /// Number of bytes.
    size_t size = 0;

    /// An empty view with null data.
    ByteSpan() = default;
    /// Views the @p n bytes at @p p.
    ByteSpan(uint8* p, size_t n) : data(p), size(n) {}
    /// The same bytes, to be read only.
    operator ConstByteSpan() const { return {data, size}; }

    /// True when there is no byte.
    bool empty() const { return size == 0; }
    /// First byte, for range-based loops.
    uint8* begin() const { return data; }
    /// End of the bytes.
    uint8* end() const { return data + size; }
    /// The byte at @p i, which must be below size.
    uint8& operator[](size_t i) const { return data[i]; }
};

} // namespace qel
