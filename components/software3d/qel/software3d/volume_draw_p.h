// A volume to be drawn, with everything that was set when it was drawn.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/matrix.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/software3d/software_volume_texture.h>
#include <qel/software3d/transfer_table_p.h>
#include <qel/volume/volume_actor.h>

#include <memory>

namespace qel::internal {

/// Converts to double.
Double4x4 toDouble(const Float4x4& matrix);

/// The matrices of a frame and where it appears.
struct View {
    Double4x4 view;
    Double4x4 projection;
    IVec4<int> viewport; ///< left, top, right and bottom of the picture of the scene
    IVec4<int> clip;     ///< the pixels that may be drawn
    IVec4<float> tint;
};

/// Tables that volumes share while their textures stay the same. Those that are not used any more are removed
/// when a new one is added.
class TransferTables {
public:
    /// Returns the table of two textures.
    std::shared_ptr<const TransferTable> get(Texture* line, Texture* square);

private:
    Vector<std::shared_ptr<const TransferTable>> m_tables; ///< the last used one is the last
};

class OcclusionGrid;

/// Returns the weight in the difference along an axis of the voxel @p i, 0 to 26, of a block of 3 by 3 by 3.
constexpr float sobelWeight(int i, int axis) {
    constexpr float kSmoothing[3] = {0.25f, 0.5f, 0.25f};
    const int at[3] = {i % 3, i / 3 % 3, i / 9};
    return static_cast<float>(at[axis] - 1) * kSmoothing[at[(axis + 1) % 3]] * kSmoothing[at[(axis + 2) % 3]];
}

/// Places between two voxels are rounded down to this part of their distance.
inline constexpr int kVoxelParts = 1 << 15;
/// The sum of the weights of the eight voxels around a place, which are whole numbers.
inline constexpr int kVoxelWeights = 1 << 14;

/// Everything that determines the pixels of a volume.
///
/// Places in the volume are in model space, 0 to 1, or in voxels, where a whole number is a voxel's centre.
struct VolumeDraw {
    VolumeDraw(VolumeActor& actor, SoftwareVolumeTexture& texture, const View& view, TransferTables& tables);

    /// Returns the number of the last voxel of an axis that can be the lower one of two.
    int lastLower(int axis) const { return size[axis] > 1 ? size[axis] - 2 : 0; }
    /// Returns the coordinate of a stored value in the tables of colour.
    float coordinate(float stored) const { return stored * scale + bias; }
    /// Returns the stored value at a place in voxels, interpolated in whole numbers. Rounded weights change
    /// it by less than 1/4096 of the largest difference between the voxels around the place.
    float valueAt(const IVec3<float>& place) const;
    /// Returns the coordinate of the gradient's magnitude in the tables of the gradient.
    float gradientAt(const IVec3<float>& place) const;

    SmartPointer<SoftwareVolumeTexture> texture;
    View view;
    IVec3<int> size;
    IVec3<float> last; ///< size - 1
    bool isLinear;
    bool isClassified;
    bool usesMeans;
    bool usesGradient;
    bool isSobel;
    bool usesLocalOcclusion;
    bool usesGlobalOcclusion;
    int steps;
    float scale; ///< from stored values to coordinates of tables
    float bias;
    float gradientScale[3]; ///< from differences of stored values over two voxels to source values
    float gradientFactor;   ///< from magnitudes to coordinates of tables
    float gradientBias;
    std::shared_ptr<const TransferTable> colors;
    std::shared_ptr<const TransferTable> weights;
    Double4x4 model;   ///< to the world
    Double4x4 fromNdc; ///< from normalised device coordinates to model space; zeros if there is no inverse
    double unitLength; ///< length in the world for which opacities hold
    Vector<IVec4<double>> planes; ///< in model space: keeps x * a + y * b + z * c + d >= 0
    IVec3<double> lower{0, 0, 0};
    IVec3<double> upper{1, 1, 1};
    double distance; ///< from the eye to the centre

    /// For each block of voxels, x first: the distance to the nearest one that is not transparent, counted in
    /// blocks along the axis on which it is largest, up to a limit. Empty if blocks are not skipped.
    Vector<uint8> clearDistance;
    std::shared_ptr<const OcclusionGrid> occlusion;
};

/// Finds the blocks of voxels that are transparent with the tables of @p draw.
void findClearBricks(VolumeDraw& draw);

} // namespace qel::internal
