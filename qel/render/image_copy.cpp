#include <qel/render/image_copy_p.h>

#include <cstring>

namespace qel::internal {

namespace {

/// Copies the rows of a plane; where the source has no such plane, they become 0.
void copyPlane(Image& target, const Image& source, unsigned plane) {
    const int height = target.getPlaneSize(plane).y;
    const size_t rowBytes = static_cast<size_t>(target.getPlanePitch(plane));
    for (int y = 0; y < height && rowBytes > 0; ++y) {
        uint8* const row = target.getPlaneBytePointer(plane, y);
        if (plane < source.getNumberOfPlanes())
            std::memcpy(row, source.getPlaneBytePointer(plane, y), rowBytes);
        else
            std::memset(row, 0, rowBytes);
    }
}

} // namespace

void copyPixels(Image& target, const Image& source) {
    if (&target == &source) return;
    target.clear();
    if (!source.hasPixels()) return;
    target.initialize(source.getImageFormat(), source.getSize());
    for (unsigned plane = 0; plane < target.getNumberOfPlanes(); ++plane) copyPlane(target, source, plane);
}

SmartPointer<Image> takePixels(Image&& source) {
    SmartPointer<Image> image = makeObject<Image>();
    if (source.isExternal() || !source.hasPixels())
        copyPixels(*image, source);
    else
        image->swap(source);
    return image;
}

} // namespace qel::internal
