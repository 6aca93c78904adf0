// The elements of an Item: their tags and sizes.
#pragma once

#include <qel/foundation/base/types.h>

#include <bit>
#include <cstring>

namespace qel {

/// The first byte of an element, which is its type. Numbers after it are little-endian.
enum class ValueType : uint8 {
    None = 0,       ///< never written; ends decoding, as if the bytes had ended
    Integer64 = 1,  ///< 8 bytes, signed
    Float = 2,      ///< 8 bytes, IEEE-754 double
    String = 3,     ///< text bytes and a zero byte
    Buffer = 4,     ///< 32-bit size and that number of bytes
    Pointer = 5,    ///< 32-bit size and that number of bytes: those of a key, or any others
    Integer32 = 6,  ///< 4 bytes, signed
    Integer16 = 7,  ///< 2 bytes, signed
    Integer8 = 8,   ///< 1 byte, signed
    SubItem = 9,    ///< 32-bit size and the bytes of a nested Item
    GUID = 10,      ///< 32 bytes
    NIL = 11,       ///< no payload
    Prefix = 12,    ///< like String; describes what follows it, for example "table"
    False = 13,     ///< no payload
    True = 14,      ///< no payload
    Meta = 192,     ///< no payload; bound of a range of keys, after every element of real keys
    Referee = 193,  ///< 32-bit size and that number of bytes
    Wildcard = 254, ///< no payload; equals any one element
    End = 255       ///< no payload; bound of a range of keys, after Meta
};

namespace internal {

static_assert(std::endian::native == std::endian::little, "elements are copied unchanged");

/// Reads a number that need not be aligned.
template <typename T>
T loadElementValue(const uint8* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

/// Returns the size of the element at @p element, including its tag.
/// @param available  the number of bytes from there to the end of the list.
/// @return 0 at the end, for an unknown tag, and for an element that does not fit.
inline size_t getElementSize(const uint8* element, size_t available) {
    if (available == 0) return 0;
    const auto fixed = [available](size_t size) { return size <= available ? size : 0; };
    switch (static_cast<ValueType>(*element)) {
    case ValueType::Integer8:
        return fixed(2);
    case ValueType::Integer16:
        return fixed(3);
    case ValueType::Integer32:
        return fixed(5);
    case ValueType::Integer64:
    case ValueType::Float:
        return fixed(9);
    case ValueType::GUID:
        return fixed(33);
    case ValueType::String:
    case ValueType::Prefix: {
        const void* const end = std::memchr(element + 1, 0, available - 1);
        return end ? static_cast<size_t>(static_cast<const uint8*>(end) - element) + 1 : 0;
    }
    case ValueType::Buffer:
    case ValueType::Pointer:
    case ValueType::SubItem:
    case ValueType::Referee:
        if (available < 5) return 0;
        return fixed(size_t{5} + loadElementValue<uint32>(element + 1));
    case ValueType::NIL:
    case ValueType::False:
    case ValueType::True:
    case ValueType::Meta:
    case ValueType::Wildcard:
    case ValueType::End:
        return 1;
    case ValueType::None:
        break;
    }
    return 0;
}

} // namespace internal
} // namespace qel
