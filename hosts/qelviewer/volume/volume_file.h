// Loading a volume from a file of any format that the viewer reads.
#pragma once

#include <hosts/qelviewer/volume/load_progress.h>
#include <hosts/qelviewer/volume/volume_header.h>

#include <string>

namespace qel {
class VolumeLoader;
} // namespace qel

namespace qelviewer {

/// Loads a volume; docs/volume.md describes the formats. The content of the file decides its format, not its
/// name. Voxels that are NaN are shown as the smallest value of the volume, infinite ones as the smallest or
/// the largest.
/// @param loader  has the texture afterwards. It is used by this call alone.
/// @param header  set on success only.
/// @return what went wrong, with the path; empty on success. Nothing but the loader's own fields has changed
/// after a failure; its texture is unchanged.
/// @threads any one thread on which the loader's renderer can create textures. Uses idle workers.
std::string loadVolume(const std::string& path, qel::VolumeLoader& loader, VolumeHeader& header,
                       LoadProgress& progress);

} // namespace qelviewer
