// Vector kernels of voxels with 8 or 16 bits.
#include <qel/volume/voxel_rows_p.h>

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "qel/volume/voxel_rows_simd.cpp"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>
#include <qel/foundation/base/simd_dispatch_p.h>

HWY_BEFORE_NAMESPACE();
namespace qel::internal::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

template <typename T>
HWY_INLINE T ValueAt(const T* values, size_t i) {
    T value;
    std::memcpy(&value, values + i, sizeof(T));
    return value;
}

template <typename T>
HWY_INLINE void RangeOfRow(const T* values, size_t count, T* range) {
    const hn::ScalableTag<T> d;
    constexpr size_t kLanes = hn::MaxLanes(d);
    T minimum = ValueAt(values, 0), maximum = minimum;
    size_t i = 0;
    if (count >= 2 * kLanes) {
        auto low = hn::LoadU(d, values), high = low, low2 = low, high2 = low;
        for (; i + 2 * kLanes <= count; i += 2 * kLanes) {
            const auto a = hn::LoadU(d, values + i), b = hn::LoadU(d, values + i + kLanes);
            low = hn::Min(low, a);
            high = hn::Max(high, a);
            low2 = hn::Min(low2, b);
            high2 = hn::Max(high2, b);
        }
        HWY_ALIGN T lanes[2 * kLanes];
        hn::Store(hn::Min(low, low2), d, lanes);
        hn::Store(hn::Max(high, high2), d, lanes + kLanes);
        minimum = *std::min_element(lanes, lanes + kLanes);
        maximum = *std::max_element(lanes + kLanes, lanes + 2 * kLanes);
    }
    for (; i < count; ++i) {
        minimum = std::min(minimum, ValueAt(values, i));
        maximum = std::max(maximum, ValueAt(values, i));
    }
    range[0] = minimum;
    range[1] = maximum;
}

/// Loads values as 16-bit words with the same sign.
template <class D, typename T>
HWY_INLINE hn::Vec<D> LoadWords(D words, const T* values) {
    if constexpr (sizeof(T) == 2) {
        const hn::RebindToSigned<D> same;
        return hn::BitCast(words, hn::LoadU(same, reinterpret_cast<const int16_t*>(values)));
    } else if constexpr (hwy::IsSigned<T>()) {
        const hn::RebindToSigned<D> wide;
        return hn::BitCast(words, hn::PromoteTo(wide, hn::LoadU(hn::Rebind<int8_t, D>(), values)));
    } else {
        return hn::PromoteTo(words, hn::LoadU(hn::Rebind<uint8_t, D>(), values));
    }
}

template <typename T>
HWY_INLINE void SubtractFromRow(uint16_t* out, const T* values, size_t count, T minimum) {
    const hn::ScalableTag<uint16_t> words;
    constexpr size_t kLanes = hn::MaxLanes(words);
    const auto less = hn::Set(words, static_cast<uint16_t>(minimum));
    size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        const auto value = LoadWords(words, values + i);
        if constexpr (hwy::IsSigned<T>()) {
            const hn::RebindToSigned<decltype(words)> numbers;
            const auto raised = hn::Max(hn::BitCast(numbers, value), hn::BitCast(numbers, less));
            hn::StoreU(hn::Sub(hn::BitCast(words, raised), less), words, out + i);
        } else {
            hn::StoreU(hn::SaturatedSub(value, less), words, out + i);
        }
    }
    for (; i < count; ++i) {
        const T value = std::max(ValueAt(values, i), minimum);
        out[i] = static_cast<uint16_t>(value - minimum);
    }
}

void RangeOfInt8(const int8_t* values, size_t count, int8_t* range) {
    RangeOfRow(values, count, range);
}
void RangeOfUInt8(const uint8_t* values, size_t count, uint8_t* range) {
    RangeOfRow(values, count, range);
}
void RangeOfInt16(const int16_t* values, size_t count, int16_t* range) {
    RangeOfRow(values, count, range);
}
void RangeOfUInt16(const uint16_t* values, size_t count, uint16_t* range) {
    RangeOfRow(values, count, range);
}
void SubtractInt8(uint16_t* out, const int8_t* values, size_t count, int8_t minimum) {
    SubtractFromRow(out, values, count, minimum);
}
void SubtractUInt8(uint16_t* out, const uint8_t* values, size_t count, uint8_t minimum) {
    SubtractFromRow(out, values, count, minimum);
}
void SubtractInt16(uint16_t* out, const int16_t* values, size_t count, int16_t minimum) {
    SubtractFromRow(out, values, count, minimum);
}
void SubtractUInt16(uint16_t* out, const uint16_t* values, size_t count, uint16_t minimum) {
    SubtractFromRow(out, values, count, minimum);
}

} // namespace qel::internal::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace qel::internal {

QEL_SIMD_TABLE(RangeOfInt8);
QEL_SIMD_TABLE(RangeOfUInt8);
QEL_SIMD_TABLE(RangeOfInt16);
QEL_SIMD_TABLE(RangeOfUInt16);
QEL_SIMD_TABLE(SubtractInt8);
QEL_SIMD_TABLE(SubtractUInt8);
QEL_SIMD_TABLE(SubtractInt16);
QEL_SIMD_TABLE(SubtractUInt16);

namespace {

template <typename T, typename Kernel>
RowRange<T> rangeBy(const Kernel& kernel, const T* values, size_t count) {
    T range[2];
    kernel(values, count, range);
    return {range[0], range[1]};
}

} // namespace

RowRange<int8> rangeOfRow(const int8* values, size_t count) {
    return rangeBy(g_RangeOfInt8, values, count);
}
RowRange<uint8> rangeOfRow(const uint8* values, size_t count) {
    return rangeBy(g_RangeOfUInt8, values, count);
}
RowRange<int16> rangeOfRow(const int16* values, size_t count) {
    return rangeBy(g_RangeOfInt16, values, count);
}
RowRange<uint16> rangeOfRow(const uint16* values, size_t count) {
    return rangeBy(g_RangeOfUInt16, values, count);
}
void subtractFromRow(uint16* out, const int8* values, size_t count, int8 minimum) {
    g_SubtractInt8(out, values, count, minimum);
}
void subtractFromRow(uint16* out, const uint8* values, size_t count, uint8 minimum) {
    g_SubtractUInt8(out, values, count, minimum);
}
void subtractFromRow(uint16* out, const int16* values, size_t count, int16 minimum) {
    g_SubtractInt16(out, values, count, minimum);
}
void subtractFromRow(uint16* out, const uint16* values, size_t count, uint16 minimum) {
    g_SubtractUInt16(out, values, count, minimum);
}

} // namespace qel::internal
#endif
