// Conversions between pixel formats on plain memory, one function per pair of formats.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel::util {

// All functions take width and height in pixels, then the planes of the source and those of the target, each
// with the bytes from one row to the next. Nothing needs to be aligned. A source and a target of the same
// memory are allowed if their pixels have the same size. Any number of threads may call them at once; large
// images are shared with idle workers.
//
// Names: convertImage_ changes how a pixel is represented, copyImage_ only moves bytes. X, A and B denote
// bytes that are carried through or exchanged, XXX8 for three 8-bit channels, XXXA8 for four of which the
// last is ignored. A digit after a letter is the subsampling of that plane. MP marks the form with several
// planes.

/// A conversion of one plane to one plane.
using ConvertPlane = void(uint32 width, uint32 height, const uint8* source, int32 sourcePitch, uint8* target,
                          int32 targetPitch);

QEL_API ConvertPlane copyImage_XX;              ///< Copies 16-bit pixels.
QEL_API ConvertPlane copyImage_XXX;             ///< Copies 24-bit pixels.
QEL_API ConvertPlane copyImage_XXXX;            ///< Copies 32-bit pixels.
QEL_API ConvertPlane copyImage_XXX8X16;         ///< Copies 40-bit pixels.
QEL_API ConvertPlane copyImage_AXB_BXA;         ///< Converts between RGB8 and BGR8.
QEL_API ConvertPlane copyImage_AXBX_BXA;        ///< Converts BGRA8 to RGB8, or RGBA8 to BGR8.
QEL_API ConvertPlane copyImage_AXBX_BXAX;       ///< Converts between RGBA8 and BGRA8.
QEL_API ConvertPlane convertImage_RGBA8_RGB8;   ///< Drops alpha.
QEL_API ConvertPlane convertImage_XXX8_L8;      ///< Computes the mean of three channels.
QEL_API ConvertPlane convertImage_XXXA8_UInt8;  ///< Computes the mean of the first three of four channels.
QEL_API ConvertPlane convertImage_XXXA8_UInt16; ///< Computes the same mean in 16 bits.
QEL_API ConvertPlane convertImage_UInt8_RGB8;   ///< Writes the value to all three channels.
QEL_API ConvertPlane
    convertImage_UInt16_RGB8; ///< Writes half of the value, at most 255, to all three channels.
QEL_API ConvertPlane convertImage_UInt16_Flt32; ///< Scales 0 to 65535 to 0 to 1.
QEL_API ConvertPlane convertImage_Flt32_RGB8;   ///< Rounds 0 to 1 to 0 to 255 in all channels; NaN becomes 0.
QEL_API ConvertPlane convertImage_RGB8_RGB565;  ///< Dithers RGB8 to 16 bits.
QEL_API ConvertPlane convertImage_BGR8_RGB565;  ///< Dithers BGR8 to 16 bits.
QEL_API ConvertPlane convertImage_RGBA8_RGB565; ///< Dithers RGBA8 to 16 bits without alpha.
QEL_API ConvertPlane convertImage_BGRA8_RGB565; ///< Dithers BGRA8 to 16 bits without alpha.
QEL_API ConvertPlane convertImage_RGBA8_RGBA4;  ///< Dithers RGBA8 to four times 4 bits.
QEL_API ConvertPlane convertImage_BGRA8_RGBA4;  ///< Dithers BGRA8 to four times 4 bits.
/// Dithers RGBA8 to three times 5 bits and one of alpha. The lane of alpha reaches 252, so that every second
/// pixel of a fully transparent area gets the alpha bit.
QEL_API ConvertPlane convertImage_RGBA8_RGBA5551;
/// Dithers BGRA8 as convertImage_RGBA8_RGBA5551 does.
QEL_API ConvertPlane convertImage_BGRA8_RGBA5551;

/// Splits 5-byte pixels into colours and overlay words.
QEL_API void convertImage_RGB8O16_MP_RGB8_O16(uint32 width, uint32 height, const uint8* source,
                                              int32 sourcePitch, uint8* rgb, int32 rgbPitch, uint8* overlay,
                                              int32 overlayPitch);
/// Splits 4-byte pixels into values and overlay words.
QEL_API void convertImage_UInt16O16_MP_UInt16_O16(uint32 width, uint32 height, const uint8* source,
                                                  int32 sourcePitch, uint8* value, int32 valuePitch,
                                                  uint8* overlay, int32 overlayPitch);

// Conversions to and from YUV work on pairs of rows: the last row of an odd height is not written.

/// Converts RGBA8 to Y1U2V2, full range. Chroma is that of the odd pixel of the odd row. A column left over
/// by an odd width is written where the chroma pitch exceeds `width >> 1`, from its even pixel.
QEL_API void convertImage_RGBA8_Y1U2V2(uint32 width, uint32 height, const uint8* source, int32 sourcePitch,
                                       uint8* y, int32 yPitch, uint8* u, int32 uPitch, uint8* v,
                                       int32 vPitch);
/// Converts BGRA8 to Y1U2V2, video range. Chroma is that of the mean of 2 by 2 pixels; in a column left over
/// by an odd width, which is written where the chroma pitch exceeds `width >> 1`, of two.
QEL_API void convertImage_BGRA8_Y1U2V2(uint32 width, uint32 height, const uint8* source, int32 sourcePitch,
                                       uint8* y, int32 yPitch, uint8* u, int32 uPitch, uint8* v,
                                       int32 vPitch);

/// A conversion of three planes to one. The last pixel of an odd row reads chroma column `width >> 1` where
/// the pitch exceeds it, and otherwise the last column; with no column at all chroma is 128.
using ConvertThreePlanes = void(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* u,
                                int32 uPitch, const uint8* v, int32 vPitch, uint8* target, int32 targetPitch);

QEL_API ConvertThreePlanes convertImage_Y1U2V2_RGB8;  ///< Converts full range to RGB8.
QEL_API ConvertThreePlanes convertImage_Y1U2V2_RGBA8; ///< Converts full range to RGBA8 with alpha 255.
QEL_API ConvertThreePlanes convertImage_Y1U2V2_BGRA8; ///< Converts video range to BGRA8 with alpha 255.

/// A conversion of two planes to two: luma, and interleaved chroma of half the width and height.
using ConvertTwoPlanes = void(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* chroma,
                              int32 chromaPitch, uint8* targetY, int32 targetYPitch, uint8* targetChroma,
                              int32 targetChromaPitch);

QEL_API ConvertTwoPlanes copyImage_X1XX2;       ///< Copies both planes; all rows of luma.
QEL_API ConvertTwoPlanes copyImage_X1AB2_X1BA2; ///< Copies luma and exchanges the bytes of each chroma pair.

/// Copies three planes; all rows of luma.
QEL_API void copyImage_X1X2X2(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* a,
                              int32 aPitch, const uint8* b, int32 bPitch, uint8* targetY, int32 targetYPitch,
                              uint8* targetA, int32 targetAPitch, uint8* targetB, int32 targetBPitch);
/// Copies luma and interleaves chroma, in pairs of rows.
QEL_API void copyImage_X1A2B2_X1AB2(uint32 width, uint32 height, const uint8* y, int32 yPitch, const uint8* a,
                                    int32 aPitch, const uint8* b, int32 bPitch, uint8* targetY,
                                    int32 targetYPitch, uint8* targetAB, int32 targetABPitch);
/// Copies luma and splits chroma, in pairs of rows.
QEL_API void copyImage_X1AB2_X1A2B2(uint32 width, uint32 height, const uint8* y, int32 yPitch,
                                    const uint8* ab, int32 abPitch, uint8* targetY, int32 targetYPitch,
                                    uint8* targetA, int32 targetAPitch, uint8* targetB, int32 targetBPitch);

} // namespace qel::util
