// Vector kernels of quarter turns.
#include <qel/imaging/pixels/turn_tiles_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/turn_tiles_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/cache_control.h>
#include <qel/imaging/pixels/simd_pixels.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

/// Loads one block from each of several rows that are @p step bytes apart.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t* in, int64_t step) {
    if constexpr (hn::MaxLanes(D()) == 16) {
        return hn::LoadU(d, in);
    } else {
        const hn::Half<D> half;
        constexpr int64_t kHalfOfBlocks = hn::MaxLanes(half) / 16;
        return hn::Combine(d, LoadBlocks(half, in + kHalfOfBlocks * step, step), LoadBlocks(half, in, step));
    }
}

/// Exchanges rows and columns of lanes in each block of the vectors. A block has one lane per vector.
template <typename Lane>
HWY_INLINE void Transpose(hn::Vec<HalfLine>* vectors) {
    constexpr size_t kLanes = 16 / sizeof(Lane);
    const hn::Repartition<Lane, HalfLine> lanes;
    for (size_t round = kLanes; round > 1; round /= 2) {
        hn::Vec<HalfLine> mixed[kLanes];
        for (size_t i = 0; i < kLanes / 2; ++i) {
            const auto a = hn::BitCast(lanes, vectors[i]), b = hn::BitCast(lanes, vectors[i + kLanes / 2]);
            mixed[2 * i] = hn::BitCast(HalfLine(), hn::InterleaveLower(lanes, a, b));
            mixed[2 * i + 1] = hn::BitCast(HalfLine(), hn::InterleaveUpper(lanes, a, b));
        }
        for (size_t i = 0; i < kLanes; ++i) vectors[i] = mixed[i];
    }
}

/// Copies a vector to each of as many rows as a block has lanes.
template <typename Lane>
HWY_INLINE void TurnVectors(uint8_t* out, int64_t outPitch, const uint8_t* in, int64_t inStep) {
    constexpr int64_t kLanes = 16 / sizeof(Lane);
    hn::Vec<HalfLine> vectors[kLanes];
    for (int64_t i = 0; i < kLanes; ++i)
        vectors[i] = LoadBlocks(HalfLine(), in + i * inStep, kLanes * inStep);
    Transpose<Lane>(vectors);
    for (int64_t i = 0; i < kLanes; ++i) hn::StoreU(vectors[i], HalfLine(), out + i * outPitch);
}

/// Copies squares of 64 bytes a side, so that each line of both caches is used as a whole.
template <typename Lane>
HWY_INLINE size_t TurnLanes(uint8_t* out, int64_t outPitch, const uint8_t* in, int64_t inStep, size_t width) {
    constexpr size_t kTile = kTileBytes / sizeof(Lane), kStep = hn::MaxLanes(HalfLine()) / sizeof(Lane);
    constexpr int64_t kRows = 16 / sizeof(Lane);
    size_t x = 0;
    for (; width - x >= kTile; x += kTile) {
        // No processor guesses the next lines of the source: each is in another row.
        if (width - x >= 3 * kTile)
            for (size_t i = x + 2 * kTile; i < x + 3 * kTile; ++i)
                hwy::Prefetch(in + static_cast<int64_t>(i) * inStep);
        for (int64_t y = 0; y < int64_t{kTile}; y += kRows)
            for (size_t i = x; i < x + kTile; i += kStep)
                TurnVectors<Lane>(
                    out + y * outPitch + static_cast<int64_t>(i * sizeof(Lane)), outPitch,
                    in + y * static_cast<int64_t>(sizeof(Lane)) + static_cast<int64_t>(i) * inStep, inStep);
    }
    return x;
}

size_t TurnTile(uint8_t* out, int64_t outPitch, const uint8_t* in, int64_t inStep, size_t width,
                size_t pixelBytes) {
    switch (pixelBytes) {
    case 1:
        return TurnLanes<uint8_t>(out, outPitch, in, inStep, width);
    case 2:
        return TurnLanes<uint16_t>(out, outPitch, in, inStep, width);
    case 4:
        return TurnLanes<uint32_t>(out, outPitch, in, inStep, width);
    case 8:
        return TurnLanes<uint64_t>(out, outPitch, in, inStep, width);
    default:
        return 0;
    }
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(TurnTile);

size_t turnTile(const TurnedTile& tile, size_t pixelBytes) {
    return g_TurnTile(tile.out, tile.outPitch, tile.in, tile.inStep, tile.width, pixelBytes);
}

} // namespace qel::internal
#endif
