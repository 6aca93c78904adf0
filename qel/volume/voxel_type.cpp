#include <qel/volume/voxel_type_p.h>

#include <qel/volume/voxel_rows_p.h>

#include <cfloat>
#include <cmath>
#include <cstring>

namespace qel::internal {
namespace {

constexpr double kLargest = 65535;

template <typename T>
T voxelAt(const uint8* voxels, size_t i) {
    T value;
    std::memcpy(&value, voxels + i * sizeof(T), sizeof(T));
    return value;
}

// --- any type ------------------------------------------------------------------------------------------

template <typename T>
VoxelRange plainRange(const uint8* voxels, size_t count) {
    VoxelRange range;
    for (size_t i = 0; i < count; ++i) {
        const auto value = static_cast<double>(voxelAt<T>(voxels, i));
        if (std::isfinite(value)) range.include(value);
    }
    return range;
}

uint16 toWord(double value) {
    const double rounded = std::floor(value + 0.5);
    if (!(rounded > 0)) return 0; // also NaN
    return rounded < kLargest ? static_cast<uint16>(rounded) : uint16{65535};
}

template <typename T>
void plainConvert(uint16* out, const uint8* voxels, size_t count, const VoxelScale& scale) {
    const double lowest = scale.minimum / scale.scale;
    for (size_t i = 0; i < count; ++i) {
        const auto value = static_cast<double>(voxelAt<T>(voxels, i));
        out[i] = toWord(scale.isHuge ? value / scale.scale - lowest : (value - scale.minimum) / scale.scale);
    }
}

// --- types whose range fits 16 bits: the scale is 1 ----------------------------------------------------

template <typename T>
VoxelRange smallRange(const uint8* voxels, size_t count) {
    VoxelRange range;
    if (count == 0) return range;
    const RowRange<T> row = rangeOfRow(reinterpret_cast<const T*>(voxels), count);
    range.include(static_cast<double>(row.minimum));
    range.include(static_cast<double>(row.maximum));
    return range;
}

template <typename T>
void smallConvert(uint16* out, const uint8* voxels, size_t count, const VoxelScale& scale) {
    subtractFromRow(out, reinterpret_cast<const T*>(voxels), count, static_cast<T>(scale.minimum));
}

template <typename T>
constexpr VoxelType kPlain{sizeof(T), &plainRange<T>, &plainConvert<T>};
template <typename T>
constexpr VoxelType kSmall{sizeof(T), &smallRange<T>, &smallConvert<T>};

} // namespace

VoxelScale::VoxelScale(const VoxelRange& range) {
    if (!(range.minimum <= range.maximum)) return;
    minimum = range.minimum;
    const double width = range.maximum - range.minimum;
    isHuge = !std::isfinite(width);
    if (isHuge)
        scale = range.maximum / kLargest - range.minimum / kLargest;
    else if (width > kLargest)
        scale = width / kLargest;
}

IVec2<float> VoxelScale::toFloat() const {
    const double largest = FLT_MAX;
    return {static_cast<float>(std::clamp(scale, -largest, largest)),
            static_cast<float>(std::clamp(minimum, -largest, largest))};
}

const VoxelType* findVoxelType(FormatID format) {
    switch (format) {
    case Int8:
        return &kSmall<int8>;
    case UInt8:
    case L8:
    case A8:
        return &kSmall<uint8>;
    case Int16:
        return &kSmall<int16>;
    case UInt16:
        return &kSmall<uint16>;
    case Int32:
        return &kPlain<int32>;
    case UInt32:
        return &kPlain<uint32>;
    case Int64:
        return &kPlain<int64>;
    case UInt64:
        return &kPlain<uint64>;
    case Flt32:
        return &kPlain<float>;
    case Flt64:
        return &kPlain<double>;
    default:
        return nullptr;
    }
}

} // namespace qel::internal
