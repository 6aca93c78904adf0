// The order of keys.
#include <qel/store/core/element_cursor_p.h>
#include <qel/store/core/item.h>

#include <algorithm>
#include <bit>
#include <limits>

namespace qel {
namespace {

using internal::ElementCursor;

/// Returns the difference of two sizes, clamped to the range of int.
int differenceOf(size_t a, size_t b) {
    constexpr auto kLimit = static_cast<size_t>(std::numeric_limits<int>::max());
    return a < b ? -static_cast<int>(std::min(b - a, kLimit)) : static_cast<int>(std::min(a - b, kLimit));
}

int compareBytes(ConstByteSpan a, ConstByteSpan b) {
    const size_t common = std::min(a.size, b.size);
    const int order = common != 0 ? std::memcmp(a.data, b.data, common) : 0;
    return order != 0 ? order : differenceOf(a.size, b.size);
}

template <typename T>
int compareNumbers(T a, T b) {
    return a < b ? -1 : a > b ? 1 : 0;
}

/// Compares numbers of 256 bits, lowest byte first.
int compareGuids(const uint8* a, const uint8* b) {
    for (size_t at = GUID::kSize; at != 0;) {
        at -= sizeof(uint64);
        const int order = compareNumbers(internal::loadElementValue<uint64>(a + at),
                                         internal::loadElementValue<uint64>(b + at));
        if (order != 0) return order;
    }
    return 0;
}

/// Returns the last @p count bytes (fewer than 8) of the first @p end bytes of @p list, followed by zeros.
uint64 loadTail(ConstByteSpan list, size_t end, size_t count) {
    if (end >= sizeof(uint64)) {
        return internal::loadElementValue<uint64>(list.data + end - sizeof(uint64)) >>
               8 * (sizeof(uint64) - count);
    }
    uint64 bytes = 0;
    for (size_t at = end; at != end - count; --at) bytes = bytes << 8 | list[at - 1];
    return bytes;
}

/// Returns the index of the lowest byte that is not zero.
size_t lowestByte(uint64 bytes) {
    return static_cast<size_t>(std::countr_zero(bytes)) / 8;
}

/// Returns the highest bit of the lowest zero byte, and possibly of bytes above it; 0 if no byte is zero.
/// This is Mycroft's test: a borrow sets a highest bit that was not set only where there is a zero byte.
uint64 markZeros(uint64 bytes) {
    constexpr uint64 kOnes = 0x0101010101010101;
    return (bytes - kOnes) & ~bytes & (kOnes << 7);
}

/// Returns true if @p list contains a zero byte from @p at on; @p at must be inside the list.
bool hasZero(ConstByteSpan list, size_t at) {
    // Most keys end with a text.
    return list[list.size - 1] == 0 || std::memchr(list.data + at, 0, list.size - at) != nullptr;
}

/// Returns the first position after the first bytes where two lists differ or both contain a zero; the
/// smaller size if no such position exists.
inline size_t findDifferenceOrZero(ConstByteSpan a, ConstByteSpan b) {
    const size_t size = std::min(a.size, b.size);
    size_t at = 1;
    for (; size - at >= sizeof(uint64); at += sizeof(uint64)) {
        const auto bytes = internal::loadElementValue<uint64>(a.data + at);
        const uint64 found = (bytes ^ internal::loadElementValue<uint64>(b.data + at)) | markZeros(bytes);
        if (found != 0) return at + lowestByte(found);
    }
    if (at == size) return size;
    const uint64 bytes = loadTail(a, size, size - at);
    const uint64 found = (bytes ^ loadTail(b, size, size - at)) | markZeros(bytes);
    return std::min(at + lowestByte(found), size);
}

/// Compares two elements of the same text tag.
/// @param[out] end  the position after both of them if they are equal; 0 if one or both are truncated.
/// @return 0 if they are equal or one is truncated.
inline int compareTexts(ConstByteSpan a, ConstByteSpan b, size_t& end) {
    const size_t at = findDifferenceOrZero(a, b);
    end = 0;
    if (at == std::min(a.size, b.size)) return 0;
    if (a[at] == b[at]) {
        end = at + 1;
        return 0;
    }
    if (!hasZero(a, at) || !hasZero(b, at)) return 0;
    return a[at] < b[at] ? -1 : 1;
}

ValueType rankOf(ValueType type) {
    return internal::isInteger(type) ? ValueType::Integer64 : type;
}

int compareLists(ConstByteSpan a, ConstByteSpan b, int depth);

/// Compares the payloads of elements of the same rank.
int compareElements(const ElementCursor& a, const ElementCursor& b, int depth) {
    switch (rankOf(a.type())) {
    case ValueType::Integer64:
        return compareNumbers(a.integer(), b.integer());
    case ValueType::Float:
        return compareNumbers(a.number(), b.number());
    case ValueType::String:
    case ValueType::Prefix:
        return compareNumbers(a.text().compare(b.text()), 0);
    case ValueType::Buffer:
    case ValueType::Pointer:
    case ValueType::Referee:
        return compareBytes(a.payload(), b.payload());
    case ValueType::SubItem:
        return compareLists(a.payload(), b.payload(), depth + 1);
    case ValueType::GUID:
        return compareGuids(a.guid(), b.guid());
    default:
        return 0;
    }
}

ConstByteSpan behind(ConstByteSpan list, size_t size) {
    return {list.data + size, list.size - size};
}

bool isTextAtFront(ConstByteSpan a, ConstByteSpan b) {
    return !a.empty() && !b.empty() && a[0] == b[0] && internal::isText(static_cast<ValueType>(a[0]));
}

int compareLists(ConstByteSpan a, ConstByteSpan b, int depth) {
    if (depth > Item::kMaxDepth) return compareBytes(a, b);
    for (;;) {
        if (isTextAtFront(a, b)) {
            // Texts are the most common elements of keys: they are compared and measured in one pass.
            size_t end;
            const int order = compareTexts(a, b, end);
            if (order != 0) return order;
            if (end != 0) {
                a = behind(a, end);
                b = behind(b, end);
                continue;
            }
        }
        const ElementCursor inA(a);
        const ElementCursor inB(b);
        if (inA.type() != ValueType::Wildcard && inB.type() != ValueType::Wildcard) {
            const ValueType rankA = rankOf(inA.type());
            const ValueType rankB = rankOf(inB.type());
            if (rankA != rankB) return static_cast<int>(rankA) - static_cast<int>(rankB);
            if (rankA == ValueType::None) return compareBytes(inA.rest(), inB.rest());
            const int order = compareElements(inA, inB, depth);
            if (order != 0) return order;
        }
        a = inA.behind();
        b = inB.behind();
    }
}

} // namespace

int Item::compare(const Item& a, const Item& b) {
    return compareLists(a.getConstByteSpan(), b.getConstByteSpan(), 0);
}

} // namespace qel
