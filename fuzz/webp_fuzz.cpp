// WebP files: any bytes become an RGB8 or RGBA8 picture, or nothing at all. A picture that was read can be
// saved as WebP and read again at the same size.
#include <fuzz/image_file.h>
#include <qel/foundation/base/buffer.h>

using namespace qel;

extern "C" int LLVMFuzzerTestOneInput(const uint8* data, size_t size) {
    Image image;
    const bool isLoaded = loadQuietly(image, data, size);
    require(isLoaded == image.hasPixels());
    if (!isLoaded) return 0;
    require(image.getImageFormat() == RGBA8 || image.getImageFormat() == RGB8);
    if (image.getByteSize() > 1 << 14 || image.getWidth() > 16383 || image.getHeight() > 16383) return 0;
    Buffer file;
    Image again;
    require(image.saveToMemory(file, Image::Encoding::WebP));
    require(again.loadFromMemory(file));
    require(again.getSize() == image.getSize());
    return 0;
}
