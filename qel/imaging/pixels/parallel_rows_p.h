// Work on the rows and pixels of an image, split into parts that idle workers share.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/system/core/parallel_kernel.h>

#include <algorithm>

namespace qel::internal {

/// Runs all parts of @p kernel by System::execute, in which the calling thread takes part; without a System
/// all on the calling thread.
void executeParts(ParallelKernel& kernel, unsigned processors = 1);

/// Runs a function for equal shares of a range.
template <typename Run>
class RangeKernel final : public ParallelKernel {
public:
    /// Calls `run(begin, end)` for each of @p parts shares of 0 to @p count. @param parts  0 for as many as
    /// there are processors, but no more than @p mostParts.
    RangeKernel(uint64 count, unsigned parts, unsigned mostParts, const Run& run)
        : m_count(count), m_parts(parts), m_mostParts(mostParts), m_run(run) {}

    void prepare(unsigned& parts) override {
        if (m_parts == 0) m_parts = std::min(parts, m_mostParts);
        parts = m_parts;
    }
    void execute(unsigned index) override {
        m_run(m_count * index / m_parts, m_count * (index + uint64{1}) / m_parts);
    }

private:
    const uint64 m_count;
    unsigned m_parts;
    const unsigned m_mostParts;
    const Run& m_run;
};

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
