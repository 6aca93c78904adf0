#include <qel/render/texture_tiles_p.h>

namespace qel::internal {

namespace {

/// Packs @p count texels of `bytes` bytes.
template <int bytes>
void pack(const uint8* line, const std::ptrdiff_t* offsets, int count, uint8* out) {
    for (int i = 0; i < count; ++i) std::memcpy(out + std::ptrdiff_t{i} * bytes, line + offsets[i], bytes);
}

constexpr decltype(&pack<1>) kPack[] = {pack<1>, pack<2>, pack<3>, pack<4>};

} // namespace

TileTexels::TileTexels(const TexelGrid& grid, const TexelPlane& plane, int begin, int count)
    : m_plane(plane),
      m_texelPitch(grid.columnsAlongV ? plane.pitch : plane.bytes),
      m_linePitch(grid.columnsAlongV ? plane.bytes : plane.pitch),
      m_isLinear(grid.isLinear) {
    stepColumns(grid.columns, begin, count, steps());
    m_isLinear ? selectLinear(count, grid.columns.size - 1) : selectNearest(count, grid.columns.size);
}

void TileTexels::selectNearest(int count, int size) {
    const int first = m_first[0];
    int i = 1;
    while (i < count && m_first[static_cast<size_t>(i)] == first + i) ++i;
    m_size = count;
    if (i == count) return selectRun(first, count);
    if (m_texelPitch == 4 && m_plane.bytes == 4) {
        m_selectsFrom = size;
        return;
    }
    for (size_t k = 0; k < static_cast<size_t>(count); ++k) m_offsets[k] = m_first[k] * m_texelPitch;
}

// Either the whole range of texels, or two for each column if those are fewer.
void TileTexels::selectLinear(int count, int last) {
    const int end = m_first[static_cast<size_t>(count - 1)];
    const int low = std::min(m_first[0], end);
    const int high = std::max(m_first[0], end);
    const int64 range = int64{high} - low + 2;
    if (range <= 2 * count) {
        for (int i = 0; i < count; ++i) m_first[static_cast<size_t>(i)] -= low;
        m_repeatsBefore = low < 0 ? 1 : 0;
        m_repeatsAfter = high == last ? 1 : 0;
        m_size = static_cast<int>(range);
        return selectRun(low + m_repeatsBefore, lineSize());
    }
    m_size = 2 * count;
    for (size_t i = 0; i < static_cast<size_t>(count); ++i) {
        m_offsets[2 * i] = std::max(m_first[i], 0) * m_texelPitch;
        m_offsets[2 * i + 1] = std::min(m_first[i] + 1, last) * m_texelPitch;
        m_first[i] = static_cast<int>(2 * i);
    }
}

// The texels from one to another.
void TileTexels::selectRun(int first, int size) {
    if (m_texelPitch == m_plane.bytes) {
        m_runStart = first * m_texelPitch;
        return;
    }
    for (int i = 0; i < size; ++i) m_offsets[static_cast<size_t>(i)] = (first + i) * m_texelPitch;
}

const uint8* TileTexels::line(int index) {
    const uint8* const line = m_plane.texels + index * m_linePitch;
    if (m_runStart >= 0) return line + m_runStart;
    if (m_selectsFrom > 0)
        selectTexels4(line, m_selectsFrom, m_first.data(), lineSize(), m_packed.data());
    else
        kPack[m_plane.bytes - 1](line, m_offsets.data(), lineSize(), m_packed.data());
    return m_packed.data();
}

} // namespace qel::internal
