// Writes pictures of windows to files.
#pragma once

#include <qel/imaging/pixels/image.h>

#include <string>

namespace qelwindow {

/// Writes a frame to a PNG file without its alpha, replacing an existing file.
/// @return what went wrong; empty on success.
/// @threads any.
std::string writePicture(const qel::Image& frame, const std::string& path);

} // namespace qelwindow
