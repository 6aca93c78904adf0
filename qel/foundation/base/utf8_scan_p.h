// Walks text fast: well-formed stretches in one piece, the rest by the lenient rule.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/foundation/base/utf8_decode_p.h>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace qel::internal {

/// A stretch of well-formed UTF-8 from the start of a text, in whole code points.
struct Utf8Run {
    std::size_t bytes = 0;
    std::size_t codePoints = 0;
};

/// How a scan treats a NUL byte.
enum class NulRule { End, Character };

/// Returns the well-formed stretch at the beginning of @p text. It ends before the first byte that does not
/// decode (with NulRule::End also before the first NUL), or up to 64 bytes earlier, so that an empty stretch
/// does not mean that the first byte is broken.
Utf8Run scanUtf8(const char* text, std::size_t size, NulRule nulRule);
/// As scanUtf8(), with a plain loop that ends exactly at the first bad byte; the reference for the others.
Utf8Run scanUtf8Plain(const char* text, std::size_t size, NulRule nulRule);
/// As scanUtf8(), with vector instructions. @param size  at least kUtf8Block.
Utf8Run scanUtf8Vectors(const char* text, std::size_t size, NulRule nulRule);

/// Bytes that the vector kernels process at a time; shorter texts are faster without them.
inline constexpr std::size_t kUtf8Block = 64;

/// Decodes well-formed text without NUL into @p output until the text or @p capacity is used up.
/// @param text      advances to where to continue, which may be after the lead byte of a code point that has
///                  already been written.
/// @param capacity  at least kUtf8Block.
/// @return the number of units written.
std::size_t decodeUtf8Run(const char*& text, const char* end, uint32* output, std::size_t capacity);
/// As the form for code points, writing surrogate pairs.
std::size_t decodeUtf8Run(const char*& text, const char* end, uint16* output, std::size_t capacity);

/// Walks @p text leniently up to its end or first NUL, calling onRun(const char* begin, Utf8Run) for
/// well-formed stretches and onCodePoint(uint32) in between. A code point may come either way.
template <typename OnRun, typename OnCodePoint>
void walkUtf8(std::string_view text, OnRun&& onRun, OnCodePoint&& onCodePoint) {
    const char* position = text.data();
    const char* const end = position + text.size();
    while (position != end) {
        const Utf8Run run = scanUtf8(position, static_cast<std::size_t>(end - position), NulRule::End);
        if (run.bytes != 0) onRun(position, run);
        position += run.bytes;
        const std::size_t left = static_cast<std::size_t>(end - position);
        const char* const resume = position + std::min(left, kUtf8Block);
        while (position < resume) {
            const uint32 codePoint = decodeUtf8Lenient(position, end);
            if (codePoint == 0) return;
            onCodePoint(codePoint);
        }
    }
}

} // namespace qel::internal
