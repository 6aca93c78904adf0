// Parts of images, and the comparison of two.
#include <qel/imaging/pixels/image.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/plane_layout_p.h>
#include <qel/imaging/pixels/separate_source_p.h>

#include <algorithm>
#include <cstring>

namespace qel {
namespace {

bool isInside(const IVec4<int>& bounds, const IVec2<int>& size) {
    return bounds.x >= 0 && bounds.y >= 0 && bounds.z > bounds.x && bounds.w > bounds.y &&
           bounds.z <= size.x && bounds.w <= size.y;
}

/// Returns the sum of the squared differences of the first @p n bytes.
uint64 squaredDifferences(const uint8* a, const uint8* b, int n) {
    uint64 sum = 0;
    for (int i = 0; i < n; ++i) {
        const int difference = a[i] - b[i];
        sum += static_cast<uint64>(difference * difference);
    }
    return sum;
}

} // namespace

bool Image::cropFrom(const Image& source, const IVec4<int>& bounds) {
    if (!source.isInitialized() || !isInside(bounds, source.getSize())) {
        logging::error() << "Image::cropFrom : invalid bounds, bounds=(" << bounds.x << "," << bounds.y << ","
                         << bounds.z << "," << bounds.w << ")";
        return false;
    }
    const auto planes = static_cast<unsigned>(util::getFormatPlanes(source.m_format));
    if (!source.hasPixels() || source.m_planes != planes) {
        logging::error() << "Image::cropFrom : source without pixels, format="
                         << static_cast<int>(source.m_format);
        return false;
    }
    const internal::SeparateSource from(*this, source);
    const IVec2<int> size(bounds.z - bounds.x, bounds.w - bounds.y);
    initialize(from->m_format, size);
    for (unsigned i = 0; i < m_planes; ++i) {
        if (m_planeSize[i] != size) {
            logging::error() << "Image::cropFrom : different sized planes not supported";
            return false;
        }
        const uint64 left = internal::rowBytes(m_planeFormat[i], bounds.x);
        const uint64 bytes = internal::rowBytes(m_planeFormat[i], size.x);
        for (int y = 0; y < size.y; ++y)
            std::memcpy(getPlaneBytePointer(i, y), from->getPlaneBytePointer(i, bounds.y + y) + left, bytes);
    }
    return isInitialized();
}

bool Image::computeMeanSquaredError(const Image& other, float& result) const {
    const bool isKnown = m_format == RGB8 || m_format == RGBA8;
    if (!hasPixels() || !other.hasPixels() || !isKnown) return false;
    if (getSize() != other.getSize() || m_format != other.m_format) return false;
    uint64 sum = 0;
    // Only the first `width` bytes of each row are compared, not the first `width` pixels: the figure is
    // known.
    for (int y = 0; y < getHeight(); ++y)
        sum += squaredDifferences(getBytePointer(y), other.getBytePointer(y), getWidth());
    const double bytes = static_cast<double>(internal::rowBytes(m_format, getWidth())) * getHeight();
    result = bytes == 0 ? 0 : static_cast<float>(static_cast<double>(sum) / bytes);
    return true;
}

} // namespace qel
