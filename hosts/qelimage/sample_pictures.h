// The pictures of the command "samples".
#pragma once

#include <qel/imaging/pixels/image.h>

#include <span>

namespace qelimage {

/// A picture that the program draws itself.
struct SamplePicture {
    const char* name;     ///< of its file; the extension is the format
    qel::Image (*draw)(); ///< returns an uninitialised image if there is no memory
};

/// Returns all sample pictures.
std::span<const SamplePicture> samplePictures();

} // namespace qelimage
