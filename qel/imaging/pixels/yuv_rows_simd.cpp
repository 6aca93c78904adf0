// Vector kernels of the conversions between colours and YUV.
#include <qel/imaging/pixels/yuv_rows_p.h>

#include <qel/imaging/pixels/plain_yuv_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/yuv_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8_t>;
using Words = hn::RebindToSigned<hn::Repartition<uint16_t, Bytes>>;
using Longs = hn::Repartition<uint32_t, Bytes>;
using Ints = hn::RebindToSigned<Longs>;
using Quarter = hn::Rebind<uint8_t, Ints>;
using HalfBytes = hn::Rebind<uint8_t, Words>;

/// Returns @p bias plus the sums of the products of neighbouring 16-bit lanes.
HWY_INLINE auto SumPairs(hn::Vec<Words> a, hn::Vec<Words> b, int bias) {
    auto second = hn::Zero(Ints());
    const auto first = hn::ReorderWidenMulAccumulate(Ints(), a, b, hn::Zero(Ints()), second);
    return hn::Add(hn::RearrangeToOddPlusEven(first, second), hn::Set(Ints(), bias));
}

/// Returns the factors of the lower and the upper word of each long.
HWY_INLINE auto Factors(int lower, int upper) {
    const auto both = static_cast<uint32_t>(upper) << 16 | (static_cast<uint32_t>(lower) & 0xFFFF);
    return hn::BitCast(Words(), hn::Set(Longs(), both));
}

/// Splits pixels of four bytes into words of bytes 0 and 2, and of 1 and 3.
struct Split {
    hn::Vec<Words> ends, middle;

    HWY_INLINE explicit Split(hn::Vec<Longs> pixels)
        : ends(hn::BitCast(Words(), hn::And(pixels, hn::Set(Longs(), 0x00FF00FF)))),
          middle(hn::BitCast(Words(), hn::And(hn::ShiftRight<8>(pixels), hn::Set(Longs(), 0x00FF00FF)))) {}
};

/// Weighs bytes 0, 1 and 2 of each pixel.
template <int Shift>
HWY_INLINE auto Weigh(const Split& pixels, int first, int second, int third, int bias) {
    const auto sum = hn::Add(SumPairs(pixels.ends, Factors(first, third), bias),
                             SumPairs(pixels.middle, Factors(second, 0), 0));
    return hn::DemoteTo(Quarter(), hn::ShiftRight<Shift>(sum));
}

HWY_INLINE auto LoadPixels(const uint8_t* in) {
    return hn::BitCast(Longs(), hn::LoadU(Bytes(), in));
}

size_t FullChroma(uint8_t* u, uint8_t* v, const uint8_t*, const uint8_t* second, size_t pairs) {
    const size_t step = hn::Lanes(Ints());
    size_t i = 0;
    for (; pairs - i >= step; i += step) {
        const auto low = LoadPixels(second + 8 * i), high = LoadPixels(second + 8 * i + 4 * step);
        const Split pixels(hn::ConcatOdd(Longs(), high, low));
        hn::StoreU(Weigh<10>(pixels, -173, -339, 512, 257 * 512), Quarter(), u + i);
        hn::StoreU(Weigh<10>(pixels, 512, -429, -83, 257 * 512), Quarter(), v + i);
    }
    return i;
}

/// Sums the words of the even and of the odd pixels of two rows and divides by four.
HWY_INLINE auto MeanOfBlocks(hn::Vec<Words> lowFirst, hn::Vec<Words> lowSecond, hn::Vec<Words> highFirst,
                             hn::Vec<Words> highSecond) {
    const auto low = hn::BitCast(Longs(), hn::Add(lowFirst, lowSecond));
    const auto high = hn::BitCast(Longs(), hn::Add(highFirst, highSecond));
    const auto sum = hn::Add(hn::BitCast(Words(), hn::ConcatEven(Longs(), high, low)),
                             hn::BitCast(Words(), hn::ConcatOdd(Longs(), high, low)));
    return hn::ShiftRight<2>(sum);
}

size_t VideoChroma(uint8_t* u, uint8_t* v, const uint8_t* first, const uint8_t* second, size_t pairs) {
    const size_t step = hn::Lanes(Ints());
    size_t i = 0;
    for (; pairs - i >= step; i += step) {
        const Split a(LoadPixels(first + 8 * i)), b(LoadPixels(second + 8 * i));
        const Split c(LoadPixels(first + 8 * i + 4 * step)), d(LoadPixels(second + 8 * i + 4 * step));
        Split mean = a;
        mean.ends = MeanOfBlocks(a.ends, b.ends, c.ends, d.ends);
        mean.middle = MeanOfBlocks(a.middle, b.middle, c.middle, d.middle);
        hn::StoreU(Weigh<8>(mean, 112, -74, -38, 32896), Quarter(), u + i);
        hn::StoreU(Weigh<8>(mean, -18, -94, 112, 32896), Quarter(), v + i);
    }
    return i;
}

/// A term that depends on chroma alone, for both pixels of each pair as words.
template <int Shift>
HWY_INLINE auto Term(hn::Vec<Words> uv, int ofU, int ofV, int bias) {
    const auto term = hn::BitCast(Longs(), hn::ShiftRight<Shift>(SumPairs(uv, Factors(ofU, ofV), bias)));
    const auto low = hn::And(term, hn::Set(Longs(), 0xFFFF));
    return hn::BitCast(Words(), hn::Or(low, hn::ShiftLeft<16>(term)));
}

/// The terms and the sum of FullMatrix::colours().
struct Full {
    static constexpr int kShift = 10;
    HWY_INLINE static auto Red(hn::Vec<Words> uv) { return Term<kShift>(uv, 0, 1434, -183040); }
    HWY_INLINE static auto Green(hn::Vec<Words> uv) { return Term<kShift>(uv, -351, -728, 138624); }
    HWY_INLINE static auto Blue(hn::Vec<Words> uv) { return Term<kShift>(uv, 1807, 0, -230784); }
    HWY_INLINE static auto Luma(hn::Vec<Words> y) { return y; }
    HWY_INLINE static auto Colour(hn::Vec<Words> y, hn::Vec<Words> term) {
        return hn::DemoteTo(HalfBytes(), hn::Add(y, term));
    }
};

/// The terms and the sum of VideoMatrix::colours(). Blue alone can leave 16 bits; saturated, it is 255 as
/// well.
struct Video {
    HWY_INLINE static auto Red(hn::Vec<Words> uv) { return Term<0>(uv, 0, 102, -14240); }
    HWY_INLINE static auto Green(hn::Vec<Words> uv) { return Term<0>(uv, -25, -52, 8672); }
    HWY_INLINE static auto Blue(hn::Vec<Words> uv) { return Term<0>(uv, 127, 0, -17440); }
    HWY_INLINE static auto Luma(hn::Vec<Words> y) { return hn::Mul(y, hn::Set(Words(), 74)); }
    HWY_INLINE static auto Colour(hn::Vec<Words> y, hn::Vec<Words> term) {
        return hn::DemoteTo(HalfBytes(), hn::ShiftRight<6>(hn::SaturatedAdd(y, term)));
    }
};

template <typename Matrix, size_t PixelBytes, bool IsRedFirst>
HWY_INLINE size_t YuvRow(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t n) {
    const size_t step = hn::Lanes(Words());
    const auto alpha = hn::Set(HalfBytes(), 255);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto us = hn::PromoteTo(Ints(), hn::LoadU(Quarter(), u + i / 2));
        const auto vs = hn::PromoteTo(Ints(), hn::LoadU(Quarter(), v + i / 2));
        const auto uv = hn::BitCast(Words(), hn::Or(us, hn::ShiftLeft<16>(vs)));
        const auto luma = Matrix::Luma(hn::PromoteTo(Words(), hn::LoadU(HalfBytes(), y + i)));
        const auto r = Matrix::Colour(luma, Matrix::Red(uv));
        const auto g = Matrix::Colour(luma, Matrix::Green(uv));
        const auto b = Matrix::Colour(luma, Matrix::Blue(uv));
        const auto first = IsRedFirst ? r : b, third = IsRedFirst ? b : r;
        if constexpr (PixelBytes == 4) {
            hn::StoreInterleaved4(first, g, third, alpha, HalfBytes(), out + 4 * i);
        } else {
            hn::StoreInterleaved3(first, g, third, HalfBytes(), out + 3 * i);
        }
    }
    return i;
}

size_t YuvToRgb(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t n) {
    return YuvRow<Full, 3, true>(out, y, u, v, n);
}
size_t YuvToRgba(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t n) {
    return YuvRow<Full, 4, true>(out, y, u, v, n);
}
size_t YuvToBgra(uint8_t* out, const uint8_t* y, const uint8_t* u, const uint8_t* v, size_t n) {
    return YuvRow<Video, 4, false>(out, y, u, v, n);
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(FullChroma);
QEL_SIMD_TABLE(VideoChroma);
QEL_SIMD_TABLE(YuvToRgb);
QEL_SIMD_TABLE(YuvToRgba);
QEL_SIMD_TABLE(YuvToBgra);

namespace {

template <typename Matrix, size_t Bytes, size_t Red>
void finishYuvRow(uint8* out, const uint8* y, const uint8* u, const uint8* v, size_t n, size_t done) {
    for (size_t x = done; x < n; ++x)
        plainYuvPixel<Matrix, Bytes, Red>(out + x * Bytes, y[x], u[x / 2], v[x / 2]);
}

/// Returns the mean of byte @p c of the four pixels of a block.
int meanOfBlock(const uint8* first, const uint8* second, size_t c) {
    return (first[c] + first[c + 4] + second[c] + second[c + 4]) >> 2;
}

} // namespace

void fullChromaOfColumn(uint8* u, uint8* v, const uint8*, const uint8* second) {
    FullMatrix::chroma(u, v, second[0], second[1], second[2]);
}

void videoChromaOfColumn(uint8* u, uint8* v, const uint8* first, const uint8* second) {
    VideoMatrix::chroma(u, v, (first[2] + second[2]) >> 1, (first[1] + second[1]) >> 1,
                        (first[0] + second[0]) >> 1);
}

void rowFullChroma(uint8* u, uint8* v, const uint8* first, const uint8* second, size_t pairs) {
    for (size_t i = g_FullChroma(u, v, first, second, pairs); i < pairs; ++i)
        fullChromaOfColumn(u + i, v + i, first + 8 * i + 4, second + 8 * i + 4);
}

void rowVideoChroma(uint8* u, uint8* v, const uint8* first, const uint8* second, size_t pairs) {
    for (size_t i = g_VideoChroma(u, v, first, second, pairs); i < pairs; ++i) {
        const uint8 *a = first + 8 * i, *b = second + 8 * i;
        VideoMatrix::chroma(u + i, v + i, meanOfBlock(a, b, 2), meanOfBlock(a, b, 1), meanOfBlock(a, b, 0));
    }
}

void rowYuvToRgb(uint8* out, const uint8* y, const uint8* u, const uint8* v, size_t n) {
    finishYuvRow<FullMatrix, 3, 0>(out, y, u, v, n, g_YuvToRgb(out, y, u, v, n));
}

void rowYuvToRgba(uint8* out, const uint8* y, const uint8* u, const uint8* v, size_t n) {
    finishYuvRow<FullMatrix, 4, 0>(out, y, u, v, n, g_YuvToRgba(out, y, u, v, n));
}

void rowYuvToBgra(uint8* out, const uint8* y, const uint8* u, const uint8* v, size_t n) {
    finishYuvRow<VideoMatrix, 4, 2>(out, y, u, v, n, g_YuvToBgra(out, y, u, v, n));
}

} // namespace qel::internal
#endif
