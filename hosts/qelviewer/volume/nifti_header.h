// The headers of NIfTI-1 files.
#pragma once

#include <hosts/qelviewer/volume/volume_header.h>
#include <hosts/qelviewer/volume/voxel_layout.h>

#include <array>
#include <string>

namespace qelviewer {

/// The bytes of a header.
inline constexpr size_t kNiftiHeaderBytes = 348;
using NiftiHeaderBytes = std::array<qel::uint8, kNiftiHeaderBytes>;

/// Reads a header in either byte order. Of several volumes the first one is used. The orientation is that of
/// the sform, otherwise of the qform, otherwise there are spacings only.
/// @param header  the size, type, orientation and lines are set.
/// @return what is wrong; empty on success. The output is meaningless otherwise.
std::string readNiftiHeader(const NiftiHeaderBytes& bytes, VolumeHeader& header, VoxelLayout& layout);

} // namespace qelviewer
