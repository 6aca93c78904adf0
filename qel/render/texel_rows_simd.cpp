// Vector kernels of rows of texels and colours. Each lane rounds as the plain functions do, because nothing
// here may be contracted or reordered.
#include <qel/render/texel_rows_p.h>

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/render/texel_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>
#include <qel/render/pixel_vectors.inc>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {
namespace {

// --- texels to pixels: plain loops, which the compiler turns into vector instructions
// -------------------------------------------------------------------------------------------------

/// Stores `convert(i)` for each texel.
template <typename Convert>
HWY_INLINE void ExpandEach(int count, uint8* HWY_RESTRICT pixels, const Convert& convert) {
    for (int i = 0; i < count; ++i) {
        const uint32 pixel = convert(i);
        std::memcpy(pixels + std::ptrdiff_t{i} * 4, &pixel, 4);
    }
}

HWY_INLINE uint32 WordAt(const uint8* p, int i) {
    uint16 word;
    std::memcpy(&word, p + std::ptrdiff_t{i} * 2, 2);
    return word;
}

void ExpandAlpha8(const uint8* t, int count, uint8* pixels) {
    ExpandEach(count, pixels, [t](int i) HWY_ATTR { return uint32{t[i]} << 24 | 0xFFFFFF; });
}

void ExpandGrey8(const uint8* t, int count, uint8* pixels) {
    ExpandEach(count, pixels, [t](int i) HWY_ATTR { return uint32{t[i]} * 0x10101 | 0xFF000000; });
}

void ExpandGreyAlpha8(const uint8* t, int count, uint8* pixels) {
    ExpandEach(count, pixels, [t](int i) HWY_ATTR {
        const uint32 word = WordAt(t, i);
        return (word & 0xFF) * 0x10101 | (word & 0xFF00) << 16;
    });
}

void ExpandRgba8(const uint8* t, int count, uint8* pixels) {
    ExpandEach(count, pixels, [t](int i) HWY_ATTR {
        uint32 v;
        std::memcpy(&v, t + std::ptrdiff_t{i} * 4, 4);
        return (v & 0xFF00FF00) | ((v >> 16) & 0xFF) | (v & 0xFF) << 16;
    });
}

// Fields of four bits become the same fraction of 255 that they were of 15.
void ExpandRgba4(const uint8* t, int count, uint8* pixels) {
    ExpandEach(count, pixels, [t](int i) HWY_ATTR {
        const uint32 w = WordAt(t, i);
        return ((w & 15) << 24 | (w >> 12) << 16 | ((w >> 8) & 15) << 8 | ((w >> 4) & 15)) * 17;
    });
}

void ExpandGrey16(const uint8* t, int count, uint8* pixels) {
    ExpandEach(count, pixels, [t](int i) HWY_ATTR {
        const float v = static_cast<float>(static_cast<int32_t>(WordAt(t, i))) * 1.5259022e-5f;
        const float limited = v < 1 ? v : 1;
        return static_cast<uint32>(static_cast<int32_t>(limited * 255.0f + 0.5f)) * 0x10101 | 0xFF000000;
    });
}

template <bool kIsBlueFirst>
HWY_INLINE void ExpandThree(const uint8* t, int count, uint8* pixels) {
    const int step = static_cast<int>(hn::Lanes(Bytes()));
    const auto opaque = hn::Set(Bytes(), 0xFF);
    auto a = hn::Zero(Bytes()), b = a, c = a;
    for (; count >= step; count -= step, t += 3 * step, pixels += 4 * step) {
        hn::LoadInterleaved3(Bytes(), t, a, b, c);
        hn::StoreInterleaved4(kIsBlueFirst ? a : c, b, kIsBlueFirst ? c : a, opaque, Bytes(), pixels);
    }
    ExpandEach(count, pixels, [t](int i) HWY_ATTR {
        const uint8* const p = t + std::ptrdiff_t{i} * 3;
        return uint32{p[kIsBlueFirst ? 0 : 2]} | uint32{p[1]} << 8 | uint32{p[kIsBlueFirst ? 2 : 0]} << 16 |
               0xFF000000;
    });
}

void ExpandRgb8(const uint8* t, int count, uint8* pixels) {
    ExpandThree<false>(t, count, pixels);
}
void ExpandBgr8(const uint8* t, int count, uint8* pixels) {
    ExpandThree<true>(t, count, pixels);
}

// --- texels to colours
// -------------------------------------------------------------------------------------------------

/// Stores each byte as a float, or as its quotient by 255.
template <bool kIsRaw>
HWY_INLINE void DecodeBytes(const uint8* bytes, int count, float* out) {
    const int step = static_cast<int>(hn::Lanes(Floats()));
    const auto store = [out](hn::Vec<Floats> v, int i)
                           HWY_ATTR { hn::StoreU(kIsRaw ? v : Quotient255(v), Floats(), out + i); };
    int i = 0;
    for (; i + step <= count; i += step) store(LoadByteFloats(bytes + i), i);
#if HWY_TARGET <= HWY_AVX3
    if (i == count) return;
    const auto isPart = hn::FirstN(FewBytes(), static_cast<size_t>(count - i));
    const auto rest = hn::PromoteTo(Integers(), hn::MaskedLoad(isPart, FewBytes(), bytes + i));
    store(hn::ConvertTo(Floats(), rest), i);
#else
    for (; i < count; ++i) {
        const float v = static_cast<float>(bytes[i]);
        out[i] = kIsRaw ? v : v * 0x1.01p-8f + v * 0x1.010102p-24f;
    }
#endif
}

void DecodePixels(const uint8* bytes, int count, float* colors) {
    DecodeBytes<false>(bytes, 4 * count, colors);
}
void DecodePixelsRaw(const uint8* bytes, int count, float* colors) {
    DecodeBytes<true>(bytes, 4 * count, colors);
}
void DecodeGrey8(const uint8* bytes, int count, float* values) {
    DecodeBytes<false>(bytes, count, values);
}
void DecodeGrey8Raw(const uint8* bytes, int count, float* values) {
    DecodeBytes<true>(bytes, count, values);
}

void DecodeGrey16Raw(const uint8* t, int count, float* HWY_RESTRICT values) {
    for (int i = 0; i < count; ++i) values[i] = static_cast<float>(static_cast<int32_t>(WordAt(t, i)));
}

void DecodeGrey16(const uint8* t, int count, float* HWY_RESTRICT values) {
    for (int i = 0; i < count; ++i)
        values[i] = static_cast<float>(static_cast<int32_t>(WordAt(t, i))) * 1.5259022e-5f;
}

void DecodeGrey16Colors(const uint8* t, int count, float* HWY_RESTRICT colors) {
    for (int i = 0; i < 4 * count; ++i) {
        const float v = static_cast<float>(static_cast<int32_t>(WordAt(t, i / 4))) * 1.5259022e-5f;
        colors[i] = i % 4 == 3 ? 1 : v;
    }
}

// --- sampling
// -------------------------------------------------------------------------------------------------

void StepNearest(const TexelAxis& axis, int begin, int count, int* HWY_RESTRICT first) {
    const double last = axis.size - 1;
    for (int i = 0; i < count; ++i) {
        const double index = std::floor(axis.start + (begin + i) * axis.step);
        const double atLeast0 = index < 0 ? 0 : index;
        first[i] = static_cast<int>(last < atLeast0 ? last : atLeast0);
    }
}

void StepLinear(const TexelAxis& axis, int begin, int count, int* HWY_RESTRICT first,
                float* HWY_RESTRICT fraction) {
    const double last = axis.size - 1;
    const double start = axis.start - 0.5;
    for (int i = 0; i < count; ++i) {
        const double coordinate = start + (begin + i) * axis.step;
        const double whole = std::floor(coordinate);
        const double atLeast = whole < -1 ? -1 : whole;
        first[i] = static_cast<int>(last < atLeast ? last : atLeast);
        fraction[i] = static_cast<float>(coordinate - whole);
    }
}

void StepColumns(const TexelAxis& axis, int begin, int count, const TexelSteps& steps) {
    if (steps.fraction == nullptr) return StepNearest(axis, begin, count, steps.first);
    StepLinear(axis, begin, count, steps.first, steps.fraction);
}

HWY_INLINE void CopyTexels4(const uint8* line, const int* first, int begin, int end, uint8* out) {
    for (int i = begin; i < end; ++i)
        std::memcpy(out + std::ptrdiff_t{i} * 4, line + std::ptrdiff_t{first[i]} * 4, 4);
}

// Enlarged textures need no more texels than a vector has for its pixels: one load finds them all.
void SelectTexels4(const uint8* line, int size, const int* first, int count, uint8* HWY_RESTRICT out) {
    const hn::RebindToSigned<Pixels> places;
    const int lanes = static_cast<int>(hn::Lanes(Pixels()));
    int i = 0;
    for (; i + lanes <= count; i += lanes) {
        const int low = std::min(first[i], first[i + lanes - 1]);
        const int high = std::max(first[i], first[i + lanes - 1]);
        if (high - low >= lanes || low + lanes > size) {
            CopyTexels4(line, first, i, i + lanes, out);
            continue;
        }
        const auto texels = hn::LoadU(Pixels(), reinterpret_cast<const uint32_t*>(line) + low);
        const auto place = hn::Sub(hn::LoadU(places, first + i), hn::Set(places, low));
        const auto selected = hn::TableLookupLanes(texels, hn::IndicesFromVec(Pixels(), place));
        hn::StoreU(selected, Pixels(), reinterpret_cast<uint32_t*>(out) + i);
    }
    CopyTexels4(line, first, i, count, out);
}

// The rows end at a whole vector, so that rests need no code.
void MixRows(const float* a, const float* b, float fraction, int count, float* out) {
    const int step = static_cast<int>(hn::Lanes(Floats()));
    const auto f = hn::Set(Floats(), fraction);
    const auto rest = hn::Set(Floats(), 1 - fraction);
    for (int i = 0; i < count; i += step) {
        const auto mixed =
            hn::Add(hn::Mul(rest, hn::LoadU(Floats(), a + i)), hn::Mul(f, hn::LoadU(Floats(), b + i)));
        hn::StoreU(mixed, Floats(), out + i);
    }
}

#if HWY_TARGET <= HWY_AVX2
// Both texels are loaded at once and weighted by 1 - fraction and 0 + fraction.
void ResampleColors(const float* texels, const TexelSteps& steps, int count, float* out) {
    const hn::FixedTag<float, 8> d;
    const hn::FixedTag<float, 4> half;
    HWY_ALIGN static constexpr float kSigns[8] = {-0.0f, -0.0f, -0.0f, -0.0f, 0, 0, 0, 0};
    HWY_ALIGN static constexpr float kOnes[8] = {1, 1, 1, 1, 0, 0, 0, 0};
    const auto signs = hn::Load(d, kSigns);
    const auto ones = hn::Load(d, kOnes);
    for (int i = 0; i < count; ++i) {
        const auto weights = hn::Add(ones, hn::Xor(signs, hn::Set(d, steps.fraction[i])));
        const auto both = hn::Mul(weights, hn::LoadU(d, texels + std::ptrdiff_t{steps.first[i]} * 4));
        hn::StoreU(hn::Add(hn::LowerHalf(half, both), hn::UpperHalf(half, both)), half,
                   out + std::ptrdiff_t{i} * 4);
    }
}
#else
void ResampleColors(const float* texels, const TexelSteps& steps, int count, float* out) {
    const hn::FixedTag<float, 4> d;
    for (int i = 0; i < count; ++i) {
        const float fraction = steps.fraction[i];
        const float* const a = texels + std::ptrdiff_t{steps.first[i]} * 4;
        const auto mixed = hn::Add(hn::Mul(hn::Set(d, 1 - fraction), hn::LoadU(d, a)),
                                   hn::Mul(hn::Set(d, fraction), hn::LoadU(d, a + 4)));
        hn::StoreU(mixed, d, out + std::ptrdiff_t{i} * 4);
    }
}
#endif

HWY_INLINE void ResampleEach(const float* texels, const TexelSteps& steps, int begin, int end, float* out) {
    for (int i = begin; i < end; ++i) {
        const float fraction = steps.fraction[i];
        const float* const a = texels + steps.first[i];
        out[i] = (1 - fraction) * a[0] + fraction * a[1];
    }
}

// As in SelectTexels4(); the row of texels is longer by a vector.
void ResampleGreys(const float* texels, const TexelSteps& steps, int count, float* HWY_RESTRICT out) {
    const int lanes = static_cast<int>(hn::Lanes(Floats()));
    int i = 0;
    for (; i + lanes <= count; i += lanes) {
        const int low = std::min(steps.first[i], steps.first[i + lanes - 1]);
        const int high = std::max(steps.first[i], steps.first[i + lanes - 1]);
        if (high - low >= lanes) {
            ResampleEach(texels, steps, i, i + lanes, out);
            continue;
        }
        const auto place = hn::Sub(hn::LoadU(Integers(), steps.first + i), hn::Set(Integers(), low));
        const auto indices = hn::IndicesFromVec(Floats(), place);
        const auto a = hn::TableLookupLanes(hn::LoadU(Floats(), texels + low), indices);
        const auto b = hn::TableLookupLanes(hn::LoadU(Floats(), texels + low + 1), indices);
        const auto fraction = hn::LoadU(Floats(), steps.fraction + i);
        const auto rest = hn::Sub(hn::Set(Floats(), 1.0f), fraction);
        hn::StoreU(hn::Add(hn::Mul(rest, a), hn::Mul(fraction, b)), Floats(), out + i);
    }
    ResampleEach(texels, steps, i, count, out);
}

// --- drawing in single precision
// -------------------------------------------------------------------------------------------------

/// Calls `draw(p, i)` for vectors of the floats from number i on, the last of them with a copy of the target.
/// Stores the numbers from 0 to 255 that it returns for the bytes at p. Rows of floats end at a whole vector.
template <typename Draw>
HWY_INLINE void ForVectors(uint8* target, int count, const Draw& draw) {
    const int step = static_cast<int>(hn::Lanes(Floats()));
    int i = 0;
    for (; i + 4 * step <= 4 * count; i += 4 * step) {
        uint8* const p = target + i;
        const auto a = draw(p, i), b = draw(p + step, i + step);
        const auto c = draw(p + 2 * step, i + 2 * step), d = draw(p + 3 * step, i + 3 * step);
        StoreFourByteNumbers(a, b, c, d, p);
    }
    for (; i + step <= 4 * count; i += step) StoreByteNumbers(draw(target + i, i), target + i);
    if (i == 4 * count) return;
    const auto rest = static_cast<size_t>(4 * count - i);
    HWY_ALIGN uint8_t copy[hn::MaxLanes(Floats())] = {};
    std::memcpy(copy, target + i, rest);
    StoreByteNumbers(draw(copy, i), copy);
    std::memcpy(target + i, copy, rest);
}

/// Returns a function that loads a vector of the only row from a float's number on.
HWY_INLINE auto LoadOne(const ColorRow& row) {
    return [a = row.a](int i) HWY_ATTR { return hn::LoadU(Floats(), a + i); };
}

/// Returns a function that loads a vector of the mixture of both rows.
HWY_INLINE auto LoadMixture(const ColorRow& row) {
    const auto fraction = hn::Set(Floats(), row.fraction);
    const auto rest = hn::Set(Floats(), 1 - row.fraction);
    return [=, a = row.a, b = row.b](int i) HWY_ATTR {
        return hn::Add(hn::Mul(rest, hn::LoadU(Floats(), a + i)),
                       hn::Mul(fraction, hn::LoadU(Floats(), b + i)));
    };
}

HWY_INLINE hn::Vec<Floats> LoadTint(const Color& tint) {
    HWY_ALIGN const float channels[4] = {tint.z, tint.y, tint.x, tint.w};
    return hn::LoadDup128(Floats(), channels);
}

/// Returns true in the lanes of alpha.
HWY_INLINE auto AlphaLanes() {
    HWY_ALIGN static constexpr uint32_t kLanes[4] = {0, 0, 0, ~0u};
    return hn::MaskFromVec(hn::BitCast(Floats(), hn::LoadDup128(Pixels(), kLanes)));
}

/// @param load  returns the colours of a vector, which begins at a float's number.
template <bool isUnit, typename Load>
HWY_INLINE void BlendLoaded(uint8* target, int count, const Color& tint, const Load& load) {
    const auto tints = LoadTint(tint);
    const auto isAlpha = AlphaLanes();
    const auto invisible = hn::Set(Floats(), kInvisibleAlpha);
    const auto solid = hn::Set(Floats(), kSolidAlpha);
    const auto scale = hn::Set(Floats(), 0.003921569f);
    const auto one = hn::Set(Floats(), 1.0f);
    ForVectors(target, count, [&](const uint8* p, int i) HWY_ATTR {
        const auto source = hn::Mul(load(i), tints);
        const auto a = hn::Broadcast<3>(source);
        const auto isVisible = hn::Gt(a, invisible);
        const auto isSolid = hn::Gt(a, solid);
        if (hn::AllTrue(Floats(), isSolid)) return ToByteNumbers<isUnit>(source);
        const auto bytes = hn::PromoteTo(Integers(), hn::LoadU(FewBytes(), p));
        if (hn::AllFalse(Floats(), isVisible)) return bytes;
        const auto old = hn::Mul(hn::ConvertTo(Floats(), bytes), scale);
        const auto blend = hn::Add(hn::Mul(a, source), hn::Mul(hn::Sub(one, a), old));
        const auto mixed =
            ToByteNumbers<isUnit>(hn::IfThenElse(isSolid, source, hn::IfThenElse(isAlpha, a, blend)));
        return hn::IfThenElse(hn::RebindMask(Integers(), isVisible), mixed, bytes);
    });
}

template <bool isUnit>
HWY_INLINE void BlendRow(uint8* target, const ColorRow& colors, int count, const Color& tint) {
    if (colors.b == nullptr) return BlendLoaded<isUnit>(target, count, tint, LoadOne(colors));
    BlendLoaded<isUnit>(target, count, tint, LoadMixture(colors));
}

// The colours of textures are in 0 to 1, but for the rounding of their mixtures.
void BlendColors(uint8* target, const ColorRow& colors, int count, const Color& tint) {
    bool isUnit = true;
    for (const float channel : {tint.x, tint.y, tint.z, tint.w}) isUnit &= channel >= 0 && channel <= 1;
    isUnit ? BlendRow<true>(target, colors, count, tint) : BlendRow<false>(target, colors, count, tint);
}

void BlendPremultiplied(uint8* target, const float* colors, int count, const Color& tint) {
    const auto tints = LoadTint(tint);
    const auto isAlpha = AlphaLanes();
    const auto scale = hn::Set(Floats(), 0.003921569f);
    const auto one = hn::Set(Floats(), 1.0f);
    ForVectors(target, count, [&](const uint8* p, int i) HWY_ATTR {
        const auto source = hn::Mul(tints, hn::LoadU(Floats(), colors + i));
        const auto keep = hn::Sub(one, hn::Broadcast<3>(source));
        const auto bytes = hn::PromoteTo(Integers(), hn::LoadU(FewBytes(), p));
        const auto old = hn::Mul(hn::ConvertTo(Floats(), bytes), scale);
        const auto mixed = hn::Add(source, hn::Mul(keep, old));
        return ToByteNumbers(hn::IfThenElse(isAlpha, old, mixed));
    });
}

/// Stores numbers from 0 to 255 as opaque pixels, at most @p count.
HWY_INLINE void StoreGreyPixels(hn::Vec<Pixels> grey, uint8* target, int count) {
    const auto two = hn::Or(grey, hn::ShiftLeft<8>(grey));
    const auto pixels = hn::Or(hn::Or(two, hn::ShiftLeft<16>(grey)), hn::Set(Pixels(), 0xFF000000));
    if (count >= static_cast<int>(hn::Lanes(Pixels())))
        StorePixels(pixels, target);
    else
        StoreFirstPixels(pixels, target, static_cast<size_t>(count));
}

template <typename Load>
HWY_INLINE void StoreLoadedGreys(uint8* target, int count, const Load& load) {
    const int step = static_cast<int>(hn::Lanes(Floats()));
    for (int i = 0; i < count; i += step) {
        const auto grey = hn::BitCast(Pixels(), ToByteNumbers(load(i)));
        StoreGreyPixels(grey, target + std::ptrdiff_t{i} * 4, count - i);
    }
}

void StoreGreys(uint8* target, const ColorRow& values, int count) {
    if (values.b == nullptr) return StoreLoadedGreys(target, count, LoadOne(values));
    StoreLoadedGreys(target, count, LoadMixture(values));
}

void StoreLookups(uint8* target, const float* places, int count, const uint8* const (&tableRows)[2],
                  float top) {
    const int step = static_cast<int>(hn::Lanes(Floats()));
    HWY_ALIGN int32_t indices[hn::MaxLanes(Integers())];
    HWY_ALIGN uint32_t greys[hn::MaxLanes(Pixels())];
    for (int i = 0; i < count; i += step) { // the row of places ends at a whole vector
        const auto place = hn::Max(hn::LoadU(Floats(), places + i), hn::Zero(Floats()));
        hn::Store(Truncated(hn::Min(place, hn::Set(Floats(), top))), Integers(), indices);
        for (int k = 0; k < step; ++k) greys[k] = tableRows[k % 2][indices[k]];
        StoreGreyPixels(hn::Load(Pixels(), greys), target + std::ptrdiff_t{i} * 4, count - i);
    }
}

HWY_INLINE hn::Vec<Floats> LoadRaw(const uint8* p, hn::Rebind<uint8_t, Pixels>) {
    return LoadByteFloats(p);
}
HWY_INLINE hn::Vec<Floats> LoadRaw(const uint8* p, hn::Rebind<uint16_t, Pixels> words) {
    HWY_ALIGN uint16_t copy[hn::MaxLanes(words)];
    std::memcpy(copy, p, 2 * hn::Lanes(words));
    return hn::ConvertTo(Floats(), hn::PromoteTo(Integers(), hn::Load(words, copy)));
}

template <typename Texel>
HWY_INLINE void ShowGrey(const uint8* texels, int count, float scale, float bias, uint8* pixels) {
    const hn::Rebind<Texel, Pixels> d;
    const int step = static_cast<int>(hn::Lanes(d));
    const auto show = [=](const uint8* p) HWY_ATTR {
        const auto v = hn::Add(hn::Mul(LoadRaw(p, d), hn::Set(Floats(), scale)), hn::Set(Floats(), bias));
        return hn::BitCast(Pixels(), ToByteNumbers(v));
    };
    for (; count >= step; count -= step, texels += step * static_cast<int>(sizeof(Texel)), pixels += 4 * step)
        StoreGreyPixels(show(texels), pixels, step);
    if (count == 0) return;
    HWY_ALIGN uint8_t rest[hn::MaxLanes(d) * sizeof(Texel)] = {};
    std::memcpy(rest, texels, static_cast<size_t>(count) * sizeof(Texel));
    StoreGreyPixels(show(rest), pixels, count);
}

void ShowGrey8(const uint8* texels, int count, float scale, float bias, uint8* pixels) {
    ShowGrey<uint8_t>(texels, count, scale, bias, pixels);
}
void ShowGrey16(const uint8* texels, int count, float scale, float bias, uint8* pixels) {
    ShowGrey<uint16_t>(texels, count, scale, bias, pixels);
}

void ScaleValues(float* values, int count, float scale, float bias) {
    for (int i = 0; i < count; ++i) values[i] = values[i] * scale + bias;
}

} // namespace
} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(ExpandAlpha8);
QEL_SIMD_TABLE(ExpandGrey8);
QEL_SIMD_TABLE(ExpandGreyAlpha8);
QEL_SIMD_TABLE(ExpandRgb8);
QEL_SIMD_TABLE(ExpandBgr8);
QEL_SIMD_TABLE(ExpandRgba8);
QEL_SIMD_TABLE(ExpandRgba4);
QEL_SIMD_TABLE(ExpandGrey16);
QEL_SIMD_TABLE(DecodePixels);
QEL_SIMD_TABLE(DecodePixelsRaw);
QEL_SIMD_TABLE(DecodeGrey8);
QEL_SIMD_TABLE(DecodeGrey8Raw);
QEL_SIMD_TABLE(DecodeGrey16);
QEL_SIMD_TABLE(DecodeGrey16Raw);
QEL_SIMD_TABLE(DecodeGrey16Colors);
QEL_SIMD_TABLE(StepColumns);
QEL_SIMD_TABLE(SelectTexels4);
QEL_SIMD_TABLE(MixRows);
QEL_SIMD_TABLE(ResampleColors);
QEL_SIMD_TABLE(ResampleGreys);
QEL_SIMD_TABLE(BlendColors);
QEL_SIMD_TABLE(BlendPremultiplied);
QEL_SIMD_TABLE(StoreGreys);
QEL_SIMD_TABLE(StoreLookups);
QEL_SIMD_TABLE(ScaleValues);
QEL_SIMD_TABLE(ShowGrey8);
QEL_SIMD_TABLE(ShowGrey16);

namespace {

/// A kernel as a function, for the tables below.
template <const auto& table, typename Out>
void run(const uint8* texels, int count, Out* out) {
    table(texels, count, out);
}

template <const auto& table>
void show(const uint8* texels, int count, float scale, float bias, uint8* pixels) {
    table(texels, count, scale, bias, pixels);
}

/// Texels of bytes are expanded to pixels, a few at a time, and those decoded.
template <const auto& expand, const auto& decode>
void decodeExpanded(const uint8* texels, int count, int texelBytes, float* colors) {
    constexpr int kMost = 64;
    uint8 pixels[kMost * 4];
    for (int i = 0; i < count; i += kMost) {
        const int n = std::min(kMost, count - i);
        expand(texels + std::ptrdiff_t{i} * texelBytes, n, pixels);
        decode(static_cast<const uint8*>(pixels), n, colors + std::ptrdiff_t{i} * 4);
    }
}

template <const auto& expand, const auto& decode, int texelBytes>
void decodeVia(const uint8* texels, int count, float* colors) {
    decodeExpanded<expand, decode>(texels, count, texelBytes, colors);
}

template <const auto& expand, int texelBytes, bool isOpaque>
constexpr TexelRows bytesRows() {
    return {.expand = run<expand, uint8>,
            .isOpaque = isOpaque,
            .decode = decodeVia<expand, g_DecodePixels, texelBytes>,
            .decodeRaw = decodeVia<expand, g_DecodePixelsRaw, texelBytes>};
}

void copyPixels4(const uint8* texels, int count, uint8* pixels) {
    std::memcpy(pixels, texels, static_cast<size_t>(count) * 4);
}

} // namespace

TexelRows texelRows(FormatID format) {
    switch (format) {
    case A8: // its raw colours are the constant 1
        return {.expand = run<g_ExpandAlpha8, uint8>, .decode = decodeVia<g_ExpandAlpha8, g_DecodePixels, 1>};
    case UInt8:
    case L8: {
        TexelRows rows = bytesRows<g_ExpandGrey8, 1, true>();
        rows.decodeGrey = run<g_DecodeGrey8, float>;
        rows.decodeGreyRaw = run<g_DecodeGrey8Raw, float>;
        rows.showGreyRaw = show<g_ShowGrey8>;
        return rows;
    }
    case UInt8x2:
    case LA8:
        return bytesRows<g_ExpandGreyAlpha8, 2, false>();
    case RGB8:
        return bytesRows<g_ExpandRgb8, 3, true>();
    case BGR8:
        return bytesRows<g_ExpandBgr8, 3, true>();
    case RGBA8:
        return bytesRows<g_ExpandRgba8, 4, false>();
    case BGRA8:
        return {.expand = copyPixels4,
                .decode = run<g_DecodePixels, float>,
                .decodeRaw = run<g_DecodePixelsRaw, float>};
    case RGBA4: // its raw colours are the numbers from 0 to 15
        return {.expand = run<g_ExpandRgba4, uint8>, .decode = decodeVia<g_ExpandRgba4, g_DecodePixels, 2>};
    case UInt16:
    case L16:
    case X16:
        return {.expand = run<g_ExpandGrey16, uint8>,
                .isOpaque = true,
                .decode = run<g_DecodeGrey16Colors, float>,
                .decodeGrey = run<g_DecodeGrey16, float>,
                .decodeGreyRaw = run<g_DecodeGrey16Raw, float>,
                .showGreyRaw = show<g_ShowGrey16>};
    default:
        return {};
    }
}

void stepColumns(const TexelAxis& axis, int begin, int count, const TexelSteps& steps) {
    g_StepColumns(axis, begin, count, steps);
}

void selectTexels4(const uint8* line, int size, const int* first, int count, uint8* out) {
    g_SelectTexels4(line, size, first, count, out);
}

void mixRows(const float* a, const float* b, float fraction, int count, float* out) {
    g_MixRows(a, b, fraction, count, out);
}

template <>
void resampleRow<4>(const float* texels, const TexelSteps& steps, int count, float* out) {
    g_ResampleColors(texels, steps, count, out);
}

template <>
void resampleRow<1>(const float* texels, const TexelSteps& steps, int count, float* out) {
    g_ResampleGreys(texels, steps, count, out);
}

void blendColors(uint8* target, const ColorRow& colors, int count, const Color& tint) {
    g_BlendColors(target, colors, count, tint);
}

void storeGreys(uint8* target, const ColorRow& values, int count) {
    g_StoreGreys(target, values, count);
}

void blendPremultiplied(uint8* target, const float* colors, int count, const Color& tint) {
    g_BlendPremultiplied(target, colors, count, tint);
}

void storeLookups(uint8* target, const float* places, int count, const uint8* const (&tableRows)[2],
                  float top) {
    g_StoreLookups(target, places, count, tableRows, top);
}

void scaleValues(float* values, int count, float scale, float bias) {
    g_ScaleValues(values, count, scale, bias);
}

} // namespace qel::internal
#endif
