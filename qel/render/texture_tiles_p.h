// Tiles of a texture draw: some columns of the target, sampled row by row.
#pragma once

#include <qel/render/texel_rows_p.h>
#include <qel/render/texture_commands_p.h>

#include <array>

namespace qel::internal {

/// Columns of a tile: few enough for all its rows to stay in the nearest cache.
inline constexpr int kTileColumns = 256;
/// The texels of a tile's line at most: two for each column.
inline constexpr int kTileTexels = 2 * kTileColumns;
/// The lines of texels that a tile needs: packed, in the order of the columns. A line is a row of the
/// texture, or a column if the draw is turned.
class TileTexels {
public:
    /// @param begin  the first column, counted from the left of the drawn area.
    /// @param count  1 to kTileColumns.
    TileTexels(const TexelGrid& grid, const TexelPlane& plane, int begin, int count);
    TileTexels(const TileTexels&) = delete;
    TileTexels& operator=(const TileTexels&) = delete;

    /// Returns the texels of a line without those that repeat its edges; valid until the next call.
    const uint8* line(int index);
    /// Returns the number of texels that line() returns.
    int lineSize() const { return m_size - m_repeatsBefore - m_repeatsAfter; }
    /// Decodes the texels of a line, with its edges. @param decode  see TileColors.
    template <int channels, typename Decode>
    void decodeLine(int index, const Decode& decode, float* out) {
        constexpr size_t kTexel = channels * sizeof(float);
        decode(line(index), lineSize(), out + channels * m_repeatsBefore);
        if (m_repeatsBefore > 0) std::memcpy(out, out + channels, kTexel);
        float* const end = out + channels * m_size;
        if (m_repeatsAfter > 0) std::memcpy(end - channels, end - 2 * channels, kTexel);
    }
    /// Returns the number of texels that decodeLine() decodes.
    int size() const { return m_size; }
    /// Returns the columns' places in a line.
    TexelSteps steps() { return {m_first.data(), m_isLinear ? m_fraction.data() : nullptr}; }

private:
    void selectNearest(int count, int size);
    void selectLinear(int count, int last);
    void selectRun(int first, int size);

    const TexelPlane& m_plane;
    const std::ptrdiff_t m_texelPitch; // bytes from a texel of a line to the next
    const std::ptrdiff_t m_linePitch;  // bytes from a line to the next
    const bool m_isLinear;
    int m_size = 0;
    int m_repeatsBefore = 0;        // 1 if the first texel counts twice
    int m_repeatsAfter = 0;         // 1 if the last one does
    std::ptrdiff_t m_runStart = -1; // byte of a line's first texel if the line lies in the texture as it is
    int m_selectsFrom = 0;          // texels of a line, if selectTexels4() packs those of m_first
    std::array<int, kTileColumns> m_first;
    std::array<float, kTileColumns> m_fraction;
    std::array<std::ptrdiff_t, kTileTexels> m_offsets; // bytes of the texels of other lines
    std::array<uint8, kTileTexels * 4> m_packed;
};

/// The rows of a tile as colours.
/// @tparam channels  4, or 1 for grey.
/// @tparam Decode    is called as `decode(texels, count, colors)`.
template <int channels, typename Decode>
class TileColors {
public:
    TileColors(const TexelGrid& grid, const TexelPlane& plane, int begin, int count, const Decode& decode)
        : m_grid(grid), m_decode(decode), m_texels(grid, plane, begin, count), m_count(count) {}

    /// Returns the colours of row @p i of the drawn area; valid until the next call.
    ColorRow row(int i) {
        const TexelStep step = m_grid.row(i);
        const float* const a = line(step.first);
        if (!m_grid.isLinear) return {a, nullptr, 0};
        const float* const b = line(step.second);
        if (!m_grid.columnsAlongV) return {a, b, step.fraction}; // u along the lines, then v
        mixRows(a, b, step.fraction, channels * m_texels.size(), m_decoded.data());
        resampleRow<channels>(m_decoded.data(), m_texels.steps(), m_count, m_out.data());
        return {m_out.data(), nullptr, 0};
    }
    /// Returns the same as one row, which may be changed.
    float* mixedRow(int i) {
        const ColorRow colors = row(i);
        const int count = channels * m_count;
        if (colors.b != nullptr)
            mixRows(colors.a, colors.b, colors.fraction, count, m_out.data());
        else if (colors.a != m_out.data())
            std::copy_n(colors.a, count, m_out.data());
        return m_out.data();
    }

private:
    struct alignas(64) Row : std::array<float, channels * kTileTexels + kRowPadding> {};

    /// Returns a line's texels as colours, resampled if that comes first. Two neighbouring lines are kept.
    const float* line(int index) {
        const size_t slot = static_cast<size_t>(index) % 2;
        float* const out = m_lines[slot].data();
        if (m_kept[slot] == index) return out;
        m_kept[slot] = index;
        const bool isResampled = m_grid.isLinear && !m_grid.columnsAlongV;
        float* const decoded = isResampled ? m_decoded.data() : out;
        m_texels.template decodeLine<channels>(index, m_decode, decoded);
        if (isResampled) resampleRow<channels>(decoded, m_texels.steps(), m_count, out);
        return out;
    }

    const TexelGrid& m_grid;
    const Decode& m_decode;
    TileTexels m_texels;
    const int m_count;
    std::array<int, 2> m_kept{-1, -1};
    std::array<Row, 2> m_lines;
    Row m_decoded;
    Row m_out;
};

/// The rows of a tile as BGRA8 pixels, sampled without interpolation.
class TilePixels {
public:
    /// @param expand  null for texels that are pixels.
    TilePixels(const TexelGrid& grid, const TexelPlane& plane, int begin, int count, ExpandTexels expand)
        : m_grid(grid), m_texels(grid, plane, begin, count), m_expand(expand) {}

    /// Returns the pixels of row @p i of the drawn area; valid until the next call.
    const uint8* row(int i) {
        const int index = m_grid.row(i).first;
        if (m_kept == index) return m_row;
        m_kept = index;
        m_row = m_texels.line(index);
        if (m_expand == nullptr) return m_row;
        m_expand(m_row, m_texels.lineSize(), m_pixels.data());
        return m_row = m_pixels.data();
    }

private:
    const TexelGrid& m_grid;
    TileTexels m_texels;
    const ExpandTexels m_expand;
    int m_kept = -1;
    const uint8* m_row = nullptr;
    std::array<uint8, kTileColumns * 4> m_pixels;
};

} // namespace qel::internal
