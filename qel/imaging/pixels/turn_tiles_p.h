// Quarter turns of tiles, by the vectors of the machine.
#pragma once

#include <qel/foundation/base/types.h>

namespace qel::internal {

/// The pixels of a tile of the target, as places in the memory of both images.
struct TurnedTile {
    uint8* out;      ///< the first pixel of the target
    int64 outPitch;  ///< bytes from one row of the target to the next
    const uint8* in; ///< the source of the first pixel; that of the pixel below is the next in memory
    int64 inStep;    ///< bytes to the source of the next pixel of the same row
    size_t width;    ///< pixels of a row of the target
};

/// Bytes of a row of the source that become a column of a tile.
inline constexpr size_t kTileBytes = 64;

/// Copies the first pixels of `kTileBytes / pixelBytes` rows of the target.
/// @param pixelBytes  1, 2, 4 or 8; nothing is copied for other sizes.
/// @return the number of pixels of each row that were copied.
size_t turnTile(const TurnedTile& tile, size_t pixelBytes);

} // namespace qel::internal
