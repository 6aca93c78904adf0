#include <qel/imaging/pixels/resize_kernels_p.h>

#include <qel/imaging/pixels/resize_numbers_p.h>
#include <qel/imaging/pixels/resize_rows_p.h>

#include <algorithm>
#include <type_traits>
#include <vector>

namespace qel::internal {
namespace {

/// A place between two neighbours of an axis.
struct Neighbours {
    int first, second;
    float fraction; ///< of the second
};

/// Maps the pixels of a target axis to a source axis.
class Axis {
public:
    Axis(int sourceSize, int targetSize)
        : m_factor(static_cast<float>(sourceSize) / static_cast<float>(targetSize)), m_last(sourceSize - 1) {}

    Neighbours operator[](int i) const {
        const float coordinate = static_cast<float>(i) * m_factor + (m_factor * 0.5f - 0.5f);
        const auto last = static_cast<float>(m_last);
        const float limited = coordinate > 0 ? (coordinate < last ? coordinate : last) : 0;
        // A last index above 2^24 may round up when it becomes a float.
        const int first = std::min(static_cast<int>(static_cast<int64>(limited)), m_last);
        return {first, std::min(first + 1, m_last), limited - static_cast<float>(first)};
    }

private:
    float m_factor;
    int m_last;
};

/// Writes a + (b - a) * fraction for each value.
template <typename T, typename F>
void mixRow(uint8* out, const F* a, const F* b, F fraction, size_t n) {
    if constexpr (std::is_same_v<T, uint8>) {
        rowMixBytes(out, a, b, fraction, n);
    } else {
        for (size_t i = 0; i < n; ++i, out += sizeof(T))
            storeValue(out, rounded<T>(a[i] + (b[i] - a[i]) * fraction));
    }
}

/// Resizes rows of one component type. Each source row is interpolated along its columns once.
template <typename T>
class PlaneResizer {
public:
    using F = Interpolated<T>;

    PlaneResizer(int sourceWidth, int targetWidth, int channels) : m_channels(static_cast<size_t>(channels)) {
        const Axis axis(sourceWidth, targetWidth);
        m_columns.reserve(static_cast<size_t>(targetWidth));
        for (int x = 0; x < targetWidth; ++x) m_columns.push_back(axis[x]);
        for (auto& row : m_rows) row.values.resize(m_columns.size() * m_channels);
    }

    void write(uint8* out, const Image& source, unsigned plane, const Neighbours& rows) {
        const F* first = interpolated(source, plane, rows.first, rows.second);
        const F* second = interpolated(source, plane, rows.second, rows.first);
        mixRow<T>(out, first, second, static_cast<F>(rows.fraction), m_columns.size() * m_channels);
    }

private:
    struct Row {
        int index = -1;
        std::vector<F> values;
    };

    /// Returns a source row with the target's columns; row @p other stays available.
    const F* interpolated(const Image& source, unsigned plane, int index, int other) {
        for (const Row& row : m_rows)
            if (row.index == index) return row.values.data();
        Row& row = m_rows[0].index == other ? m_rows[1] : m_rows[0];
        row.index = index;
        const uint8* in = source.getPlaneBytePointer(plane, index);
        F* out = row.values.data();
        for (const Neighbours& column : m_columns) {
            const uint8* a = in + static_cast<size_t>(column.first) * m_channels * sizeof(T);
            const uint8* b = in + static_cast<size_t>(column.second) * m_channels * sizeof(T);
            for (size_t c = 0; c < m_channels; ++c, a += sizeof(T), b += sizeof(T)) {
                const F left = static_cast<F>(loadValue<T>(a)), right = static_cast<F>(loadValue<T>(b));
                *out++ = left + (right - left) * static_cast<F>(column.fraction);
            }
        }
        return row.values.data();
    }

    const size_t m_channels;
    std::vector<Neighbours> m_columns;
    Row m_rows[2];
};

/// Widths and heights up to which the coordinates of twice the size are exact in single precision.
constexpr int kMostTwice = 1 << 20;

bool isTwice(const PixelType& type, const IVec2<int>& size, const IVec2<int>& from) {
    return type.component == UInt8 && size == IVec2<int>(2 * from.x, 2 * from.y) && from.x <= kMostTwice &&
           from.y <= kMostTwice;
}

} // namespace

// The weights are 1/4 and 3/4, so that sixteenths represent each value exactly. Target rows 2 * y + 1 and 2 *
// y + 2 lie between source rows y and y + 1; a job that has only one of the two writes the other to a row of
// its own.
void ResizeBilinear::writeTwice(unsigned plane, int begin, int end) {
    const IVec2<int> from = m_source.getPlaneSize(plane);
    const auto channels = static_cast<size_t>(pixelTypeOf(m_target.getPlaneFormat(plane)).channels);
    const auto width = static_cast<size_t>(from.x);
    std::vector<uint8> unused(2 * width * channels);
    const auto out = [&](int y) {
        return y >= begin && y < end ? m_target.getPlaneBytePointer(plane, y) : unused.data();
    };
    for (int upper = (begin + 1) / 2 * 2 - 1; upper < end; upper += 2) {
        const uint8* a = m_source.getPlaneBytePointer(plane, std::max(upper / 2, 0));
        const uint8* b = m_source.getPlaneBytePointer(plane, std::min((upper + 1) / 2, from.y - 1));
        rowsTwice(out(upper), out(upper + 1), a, b, channels, width);
    }
}

void ResizeBilinear::processPlane(unsigned plane, unsigned job) {
    const PixelType type = pixelTypeOf(m_target.getPlaneFormat(plane));
    const IVec2<int> size = m_target.getPlaneSize(plane), from = m_source.getPlaneSize(plane);
    const int begin = firstRow(plane, job), end = firstRow(plane, job + 1);
    if (isTwice(type, size, from)) return writeTwice(plane, begin, end);
    withComponent(type.component, [&]<typename T>() {
        PlaneResizer<T> resizer(from.x, size.x, type.channels);
        const Axis rows(from.y, size.y);
        for (int y = begin; y < end; ++y)
            resizer.write(m_target.getPlaneBytePointer(plane, y), m_source, plane, rows[y]);
    });
}

} // namespace qel::internal
