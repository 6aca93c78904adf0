// Conversions of voxels in memory.
#pragma once

#include <hosts/qelviewer/volume/voxel_format.h>

#include <qel/foundation/base/buffer.h>

namespace qelviewer {

/// Exchanges the bytes of all voxels of @p bytesPerVoxel. Uses idle workers.
void swapBytes(qel::Buffer& voxels, size_t bytesPerVoxel);

/// Numbers of 16 bits: `word * scale + bias` is the value.
struct Words {
    qel::Buffer words;
    double scale = 1;
    double bias = 0;
};

/// Converts floating-point voxels, with steps of 1 if all are whole numbers in a range of up to 65535, and
/// otherwise with 65535 steps from the smallest to the largest value. NaN becomes the smallest value,
/// infinite voxels the smallest or the largest. Uses idle workers.
/// @param format  a floating-point format.
Words toWords(const qel::Buffer& voxels, const VoxelFormat& format);

} // namespace qelviewer
