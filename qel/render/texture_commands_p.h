// Recorded operations that draw a texture.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/render/command_list_p.h>
#include <qel/render/texel_decoders_p.h>
#include <qel/render/texel_grid_p.h>

#include <utility>

namespace qel::internal {

/// The texels that a command samples. The image is shared with the texture, which replaces but never changes
/// it.
struct TexelPlane {
    SmartPointer<Image> image;
    const uint8* texels = nullptr;
    std::ptrdiff_t pitch = 0;
    int bytes = 0; ///< of a texel
    size_t byteSize = 0;

    const uint8* at(int x, int y) const { return texels + y * pitch + std::ptrdiff_t{x} * bytes; }
    /// Returns the end of the plane's memory.
    const uint8* end() const { return texels + byteSize; }
};

/// Describes plane @p plane of @p image, whose texels have @p bytes bytes.
TexelPlane texelPlane(Image* image, unsigned plane, int bytes);

/// A row of a tile: some columns of the target that are sampled together.
struct TileRow {
    uint8* target; ///< the first pixel
    int x;
    int y;
    int count;
    int row; ///< from the top of the drawn area
};

/// What all draws of a texture share.
class TextureCommand : public DrawCommand {
public:
    TextureCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane)
        : DrawCommand(area), m_grid(grid), m_plane(std::move(plane)) {}

    const Image* image() const override { return m_plane.image.get(); }

protected:
    const TexelGrid& grid() const { return m_grid; }
    const TexelPlane& plane() const { return m_plane; }

    /// Calls `draw(p, color, x, y)` for each pixel of some rows: the definition of all draws.
    /// @param decode  returns the colour of a texel.
    template <typename Pixel, typename Decode, typename Draw>
    void forPixels(const Surface& surface, int begin, int end, const Decode& decode, const Draw& draw) const;
    /// Calls `draw(tile, row)` for each TileRow of the tiles that `makeTile(begin, count)` creates.
    template <typename Pixel, typename MakeTile, typename Draw>
    void forTiles(const Surface& surface, int begin, int end, const MakeTile& makeTile,
                  const Draw& draw) const;

private:
    template <typename Decode>
    Color sample(const TexelStep& columnStep, const TexelStep& rowStep, const Decode& decode) const;

    TexelGrid m_grid;
    TexelPlane m_plane;
};

/// Draws a texture with a tint.
class BlitCommand final : public TextureCommand {
public:
    BlitCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane, const TexelFormat& format,
                const Color& tint)
        : TextureCommand(area, grid, std::move(plane)), m_format(format), m_tint(tint) {}
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    template <typename Pixel>
    void drawPlainly(const Surface& surface, int begin, int end) const;
    template <typename Pixel>
    void drawColors(const Surface& surface, int begin, int end) const;
    bool drawCopy(const Surface& surface, int begin, int end) const;
    void drawPixels(const Surface& surface, int begin, int end) const;
    void drawGreys(const Surface& surface, int begin, int end) const;

    TexelFormat m_format;
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
    WindowCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane, const TexelFormat& format,
                  ValueWindow window)
        : TextureCommand(area, grid, std::move(plane)), m_format(format), m_window(std::move(window)) {}
    void drawRows(const Surface& surface, int begin, int end) const override;

private:
    template <typename Pixel>
    void drawColors(const Surface& surface, int begin, int end) const;
    bool drawShift(const Surface& surface, int begin, int end) const;
    void drawGreys(const Surface& surface, int begin, int end) const;

    TexelFormat m_format;
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
    template <typename Pixel>
    void drawPlainly(const Surface& surface, int begin, int end) const;
    Color entry(const uint8* index) const;

    SmartPointer<Image> m_palette;
    const uint8* m_entries;
    size_t m_entryCount;
    Color m_tint;
};

} // namespace qel::internal
