// The sample volume: a head of ten ellipsoids.
#pragma once

#include <hosts/qelviewer/volume/load_progress.h>

#include <qel/foundation/base/buffer.h>

#include <string>

namespace qelviewer {

/// The voxels on each side of the sample volume.
inline constexpr int kPhantomVoxels = 256;

/// Computes a head of ten ellipsoids whose places and sizes are those of A. C. Kak and M. Slaney, Principles
/// of Computerized Tomographic Imaging, IEEE Press 1988, section 3.1, with the larger contrast of P. A. Toft,
/// The Radon Transform, 1996: from -1000 for air to 1000 for the skull. Each voxel is the mean of 27 samples.
/// The cube has sides of 230.4 mm; x points to the left of the head, y to its back and z to its top.
/// @param voxels  on each side, 1 to 1024.
/// @return the voxels as 16-bit numbers, x first; empty if @p progress was cancelled.
/// @threads any; uses idle workers.
qel::Buffer createPhantom(int voxels, LoadProgress& progress);

/// Writes the sample volume as an NRRD file, which appears under its name when it is complete.
/// @param path  in an existing folder; an existing file is replaced.
/// @return what went wrong, with the path; empty on success.
/// @threads as createPhantom().
std::string writePhantom(const std::string& path, int voxels, LoadProgress& progress);

} // namespace qelviewer
