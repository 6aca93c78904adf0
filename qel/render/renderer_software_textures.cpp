#include <qel/foundation/log/message_stream.h>
#include <qel/render/renderer_software_p.h>
#include <qel/render/texture_software.h>

#include <cmath>

namespace qel {

namespace {

bool isFinite(const IVec2<float>& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

bool isFinite(const Rect& rect) {
    return isFinite(rect.leftTop()) && isFinite(rect.rightBottom());
}

/// Returns the pixels of a texture of this kind, or null before its first upload.
Image* pixelsOf(Texture* texture) {
    const auto* const own = dynamic_cast<TextureSoftware*>(texture);
    if (own == nullptr) return nullptr;
    Image* const image = own->getSharedImage().get();
    const bool hasArea = image->hasPixels() && image->getWidth() > 0 && image->getHeight() > 0;
    return hasArea ? image : nullptr;
}

/// @param driver  the family of row functions, without the filter.
void reportFormat(const char* driver, bool isLinear, const Image& image) {
    logging::error() << "unsupported texture format for " << driver << (isLinear ? "_Linear" : "_Nearest")
                     << ", format=" << static_cast<int>(image.getPlaneFormat(0));
}

/// The plane of a texture that holds indices into a palette.
struct IndexPlane {
    unsigned plane;
    int bytes; ///< of an index; 0 for textures without indices
};

IndexPlane indexPlane(FormatID format) {
    switch (format) {
    case UInt8:
    case L8:
        return {0, 1};
    case UInt16:
    case L16:
    case X16:
        return {0, 2};
    case MP_RGB8_O16:
    case MP_UInt16_O16:
        return {1, 2};
    default:
        return {0, 0};
    }
}

} // namespace

/// Fills in @p draw. @return false if nothing is to be drawn.
bool RendererSoftware::prepare(internal::TextureDraw& draw, Texture* texture, const Rect& source,
                               const Rect& target, int orientation) const {
    if (!isTintVisible() || !isFinite(source) || !isFinite(target) || orientation < 0 || orientation > 7)
        return false;
    const IVec4<int> bounds = target.roundNearestAsInt();
    draw.area = visible(bounds);
    draw.image = pixelsOf(texture);
    if (internal::isEmpty(draw.area) || !draw.image) return false;
    draw.grid = internal::TexelGrid::of(source, bounds, draw.area, orientation, draw.image->getSize(),
                                        texture->getFilter() == Filter::Bilinear);
    return true;
}

void RendererSoftware::drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                                           int orientation, const IVec4<float>*) {
    RendererSoftware::drawTextureInternal(texture, source, target, orientation);
}

void RendererSoftware::drawTextureInternal(Texture* texture, const Rect& source, const Rect& target,
                                           int orientation) {
    internal::TextureDraw draw;
    if (!prepare(draw, texture, source, target, orientation)) return;
    const internal::TexelFormat format = internal::texelFormat(draw.image->getPlaneFormat(0));
    if (format.bytes == 0) return reportFormat("drawTextureInternal", draw.grid.isLinear, *draw.image);
    record<internal::BlitCommand>(draw.area, draw.grid, internal::texelPlane(draw.image, 0, format.bytes),
                                  format, tint());
}

void RendererSoftware::drawTextureScaledLookupInternal(Texture* texture, const Rect& source,
                                                       const Rect& target, int orientation,
                                                       const IVec2<float>& window, Texture* lookup) {
    internal::TextureDraw draw;
    if (!isFinite(window) || !prepare(draw, texture, source, target, orientation)) return;
    Image* const table = pixelsOf(lookup);
    if (lookup != nullptr && (table == nullptr || table->getImageFormat() != L8 || table->getHeight() != 2)) {
        logging::error() << "invalid lookuptable";
        return;
    }
    const internal::TexelFormat format = internal::texelFormat(draw.image->getPlaneFormat(0));
    if (format.bytes == 0)
        return reportFormat(table ? "drawTextureInternal_ScaledLookup" : "drawTextureInternal_Scaled",
                            draw.grid.isLinear, *draw.image);
    record<internal::WindowCommand>(draw.area, draw.grid, internal::texelPlane(draw.image, 0, format.bytes),
                                    format, internal::ValueWindow::of(window, table));
}

void RendererSoftware::drawTextureWithPalette(Texture* texture, const Rect& source, const Rect& target,
                                              int orientation, Texture* palette, Texture*) {
    internal::TextureDraw draw;
    if (!prepare(draw, texture, source, target, orientation)) return;
    Image* const colors = pixelsOf(palette);
    const FormatID paletteFormat = colors != nullptr ? colors->getImageFormat() : UnknownFormat;
    const IVec2<int> size = colors != nullptr ? colors->getSize() : IVec2<int>();
    if (paletteFormat != RGBA8 && size != IVec2<int>(256, 256)) {
        logging::error() << "palette format or size not supported for software overlay, format="
                         << static_cast<int>(paletteFormat) << ", size=" << size.x << "x" << size.y;
        return;
    }
    const IndexPlane indices = indexPlane(draw.image->getImageFormat());
    if (indices.bytes == 0) {
        logging::error() << "texture format not supported for software overlay, format="
                         << static_cast<int>(draw.image->getPlaneFormat(0));
        return;
    }
    record<internal::PaletteCommand>(draw.area, draw.grid,
                                     internal::texelPlane(draw.image, indices.plane, indices.bytes),
                                     SmartPointer<Image>(colors), tint());
}

} // namespace qel
