// Non-owning views of bytes.
#pragma once

#include <qel/foundation/base/types.h>

#include <string_view>

namespace qel {

/// A read-only view of bytes. It is valid for as long as the memory it refers to stays allocated; it never
/// frees memory.
struct ConstByteSpan {
    /// First byte; may be null when size is 0.
    const uint8* data = nullptr;
    /// Number of bytes.
    size_t size = 0;

    /// Creates an empty view with null data.
    ConstByteSpan() = default;
    /// Views the @p n bytes at @p p.
    ConstByteSpan(const uint8* p, size_t n) : data(p), size(n) {}
    /// Views the bytes of a text, without a terminating zero.
    static ConstByteSpan fromText(std::string_view text) {
        return {reinterpret_cast<const uint8*>(text.data()), text.size()};
    }

    /// Returns whether the view is empty.
    bool empty() const { return size == 0; }
    /// Returns the first byte, for range-based loops.
    const uint8* begin() const { return data; }
    /// Returns the end of the bytes.
    const uint8* end() const { return data + size; }
    /// Returns the byte at @p i, which must be below size.
    const uint8& operator[](size_t i) const { return data[i]; }
    /// Returns the same bytes as text.
    std::string_view asText() const { return {reinterpret_cast<const char*>(data), size}; }
};

/// A writable view of bytes; otherwise as ConstByteSpan, to which it converts.
struct ByteSpan {
    /// First byte; may be null when size is 0.
    uint8* data = nullptr;
    /// Number of bytes.
    size_t size = 0;

    /// Creates an empty view with null data.
    ByteSpan() = default;
    /// Views the @p n bytes at @p p.
    ByteSpan(uint8* p, size_t n) : data(p), size(n) {}
    /// Converts to a read-only view of the same bytes.
    operator ConstByteSpan() const { return {data, size}; }

    /// Returns whether the view is empty.
    bool empty() const { return size == 0; }
    /// Returns the first byte, for range-based loops.
    uint8* begin() const { return data; }
    /// Returns the end of the bytes.
    uint8* end() const { return data + size; }
    /// Returns the byte at @p i, which must be below size.
    uint8& operator[](size_t i) const { return data[i]; }
};

} // namespace qel
