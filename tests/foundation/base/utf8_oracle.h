// UTF-8 read byte by byte: what the fast operations of String must agree with.
#pragma once

#include <qel/foundation/base/types.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qel::test {

/// Encodes by the number of bytes that follow the first, to be unlike the code under test.
inline std::string encodeUtf8(uint32 codePoint) {
    if (codePoint < 0x80) return {static_cast<char>(codePoint)};
    const int following = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    std::string text(1, static_cast<char>(0xF80 >> following | codePoint >> 6 * following));
    for (int i = following - 1; i >= 0; --i) {
        text.push_back(static_cast<char>(0x80 | (codePoint >> 6 * i & 0x3F)));
    }
    return text;
}

/// The code point whose encoding @p text begins with: the one that encodes back to the same bytes.
inline std::optional<uint32> firstCodePoint(std::string_view text) {
    for (std::size_t length = 1; length <= 4 && length <= text.size(); ++length) {
        uint32 codePoint = static_cast<uint8>(text[0]);
        if (length > 1) codePoint &= (1u << (7 - length)) - 1;
        for (std::size_t i = 1; i < length; ++i) codePoint = codePoint << 6 | (text[i] & 0x3F);
        const bool legal = codePoint < 0xD800 || (codePoint > 0xDFFF && codePoint <= 0x10FFFF);
        if (legal && encodeUtf8(codePoint) == text.substr(0, length)) return codePoint;
    }
    return std::nullopt;
}

/// Windows code page 1252 between 0x80 and 0x9F, written as the characters themselves; "?" where it has none.
inline uint32 westernCodePoint(uint8 byte) {
    static constexpr char32_t kRow[] = U"€?‚ƒ„…†‡ˆ‰Š‹Œ?Ž??‘’“”•–—˜™š›œ?žŸ";
    if (byte < 0x80 || byte > 0x9F) return byte;
    return kRow[byte - 0x80] == U'?' ? 0xFFFD : static_cast<uint32>(kRow[byte - 0x80]);
}

/// The code points of the lenient reading, up to the first NUL.
inline std::vector<uint32> readLeniently(std::string_view text) {
    std::vector<uint32> codePoints;
    while (!text.empty() && text[0] != '\0') {
        const auto strict = firstCodePoint(text);
        codePoints.push_back(strict ? *strict : westernCodePoint(static_cast<uint8>(text[0])));
        text.remove_prefix(strict ? encodeUtf8(*strict).size() : 1);
    }
    return codePoints;
}

/// The UTF-8 text of the code points.
inline std::string textOf(const std::vector<uint32>& codePoints) {
    std::string text;
    for (const uint32 codePoint : codePoints) text += encodeUtf8(codePoint);
    return text;
}

} // namespace qel::test
