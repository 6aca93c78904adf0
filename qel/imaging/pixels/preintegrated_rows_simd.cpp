// Vector kernel of preintegrated lookup tables.
#include <qel/imaging/pixels/preintegrated_rows_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/preintegrated_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <qel/imaging/pixels/simd_pixels.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

using Floats = hn::ScalableTag<float>;

/// Rounds with halves away from zero and returns the number's low byte; 0 for NaN and for numbers that do not
/// fit.
HWY_INLINE hn::Vec<Ints<Floats>> ToLowBytes(hn::Vec<Floats> value) {
    const Floats d;
    const Ints<Floats> di;
    const auto scaled = hn::Mul(value, hn::Set(d, 255.0f));
    const auto fits = hn::Lt(hn::Abs(scaled), hn::Set(d, 2147483648.0f));
    const auto whole = hn::ConvertTo(di, hn::IfThenElseZero(fits, scaled)); // truncates
    const auto rest = hn::Sub(scaled, hn::ConvertTo(d, whole));             // exact
    const auto up = hn::VecFromMask(di, hn::RebindMask(di, hn::Ge(rest, hn::Set(d, 0.5f))));
    const auto down = hn::VecFromMask(di, hn::RebindMask(di, hn::Le(rest, hn::Set(d, -0.5f))));
    const auto rounded = hn::Sub(hn::Add(whole, down), up); // a mask is -1
    const auto low = hn::And(rounded, hn::Set(di, 0xFF));
    return hn::IfThenElseZero(hn::RebindMask(di, fits), low);
}

void WritePreintegratedRow(uint8_t* out, const IVec4<float>* sums, size_t row, size_t begin, size_t end) {
    const Floats d;
    const hn::Rebind<uint8_t, Floats> bytes;
    const hn::CappedTag<float, 4> one;
    constexpr size_t kPixels = hn::MaxLanes(d) / 4;
    const auto before = hn::LoadDup128(d, &sums[row].x);
    HWY_ALIGN float first[hn::MaxLanes(d)];
    for (size_t i = 0; i < kPixels * 4; ++i) {
        const size_t distance = begin - row + i / 4;
        first[i] = static_cast<float>(distance);
    }
    auto width = hn::Load(d, first);
    size_t column = begin;
    for (; column + kPixels <= end; column += kPixels) {
        const auto mean = hn::Div(hn::Sub(hn::LoadU(d, &sums[column].x), before), width);
        hn::StoreU(hn::DemoteTo(bytes, ToLowBytes(mean)), bytes, out + (column - begin) * 4);
        width = hn::Add(width, hn::Set(d, float{kPixels}));
    }
    for (; column < end; ++column) {
        const auto mean = hn::Div(hn::Sub(hn::LoadU(one, &sums[column].x), hn::LoadU(one, &sums[row].x)),
                                  hn::Set(one, static_cast<float>(column - row)));
        HWY_ALIGN float lanes[4];
        hn::Store(mean, one, lanes);
        for (size_t i = 0; i < 4; ++i) out[(column - begin) * 4 + i] = toTableByte(lanes[i]);
    }
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(WritePreintegratedRow);

void writePreintegratedRow(uint8* out, const IVec4<float>* sums, size_t row, size_t begin, size_t end) {
    g_WritePreintegratedRow(out, sums, row, begin, end);
}

} // namespace qel::internal
#endif
