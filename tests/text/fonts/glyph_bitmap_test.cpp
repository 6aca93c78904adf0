#include <qel/text/fonts/glyph_bitmap_p.h>

#include <gtest/gtest.h>

#include <vector>

namespace qel::internal {
namespace {

/// Returns the converted pixels of a bitmap of 3 x 2 pixels in rows of 3 bytes, or nothing if that fails.
std::vector<int> converted(std::vector<uint8> pixels, int pitch, unsigned char mode) {
    FT_Bitmap bitmap{};
    bitmap.width = 3;
    bitmap.rows = 2;
    bitmap.pitch = pitch;
    bitmap.buffer = pixels.data();
    bitmap.pixel_mode = mode;
    std::vector<uint8> target(8, 1); // rows of four bytes, the last of which is not changed
    if (!copyGlyphBitmap(bitmap, target.data(), 4)) return {};
    return {target.begin(), target.end()};
}

TEST(GlyphBitmap, CopiesRowsFromTheTopOrTheBottom) {
    const std::vector<uint8> pixels = {1, 2, 3, 4, 5, 6};
    EXPECT_EQ(converted(pixels, 3, FT_PIXEL_MODE_GRAY), (std::vector<int>{1, 2, 3, 1, 4, 5, 6, 1}));
    EXPECT_EQ(converted(pixels, -3, FT_PIXEL_MODE_GRAY), (std::vector<int>{4, 5, 6, 1, 1, 2, 3, 1}));
}

TEST(GlyphBitmap, TakesTheAlphaOfColours) {
    const std::vector<uint8> pixels = {0, 0, 0, 7,  0, 0, 0, 8,  0, 0, 0, 9,
                                       5, 5, 5, 10, 5, 5, 5, 11, 5, 5, 5, 12};
    EXPECT_EQ(converted(pixels, 12, FT_PIXEL_MODE_BGRA), (std::vector<int>{7, 8, 9, 1, 10, 11, 12, 1}));
}

TEST(GlyphBitmap, RefusesOtherPixels) {
    for (const unsigned char mode : {FT_PIXEL_MODE_NONE, FT_PIXEL_MODE_LCD, FT_PIXEL_MODE_LCD_V})
        EXPECT_TRUE(converted(std::vector<uint8>(18), 9, mode).empty());
}

} // namespace
} // namespace qel::internal
