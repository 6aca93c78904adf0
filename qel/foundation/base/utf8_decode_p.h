// One decoding step of UTF-8, strict and lenient.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/base/unicode.h>

#include <cstddef>

namespace qel::internal {

/// Returns whether @p byte is 10xxxxxx.
inline bool isUtf8Continuation(char byte) {
    return (static_cast<uint8>(byte) & 0xC0) == 0x80;
}

/// Returns the number of bytes of a sequence from its lead byte; 0 if the byte is not a lead byte.
inline std::size_t utf8LengthOfLead(uint8 lead) {
    if (lead < 0x80) return 1;
    if (lead < 0xC0 || lead > 0xF7) return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// Decodes the sequence of 2 to 4 bytes at @p position; see decodeUtf8Strict().
inline uint32 decodeUtf8Sequence(const char*& position, const char* end) {
    const auto byte = [position](std::size_t i) -> uint32 { return static_cast<uint8>(position[i]); };
    const auto bits = [byte](std::size_t i) {
        return byte(i) ^ 0x80;
    }; // below 0x40 only in a continuation byte
    const uint32 lead = byte(0);
    const std::size_t left = static_cast<std::size_t>(end - position);
    if (lead < 0xE0) {
        if (lead < 0xC2 || left < 2 || bits(1) > 0x3F) return util::kNoCodePoint;
        const uint32 codePoint = (lead & 0x1F) << 6 | bits(1);
        position += 2;
        return codePoint;
    }
    if (lead < 0xF0) {
        if (left < 3 || (bits(1) | bits(2)) > 0x3F) return util::kNoCodePoint;
        const uint32 codePoint = (lead & 0x0F) << 12 | bits(1) << 6 | bits(2);
        if (codePoint < 0x800 || codePoint - 0xD800 < 0x800) return util::kNoCodePoint;
        position += 3;
        return codePoint;
    }
    if (lead > 0xF4 || left < 4 || (bits(1) | bits(2) | bits(3)) > 0x3F) return util::kNoCodePoint;
    const uint32 codePoint = (lead & 0x07) << 18 | bits(1) << 12 | bits(2) << 6 | bits(3);
    if (codePoint - 0x10000 > 0xFFFFF) return util::kNoCodePoint;
    position += 4;
    return codePoint;
}

/// Decodes one code point and steps over it; on failure returns util::kNoCodePoint and does not step.
/// @param position  before @p end.
inline uint32 decodeUtf8Strict(const char*& position, const char* end) {
    if (static_cast<uint8>(*position) < 0x80) return static_cast<uint8>(*position++);
    return decodeUtf8Sequence(position, end);
}

/// As decodeUtf8Strict(), but a byte that does not decode is stepped over and read as code page 1252, or as
/// U+FFFD where the page has no character.
inline uint32 decodeUtf8Lenient(const char*& position, const char* end) {
    const uint32 codePoint = decodeUtf8Strict(position, end);
    if (codePoint != util::kNoCodePoint) return codePoint;
    const uint32 western = util::unicode_from_cp1252(static_cast<uint8>(*position++));
    return western != util::kNoCodePoint ? western : 0xFFFD;
}

} // namespace qel::internal
