// ElementCursor: iterates over all elements of a list in memory.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/store/core/item_element.h>

#include <cstddef>
#include <string_view>

namespace qel::internal {

/// Points at an element of a list, or after the last valid one.
class ElementCursor {
public:
    /// Starts at the first element of @p list.
    explicit ElementCursor(ConstByteSpan list) : m_position(list.data), m_end(list.data + list.size) {
        measure();
    }

    /// Returns the type of the element; None after the last one.
    ValueType type() const { return m_size != 0 ? static_cast<ValueType>(*m_position) : ValueType::None; }
    /// Returns true if there is an element.
    explicit operator bool() const { return m_size != 0; }
    /// Moves to the next element.
    void next() {
        m_position += m_size;
        measure();
    }

    /// Returns the value of an integer of any width.
    int64 integer() const {
        switch (static_cast<ValueType>(*m_position)) {
        case ValueType::Integer8:
            return value<int8>();
        case ValueType::Integer16:
            return value<int16>();
        case ValueType::Integer32:
            return value<int32>();
        default:
            return value<int64>();
        }
    }
    /// Returns the value of a Float.
    double number() const { return value<double>(); }
    /// Returns the text of a String or Prefix, without the zero byte.
    std::string_view text() const { return {reinterpret_cast<const char*>(m_position + 1), m_size - 2}; }
    /// Returns the payload of an element that begins with its size.
    ConstByteSpan payload() const { return {m_position + 5, m_size - 5}; }
    /// Returns the 32 bytes of a GUID.
    const uint8* guid() const { return m_position + 1; }
    /// Returns true if this is a Prefix with the text @p text.
    bool isPrefix(std::string_view wanted) const { return type() == ValueType::Prefix && text() == wanted; }

    /// Returns the bytes from the current position to the end, valid or not.
    ConstByteSpan rest() const { return {m_position, static_cast<size_t>(m_end - m_position)}; }
    /// Returns the bytes after the element; all of rest() without a valid element.
    ConstByteSpan behind() const { return {m_position + m_size, rest().size - m_size}; }

private:
    template <typename T>
    T value() const {
        return loadElementValue<T>(m_position + 1);
    }
    void measure() { m_size = getElementSize(m_position, static_cast<size_t>(m_end - m_position)); }

    const uint8* m_position;
    const uint8* m_end;
    size_t m_size;
};

/// Returns true for the tag of a String or Prefix.
constexpr bool isText(ValueType type) {
    return type == ValueType::String || type == ValueType::Prefix;
}

/// Returns true for the tag of one of the four integers.
constexpr bool isInteger(ValueType type) {
    return type == ValueType::Integer8 || type == ValueType::Integer16 || type == ValueType::Integer32 ||
           type == ValueType::Integer64;
}

} // namespace qel::internal
