// The headers of NRRD files.
#pragma once

#include <hosts/qelviewer/volume/volume_header.h>
#include <hosts/qelviewer/volume/voxel_layout.h>

#include <string>
#include <string_view>

namespace qelviewer {

/// The longest header that is read.
inline constexpr size_t kLongestNrrdHeader = 1 << 20;

/// Returns true if @p start, the first bytes of a file, is that of an NRRD file.
bool isNrrd(std::string_view start);

/// Reads a header with three dimensions.
/// @param start  the file, or at least its first kLongestNrrdHeader bytes.
/// @param header  the size, type, orientation and lines are set.
/// @return what is wrong; empty on success. The output is meaningless otherwise.
std::string readNrrdHeader(std::string_view start, VolumeHeader& header, VoxelLayout& layout);

} // namespace qelviewer
