// What the decoder has to know about the chunks of a PNG file before it decodes.
#pragma once

#include <qel/foundation/base/byte_span.h>
#include <qel/foundation/base/types.h>

namespace qel::internal {

/// The chunks of a file.
struct PngChunks {
    bool isSound = false;  ///< whether all chunks are whole and their checksums are right
    uint64 imageBytes = 0; ///< bytes of compressed pixels, over all chunks
};

/// Reads the chunks up to the end chunk.
PngChunks readPngChunks(ConstByteSpan file);

} // namespace qel::internal
