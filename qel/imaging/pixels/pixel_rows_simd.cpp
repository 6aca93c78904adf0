// Vector kernels of the conversions whose pixels are independent of their places.
#include <qel/imaging/pixels/pixel_rows_p.h>

#include <qel/imaging/pixels/plain_pixels_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/pixel_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <qel/imaging/pixels/simd_pixels.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

// Each kernel converts whole vectors of pixels and returns the number of pixels that it converted.

size_t SwapPairs(uint8_t* out, const uint8_t* in, size_t n) {
    const Words<Bytes> words;
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
    const HalfLine d;
    const auto order = hn::LoadDup128(d, kOrder);
    const size_t step = hn::Lanes(d) / 4;
    size_t i = 0;
    for (; n - i >= step; i += step)
        hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, in + 4 * i), order), d, out + 4 * i);
    return i;
}

/// A PickBytes of the four pixels of a block.
template <size_t In, size_t... Chosen>
constexpr ByteOrder OrderOfPicks() {
    constexpr uint8_t kChosen[] = {Chosen...};
    ByteOrder order{};
    for (size_t i = 0; i < 16; ++i) {
        const size_t pixel = i / sizeof...(Chosen);
        order[i] = static_cast<uint8_t>(pixel < 4 ? pixel * In + kChosen[i % sizeof...(Chosen)] : 0x80);
    }
    return order;
}

/// PickBytes of vectors. The bytes after the pixels of a vector are stored too: with what they had been if
/// the source may be the target, otherwise with any value that the next pixels replace.
template <size_t In, size_t... Chosen, class D>
HWY_INLINE size_t PickFrom(D d, uint8_t* out, const uint8_t* in, size_t i, size_t n) {
    static constexpr ByteOrder kOrder = OrderOfPicks<In, Chosen...>();
    constexpr size_t kOut = sizeof...(Chosen), kBytes = hn::MaxLanes(d);
    constexpr size_t kRoom = (kBytes + std::min(In, kOut) - 1) / std::min(In, kOut);
    for (; n - i >= kRoom; i += kBytes / 4) {
        const auto loaded = hn::LoadU(d, in + i * In);
        auto picked = GatherPixels<kOut>(d, Shuffle(d, SpreadPixels<In>(d, loaded), kOrder));
        if constexpr (In == kOut) picked = hn::IfThenElse(hn::FirstN(d, kBytes / 4 * kOut), picked, loaded);
        hn::StoreU(picked, d, out + i * kOut);
    }
    return i;
}

/// A PickBytes of three of four bytes, four vectors at a time.
template <size_t... Chosen>
HWY_INLINE size_t PickThree(uint8_t* out, const uint8_t* in, size_t n) {
    static constexpr ByteOrder kOrder = {Chosen...,       3,  (4 + Chosen)...,  7,
                                         (8 + Chosen)..., 11, (12 + Chosen)..., 15};
    const HalfLine d;
    const size_t step = hn::Lanes(d);
    const auto pick = [&](size_t at) HWY_ATTR { return Shuffle(d, hn::LoadU(d, in + at), kOrder); };
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const size_t at = 4 * i;
        StoreFour<3>(d, pick(at), pick(at + step), pick(at + 2 * step), pick(at + 3 * step), out + 3 * i);
    }
    return PickFrom<4, Chosen...>(Block(), out, in, i, n);
}

template <size_t In, size_t... Chosen>
HWY_INLINE size_t PickRow(uint8_t* out, const uint8_t* in, size_t n) {
    const size_t wide = PickFrom<In, Chosen...>(Bytes(), out, in, 0, n);
    return PickFrom<In, Chosen...>(Block(), out, in, wide, n);
}

size_t SwapEnds3(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<3, 2, 1, 0>(out, in, n);
}
size_t SwapEnds4To3(uint8_t* out, const uint8_t* in, size_t n) {
    return PickThree<2, 1, 0>(out, in, n);
}
size_t FirstThree(uint8_t* out, const uint8_t* in, size_t n) {
    return PickThree<0, 1, 2>(out, in, n);
}
size_t FirstAndLast(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<4, 0, 3>(out, in, n);
}
size_t ThreeTimes(uint8_t* out, const uint8_t* in, size_t n) {
    return PickRow<1, 0, 0, 0>(out, in, n);
}

/// Returns the weighted sums of the bytes of each pixel.
template <class D>
HWY_INLINE hn::Vec<Ints<D>> WeighBytes(D d, hn::Vec<D> pixels, int first, int second, int third, int fourth) {
    const auto ones = hn::Set(Shorts<D>(), 1);
    return SumPairs(d, MulPairs(pixels, ByteFactors(d, first, second, third, fourth)), ones);
}

/// Returns a third of each 16-bit lane: exact up to 766.
template <class W>
HWY_INLINE hn::Vec<W> Third(W words, hn::Vec<W> sum) {
    return hn::MulHigh(sum, hn::Set(words, 0x5556));
}

// What becomes of a pixel of four bytes: value() is at most 65535, and finish() makes it a byte.

template <int Place>
struct TakeByte {
    template <class D>
    HWY_INLINE static auto value(D, hn::Vec<D> pixels) {
        const auto moved = hn::ShiftRight<Place * 8>(hn::BitCast(Longs<D>(), pixels));
        return hn::BitCast(Ints<D>(), hn::And(moved, hn::Set(Longs<D>(), 0xFF)));
    }
    template <class W>
    HWY_INLINE static auto finish(W, hn::Vec<W> words) {
        return words;
    }
};

struct Mean {
    template <class D>
    HWY_INLINE static auto value(D d, hn::Vec<D> pixels) {
        return WeighBytes(d, pixels, 1, 1, 1, 0);
    }
    template <class W>
    HWY_INLINE static auto finish(W words, hn::Vec<W> sum) {
        return Third(words, hn::Add(sum, hn::Set(words, 1)));
    }
};

struct Full {
    template <class D>
    HWY_INLINE static auto value(D d, hn::Vec<D> pixels) {
        const Words<D> words;
        const auto ends = hn::And(hn::BitCast(words, pixels), hn::Set(words, 0xFF));
        const auto middle = hn::ShiftRight<8>(hn::BitCast(words, pixels));
        const auto sum = hn::Add(SumPairs(d, hn::BitCast(Shorts<D>(), ends), Factors(d, 306, 116)),
                                 SumPairs(d, hn::BitCast(Shorts<D>(), middle), Factors(d, 601, 0)));
        return hn::ShiftRight<10>(hn::Add(sum, hn::Set(Ints<D>(), 512)));
    }
    template <class W>
    HWY_INLINE static auto finish(W, hn::Vec<W> words) {
        return words;
    }
};

// The factor of green, 129, is split so that no factor and no sum of two products leaves its signed type.
struct Video {
    template <class D>
    HWY_INLINE static auto value(D d, hn::Vec<D> pixels) {
        static constexpr ByteOrder kGreenTwice = {0, 1, 2, 1, 4, 5, 6, 5, 8, 9, 10, 9, 12, 13, 14, 13};
        return WeighBytes(d, Shuffle(d, pixels, kGreenTwice), 25, 100, 66, 29);
    }
    template <class W>
    HWY_INLINE static auto finish(W words, hn::Vec<W> sum) {
        return hn::ShiftRight<8>(hn::Add(sum, hn::Set(words, 66 * 64)));
    }
};

/// Reduces pixels of `In` bytes to one byte.
template <typename Kind, size_t In, class D>
HWY_INLINE size_t ReduceFrom(D d, uint8_t* out, const uint8_t* in, size_t i, size_t n) {
    constexpr size_t kBytes = hn::MaxLanes(d), kStep = kBytes / 4 * In;
    constexpr size_t kRoom =
        kBytes + (In == 4 ? 0 : kBytes / 12 + 1); // loads of three bytes a pixel read more
    const Words<D> words;
    for (; n - i >= kRoom; i += kBytes) {
        const uint8_t* p = in + i * In;
        const auto a = Kind::value(d, LoadAsFour<In>(d, p)), b = Kind::value(d, LoadAsFour<In>(d, p + kStep));
        const auto c = Kind::value(d, LoadAsFour<In>(d, p + 2 * kStep));
        const auto e = Kind::value(d, LoadAsFour<In>(d, p + 3 * kStep));
        const auto low = hn::BitCast(Shorts<D>(), Kind::finish(words, PackInts(a, b)));
        const auto high = hn::BitCast(Shorts<D>(), Kind::finish(words, PackInts(c, e)));
        hn::StoreU(QuartersFromBlocks(d, PackShorts(low, high)), d, out + i);
    }
    return i;
}

template <typename Kind, size_t In>
HWY_INLINE size_t ReduceRow(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceFrom<Kind, In>(Block(), out, in, ReduceFrom<Kind, In>(Bytes(), out, in, 0, n), n);
}

size_t FirstOf3(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceRow<TakeByte<0>, 3>(out, in, n);
}
size_t FirstOf4(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceRow<TakeByte<0>, 4>(out, in, n);
}
size_t FourthOf4(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceRow<TakeByte<3>, 4>(out, in, n);
}
size_t MeanOf3(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceRow<Mean, 3>(out, in, n);
}
size_t MeanOf4(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceRow<Mean, 4>(out, in, n);
}
size_t FullLumaRow(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceRow<Full, 4>(out, in, n);
}
size_t VideoLumaRow(uint8_t* out, const uint8_t* in, size_t n) {
    return ReduceRow<Video, 4>(out, in, n);
}

/// Returns a value for each pixel at @p in as 16 bits, in the order of the pixels.
template <typename Kind>
HWY_INLINE size_t WordsRow(uint8_t* out, const uint8_t* in, size_t n) {
    const Bytes d;
    const size_t step = hn::Lanes(d) / 2;
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto low = Kind::value(hn::LoadU(d, in + 4 * i));
        const auto high = Kind::value(hn::LoadU(d, in + 4 * i + hn::Lanes(d)));
        hn::StoreU(HalvesFromBlocks(d, hn::BitCast(d, PackInts(low, high))), d, out + 2 * i);
    }
    return i;
}

struct MeanAndAlphaWord {
    HWY_INLINE static auto value(hn::Vec<Bytes> pixels) {
        const Words<Bytes> words;
        const auto sum = hn::Add(Mean::value(Bytes(), pixels), hn::Set(Ints<Bytes>(), 1));
        const auto mean = hn::BitCast(Ints<Bytes>(), Third(words, hn::BitCast(words, sum)));
        const auto alpha = hn::ShiftRight<16>(hn::BitCast(Longs<Bytes>(), pixels));
        return hn::Or(mean, hn::BitCast(Ints<Bytes>(), hn::And(alpha, hn::Set(Longs<Bytes>(), 0xFF00))));
    }
};

// ((s << 8) | 192) / 3 is 85 * s + s / 3 + 64 for every sum.
struct MeanWord {
    HWY_INLINE static auto value(hn::Vec<Bytes> pixels) {
        const Words<Bytes> words;
        const auto sum = hn::BitCast(words, Mean::value(Bytes(), pixels));
        const auto mean = hn::Add(hn::Mul(sum, hn::Set(words, 85)), Third(words, sum));
        return hn::Add(hn::BitCast(Ints<Bytes>(), mean), hn::Set(Ints<Bytes>(), 64));
    }
};

size_t MeanAndAlphaRow(uint8_t* out, const uint8_t* in, size_t n) {
    return WordsRow<MeanAndAlphaWord>(out, in, n);
}
size_t Mean16Of4(uint8_t* out, const uint8_t* in, size_t n) {
    return WordsRow<MeanWord>(out, in, n);
}

size_t NineBits(uint8_t* out, const uint8_t* in, size_t n) {
    const hn::Half<Bytes> half;
    const Words<Bytes> words;
    const size_t step = hn::Lanes(words);
    const auto most = hn::Set(words, 255);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto values = hn::BitCast(words, hn::LoadU(Bytes(), in + 2 * i));
        const auto limited = hn::Min(hn::ShiftRight<1>(values), most);
        const auto grey = hn::DemoteTo(half, hn::BitCast(Shorts<Bytes>(), limited));
        hn::StoreInterleaved3(grey, grey, grey, half, out + 3 * i);
    }
    return i;
}

size_t WordsToFloats(uint8_t* out, const uint8_t* in, size_t n) {
    const hn::Repartition<float, HalfLine> floats;
    const hn::Rebind<uint16_t, decltype(floats)> words;
    const hn::Repartition<uint8_t, decltype(words)> bytes;
    const hn::RebindToSigned<decltype(floats)> ints;
    const size_t step = hn::Lanes(floats);
    const auto factor = hn::Set(floats, WordToFloat::kFactor);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto values = hn::PromoteTo(ints, hn::BitCast(words, hn::LoadU(bytes, in + 2 * i)));
        const auto scaled = hn::Mul(hn::ConvertTo(floats, values), factor);
        hn::StoreU(hn::BitCast(HalfLine(), scaled), HalfLine(), out + 4 * i);
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
        const auto first = hn::LoadU(Bytes(), in + 2 * i);
        const auto second = hn::LoadU(Bytes(), in + 2 * i + step);
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
