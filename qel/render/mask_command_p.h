// MaskCommand: many parts of one texture of alpha, such as the glyphs of a line.
#pragma once

#include <qel/render/texture_commands_p.h>

#include <span>

namespace qel::internal {

/// A part of a texture whose texels lie in the texture as the pixels do in the target.
struct MaskPart {
    int x; ///< first column of the target
    int y; ///< first row
    int width;
    int height;
    int u; ///< first column of the texture
    int v; ///< first row
};

/// Draws parts of an A8 texture one after another, as a BlitCommand draws each of them.
class MaskCommand final : public DrawCommand {
public:
    static constexpr size_t kMostParts = 64;

    /// @param area   contains all parts.
    /// @param parts  at most kMostParts; they are copied into the memory that follows the command.
    MaskCommand(const IVec4<int>& area, TexelPlane plane, const Color& tint, std::span<const MaskPart> parts);
    void drawRows(const Surface& surface, int begin, int end) const override;
    const Image* image() const override { return m_plane.image.get(); }

private:
    std::span<const MaskPart> parts() const;
    template <typename Pixel>
    void drawPlainly(const Surface& surface, const MaskPart& part) const;

    TexelPlane m_plane;
    Color m_tint;
    size_t m_count;
};

} // namespace qel::internal
