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

/// Returns the weighted sum of the values that a target pixel covers, @p step values apart.
template <typename Sum>
Sum sumOfCover(const Sum* sums, const Cover& cover, size_t step) {
    const auto at = [&](int x) { return sums[static_cast<size_t>(x) * step]; };
    Sum sum = static_cast<Sum>(cover.firstWeight) * at(cover.first);
    if (cover.last == cover.first) return sum;
    Sum inner = 0;
    for (int x = cover.first + 1; x < cover.last; ++x) inner += at(x);
    sum += static_cast<Sum>(cover.innerWeight) * inner;
    return sum + static_cast<Sum>(cover.lastWeight) * at(cover.last);
}

/// Writes the means of a target row from the sums of its columns.
template <typename T>
void writeMeans(uint8* out, const std::vector<Summed<T>>& sums, const std::vector<Cover>& columns,
                int channels, const MeanOf<T>& mean) {
    const auto step = static_cast<size_t>(channels);
    for (const Cover& column : columns)
        for (size_t c = 0; c < step; ++c, out += sizeof(T))
            storeValue(out, mean(sumOfCover(sums.data() + c, column, step)));
}

/// The rows of a plane that a job writes.
struct Band {
    Image& target;
    const Image& source;
    unsigned plane;
    int begin, end;

    IVec2<int> size() const { return target.getPlaneSize(plane); }
    IVec2<int> from() const { return source.getPlaneSize(plane); }
    size_t channels() const {
        return static_cast<size_t>(pixelTypeOf(target.getPlaneFormat(plane)).channels);
    }
    uint8* out(int y) const { return target.getPlaneBytePointer(plane, y); }
    const uint8* in(int y) const { return source.getPlaneBytePointer(plane, y); }
};

std::vector<Cover> coversOfColumns(const Band& band) {
    std::vector<Cover> columns;
    columns.reserve(static_cast<size_t>(band.size().x));
    for (int x = 0; x < band.size().x; ++x) columns.emplace_back(x, band.from().x, band.size().x);
    return columns;
}

template <typename T>
void reduce(const Band& band) {
    const std::vector<Cover> columns = coversOfColumns(band);
    const MeanOf<T> mean(static_cast<Summed<T>>(band.from().x) * static_cast<Summed<T>>(band.from().y));
    std::vector<Summed<T>> sums(static_cast<size_t>(band.from().x) * band.channels());
    for (int y = band.begin; y < band.end; ++y) {
        sumRows<T>(sums, band.source, band.plane, Cover(y, band.from().y, band.size().y));
        writeMeans<T>(band.out(y), sums, columns, static_cast<int>(band.channels()), mean);
    }
}

void halveBytes(const Band& band) {
    for (int y = band.begin; y < band.end; ++y)
        rowHalf(band.out(y), band.in(2 * y), band.in(2 * y + 1), band.channels(),
                static_cast<size_t>(band.size().x));
}

/// Writes the covers of all columns in the form that rowMeans() reads: each has as many columns as the
/// largest.
ColumnWeights weightsOf(const std::vector<Cover>& columns, int sourceWidth) {
    ColumnWeights result;
    int covered = 0;
    for (const Cover& column : columns) covered = std::max(covered, column.last - column.first + 1);
    result.covered = static_cast<size_t>(covered);
    for (const Cover& column : columns) {
        const int first = std::min(column.first, sourceWidth - covered);
        result.first.push_back(static_cast<uint32>(first));
        for (int x = first; x < first + covered; ++x) {
            const bool isCovered = x >= column.first && x <= column.last;
            result.weights.push_back(isCovered ? static_cast<double>(column.weight(x)) : 0);
        }
    }
    return result;
}

/// Heights up to which 255 times the height fits into 31 bits, and a weight into 15.
constexpr int kMostRows = 1 << 23, kMostTargetRows = 0x7FFF;

void reduceBytes(const Band& band) {
    const ColumnWeights columns = weightsOf(coversOfColumns(band), band.from().x);
    const double weight = static_cast<double>(band.from().x) * band.from().y;
    const size_t values = static_cast<size_t>(band.from().x) * band.channels();
    std::vector<int32> sums(values + 1);
    std::vector<const uint8*> rows;
    std::vector<uint16> weights;
    for (int y = band.begin; y < band.end; ++y) {
        const Cover cover(y, band.from().y, band.size().y);
        rows.clear();
        weights.clear();
        for (int row = cover.first; row <= cover.last; ++row) {
            rows.push_back(band.in(row));
            weights.push_back(static_cast<uint16>(cover.weight(row)));
        }
        rowWeightedSums(sums.data(), rows.data(), weights.data(), rows.size(), values);
        rowMeans(band.out(y), sums.data(), columns, band.channels(), weight);
    }
}

/// Reduces bytes by a faster way where there is one.
bool reduceFast(const Band& band) {
    if (band.from() == IVec2<int>(2 * band.size().x, 2 * band.size().y)) {
        halveBytes(band);
        return true;
    }
    if (band.from().y >= kMostRows || band.size().y > kMostTargetRows) return false;
    reduceBytes(band);
    return true;
}

} // namespace

void ResizeAccumulate::processPlane(unsigned plane, unsigned job) {
    const Band band{m_target, m_source, plane, firstRow(plane, job), firstRow(plane, job + 1)};
    withComponent(pixelTypeOf(m_target.getPlaneFormat(plane)).component, [&]<typename T>() {
        if (std::is_same_v<T, uint8> && reduceFast(band)) return;
        reduce<T>(band);
    });
}

} // namespace qel::internal
