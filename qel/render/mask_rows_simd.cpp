// Vector kernels of rows of alpha bytes. Each lane rounds as the plain functions do, because nothing here may
// be contracted or reordered.
#include <qel/render/mask_rows_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/render/mask_rows_simd.cpp"
#include <hwy/foreach_target.h>

// Few glyphs are wider, and narrow vectors are transparent as a whole more often.
#define QEL_MOST_LANES 8
#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>
#include <qel/render/pixel_mixing.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {
namespace {

/// Loads @p count alphas, or a whole vector of them if there are more.
HWY_INLINE hn::Vec<Pixels> LoadAlphas(const uint8* p, const uint8* end, size_t count) {
    const size_t step = hn::Lanes(FewBytes());
    if (static_cast<size_t>(end - p) >= step) return hn::PromoteTo(Pixels(), hn::LoadU(FewBytes(), p));
    HWY_ALIGN uint8_t copy[hn::MaxLanes(Bytes())] = {};
    std::memcpy(copy, p, count);
    return hn::PromoteTo(Pixels(), hn::LoadU(FewBytes(), copy));
}

/// Calls `brush.Draw(alpha, load, store)` for vectors of all rows. The last lanes of a row are not stored.
template <typename Brush>
HWY_INLINE void DrawRows(MaskRows rows, const Brush& brush) {
    const size_t step = hn::Lanes(Pixels());
    const auto count = static_cast<size_t>(rows.width);
    for (; rows.height > 0; --rows.height, rows.target += rows.pitch, rows.alphas += rows.alphaPitch) {
        size_t i = 0;
        for (; i + step <= count; i += step) {
            uint8* const p = rows.target + 4 * i;
            brush.Draw(
                hn::PromoteTo(Pixels(), hn::LoadU(FewBytes(), rows.alphas + i)),
                [p]() HWY_ATTR { return LoadPixels(p); },
                [p](hn::Vec<Pixels> v) HWY_ATTR { StorePixels(v, p); });
        }
        if (i == count) continue;
        uint8* const p = rows.target + 4 * i;
        const size_t rest = count - i;
        brush.Draw(
            LoadAlphas(rows.alphas + i, rows.end, rest), [=]() HWY_ATTR { return LoadFirstPixels(p, rest); },
            [=](hn::Vec<Pixels> v) HWY_ATTR { StoreFirstPixels(v, p, rest); });
    }
}

/// Draws an opaque colour of whole bytes in whole numbers.
struct ByteBrush {
    hn::Vec<Pixels> source;

    template <typename Load, typename Store>
    HWY_INLINE void Draw(hn::Vec<Pixels> alpha, const Load& load, const Store& store) const {
        DrawVector(source, alpha, load, store);
    }
};

void DrawPixelMask(const MaskRows& rows, uint32 pixel) {
    DrawRows(rows, ByteBrush{hn::Set(Pixels(), pixel)});
}

/// Draws any tint in single precision, one channel of all pixels of a vector after another.
template <bool isUnit>
struct TintBrush {
    hn::Vec<Floats> tintAlpha;
    hn::Vec<Floats> channels[3]; ///< blue, green, red
    hn::Vec<Pixels> solidPixel;  ///< without alpha

    explicit TintBrush(const Color& tint)
        : tintAlpha(hn::Set(Floats(), tint.w)),
          channels{hn::Set(Floats(), tint.z), hn::Set(Floats(), tint.y), hn::Set(Floats(), tint.x)},
          solidPixel(Joined(ToBytes(channels[0]), ToBytes(channels[1]), ToBytes(channels[2]))) {}

    template <typename Load, typename Store>
    HWY_INLINE void Draw(hn::Vec<Pixels> coverage, const Load& load, const Store& store) const {
        if (AreTransparent(coverage)) return;
        const auto a = hn::Mul(Quotient255(ToFloats(coverage)), tintAlpha);
        const auto isVisible = hn::RebindMask(Pixels(), hn::Gt(a, hn::Set(Floats(), kInvisibleAlpha)));
        const auto isSolid = hn::RebindMask(Pixels(), hn::Gt(a, hn::Set(Floats(), kSolidAlpha)));
        const auto old = load();
        const auto mixed = Joined(Mix<0>(a, old), Mix<1>(a, old), Mix<2>(a, old));
        const auto color = hn::IfThenElse(isSolid, solidPixel, mixed);
        const auto pixel = hn::Or(color, hn::ShiftLeft<24>(ToBytes(a)));
        store(hn::IfThenElse(isVisible, pixel, old));
    }

private:
    static HWY_INLINE hn::Vec<Floats> ToFloats(hn::Vec<Pixels> numbers) {
        return hn::ConvertTo(Floats(), hn::BitCast(Integers(), numbers));
    }
    static HWY_INLINE hn::Vec<Pixels> ToBytes(hn::Vec<Floats> channel) {
        return hn::BitCast(Pixels(), ToByteNumbers<isUnit>(channel));
    }
    static HWY_INLINE hn::Vec<Pixels> Joined(hn::Vec<Pixels> blue, hn::Vec<Pixels> green,
                                             hn::Vec<Pixels> red) {
        return hn::Or(hn::Or(blue, hn::ShiftLeft<8>(green)), hn::ShiftLeft<16>(red));
    }

    /// Returns a channel of the mixture with pixels of the target.
    template <int channel>
    HWY_INLINE hn::Vec<Pixels> Mix(hn::Vec<Floats> a, hn::Vec<Pixels> pixels) const {
        const auto byte = hn::And(hn::ShiftRight<8 * channel>(pixels), hn::Set(Pixels(), 0xFF));
        const auto old = hn::Mul(ToFloats(byte), hn::Set(Floats(), 0.003921569f));
        const auto keep = hn::Sub(hn::Set(Floats(), 1.0f), a);
        return ToBytes(hn::Add(hn::Mul(a, channels[channel]), hn::Mul(keep, old)));
    }
};

void DrawTintMask(const MaskRows& rows, const Color& tint) {
    bool isUnit = true;
    for (const float channel : {tint.x, tint.y, tint.z, tint.w}) isUnit &= channel >= 0 && channel <= 1;
    isUnit ? DrawRows(rows, TintBrush<true>(tint)) : DrawRows(rows, TintBrush<false>(tint));
}

} // namespace
} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(DrawPixelMask);
QEL_SIMD_TABLE(DrawTintMask);

namespace {

/// Returns the bytes B, G and R of an opaque tint whose channels are bytes divided by 255.
std::optional<uint32> wholePixel(const Color& tint) {
    if (tint.w != 1) return {};
    uint32 pixel = 0;
    for (const float channel : {tint.x, tint.y, tint.z}) {
        const auto byte = static_cast<uint32>(clampUnit(channel) * 255.0f + 0.5f);
        if (static_cast<float>(byte) / 255.0f != channel) return {};
        pixel = pixel << 8 | byte;
    }
    return pixel;
}

} // namespace

MaskBrush::MaskBrush(const Color& tint) : m_tint(tint), m_pixel(wholePixel(tint)) {}

void MaskBrush::draw(const MaskRows& rows) const {
    m_pixel ? g_DrawPixelMask(rows, *m_pixel) : g_DrawTintMask(rows, m_tint);
}

} // namespace qel::internal
#endif
