// Writes pictures to files.
#pragma once

#include <qel/imaging/pixels/image.h>

#include <string>

namespace qelwindow {

/// Writes a picture to a PNG file, replacing an existing file.
/// @return what went wrong; empty on success.
/// @threads any.
std::string writePicture(const qel::Image& picture, const std::string& path);

} // namespace qelwindow
