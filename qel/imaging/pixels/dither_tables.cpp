#include <qel/imaging/pixels/dither_rows_p.h>

namespace qel::internal {
namespace {

/// The Bayer matrix of 8 by 8 thresholds.
constexpr uint8 kThresholds[8][8] = {
    {0, 32, 8, 40, 2, 34, 10, 42},    {48, 16, 56, 24, 50, 18, 58, 26}, {12, 44, 4, 36, 14, 46, 6, 38},
    {60, 28, 52, 20, 62, 30, 54, 22}, {3, 35, 11, 43, 1, 33, 9, 41},    {51, 19, 59, 27, 49, 17, 57, 25},
    {15, 47, 7, 39, 13, 45, 5, 37},   {63, 31, 55, 23, 61, 29, 53, 21},
};

using DitherTable = std::array<DitherLanes, 8>;

/// Scales a threshold of 0 to 63 for a channel that loses @p lostBits bits of a byte.
constexpr uint8 scaled(uint8 threshold, int lostBits) {
    return static_cast<uint8>(lostBits <= 6 ? threshold >> (6 - lostBits) : threshold << (lostBits - 6));
}

/// Each channel reads the matrix in a direction of its own, so that their patterns differ.
constexpr DitherTable makeTable(int red, int green, int blue, int alpha) {
    DitherTable table{};
    for (size_t y = 0; y < 8; ++y)
        for (size_t x = 0; x < 8; ++x)
            table[y][x] = {scaled(kThresholds[y][x], red), scaled(kThresholds[7 - y][x], green),
                           scaled(kThresholds[y][7 - x], blue), scaled(kThresholds[7 - y][7 - x], alpha)};
    return table;
}

constexpr DitherTable kTables[] = {
    makeTable(3, 2, 3, 0),
    makeTable(4, 4, 4, 4),
    // The alpha bit is set from 128 on, lanes of 0 to 252 included: every second pixel of a transparent area
    // gets it, and every pixel of an alpha of 128 or more.
    makeTable(3, 3, 3, 8),
};

} // namespace

const DitherLanes& ditherLanes(Dithered format, uint64 y) {
    return kTables[static_cast<size_t>(format)][y & 7];
}

} // namespace qel::internal
