// Plain loops, which the compiler turns into the vectors of each target. Integers add up to the same sum in
// any order.
#include <qel/imaging/io/png_filter_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/io/png_filter_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

/// The absolute value of a byte read as signed.
HWY_INLINE uint32_t Magnitude(int difference) {
    const int byte = difference & 255;
    return static_cast<uint32_t>(byte < 128 ? byte : 256 - byte);
}

HWY_INLINE int Absolute(int v) {
    return v < 0 ? -v : v;
}

/// The neighbour nearest to left + above - corner.
HWY_INLINE int Paeth(int left, int above, int corner) {
    const int a = Absolute(above - corner), b = Absolute(left - corner),
              c = Absolute(left + above - 2 * corner);
    const int nearer = b <= c ? above : corner;
    return a <= b && a <= c ? left : nearer;
}

/// Sums a piece of a row, short enough for 32 bits.
void SumPiece(const uint8_t* row, const uint8_t* left, const uint8_t* above, const uint8_t* corner, size_t n,
              uint64_t* sums) {
    uint32_t none = 0, sub = 0, up = 0, mean = 0, paeth = 0;
    for (size_t i = 0; i < n; ++i) {
        const int x = row[i], a = left[i], b = above[i], c = corner[i];
        none += Magnitude(x);
        sub += Magnitude(x - a);
        up += Magnitude(x - b);
        mean += Magnitude(x - (a + b) / 2);
        paeth += Magnitude(x - Paeth(a, b, c));
    }
    sums[0] += none;
    sums[1] += sub;
    sums[2] += up;
    sums[3] += mean;
    sums[4] += paeth;
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(SumPiece);

FilterSums sumFilteredBytes(const uint8* row, const uint8* above, size_t n, size_t pixelBytes) {
    constexpr size_t kPiece = 1 << 20; // 128 times as much stays below 2^32
    constexpr uint8 kZeros[4] = {};
    FilterSums result{};
    const size_t first = std::min(n, pixelBytes);
    g_SumPiece(row, kZeros, above, kZeros, first, result.sums);
    for (size_t i = first; i < n; i += kPiece)
        g_SumPiece(row + i, row + i - pixelBytes, above + i, above + i - pixelBytes, std::min(n - i, kPiece),
                   result.sums);
    return result;
}

std::vector<uint8> choosePngFilters(const Image& image) {
    const size_t bytes = static_cast<size_t>(util::getFormatSizeBits(image.getImageFormat())) / 8;
    const size_t n = bytes * static_cast<size_t>(image.getWidth());
    const std::vector<uint8> zeros(n);
    std::vector<uint8> filters;
    for (int y = 0; y < image.getHeight(); ++y) {
        const uint8* above = y > 0 ? image.getBytePointer(y - 1) : zeros.data();
        const FilterSums sums = sumFilteredBytes(image.getBytePointer(y), above, n, bytes);
        filters.push_back(static_cast<uint8>(std::min_element(sums.sums, sums.sums + 5) - sums.sums));
    }
    return filters;
}

} // namespace qel::internal
#endif
