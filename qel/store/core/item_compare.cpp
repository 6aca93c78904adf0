// The order of keys.
#include <qel/store/core/element_cursor_p.h>
#include <qel/store/core/item.h>

#include <algorithm>
#include <bit>
#include <limits>

namespace qel {
namespace {

using internal::ElementCursor;

/// Tag and size of an element whose payload may have any size.
constexpr size_t kHeaderSize = 5;

/// The difference of two sizes, limited to what an int holds.
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

int compareTexts(std::string_view a, std::string_view b) {
    return compareNumbers(a.compare(b), 0);
}

/// As numbers of 256 bits, lowest byte first.
int compareGuids(const uint8* a, const uint8* b) {
    for (size_t at = GUID::kSize; at != 0;) {
        at -= sizeof(uint64);
        const int order = compareNumbers(internal::loadElementValue<uint64>(a + at),
                                         internal::loadElementValue<uint64>(b + at));
        if (order != 0) return order;
    }
    return 0;
}

/// How many bytes two lists have in common at their beginnings.
/// @param at  how many are known to be.
size_t countCommonBytes(ConstByteSpan a, ConstByteSpan b, size_t at) {
    const size_t size = std::min(a.size, b.size);
    for (; size - at >= sizeof(uint64); at += sizeof(uint64)) {
        const uint64 difference =
            internal::loadElementValue<uint64>(a.data + at) ^ internal::loadElementValue<uint64>(b.data + at);
        if (difference != 0) return at + static_cast<size_t>(std::countr_zero(difference)) / 8;
    }
    while (at < size && a[at] == b[at]) ++at;
    return at;
}

ValueType rankOf(ValueType type) {
    return internal::isInteger(type) ? ValueType::Integer64 : type;
}

int compareLists(ConstByteSpan a, ConstByteSpan b, size_t common, int depth);

/// Compares the payloads of elements of the same rank that have their first @p common bytes in common.
int compareElements(const ElementCursor& a, const ElementCursor& b, size_t common, int depth) {
    switch (rankOf(a.type())) {
    case ValueType::Integer64:
        return compareNumbers(a.integer(), b.integer());
    case ValueType::Float:
        return compareNumbers(a.number(), b.number());
    case ValueType::String:
    case ValueType::Prefix:
        return compareTexts(a.text(), b.text());
    case ValueType::Buffer:
    case ValueType::Pointer:
    case ValueType::Referee:
        return compareBytes(a.payload(), b.payload());
    case ValueType::SubItem:
        return compareLists(a.payload(), b.payload(), common - std::min(common, kHeaderSize), depth + 1);
    case ValueType::GUID:
        return compareGuids(a.guid(), b.guid());
    default:
        return 0;
    }
}

/// Size of the elements that lie wholly in the first @p common bytes.
size_t sizeOfCommonElements(ConstByteSpan list, size_t common) {
    size_t at = 0;
    for (;;) {
        const size_t size = internal::getElementSize(list.data + at, list.size - at);
        if (size == 0 || size > common - at) return at;
        at += size;
    }
}

ConstByteSpan behind(ConstByteSpan list, size_t size) {
    return {list.data + size, list.size - size};
}

/// @param common  bytes known to be the same at the beginning of both: nested lists are not scanned anew at
///                every level.
int compareLists(ConstByteSpan a, ConstByteSpan b, size_t common, int depth) {
    if (depth > Item::kMaxDepth) return compareBytes(a, b);
    for (;; common = 0) {
        // Elements of the same bytes are equal, so that only those are decoded that differ.
        common = countCommonBytes(a, b, common);
        if (common == a.size && common == b.size) return 0;
        const size_t skipped = sizeOfCommonElements(a, common);
        const ElementCursor inA(behind(a, skipped));
        const ElementCursor inB(behind(b, skipped));
        if (inA.type() != ValueType::Wildcard && inB.type() != ValueType::Wildcard) {
            const ValueType rankA = rankOf(inA.type());
            const ValueType rankB = rankOf(inB.type());
            if (rankA != rankB) return static_cast<int>(rankA) - static_cast<int>(rankB);
            if (rankA == ValueType::None) return compareBytes(inA.rest(), inB.rest());
            const int order = compareElements(inA, inB, common - skipped, depth);
            if (order != 0) return order;
        }
        a = inA.behind();
        b = inB.behind();
    }
}

} // namespace

int Item::compare(const Item& a, const Item& b) {
    return compareLists(a.getConstByteSpan(), b.getConstByteSpan(), 0, 0);
}

} // namespace qel
