#include <qel/foundation/base/string.h>

#include <algorithm>
#include <limits>

namespace qel {
namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Reads a run of digits modulo 2^32 and advances past it.
uint32 readNumber(const char*& position) {
    uint32 value = 0;
    for (; isDigit(*position); ++position) value = value * 10 + static_cast<uint32>(*position - '0');
    return value;
}

int differenceOf(uint32 a, uint32 b) {
    constexpr int64 kMost = std::numeric_limits<int>::max();
    return static_cast<int>(std::clamp(int64(a) - int64(b), -kMost, kMost));
}

} // namespace

int String::natural_compare(SmartCStr first, SmartCStr second) {
    const char* a = first.c_str();
    const char* b = second.c_str();
    while (*a != '\0' && *b != '\0') {
        if (isDigit(*a) != isDigit(*b)) return isDigit(*a) ? -1 : 1;
        int difference = 0;
        if (isDigit(*a)) {
            const uint32 valueOfA = readNumber(a);
            difference = differenceOf(valueOfA, readNumber(b));
        } else {
            difference = static_cast<uint8>(*a++) - static_cast<uint8>(*b++);
        }
        if (difference != 0) return difference;
    }
    if (*b == '\0') return *a != '\0' ? 1 : 0;
    return -1;
}

} // namespace qel
