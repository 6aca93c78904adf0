// Drawing operations with random arguments, ordinary and hostile, for tests and fuzz targets.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/render/texture.h>
#include <qel/testing/drawing.h>

#include <array>
#include <cstring>
#include <limits>
#include <utility>
#include <vector>

namespace qel::test {

/// Numbers that look random and are the same on every machine.
class SeededNumbers {
public:
    SeededNumbers(uint32 seed, int count) : m_state(seed), m_left(count) {}
    bool isAtEnd() const { return m_left <= 0; }
    /// Returns a number below @p limit.
    unsigned draw(unsigned limit) {
        --m_left;
        m_state = m_state * 1664525 + 1013904223;
        return static_cast<unsigned>(uint64{m_state} * limit >> 32);
    }

private:
    uint32 m_state;
    int m_left;
};

/// The bytes of a target in the middle of other memory, and the pixels that may change.
struct DrawnFrame {
    static constexpr int kGuard = 19; ///< bytes before, after and between the rows

    FormatID format;
    IVec2<int> size;
    IVec4<int> clip;
    std::vector<uint8> memory;

    int pixelBytes() const { return util::getFormatSizeBits(format) / 8; }
    int pitch() const { return size.x * pixelBytes() + kGuard; }
    static uint8 initialByte(size_t i) { return static_cast<uint8>(i * 37 + i / 256); }
    /// Creates the memory.
    void allocate() {
        memory.resize(static_cast<size_t>(pitch() * size.y + 2 * kGuard));
        for (size_t i = 0; i < memory.size(); ++i) memory[i] = initialByte(i);
    }
    /// Returns an image of the target. It uses the memory.
    SmartPointer<Image> target() {
        SmartPointer<Image> image = makeObject<Image>();
        image->initializeFromExtern(format, size, {{memory.data() + kGuard, memory.size() - kGuard}},
                                    {pitch()}, {});
        return image;
    }
    /// Returns true if a byte belongs to a pixel in the clip.
    bool isInClip(size_t i) const {
        const int at = static_cast<int>(i) - kGuard;
        if (at < 0 || at % pitch() >= size.x * pixelBytes()) return false;
        const int x = at % pitch() / pixelBytes();
        const int y = at / pitch();
        return x >= clip.x && x < clip.z && y >= clip.y && y < clip.w;
    }
    /// Returns the number of bytes outside the clip that have changed.
    size_t strayBytes() const {
        size_t count = 0;
        for (size_t i = 0; i < memory.size(); ++i) count += memory[i] != initialByte(i) && !isInClip(i);
        return count;
    }
};

/// Draws what the numbers of a source select, on a target that they select too.
/// @tparam Source  has draw() and isAtEnd() as SeededNumbers.
template <typename Source>
class RandomDrawing {
public:
    /// Draws a whole frame in one of the ways.
    static DrawnFrame frame(Source source, seams::DrawingMode mode) {
        seams::setDrawingMode(mode);
        RandomDrawing drawing(source);
        drawing.draw();
        seams::setDrawingMode(seams::DrawingMode::Default);
        return std::move(drawing.m_frame);
    }

private:
    explicit RandomDrawing(Source& source) : m_source(source) {
        constexpr FormatID kTargets[] = {BGRA8, BGRA8, BGRA8, BGRA8, BGRA8, BGRA8, L8, UInt8, L16, X16};
        m_frame.format = kTargets[m_source.draw(10)];
        m_frame.size = {1 + static_cast<int>(m_source.draw(90)), 1 + static_cast<int>(m_source.draw(70))};
        m_frame.clip = {edge(), edge(), m_frame.size.x - edge(), m_frame.size.y - edge()};
        m_frame.allocate();
    }

    void draw() {
        const SmartPointer<Image> target = m_frame.target();
        m_renderer.setRenderTarget(target.get());
        for (SmartPointer<Texture>& texture : m_textures) change(texture);
        m_renderer.start();
        m_renderer.pushClip(m_frame.clip);
        while (!m_source.isAtEnd()) operate();
        m_renderer.stop();
        m_renderer.setRenderTarget(nullptr);
    }

    void operate() {
        switch (m_source.draw(20)) {
        case 0:
            return changeClip();
        case 1:
        case 2:
            return changeColor();
        case 3:
            return change(m_textures[m_source.draw(4)]);
        case 4:
            return m_source.draw(8) == 0 ? m_renderer.flush() : m_renderer.drawRectInternal(rect());
        case 5:
            return m_renderer.drawRectInternal(rect());
        case 6:
            return m_renderer.drawAALineInternal(point(), point());
        case 7:
            return m_renderer.drawTriangleInternal(point(), point(), point());
        case 8:
            return drawOutline();
        case 9:
            return m_renderer.drawTextureScaledLookupInternal(texture(), source(), rect(), orientation(),
                                                              {value(), value()}, lookup());
        case 10:
            return drawPalette();
        default:
            return drawTexture();
        }
    }

    // --- arguments

    int edge() { return static_cast<int>(m_source.draw(4) == 0 ? m_source.draw(20) : 0); }
    int orientation() { return m_source.draw(3) == 0 ? static_cast<int>(m_source.draw(10)) - 1 : 0; }
    float channel() {
        constexpr float kSpecial[] = {0,
                                      1,
                                      0.5f,
                                      -1,
                                      7,
                                      0.001f,
                                      0.999f,
                                      std::numeric_limits<float>::quiet_NaN(),
                                      std::numeric_limits<float>::infinity()};
        if (m_source.draw(3) == 0) return kSpecial[m_source.draw(m_source.draw(8) == 0 ? 9 : 4)];
        return static_cast<float>(m_source.draw(256)) / 255.0f;
    }
    /// Returns a coordinate near the target, in one of a few forms, or far away.
    float coordinate() {
        constexpr float kFar[] = {1e9f,
                                  -1e9f,
                                  3e38f,
                                  -3e38f,
                                  65536.5f,
                                  -40000,
                                  std::numeric_limits<float>::infinity(),
                                  std::numeric_limits<float>::quiet_NaN()};
        const float whole = static_cast<float>(m_source.draw(130)) - 20;
        const unsigned form = m_source.draw(16);
        if (form == 0) return kFar[m_source.draw(8)];
        return form < 9 ? whole : whole + static_cast<float>(m_source.draw(64)) / 64;
    }
    /// Returns a limit of a window.
    float value() { return coordinate() * (m_source.draw(2) == 0 ? 1.0f : 300.0f); }
    IVec2<float> point() {
        const float x = coordinate();
        return {x, coordinate()};
    }
    Rect rect() {
        const IVec2<float> leftTop = point();
        if (m_source.draw(3) == 0) return {leftTop, point()};
        const float width = static_cast<float>(m_source.draw(70));
        return {leftTop, {leftTop.x + width, leftTop.y + static_cast<float>(m_source.draw(70))}};
    }
    Rect source() {
        if (m_source.draw(2) == 0) return {0, 0, 1, 1};
        const float left = static_cast<float>(m_source.draw(64)) / 64;
        const float top = static_cast<float>(m_source.draw(64)) / 64;
        if (m_source.draw(16) == 0) return {left, top, coordinate(), coordinate()};
        return {left, top, static_cast<float>(m_source.draw(64)) / 64,
                static_cast<float>(m_source.draw(80)) / 64};
    }

    // --- textures

    Texture* texture() { return m_textures[m_source.draw(4)].get(); }
    void upload(Texture& texture, FormatID format, const IVec2<int>& size) {
        Image image(format, size);
        const unsigned kind = m_source.draw(4); // of the bytes: noise with and without alpha, all set, all 0
        uint32 state = m_source.draw(256);
        for (size_t i = 0; i < image.getByteSize(); ++i) {
            state = state * 1664525 + 1013904223;
            const bool isOpaque = kind == 1 && (i % 4 == 3 || state >> 30 == 0);
            image.getBytePointer()[i] = static_cast<uint8>(kind == 3               ? 0
                                                           : kind == 2 || isOpaque ? 255
                                                                                   : state >> 24);
        }
        texture.upload(std::move(image), false);
    }
    IVec2<int> textureSize() {
        switch (m_source.draw(16)) {
        case 0:
            return {1, 1};
        case 1:
            return {16384, 1};
        case 2:
            return {1, 3000};
        default:
            return {1 + static_cast<int>(m_source.draw(70)), 1 + static_cast<int>(m_source.draw(40))};
        }
    }
    /// Creates, replaces or changes a texture, also one that recorded draws use.
    void change(SmartPointer<Texture>& texture) {
        constexpr FormatID kFormats[] = {
            A8,   UInt8, L8,    UInt16, L16,         X16,           UInt8x2, LA8,  RGB8,
            BGR8, RGBA8, BGRA8, BGRA8,  MP_RGB8_O16, MP_UInt16_O16, RGB565,  RGBA4};
        if (!texture || m_source.draw(2) == 0) texture = m_renderer.createTexture();
        texture->setFilter(static_cast<Filter>(m_source.draw(3)));
        const FormatID format = kFormats[m_source.draw(17)];
        upload(*texture, format, textureSize());
    }
    /// Returns a table for windows, or null.
    Texture* lookup() {
        if (m_source.draw(2) == 0) return nullptr;
        m_lookup = m_renderer.createTexture();
        upload(*m_lookup, L8, {1 + static_cast<int>(m_source.draw(40)), 2});
        return m_lookup.get();
    }
    void drawPalette() {
        constexpr FormatID kIndices[] = {UInt8, L8, UInt16, L16, X16, MP_RGB8_O16, MP_UInt16_O16};
        const SmartPointer<Texture> palette = m_renderer.createTexture();
        upload(*palette, RGBA8,
               {1 + static_cast<int>(m_source.draw(256)), 1 + static_cast<int>(m_source.draw(3))});
        const SmartPointer<Texture> indices = m_renderer.createTexture();
        const FormatID format = kIndices[m_source.draw(7)];
        upload(*indices, format, textureSize());
        indices->setFilter(static_cast<Filter>(m_source.draw(3)));
        const Rect part = source();
        m_renderer.drawTextureWithPalette(indices.get(), part, rect(), orientation(), palette.get(), nullptr);
    }

    void drawTexture() {
        Texture* const drawn = texture();
        if (drawn == nullptr || m_source.draw(2) == 0)
            return m_renderer.drawTextureInternal(drawn, source(), rect(), orientation());
        const float left = static_cast<float>(m_source.draw(100)) - 30; // without scaling
        const float top = static_cast<float>(m_source.draw(80)) - 20;
        const IVec2<float> size(drawn->getSize());
        m_renderer.drawTextureInternal(drawn, {0, 0, 1, 1}, {left, top, left + size.x, top + size.y}, 0);
    }

    // --- the rest

    void drawOutline() {
        std::vector<IVec2<float>> points;
        for (unsigned i = m_source.draw(9); i > 0; --i) points.push_back(point());
        if (points.size() == 2)
            return m_renderer.drawAADashedLineInternal(points[0], points[1], {{4, 3}, {7, 2}});
        m_renderer.drawFilledPolygonInternal(static_cast<int>(points.size()), points.data());
    }
    void changeClip() {
        if (m_clips > 0 && m_source.draw(2) == 0) {
            --m_clips;
            return m_renderer.popClip();
        }
        ++m_clips;
        const IVec4<int> clip = rect().roundNearestAsInt();
        m_renderer.pushClip(clip);
    }
    void changeColor() {
        const float r = channel(), g = channel(), b = channel();
        const IVec4<float> color(r, g, b, channel());
        switch (m_source.draw(4)) {
        case 0:
            return m_renderer.replaceColor(color);
        case 1:
            return m_renderer.pushColor(color);
        default:
            return m_renderer.popColor();
        }
    }

    Source& m_source;
    DrawnFrame m_frame;
    RendererSoftware m_renderer;
    std::array<SmartPointer<Texture>, 4> m_textures;
    SmartPointer<Texture> m_lookup;
    int m_clips = 0;
};

} // namespace qel::test
