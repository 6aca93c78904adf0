#include <qel/foundation/base/utf8_scan_p.h>

#include <cstring>

namespace qel::internal {
namespace {

/// Returns true if all eight bytes are ASCII, and none is NUL if that ends the text.
bool isPlainWord(uint64 word, NulRule nulRule) {
    constexpr uint64 kTops = 0x8080808080808080;
    constexpr uint64 kOnes = 0x0101010101010101;
    if (word & kTops) return false;
    return nulRule == NulRule::Character || ((word - kOnes) & kTops) == 0;
}

} // namespace

Utf8Run scanUtf8Plain(const char* text, std::size_t size, NulRule nulRule) {
    const char* position = text;
    const char* const end = text + size;
    std::size_t codePoints = 0;
    while (position != end) {
        if (static_cast<uint8>(*position) < 0x80) {
            uint64 word = 0;
            if (end - position >= 8) std::memcpy(&word, position, 8);
            if (end - position >= 8 && isPlainWord(word, nulRule)) {
                position += 8;
                codePoints += 8;
                continue;
            }
            if (*position == '\0' && nulRule == NulRule::End) break;
            ++position;
        } else if (decodeUtf8Sequence(position, end) == util::kNoCodePoint) {
            break;
        }
        ++codePoints;
    }
    return {static_cast<std::size_t>(position - text), codePoints};
}

Utf8Run scanUtf8(const char* text, std::size_t size, NulRule nulRule) {
    return size < kUtf8Block ? scanUtf8Plain(text, size, nulRule) : scanUtf8Vectors(text, size, nulRule);
}

} // namespace qel::internal
