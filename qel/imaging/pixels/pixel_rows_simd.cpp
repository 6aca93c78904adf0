// Vector kernels of the conversions whose pixels are independent of their places.
#include <qel/imaging/pixels/pixel_rows_p.h>

#include <qel/imaging/pixels/plain_pixels_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/pixel_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

#include <array>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8_t>;
using Words = hn::Repartition<uint16_t, Bytes>;
using Longs = hn::Repartition<uint32_t, Bytes>;
using Vec = hn::Vec<Bytes>;

// Each kernel converts whole vectors of pixels and returns how many pixels these were.

/// Loads pixels of `In` bytes as one vector per byte of the pixel.
template <size_t In>
HWY_INLINE void LoadPlanes(const uint8_t* in, Vec& a, Vec& b, Vec& c, Vec& d) {
    const Bytes tag;
    if constexpr (In == 1) a = hn::LoadU(tag, in);
    if constexpr (In == 2) hn::LoadInterleaved2(tag, in, a, b);
    if constexpr (In == 3) hn::LoadInterleaved3(tag, in, a, b, c);
    if constexpr (In == 4) hn::LoadInterleaved4(tag, in, a, b, c, d);
}

template <size_t Byte>
HWY_INLINE Vec Pick(Vec a, Vec b, Vec c, Vec d) {
    if constexpr (Byte == 0) return a;
    if constexpr (Byte == 1) return b;
    if constexpr (Byte == 2) return c;
    if constexpr (Byte == 3) return d;
}

HWY_INLINE void StorePlanes(uint8_t* out, Vec a) {
    hn::StoreU(a, Bytes(), out);
}
HWY_INLINE void StorePlanes(uint8_t* out, Vec a, Vec b) {
    hn::StoreInterleaved2(a, b, Bytes(), out);
}
HWY_INLINE void StorePlanes(uint8_t* out, Vec a, Vec b, Vec c) {
    hn::StoreInterleaved3(a, b, c, Bytes(), out);
}
HWY_INLINE void StorePlanes(uint8_t* out, Vec a, Vec b, Vec c, Vec d) {
    hn::StoreInterleaved4(a, b, c, d, Bytes(), out);
}

/// PickBytes of a vector of pixels.
template <size_t In, size_t... Chosen>
HWY_INLINE size_t PickRow(uint8_t* out, const uint8_t* in, size_t n) {
    const size_t step = hn::Lanes(Bytes());
    Vec a = hn::Zero(Bytes()), b = a, c = a, d = a;
    size_t i = 0;
    for (; n - i >= step; i += step) {
        LoadPlanes<In>(in + i * In, a, b, c, d);
        StorePlanes(out + i * sizeof...(Chosen), Pick<Chosen>(a, b, c, d)...);
    }
    return i;
}

size_t SwapPairs(uint8_t* out, const uint8_t* in, size_t n) {
    const Words words;
    const size_t step = hn::Lanes(words);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto pairs = hn::BitCast(words, hn::LoadU(Bytes(), in + 2 * i));
        const auto swapped = hn::Or(hn::ShiftLeft<8>(pairs), hn::ShiftRight<8>(pairs));
        hn::StoreU(hn::BitCast(Bytes(), swapped), Bytes(), out + 2 * i);
    }
    return i;
}

size_t SwapEnds4(uint8_t* out, const uint8_t* in, size_t n) {
    alignas(16) static constexpr uint8_t kOrder[] = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
    const Bytes d;
    const Vec order = hn::LoadDup128(d, kOrder);
    const size_t step = hn::Lanes(d) / 4;
    size_t i = 0;
    for (; n - i >= step; i += step)
        hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, in + 4 * i), order), d, out + 4 * i);
    return i;
}

size_t SwapEnds3(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<3, 2, 1, 0>(out, in, n);
}
size_t SwapEnds4To3(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<4, 2, 1, 0>(out, in, n);
}
size_t FirstThree(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<4, 0, 1, 2>(out, in, n);
}
size_t FirstOf3(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<3, 0>(out, in, n);
}
size_t FirstOf4(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<4, 0>(out, in, n);
}
size_t FourthOf4(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<4, 3>(out, in, n);
}
size_t FirstAndLast(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<4, 0, 3>(out, in, n);
}
size_t ThreeTimes(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<1, 0, 0, 0>(out, in, n);
}
size_t Widen3To4(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<3, 0, 1, 2, 2>(out, in, n);
}

/// Splits a vector of bytes into its even and odd lanes as words.
HWY_INLINE auto EvenLanes(Vec v) {
    return hn::And(hn::BitCast(Words(), v), hn::Set(Words(), 0xFF));
}
HWY_INLINE auto OddLanes(Vec v) {
    return hn::ShiftRight<8>(hn::BitCast(Words(), v));
}
HWY_INLINE Vec JoinLanes(hn::Vec<Words> even, hn::Vec<Words> odd) {
    return hn::BitCast(Bytes(), hn::Or(even, hn::ShiftLeft<8>(odd)));
}

/// A third of each lane: exact up to 766.
HWY_INLINE auto Third(hn::Vec<Words> sum) {
    return hn::MulHigh(sum, hn::Set(Words(), 0x5556));
}

/// (a + b + c + 1) / 3 of each byte.
HWY_INLINE Vec Mean(Vec a, Vec b, Vec c) {
    const auto one = hn::Set(Words(), 1);
    const auto even = hn::Add(hn::Add(EvenLanes(a), EvenLanes(b)), hn::Add(EvenLanes(c), one));
    const auto odd = hn::Add(hn::Add(OddLanes(a), OddLanes(b)), hn::Add(OddLanes(c), one));
    return JoinLanes(Third(even), Third(odd));
}

template <size_t In, bool WithAlpha>
HWY_INLINE size_t MeanRow(uint8_t* out, const uint8_t* in, size_t n) {
    const size_t step = hn::Lanes(Bytes());
    Vec a = hn::Zero(Bytes()), b = a, c = a, d = a;
    size_t i = 0;
    for (; n - i >= step; i += step) {
        LoadPlanes<In>(in + i * In, a, b, c, d);
        if constexpr (WithAlpha) {
            StorePlanes(out + 2 * i, Mean(a, b, c), d);
        } else {
            StorePlanes(out + i, Mean(a, b, c));
        }
    }
    return i;
}

size_t MeanOf3(uint8_t* out, const uint8_t* in, size_t n) {
    return MeanRow<3, false>(out, in, n);
}
size_t MeanOf4(uint8_t* out, const uint8_t* in, size_t n) {
    return MeanRow<4, false>(out, in, n);
}
size_t MeanAndAlphaRow(uint8_t* out, const uint8_t* in, size_t n) {
    return MeanRow<4, true>(out, in, n);
}

// ((s << 8) | 192) / 3 is 85 * s + s / 3 + 64 for every sum.
size_t Mean16Of4(uint8_t* out, const uint8_t* in, size_t n) {
    const Longs longs;
    const hn::Rebind<uint16_t, Longs> half;
    const hn::Repartition<uint8_t, decltype(half)> halfBytes;
    const size_t step = hn::Lanes(longs);
    const auto low = hn::Set(longs, 0xFF);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto pixels = hn::BitCast(longs, hn::LoadU(Bytes(), in + 4 * i));
        const auto ends = hn::Add(hn::And(pixels, low), hn::And(hn::ShiftRight<16>(pixels), low));
        const auto sum = hn::Add(ends, hn::And(hn::ShiftRight<8>(pixels), low));
        const auto third = hn::BitCast(longs, Third(hn::BitCast(Words(), sum)));
        const auto times85 = hn::BitCast(longs, hn::Mul(hn::BitCast(Words(), sum), hn::Set(Words(), 85)));
        const auto mean = hn::Add(hn::Add(times85, third), hn::Set(longs, 64));
        const auto narrow = hn::DemoteTo(half, hn::BitCast(hn::RebindToSigned<Longs>(), mean));
        hn::StoreU(hn::BitCast(halfBytes, narrow), halfBytes, out + 2 * i);
    }
    return i;
}

size_t NineBits(uint8_t* out, const uint8_t* in, size_t n) {
    const hn::Half<Bytes> half;
    const Words words;
    const size_t step = hn::Lanes(words);
    const auto most = hn::Set(words, 255);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto values = hn::BitCast(words, hn::LoadU(Bytes(), in + 2 * i));
        const auto limited = hn::Min(hn::ShiftRight<1>(values), most);
        const auto grey = hn::DemoteTo(half, hn::BitCast(hn::RebindToSigned<Words>(), limited));
        hn::StoreInterleaved3(grey, grey, grey, half, out + 3 * i);
    }
    return i;
}

size_t WordsToFloats(uint8_t* out, const uint8_t* in, size_t n) {
    const hn::ScalableTag<float> floats;
    const hn::Rebind<uint16_t, decltype(floats)> words;
    const hn::Repartition<uint8_t, decltype(words)> bytes;
    const hn::RebindToSigned<decltype(floats)> ints;
    const size_t step = hn::Lanes(floats);
    const auto factor = hn::Set(floats, WordToFloat::kFactor);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto values = hn::PromoteTo(ints, hn::BitCast(words, hn::LoadU(bytes, in + 2 * i)));
        const auto scaled = hn::Mul(hn::ConvertTo(floats, values), factor);
        hn::StoreU(hn::BitCast(Bytes(), scaled), Bytes(), out + 4 * i);
    }
    return i;
}

size_t FloatsToRgb(uint8_t* out, const uint8_t* in, size_t n) {
    const hn::ScalableTag<float> floats;
    const hn::RebindToSigned<decltype(floats)> ints;
    const hn::Rebind<uint8_t, decltype(floats)> bytes;
    const size_t step = hn::Lanes(floats);
    const auto one = hn::Set(floats, 1.0f);
    const auto zero = hn::Zero(floats);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto v = hn::BitCast(floats, hn::LoadU(Bytes(), in + 4 * i));
        // Comparisons with NaN are false, so that NaN becomes 0.
        const auto positive = hn::IfThenElseZero(hn::Gt(v, zero), v);
        const auto limited = hn::IfThenElse(hn::Lt(positive, one), positive, one);
        const auto scaled = hn::Mul(limited, hn::Set(floats, 255.0f));
        const auto whole = hn::ConvertTo(ints, scaled);
        const auto rest = hn::Sub(scaled, hn::ConvertTo(floats, whole));
        const auto up = hn::IfThenElseZero(hn::Ge(rest, hn::Set(floats, 0.5f)), one);
        const auto grey = hn::DemoteTo(bytes, hn::Add(whole, hn::ConvertTo(ints, up)));
        hn::StoreInterleaved3(grey, grey, grey, bytes, out + 3 * i);
    }
    return i;
}

/// Sums of the products of neighbouring 16-bit lanes.
HWY_INLINE auto SumPairs(hn::Vec<hn::RebindToSigned<Words>> a, hn::Vec<hn::RebindToSigned<Words>> b) {
    const hn::RebindToSigned<Longs> ints;
    auto second = hn::Zero(ints);
    const auto first = hn::ReorderWidenMulAccumulate(ints, a, b, hn::Zero(ints), second);
    return hn::RearrangeToOddPlusEven(first, second);
}

/// Returns the factors of the lower and the upper word of each long.
HWY_INLINE auto Factors(int lower, int upper) {
    const auto both = static_cast<uint32_t>(upper) << 16 | (static_cast<uint32_t>(lower) & 0xFFFF);
    return hn::BitCast(hn::RebindToSigned<Words>(), hn::Set(Longs(), both));
}

/// Weighs the three colours of 4-byte pixels: (c0 * first + c1 * second + c2 * third + bias) >> Shift.
template <int Shift>
HWY_INLINE size_t LumaRow(uint8_t* out, const uint8_t* in, size_t n, int first, int second, int third,
                          int bias) {
    const hn::RebindToSigned<Words> words;
    const hn::RebindToSigned<Longs> ints;
    const hn::Rebind<uint8_t, decltype(ints)> quarter;
    const auto ends = Factors(first, third), middle = Factors(second, 0);
    const auto low = hn::Set(Longs(), 0x00FF00FF);
    const size_t step = hn::Lanes(ints);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto pixels = hn::BitCast(Longs(), hn::LoadU(Bytes(), in + 4 * i));
        const auto even = hn::BitCast(words, hn::And(pixels, low));
        const auto odd = hn::BitCast(words, hn::And(hn::ShiftRight<8>(pixels), low));
        const auto sum = hn::Add(hn::Add(SumPairs(even, ends), SumPairs(odd, middle)), hn::Set(ints, bias));
        hn::StoreU(hn::DemoteTo(quarter, hn::ShiftRight<Shift>(sum)), quarter, out + i);
    }
    return i;
}

size_t FullLumaRow(uint8_t* out, const uint8_t* in, size_t n) {
    return LumaRow<10>(out, in, n, 306, 601, 116, 512);
}
size_t VideoLumaRow(uint8_t* out, const uint8_t* in, size_t n) {
    return LumaRow<8>(out, in, n, 25, 129, 66, 66 * 64);
}

size_t Interleave(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n) {
    const size_t step = hn::Lanes(Bytes());
    size_t i = 0;
    for (; n - i >= step; i += step)
        hn::StoreInterleaved2(hn::LoadU(Bytes(), a + i), hn::LoadU(Bytes(), b + i), Bytes(), out + 2 * i);
    return i;
}

size_t Split(uint8_t* a, uint8_t* b, const uint8_t* in, size_t n) {
    const size_t step = hn::Lanes(Bytes());
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const Vec first = hn::LoadU(Bytes(), in + 2 * i);
        const Vec second = hn::LoadU(Bytes(), in + 2 * i + step);
        hn::StoreU(hn::ConcatEven(Bytes(), second, first), Bytes(), a + i);
        hn::StoreU(hn::ConcatOdd(Bytes(), second, first), Bytes(), b + i);
    }
    return i;
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {
namespace {

/// Converts what a kernel has left.
template <typename Pixel>
void finishRow(uint8* out, const uint8* in, size_t n, size_t done) {
    plainRow<Pixel>(out + done * Pixel::kOut, in + done * Pixel::kIn, n - done);
}

} // namespace

/// Defines the row function NAME by a kernel and the pixel that defines it.
#define QEL_ROW(NAME, KERNEL, ...)                                                                           \
    QEL_SIMD_TABLE(KERNEL);                                                                                  \
    void NAME(uint8* out, const uint8* in, size_t n) {                                                       \
        finishRow<__VA_ARGS__>(out, in, n, g_##KERNEL(out, in, n));                                          \
    }

QEL_ROW(rowSwapPairs, SwapPairs, PickBytes<2, 1, 0>)
QEL_ROW(rowSwapEnds3, SwapEnds3, PickBytes<3, 2, 1, 0>)
QEL_ROW(rowSwapEnds4, SwapEnds4, PickBytes<4, 2, 1, 0, 3>)
QEL_ROW(rowSwapEnds4To3, SwapEnds4To3, PickBytes<4, 2, 1, 0>)
QEL_ROW(rowFirstThree, FirstThree, PickBytes<4, 0, 1, 2>)
QEL_ROW(rowFirstOf3, FirstOf3, PickBytes<3, 0>)
QEL_ROW(rowFirstOf4, FirstOf4, PickBytes<4, 0>)
QEL_ROW(rowFourthOf4, FourthOf4, PickBytes<4, 3>)
QEL_ROW(rowFirstAndLast, FirstAndLast, PickBytes<4, 0, 3>)
QEL_ROW(rowThreeTimes, ThreeTimes, PickBytes<1, 0, 0, 0>)
QEL_ROW(rowWiden3To4, Widen3To4, PickBytes<3, 0, 1, 2, 2>)
QEL_ROW(rowMeanOf3, MeanOf3, MeanOfThree<3>)
QEL_ROW(rowMeanOf4, MeanOf4, MeanOfThree<4>)
QEL_ROW(rowMeanAndAlpha, MeanAndAlphaRow, MeanAndAlpha)
QEL_ROW(rowMean16Of4, Mean16Of4, MeanOfThree16)
QEL_ROW(rowNineBitsToRgb, NineBits, NineBitsToRgb)
QEL_ROW(rowWordToFloat, WordsToFloats, WordToFloat)
QEL_ROW(rowFloatToRgb, FloatsToRgb, FloatToRgb)
QEL_ROW(rowFullLuma, FullLumaRow, FullLuma)
QEL_ROW(rowVideoLuma, VideoLumaRow, VideoLuma)

#undef QEL_ROW

QEL_SIMD_TABLE(Interleave);
QEL_SIMD_TABLE(Split);

void rowInterleave(uint8* out, const uint8* a, const uint8* b, size_t n) {
    for (size_t i = g_Interleave(out, a, b, n); i < n; ++i) {
        out[2 * i] = a[i];
        out[2 * i + 1] = b[i];
    }
}

void rowSplit(uint8* a, uint8* b, const uint8* in, size_t n) {
    for (size_t i = g_Split(a, b, in, n); i < n; ++i) {
        a[i] = in[2 * i];
        b[i] = in[2 * i + 1];
    }
}

} // namespace qel::internal
#endif
