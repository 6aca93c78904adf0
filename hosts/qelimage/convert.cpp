#include "commands.h"
#include "input_file.h"
#include "output.h"
#include "pixels.h"

namespace qelimage {

namespace {

using qel::Image;

/// Reduces @p image to a part of it.
bool crop(Image& image, const qel::IVec4<int>& bounds) {
    const bool isInside = bounds.x >= 0 && bounds.y >= 0 && bounds.z <= image.getWidth() &&
                          bounds.w <= image.getHeight() && bounds.x < bounds.z && bounds.y < bounds.w;
    Image part;
    if (isInside && part.cropFrom(image, bounds)) {
        image.swap(part);
        return true;
    }
    complain("the part is empty or reaches outside the picture of " + std::to_string(image.getWidth()) +
             " x " + std::to_string(image.getHeight()) + " pixels");
    return false;
}

bool rotate(Image& image, int quarterTurns) {
    Image rotated;
    rotated.rotateFrom(image, quarterTurns);
    if (!rotated) return false;
    image.swap(rotated);
    return true;
}

bool change(Image& image, const Options& options) {
    if (options.crop && !crop(image, *options.crop)) return false;
    if (options.quarterTurns != 0 && !rotate(image, options.quarterTurns)) return false;
    return !options.size || *options.size == image.getSize() || resizePicture(image, *options.size);
}

} // namespace

int convertPicture(const Options& options) {
    const std::string& in = options.arguments[1];
    const std::string& out = options.arguments[2];
    const auto encoding = findEncoding(out, options.format);
    if (!encoding) return kTrouble;
    Image image;
    const bool isReady = loadPicture(image, in) && change(image, options);
    return isReady ? savePicture(image, out, *encoding) : kTrouble;
}

} // namespace qelimage
