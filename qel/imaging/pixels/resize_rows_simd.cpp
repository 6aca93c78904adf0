// Vector kernels of resizing by any factor.
#include <qel/imaging/pixels/resize_rows_p.h>

#include <qel/imaging/pixels/plain_pixels_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/resize_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <qel/imaging/pixels/simd_pixels.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

using Floats = hn::ScalableTag<float>;
using FloatInts = hn::RebindToSigned<Floats>;
using Quarter = hn::Rebind<uint8_t, Floats>;

size_t MixBytes(uint8_t* out, const float* a, const float* b, float fraction, size_t n) {
    const size_t step = hn::Lanes(Floats());
    const auto f = hn::Set(Floats(), fraction), half = hn::Set(Floats(), 0.5f), one = hn::Set(Floats(), 1.0f);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto from = hn::LoadU(Floats(), a + i);
        const auto mixed = hn::Add(from, hn::Mul(hn::Sub(hn::LoadU(Floats(), b + i), from), f));
        const auto whole = hn::ConvertTo(FloatInts(), mixed);
        const auto rest = hn::Sub(mixed, hn::ConvertTo(Floats(), whole));
        const auto up = hn::ConvertTo(FloatInts(), hn::IfThenElseZero(hn::Ge(rest, half), one));
        hn::StoreU(hn::DemoteTo(Quarter(), hn::Add(whole, up)), Quarter(), out + i);
    }
    return i;
}

/// Adds the weighted bytes of `count` rows, two rows at a time, to the sums. @param weights  of two rows
/// each.
size_t AddRows(int32_t* sums, const uint8_t* const* rows, const uint32_t* weights, size_t count, size_t n) {
    const Bytes d;
    const Shorts<Bytes> shorts;
    const Ints<Bytes> ints;
    const auto zero = hn::Zero(d);
    const size_t step = hn::Lanes(d), quarter = step / 4;
    size_t i = 0;
    for (; n - i >= step; i += step) {
        auto s0 = hn::LoadU(ints, sums + i), s1 = hn::LoadU(ints, sums + i + quarter);
        auto s2 = hn::LoadU(ints, sums + i + 2 * quarter), s3 = hn::LoadU(ints, sums + i + 3 * quarter);
        for (size_t row = 0; row < count; row += 2) {
            const auto weight = hn::BitCast(shorts, hn::Set(Longs<Bytes>(), weights[row / 2]));
            const auto a = QuartersToBlocks(d, hn::LoadU(d, rows[row] + i));
            const auto b = QuartersToBlocks(d, hn::LoadU(d, rows[row + 1] + i));
            const auto low = hn::InterleaveLower(d, a, b), high = hn::InterleaveUpper(d, a, b);
            const auto first = hn::InterleaveLower(d, low, zero), second = hn::InterleaveUpper(d, low, zero);
            const auto third = hn::InterleaveLower(d, high, zero),
                       fourth = hn::InterleaveUpper(d, high, zero);
            s0 = hn::Add(s0, SumPairs(d, hn::BitCast(shorts, first), weight));
            s1 = hn::Add(s1, SumPairs(d, hn::BitCast(shorts, second), weight));
            s2 = hn::Add(s2, SumPairs(d, hn::BitCast(shorts, third), weight));
            s3 = hn::Add(s3, SumPairs(d, hn::BitCast(shorts, fourth), weight));
        }
        hn::StoreU(s0, ints, sums + i);
        hn::StoreU(s1, ints, sums + i + quarter);
        hn::StoreU(s2, ints, sums + i + 2 * quarter);
        hn::StoreU(s3, ints, sums + i + 3 * quarter);
    }
    return i;
}

/// Writes the means of pixels of `Channels`. Pixels of three are written as four bytes, which the next pixel
/// repairs. @param Covered  the columns of each pixel if they are known, otherwise 0.
template <size_t Channels, size_t Covered>
HWY_INLINE size_t MeansOf(uint8_t* out, const MeanJob& job, size_t n) {
    constexpr size_t kWide = Channels == 3 ? 4 : Channels;
    const hn::CappedTag<double, kWide> doubles;
    const hn::Rebind<int32_t, decltype(doubles)> ints;
    const hn::Rebind<uint8_t, decltype(doubles)> bytes;
    const size_t covered = Covered == 0 ? job.covered : Covered;
    const auto add = hn::Set(doubles, job.rounding), factor = hn::Set(doubles, job.inverse);
    const size_t end = kWide == Channels || n == 0 ? n : n - 1;
    const double* weights = job.weights;
    for (size_t x = 0; x < end; ++x, weights += covered) {
        for (size_t c = 0; c < kWide; c += hn::Lanes(doubles)) {
            const int32_t* in = job.sums + size_t{job.first[x]} * Channels + c;
            auto sum = add;
            for (size_t k = 0; k < covered; ++k) {
                const auto value = hn::PromoteTo(doubles, hn::LoadU(ints, in + k * Channels));
                sum = hn::Add(sum, hn::Mul(value, hn::Set(doubles, weights[k])));
            }
            const auto mean = hn::DemoteTo(ints, hn::Mul(sum, factor));
            hn::StoreU(hn::DemoteTo(bytes, mean), bytes, out + x * Channels + c);
        }
    }
    return end;
}

template <size_t Channels>
HWY_INLINE size_t MeansOfCovers(uint8_t* out, const MeanJob& job, size_t n) {
    switch (job.covered) {
    case 2:
        return MeansOf<Channels, 2>(out, job, n);
    case 3:
        return MeansOf<Channels, 3>(out, job, n);
    case 4:
        return MeansOf<Channels, 4>(out, job, n);
    case 5:
        return MeansOf<Channels, 5>(out, job, n);
    default:
        return MeansOf<Channels, 0>(out, job, n);
    }
}

size_t Means(uint8_t* out, const MeanJob& job, size_t channels, size_t n) {
    switch (channels) {
    case 1:
        return MeansOfCovers<1>(out, job, n);
    case 2:
        return MeansOfCovers<2>(out, job, n);
    case 3:
        return MeansOfCovers<3>(out, job, n);
    default:
        return MeansOfCovers<4>(out, job, n);
    }
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>
#include <array>

namespace qel::internal {

QEL_SIMD_TABLE(MixBytes);
QEL_SIMD_TABLE(AddRows);
QEL_SIMD_TABLE(Means);

void rowMixBytes(uint8* out, const float* a, const float* b, float fraction, size_t n) {
    for (size_t i = g_MixBytes(out, a, b, fraction, n); i < n; ++i) {
        const float step = (b[i] - a[i]) * fraction;
        out[i] = static_cast<uint8>(roundClamped(a[i] + step, 255));
    }
}

void rowWeightedSums(int32* sums, const uint8* const* rows, const uint16* weights, size_t count, size_t n) {
    constexpr size_t kRowsAtOnce = 8; // more would be more streams than a processor follows
    std::fill_n(sums, n, 0);
    for (size_t begin = 0; begin < count; begin += kRowsAtOnce) {
        const size_t end = std::min(count, begin + kRowsAtOnce);
        std::array<uint32, kRowsAtOnce / 2> pairs{};
        std::array<const uint8*, kRowsAtOnce> chosen;
        for (size_t k = 0; k < kRowsAtOnce; ++k) chosen[k] = rows[std::min(begin + k, end - 1)];
        for (size_t k = begin; k < end; ++k)
            pairs[(k - begin) / 2] |= uint32{weights[k]} << ((k - begin) % 2 * 16);
        for (size_t i = g_AddRows(sums, chosen.data(), pairs.data(), end - begin, n); i < n; ++i)
            for (size_t k = begin; k < end; ++k) sums[i] += weights[k] * rows[k][i];
    }
}

// All numbers below 2^53 are exact. The quotient is rounded by half the weight; a quarter more keeps the
// product with the inverse, which is not exact, on the right side of every whole number.
void rowMeans(uint8* out, const int32* sums, const ColumnWeights& columns, size_t channels, double weight) {
    const MeanJob job{
        sums, columns.first.data(), columns.weights.data(), columns.covered, weight / 2 + 0.25, 1 / weight};
    const size_t n = columns.first.size();
    for (size_t x = g_Means(out, job, channels, n); x < n; ++x) {
        for (size_t c = 0; c < channels; ++c) {
            double sum = job.rounding;
            for (size_t k = 0; k < job.covered; ++k)
                sum += job.weights[x * job.covered + k] * sums[(job.first[x] + k) * channels + c];
            out[x * channels + c] = static_cast<uint8>(sum * job.inverse);
        }
    }
}

} // namespace qel::internal
#endif
