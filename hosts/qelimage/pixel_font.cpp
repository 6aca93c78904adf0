#include "pixel_font.h"

#include <qel/foundation/base/string.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

namespace qelimage {

namespace {

constexpr int kCellWidth = 6;
constexpr int kGlyphsPerBlock = 16;
constexpr int kSpaceWidth = 3;
constexpr int kGap = 1;

// Sixteen characters side by side, from the space on; the last one is drawn for all others.
constexpr const char* kGlyphs[] = {
    // clang-format off
    // space to /
    "        #    # #          #   ##  #  ##     #      #   #                                      #",
    "        #    # #   # #   #### ##  # #  #    #     #     #     #     #                         #",
    "        #    # #  ##### # #      #  #  #    #    #       #  # # #   #                        # ",
    "        #          # #   ###    #    ##          #       #   ###  #####       #####         #  ",
    "        #          # #    # #  #    #  ##        #       #  # # #   #                      #   ",
    "                  ##### ####  #  ## #  #          #     #     #     #     ##         ##   #    ",
    "        #          # #    #   #  ##  ## #          #   #                  ##         ##   #    ",
    "                                                                           #                   ",
    "                                                                          #                    ",
    // 0 to ?
    " ###    #    ###   ###     #  #####   ##  #####  ###   ###                 #        #      ### ",
    "#   #  ##   #   # #   #   ##  #      #        # #   # #   #  ##     ##    #          #    #   #",
    "#  ## # #       #     #  # #  ####  #        #  #   # #   #  ##     ##   #    #####   #       #",
    "# # #   #     ##    ##  #  #      # ####     #   ###   ####             #              #     # ",
    "##  #   #    #        # #####     # #   #   #   #   #     #              #    #####   #     #  ",
    "#   #   #   #     #   #    #  #   # #   #   #   #   #    #   ##     ##    #          #         ",
    " ###  ##### #####  ###     #   ###   ###    #    ###   ##    ##     ##     #        #       #  ",
    "                                                                     #                         ",
    "                                                                    #                          ",
    // @ to O
    " ###    #   ####   ###  ####  ##### #####  ###  #   #  ###    ### #   # #     #   # #   #  ### ",
    "#   #  # #  #   # #   # #   # #     #     #   # #   #   #      #  #  #  #     ## ## ##  # #   #",
    "# ### #   # #   # #     #   # #     #     #     #   #   #      #  # #   #     # # # ##  # #   #",
    "# # # #   # ####  #     #   # ####  ####  # ### #####   #      #  ##    #     # # # # # # #   #",
    "# ### ##### #   # #     #   # #     #     #   # #   #   #      #  # #   #     #   # #  ## #   #",
    "#     #   # #   # #   # #   # #     #     #   # #   #   #   #  #  #  #  #     #   # #  ## #   #",
    " #### #   # ####   ###  ####  ##### #      #### #   #  ###   ##   #   # ##### #   # #   #  ### ",
    "                                                                                               ",
    "                                                                                               ",
    // P to _
    "####   ###  ####   #### ##### #   # #   # #   # #   # #   # #####  ###  #      ###    #        ",
    "#   # #   # #   # #       #   #   # #   # #   # #   # #   #     #  #    #        #   # #       ",
    "#   # #   # #   # #       #   #   # #   # #   #  # #   # #     #   #     #       #  #   #      ",
    "####  #   # ####   ###    #   #   # #   # # # #   #     #     #    #      #      #             ",
    "#     # # # # #       #   #   #   #  # #  # # #  # #    #    #     #       #     #             ",
    "#     #  #  #  #      #   #   #   #  # #  ## ## #   #   #   #      #        #    #             ",
    "#      ## # #   # ####    #    ###    #   #   # #   #   #   #####  ###      #  ###             ",
    "                                                                                          #####",
    "                                                                                               ",
    // ` to o
    " #          #               #         ##        #       #      #  #      ##                    ",
    "  #         #               #        #  #       #                 #       #                    ",
    "   #   ###  ####   ###   ####  ###   #     #### # ##   ##     ##  #  #    #   ## #  # ##   ### ",
    "          # #   # #   # #   # #   # ###   #   # ##  #   #      #  # #     #   # # # ##  # #   #",
    "       #### #   # #     #   # #####  #    #   # #   #   #      #  ##      #   # # # #   # #   #",
    "      #   # #   # #   # #   # #      #    #   # #   #   #      #  # #     #   # # # #   # #   #",
    "       #### ####   ###   ####  ###   #     #### #   #  ###     #  #  #   ###  # # # #   #  ### ",
    "                                              #             #  #                               ",
    "                                           ###               ##                                ",
    // p to any other character
    "                         #                                           #    #    #          #####",
    "                         #                                          #     #     #         #   #",
    "####   #### # ##   #### ####  #   # #   # #   # #   # #   # #####   #     #     #    #  # #   #",
    "#   # #   # ##  # #      #    #   # #   # #   #  # #  #   #    #   #      #      #  # # # #   #",
    "#   # #   # #      ###   #    #   # #   # # # #   #   #   #   #     #     #     #   #  #  #   #",
    "#   # #   # #         #  #  # #  ##  # #  # # #  # #  #   #  #      #     #     #         #   #",
    "####   #### #     ####    ##   ## #   #    # #  #   #  #### #####    #    #    #          #####",
    "#         #                                               #                                    ",
    "#         #                                            ###                                     ",
    // clang-format on
};

/// The part of a row of kGlyphs that belongs to a character.
struct Glyph {
    int row;   ///< of kGlyphs
    int left;  ///< first column that is used
    int width; ///< number of columns; 0 for a space
};

constexpr bool isSet(int row, int column) {
    return kGlyphs[row][column] == '#';
}

Glyph makeGlyph(int index) {
    const int row = index / kGlyphsPerBlock * kTextHeight;
    const int cell = index % kGlyphsPerBlock * kCellWidth;
    Glyph glyph{row, cell + kCellWidth, 0};
    int right = cell;
    for (int y = row; y < row + kTextHeight; ++y) {
        for (int x = cell; x < cell + kCellWidth - 1; ++x) {
            if (!isSet(y, x)) continue;
            glyph.left = std::min(glyph.left, x);
            right = std::max(right, x + 1);
        }
    }
    glyph.width = std::max(0, right - glyph.left);
    return glyph;
}

constexpr int kGlyphCount = static_cast<int>(std::size(kGlyphs)) / kTextHeight * kGlyphsPerBlock;

using Glyphs = std::vector<const Glyph*>;

const Glyph& glyphOf(qel::uint32 codePoint) {
    static const auto glyphs = [] {
        std::array<Glyph, kGlyphCount> all{};
        for (int i = 0; i < kGlyphCount; ++i) all[static_cast<size_t>(i)] = makeGlyph(i);
        return all;
    }();
    const bool isKnown = codePoint >= ' ' && codePoint < ' ' + glyphs.size();
    return isKnown ? glyphs[codePoint - ' '] : glyphs.back();
}

Glyphs glyphsOf(std::string_view text) {
    Glyphs glyphs;
    for (const qel::uint32 codePoint : qel::String(text).utf8_to_unicode())
        glyphs.push_back(&glyphOf(codePoint));
    return glyphs;
}

int advanceOf(const Glyph* glyph) {
    return (glyph->width == 0 ? kSpaceWidth : glyph->width) + kGap;
}

int widthOf(const Glyphs& glyphs) {
    int width = 0;
    for (const Glyph* glyph : glyphs) width += advanceOf(glyph);
    return width;
}

/// Replaces the middle of a text that is too wide by dots.
Glyphs fitted(const Glyphs& glyphs, int longestWidth) {
    if (widthOf(glyphs) <= longestWidth) return glyphs;
    Glyphs front;
    Glyphs back; // in reverse order
    const Glyphs dots = glyphsOf("...");
    int left = longestWidth - widthOf(dots);
    for (size_t taken = 0; taken < glyphs.size(); ++taken) {
        const bool isFront = front.size() <= back.size();
        const Glyph* glyph = isFront ? glyphs[front.size()] : glyphs[glyphs.size() - 1 - back.size()];
        left -= advanceOf(glyph);
        if (left < 0) break;
        (isFront ? front : back).push_back(glyph);
    }
    front.insert(front.end(), dots.begin(), dots.end());
    front.insert(front.end(), back.rbegin(), back.rend());
    return front;
}

/// Draws a glyph at column @p left.
void drawGlyph(qel::Image& image, const Glyph& glyph, int left) {
    for (int y = 0; y < kTextHeight; ++y) {
        qel::uint8* const row = image.getBytePointer(y) + left;
        for (int x = 0; x < glyph.width; ++x)
            if (isSet(glyph.row + y, glyph.left + x)) row[x] = 255;
    }
}

} // namespace

qel::Image drawText(std::string_view text, int longestWidth) {
    const Glyphs glyphs = fitted(glyphsOf(text), longestWidth);
    qel::Image image(qel::A8, {widthOf(glyphs), kTextHeight});
    if (!image) return image;
    std::fill_n(image.getBytePointer(), image.getByteSize(), qel::uint8(0));
    int left = 0;
    for (const Glyph* glyph : glyphs) {
        drawGlyph(image, *glyph, left);
        left += advanceOf(glyph);
    }
    return image;
}

} // namespace qelimage
