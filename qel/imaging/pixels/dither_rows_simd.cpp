// Kernels that turn 8-bit colours into 16-bit words with an ordered dither.
#include <qel/imaging/pixels/dither_rows_p.h>

#include <qel/imaging/pixels/pixel_rows_p.h>
#include <qel/imaging/pixels/plain_pixels_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/dither_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

#include <algorithm>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Bytes = hn::ScalableTag<uint8_t>;
using Longs = hn::Repartition<uint32_t, Bytes>;
using Halves = hn::Rebind<uint16_t, Longs>;

/// Moves the byte at @p From of each pixel to the bits below @p Top, reduced to @p Count bits.
template <int From, int Top, int Count>
HWY_INLINE auto Field(hn::Vec<Longs> pixels) {
    constexpr int kDistance = From * 8 + 8 - Top;
    constexpr uint32_t kMask = ((1u << Count) - 1) << (Top - Count);
    const auto mask = hn::Set(Longs(), kMask);
    if constexpr (kDistance >= 0) return hn::And(hn::ShiftRight<kDistance>(pixels), mask);
    if constexpr (kDistance < 0) return hn::And(hn::ShiftLeft<-kDistance>(pixels), mask);
}

/// The three 16-bit formats; red is byte `Red` of the source.
template <int Red>
struct To565 {
    HWY_INLINE static auto Pack(hn::Vec<Longs> p) {
        return hn::Or(Field<Red, 16, 5>(p), hn::Or(Field<1, 11, 6>(p), Field<2 - Red, 5, 5>(p)));
    }
};
template <int Red>
struct To4 {
    HWY_INLINE static auto Pack(hn::Vec<Longs> p) {
        return hn::Or(hn::Or(Field<Red, 16, 4>(p), Field<1, 12, 4>(p)),
                      hn::Or(Field<2 - Red, 8, 4>(p), Field<3, 4, 4>(p)));
    }
};
template <int Red>
struct To5551 {
    HWY_INLINE static auto Pack(hn::Vec<Longs> p) {
        return hn::Or(hn::Or(Field<Red, 16, 5>(p), Field<1, 11, 5>(p)),
                      hn::Or(Field<2 - Red, 6, 5>(p), Field<3, 1, 1>(p)));
    }
};

/// Converts whole vectors. The addition saturates, which is the limit of each channel.
template <typename Format>
HWY_INLINE size_t DitherRow(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    const hn::Repartition<uint8_t, Halves> halfBytes;
    HWY_ALIGN uint8_t pattern[HWY_MAX_BYTES < 32 ? 32 : HWY_MAX_BYTES];
    for (size_t i = 0; i < sizeof pattern; ++i) pattern[i] = lanes[i % 32];
    const size_t step = hn::Lanes(Longs());
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto added = hn::Load(Bytes(), pattern + 4 * (i & 7));
        const auto pixels = hn::SaturatedAdd(hn::LoadU(Bytes(), in + 4 * i), added);
        const auto words = Format::Pack(hn::BitCast(Longs(), pixels));
        const auto narrow = hn::DemoteTo(Halves(), hn::BitCast(hn::RebindToSigned<Longs>(), words));
        hn::StoreU(hn::BitCast(halfBytes, narrow), halfBytes, out + 2 * i);
    }
    return i;
}

size_t RgbaTo565(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To565<0>>(out, in, n, lanes);
}
size_t BgraTo565(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To565<2>>(out, in, n, lanes);
}
size_t RgbaTo4(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To4<0>>(out, in, n, lanes);
}
size_t BgraTo4(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To4<2>>(out, in, n, lanes);
}
size_t RgbaTo5551(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To5551<0>>(out, in, n, lanes);
}
size_t BgraTo5551(uint8_t* out, const uint8_t* in, size_t n, const uint8_t* lanes) {
    return DitherRow<To5551<2>>(out, in, n, lanes);
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

template <typename Format, size_t Red>
void plainDither(uint8* out, const uint8* in, const std::array<uint8, 4>& lanes) {
    const uint8 source[] = {in[Red], in[1], in[2 - Red], in[3]};
    unsigned channels[4];
    for (size_t c = 0; c < 4; ++c) channels[c] = std::min(unsigned{source[c]} + lanes[c], 255u);
    storeValue(out, static_cast<uint16>(Format::pack(channels)));
}

/// The lanes in the order of the source's bytes.
template <size_t Red>
std::array<uint8, 32> lanesOfBytes(const DitherLanes& lanes) {
    std::array<uint8, 32> bytes;
    for (size_t x = 0; x < 8; ++x) {
        bytes[4 * x + Red] = lanes[x][0];
        bytes[4 * x + 1] = lanes[x][1];
        bytes[4 * x + 2 - Red] = lanes[x][2];
        bytes[4 * x + 3] = lanes[x][3];
    }
    return bytes;
}

template <typename Format, size_t Red, typename Kernel>
void ditherRow(const Kernel& kernel, uint8* out, const uint8* in, size_t n, const DitherLanes& lanes) {
    const std::array<uint8, 32> bytes = lanesOfBytes<Red>(lanes);
    for (size_t x = kernel(out, in, n, bytes.data()); x < n; ++x)
        plainDither<Format, Red>(out + 2 * x, in + 4 * x, lanes[x & 7]);
}

/// Converts 3-byte pixels in pieces of whole patterns that stay in the first cache.
void ditherRowOfThree(DitherRowFunction* row, uint8* out, const uint8* in, size_t n,
                      const DitherLanes& lanes) {
    constexpr size_t kPiece = 256;
    uint8 wide[4 * kPiece];
    for (size_t x = 0; x < n; x += kPiece) {
        const size_t count = std::min(n - x, kPiece);
        rowWiden3To4(wide, in + 3 * x, count);
        row(out + 2 * x, wide, count, lanes);
    }
}

} // namespace

/// Defines the row function NAME by a kernel, the plain format and the byte of red.
#define QEL_DITHER_ROW(NAME, KERNEL, FORMAT, RED)                                                            \
    QEL_SIMD_TABLE(KERNEL);                                                                                  \
    void NAME(uint8* out, const uint8* in, size_t n, const DitherLanes& lanes) {                             \
        ditherRow<FORMAT, RED>(g_##KERNEL, out, in, n, lanes);                                               \
    }

QEL_DITHER_ROW(rowRgbaTo565, RgbaTo565, Plain565, 0)
QEL_DITHER_ROW(rowBgraTo565, BgraTo565, Plain565, 2)
QEL_DITHER_ROW(rowRgbaTo4, RgbaTo4, Plain4, 0)
QEL_DITHER_ROW(rowBgraTo4, BgraTo4, Plain4, 2)
QEL_DITHER_ROW(rowRgbaTo5551, RgbaTo5551, Plain5551, 0)
QEL_DITHER_ROW(rowBgraTo5551, BgraTo5551, Plain5551, 2)

#undef QEL_DITHER_ROW

void rowRgbTo565(uint8* out, const uint8* in, size_t n, const DitherLanes& lanes) {
    ditherRowOfThree(rowRgbaTo565, out, in, n, lanes);
}

void rowBgrTo565(uint8* out, const uint8* in, size_t n, const DitherLanes& lanes) {
    ditherRowOfThree(rowBgraTo565, out, in, n, lanes);
}

} // namespace qel::internal
#endif
