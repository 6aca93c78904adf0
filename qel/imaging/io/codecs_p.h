// The file formats of pictures: one function per format and direction.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/foundation/base/byte_span.h>
#include <qel/imaging/pixels/image.h>

namespace qel::internal {

/// What became of a file.
enum class Decoded {
    Yes,   ///< the image holds the picture
    No,    ///< the file is of this format and cannot be decoded, which has been reported
    Other, ///< the file is of another format
};

/// Returns whether a picture of this size may be decoded from @p fileSize bytes.
bool isDecodable(uint64 width, uint64 height, uint64 fileSize);
/// Sets the most pixels that may be decoded.
void setMaxDecodedPixels(uint64 pixels);

/// Decodes a WebP file to RGB8 or RGBA8. @param image  uninitialised.
Decoded decodeWebP(ConstByteSpan file, Image& image);
/// Decodes a PNG file to RGBA8, and prints an error on standard output. @param image  uninitialised.
bool decodePng(ConstByteSpan file, Image& image);

// The encoders take packed rows of RGB8, RGBA8, BGR8 or BGRA8 as stated, and leave @p out alone when they
// fail.

/// Encodes RGB8 or RGBA8.
bool encodePng(const Image& image, Buffer& out);
/// Encodes RGB8, RGBA8, BGR8 or BGRA8, lossy with a quality of 70.
bool encodeWebP(const Image& image, Buffer& out);
/// Encodes BGR8 or BGRA8.
bool encodeBmp(const Image& image, Buffer& out);

} // namespace qel::internal
