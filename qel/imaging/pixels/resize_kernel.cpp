#include <qel/imaging/pixels/resize_kernels_p.h>

#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/plane_layout_p.h>

#include <algorithm>
#include <cstring>

namespace qel::internal {
namespace {

bool isEmpty(const IVec2<int>& size) {
    return size.x == 0 || size.y == 0;
}

bool isYuv(FormatID format) {
    return format == Y1UV2 || format == Y1U2V2 || format == Y1V2U2 || format == Y1VU2;
}

/// Sets the rows of a plane whose source has no pixels: black, or chroma without a colour.
void fillPlane(Image& target, unsigned plane, int begin, int end) {
    const int value = plane > 0 && isYuv(target.getImageFormat()) ? 128 : 0;
    const uint64 bytes = rowBytes(target.getPlaneFormat(plane), target.getPlaneSize(plane).x);
    for (int y = begin; y < end; ++y) std::memset(target.getPlaneBytePointer(plane, y), value, bytes);
}

void copyPlane(Image& target, const Image& source, unsigned plane, int begin, int end) {
    const uint64 bytes = rowBytes(target.getPlaneFormat(plane), target.getPlaneSize(plane).x);
    for (int y = begin; y < end; ++y)
        std::memcpy(target.getPlaneBytePointer(plane, y), source.getPlaneBytePointer(plane, y), bytes);
}

} // namespace

PixelType pixelTypeOf(FormatID format) {
    switch (format) {
    case L8:
    case A8:
        return {UInt8, 1};
    case LA8:
        return {UInt8, 2};
    case RGB8:
    case BGR8:
        return {UInt8, 3};
    case RGBA8:
    case BGRA8:
        return {UInt8, 4};
    case L16:
    case X16:
        return {UInt16, 1};
    default:
        break;
    }
    if (format > Flt64x4 || util::getFormatSizeBits(format) < 0) return {};
    const int channels = util::getFormatChannels(format);
    return {static_cast<FormatID>(Int8 + (format - Int8) % 20), channels};
}

void ResizeKernel::prepare(unsigned& parts) {
    const auto pixels = static_cast<uint64>(m_target.getWidth()) * static_cast<uint64>(m_target.getHeight());
    uint64 most = std::clamp<uint64>(pixels / kPixelsPerPart, 1, parts);
    for (unsigned i = 0; i < m_target.getNumberOfPlanes(); ++i)
        most = std::min(most, static_cast<uint64>(m_target.getPlaneSize(i).y));
    parts = m_jobs = std::max(1u, static_cast<unsigned>(most));
}

void ResizeKernel::execute(unsigned index) {
    for (unsigned i = 0; i < m_target.getNumberOfPlanes(); ++i) {
        const int begin = firstRow(i, index), end = firstRow(i, index + 1);
        if (isEmpty(m_target.getPlaneSize(i)) || pixelTypeOf(m_target.getPlaneFormat(i)).channels == 0)
            continue;
        if (isEmpty(m_source.getPlaneSize(i))) {
            fillPlane(m_target, i, begin, end);
        } else if (m_source.getPlaneSize(i) == m_target.getPlaneSize(i)) {
            copyPlane(m_target, m_source, i, begin, end);
        } else {
            processPlane(i, index);
        }
    }
}

int ResizeKernel::firstRow(unsigned plane, unsigned job) const {
    return static_cast<int>(int64{m_target.getPlaneSize(plane).y} * job / m_jobs);
}

} // namespace qel::internal
