// The types of voxels in files.
#pragma once

#include <qel/imaging/pixels/image_format.h>

#include <string_view>

namespace qelviewer {

/// A type of voxels.
struct VoxelFormat {
    qel::FormatID id;
    size_t bytes;     ///< of one voxel
    bool isFloat;     ///< may be NaN or a fraction
    const char* name; ///< such as "int16"
};

/// Returns the format that an NRRD file calls @p name; null for an unknown one.
const VoxelFormat* nrrdFormat(std::string_view name);

/// Returns the format with a number of NIfTI-1; null for an unknown one.
const VoxelFormat* niftiFormat(int number);

} // namespace qelviewer
