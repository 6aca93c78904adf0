// Writes the pages as PNG files.
#pragma once

#include "screens.h"

#include <hosts/window/frame_loop.h>

#include <string>

namespace qelscreens {

/// Writes each page to "NUMBER-NAME.png" in @p folder, which is created, and prints the paths.
/// @return what went wrong; empty on success.
std::string writePages(qelwindow::FrameLoop& loop, Screens& screens, const std::string& folder);

} // namespace qelscreens
