#include <qel/render/texture_commands_p.h>

namespace qel::internal {

namespace {

Color product(const Color& a, const Color& b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z, a.w * b.w};
}

} // namespace

TexelPlane texelPlane(Image* image, unsigned plane, int bytes) {
    return {SmartPointer<Image>(image), image->getPlaneBytePointer(plane), image->getPlanePitch(plane),
            bytes};
}

TextureCommand::TextureCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane)
    : DrawCommand(area), m_grid(grid), m_plane(std::move(plane)) {
    const int width = area.z - area.x;
    m_columns.resize(static_cast<size_t>(width));
    for (int i = 0; i < width; ++i) m_columns[static_cast<size_t>(i)] = grid.column(i);
}

void BlitCommand::drawRows(const Surface& surface, int begin, int end) const {
    withPixelType(surface.kind, [&](auto pixel) {
        using Pixel = decltype(pixel);
        for (int y = begin; y < end; ++y) {
            const TexelStep rowStep = row(y);
            uint8* p = surface.row(y) + std::ptrdiff_t{area().x} * Pixel::kBytes;
            for (int x = area().x; x < area().z; ++x, p += Pixel::kBytes)
                blendPixel<Pixel>(p, product(sample(column(x), rowStep, m_decode), m_tint));
        }
    });
}

// --- windows
// ------------------------------------------------------------------------------------------------

ValueWindow ValueWindow::of(const IVec2<float>& window, Image* table) {
    ValueWindow result;
    result.table = table;
    result.start = window.x;
    result.isStep = window.x == window.y;
    if (result.isStep) return result;
    const float top = table != nullptr ? static_cast<float>(table->getWidth() - 1) : 1.0f;
    result.scale = top / (window.y - window.x);
    result.bias = table != nullptr ? 0.5f - result.scale * window.x : -window.x * result.scale;
    return result;
}

float ValueWindow::shown(float value, int tableRow) const {
    if (!table) return isStep ? (value < start ? 0.0f : 1.0f) : value * scale + bias;
    const int last = table->getWidth() - 1;
    const float top = static_cast<float>(last);
    const float place = isStep ? (value < start ? 0.0f : top) : value * scale + bias;
    const int index = std::min(last, static_cast<int>(place > 0 ? std::min(place, top) : 0.0f));
    return static_cast<float>(table->getBytePointer(tableRow)[index]) / 255.0f;
}

// The two rows of the table alternate like the fields of a chessboard, fixed to the target, so that the eye
// sees the level between two roundings.
void WindowCommand::drawRows(const Surface& surface, int begin, int end) const {
    withPixelType(surface.kind, [&](auto pixel) {
        using Pixel = decltype(pixel);
        for (int y = begin; y < end; ++y) {
            const TexelStep rowStep = row(y);
            uint8* p = surface.row(y) + std::ptrdiff_t{area().x} * Pixel::kBytes;
            for (int x = area().x; x < area().z; ++x, p += Pixel::kBytes) {
                const Color raw = sample(column(x), rowStep, m_decode);
                const int tableRow = (x + y + 1) & 1;
                Pixel::write(p, {m_window.shown(raw.x, tableRow), m_window.shown(raw.y, tableRow),
                                 m_window.shown(raw.z, tableRow), 1});
            }
        }
    });
}

// --- palettes
// -----------------------------------------------------------------------------------------------

PaletteCommand::PaletteCommand(const IVec4<int>& area, const TexelGrid& grid, TexelPlane plane,
                               SmartPointer<Image> palette, const Color& tint)
    : TextureCommand(area, grid, std::move(plane)),
      m_palette(std::move(palette)),
      m_entries(m_palette->getBytePointer()),
      m_entryCount(m_palette->getPlaneByteSize(0) / 4),
      m_tint(tint) {}

/// Returns the colour of an entry, multiplied by its alpha; nothing past the end of the palette.
Color PaletteCommand::entry(const uint8* index) const {
    uint16 i = *index;
    if (plane().bytes == 2) std::memcpy(&i, index, sizeof i);
    if (i >= m_entryCount) return {};
    const uint8* const p = m_entries + size_t{i} * 4;
    const float a = static_cast<float>(p[3]) / 255.0f;
    return {static_cast<float>(p[0]) / 255.0f * a, static_cast<float>(p[1]) / 255.0f * a,
            static_cast<float>(p[2]) / 255.0f * a, a};
}

// The alpha of the target stays: an overlay must not make a frame transparent where it shows nothing.
void PaletteCommand::drawRows(const Surface& surface, int begin, int end) const {
    const auto decode = [this](const uint8* index) { return entry(index); };
    withPixelType(surface.kind, [&](auto pixel) {
        using Pixel = decltype(pixel);
        for (int y = begin; y < end; ++y) {
            const TexelStep rowStep = row(y);
            uint8* p = surface.row(y) + std::ptrdiff_t{area().x} * Pixel::kBytes;
            for (int x = area().x; x < area().z; ++x, p += Pixel::kBytes) {
                const Color c = sample(column(x), rowStep, decode);
                const Color old = Pixel::read(p);
                const float keep = 1 - c.w * m_tint.w;
                Pixel::write(p, {m_tint.x * c.x + keep * old.x, m_tint.y * c.y + keep * old.y,
                                 m_tint.z * c.z + keep * old.z, old.w});
            }
        }
    });
}

} // namespace qel::internal
