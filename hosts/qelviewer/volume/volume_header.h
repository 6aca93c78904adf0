// VolumeHeader: what the file of a volume states about it.
#pragma once

#include <hosts/qelviewer/volume/orientation.h>

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>

#include <string>
#include <utility>

namespace qelviewer {

/// Describes a volume that has been loaded.
struct VolumeHeader {
    std::string path;        ///< of the file that was opened
    std::string dataPath;    ///< of the file with the voxels, which may be another one
    std::string format;      ///< "NRRD" or "NIfTI-1"
    qel::IVec3<int> size;    ///< numbers of voxels on the axes, the fastest first
    std::string voxelType;   ///< such as "int16" or "float32"
    Orientation orientation; ///< where the voxels are
    /// The value of a voxel in the file's units is `stored * scaleBias.x + scaleBias.y`. Use it instead of
    /// VolumeLoader::getScaleBias(), which does not know the scale in a file nor what loading changed.
    qel::IVec2<float> scaleBias{1, 0};
    qel::Vector<std::pair<std::string, std::string>> lines; ///< names and values in the file, for display
};

} // namespace qelviewer
