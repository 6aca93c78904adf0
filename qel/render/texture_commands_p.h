// Recorded operations that draw a texture.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/command_list_p.h>
#include <qel/render/texel_decoders_p.h>
#include <qel/render/texel_grid_p.h>

namespace qel::internal {

/// The texels that a command samples. The image is shared with the texture, which replaces but never changes
/// it.
struct TexelPlane {
    SmartPointer<Image> image;
    const uint8* texels = nullptr;
    std::ptrdiff_t pitch = 0;
    int bytes = 0; ///< of a texel

    const uint8* at(int x, int y) const { return texels + y * pitch + std::ptrdiff_t{x} * bytes; }
};

/// Describes plane @p plane of @p image, whose texels have @p bytes bytes.
TexelPlane texelPlane(Image* image, unsigned plane, int bytes);

/// What all draws of a texture share.
class TextureCommand : public DrawCommand {
public:
    TextureCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane);

protected:
    /// Returns the texels of the target's column @p x.
    const TexelStep& column(int x) const { return m_columns[static_cast<size_t>(x - area().x)]; }
    TexelStep row(int y) const { return m_grid.row(y - area().y); }
    const TexelGrid& grid() const { return m_grid; }
    const TexelPlane& plane() const { return m_plane; }

    /// Samples the texture: the mean of four texels, first along u, then along v, or the one texel.
    template <typename Decode>
    Color sample(const TexelStep& columnStep, const TexelStep& rowStep, const Decode& decode) const {
        const TexelStep& u = m_grid.columnsAlongV ? rowStep : columnStep;
        const TexelStep& v = m_grid.columnsAlongV ? columnStep : rowStep;
        if (!m_grid.isLinear) return decode(m_plane.at(u.first, v.first));
        const Color top =
            mix(decode(m_plane.at(u.first, v.first)), decode(m_plane.at(u.second, v.first)), u.fraction);
        const Color bottom =
            mix(decode(m_plane.at(u.first, v.second)), decode(m_plane.at(u.second, v.second)), u.fraction);
        return mix(top, bottom, v.fraction);
    }

private:
    static Color mix(const Color& a, const Color& b, float f) {
        return {(1 - f) * a.x + f * b.x, (1 - f) * a.y + f * b.y, (1 - f) * a.z + f * b.z,
                (1 - f) * a.w + f * b.w};
    }

    TexelGrid m_grid;
    TexelPlane m_plane;
    Vector<TexelStep> m_columns; // of the area
};

/// Draws a texture with a tint.
class BlitCommand final : public TextureCommand {
public:
    BlitCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane, DecodeTexel decode,
                const Color& tint)
        : TextureCommand(area, grid, std::move(plane)), m_decode(decode), m_tint(tint) {}
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    DecodeTexel m_decode;
    Color m_tint;
};

/// A window of raw values, and the table of what is shown for them, if there is one.
struct ValueWindow {
    SmartPointer<Image> table; ///< L8, two rows; null for a straight line from black to white
    float start = 0;
    float scale = 0;
    float bias = 0;
    bool isStep = false; ///< a window without width

    /// @param table  has two rows and at least one column, or is null.
    static ValueWindow of(const IVec2<float>& window, Image* table);
    /// Returns what is shown for @p value in row 0 or 1 of the table.
    float shown(float value, int tableRow) const;
};

/// Draws a texture of raw values through a window, without tint and blending.
class WindowCommand final : public TextureCommand {
public:
    WindowCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane, DecodeTexel decodeRaw,
                  ValueWindow window)
        : TextureCommand(area, grid, std::move(plane)), m_decode(decodeRaw), m_window(std::move(window)) {}
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    DecodeTexel m_decode;
    ValueWindow m_window;
};

/// Draws the colours of a palette that a texture of indices selects.
class PaletteCommand final : public TextureCommand {
public:
    /// @param plane    holds indices of 1 or 2 bytes.
    /// @param palette  packed entries of the bytes R, G, B, A.
    PaletteCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane,
                   SmartPointer<Image> palette, const Color& tint);
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    Color entry(const uint8* index) const;

    SmartPointer<Image> m_palette;
    const uint8* m_entries;
    size_t m_entryCount;
    Color m_tint;
};

} // namespace qel::internal
