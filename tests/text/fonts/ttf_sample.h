// Small outline fonts, for tests and as seeds of the fuzz target: their glyphs are boxes.
#pragma once

#include <qel/foundation/base/types.h>

#include <string>
#include <utility>
#include <vector>

namespace qel::test {

/// The parts of a TrueType file; bytes() puts them together. Lengths are in font units, 1000 to an em.
struct TtfSample {
    struct Glyph {
        uint32 codePoint = 0;
        int advance = 0;
        int left = 0, bottom = 0, right = 0, top = 0; ///< the box; empty if left and right are equal
        std::vector<int> parts = {};                  ///< numbers of other glyphs, which it consists of then
        size_t points = 4;                            ///< of the box; those after the fourth are at one place
        std::string program = {};                     ///< of a box
    };
    struct Kerning {
        uint32 first = 0; ///< code point
        uint32 second = 0;
        int distance = 0;
    };

    int ascender = 800;
    int descender = -200;
    int mapCount = 1;          ///< entries for the same character map
    std::string functions;     ///< that programs may call
    size_t statedLocaSize = 0; ///< the size of the table of places in the directory; 0 means the actual one
    std::vector<Glyph> glyphs = {
        {'A', 600, 50, 0, 550, 700}, {'V', 600, 0, 0, 600, 700}, {'x', 500, 50, 0, 450, 500}};
    std::vector<Kerning> kernings;

    std::string bytes() const {
        const std::vector<std::pair<std::string, std::string>> tables = {
            {"cmap", cmap()}, {"fpgm", functions},     {"glyf", glyf().first},
            {"head", head()}, {"hhea", hhea()},        {"hmtx", hmtx()},
            {"kern", kern()}, {"loca", glyf().second}, {"maxp", maxp()}};
        std::string directory = u32(0x00010000) + u16(static_cast<int>(tables.size())) + std::string(6, '\0');
        std::string content;
        const size_t start = directory.size() + 16 * tables.size();
        for (const auto& [name, table] : tables) {
            const bool isStated = name == "loca" && statedLocaSize > 0;
            directory +=
                name + u32(0) + u32(start + content.size()) + u32(isStated ? statedLocaSize : table.size());
            content += table + std::string((4 - table.size() % 4) % 4, '\0');
        }
        return directory + content;
    }

    static std::string u16(int value) { return {static_cast<char>(value >> 8), static_cast<char>(value)}; }
    static std::string u32(size_t value) {
        return u16(static_cast<int>(value >> 16 & 0xFFFF)) + u16(static_cast<int>(value & 0xFFFF));
    }

private:
    int glyphCount() const { return static_cast<int>(glyphs.size()) + 1; }
    int indexOf(uint32 codePoint) const {
        for (size_t i = 0; i < glyphs.size(); ++i)
            if (glyphs[i].codePoint == codePoint) return static_cast<int>(i) + 1;
        return 0;
    }
    /// Each glyph is a group of its own; the code points must grow.
    std::string cmap() const {
        std::string groups;
        for (size_t i = 0; i < glyphs.size(); ++i)
            groups += u32(glyphs[i].codePoint) + u32(glyphs[i].codePoint) + u32(i + 1);
        const std::string entry = u16(3) + u16(10) + u32(4 + 8 * static_cast<size_t>(mapCount));
        std::string entries;
        for (int i = 0; i < mapCount; ++i) entries += entry;
        return u16(0) + u16(mapCount) + entries + u16(12) + u16(0) + u32(16 + groups.size()) + u32(0) +
               u32(glyphs.size()) + groups;
    }
    /// Returns the outlines and where each one begins.
    std::pair<std::string, std::string> glyf() const {
        std::string outlines;
        std::string places = u32(0) + u32(0); // the glyph of missing characters is empty
        for (const Glyph& glyph : glyphs) {
            if (!glyph.parts.empty())
                outlines += composite(glyph);
            else if (glyph.left != glyph.right)
                outlines += box(glyph);
            places += u32(outlines.size());
        }
        return {outlines, places};
    }
    static std::string box(const Glyph& glyph) {
        const int width = glyph.right - glyph.left;
        const int height = glyph.top - glyph.bottom;
        std::string bytes = u16(1) + u16(glyph.left) + u16(glyph.bottom) + u16(glyph.right) + u16(glyph.top);
        bytes += u16(static_cast<int>(glyph.points) - 1) + u16(static_cast<int>(glyph.program.size())) +
                 glyph.program;
        bytes += std::string(4, '\1') + std::string(glyph.points - 4, '\x31'); // with 16-bit or no steps
        bytes += u16(glyph.left) + u16(0) + u16(width) + u16(0) + u16(glyph.bottom) + u16(height) + u16(0) +
                 u16(-height);
        return bytes;
    }
    static std::string composite(const Glyph& glyph) {
        std::string bytes = u16(-1) + u16(glyph.left) + u16(glyph.bottom) + u16(glyph.right) + u16(glyph.top);
        for (size_t i = 0; i < glyph.parts.size(); ++i) // offsets of 0, and whether more parts follow
            bytes += u16(i + 1 < glyph.parts.size() ? 0x22 : 0x02) + u16(glyph.parts[i]) + u16(0);
        return bytes;
    }
    std::string head() const {
        return u32(0x00010000) + u32(0x00010000) + u32(0) + u32(0x5F0F3CF5) + u16(0) + u16(1000) +
               std::string(16, '\0') + u16(0) + u16(descender) + u16(1000) + u16(ascender) + u16(0) + u16(8) +
               u16(2) + u16(1) + u16(0);
    }
    std::string hhea() const {
        return u32(0x00010000) + u16(ascender) + u16(descender) + u16(0) + u16(1000) + std::string(22, '\0') +
               u16(glyphCount());
    }
    std::string hmtx() const {
        std::string metrics = u16(500) + u16(0);
        for (const Glyph& glyph : glyphs) metrics += u16(glyph.advance) + u16(glyph.left);
        return metrics;
    }
    std::string kern() const {
        std::string pairs;
        for (const Kerning& kerning : kernings)
            pairs += u16(indexOf(kerning.first)) + u16(indexOf(kerning.second)) + u16(kerning.distance);
        const int count = static_cast<int>(kernings.size());
        return u16(0) + u16(1) + u16(0) + u16(14 + 6 * count) + u16(1) + u16(count) + std::string(6, '\0') +
               pairs;
    }
    std::string maxp() const {
        return u32(0x00010000) + u16(glyphCount()) + u16(4) + u16(1) + std::string(22, '\0');
    }
};

} // namespace qel::test
