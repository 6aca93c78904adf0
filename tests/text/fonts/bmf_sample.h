// Files in the binary BMFont format, for tests.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/types.h>

#include <array>
#include <string>
#include <vector>

namespace qel::test {

/// The parts of a file; bytes() puts them together.
struct BmfSample {
    struct Glyph {
        uint32 id = 0;
        std::array<int, 7> lengths{}; ///< x, y, width, height, x offset, y offset, advance
        uint8 page = 0;
        uint8 channel = 15;
    };
    struct Kerning {
        uint32 first = 0;
        uint32 second = 0;
        int amount = 0;
    };

    uint8 version = 3;
    uint8 flags = 0x40; ///< Unicode
    int lineHeight = 16;
    int base = 12;
    int pageWidth = 128;
    int pageHeight = 64;
    std::vector<std::string> pages = {"page.webp"};
    std::vector<Glyph> glyphs = {{'A', {0, 0, 8, 9, 0, 3, 9}}, {'x', {8, 0, 6, 7, 1, 5, 8}}};
    bool hasKernings = true;
    std::vector<Kerning> kernings = {{'A', 'x', -2}};

    std::string bytes() const {
        std::string common =
            number(lineHeight, 2) + number(base, 2) + number(pageWidth, 2) + number(pageHeight, 2);
        common += number(static_cast<int>(pages.size()), 2) + std::string(5, '\0');
        std::string names, characters, pairs;
        for (const std::string& page : pages) names += page + '\0';
        for (const Glyph& glyph : glyphs) {
            characters += number(glyph.id, 4);
            for (const int length : glyph.lengths) characters += number(length, 2);
            characters += number(glyph.page, 1) + number(glyph.channel, 1);
        }
        for (const Kerning& kerning : kernings)
            pairs += number(kerning.first, 4) + number(kerning.second, 4) + number(kerning.amount, 2);
        std::string file = "BMF" + number(version, 1) + block(1, info()) + block(2, common) + block(3, names);
        file += block(4, characters);
        return hasKernings ? file + block(5, pairs) : file;
    }

    static std::string number(int64 value, int size) {
        std::string bytes;
        for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i) & 0xFF);
        return bytes;
    }

private:
    std::string info() const {
        return number(20, 2) + number(flags, 1) + number(0, 1) + number(100, 2) +
               std::string("\1\2\3\4\5\6\7\10", 8) + "Sample" + '\0';
    }
    static std::string block(int type, const std::string& content) {
        return number(type, 1) + number(static_cast<int64>(content.size()), 4) + content;
    }
};

} // namespace qel::test
