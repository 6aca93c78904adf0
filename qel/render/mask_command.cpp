#include <qel/render/mask_command_p.h>

#include <qel/render/mask_rows_p.h>

#include <algorithm>

namespace qel::internal {

namespace {

/// Returns the rows of @p part from @p begin to before @p end.
MaskPart rowsOf(const MaskPart& part, int begin, int end) {
    const int first = std::max(begin, part.y);
    const int last = std::min(end, part.y + part.height);
    return {part.x, first, part.width, last - first, part.u, part.v + first - part.y};
}

} // namespace

MaskCommand::MaskCommand(const IVec4<int>& area, TexelPlane plane, const Color& tint,
                         std::span<const MaskPart> parts)
    : DrawCommand(area), m_plane(std::move(plane)), m_tint(tint), m_count(parts.size()) {
    static_assert(sizeof(MaskCommand) % alignof(MaskPart) == 0);
    std::uninitialized_copy(parts.begin(), parts.end(), reinterpret_cast<MaskPart*>(this + 1));
}

std::span<const MaskPart> MaskCommand::parts() const {
    return {reinterpret_cast<const MaskPart*>(this + 1), m_count};
}

void MaskCommand::drawRows(const Surface& surface, int begin, int end) const {
    const bool isOnPixels = surface.kind == SurfaceKind::Bgra8 && !surface.isPlain;
    const MaskBrush brush(m_tint);
    for (const MaskPart& whole : parts()) {
        const MaskPart part = rowsOf(whole, begin, end);
        if (part.height <= 0) continue;
        if (!isOnPixels) {
            withPixelType(surface.kind, [&](auto p) { drawPlainly<decltype(p)>(surface, part); });
            continue;
        }
        uint8* const target = surface.row(part.y) + std::ptrdiff_t{part.x} * Bgra8::kBytes;
        brush.draw({target, surface.pitch, m_plane.at(part.u, part.v), m_plane.pitch, m_plane.end(),
                    part.width, part.height});
    }
}

/// Draws pixel by pixel.
template <typename Pixel>
void MaskCommand::drawPlainly(const Surface& surface, const MaskPart& part) const {
    for (int y = 0; y < part.height; ++y) {
        uint8* p = surface.row(part.y + y) + std::ptrdiff_t{part.x} * Pixel::kBytes;
        const uint8* const alphas = m_plane.at(part.u, part.v + y);
        for (int x = 0; x < part.width; ++x, p += Pixel::kBytes) {
            const float alpha = static_cast<float>(alphas[x]) / 255.0f;
            blendPixel<Pixel>(p, {m_tint.x, m_tint.y, m_tint.z, alpha * m_tint.w});
        }
    }
}

} // namespace qel::internal
