#include <qel/software3d/volume_draw_p.h>

#include <algorithm>
#include <cmath>

namespace qel::internal {
namespace {

/// The most tables that are kept while nothing else uses them.
constexpr size_t kMostTables = 16;
constexpr int kMostSteps = 16384;
/// The parts of a volume's diagonal for which opacities hold.
constexpr double kUnitsOfDiagonal = 512;

double lengthOf(double x, double y, double z) {
    return std::sqrt(x * x + y * y + z * z);
}

/// Returns the share of the upper one of two voxels in a weight, rounded to the nearest number, and down from
/// the middle between two.
int upperShare(int weight, int part) {
    return -((kVoxelParts / 2 - weight * part) >> 15);
}

} // namespace

Double4x4 toDouble(const Float4x4& matrix) {
    Double4x4 result;
    for (int r = 0; r < 4; ++r) result.setRow(r, IVec4<double>(matrix.row(r)));
    return result;
}

std::shared_ptr<const TransferTable> TransferTables::get(Texture* line, Texture* square) {
    const auto found = std::find_if(m_tables.begin(), m_tables.end(),
                                    [&](const auto& table) { return table->isMadeOf(line, square); });
    if (found != m_tables.end()) {
        std::rotate(found, found + 1, m_tables.end());
        return m_tables.back();
    }
    // The oldest are removed, but for those in use, whose addresses views compare.
    size_t excess = m_tables.size() - std::min(m_tables.size(), kMostTables - 1);
    std::erase_if(m_tables, [&excess](const auto& table) {
        const bool isRemoved = excess > 0 && table.use_count() == 1;
        excess -= isRemoved;
        return isRemoved;
    });
    return m_tables.emplace_back(std::make_shared<const TransferTable>(line, square));
}

VolumeDraw::VolumeDraw(VolumeActor& actor, SoftwareVolumeTexture& volume, const View& at,
                       TransferTables& tables)
    : texture(&volume),
      view(at),
      size(volume.getSize()),
      last(IVec3<int>(size.x - 1, size.y - 1, size.z - 1)),
      isLinear(volume.getFilter() == Filter::Bilinear),
      isClassified(actor.isUsingClassified()),
      usesLocalOcclusion(actor.isUsingLocalOcclusion()),
      usesGlobalOcclusion(actor.isUsingGlobalOcclusion()),
      steps(std::clamp(actor.getStepCount(), 1, kMostSteps)),
      colors(tables.get(actor.getColorAlphaLookupTexture(), actor.getColorAlphaPreintegrationTexture())),
      weights(tables.get(actor.getGradientLookupTexture(), actor.getGradientPreintegrationTexture())),
      model(toDouble(actor.getModelMatrix())) {
    const IVec2<double> stored(actor.getVolumeScaleBias()), lookup(actor.getLookupScaleBias());
    scale = static_cast<float>(stored.x * lookup.x);
    bias = static_cast<float>(stored.y * lookup.x + lookup.y);
    usesMeans = actor.isUsingPreintegration() && colors->isValid(true);
    usesGradient = actor.isUsingGradientMultiplier() && weights->isValid(usesMeans);
    isSobel = actor.getVolumeGradientCalculation() == VolumeGradientCalculation::Sobel;
    fromNdc = model.multiply(view.view).multiply(view.projection).inverse();
    const auto diagonal = model.transform3x3({1, 1, 1});
    unitLength = lengthOf(diagonal.x, diagonal.y, diagonal.z) / kUnitsOfDiagonal;
    const auto centre = model.multiply(view.view).transform(IVec3<double>(0.5, 0.5, 0.5));
    distance = lengthOf(centre.x, centre.y, centre.z);

    double spacing[3], smallest = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const IVec4<double>& row = model.row(axis);
        spacing[axis] = lengthOf(row.x, row.y, row.z) / size[axis];
        smallest = axis == 0 ? spacing[0] : std::min(smallest, spacing[axis]);
    }
    for (int axis = 0; axis < 3; ++axis)
        gradientScale[axis] =
            static_cast<float>(0.5 * stored.x * (spacing[axis] > 0 ? smallest / spacing[axis] : 0));
    gradientFactor = static_cast<float>(lookup.x);
    gradientBias = static_cast<float>(lookup.y);
}

float VolumeDraw::valueAt(const IVec3<float>& place) const {
    size_t low[3];
    int part[3];
    for (int axis = 0; axis < 3; ++axis) {
        const float at =
            std::clamp(isLinear ? place[axis] : std::floor(place[axis] + 0.5f), 0.0f, last[axis]);
        const auto parts = static_cast<int64>(at * kVoxelParts);
        const int64 first = std::min(parts / kVoxelParts, int64{lastLower(axis)});
        low[axis] = static_cast<size_t>(first);
        part[axis] = static_cast<int>(parts - first * kVoxelParts);
    }
    const size_t width = static_cast<size_t>(size.x), slice = width * static_cast<size_t>(size.y);
    const size_t next[3] = {size.x > 1 ? size_t{1} : 0, size.y > 1 ? width : 0, size.z > 1 ? slice : 0};
    const uint16* const voxels = texture->getVoxels() + low[2] * slice + low[1] * width + low[0];
    int shares[8] = {kVoxelWeights - part[0] / 2, part[0] / 2};
    for (int axis = 1; axis < 3; ++axis) {
        for (int i = 0; i < 1 << axis; ++i) {
            const int rest = upperShare(shares[i], part[axis]);
            shares[(1 << axis) + i] = rest;
            shares[i] -= rest;
        }
    }
    int sum = 0;
    for (size_t i = 0; i < 8; ++i)
        sum += shares[i] * voxels[(i & 1) * next[0] + (i >> 1 & 1) * next[1] + (i >> 2) * next[2]];
    return static_cast<float>(sum) / kVoxelWeights;
}

float VolumeDraw::gradientAt(const IVec3<float>& place) const {
    IVec3<float> difference;
    if (isSobel) {
        for (int i = 0; i < 27; ++i) {
            const int x = i % 3 - 1, y = i / 3 % 3 - 1, z = i / 9 - 1;
            const float value = valueAt({place.x + static_cast<float>(x), place.y + static_cast<float>(y),
                                         place.z + static_cast<float>(z)});
            for (int axis = 0; axis < 3; ++axis) difference[axis] += value * sobelWeight(i, axis);
        }
    } else {
        for (int axis = 0; axis < 3; ++axis) {
            IVec3<float> before = place, after = place;
            before[axis] -= 1;
            after[axis] += 1;
            difference[axis] = valueAt(after) - valueAt(before);
        }
    }
    float square = 0;
    for (int axis = 0; axis < 3; ++axis) {
        const float part = difference[axis] * gradientScale[axis];
        square += part * part;
    }
    return std::sqrt(square) * gradientFactor + gradientBias;
}

} // namespace qel::internal
