// Vector kernels of the conversions between colours and YUV.
#include <qel/imaging/pixels/yuv_rows_p.h>

#include <qel/imaging/pixels/plain_yuv_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/yuv_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <qel/imaging/pixels/simd_pixels.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

/// Stores U and V of as many samples as a vector has pairs of bytes. @param us, vs  0 to 255.
template <class D>
HWY_INLINE void StoreChroma(D d, uint8_t* u, uint8_t* v, hn::Vec<Shorts<D>> us, hn::Vec<Shorts<D>> vs) {
    const hn::Half<D> half;
    const auto both = QuartersFromBlocks(d, PackShorts(us, vs));
    hn::StoreU(hn::LowerHalf(half, both), half, u);
    hn::StoreU(hn::UpperHalf(half, both), half, v);
}

/// Pixels of four bytes as words of bytes 0 and 2, and of 1 and 3.
template <class D>
struct Split {
    hn::Vec<Shorts<D>> ends, middle;

    HWY_INLINE Split(D, hn::Vec<Longs<D>> pixels)
        : ends(hn::BitCast(Shorts<D>(), hn::And(pixels, hn::Set(Longs<D>(), 0x00FF00FF)))),
          middle(hn::BitCast(Shorts<D>(), hn::ShiftRight<8>(hn::BitCast(Words<D>(), pixels)))) {}

    /// Weighs bytes 0, 1 and 2 of each pixel by full-range factors.
    HWY_INLINE auto weigh(int first, int second, int third) const {
        const auto sum = hn::Add(SumPairs(D(), ends, Factors(D(), first, third)),
                                 SumPairs(D(), middle, Factors(D(), second, 0)));
        return hn::ShiftRight<10>(hn::Add(sum, hn::Set(Ints<D>(), 257 * 512)));
    }
};

/// Returns the odd pixels of two vectors.
template <class D>
HWY_INLINE Split<D> OddPixels(D d, const uint8_t* in) {
    const Longs<D> longs;
    const auto low = hn::BitCast(longs, hn::LoadU(d, in));
    const auto high = hn::BitCast(longs, hn::LoadU(d, in + hn::MaxLanes(d)));
    return Split<D>(d, hn::ConcatOdd(longs, high, low));
}

template <class D>
HWY_INLINE size_t FullChromaFrom(D d, uint8_t* u, uint8_t* v, const uint8_t* second, size_t i, size_t pairs) {
    constexpr size_t kBytes = hn::MaxLanes(d);
    const Shorts<D> shorts;
    for (; pairs - i >= kBytes / 2; i += kBytes / 2) {
        const Split<D> low = OddPixels(d, second + 8 * i), high = OddPixels(d, second + 8 * i + 2 * kBytes);
        const auto us = hn::ReorderDemote2To(shorts, low.weigh(-173, -339, 512), high.weigh(-173, -339, 512));
        const auto vs = hn::ReorderDemote2To(shorts, low.weigh(512, -429, -83), high.weigh(512, -429, -83));
        StoreChroma(d, u + i, v + i, us, vs);
    }
    return i;
}

size_t FullChroma(uint8_t* u, uint8_t* v, const uint8_t*, const uint8_t* second, size_t pairs) {
    return FullChromaFrom(Block(), u, v, second, FullChromaFrom(Bytes(), u, v, second, 0, pairs), pairs);
}

/// Returns the means of blocks of two by two pixels of four vectors.
template <class D>
HWY_INLINE hn::Vec<D> MeansOfBlocks(D d, const uint8_t* first, const uint8_t* second) {
    constexpr size_t kBytes = hn::MaxLanes(d);
    const auto low = hn::Add(SumsOfPixelPairs<4>(d, first), SumsOfPixelPairs<4>(d, second));
    const auto high =
        hn::Add(SumsOfPixelPairs<4>(d, first + kBytes), SumsOfPixelPairs<4>(d, second + kBytes));
    return HalvesFromBlocks(d, PackShorts(hn::ShiftRight<2>(low), hn::ShiftRight<2>(high)));
}

/// Weighs bytes 0, 1 and 2 of each pixel by video-range factors.
template <class D>
HWY_INLINE hn::Vec<Shorts<D>> WeighVideo(D d, hn::Vec<D> low, hn::Vec<D> high, int first, int second,
                                         int third) {
    const Shorts<D> shorts;
    const Words<D> words;
    const auto ones = hn::Set(shorts, 1);
    const auto factors = ByteFactors(d, first, second, third, 0);
    const auto sum = hn::ReorderDemote2To(shorts, SumPairs(d, MulPairs(low, factors), ones),
                                          SumPairs(d, MulPairs(high, factors), ones));
    const auto biased = hn::Add(hn::BitCast(words, sum), hn::Set(words, 32896));
    return hn::BitCast(shorts, hn::ShiftRight<8>(biased));
}

template <class D>
HWY_INLINE size_t VideoChromaFrom(D d, uint8_t* u, uint8_t* v, const uint8_t* first, const uint8_t* second,
                                  size_t i, size_t pairs) {
    constexpr size_t kBytes = hn::MaxLanes(d);
    for (; pairs - i >= kBytes / 2; i += kBytes / 2) {
        const auto low = MeansOfBlocks(d, first + 8 * i, second + 8 * i);
        const auto high = MeansOfBlocks(d, first + 8 * i + 2 * kBytes, second + 8 * i + 2 * kBytes);
        StoreChroma(d, u + i, v + i, WeighVideo(d, low, high, 112, -74, -38),
                    WeighVideo(d, low, high, -18, -94, 112));
    }
    return i;
}

size_t VideoChroma(uint8_t* u, uint8_t* v, const uint8_t* first, const uint8_t* second, size_t pairs) {
    const size_t wide = VideoChromaFrom(Bytes(), u, v, first, second, 0, pairs);
    return VideoChromaFrom(Block(), u, v, first, second, wide, pairs);
}

/// What chroma adds to the colours of its pixels, a word for each sample.
template <class D>
struct Terms {
    hn::Vec<Shorts<D>> red, green, blue;
};

/// The terms and the sum of FullMatrix::colours().
struct Full {
    /// @param uv  pairs of bytes.
    template <class D>
    HWY_INLINE static Terms<D> terms(D d, hn::Vec<D> uv) {
        const auto zero = hn::Zero(d);
        const auto low = hn::BitCast(Shorts<D>(), hn::InterleaveLower(d, uv, zero));
        const auto high = hn::BitCast(Shorts<D>(), hn::InterleaveUpper(d, uv, zero));
        return {term(d, low, high, 0, 1434, -183040), term(d, low, high, -351, -728, 138624),
                term(d, low, high, 1807, 0, -230784)};
    }
    template <class S>
    HWY_INLINE static auto luma(S, hn::Vec<S> y) {
        return y;
    }
    template <class V>
    HWY_INLINE static V colour(V y, V term) {
        return hn::Add(y, term);
    }

private:
    template <class D>
    HWY_INLINE static hn::Vec<Shorts<D>> term(D d, hn::Vec<Shorts<D>> low, hn::Vec<Shorts<D>> high, int ofU,
                                              int ofV, int bias) {
        const auto factors = Factors(d, ofU, ofV);
        const auto add = hn::Set(Ints<D>(), bias);
        return hn::ReorderDemote2To(Shorts<D>(), hn::ShiftRight<10>(hn::Add(SumPairs(d, low, factors), add)),
                                    hn::ShiftRight<10>(hn::Add(SumPairs(d, high, factors), add)));
    }
};

/// The terms and the sum of VideoMatrix::colours(). Blue alone can leave 16 bits; saturated, it is 255 as
/// specified.
struct Video {
    /// @param uv  pairs of bytes.
    template <class D>
    HWY_INLINE static Terms<D> terms(D, hn::Vec<D> uv) {
        const Shorts<D> shorts;
        const auto words = hn::BitCast(Words<D>(), uv);
        const auto u = hn::BitCast(shorts, hn::And(words, hn::Set(Words<D>(), 0xFF)));
        const auto v = hn::BitCast(shorts, hn::ShiftRight<8>(words));
        const auto times = [](auto value, int factor) HWY_ATTR {
            return hn::Mul(value, hn::Set(Shorts<D>(), static_cast<int16_t>(factor)));
        };
        const auto green = hn::Add(times(u, -25), times(v, -52));
        return {hn::Add(times(v, 102), hn::Set(shorts, -14240)), hn::Add(green, hn::Set(shorts, 8672)),
                hn::Add(times(u, 127), hn::Set(shorts, -17440))};
    }
    template <class S>
    HWY_INLINE static auto luma(S shorts, hn::Vec<S> y) {
        return hn::Mul(y, hn::Set(shorts, 74));
    }
    template <class V>
    HWY_INLINE static V colour(V y, V term) {
        return hn::ShiftRight<6>(hn::SaturatedAdd(y, term));
    }
};

/// A term for the pixels of the lower and of the upper half of each block.
template <class D>
struct PixelTerm {
    hn::Vec<Shorts<D>> low, high;

    HWY_INLINE PixelTerm(D, hn::Vec<Shorts<D>> ofSamples)
        : low(hn::InterleaveLower(Shorts<D>(), ofSamples, ofSamples)),
          high(hn::InterleaveUpper(Shorts<D>(), ofSamples, ofSamples)) {}
};

/// Returns one colour of a vector of pixels.
template <typename Matrix, class D>
HWY_INLINE hn::Vec<D> ColourOf(hn::Vec<Shorts<D>> low, hn::Vec<Shorts<D>> high, const PixelTerm<D>& term) {
    return PackShorts(Matrix::colour(low, term.low), Matrix::colour(high, term.high));
}

/// Stores pixels of four channels in the order of QuartersToBlocks(), or the first three channels.
template <size_t PixelBytes, class D>
HWY_INLINE void StoreColours(D d, uint8_t* out, hn::Vec<D> first, hn::Vec<D> second, hn::Vec<D> third,
                             hn::Vec<D> fourth) {
    const Words<D> words;
    const auto lowEnds = hn::BitCast(words, hn::InterleaveLower(d, first, second));
    const auto lowRest = hn::BitCast(words, hn::InterleaveLower(d, third, fourth));
    const auto highEnds = hn::BitCast(words, hn::InterleaveUpper(d, first, second));
    const auto highRest = hn::BitCast(words, hn::InterleaveUpper(d, third, fourth));
    StoreFour<PixelBytes>(d, hn::BitCast(d, hn::InterleaveLower(words, lowEnds, lowRest)),
                          hn::BitCast(d, hn::InterleaveUpper(words, lowEnds, lowRest)),
                          hn::BitCast(d, hn::InterleaveLower(words, highEnds, highRest)),
                          hn::BitCast(d, hn::InterleaveUpper(words, highEnds, highRest)), out);
}

template <typename Matrix, size_t PixelBytes, bool IsRedFirst, class D>
HWY_INLINE size_t YuvFrom(D d, uint8_t* const* out, const uint8_t* const* y, const uint8_t* u,
                          const uint8_t* v, size_t i, size_t n) {
    const Shorts<D> shorts;
    const Words<D> words;
    const hn::Rebind<uint8_t, Words<D>> half;
    constexpr size_t kPixels = hn::MaxLanes(d);
    const auto zero = hn::Zero(d), alpha = hn::Set(d, 255);
    for (; n - i >= kPixels; i += kPixels) {
        const auto us = hn::PromoteTo(words, hn::LoadU(half, u + i / 2));
        const auto vs = hn::PromoteTo(words, hn::LoadU(half, v + i / 2));
        const auto uv = QuartersToBlocks(d, hn::BitCast(d, hn::Or(us, hn::ShiftLeft<8>(vs))));
        const Terms<D> terms = Matrix::terms(d, uv);
        const PixelTerm<D> red(d, terms.red), green(d, terms.green), blue(d, terms.blue);
        for (size_t row = 0; row < 2; ++row) {
            const auto luma = QuartersToBlocks(d, hn::LoadU(d, y[row] + i));
            const auto low = Matrix::luma(shorts, hn::BitCast(shorts, hn::InterleaveLower(d, luma, zero)));
            const auto high = Matrix::luma(shorts, hn::BitCast(shorts, hn::InterleaveUpper(d, luma, zero)));
            const auto r = ColourOf<Matrix>(low, high, red), g = ColourOf<Matrix>(low, high, green);
            const auto b = ColourOf<Matrix>(low, high, blue);
            StoreColours<PixelBytes>(d, out[row] + i * PixelBytes, IsRedFirst ? r : b, g, IsRedFirst ? b : r,
                                     alpha);
        }
    }
    return i;
}

template <typename Matrix, size_t PixelBytes, bool IsRedFirst>
HWY_INLINE size_t YuvRows(uint8_t* const* out, const uint8_t* const* y, const uint8_t* u, const uint8_t* v,
                          size_t n) {
    const size_t wide = YuvFrom<Matrix, PixelBytes, IsRedFirst>(Bytes(), out, y, u, v, 0, n);
    return YuvFrom<Matrix, PixelBytes, IsRedFirst>(Block(), out, y, u, v, wide, n);
}

size_t YuvToRgb(uint8_t* const* out, const uint8_t* const* y, const uint8_t* u, const uint8_t* v, size_t n) {
    return YuvRows<Full, 3, true>(out, y, u, v, n);
}
size_t YuvToRgba(uint8_t* const* out, const uint8_t* const* y, const uint8_t* u, const uint8_t* v, size_t n) {
    return YuvRows<Full, 4, true>(out, y, u, v, n);
}
size_t YuvToBgra(uint8_t* const* out, const uint8_t* const* y, const uint8_t* u, const uint8_t* v, size_t n) {
    return YuvRows<Video, 4, false>(out, y, u, v, n);
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
void finishYuvRows(uint8* const* out, const uint8* const* y, const uint8* u, const uint8* v, size_t n,
                   size_t done) {
    for (size_t row = 0; row < 2; ++row)
        for (size_t x = done; x < n; ++x)
            plainYuvPixel<Matrix, Bytes, Red>(out[row] + x * Bytes, y[row][x], u[x / 2], v[x / 2]);
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

/// Defines the function NAME of two rows by a kernel, the matrix, the bytes of a pixel and the byte of red.
#define QEL_YUV_ROWS(NAME, KERNEL, MATRIX, BYTES, RED)                                                       \
    void NAME(uint8* const* out, const uint8* const* y, const uint8* u, const uint8* v, size_t n) {          \
        finishYuvRows<MATRIX, BYTES, RED>(out, y, u, v, n, g_##KERNEL(out, y, u, v, n));                     \
    }

QEL_YUV_ROWS(rowsYuvToRgb, YuvToRgb, FullMatrix, 3, 0)
QEL_YUV_ROWS(rowsYuvToRgba, YuvToRgba, FullMatrix, 4, 0)
QEL_YUV_ROWS(rowsYuvToBgra, YuvToBgra, VideoMatrix, 4, 2)

#undef QEL_YUV_ROWS

} // namespace qel::internal
#endif
