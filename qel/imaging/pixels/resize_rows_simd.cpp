// Vector kernels of resizing.
#include <qel/imaging/pixels/resize_rows_p.h>

#include <qel/imaging/pixels/plain_pixels_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/imaging/pixels/resize_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using Floats = hn::ScalableTag<float>;
using Ints = hn::RebindToSigned<Floats>;
using Longs = hn::RebindToUnsigned<Floats>;
using Quarter = hn::Rebind<uint8_t, Floats>;

size_t MixBytes(uint8_t* out, const float* a, const float* b, float fraction, size_t n) {
    const size_t step = hn::Lanes(Floats());
    const auto f = hn::Set(Floats(), fraction), half = hn::Set(Floats(), 0.5f), one = hn::Set(Floats(), 1.0f);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto from = hn::LoadU(Floats(), a + i);
        const auto mixed = hn::Add(from, hn::Mul(hn::Sub(hn::LoadU(Floats(), b + i), from), f));
        const auto whole = hn::ConvertTo(Ints(), mixed);
        const auto rest = hn::Sub(mixed, hn::ConvertTo(Floats(), whole));
        const auto up = hn::ConvertTo(Ints(), hn::IfThenElseZero(hn::Ge(rest, half), one));
        hn::StoreU(hn::DemoteTo(Quarter(), hn::Add(whole, up)), Quarter(), out + i);
    }
    return i;
}

size_t AddWeighted(uint32_t* sums, const uint8_t* in, uint32_t weight, size_t n) {
    const size_t step = hn::Lanes(Longs());
    const auto w = hn::Set(Longs(), weight);
    size_t i = 0;
    for (; n - i >= step; i += step) {
        const auto values = hn::PromoteTo(Longs(), hn::LoadU(Quarter(), in + i));
        hn::StoreU(hn::Add(hn::LoadU(Longs(), sums + i), hn::Mul(values, w)), Longs(), sums + i);
    }
    return i;
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(MixBytes);
QEL_SIMD_TABLE(AddWeighted);

void rowMixBytes(uint8* out, const float* a, const float* b, float fraction, size_t n) {
    for (size_t i = g_MixBytes(out, a, b, fraction, n); i < n; ++i) {
        const float step = (b[i] - a[i]) * fraction;
        out[i] = static_cast<uint8>(roundClamped(a[i] + step, 255));
    }
}

void rowAddWeighted(uint32* sums, const uint8* in, uint32 weight, size_t n) {
    for (size_t i = g_AddWeighted(sums, in, weight, n); i < n; ++i) sums[i] += weight * in[i];
}

} // namespace qel::internal
#endif
