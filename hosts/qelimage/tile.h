// Tile: what a contact sheet shows of a file.
#pragma once

#include <qel/imaging/pixels/image.h>

#include <string>
#include <string_view>

namespace qelimage {

/// The longest side of a thumbnail in pixels.
inline constexpr int kThumbnailSide = 176;

/// What a contact sheet shows of a file.
struct Tile {
    std::string name;      ///< name of the file
    std::string_view type; ///< "PNG", for example; empty if it is unknown
    std::string problem;   ///< why the file can't be read or decoded; empty if it could be
    qel::uint64 bytes = 0; ///< size of the file
    qel::IVec2<int> size;  ///< size of the picture in pixels; 0 by 0 without one
    qel::Image thumbnail;  ///< the picture, RGB8 or RGBA8 and not enlarged; uninitialised without one
};

/// Reads a file and makes its thumbnail. Devices and pipes are not read.
/// @param folder  ends with a separator. @threads any thread.
Tile makeTile(const std::string& folder, const std::string& name);

} // namespace qelimage
