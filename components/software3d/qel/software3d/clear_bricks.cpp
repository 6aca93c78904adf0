// Blocks of voxels that rays skip.
#include <qel/software3d/parallel_p.h>
#include <qel/software3d/volume_draw_p.h>

#include <algorithm>

namespace qel::internal {
namespace {

/// Interpolated values may leave the range of their voxels by the rounding of floats.
constexpr float kRoundingMargin = 0.0625f;
/// Distances are limited to one more than this.
constexpr int kGrowths = 7;

/// Replaces each number by the least of itself and both neighbours on a line. Neighbours are @p step apart.
void takeLeast(uint8* first, size_t step, int count) {
    uint8 before = *first;
    for (int i = 0; i < count; ++i, first += step) {
        const uint8 here = *first;
        *first = std::min({before, here, i + 1 < count ? first[step] : here});
        before = here;
    }
}

/// Replaces each number by the least of the block of 3 by 3 by 3 around it.
void takeLeastOfNeighbours(Vector<uint8>& numbers, const IVec3<int>& count) {
    const size_t width = static_cast<size_t>(count.x), slice = width * static_cast<size_t>(count.y);
    uint8* const all = numbers.data();
    for (size_t row = 0; row < numbers.size(); row += width) takeLeast(all + row, 1, count.x);
    for (size_t z = 0; z < numbers.size(); z += slice)
        for (size_t x = 0; x < width; ++x) takeLeast(all + z + x, width, count.y);
    for (size_t i = 0; i < slice; ++i) takeLeast(all + i, slice, count.z);
}

void markClearBricks(VolumeDraw& draw) {
    const auto& bricks = draw.texture->getBricks();
    draw.clearDistance.resize(bricks.size());
    const auto layers = static_cast<unsigned>(draw.texture->getBrickCount().z);
    const size_t layer = bricks.size() / layers;
    runPieces(layers, [&](unsigned z) {
        for (size_t i = z * layer; i < (z + 1) * layer; ++i) {
            const float low = draw.coordinate(static_cast<float>(bricks[i].minimum) - kRoundingMargin);
            const float high = draw.coordinate(static_cast<float>(bricks[i].maximum) + kRoundingMargin);
            draw.clearDistance[i] = draw.colors->isClear(low, high, draw.usesMeans);
        }
    });
}

} // namespace

void findClearBricks(VolumeDraw& draw) {
    // The values at the ends of a segment may be in different blocks. Neighbouring blocks share values, so
    // that the diagonal is clear between the values of two clear ones.
    if (!draw.colors->texels(draw.usesMeans).followsDiagonal) return;
    markClearBricks(draw);
    for (int i = 0; i < kGrowths; ++i) {
        Vector<uint8> least = draw.clearDistance;
        takeLeastOfNeighbours(least, draw.texture->getBrickCount());
        for (size_t k = 0; k < least.size(); ++k)
            if (draw.clearDistance[k] != 0) draw.clearDistance[k] = static_cast<uint8>(least[k] + 1);
    }
}

} // namespace qel::internal
