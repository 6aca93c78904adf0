// The checksums of a PNG file, tested before it is decoded.
#pragma once

#include <qel/foundation/base/byte_span.h>

namespace qel::internal {

/// Returns true if all chunks up to the end chunk are whole and their checksums are right.
bool hasSoundPngChunks(ConstByteSpan file);

} // namespace qel::internal
