// Writes pictures of the pages.
#pragma once

#include "viewer.h"

#include <hosts/window/frame_loop.h>

#include <string>

namespace qelviewer {

/// Waits until a volume is shown or an interrupt arrives.
/// @param isOnDisplay  true to show the progress meanwhile; otherwise no virtual time passes.
/// @return what went wrong; empty on success.
std::string waitForVolume(qelwindow::FrameLoop& loop, Viewer& viewer, bool isOnDisplay);

/// Writes a picture of the window to @p path, unless the volume was read from there.
/// @return what went wrong; empty on success.
std::string writePicture(qelwindow::FrameLoop& loop, const Viewer& viewer, const std::string& path);

/// Writes "slices.png", "volume.png" and "all.png" to @p folder, which is created, and prints the paths.
/// @return what went wrong; empty on success.
std::string writePages(qelwindow::FrameLoop& loop, Viewer& viewer, const std::string& folder);

} // namespace qelviewer
