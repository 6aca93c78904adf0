#include <qel/render/texture_commands_p.h>

#include <qel/render/mask_rows_p.h>
#include <qel/render/texture_tiles_p.h>

namespace qel::internal {

namespace {

Color product(const Color& a, const Color& b) {
    return {a.x * b.x, a.y * b.y, a.z * b.z, a.w * b.w};
}

Color mix(const Color& a, const Color& b, float f) {
    return {(1 - f) * a.x + f * b.x, (1 - f) * a.y + f * b.y, (1 - f) * a.z + f * b.z,
            (1 - f) * a.w + f * b.w};
}

bool isWhite(const Color& tint) {
    return tint == Color(1, 1, 1, 1);
}

/// Returns the colour at @p p of a row of colours.
Color colorAt(const float* p) {
    return {p[2], p[1], p[0], p[3]};
}

/// Decodes texels one by one.
template <typename Decode>
void decodeEach(const uint8* texels, int texelBytes, int count, float* colors, const Decode& decode) {
    for (int i = 0; i < count; ++i, texels += texelBytes, colors += 4) {
        const Color c = decode(texels);
        colors[0] = c.z;
        colors[1] = c.y;
        colors[2] = c.x;
        colors[3] = c.w;
    }
}

/// Decodes texels by a row function, or one by one if no function exists.
class RowDecoder {
public:
    RowDecoder(DecodeTexels rows, DecodeTexel single, int texelBytes)
        : m_rows(rows), m_single(single), m_texelBytes(texelBytes) {}

    void operator()(const uint8* texels, int count, float* colors) const {
        if (m_rows != nullptr) return m_rows(texels, count, colors);
        decodeEach(texels, m_texelBytes, count, colors, m_single);
    }

private:
    DecodeTexels m_rows;
    DecodeTexel m_single;
    int m_texelBytes;
};

} // namespace

TexelPlane texelPlane(Image* image, unsigned plane, int bytes) {
    return {SmartPointer<Image>(image), image->getPlaneBytePointer(plane), image->getPlanePitch(plane), bytes,
            image->getPlaneByteSize(plane)};
}

// --- all draws
// ------------------------------------------------------------------------------------------------

/// Samples the texture: the mean of four texels, first along u, then along v, or the one texel.
template <typename Decode>
Color TextureCommand::sample(const TexelStep& columnStep, const TexelStep& rowStep,
                             const Decode& decode) const {
    const TexelStep& u = m_grid.columnsAlongV ? rowStep : columnStep;
    const TexelStep& v = m_grid.columnsAlongV ? columnStep : rowStep;
    if (!m_grid.isLinear) return decode(m_plane.at(u.first, v.first));
    const Color top =
        mix(decode(m_plane.at(u.first, v.first)), decode(m_plane.at(u.second, v.first)), u.fraction);
    const Color bottom =
        mix(decode(m_plane.at(u.first, v.second)), decode(m_plane.at(u.second, v.second)), u.fraction);
    return mix(top, bottom, v.fraction);
}

template <typename Pixel, typename Decode, typename Draw>
void TextureCommand::forPixels(const Surface& surface, int begin, int end, const Decode& decode,
                               const Draw& draw) const {
    for (int y = begin; y < end; ++y) {
        const TexelStep rowStep = m_grid.row(y - area().y);
        uint8* p = surface.row(y) + std::ptrdiff_t{area().x} * Pixel::kBytes;
        for (int x = area().x; x < area().z; ++x, p += Pixel::kBytes)
            draw(p, sample(m_grid.column(x - area().x), rowStep, decode), x, y);
    }
}

template <typename Pixel, typename MakeTile, typename Draw>
void TextureCommand::forTiles(const Surface& surface, int begin, int end, const MakeTile& makeTile,
                              const Draw& draw) const {
    const int width = area().z - area().x;
    for (int first = 0; first < width; first += kTileColumns) {
        const int count = std::min(kTileColumns, width - first);
        auto tile = makeTile(first, count);
        for (int y = begin; y < end; ++y)
            draw(tile, {surface.row(y) + std::ptrdiff_t{area().x + first} * Pixel::kBytes, area().x + first,
                        y, count, y - area().y});
    }
}

// --- tinted textures
// ------------------------------------------------------------------------------------------------

void BlitCommand::drawRows(const Surface& surface, int begin, int end) const {
    const bool isOnPixels = surface.kind == SurfaceKind::Bgra8 && !surface.isPlain;
    if (isOnPixels && !grid().isLinear) {
        if (drawCopy(surface, begin, end)) return;
        if (isWhite(m_tint) && m_format.rows.expand != nullptr) return drawPixels(surface, begin, end);
    }
    if (isOnPixels && isWhite(m_tint) && m_format.rows.decodeGrey != nullptr)
        return drawGreys(surface, begin, end);
    withPixelType(surface.kind, [&](auto pixel) {
        using Pixel = decltype(pixel);
        surface.isPlain ? drawPlainly<Pixel>(surface, begin, end) : drawColors<Pixel>(surface, begin, end);
    });
}

template <typename Pixel>
void BlitCommand::drawPlainly(const Surface& surface, int begin, int end) const {
    forPixels<Pixel>(surface, begin, end, m_format.decode, [this](uint8* p, const Color& color, int, int) {
        blendPixel<Pixel>(p, product(color, m_tint));
    });
}

template <typename Pixel>
void BlitCommand::drawColors(const Surface& surface, int begin, int end) const {
    const RowDecoder decoder(m_format.rows.decode, m_format.decode, plane().bytes);
    const auto makeTile = [&](int first, int count) {
        return TileColors<4, RowDecoder>(grid(), plane(), first, count, decoder);
    };
    forTiles<Pixel>(surface, begin, end, makeTile,
                    [this](TileColors<4, RowDecoder>& tile, const TileRow& at) {
                        if constexpr (Pixel::kBytes == 4)
                            return blendColors(at.target, tile.row(at.row), at.count, m_tint);
                        const float* const colors = tile.mixedRow(at.row);
                        for (int i = 0; i < at.count; ++i)
                            blendPixel<Pixel>(at.target + std::ptrdiff_t{i} * Pixel::kBytes,
                                              product(colorAt(colors + 4 * i), m_tint));
                    });
}

/// Draws texels of whole bytes that lie in the texture as the pixels do in the target. @return false if this
/// draw is another one.
bool BlitCommand::drawCopy(const Surface& surface, int begin, int end) const {
    const std::optional<IVec2<int>> shift = grid().shift({area().z - area().x, area().w - area().y});
    if (!shift) return false;
    const uint8* texels = plane().at(shift->x, shift->y + begin - area().y);
    uint8* target = surface.row(begin) + std::ptrdiff_t{area().x} * Bgra8::kBytes;
    const int width = area().z - area().x;
    if (m_format.isBgra && isWhite(m_tint)) {
        drawPixelRows(target, surface.pitch, texels, plane().pitch, width, end - begin);
        return true;
    }
    if (m_format.rows.isOpaque && isWhite(m_tint)) {
        for (int y = begin; y < end; ++y, target += surface.pitch, texels += plane().pitch)
            m_format.rows.expand(texels, width, target);
        return true;
    }
    if (!m_format.isMask) return false;
    MaskBrush(m_tint).draw({target, surface.pitch, texels, plane().pitch, plane().end(), width, end - begin});
    return true;
}

void BlitCommand::drawPixels(const Surface& surface, int begin, int end) const {
    const auto makeTile = [&](int first, int count) {
        return TilePixels(grid(), plane(), first, count, m_format.isBgra ? nullptr : m_format.rows.expand);
    };
    forTiles<Bgra8>(surface, begin, end, makeTile, [](TilePixels& tile, const TileRow& at) {
        drawPixelRows(at.target, 0, tile.row(at.row), 0, at.count, 1);
    });
}

void BlitCommand::drawGreys(const Surface& surface, int begin, int end) const {
    const auto makeTile = [&](int first, int count) {
        return TileColors<1, DecodeTexels>(grid(), plane(), first, count, m_format.rows.decodeGrey);
    };
    forTiles<Bgra8>(surface, begin, end, makeTile, [](TileColors<1, DecodeTexels>& tile, const TileRow& at) {
        storeGreys(at.target, tile.row(at.row), at.count);
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
    const bool isOnPixels = surface.kind == SurfaceKind::Bgra8 && !surface.isPlain;
    if (isOnPixels && m_format.rows.decodeGreyRaw != nullptr && !m_window.isStep) {
        if (drawShift(surface, begin, end)) return;
        return drawGreys(surface, begin, end);
    }
    withPixelType(surface.kind, [&](auto pixel) { drawColors<decltype(pixel)>(surface, begin, end); });
}

template <typename Pixel>
void WindowCommand::drawColors(const Surface& surface, int begin, int end) const {
    const auto draw = [this](uint8* p, const Color& raw, int x, int y) {
        const int tableRow = (x + y + 1) & 1;
        Pixel::write(p, {m_window.shown(raw.x, tableRow), m_window.shown(raw.y, tableRow),
                         m_window.shown(raw.z, tableRow), 1});
    };
    if (surface.isPlain) return forPixels<Pixel>(surface, begin, end, m_format.decodeRaw, draw);
    const RowDecoder decoder(m_format.rows.decodeRaw, m_format.decodeRaw, plane().bytes);
    const auto makeTile = [&](int first, int count) {
        return TileColors<4, RowDecoder>(grid(), plane(), first, count, decoder);
    };
    forTiles<Pixel>(surface, begin, end, makeTile, [&](TileColors<4, RowDecoder>& tile, const TileRow& at) {
        const float* const colors = tile.mixedRow(at.row);
        for (int i = 0; i < at.count; ++i)
            draw(at.target + std::ptrdiff_t{i} * Pixel::kBytes, colorAt(colors + 4 * i), at.x + i, at.y);
    });
}

/// Draws texels that lie in the texture as the pixels do in the target. @return false if this draw is another
/// one.
bool WindowCommand::drawShift(const Surface& surface, int begin, int end) const {
    const int width = area().z - area().x;
    const std::optional<IVec2<int>> shift = grid().shift({width, area().w - area().y});
    if (!shift || m_window.table) return false;
    for (int y = begin; y < end; ++y)
        m_format.rows.showGreyRaw(plane().at(shift->x, shift->y + y - area().y), width, m_window.scale,
                                  m_window.bias, surface.row(y) + std::ptrdiff_t{area().x} * Bgra8::kBytes);
    return true;
}

void WindowCommand::drawGreys(const Surface& surface, int begin, int end) const {
    const auto makeTile = [&](int first, int count) {
        return TileColors<1, DecodeTexels>(grid(), plane(), first, count, m_format.rows.decodeGreyRaw);
    };
    const Image* const table = m_window.table.get();
    forTiles<Bgra8>(surface, begin, end, makeTile, [&](TileColors<1, DecodeTexels>& tile, const TileRow& at) {
        float* const values = tile.mixedRow(at.row);
        scaleValues(values, at.count, m_window.scale, m_window.bias);
        if (table == nullptr) return storeGreys(at.target, {values, nullptr, 0}, at.count);
        const int even = (at.x + at.y + 1) & 1;
        const uint8* const tableRows[2] = {table->getBytePointer(even), table->getBytePointer(1 - even)};
        storeLookups(at.target, values, at.count, tableRows, static_cast<float>(table->getWidth() - 1));
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

void PaletteCommand::drawRows(const Surface& surface, int begin, int end) const {
    if (surface.isPlain || surface.kind != SurfaceKind::Bgra8)
        return withPixelType(surface.kind,
                             [&](auto pixel) { drawPlainly<decltype(pixel)>(surface, begin, end); });
    const auto decodeEntry = [this](const uint8* index) { return entry(index); };
    const auto decoder = [&](const uint8* indices, int count, float* colors) {
        decodeEach(indices, plane().bytes, count, colors, decodeEntry);
    };
    const auto makeTile = [&](int first, int count) {
        return TileColors<4, decltype(decoder)>(grid(), plane(), first, count, decoder);
    };
    forTiles<Bgra8>(surface, begin, end, makeTile, [this](auto& tile, const TileRow& at) {
        blendPremultiplied(at.target, tile.mixedRow(at.row), at.count, m_tint);
    });
}

// The alpha of the target stays: an overlay must not make a frame transparent where it shows nothing.
template <typename Pixel>
void PaletteCommand::drawPlainly(const Surface& surface, int begin, int end) const {
    const auto decodeEntry = [this](const uint8* index) { return entry(index); };
    forPixels<Pixel>(surface, begin, end, decodeEntry, [this](uint8* p, const Color& c, int, int) {
        const Color old = Pixel::read(p);
        const float keep = 1 - c.w * m_tint.w;
        Pixel::write(p, {m_tint.x * c.x + keep * old.x, m_tint.y * c.y + keep * old.y,
                         m_tint.z * c.z + keep * old.z, old.w});
    });
}

} // namespace qel::internal
