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

void convertBy(internal::RowFunction* row, uint32 width, uint32 height, Source source, Target target) {
    convertRows(width, height, source, target,
                [&](uint8* out, const uint8* in, uint64) { row(out, in, width); });
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
QEL_CONVERT_PLANE(copyImage_AXB_BXA, convertBy, internal::rowSwapEnds3)
QEL_CONVERT_PLANE(copyImage_AXBX_BXA, convertBy, internal::rowSwapEnds4To3)
QEL_CONVERT_PLANE(copyImage_AXBX_BXAX, convertBy, internal::rowSwapEnds4)
QEL_CONVERT_PLANE(convertImage_RGBA8_RGB8, convertBy, internal::rowFirstThree)
QEL_CONVERT_PLANE(convertImage_XXX8_L8, convertBy, internal::rowMeanOf3)
QEL_CONVERT_PLANE(convertImage_XXXA8_UInt8, convertBy, internal::rowMeanOf4)
QEL_CONVERT_PLANE(convertImage_XXXA8_UInt16, convertBy, internal::rowMean16Of4)
QEL_CONVERT_PLANE(convertImage_UInt8_RGB8, convertBy, internal::rowThreeTimes)
QEL_CONVERT_PLANE(convertImage_UInt16_RGB8, convertBy, internal::rowNineBitsToRgb)
QEL_CONVERT_PLANE(convertImage_UInt16_Flt32, convertBy, internal::rowWordToFloat)
QEL_CONVERT_PLANE(convertImage_Flt32_RGB8, convertBy, internal::rowFloatToRgb)
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
