// Image::convertFrom: which function converts which pair of formats.
#include <qel/imaging/pixels/image.h>

#include <qel/foundation/log/message_stream.h>
#include <qel/imaging/pixels/image_conversion.h>
#include <qel/imaging/pixels/parallel_rows_p.h>
#include <qel/imaging/pixels/plane_layout_p.h>
#include <qel/imaging/pixels/yuv_kernels_p.h>

#include <cstring>

namespace qel {

using internal::Source;
using internal::Target;
using internal::YuvPlanes;

namespace {

struct PlaneConversion {
    FormatID from, to;
    util::ConvertPlane* convert;
};

/// The conversions of one plane to one plane. L16 counts as UInt16 on both sides.
const PlaneConversion kPlaneConversions[] = {
    {RGBA8, UInt8, util::convertImage_XXXA8_UInt8},
    {RGBA8, L8, util::convertImage_XXXA8_UInt8},
    {RGBA8, UInt16, util::convertImage_XXXA8_UInt16},
    {RGBA8, RGB8, util::convertImage_RGBA8_RGB8},
    {RGBA8, RGBA8, util::copyImage_XXXX},
    {RGBA8, RGB565, util::convertImage_RGBA8_RGB565},
    {RGBA8, RGBA4, util::convertImage_RGBA8_RGBA4},
    {RGBA8, RGBA5551, util::convertImage_RGBA8_RGBA5551},
    {RGBA8, BGRA8, util::copyImage_AXBX_BXAX},
    {BGRA8, UInt8, util::convertImage_XXXA8_UInt8},
    {BGRA8, L8, util::convertImage_XXXA8_UInt8},
    {BGRA8, UInt16, util::convertImage_XXXA8_UInt16},
    {BGRA8, RGB8, util::copyImage_AXBX_BXA},
    {BGRA8, RGBA8, util::copyImage_AXBX_BXAX},
    {BGRA8, RGB565, util::convertImage_BGRA8_RGB565},
    {BGRA8, RGBA4, util::convertImage_BGRA8_RGBA4},
    {BGRA8, RGBA5551, util::convertImage_BGRA8_RGBA5551},
    {BGRA8, BGRA8, util::copyImage_XXXX},
    {RGB8, UInt8, util::convertImage_XXX8_L8},
    {RGB8, L8, util::convertImage_XXX8_L8},
    {RGB8, RGB8, util::copyImage_XXX},
    {RGB8, RGB565, util::convertImage_RGB8_RGB565},
    {RGB8, BGR8, util::copyImage_AXB_BXA},
    {BGR8, UInt8, util::convertImage_XXX8_L8},
    {BGR8, L8, util::convertImage_XXX8_L8},
    {BGR8, RGB8, util::copyImage_AXB_BXA},
    {BGR8, RGB565, util::convertImage_BGR8_RGB565},
    {BGR8, BGR8, util::copyImage_XXX},
    {UInt16, UInt16, util::copyImage_XX},
    {UInt16, Flt32, util::convertImage_UInt16_Flt32},
    {UInt16, RGB8, util::convertImage_UInt16_RGB8},
    {UInt8, RGB8, util::convertImage_UInt8_RGB8},
    {Flt32, RGB8, util::convertImage_Flt32_RGB8},
    {UInt16O16, UInt16O16, util::copyImage_XXXX},
    {RGB8O16, RGB8O16, util::copyImage_XXX8X16},
};

struct SourceFormat {
    FormatID format;
    int columnBytes; ///< what one column moves the pointer by when a larger source is centred
    const char* unsupported;
};

/// The formats that one plane may have. The last three move by bytes instead of pixels, and Flt32 reports the
/// text of UInt8; both are kept for compatibility.
constexpr SourceFormat kSourceFormats[] = {
    {RGBA8, 4, "unsupported converting format from RGBA8 to "},
    {BGRA8, 4, "unsupported converting format from BGRA8 to "},
    {RGB8, 3, "unsupported converting format from RGB8 to "},
    {BGR8, 3, "unsupported converting format from BGR8 to "},
    {UInt16, 2, "unsupported converting format from UINT16 to "},
    {UInt8, 1, "unsupported converting format from UINT8 to "},
    {Flt32, 1, "unsupported converting format from UINT8 to "},
    {UInt16O16, 1, "unsupported converting format from UInt16O16 to "},
    {RGB8O16, 1, "unsupported converting format from RGB8O16 to "},
};

FormatID asUInt16(FormatID format) {
    return format == L16 ? UInt16 : format;
}

const SourceFormat* findSource(FormatID format) {
    for (const SourceFormat& source : kSourceFormats)
        if (source.format == asUInt16(format)) return &source;
    return nullptr;
}

util::ConvertPlane* findConversion(FormatID from, FormatID to) {
    for (const PlaneConversion& c : kPlaneConversions)
        if (c.from == asUInt16(from) && c.to == asUInt16(to)) return c.convert;
    return nullptr;
}

bool fail(const char* text) {
    logging::error() << text;
    return false;
}

/// The part of a larger source that a target takes.
struct Centre {
    int64 dx, dy;

    Centre(int width, int height, const IVec2<int>& target)
        : dx((int64{width} - target.x) >> 1), dy((int64{height} - target.y) >> 1) {}
    bool isOutside() const { return dx < 0 || dy < 0; }
    /// The same on even rows and columns, which chroma needs.
    int64 evenX() const { return dx & ~int64{1}; }
    int64 evenY() const { return dy & ~int64{1}; }
};

/// A plane of a source that begins at another row and byte. A plane without memory is empty and stays so.
Source moved(const uint8* p, int pitch, int64 rows, int64 bytes) {
    return {p ? p + rows * pitch + bytes : nullptr, pitch};
}

bool isMissing(const uint8* p, int width, int height) {
    return p == nullptr && width > 0 && height > 0;
}

Target planeOf(Image& image, unsigned plane) {
    return {image.getPlaneBytePointer(plane), image.getPlanePitch(plane)};
}

uint32 widthOf(const Image& image) {
    return static_cast<uint32>(image.getWidth());
}
uint32 heightOf(const Image& image) {
    return static_cast<uint32>(image.getHeight());
}

/// Returns whether every plane that the format of a target asks for can be written.
bool isWritable(const Image& image) {
    return image.hasPixels() &&
           image.getNumberOfPlanes() >= static_cast<unsigned>(util::getFormatPlanes(image.getImageFormat()));
}

/// Returns the planes of a YUV target in the order Y, U, V.
YuvPlanes<Target> yuvPlanesOf(Image& image, bool isExchanged) {
    const Target second = planeOf(image, 1);
    const Target third = image.getNumberOfPlanes() > 2 ? planeOf(image, 2) : Target{};
    const uint32 columns = widthOf(image) / 2; // never what a pitch leaves room for
    return {planeOf(image, 0), isExchanged ? third : second, isExchanged ? second : third, columns};
}

bool convertToYuv(Image& target, FormatID from, Source source) {
    const YuvPlanes<Target> planes = yuvPlanesOf(target, target.getImageFormat() == Y1V2U2);
    if (from == RGBA8) {
        internal::kernel_convertImage_RGBA8_Y1U2V2 kernel(widthOf(target), heightOf(target), source, planes);
        internal::executeParts(kernel);
    } else {
        internal::kernel_convertImage_BGRA8_Y1U2V2 kernel(widthOf(target), heightOf(target), source, planes);
        internal::executeParts(kernel);
    }
    return true;
}

template <typename Kernel>
bool convertFromYuv(Image& target, const YuvPlanes<Source>& source) {
    Kernel kernel(widthOf(target), heightOf(target), source, planeOf(target, 0));
    internal::executeParts(kernel);
    return true;
}

/// The format of the temporary image through which colours become interleaved YUV; UnknownFormat if they
/// cannot.
FormatID yuvTemporary(FormatID from, FormatID to) {
    if (to == Y1UV2) return Y1U2V2;
    return to == Y1VU2 && from == RGBA8 ? Y1V2U2 : UnknownFormat;
}

/// Splits a plane of packed overlay pixels, if the target is its form with two planes.
bool splitOverlay(Image& target, FormatID from, Source source) {
    const FormatID to = target.getImageFormat();
    if (!(from == RGB8O16 && to == MP_RGB8_O16) && !(from == UInt16O16 && to == MP_UInt16_O16)) return false;
    auto* split =
        from == RGB8O16 ? util::convertImage_RGB8O16_MP_RGB8_O16 : util::convertImage_UInt16O16_MP_UInt16_O16;
    split(widthOf(target), heightOf(target), source.data, static_cast<int32>(source.pitch),
          target.getPlaneBytePointer(0), target.getPlanePitch(0), target.getPlaneBytePointer(1),
          target.getPlanePitch(1));
    return true;
}

/// Copies two planes of equal formats and sizes.
void copyTwoPlanes(Image& target, const uint8* const* planes, const int* pitches) {
    for (unsigned i = 0; i < 2; ++i) {
        const IVec2<int> size = target.getPlaneSize(i);
        const uint64 bytes = internal::rowBytes(target.getPlaneFormat(i), size.x);
        if (bytes == 0) continue;
        for (int y = 0; y < size.y; ++y)
            std::memmove(target.getPlaneBytePointer(i, y), planes[i] + int64{y} * pitches[i], bytes);
    }
}

bool isColour(FormatID format) {
    return format == RGB8 || format == RGBA8 || format == BGRA8;
}

} // namespace

bool Image::convertFrom(const Image& source) {
    if (!source.isInitialized()) return false;
    if (&source == this) return true;
    const int width = source.getWidth(), height = source.getHeight();
    const auto pointer = [&](unsigned i) { return source.getPlaneBytePointer(i); };
    const auto pitch = [&](unsigned i) { return source.getPlanePitch(i); };
    switch (source.getNumberOfPlanes()) {
    case 1:
        return convertFrom(width, height, source.m_format, pointer(0), pitch(0));
    case 2:
        return convertFrom(width, height, source.m_format, pointer(0), pitch(0), pointer(1), pitch(1));
    case 3:
        return convertFrom(width, height, source.m_format, pointer(0), pitch(0), pointer(1), pitch(1),
                           pointer(2), pitch(2));
    default:
        return false;
    }
}

bool Image::convertFrom(int width, int height, FormatID format, const uint8* p, int pitch) {
    const Centre centre(width, height, getSize());
    if (centre.isOutside()) return fail("incoming size smaller than outgoing size");
    const SourceFormat* known = findSource(format);
    if (!known || isMissing(p, width, height)) return fail("unsupported incoming single-planar format");
    if (isWritable(*this)) {
        if (const FormatID between = yuvTemporary(format, m_format);
            between && (format == RGBA8 || format == BGRA8)) {
            Image temporary(between, getSize());
            return temporary.convertFrom(width, height, format, p, pitch) && convertFrom(temporary);
        }
        const Source source = moved(p, pitch, centre.dy, centre.dx * known->columnBytes);
        if ((format == RGBA8 || format == BGRA8) && (m_format == Y1U2V2 || m_format == Y1V2U2))
            return convertToYuv(*this, format, source);
        if (splitOverlay(*this, format, source)) return true;
        if (util::ConvertPlane* convert = findConversion(format, m_format)) {
            convert(widthOf(*this), heightOf(*this), source.data, pitch, getBytePointer(), getPitch());
            return true;
        }
    }
    logging::error() << known->unsupported << static_cast<int>(m_format);
    return false;
}

bool Image::convertFrom(int width, int height, FormatID format, const uint8* p0, int pitch0, const uint8* p1,
                        int pitch1) {
    const bool isThere = !isMissing(p0, width, height) && !isMissing(p1, width >> 1, height >> 1);
    if (isThere && format == m_format && m_planes == 2 && hasPixels() &&
        getSize() == IVec2<int>(width, height) && !isMissing(p1, m_planeSize[1].x, m_planeSize[1].y)) {
        const uint8* const planes[] = {p0, p1};
        const int pitches[] = {pitch0, pitch1};
        copyTwoPlanes(*this, planes, pitches);
        return true;
    }
    const Centre centre(width, height, getSize());
    if (centre.isOutside()) return fail("incoming size smaller than outgoing size");
    if ((format != Y1UV2 && format != Y1VU2) || !isThere)
        return fail("unsupported incoming double-planar format");
    if (!isWritable(*this)) return fail("unsupported outgoing format");
    if (isColour(m_format)) {
        Image temporary(Y1U2V2, getSize());
        return temporary.convertFrom(width, height, format, p0, pitch0, p1, pitch1) && convertFrom(temporary);
    }
    const Source y = moved(p0, pitch0, centre.evenY(), centre.evenX());
    const Source chroma = moved(p1, pitch1, centre.dy >> 1, centre.evenX());
    const uint32 w = widthOf(*this), h = heightOf(*this);
    const YuvPlanes<Target> to = yuvPlanesOf(*this, false);
    if (m_format == Y1UV2 || m_format == Y1VU2) {
        auto* copy = m_format == format ? util::copyImage_X1XX2 : util::copyImage_X1AB2_X1BA2;
        copy(w, h, y.data, pitch0, chroma.data, pitch1, to.y.data, getPitch(), to.u.data, getPlanePitch(1));
        return true;
    }
    if (m_format != Y1U2V2 && m_format != Y1V2U2) return fail("unsupported outgoing format");
    const bool isExchanged = (format == Y1UV2) != (m_format == Y1U2V2);
    const unsigned first = isExchanged ? 2 : 1, second = isExchanged ? 1 : 2;
    util::copyImage_X1AB2_X1A2B2(w, h, y.data, pitch0, chroma.data, pitch1, to.y.data, getPitch(),
                                 getPlaneBytePointer(first), getPlanePitch(first),
                                 getPlaneBytePointer(second), getPlanePitch(second));
    return true;
}

bool Image::convertFrom(int width, int height, FormatID format, const uint8* p0, int pitch0, const uint8* p1,
                        int pitch1, const uint8* p2, int pitch2) {
    const Centre centre(width, height, getSize());
    if (centre.isOutside()) return fail("incoming size smaller than outgoing size");
    const bool isThere = !isMissing(p0, width, height) && !isMissing(p1, width >> 1, height >> 1) &&
                         !isMissing(p2, width >> 1, height >> 1);
    if ((format != Y1U2V2 && format != Y1V2U2) || !isThere)
        return fail("unsupported incoming triple-planar format");
    if (!isWritable(*this)) return fail("unsupported outgoing format");
    // The column of chroma is not halved; callers rely on the result.
    const Source y = moved(p0, pitch0, centre.evenY(), centre.evenX());
    Source u = moved(p1, pitch1, centre.evenY() / 2, centre.evenX());
    Source v = moved(p2, pitch2, centre.evenY() / 2, centre.evenX());
    if (format == Y1V2U2) std::swap(u, v);
    const auto columns = static_cast<uint32>((width >> 1) - static_cast<int>(centre.evenX()));
    const YuvPlanes<Source> source{y, u, v, columns};
    switch (m_format) {
    case RGB8:
        return convertFromYuv<internal::kernel_convertImage_Y1U2V2_RGB8>(*this, source);
    case RGBA8:
        return convertFromYuv<internal::kernel_convertImage_Y1U2V2_RGBA8>(*this, source);
    case BGRA8:
        return convertFromYuv<internal::kernel_convertImage_Y1U2V2_BGRA8>(*this, source);
    case Y1V2U2:
    case Y1VU2:
        std::swap(u, v);
        break;
    case Y1U2V2:
    case Y1UV2:
        break;
    default:
        return fail("unsupported outgoing format");
    }
    const auto pitchOf = [](const Source& plane) { return static_cast<int32>(plane.pitch); };
    if (m_planes == 2) {
        util::copyImage_X1A2B2_X1AB2(widthOf(*this), heightOf(*this), y.data, pitch0, u.data, pitchOf(u),
                                     v.data, pitchOf(v), getBytePointer(), getPitch(), getPlaneBytePointer(1),
                                     getPlanePitch(1));
    } else {
        util::copyImage_X1X2X2(widthOf(*this), heightOf(*this), y.data, pitch0, u.data, pitchOf(u), v.data,
                               pitchOf(v), getBytePointer(), getPitch(), getPlaneBytePointer(1),
                               getPlanePitch(1), getPlaneBytePointer(2), getPlanePitch(2));
    }
    return true;
}

} // namespace qel
