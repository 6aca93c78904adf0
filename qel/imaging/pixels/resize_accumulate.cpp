#include <qel/imaging/pixels/resize_kernels_p.h>

#include <qel/imaging/pixels/resize_numbers_p.h>
#include <qel/imaging/pixels/resize_rows_p.h>

#include <algorithm>
#include <vector>

namespace qel::internal {
namespace {

/// The source pixels that one target pixel covers along an axis. A whole source pixel weighs as much as the
/// target axis is long, so that all weights are integers; their sum is the length of the source axis.
struct Cover {
    int first, last;
    int64 firstWeight, lastWeight, innerWeight;

    Cover(int i, int sourceSize, int targetSize) : innerWeight(targetSize) {
        const int64 begin = int64{i} * sourceSize, end = begin + sourceSize;
        first = static_cast<int>(begin / targetSize);
        last = static_cast<int>((end - 1) / targetSize);
        firstWeight = std::min((int64{first} + 1) * targetSize, end) - begin;
        lastWeight = end - std::max(int64{last} * targetSize, begin);
    }

    int64 weight(int index) const {
        if (index == first) return firstWeight;
        return index == last ? lastWeight : innerWeight;
    }
};

/// Sums the rows under a target row into @p sums, weighted.
template <typename T>
void sumRows(std::vector<Summed<T>>& sums, const Image& source, unsigned plane, const Cover& rows) {
    std::fill(sums.begin(), sums.end(), Summed<T>(0));
    for (int y = rows.first; y <= rows.last; ++y) {
        const auto weight = static_cast<Summed<T>>(rows.weight(y));
        const uint8* in = source.getPlaneBytePointer(plane, y);
        for (size_t i = 0; i < sums.size(); ++i)
            sums[i] += weight * static_cast<Summed<T>>(loadValue<T>(in + i * sizeof(T)));
    }
}

/// The same for bytes, whose sums of columns of ordinary height fit into 32 bits.
void sumRows(std::vector<uint32>& sums, const Image& source, unsigned plane, const Cover& rows) {
    std::fill(sums.begin(), sums.end(), 0);
    for (int y = rows.first; y <= rows.last; ++y)
        rowAddWeighted(sums.data(), source.getPlaneBytePointer(plane, y), static_cast<uint32>(rows.weight(y)),
                       sums.size());
}

/// Returns the weighted sum of the values that a target pixel covers, @p step values apart.
template <typename Result, typename Sum>
Result sumOfCover(const Sum* sums, const Cover& cover, size_t step) {
    const auto at = [&](int x) { return static_cast<Result>(sums[static_cast<size_t>(x) * step]); };
    Result sum = static_cast<Result>(cover.firstWeight) * at(cover.first);
    if (cover.last == cover.first) return sum;
    Result inner = 0;
    for (int x = cover.first + 1; x < cover.last; ++x) inner += at(x);
    sum += static_cast<Result>(cover.innerWeight) * inner;
    return sum + static_cast<Result>(cover.lastWeight) * at(cover.last);
}

/// Writes the means of a target row from the sums of its columns.
template <typename T, typename Sum>
void writeMeans(uint8* out, const std::vector<Sum>& sums, const std::vector<Cover>& columns, int channels,
                const MeanOf<T>& mean) {
    const auto step = static_cast<size_t>(channels);
    for (const Cover& column : columns)
        for (size_t c = 0; c < step; ++c, out += sizeof(T))
            storeValue(out, mean(sumOfCover<Summed<T>>(sums.data() + c, column, step)));
}

/// Heights up to which 255 times the height fits into 32 bits.
constexpr int kMostRowsIn32Bits = 1 << 24;

} // namespace

void ResizeAccumulate::processPlane(unsigned plane, unsigned job) {
    const PixelType type = pixelTypeOf(m_target.getPlaneFormat(plane));
    const IVec2<int> size = m_target.getPlaneSize(plane), from = m_source.getPlaneSize(plane);
    std::vector<Cover> columns;
    columns.reserve(static_cast<size_t>(size.x));
    for (int x = 0; x < size.x; ++x) columns.emplace_back(x, from.x, size.x);
    const size_t values = static_cast<size_t>(from.x) * static_cast<size_t>(type.channels);
    withComponent(type.component, [&]<typename T>() {
        const auto run = [&]<typename Sum>(std::vector<Sum> sums, const auto& addUp) {
            const MeanOf<T> mean(static_cast<Summed<T>>(from.x) * static_cast<Summed<T>>(from.y));
            for (int y = firstRow(plane, job); y < firstRow(plane, job + 1); ++y) {
                addUp(sums, m_source, plane, Cover(y, from.y, size.y));
                writeMeans<T>(m_target.getPlaneBytePointer(plane, y), sums, columns, type.channels, mean);
            }
        };
        if constexpr (std::is_same_v<T, uint8>) {
            using Add = void (*)(std::vector<uint32>&, const Image&, unsigned, const Cover&);
            if (from.y < kMostRowsIn32Bits)
                return run(std::vector<uint32>(values), static_cast<Add>(sumRows));
        }
        run(std::vector<Summed<T>>(values), sumRows<T>);
    });
}

} // namespace qel::internal
