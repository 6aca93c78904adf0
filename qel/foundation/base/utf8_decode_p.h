// One decoding step of UTF-8, strict and lenient.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/base/unicode.h>

#include <cstddef>

namespace qel::internal {

/// Whether @p byte is 10xxxxxx.
inline bool isUtf8Continuation(char byte) {
    return (static_cast<uint8>(byte) & 0xC0) == 0x80;
}

/// The bytes of a sequence as its lead byte tells; 0 for a byte that is no lead.
inline std::size_t utf8LengthOfLead(uint8 lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC0 || lead > 0xF7) return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// Decodes the sequence of 2 to 4 bytes at @p position; see decodeUtf8Strict().
inline uint32 decodeUtf8Sequence(const char*& position, const char* end) {
    constexpr uint32 kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    const uint8 lead = static_cast<uint8>(*position);
    const std::size_t length = utf8LengthOfLead(lead);
    if (length == 0 || static_cast<std::size_t>(end - position) < length) return util::kNoCodePoint;
    uint32 codePoint = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if (!isUtf8Continuation(position[i])) return util::kNoCodePoint;
        codePoint = codePoint << 6 | (static_cast<uint8>(position[i]) & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < kLeast[length] || codePoint > 0x10FFFF || surrogate) return util::kNoCodePoint;
    position += length;
    return codePoint;
}

/// Decodes one code point and steps over it; on failure returns util::kNoCodePoint and does not step.
/// @param position  before @p end.
inline uint32 decodeUtf8Strict(const char*& position, const char* end) {
    if (static_cast<uint8>(*position) < 0x80) return static_cast<uint8>(*position++);
    return decodeUtf8Sequence(position, end);
}

/// As decodeUtf8Strict(), but a byte that does not decode is stepped over and read as code page 1252, or as
/// U+FFFD where the page has none.
inline uint32 decodeUtf8Lenient(const char*& position, const char* end) {
    const uint32 codePoint = decodeUtf8Strict(position, end);
    if (codePoint != util::kNoCodePoint) return codePoint;
    const uint32 western = util::unicode_from_cp1252(static_cast<uint8>(*position++));
    return western != util::kNoCodePoint ? western : 0xFFFD;
}

} // namespace qel::internal
