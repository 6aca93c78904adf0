// The sample volume: a head of ten ellipsoids.
#pragma once

#include <hosts/qelviewer/volume/load_progress.h>
#include <hosts/qelviewer/volume/volume_header.h>

#include <qel/foundation/base/buffer.h>

#include <string>

namespace qel {
class VolumeLoader;
} // namespace qel

namespace qelviewer {

/// The voxels on each side of the sample volume.
inline constexpr int kPhantomVoxels = 256;

/// Computes a head of ten ellipsoids. Their places, sizes and angles are those of the three-dimensional head
/// phantom of A. C. Kak and M. Slaney, Principles of Computerized Tomographic Imaging, IEEE Press 1988,
/// section 3.6, which follows the plane one of its table 3.1. Their contrast is the larger one of the ten
/// ellipses of P. A. Toft, The Radon Transform, 1996, in the same order; it extends from -1000 for air to
/// 1000 for the skull. Each voxel is the mean of 27 samples. The cube has sides of 230.4 mm; x points to the
/// left of the head, y to its back and z to its top.
/// @param voxels  on each side, 1 to 1024.
/// @return the voxels as 16-bit numbers, x first; empty if @p progress was cancelled.
/// @threads any; uses idle workers.
qel::Buffer createPhantom(int voxels, LoadProgress& progress);

/// Writes the sample volume as an NRRD file, which appears under its name when it is complete.
/// @param path  in an existing folder; an existing file is replaced.
/// @return what went wrong, with the path; empty on success.
/// @threads as createPhantom().
std::string writePhantom(const std::string& path, int voxels, LoadProgress& progress);

/// Computes the sample volume and loads it, without a file.
/// @param loader  has the texture afterwards.
/// @param header  set on success only.
/// @return what went wrong; empty on success.
/// @threads as loadVolume().
std::string loadPhantom(int voxels, qel::VolumeLoader& loader, VolumeHeader& header, LoadProgress& progress);

} // namespace qelviewer
