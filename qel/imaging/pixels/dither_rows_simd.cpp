// Kernels that turn 8-bit colours into 16-bit words with an ordered dither.
#include <qel/imaging/pixels/dither_rows_p.h>

#include <qel/imaging/pixels/plain_pixels_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/dither_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <qel/imaging/pixels/simd_pixels.inc>

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

using Pixels = hn::Vec<Longs<Bytes>>;

/// Keeps the bits of @p mask.
HWY_INLINE Pixels Keep(Pixels pixels, uint32_t mask) {
    return hn::And(pixels, hn::Set(Longs<Bytes>(), mask));
}

/// Multiplies bytes 0 and 2, of which byte `Red` is red, by their factors and adds them.
template <int Red>
HWY_INLINE Pixels AddEnds(Pixels ends, int ofRed, int ofBlue) {
    const auto factors = Red == 0 ? Factors(Bytes(), ofRed, ofBlue) : Factors(Bytes(), ofBlue, ofRed);
    return hn::BitCast(Longs<Bytes>(), SumPairs(Bytes(), hn::BitCast(Shorts<Bytes>(), ends), factors));
}

// The three 16-bit formats; red is byte `Red` of the source. One multiplication moves red and blue to their
// places.

template <int Red>
struct To565 {
    static constexpr int kRed = Red;
    HWY_INLINE static Pixels pack(Pixels p) {
        const auto eight =
            hn::Or(AddEnds<Red>(Keep(p, 0x00F800F8), 2048, 1), hn::ShiftRight<2>(Keep(p, 0xFC00)));
        return hn::ShiftRight<3>(eight);
    }
};
template <int Red>
struct To4 {
    static constexpr int kRed = Red;
    HWY_INLINE static Pixels pack(Pixels p) {
        const auto greenAndAlpha = hn::BitCast(Shorts<Bytes>(), Keep(hn::ShiftRight<12>(p), 0x000F000F));
        const auto rest = SumPairs(Bytes(), greenAndAlpha, Factors(Bytes(), 256, 1));
        return hn::Or(AddEnds<Red>(Keep(p, 0x00F000F0), 256, 1), hn::BitCast(Longs<Bytes>(), rest));
    }
};
template <int Red>
struct To5551 {
    static constexpr int kRed = Red;
    HWY_INLINE static Pixels pack(Pixels p) {
        const auto rest = hn::Or(hn::ShiftRight<3>(Keep(p, 0xF800)), Keep(hn::ShiftRight<29>(p), 4));
        return hn::ShiftRight<2>(hn::Or(AddEnds<Red>(Keep(p, 0x00F800F8), 1024, 1), rest));
    }
};

/// Loads what is added to a vector of pixels: the lanes of eight pixels, which repeat, in the order of the
/// source's bytes.
template <int Red, class D>
HWY_INLINE hn::Vec<D> LanesFor(D d, const uint8_t* lanes) {
    static constexpr ByteOrder kExchanged = {2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15};
    if constexpr (hn::MaxLanes(D()) > 32) {
        const auto half = LanesFor<Red>(hn::Half<D>(), lanes);
        return hn::Combine(d, half, half);
    } else if constexpr (Red == 0) {
        return hn::LoadU(d, lanes);
    } else {
        return Shuffle(d, hn::LoadU(d, lanes), kExchanged);
    }
}

/// Converts whole vectors. The addition saturates, which is the limit of each channel.
template <typename Format, size_t In>
HWY_INLINE size_t DitherRow(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    const Bytes d;
    constexpr size_t kBytes = hn::MaxLanes(d), kStep = kBytes / 4 * In, kPixels = kBytes / 2;
    constexpr size_t kRoom =
        kPixels + (In == 4 ? 0 : kBytes / 12 + 1); // loads of three bytes a pixel read more
    const auto first = LanesFor<Format::kRed>(d, lanes);
    const auto second = LanesFor<Format::kRed>(d, lanes + kBytes % 32);
    size_t i = 0;
    for (; n - i >= kRoom; i += kPixels) {
        const auto low = hn::SaturatedAdd(LoadAsFour<In>(d, in + i * In), first);
        const auto high = hn::SaturatedAdd(LoadAsFour<In>(d, in + i * In + kStep), second);
        const auto packed =
            PackInts(hn::BitCast(Ints<Bytes>(), Format::pack(hn::BitCast(Longs<Bytes>(), low))),
                     hn::BitCast(Ints<Bytes>(), Format::pack(hn::BitCast(Longs<Bytes>(), high))));
        hn::StoreU(HalvesFromBlocks(d, hn::BitCast(d, packed)), d, out + 2 * i);
    }
    return i;
}

size_t RgbaTo565(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To565<0>, 4>(out, in, n, lanes);
}
size_t BgraTo565(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To565<2>, 4>(out, in, n, lanes);
}
size_t RgbaTo4(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To4<0>, 4>(out, in, n, lanes);
}
size_t BgraTo4(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To4<2>, 4>(out, in, n, lanes);
}
size_t RgbaTo5551(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To5551<0>, 4>(out, in, n, lanes);
}
size_t BgraTo5551(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To5551<2>, 4>(out, in, n, lanes);
}
size_t RgbTo565(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To565<0>, 3>(out, in, n, lanes);
}
size_t BgrTo565(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To565<2>, 3>(out, in, n, lanes);
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {
namespace {

/// The definition: each channel with its lane added, limited and cut to its bits.
struct Plain565 {
    static unsigned pack(const unsigned* c) { return (c[0] >> 3) << 11 | (c[1] >> 2) << 5 | c[2] >> 3; }
};
struct Plain4 {
    static unsigned pack(const unsigned* c) {
        return (c[0] >> 4) << 12 | (c[1] >> 4) << 8 | (c[2] >> 4) << 4 | c[3] >> 4;
    }
};
struct Plain5551 {
    static unsigned pack(const unsigned* c) {
        return (c[0] >> 3) << 11 | (c[1] >> 3) << 6 | (c[2] >> 3) << 1 | c[3] >> 7;
    }
};

template <typename Format, size_t In, size_t Red>
void plainDither(uint8* out, const uint8* in, const std::array<uint8, 4>& lanes) {
    const uint8 source[] = {in[Red], in[1], in[2 - Red], In == 4 ? in[In - 1] : uint8{0}};
    unsigned channels[4];
    for (size_t c = 0; c < 4; ++c) channels[c] = std::min(unsigned{source[c]} + lanes[c], 255u);
    storeValue(out, static_cast<uint16>(Format::pack(channels)));
}

template <typename Format, size_t In, size_t Red, typename Kernel>
void ditherRow(const Kernel& kernel, uint8* out, const uint8* in, size_t n, const DitherLanes& lanes) {
    for (size_t x = kernel(out, in, n, reinterpret_cast<const uint8*>(lanes.data())); x < n; ++x)
        plainDither<Format, In, Red>(out + 2 * x, in + In * x, lanes[x & 7]);
}

} // namespace

/// Defines the row function NAME by a kernel, the plain format, the bytes of a pixel and the byte of red.
#define QEL_DITHER_ROW(NAME, KERNEL, FORMAT, BYTES, RED)                                                     \
    QEL_SIMD_TABLE(KERNEL);                                                                                  \
    void NAME(uint8* out, const uint8* in, size_t n, const DitherLanes& lanes) {                             \
        ditherRow<FORMAT, BYTES, RED>(g_##KERNEL, out, in, n, lanes);                                        \
    }

QEL_DITHER_ROW(rowRgbaTo565, RgbaTo565, Plain565, 4, 0)
QEL_DITHER_ROW(rowBgraTo565, BgraTo565, Plain565, 4, 2)
QEL_DITHER_ROW(rowRgbaTo4, RgbaTo4, Plain4, 4, 0)
QEL_DITHER_ROW(rowBgraTo4, BgraTo4, Plain4, 4, 2)
QEL_DITHER_ROW(rowRgbaTo5551, RgbaTo5551, Plain5551, 4, 0)
QEL_DITHER_ROW(rowBgraTo5551, BgraTo5551, Plain5551, 4, 2)
QEL_DITHER_ROW(rowRgbTo565, RgbTo565, Plain565, 3, 0)
QEL_DITHER_ROW(rowBgrTo565, BgrTo565, Plain565, 3, 2)

#undef QEL_DITHER_ROW

} // namespace qel::internal
#endif
