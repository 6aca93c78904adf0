// Vector kernels of spans. Each lane rounds as the scalar form does, because nothing here may be contracted
// or reordered.
#include <qel/render/span_kernels_p.h>

#include <array>
#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/render/span_kernels_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>
#include <qel/render/pixel_vectors.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {
namespace {

// --- solid colours
// -------------------------------------------------------------------------------------------------

/// Stores a pixel @p count times. The first and the last vector may overlap others.
HWY_INLINE void FillSpan(uint8* p, size_t count, hn::Vec<Pixels> pixel) {
    const size_t step = hn::Lanes(Pixels());
    if (count < step) return StoreFirstPixels(pixel, p, count);
    const size_t last = count - step;
    StorePixels(pixel, p);
    for (size_t i = SecondVector(p, count); i < last; i += step) StorePixels(pixel, p + 4 * i);
    StorePixels(pixel, p + 4 * last);
}

void FillRows32(const SpanRows& rows, uint32 pixel) {
    const auto v = hn::Set(Pixels(), pixel);
    for (int y = 0; y < rows.height; ++y)
        FillSpan(rows.pixels + y * rows.pitch, static_cast<size_t>(rows.width), v);
}

void FillSpans32(uint8* row, std::ptrdiff_t pitch, const SpanEnds* spans, int count, uint32 pixel) {
    const auto v = hn::Set(Pixels(), pixel);
    for (int i = 0; i < count; ++i, row += pitch) {
        const auto [left, right] = spans[i];
        if (left < right) FillSpan(row + std::ptrdiff_t{left} * 4, static_cast<size_t>(right - left), v);
    }
}

// --- triangles
// -------------------------------------------------------------------------------------------------

using Doubles = hn::ScalableTag<double>;

/// Moves the ends of some rows' spans to one edge. In each row the pixels inside the edge begin or end at one
/// place, because rounding keeps the order of the products; it is estimated, corrected by one pixel, and
/// checked.
/// @param rows  the y coordinates.
/// @return false if the check fails.
HWY_INLINE bool LimitSpans(const SpanEdge& e, hn::Vec<Doubles> rows, double left, double right,
                           hn::Vec<Doubles>& begins, hn::Vec<Doubles>& ends) {
    const Doubles d;
    const auto one = hn::Set(d, 1.0), half = hn::Set(d, 0.5), zero = hn::Zero(d);
    const auto x = hn::Set(d, e.x), dy = hn::Set(d, e.dy), winding = hn::Set(d, e.winding);
    const auto low = hn::Set(d, left), high = hn::Set(d, right);
    const bool isBegin = e.winding * e.dy > 0;
    const auto product = hn::Mul(hn::Sub(hn::Add(rows, half), hn::Set(d, e.y)), hn::Set(d, e.dx));
    const auto isReached = [&](hn::Vec<Doubles> column) HWY_ATTR {
        const auto other = hn::Mul(hn::Sub(hn::Add(column, half), x), dy);
        const auto side = hn::Mul(hn::Sub(other, product), winding);
        return isBegin ? hn::Ge(side, zero) : hn::Lt(side, zero);
    };
    const auto estimate = hn::Add(hn::Mul(product, hn::Set(d, 1 / e.dy)), hn::Set(d, e.x - 0.5));
    const auto near = hn::Min(hn::Max(hn::Ceil(estimate), low), high);
    const auto next = hn::IfThenElse(isReached(near), near, hn::Add(near, one));
    const auto before = hn::Sub(next, one);
    const auto place = hn::Min(hn::Max(hn::IfThenElse(isReached(before), before, next), low), high);
    if (isBegin)
        begins = hn::Max(begins, place);
    else
        ends = hn::Min(ends, place);
    const auto isTooFar = hn::And(hn::Gt(place, low), isReached(hn::Sub(place, one)));
    const auto isTooNear = hn::And(hn::Lt(place, high), hn::Not(isReached(place)));
    return hn::AllFalse(d, hn::Or(isTooFar, isTooNear));
}

/// Empties the rows outside a horizontal edge.
HWY_INLINE void LimitRows(const SpanEdge& e, hn::Vec<Doubles> rows, double left, hn::Vec<Doubles>& ends) {
    const Doubles d;
    const auto product = hn::Mul(hn::Sub(hn::Add(rows, hn::Set(d, 0.5)), hn::Set(d, e.y)), hn::Set(d, e.dx));
    const auto side = hn::Mul(hn::Sub(hn::Zero(d), product), hn::Set(d, e.winding));
    ends = hn::IfThenElse(hn::Ge(side, hn::Zero(d)), ends, hn::Set(d, left));
}

bool SolveSpans(const SpanEdge* edges, int top, int count, int left, int right, SpanEnds* out) {
    const Doubles d;
    const int step = static_cast<int>(hn::Lanes(d));
    HWY_ALIGN double begins[hn::MaxLanes(Doubles())];
    HWY_ALIGN double ends[hn::MaxLanes(Doubles())];
    for (int i = 0; i < count; i += step) {
        const auto rows = hn::Iota(d, top + i);
        auto begin = hn::Set(d, static_cast<double>(left));
        auto end = hn::Set(d, static_cast<double>(right));
        for (int k = 0; k < 3; ++k) {
            if (edges[k].dy == 0)
                LimitRows(edges[k], rows, left, end);
            else if (!LimitSpans(edges[k], rows, left, right, begin, end))
                return false;
        }
        hn::Store(begin, d, begins);
        hn::Store(end, d, ends);
        for (int k = 0; k < step && i + k < count; ++k)
            out[i + k] = {static_cast<int>(begins[k]), static_cast<int>(ends[k])};
    }
    return true;
}

// --- mixed colours
// -------------------------------------------------------------------------------------------------

/// Replaces pixels by what @p mix returns for a vector of them. The first and the last vector may overlap
/// others, so they are read before and stored after those.
template <typename Mix>
HWY_INLINE void MixRow(uint8* p, size_t count, const Mix& mix) {
    const size_t step = hn::Lanes(Pixels());
    if (count < step) return StoreFirstPixels(mix(LoadFirstPixels(p, count)), p, count);
    const size_t last = count - step;
    const auto firstMixed = mix(LoadPixels(p)), lastMixed = mix(LoadPixels(p + 4 * last));
    for (size_t i = SecondVector(p, count); i < last; i += step)
        StorePixels(mix(LoadPixels(p + 4 * i)), p + 4 * i);
    StorePixels(firstMixed, p);
    StorePixels(lastMixed, p + 4 * last);
}

/// Mixes the channel at a bit of the pixels: `added + keep * old`.
template <int kShift, bool isUnit = false>
HWY_INLINE hn::Vec<Pixels> MixChannel(hn::Vec<Pixels> old, hn::Vec<Floats> added, hn::Vec<Floats> keep) {
    const auto byte = hn::And(hn::ShiftRight<kShift>(old), hn::Set(Pixels(), 0xFF));
    const auto value =
        hn::Mul(hn::ConvertTo(Floats(), hn::BitCast(Integers(), byte)), hn::Set(Floats(), 0.003921569f));
    const auto mixed = ToByteNumbers<isUnit>(hn::Add(added, hn::Mul(keep, value)));
    return hn::ShiftLeft<kShift>(hn::BitCast(Pixels(), mixed));
}

template <bool isUnit>
HWY_INLINE void MixRows(const SpanRows& rows, const SpanMix& mix) {
    const auto blue = hn::Set(Floats(), mix.source[0]);
    const auto green = hn::Set(Floats(), mix.source[1]);
    const auto red = hn::Set(Floats(), mix.source[2]);
    const auto alpha =
        hn::ShiftLeft<24>(hn::BitCast(Pixels(), ToByteNumbers(hn::Set(Floats(), mix.source[3]))));
    const auto keep = hn::Set(Floats(), mix.keep[0]);
    const auto mixVector = [&](hn::Vec<Pixels> old) HWY_ATTR {
        const auto blueGreen =
            hn::Or(MixChannel<0, isUnit>(old, blue, keep), MixChannel<8, isUnit>(old, green, keep));
        return hn::Or(blueGreen, hn::Or(MixChannel<16, isUnit>(old, red, keep), alpha));
    };
    for (int y = 0; y < rows.height; ++y)
        MixRow(rows.pixels + y * rows.pitch, static_cast<size_t>(rows.width), mixVector);
}

void MixRowsBgra8(const SpanRows& rows, const SpanMix& mix) {
    bool isUnit = true;
    for (size_t i = 0; i < 3; ++i) isUnit &= mix.source[i] >= 0 && mix.source[i] + mix.keep[i] <= 1.0005f;
    isUnit ? MixRows<true>(rows, mix) : MixRows<false>(rows, mix);
}

/// Mixes bytes, which are the high ones of their words. @return the results in the high bytes.
HWY_INLINE hn::Vec<Words> MixWords(hn::Vec<Words> bytes, hn::Vec<Words> factor, hn::Vec<Words> offset) {
    return hn::Add(hn::MulHigh(bytes, factor), offset);
}

/// Returns a vector that alternates between numbers of two channels.
HWY_INLINE hn::Vec<Words> LoadChannels(const uint16* numbers, size_t channel) {
    const uint32 pair = numbers[channel] | uint32{numbers[channel + 2]} << 16;
    return hn::BitCast(Words(), hn::Set(Pixels(), pair));
}

void MixRowsInWords(const SpanRows& rows, const ByteMix& mix) {
    const auto evenFactor = LoadChannels(mix.factor, 0), evenOffset = LoadChannels(mix.offset, 0);
    const auto oddFactor = LoadChannels(mix.factor, 1), oddOffset = LoadChannels(mix.offset, 1);
    const auto low = hn::Set(Words(), 0xFF);
    const auto mixVector = [&](hn::Vec<Pixels> old) HWY_ATTR {
        const auto words = hn::BitCast(Words(), old);
        const auto even = MixWords(hn::ShiftLeft<8>(words), evenFactor, evenOffset);
        const auto odd = MixWords(hn::AndNot(low, words), oddFactor, oddOffset);
        return hn::BitCast(Pixels(), hn::Or(hn::ShiftRight<8>(even), hn::AndNot(low, odd)));
    };
    for (int y = 0; y < rows.height; ++y)
        MixRow(rows.pixels + y * rows.pitch, static_cast<size_t>(rows.width), mixVector);
}

float Unit(float v) {
    v = v > 0 ? v : 0;
    return v < 1 ? v : 1;
}

template <typename Value>
void MixGrey(uint8* p, int count, const SpanMix& mix, float fromValue, float toValue) {
    const float r = mix.source[2], g = mix.source[1], b = mix.source[0], keep = mix.keep[0];
    for (int i = 0; i < count; ++i) {
        Value value;
        std::memcpy(&value, p + static_cast<size_t>(i) * sizeof value, sizeof value);
        const float old = static_cast<float>(static_cast<int>(value)) * fromValue;
        const float kept = keep * old;
        const float grey = (r + kept + (g + kept) + (b + kept)) / 3.0f;
        value = static_cast<Value>(static_cast<int>(Unit(grey) * toValue + 0.5f));
        std::memcpy(p + static_cast<size_t>(i) * sizeof value, &value, sizeof value);
    }
}

void MixRowsGrey8(const SpanRows& rows, const SpanMix& mix) {
    for (int y = 0; y < rows.height; ++y)
        MixGrey<uint8>(rows.pixels + y * rows.pitch, rows.width, mix, 0.003921569f, 255.0f);
}

void MixRowsGrey16(const SpanRows& rows, const SpanMix& mix) {
    for (int y = 0; y < rows.height; ++y)
        MixGrey<uint16>(rows.pixels + y * rows.pitch, rows.width, mix, 1.5259022e-5f, 65535.0f);
}

// --- whole numbers instead of single precision
// -------------------------------------------------------------------------------------------------

/// The numbers from 0 on.
struct alignas(64) Numbers : std::array<int32_t, 16> {};
constexpr Numbers kNumbers{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}};
static_assert(hn::MaxLanes(Integers()) <= kNumbers.size());

/// Returns true if the form with these numbers stays in 16 bits and returns what single precision does, for
/// every old byte.
HWY_INLINE bool IsExact(float source, float keep, int32_t factor, int32_t offset) {
    const Floats d;
    const Integers integers;
    if (factor < 0 || factor > 65535 || offset < 0 || offset > 65535) return false;
    const auto step = static_cast<int32_t>(hn::Lanes(d));
    auto difference = hn::Zero(integers);
    auto old = hn::Load(integers, kNumbers.data());
    for (int i = 0; i < 256; i += step, old = hn::Add(old, hn::Set(integers, step))) {
        const auto value = hn::Mul(hn::ConvertTo(d, old), hn::Set(d, 0.003921569f));
        const auto exact = ToByteNumbers(hn::Add(hn::Set(d, source), hn::Mul(hn::Set(d, keep), value)));
        const auto kept = hn::ShiftRight<8>(hn::Mul(old, hn::Set(integers, factor)));
        const auto whole = hn::ShiftRight<8>(hn::Add(kept, hn::Set(integers, offset)));
        difference = hn::Or(difference, hn::Xor(whole, exact));
    }
    return hn::AllTrue(integers, hn::Eq(difference, hn::Zero(integers)));
}

/// Tries the nearest numbers first, which are exact for nearly all tints.
bool FitChannel(float source, float keep, uint16& factor, uint16& offset) {
    const auto nearestFactor = static_cast<int32_t>(keep * 65536.0f + 0.5f);
    const auto nearestOffset = static_cast<int32_t>(Unit(source) * 65280.0f + 128.5f);
    for (const int32_t f : {nearestFactor, nearestFactor + 1, nearestFactor - 1}) {
        for (const int32_t o : {nearestOffset, nearestOffset + 1, nearestOffset + 2, nearestOffset - 1}) {
            if (!IsExact(source, keep, f, o)) continue;
            factor = static_cast<uint16>(f);
            offset = static_cast<uint16>(o);
            return true;
        }
    }
    return false;
}

bool FitMix(ByteMix& mix, const SpanMix& exact) {
    bool isFit = true;
    for (size_t i = 0; i < 4 && isFit; ++i)
        isFit = FitChannel(exact.source[i], exact.keep[i], mix.factor[i], mix.offset[i]);
    return isFit;
}

// --- lines
// -------------------------------------------------------------------------------------------------

void CoverPixels(const LinePixels& pixels, const Color& tint) {
    const size_t step = hn::Lanes(Pixels());
    const auto blue = hn::Set(Floats(), tint.z);
    const auto green = hn::Set(Floats(), tint.y);
    const auto red = hn::Set(Floats(), tint.x);
    const auto alpha = hn::Set(Pixels(), static_cast<uint32>(Unit(tint.w) * 255.0f + 0.5f) << 24);
    const auto count = static_cast<size_t>(pixels.count);
    HWY_ALIGN uint32_t batch[hn::MaxLanes(Pixels())] = {};
    HWY_ALIGN float coverage[hn::MaxLanes(Pixels())] = {};
    for (size_t i = 0; i < count; i += step) {
        const size_t n = count - i < step ? count - i : step;
        for (size_t k = 0; k < n; ++k) std::memcpy(&batch[k], pixels.places[i + k], 4);
        for (size_t k = 0; k < n; ++k) coverage[k] = pixels.coverage[i + k];
        const auto old = hn::Load(Pixels(), batch);
        const auto c = hn::Load(Floats(), coverage);
        const auto keep = hn::Sub(hn::Set(Floats(), 1.0f), c);
        const auto blueGreen =
            hn::Or(MixChannel<0>(old, hn::Mul(c, blue), keep), MixChannel<8>(old, hn::Mul(c, green), keep));
        const auto redAlpha = hn::Or(MixChannel<16>(old, hn::Mul(c, red), keep), alpha);
        hn::Store(hn::Or(blueGreen, redAlpha), Pixels(), batch);
        for (size_t k = 0; k < n; ++k) std::memcpy(pixels.places[i + k], &batch[k], 4);
    }
}

} // namespace
} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(FillRows32);
QEL_SIMD_TABLE(FillSpans32);
QEL_SIMD_TABLE(SolveSpans);
QEL_SIMD_TABLE(MixRowsBgra8);
QEL_SIMD_TABLE(MixRowsInWords);
QEL_SIMD_TABLE(MixRowsGrey8);
QEL_SIMD_TABLE(MixRowsGrey16);
QEL_SIMD_TABLE(FitMix);
QEL_SIMD_TABLE(CoverPixels);

void fillRows32(const SpanRows& rows, uint32 pixel) {
    g_FillRows32(rows, pixel);
}

void fillSpans32(uint8* row, std::ptrdiff_t pitch, const SpanEnds* spans, int count, uint32 pixel) {
    g_FillSpans32(row, pitch, spans, count, pixel);
}

bool solveSpans(const SpanEdge* edges, int top, int count, int left, int right, SpanEnds* out) {
    return g_SolveSpans(edges, top, count, left, right, out);
}

void mixRowsBgra8(const SpanRows& rows, const SpanMix& mix) {
    g_MixRowsBgra8(rows, mix);
}

void mixRowsBgra8(const SpanRows& rows, const ByteMix& mix) {
    g_MixRowsInWords(rows, mix);
}

void mixRowsGrey8(const SpanRows& rows, const SpanMix& mix) {
    g_MixRowsGrey8(rows, mix);
}

void mixRowsGrey16(const SpanRows& rows, const SpanMix& mix) {
    g_MixRowsGrey16(rows, mix);
}

bool ByteMix::fit(const SpanMix& mix) {
    return g_FitMix(*this, mix);
}

void coverPixels(const LinePixels& pixels, const Color& tint) {
    g_CoverPixels(pixels, tint);
}

} // namespace qel::internal
#endif
