// Vector kernels of resizing to half and to twice the size.
#include <qel/imaging/pixels/resize_rows_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/resize_twofold_simd.cpp"
#include <hwy/foreach_target.h>

#include <qel/imaging/pixels/simd_pixels.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

/// Bytes of a vector that hold pixels.
template <size_t Channels, class D>
inline constexpr size_t kUsed = hn::MaxLanes(D()) * (Channels == 3 ? 3 : 4) / 4;

template <size_t Channels, class D>
HWY_INLINE size_t HalfFrom(D d, uint8_t* out, const uint8_t* a, const uint8_t* b, size_t i, size_t n) {
    constexpr size_t kBytes = hn::MaxLanes(d), kIn = kUsed<Channels, D>, kPixels = kIn / Channels;
    constexpr size_t kRoom = (kBytes + Channels - 1) / Channels; // that loads and stores need
    const auto two = hn::Set(Shorts<D>(), 2);
    const auto mean = [&](size_t at) HWY_ATTR {
        const auto sum =
            hn::Add(SumsOfPixelPairs<Channels>(d, a + at), SumsOfPixelPairs<Channels>(d, b + at));
        return hn::ShiftRight<2>(hn::Add(sum, two));
    };
    for (; n - i >= kRoom; i += kPixels) {
        const size_t at = 2 * i * Channels;
        const auto means = HalvesFromBlocks(d, PackShorts(mean(at), mean(at + kIn)));
        StoreFromFour<Channels == 3 ? 3 : 4>(d, means, out + i * Channels);
    }
    return i;
}

template <size_t Channels>
HWY_INLINE size_t HalfOf(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t n) {
    return HalfFrom<Channels>(Block(), out, a, b, HalfFrom<Channels>(Bytes(), out, a, b, 0, n), n);
}

size_t Half(uint8_t* out, const uint8_t* a, const uint8_t* b, size_t channels, size_t n) {
    switch (channels) {
    case 1:
        return HalfOf<1>(out, a, b, n);
    case 2:
        return HalfOf<2>(out, a, b, n);
    case 3:
        return HalfOf<3>(out, a, b, n);
    default:
        return HalfOf<4>(out, a, b, n);
    }
}

/// Loads pixels of `Channels`; those of three become four bytes each.
template <size_t Channels, class D>
HWY_INLINE hn::Vec<D> LoadForTwice(D d, const uint8_t* in) {
    return HalvesToBlocks(d, LoadAsFour < Channels == 3 ? 3 : 4 > (d, in));
}

/// The interpolated pixels between neighbours of a row, times four: a quarter and three quarters of the way.
template <class D>
struct Between {
    hn::Vec<Shorts<D>> low, high;

    HWY_INLINE Between(D d, hn::Vec<D> pixels, hn::Vec<D> next, int first, int second) {
        const auto factors = ByteFactors(d, first, second, first, second);
        low = MulPairs(hn::InterleaveLower(d, pixels, next), factors);
        high = MulPairs(hn::InterleaveUpper(d, pixels, next), factors);
    }

    /// Returns the pixels a quarter of the way to another row.
    HWY_INLINE hn::Vec<D> Towards(const Between& other) const {
        const auto mix = [](auto near, auto far) HWY_ATTR {
            const auto three = hn::Add(hn::Add(near, near), near);
            const auto sum = hn::Add(hn::Add(three, far), hn::Set(Shorts<D>(), 8));
            return hn::ShiftRight<4>(sum);
        };
        return PackShorts(mix(low, other.low), mix(high, other.high));
    }
};

/// Stores left and right pixels in turn.
template <size_t Channels, class D>
HWY_INLINE void StoreInTurn(D d, hn::Vec<D> left, hn::Vec<D> right, uint8_t* out) {
    using Lane =
        std::conditional_t<Channels == 1, uint8_t, std::conditional_t<Channels == 2, uint16_t, uint32_t>>;
    const hn::Repartition<Lane, D> lanes;
    const auto l = hn::BitCast(lanes, left), r = hn::BitCast(lanes, right);
    const auto first = hn::BitCast(d, hn::InterleaveLower(lanes, l, r));
    const auto second = hn::BitCast(d, hn::InterleaveUpper(lanes, l, r));
    constexpr size_t kStored = Channels == 3 ? 3 : 4;
    StoreFromFour<kStored>(d, first, out);
    StoreFromFour<kStored>(d, second, out + kUsed<Channels, D>);
}

/// Writes pixels 2 * x + 1 and 2 * x + 2 of both rows for all x from @p i.
template <size_t Channels, class D>
HWY_INLINE size_t TwiceFrom(D d, uint8_t* upper, uint8_t* lower, const uint8_t* a, const uint8_t* b, size_t i,
                            size_t n) {
    constexpr size_t kPixels = kUsed<Channels, D> / Channels;
    constexpr size_t kRoom = hn::MaxLanes(d) / Channels + 2; // that loads of the next pixel and stores need
    for (; n - i >= kRoom; i += kPixels) {
        const size_t at = i * Channels;
        const auto a0 = LoadForTwice<Channels>(d, a + at), a1 = LoadForTwice<Channels>(d, a + at + Channels);
        const auto b0 = LoadForTwice<Channels>(d, b + at), b1 = LoadForTwice<Channels>(d, b + at + Channels);
        const Between<D> aLeft(d, a0, a1, 3, 1), aRight(d, a0, a1, 1, 3);
        const Between<D> bLeft(d, b0, b1, 3, 1), bRight(d, b0, b1, 1, 3);
        const size_t to = (2 * i + 1) * Channels;
        StoreInTurn<Channels>(d, aLeft.Towards(bLeft), aRight.Towards(bRight), upper + to);
        StoreInTurn<Channels>(d, bLeft.Towards(aLeft), bRight.Towards(aRight), lower + to);
    }
    return i;
}

template <size_t Channels>
HWY_INLINE size_t TwiceOf(uint8_t* upper, uint8_t* lower, const uint8_t* a, const uint8_t* b, size_t n) {
    const size_t wide = TwiceFrom<Channels>(Bytes(), upper, lower, a, b, 0, n);
    return TwiceFrom<Channels>(Block(), upper, lower, a, b, wide, n);
}

size_t Twice(uint8_t* upper, uint8_t* lower, const uint8_t* a, const uint8_t* b, size_t channels, size_t n) {
    switch (channels) {
    case 1:
        return TwiceOf<1>(upper, lower, a, b, n);
    case 2:
        return TwiceOf<2>(upper, lower, a, b, n);
    case 3:
        return TwiceOf<3>(upper, lower, a, b, n);
    default:
        return TwiceOf<4>(upper, lower, a, b, n);
    }
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#include <algorithm>

namespace qel::internal {

QEL_SIMD_TABLE(Half);
QEL_SIMD_TABLE(Twice);

void rowHalf(uint8* out, const uint8* a, const uint8* b, size_t channels, size_t n) {
    for (size_t x = g_Half(out, a, b, channels, n); x < n; ++x) {
        const uint8 *first = a + 2 * x * channels, *second = b + 2 * x * channels;
        for (size_t c = 0; c < channels; ++c) {
            const int sum = first[c] + first[c + channels] + second[c] + second[c + channels];
            out[x * channels + c] = static_cast<uint8>((sum + 2) >> 2);
        }
    }
}

namespace {

/// Returns four times the value a quarter of the way from @p near to @p far.
int quarterWay(int near, int far) {
    return 3 * near + far;
}

/// Returns the rounded value of sixteenths a quarter of the way from @p near to @p far.
uint8 roundedQuarterWay(int near, int far) {
    return static_cast<uint8>((quarterWay(near, far) + 8) >> 4);
}

} // namespace

void rowsTwice(uint8* upper, uint8* lower, const uint8* a, const uint8* b, size_t channels, size_t n) {
    // The pixels next to x; those outside the row equal the first and the last one.
    const auto write = [&](size_t x, size_t neighbour, size_t to) {
        for (size_t c = 0; c < channels; ++c) {
            const int first = quarterWay(a[x * channels + c], a[neighbour * channels + c]);
            const int second = quarterWay(b[x * channels + c], b[neighbour * channels + c]);
            upper[to * channels + c] = roundedQuarterWay(first, second);
            lower[to * channels + c] = roundedQuarterWay(second, first);
        }
    };
    write(0, 0, 0);
    for (size_t x = g_Twice(upper, lower, a, b, channels, n); x + 1 < n; ++x) {
        write(x, x + 1, 2 * x + 1);
        write(x + 1, x, 2 * x + 2);
    }
    write(n - 1, n - 1, 2 * n - 1);
}

} // namespace qel::internal
#endif
