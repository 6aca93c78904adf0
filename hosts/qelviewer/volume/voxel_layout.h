// VoxelLayout: where the voxels of a file are and what they mean.
#pragma once

#include <hosts/qelviewer/volume/voxel_format.h>

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>

#include <optional>
#include <string>

namespace qelviewer {

/// What the header of a file states about its voxels.
struct VoxelLayout {
    const VoxelFormat* format = nullptr; ///< set unless reading the header failed
    qel::IVec3<int> size;                ///< numbers of voxels on the axes, all above 0
    bool isBigEndian = false;            ///< the most significant byte is the first
    std::string dataFile;                ///< name in the folder of the header; empty if they are in one file
    qel::uint64 begin = 0;               ///< position of the voxels, or of the stream that contains them
    bool isGzip = false;                 ///< a gzip stream is at the position
    qel::uint64 skip = 0;                ///< bytes before the voxels, after decompression
    bool isAtEnd = false;                ///< the voxels are the last bytes of the file
    double slope = 1;                    ///< the value of a voxel is number * slope + intercept
    double intercept = 0;                ///< added to the scaled number
};

/// Returns the bytes of all voxels; nothing if 64 bits cannot hold them.
std::optional<qel::uint64> countBytes(const VoxelLayout& layout);

} // namespace qelviewer
