#include "pixels.h"

#include <algorithm>
#include <cstring>

namespace qelimage {

namespace {

using qel::Image;
using qel::uint8;

/// Calls @p change for each RGBA8 pixel.
template <class Change>
void forEachPixel(Image& image, Change change) {
    for (int y = 0; y < image.getHeight(); ++y) {
        uint8* pixel = image.getBytePointer(y);
        for (int x = 0; x < image.getWidth(); ++x, pixel += 4) change(pixel);
    }
}

/// Multiplies the colours by the alpha, so that they can be averaged.
void multiplyByAlpha(Image& image) {
    forEachPixel(image, [](uint8* pixel) {
        for (int c = 0; c < 3; ++c) pixel[c] = static_cast<uint8>((pixel[c] * pixel[3] + 127) / 255);
    });
}

/// Reverses multiplyByAlpha().
void divideByAlpha(Image& image) {
    forEachPixel(image, [](uint8* pixel) {
        if (pixel[3] == 0) return;
        for (int c = 0; c < 3; ++c)
            pixel[c] = static_cast<uint8>(std::min(255, (pixel[c] * 255 + pixel[3] / 2) / pixel[3]));
    });
}

} // namespace

bool isOpaque(const Image& image) {
    if (image.getImageFormat() != qel::RGBA8) return true;
    for (int y = 0; y < image.getHeight(); ++y) {
        const uint8* pixel = image.getBytePointer(y);
        for (int x = 0; x < image.getWidth(); ++x, pixel += 4)
            if (pixel[3] != 255) return false;
    }
    return true;
}

bool convertToRgba(Image& image) {
    if (image.getImageFormat() == qel::RGBA8) return true;
    Image converted(qel::RGBA8, image.getSize());
    if (!converted) return false;
    for (int y = 0; y < image.getHeight(); ++y) {
        const uint8* from = image.getBytePointer(y);
        uint8* to = converted.getBytePointer(y);
        for (int x = 0; x < image.getWidth(); ++x, from += 3, to += 4) {
            std::memcpy(to, from, 3);
            to[3] = 255;
        }
    }
    image.swap(converted);
    return true;
}

bool convertToRgb(Image& image) {
    Image converted(qel::RGB8, image.getSize());
    if (!converted || !converted.convertFrom(image)) return false;
    image.swap(converted);
    return true;
}

bool resizePicture(Image& image, const qel::IVec2<int>& size) {
    const bool hasAlpha = !isOpaque(image);
    if (hasAlpha) multiplyByAlpha(image);
    Image resized(image.getImageFormat(), size);
    if (!resized || !resized.resizeFrom(image)) return false;
    if (hasAlpha) divideByAlpha(resized);
    image.swap(resized);
    return true;
}

Image enlarged(const Image& image, int side) {
    Image result(qel::RGB8, {image.getWidth() * side, image.getHeight() * side});
    if (!result) return result;
    for (int y = 0; y < result.getHeight(); ++y) {
        const uint8* from = image.getBytePointer(y / side);
        uint8* to = result.getBytePointer(y);
        for (int x = 0; x < result.getWidth(); ++x, to += 3) std::memset(to, from[x / side], 3);
    }
    return result;
}

} // namespace qelimage
