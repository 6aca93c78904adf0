#include <qel/imaging/pixels/plane_layout_p.h>

namespace qel::internal {
namespace {

/// The formats of all planes. The planes after the first of YUV formats have half the width and height.
struct PlaneFormats {
    std::array<FormatID, 3> formats;
    bool isHalved;
};

PlaneFormats planeFormats(FormatID format) {
    switch (format) {
    case MP_RGB8_O16:
        return {{RGB8, UInt16}, false};
    case MP_UInt16_O16:
        return {{UInt16, UInt16}, false};
    case Y1UV2:
    case Y1VU2:
        return {{UInt8, UInt8x2}, true};
    case Y1U2V2:
    case Y1V2U2:
        return {{UInt8, UInt8, UInt8}, true};
    default:
        return {{format}, false};
    }
}

} // namespace

ImageLayout layoutOf(FormatID format, const IVec2<int>& size) {
    ImageLayout layout;
    const int bits = util::getFormatSizeBits(format);
    if (bits < 0 || size.x < 0 || size.y < 0) return layout;
    const PlaneFormats formats = planeFormats(format);
    layout.planes = static_cast<unsigned>(util::getFormatPlanes(format));
    uint64 offset = 0;
    layout.valid = true;
    for (unsigned i = 0; i < layout.planes; ++i) {
        PlaneLayout& plane = layout.plane[i];
        plane.format = formats.formats[i];
        plane.size = i > 0 && formats.isHalved ? IVec2<int>(size.x >> 1, size.y >> 1) : size;
        plane.pitch = rowBytes(plane.format, plane.size.x);
        plane.offset = offset;
        // The pitch is tested first: the product of any two sides below 2^31 fits into 64 bits.
        if (plane.pitch > kMaxPitch || plane.byteSize() > kMaxPlaneBytes) layout.valid = false;
        if (!layout.valid) return layout;
        offset += plane.byteSize();
    }
    const uint64 pixels = static_cast<uint64>(size.x) * static_cast<uint64>(size.y);
    layout.bytes = pixels * static_cast<uint64>(bits) >> 3;
    return layout;
}

} // namespace qel::internal
