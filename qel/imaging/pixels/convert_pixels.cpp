// The conversions of single planes.
#include <qel/imaging/pixels/dither_rows_p.h>
#include <qel/imaging/pixels/image_conversion.h>
#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/pixel_rows_p.h>
#include <qel/imaging/pixels/plane_view_p.h>

#include <cstring>

namespace qel::util {

using internal::Dithered;
using internal::Source;
using internal::Target;

namespace {

/// Calls `convert(out, in, y)` for each row; large images are shared with idle workers.
template <typename Convert>
void convertRows(uint32 width, uint32 height, Source source, Target target, const Convert& convert) {
    internal::forBandsOfRows(height, width, [&](uint64 begin, uint64 end) {
        for (uint64 y = begin; y < end; ++y) convert(target.row(y), source.row(y), y);
    });
}

/// A conversion of rows, and the bytes of its pixels.
struct Row {
    internal::RowFunction* convert;
    int64 in, out;
};

/// Converts bands of rows; rows that follow one another without a gap are converted as one.
void convertBy(const Row& row, uint32 width, uint32 height, Source source, Target target) {
    const bool isPacked = source.pitch == row.in * width && target.pitch == row.out * width;
    internal::forBandsOfRows(height, width, [&](uint64 begin, uint64 end) {
        if (isPacked) return row.convert(target.row(begin), source.row(begin), width * (end - begin));
        for (uint64 y = begin; y < end; ++y) row.convert(target.row(y), source.row(y), width);
    });
}

void ditherBy(internal::DitherRowFunction* row, Dithered format, uint32 width, uint32 height, Source source,
              Target target) {
    convertRows(width, height, source, target, [&](uint8* out, const uint8* in, uint64 y) {
        row(out, in, width, internal::ditherLanes(format, y));
    });
}

void copyRows(size_t pixelBytes, uint32 width, uint32 height, Source source, Target target) {
    if (width == 0) return;
    convertRows(width, height, source, target,
                [&](uint8* out, const uint8* in, uint64) { std::memmove(out, in, pixelBytes * width); });
}

constexpr Row kSwapEnds3{internal::rowSwapEnds3, 3, 3};
constexpr Row kSwapEnds4To3{internal::rowSwapEnds4To3, 4, 3};
constexpr Row kSwapEnds4{internal::rowSwapEnds4, 4, 4};
constexpr Row kFirstThree{internal::rowFirstThree, 4, 3};
constexpr Row kMeanOf3{internal::rowMeanOf3, 3, 1};
constexpr Row kMeanOf4{internal::rowMeanOf4, 4, 1};
constexpr Row kMean16Of4{internal::rowMean16Of4, 4, 2};
constexpr Row kThreeTimes{internal::rowThreeTimes, 1, 3};
constexpr Row kNineBitsToRgb{internal::rowNineBitsToRgb, 2, 3};
constexpr Row kWordToFloat{internal::rowWordToFloat, 2, 4};
constexpr Row kFloatToRgb{internal::rowFloatToRgb, 4, 3};

} // namespace

/// Defines a ConvertPlane by a call that ends with the parameters of all.
#define QEL_CONVERT_PLANE(NAME, CALL, ...)                                                                   \
    void NAME(uint32 width, uint32 height, const uint8* source, int32 sourcePitch, uint8* target,            \
              int32 targetPitch) {                                                                           \
        CALL(__VA_ARGS__, width, height, Source{source, sourcePitch}, Target{target, targetPitch});          \
    }

QEL_CONVERT_PLANE(copyImage_XX, copyRows, 2)
QEL_CONVERT_PLANE(copyImage_XXX, copyRows, 3)
QEL_CONVERT_PLANE(copyImage_XXXX, copyRows, 4)
QEL_CONVERT_PLANE(copyImage_XXX8X16, copyRows, 5)
QEL_CONVERT_PLANE(copyImage_AXB_BXA, convertBy, kSwapEnds3)
QEL_CONVERT_PLANE(copyImage_AXBX_BXA, convertBy, kSwapEnds4To3)
QEL_CONVERT_PLANE(copyImage_AXBX_BXAX, convertBy, kSwapEnds4)
QEL_CONVERT_PLANE(convertImage_RGBA8_RGB8, convertBy, kFirstThree)
QEL_CONVERT_PLANE(convertImage_XXX8_L8, convertBy, kMeanOf3)
QEL_CONVERT_PLANE(convertImage_XXXA8_UInt8, convertBy, kMeanOf4)
QEL_CONVERT_PLANE(convertImage_XXXA8_UInt16, convertBy, kMean16Of4)
QEL_CONVERT_PLANE(convertImage_UInt8_RGB8, convertBy, kThreeTimes)
QEL_CONVERT_PLANE(convertImage_UInt16_RGB8, convertBy, kNineBitsToRgb)
QEL_CONVERT_PLANE(convertImage_UInt16_Flt32, convertBy, kWordToFloat)
QEL_CONVERT_PLANE(convertImage_Flt32_RGB8, convertBy, kFloatToRgb)
QEL_CONVERT_PLANE(convertImage_RGB8_RGB565, ditherBy, internal::rowRgbTo565, Dithered::Rgb565)
QEL_CONVERT_PLANE(convertImage_BGR8_RGB565, ditherBy, internal::rowBgrTo565, Dithered::Rgb565)
QEL_CONVERT_PLANE(convertImage_RGBA8_RGB565, ditherBy, internal::rowRgbaTo565, Dithered::Rgb565)
QEL_CONVERT_PLANE(convertImage_BGRA8_RGB565, ditherBy, internal::rowBgraTo565, Dithered::Rgb565)
QEL_CONVERT_PLANE(convertImage_RGBA8_RGBA4, ditherBy, internal::rowRgbaTo4, Dithered::Rgba4)
QEL_CONVERT_PLANE(convertImage_BGRA8_RGBA4, ditherBy, internal::rowBgraTo4, Dithered::Rgba4)
QEL_CONVERT_PLANE(convertImage_RGBA8_RGBA5551, ditherBy, internal::rowRgbaTo5551, Dithered::Rgba5551)
QEL_CONVERT_PLANE(convertImage_BGRA8_RGBA5551, ditherBy, internal::rowBgraTo5551, Dithered::Rgba5551)

#undef QEL_CONVERT_PLANE

namespace {

/// Splits pixels of `Value` bytes and a 16-bit overlay word into two planes.
template <size_t Value>
void splitOverlay(uint32 width, uint32 height, Source source, Target values, Target overlay) {
    convertRows(width, height, source, values, [&](uint8* out, const uint8* in, uint64 y) {
        uint8* words = overlay.row(y);
        for (size_t x = 0; x < width; ++x) {
            std::memcpy(out + x * Value, in + x * (Value + 2), Value);
            std::memcpy(words + x * 2, in + x * (Value + 2) + Value, 2);
        }
    });
}

} // namespace

void convertImage_RGB8O16_MP_RGB8_O16(uint32 width, uint32 height, const uint8* source, int32 sourcePitch,
                                      uint8* rgb, int32 rgbPitch, uint8* overlay, int32 overlayPitch) {
    splitOverlay<3>(width, height, {source, sourcePitch}, {rgb, rgbPitch}, {overlay, overlayPitch});
}

void convertImage_UInt16O16_MP_UInt16_O16(uint32 width, uint32 height, const uint8* source, int32 sourcePitch,
                                          uint8* value, int32 valuePitch, uint8* overlay,
                                          int32 overlayPitch) {
    splitOverlay<2>(width, height, {source, sourcePitch}, {value, valuePitch}, {overlay, overlayPitch});
}

} // namespace qel::util
