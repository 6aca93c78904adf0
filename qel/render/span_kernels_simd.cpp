// Compiled once for each target: the compiler turns the loops into that target's vector instructions. Each
// lane rounds as the scalar form does, because nothing here may be contracted or reordered.
#include <qel/render/span_kernels_p.h>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/render/span_kernels_simd.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {
namespace {

float unit(float v) {
    v = v > 0 ? v : 0;
    return v < 1 ? v : 1;
}

void mixBytes(uint8* HWY_RESTRICT p, const float* HWY_RESTRICT source, const float* HWY_RESTRICT keep) {
    for (int i = 0; i < 64; ++i) {
        const float old = static_cast<float>(static_cast<int>(p[i])) * 0.003921569f;
        p[i] = static_cast<uint8>(static_cast<int>(unit(source[i] + keep[i] * old) * 255.0f + 0.5f));
    }
}

// Whole groups of 16 pixels are mixed in place, the rest in a copy that is padded to a group.
void mixSpanBgra8Kernel(uint8* p, int count, const SpanMix& mix) {
    float source[64];
    float keep[64];
    for (int i = 0; i < 64; ++i) {
        source[i] = mix.source[i % 4];
        keep[i] = mix.keep[i % 4];
    }
    for (; count >= 16; count -= 16, p += 64) mixBytes(p, source, keep);
    if (count == 0) return;
    uint8 rest[64] = {};
    std::memcpy(rest, p, static_cast<size_t>(count) * 4);
    mixBytes(rest, source, keep);
    std::memcpy(p, rest, static_cast<size_t>(count) * 4);
}

template <typename Value>
void mixGrey(uint8* p, int count, const SpanMix& mix, float fromValue, float toValue) {
    const float r = mix.source[0], g = mix.source[1], b = mix.source[2], keep = mix.keep[0];
    for (int i = 0; i < count; ++i) {
        Value value;
        std::memcpy(&value, p + static_cast<size_t>(i) * sizeof value, sizeof value);
        const float old = static_cast<float>(static_cast<int>(value)) * fromValue;
        const float kept = keep * old;
        const float grey = (r + kept + (g + kept) + (b + kept)) / 3.0f;
        value = static_cast<Value>(static_cast<int>(unit(grey) * toValue + 0.5f));
        std::memcpy(p + static_cast<size_t>(i) * sizeof value, &value, sizeof value);
    }
}

void mixSpanGrey8Kernel(uint8* p, int count, const SpanMix& mix) {
    mixGrey<uint8>(p, count, mix, 0.003921569f, 255.0f);
}

void mixSpanGrey16Kernel(uint8* p, int count, const SpanMix& mix) {
    mixGrey<uint16>(p, count, mix, 1.5259022e-5f, 65535.0f);
}

void repeatPixel32Kernel(uint8* p, int count, uint32 pixel) {
    for (int i = 0; i < count; ++i) std::memcpy(p + static_cast<size_t>(i) * 4, &pixel, 4);
}

} // namespace
} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(mixSpanBgra8Kernel);
QEL_SIMD_TABLE(mixSpanGrey8Kernel);
QEL_SIMD_TABLE(mixSpanGrey16Kernel);
QEL_SIMD_TABLE(repeatPixel32Kernel);

void mixSpanBgra8(uint8* p, int count, const SpanMix& mix) {
    g_mixSpanBgra8Kernel(p, count, mix);
}

void mixSpanGrey8(uint8* p, int count, const SpanMix& mix) {
    g_mixSpanGrey8Kernel(p, count, mix);
}

void mixSpanGrey16(uint8* p, int count, const SpanMix& mix) {
    g_mixSpanGrey16Kernel(p, count, mix);
}

void repeatPixel32(uint8* p, int count, uint32 pixel) {
    g_repeatPixel32Kernel(p, count, pixel);
}

} // namespace qel::internal
#endif
