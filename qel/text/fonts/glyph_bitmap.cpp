#include <qel/text/fonts/glyph_bitmap_p.h>

#include <cstring>

namespace qel::internal {

namespace {

/// Writes the alpha of a row of pixels.
using RowFunction = void (*)(const uint8* source, uint8* target, size_t width);

void copyRow(const uint8* source, uint8* target, size_t width) {
    std::memcpy(target, source, width);
}

/// Expands pixels of several bits, of which the first one is in the upper bits of a byte.
template <unsigned Bits>
void expandRow(const uint8* source, uint8* target, size_t width) {
    constexpr unsigned kLargest = (1u << Bits) - 1;
    for (size_t x = 0; x < width; ++x) {
        const unsigned shift = 8 - Bits - static_cast<unsigned>(x * Bits % 8);
        target[x] = static_cast<uint8>((source[x * Bits / 8] >> shift & kLargest) * (255 / kLargest));
    }
}

void takeAlphaRow(const uint8* source, uint8* target, size_t width) {
    for (size_t x = 0; x < width; ++x) target[x] = source[4 * x + 3];
}

RowFunction rowFunction(unsigned char pixelMode) {
    switch (pixelMode) {
    case FT_PIXEL_MODE_GRAY:
        return &copyRow;
    case FT_PIXEL_MODE_MONO:
        return &expandRow<1>;
    case FT_PIXEL_MODE_GRAY2:
        return &expandRow<2>;
    case FT_PIXEL_MODE_GRAY4:
        return &expandRow<4>;
    case FT_PIXEL_MODE_BGRA:
        return &takeAlphaRow;
    default:
        return nullptr;
    }
}

} // namespace

bool copyGlyphBitmap(const FT_Bitmap& bitmap, uint8* target, size_t targetPitch) {
    if (bitmap.rows == 0 || bitmap.width == 0) return true;
    const RowFunction copy = rowFunction(bitmap.pixel_mode);
    if (copy == nullptr || bitmap.buffer == nullptr) return false;
    // FreeType's buffer starts with the lowest address. With a negative pitch, that is the last row.
    const std::ptrdiff_t pitch = bitmap.pitch;
    const uint8* row = pitch < 0 ? bitmap.buffer - pitch * std::ptrdiff_t(bitmap.rows - 1) : bitmap.buffer;
    for (unsigned y = 0; y < bitmap.rows; ++y, row += pitch, target += targetPitch)
        copy(row, target, bitmap.width);
    return true;
}

} // namespace qel::internal
