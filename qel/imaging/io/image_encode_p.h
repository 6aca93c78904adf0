// Encoding with the text of the caller for formats that cannot be encoded.
#pragma once

#include <qel/foundation/base/buffer.h>
#include <qel/imaging/pixels/image.h>

namespace qel::internal {

/// Encodes @p image into @p out.
/// @param unsupported  is logged with the number of a format that cannot be encoded.
bool encodeImage(const Image& image, Image::Encoding encoding, const char* unsupported, Buffer& out);

} // namespace qel::internal
