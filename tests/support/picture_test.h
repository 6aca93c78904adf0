// Picture tests: frames that are drawn in every way and whose hashes a committed list states.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/imaging/pixels/image_format.h>
#include <qel/render/renderer_software.h>

#include <functional>
#include <string>

namespace qel {
class Image;
}

namespace qel::test {

/// A frame and how to draw it.
struct Picture {
    std::string name; ///< without spaces; unique in its list
    IVec2<int> size;
    FormatID format; ///< of the target
    /// Draws on the renderer, in a frame whose target is 0 in every byte.
    std::function<void(RendererSoftware&)> draw;
};

/// Draws @p picture by the functions that define every result, and by the fast functions, for each set of
/// vector instructions, on one thread and in bands by several. Fails the test unless all bytes are equal
/// and their hash is the one that @p list states.
///
/// If frames differ, ours, the expected one and their difference are written as PNG files into a folder in
/// the system's temporary folder, and the message names them. So is the frame if the hash is another. With
/// QEL_ACCEPT_PICTURES set, the hash is written to the list instead (tools/accept_pictures).
/// @param list  path of the list from the root of the sources; its lines hold a name and a hash.
void expectPicture(const char* list, const Picture& picture);

/// Does the same for a frame in BGRA8 on dark blue.
void expectFrame(const char* list, const std::string& name, const IVec2<int>& size,
                 const std::function<void(RendererSoftware&)>& draw);

/// Fails the test unless @p image, BGRA8 or grey, has the hash that @p list states for @p name. Writes
/// files as expectPicture() does.
void expectImage(const char* list, const std::string& name, const Image& image);

/// Returns 16 hexadecimal digits that identify @p image by its format, size and bytes (FNV-1a).
std::string pictureHash(const Image& image);

} // namespace qel::test
