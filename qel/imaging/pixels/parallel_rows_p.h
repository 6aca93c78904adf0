// Work on the rows and pixels of an image, split into parts that idle workers share.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/system/core/range_kernel.h>

#include <algorithm>

namespace qel::internal {

/// Images of fewer pixels than this stay on the calling thread: starting a worker costs as much.
inline constexpr uint64 kPixelsPerPart = 1 << 15;

/// Calls `run(begin, end)` for bands of rows that together cover 0 to @p rows.
/// @param width  pixels of a row, which decide whether sharing pays.
template <typename Run>
void forBandsOfRows(uint64 rows, uint64 width, const Run& run) {
    const uint64 worthwhile = std::min(rows, rows * width / kPixelsPerPart);
    if (worthwhile < 2) return run(uint64{0}, rows);
    RangeKernel<Run> kernel(rows, 0, static_cast<unsigned>(worthwhile), run);
    executeParts(kernel);
}

/// Calls `run(row, column, count)` for pieces of rows that together cover an image, in `pixels >> 13` parts.
template <typename Run>
void forPiecesOfRows(int width, int height, const Run& run) {
    const auto columns = static_cast<uint64>(width);
    const auto pieces = [&](uint64 begin, uint64 end) {
        while (begin < end) {
            const uint64 column = begin % columns;
            const uint64 count = std::min(end - begin, columns - column);
            run(static_cast<int>(begin / columns), static_cast<size_t>(column), static_cast<size_t>(count));
            begin += count;
        }
    };
    const uint64 pixels = columns * static_cast<uint64>(height);
    const auto parts = static_cast<unsigned>(std::min<uint64>(pixels >> 13, 0x7FFFFFFF));
    if (parts < 2) return pieces(0, pixels);
    RangeKernel<decltype(pieces)> kernel(pixels, parts, parts, pieces);
    executeParts(kernel);
}

} // namespace qel::internal
