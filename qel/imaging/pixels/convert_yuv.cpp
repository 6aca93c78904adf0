// The conversions of planes of YUV 4:2:0.
#include <qel/imaging/pixels/image_conversion.h>
#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/pixel_rows_p.h>
#include <qel/imaging/pixels/yuv_kernels_p.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace qel::util {

using internal::Source;
using internal::Target;
using internal::YuvPlanes;

namespace {

/// Returns the chroma columns that memory of these pitches has: one more than half of an odd width, if there
/// is room in both rows.
uint32 chromaColumns(uint32 width, int32 uPitch, int32 vPitch) {
    const uint32 half = width / 2;
    const auto room = static_cast<uint64>(std::min(std::abs(int64{uPitch}), std::abs(int64{vPitch})));
    return width % 2 != 0 && room > half ? half + 1 : half;
}

template <typename Kernel, typename From, typename To>
void run(uint32 width, uint32 height, const From& from, const To& to) {
    Kernel kernel(width, height, from, to);
    internal::executeParts(kernel);
}

/// Copies rows of @p bytes bytes by @p row.
void copyPlane(internal::RowFunction* row, size_t count, uint32 rows, Source source, Target target) {
    for (uint32 y = 0; y < rows; ++y) row(target.row(y), source.row(y), count);
}

void rowCopy(uint8* out, const uint8* in, size_t n) {
    if (n > 0) std::memmove(out, in, n);
}

} // namespace

void convertImage_RGBA8_Y1U2V2(uint32 width, uint32 height, const uint8* source, int32 sourcePitch, uint8* y,
                               int32 yPitch, uint8* u, int32 uPitch, uint8* v, int32 vPitch) {
    const uint32 columns = chromaColumns(width, uPitch, vPitch);
    run<internal::kernel_convertImage_RGBA8_Y1U2V2>(
        width, height, Source{source, sourcePitch},
        YuvPlanes<Target>{{y, yPitch}, {u, uPitch}, {v, vPitch}, columns});
}

void convertImage_BGRA8_Y1U2V2(uint32 width, uint32 height, const uint8* source, int32 sourcePitch, uint8* y,
                               int32 yPitch, uint8* u, int32 uPitch, uint8* v, int32 vPitch) {
    const uint32 columns = chromaColumns(width, uPitch, vPitch);
    run<internal::kernel_convertImage_BGRA8_Y1U2V2>(
        width, height, Source{source, sourcePitch},
        YuvPlanes<Target>{{y, yPitch}, {u, uPitch}, {v, vPitch}, columns});
}

/// Defines a ConvertThreePlanes by its kernel.
#define QEL_CONVERT_YUV(NAME)                                                                                \
    void NAME(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* u, int32 uPitch,       \
              const uint8* v, int32 vPitch, uint8* target, int32 targetPitch) {                              \
        const uint32 columns = chromaColumns(width, uPitch, vPitch);                                         \
        run<internal::kernel_##NAME>(width, height,                                                          \
                                     YuvPlanes<Source>{{y, yPitch}, {u, uPitch}, {v, vPitch}, columns},      \
                                     Target{target, targetPitch});                                           \
    }

QEL_CONVERT_YUV(convertImage_Y1U2V2_RGB8)
QEL_CONVERT_YUV(convertImage_Y1U2V2_RGBA8)
QEL_CONVERT_YUV(convertImage_Y1U2V2_BGRA8)

#undef QEL_CONVERT_YUV

void copyImage_X1XX2(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* chroma,
                     int32 chromaPitch, uint8* targetY, int32 targetYPitch, uint8* targetChroma,
                     int32 targetChromaPitch) {
    copyPlane(rowCopy, width, height, {y, yPitch}, {targetY, targetYPitch});
    copyPlane(rowCopy, width & ~1u, height / 2, {chroma, chromaPitch}, {targetChroma, targetChromaPitch});
}

void copyImage_X1AB2_X1BA2(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* chroma,
                           int32 chromaPitch, uint8* targetY, int32 targetYPitch, uint8* targetChroma,
                           int32 targetChromaPitch) {
    copyPlane(rowCopy, width, height, {y, yPitch}, {targetY, targetYPitch});
    copyPlane(internal::rowSwapPairs, width / 2, height / 2, {chroma, chromaPitch},
              {targetChroma, targetChromaPitch});
}

void copyImage_X1X2X2(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* a, int32 aPitch,
                      const uint8* b, int32 bPitch, uint8* targetY, int32 targetYPitch, uint8* targetA,
                      int32 targetAPitch, uint8* targetB, int32 targetBPitch) {
    copyPlane(rowCopy, width, height, {y, yPitch}, {targetY, targetYPitch});
    copyPlane(rowCopy, width / 2, height / 2, {a, aPitch}, {targetA, targetAPitch});
    copyPlane(rowCopy, width / 2, height / 2, {b, bPitch}, {targetB, targetBPitch});
}

void copyImage_X1A2B2_X1AB2(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* a,
                            int32 aPitch, const uint8* b, int32 bPitch, uint8* targetY, int32 targetYPitch,
                            uint8* targetAB, int32 targetABPitch) {
    run<internal::kernel_convertImage_Y1U2V2_Y1UV2>(
        width, height, YuvPlanes<Source>{{y, yPitch}, {a, aPitch}, {b, bPitch}},
        YuvPlanes<Target>{{targetY, targetYPitch}, {targetAB, targetABPitch}, {}});
}

void copyImage_X1AB2_X1A2B2(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* ab,
                            int32 abPitch, uint8* targetY, int32 targetYPitch, uint8* targetA,
                            int32 targetAPitch, uint8* targetB, int32 targetBPitch) {
    run<internal::kernel_convertImage_Y1UV2_Y1U2V2>(
        width, height, YuvPlanes<Source>{{y, yPitch}, {ab, abPitch}, {}},
        YuvPlanes<Target>{{targetY, targetYPitch}, {targetA, targetAPitch}, {targetB, targetBPitch}});
}

} // namespace qel::util
