// FormatID: the pixel formats of an Image, and what is known about each.
#pragma once

#include <qel/platform/api.h>

namespace qel {

/// The format of an Image or of one of its planes. The numbers are fixed: log lines state them.
///
/// Numeric formats have one to four channels of one component type, such as UInt8x3. Multi-byte components
/// have the byte order of the machine and need not be aligned.
enum FormatID : int {
    UnknownFormat = 0, ///< no format

    Int8 = 101,   ///< one channel, signed 8 bits
    UInt8 = 102,  ///< one channel, unsigned 8 bits
    Int16 = 103,  ///< one channel, signed 16 bits
    UInt16 = 104, ///< one channel, unsigned 16 bits
    Int32 = 105,  ///< one channel, signed 32 bits
    UInt32 = 106, ///< one channel, unsigned 32 bits
    Int64 = 107,  ///< one channel, signed 64 bits
    UInt64 = 108, ///< one channel, unsigned 64 bits
    Flt32 = 109,  ///< one channel, single precision
    Flt64 = 110,  ///< one channel, double precision

    Int8x2 = 121,   ///< two channels, signed 8 bits each
    UInt8x2 = 122,  ///< two channels, unsigned 8 bits each
    Int16x2 = 123,  ///< two channels, signed 16 bits each
    UInt16x2 = 124, ///< two channels, unsigned 16 bits each
    Int32x2 = 125,  ///< two channels, signed 32 bits each
    UInt32x2 = 126, ///< two channels, unsigned 32 bits each
    Int64x2 = 127,  ///< two channels, signed 64 bits each
    UInt64x2 = 128, ///< two channels, unsigned 64 bits each
    Flt32x2 = 129,  ///< two channels, single precision
    Flt64x2 = 130,  ///< two channels, double precision

    Int8x3 = 141,   ///< three channels, signed 8 bits each
    UInt8x3 = 142,  ///< three channels, unsigned 8 bits each
    Int16x3 = 143,  ///< three channels, signed 16 bits each
    UInt16x3 = 144, ///< three channels, unsigned 16 bits each
    Int32x3 = 145,  ///< three channels, signed 32 bits each
    UInt32x3 = 146, ///< three channels, unsigned 32 bits each
    Int64x3 = 147,  ///< three channels, signed 64 bits each
    UInt64x3 = 148, ///< three channels, unsigned 64 bits each
    Flt32x3 = 149,  ///< three channels, single precision
    Flt64x3 = 150,  ///< three channels, double precision

    Int8x4 = 161,   ///< four channels, signed 8 bits each
    UInt8x4 = 162,  ///< four channels, unsigned 8 bits each
    Int16x4 = 163,  ///< four channels, signed 16 bits each
    UInt16x4 = 164, ///< four channels, unsigned 16 bits each
    Int32x4 = 165,  ///< four channels, signed 32 bits each
    UInt32x4 = 166, ///< four channels, unsigned 32 bits each
    Int64x4 = 167,  ///< four channels, signed 64 bits each
    UInt64x4 = 168, ///< four channels, unsigned 64 bits each
    Flt32x4 = 169,  ///< four channels, single precision
    Flt64x4 = 170,  ///< four channels, double precision

    L8 = 201,       ///< 8-bit luminance
    LA8 = 202,      ///< luminance byte, then alpha byte
    RGB8 = 203,     ///< bytes R, G, B
    RGBA8 = 204,    ///< bytes R, G, B, A
    A8 = 205,       ///< 8-bit alpha
    RGB565 = 206,   ///< one 16-bit word: R in bits 15 to 11, G in 10 to 5, B in 4 to 0
    RGBA4 = 207,    ///< one 16-bit word: R in bits 15 to 12, G in 11 to 8, B in 7 to 4, A in 3 to 0
    RGBA5551 = 208, ///< one 16-bit word: R in bits 15 to 11, G in 10 to 6, B in 5 to 1, A in bit 0
    BGRA8 = 209,    ///< bytes B, G, R, A
    BGR8 = 210,     ///< bytes B, G, R
    L16 = 212,      ///< 16-bit luminance, treated as UInt16
    X16 = 213,      ///< 16 bits, treated as L16 by resizing and by the software renderer

    RGB8O16 = 420,       ///< 5-byte pixels: bytes R, G, B, then a 16-bit overlay word
    MP_RGB8_O16 = 421,   ///< two planes: RGB8, and the overlay words as UInt16
    UInt16O16 = 422,     ///< 4-byte pixels: a 16-bit value, then a 16-bit overlay word
    MP_UInt16_O16 = 423, ///< two planes: UInt16, and the overlay words as UInt16

    Y1UV2 = 500,  ///< two planes: Y, and U and V interleaved at half the width and height
    Y1U2V2 = 501, ///< three planes: Y, U at half the width and height, V alike
    Y1V2U2 = 502, ///< three planes: Y, V at half the width and height, U alike
    Y1VU2 = 503,  ///< two planes: Y, and V and U interleaved at half the width and height
};

} // namespace qel

namespace qel::util {

/// Returns the bits of a pixel, summed over the planes; -1 for an unknown format.
QEL_API int getFormatSizeBits(FormatID format);
/// Returns the number of planes, 1 to 3; 1 for an unknown format.
QEL_API int getFormatPlanes(FormatID format);
/// Returns the number of channels of numeric formats, RGB8, RGB565, RGBA8, RGBA4 and RGBA5551; 1 for all
/// other formats, also for BGRA8, BGR8 and LA8, whose value must be tested instead.
QEL_API int getFormatChannels(FormatID format);
/// Returns the number of the format's JPEG-compressed form: 405 for RGB8, 406 for UInt16, 0 for all others.
/// No Image holds these forms.
QEL_API int selectJPEGCompressionFormat(FormatID format);

} // namespace qel::util
