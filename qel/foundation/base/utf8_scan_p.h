// Walking text fast: well-formed stretches in one piece, the rest by the lenient rule.
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

/// What a NUL byte is to a scan.
enum class NulRule { End, Character };

/// The well-formed stretch that @p text begins with. It ends before the first byte that does not decode (or,
/// by NulRule::End, before the first NUL), or up to 64 bytes earlier, so an empty one says nothing.
Utf8Run scanUtf8(const char* text, std::size_t size, NulRule nulRule);
/// As scanUtf8(), by a plain loop that ends exactly at the first bad byte: what the others must agree with.
Utf8Run scanUtf8Plain(const char* text, std::size_t size, NulRule nulRule);
/// As scanUtf8(), by vectors. @param size  at least kUtf8Block.
Utf8Run scanUtf8Vectors(const char* text, std::size_t size, NulRule nulRule);

/// What the vector kernels take at a time; below it they are not worth their call.
inline constexpr std::size_t kUtf8Block = 64;

/// Decodes well-formed text without NUL into @p output until the text or @p capacity is used up.
/// @param text      moves on to where to continue, which may be behind the lead byte of what is already out.
/// @param capacity  at least kUtf8Block.
/// @return the number of units written.
std::size_t decodeUtf8Run(const char*& text, const char* end, uint32* output, std::size_t capacity);
/// As the form for code points, with surrogate pairs.
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
