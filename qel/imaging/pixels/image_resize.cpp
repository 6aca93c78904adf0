#include <qel/imaging/pixels/image.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/resize_kernels_p.h>

namespace qel {
namespace {

/// Returns whether the pixels of all planes are of the same type.
bool isAlike(const Image& a, const Image& b) {
    if (a.getNumberOfPlanes() != b.getNumberOfPlanes()) return false;
    for (unsigned i = 0; i < a.getNumberOfPlanes(); ++i) {
        const FormatID first = a.getPlaneFormat(i), second = b.getPlaneFormat(i);
        const internal::PixelType type = internal::pixelTypeOf(first);
        if (type != internal::pixelTypeOf(second)) return false;
        if (type.channels == 0 && first != second) return false;
    }
    return true;
}

template <typename Kernel>
void resizeBy(Image& target, const Image& source) {
    Kernel kernel(target, source);
    internal::executeParts(kernel);
}

/// Resizes along axes that all grow, or all shrink.
void resizeInOnePass(Image& target, const Image& source) {
    const IVec2<int> to = target.getSize(), from = source.getSize();
    if (to.x >= from.x && to.y >= from.y) {
        resizeBy<internal::ResizeBilinear>(target, source);
    } else {
        resizeBy<internal::ResizeAccumulate>(target, source);
    }
}

/// Returns true if one axis grows and the other shrinks.
bool needsTwoPasses(const IVec2<int>& to, const IVec2<int>& from) {
    return (to.x > from.x && to.y < from.y) || (to.x < from.x && to.y > from.y);
}

/// The size between two passes.
IVec2<int> between(const IVec2<int>& to, const IVec2<int>& from) {
    const bool isVerticalFirst = int64{to.x} * from.y >= int64{to.y} * from.x;
    return isVerticalFirst ? IVec2<int>(from.x, to.y) : IVec2<int>(to.x, from.y);
}

} // namespace

bool Image::isResizable() const {
    for (unsigned i = 0; i < m_planes; ++i)
        if (internal::pixelTypeOf(m_planeFormat[i]).channels == 0) return false;
    return true;
}

bool Image::resizeFrom(const Image& source) {
    if (!hasPixels() || !source.hasPixels() || !isAlike(*this, source)) {
        logging::error() << "can not resize image, format=" << static_cast<int>(source.m_format)
                         << " target format=" << static_cast<int>(m_format);
        return false;
    }
    if (&source == this || getWidth() == 0 || getHeight() == 0) return true;
    if (!needsTwoPasses(getSize(), source.getSize())) {
        resizeInOnePass(*this, source);
        return true;
    }
    Image intermediate(m_format, between(getSize(), source.getSize()));
    if (!intermediate) return false;
    resizeInOnePass(intermediate, source);
    resizeInOnePass(*this, intermediate);
    return true;
}

} // namespace qel
