// The picture of the library's ray tracer.
#pragma once

#include <qel/imaging/pixels/image.h>

namespace qelimage {

/// Traces the scene at a moment at which its word can be read, so that the picture is the same each time.
/// @param small  true for 120 by 70 pixels, false for 7680 by 4320.
/// @return an uninitialised image if there is no memory, which is logged. @threads main thread.
qel::Image tracePicture(bool small);

} // namespace qelimage
