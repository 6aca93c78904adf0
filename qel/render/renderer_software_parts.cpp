#include <qel/render/mask_command_p.h>
#include <qel/render/renderer_software_p.h>
#include <qel/render/texture_software.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

namespace qel {

using internal::MaskPart;

namespace {

Rect moved(const Rect& rect, const IVec2<float>& by) {
    return {rect.x0 + by.x, rect.y0 + by.y, rect.x1 + by.x, rect.y1 + by.y};
}

/// Returns true for a size whose reciprocal, and so every texture coordinate of a whole texel, is exact.
bool isExact(const IVec2<int>& size) {
    const auto isPowerOfTwo = [](int v) { return std::has_single_bit(static_cast<unsigned>(v)); };
    return isPowerOfTwo(size.x) && isPowerOfTwo(size.y) && size.x <= 4096 && size.y <= 4096;
}

/// Returns the texel at which @p begin lies if a range of texture coordinates has @p count whole texels of a
/// texture with @p size of them; otherwise -1.
int wholeTexels(float begin, float end, int size, int64 count) {
    const float first = begin * static_cast<float>(size);
    const float last = end * static_cast<float>(size);
    if (!(first >= 0 && last <= static_cast<float>(size))) return -1;
    const int texel = static_cast<int>(first);
    const bool isWhole = static_cast<float>(texel) == first && static_cast<float>(texel + count) == last;
    return isWhole ? texel : -1;
}

/// Finds the parts of an A8 texture that are drawn texel by texel.
class PartPlacer {
public:
    /// @param clip  the pixels that may be drawn.
    PartPlacer(const IVec2<int>& textureSize, bool isBilinear, const IVec4<int>& clip)
        : m_size(textureSize), m_isExact(isExact(textureSize)), m_isBilinear(isBilinear), m_clip(clip) {}

    enum class Result { Hidden, Placed, Other };

    /// Fills in @p out if the part is visible and drawn texel by texel.
    Result place(const Rect& source, const Rect& target, MaskPart& out) const {
        const IVec4<int> bounds = target.roundNearestAsInt();
        const IVec4<int> area = internal::intersect(bounds, m_clip);
        if (internal::isEmpty(area)) return Result::Hidden;
        IVec2<int> first = m_isExact ? wholeArea(source, bounds) : IVec2<int>(-1, -1);
        if (first.x >= 0 && first.y >= 0) {
            first = {first.x + area.x - bounds.x, first.y + area.y - bounds.y};
        } else {
            const auto grid = internal::TexelGrid::of(source, bounds, area, 0, m_size, m_isBilinear);
            const auto shift = grid.shift({area.z - area.x, area.w - area.y});
            if (!shift) return Result::Other;
            first = *shift;
        }
        out = {area.x, area.y, area.z - area.x, area.w - area.y, first.x, first.y};
        return Result::Placed;
    }

private:
    IVec2<int> wholeArea(const Rect& source, const IVec4<int>& bounds) const {
        return {wholeTexels(source.x0, source.x1, m_size.x, int64{bounds.z} - bounds.x),
                wholeTexels(source.y0, source.y1, m_size.y, int64{bounds.w} - bounds.y)};
    }

    IVec2<int> m_size;
    bool m_isExact;
    bool m_isBilinear;
    IVec4<int> m_clip;
};

bool isFinite(const Rect& rect) {
    return std::isfinite(rect.x0) && std::isfinite(rect.y0) && std::isfinite(rect.x1) &&
           std::isfinite(rect.y1);
}

IVec4<int> unionOf(const IVec4<int>& area, const MaskPart& part) {
    return {std::min(area.x, part.x), std::min(area.y, part.y), std::max(area.z, part.x + part.width),
            std::max(area.w, part.y + part.height)};
}

} // namespace

void RendererSoftware::drawTextureParts(Texture* texture, std::span<const TexturePart> parts,
                                        const IVec2<float>& offset) {
    const auto* const own = dynamic_cast<TextureSoftware*>(texture);
    const SmartPointer<Image> image = own != nullptr ? own->getSharedImage() : nullptr;
    const bool isMask = image && image->hasPixels() && image->getPlaneFormat(0) == A8;
    if (isMask && isTintVisible() && !internal::isPlainDrawing())
        return drawMaskParts(texture, image, parts, offset);
    for (const TexturePart& part : parts)
        RendererSoftware::drawTextureInternal(texture, part.source, moved(part.target, offset), 0);
}

void RendererSoftware::drawMaskParts(Texture* texture, const SmartPointer<Image>& image,
                                     std::span<const TexturePart> parts, const IVec2<float>& offset) {
    constexpr int kFar = 1 << 30;
    const PartPlacer placer(image->getSize(), texture->getFilter() == Filter::Bilinear,
                            visible({-kFar, -kFar, kFar, kFar}));
    std::array<MaskPart, internal::MaskCommand::kMostParts> placed;
    size_t count = 0;
    IVec4<int> area;
    const auto flush = [&] {
        if (count == 0) return;
        recordWithTail<internal::MaskCommand>(count * sizeof(MaskPart), area,
                                              internal::texelPlane(image.get(), 0, 1), tint(),
                                              std::span(placed.data(), count));
        count = 0;
    };
    for (const TexturePart& part : parts) {
        const Rect target = moved(part.target, offset);
        if (!isFinite(part.source) || !isFinite(target)) continue;
        const PartPlacer::Result result = placer.place(part.source, target, placed[count]);
        if (result == PartPlacer::Result::Placed) {
            const MaskPart& last = placed[count++];
            area = count == 1 ? unionOf({last.x, last.y, last.x, last.y}, last) : unionOf(area, last);
        } else if (result == PartPlacer::Result::Other) {
            flush();
            RendererSoftware::drawTextureInternal(texture, part.source, target, 0);
        }
        if (count == placed.size()) flush();
    }
    flush();
}

} // namespace qel
