// The distribution of the values in a volume.
#pragma once

#include <hosts/qelviewer/volume/load_progress.h>

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>

namespace qel {
class SoftwareVolumeTexture;
} // namespace qel

namespace qelviewer {

/// Counts of voxels by value. Bin i holds values from `smallest + i * width` on, where width is
/// `(largest - smallest) / counts.size()`; the last bin includes the largest value.
struct Histogram {
    qel::Vector<qel::uint64> counts; ///< empty for a volume without voxels
    double smallest = 0;             ///< the smallest value in the volume, in the units of its file
    double largest = 0;              ///< the largest value
};

/// Counts the values of a volume.
/// @param scaleBias  VolumeHeader::scaleBias.
/// @param bins  1 to 65536.
/// @return without counts if @p progress was cancelled.
/// @threads any, while nobody changes the voxels; uses idle workers.
Histogram countValues(const qel::SoftwareVolumeTexture& volume, const qel::IVec2<float>& scaleBias, int bins,
                      LoadProgress& progress);

/// Returns the value of a voxel in the units of the file; NaN outside the volume.
double valueAt(const qel::SoftwareVolumeTexture& volume, const qel::IVec2<float>& scaleBias,
               const qel::IVec3<int>& voxel);

} // namespace qelviewer
