// Deep copies of images, also of those whose pixels belong to somebody else.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>

namespace qel::internal {

/// Makes @p target a packed copy of @p source with memory of its own. A source without pixels leaves the
/// target uninitialised. @p target may be @p source, which then stays as it is.
void copyPixels(Image& target, const Image& source);
/// Returns a new image with the pixels of @p source, whose memory is taken over where it is its own.
SmartPointer<Image> takePixels(Image&& source);

} // namespace qel::internal
