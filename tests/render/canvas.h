// A target with its software renderer, for tests that look at pixels.
#pragma once

#include <qel/foundation/base/smart_pointer.h>
#include <qel/imaging/pixels/image.h>
#include <qel/render/renderer_software.h>
#include <qel/render/texture.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace qel::test {

/// Returns a texture of @p renderer with the given bytes as rows without padding.
inline SmartPointer<Texture> makeTexture(Renderer& renderer, FormatID format, const IVec2<int>& size,
                                         const std::vector<uint8>& bytes) {
    Image image(format, size);
    std::copy(bytes.begin(), bytes.end(), image.getBytePointer());
    SmartPointer<Texture> texture = renderer.createTexture();
    texture->upload(std::move(image), false);
    return texture;
}

/// Returns bytes that look random and are the same on every machine.
inline std::vector<uint8> noise(size_t count, uint32 seed) {
    std::vector<uint8> bytes(count);
    for (uint8& byte : bytes) {
        seed = seed * 1664525 + 1013904223;
        byte = static_cast<uint8>(seed >> 24);
    }
    return bytes;
}

/// Returns a texture of noise.
inline SmartPointer<Texture> makeNoise(Renderer& renderer, FormatID format, const IVec2<int>& size,
                                       uint32 seed) {
    const size_t pixels = static_cast<size_t>(size.x) * static_cast<size_t>(size.y);
    const size_t bits = static_cast<size_t>(util::getFormatSizeBits(format));
    return makeTexture(renderer, format, size, noise(pixels * bits / 8, seed));
}

/// A frame that is being drawn: start() has been called. The target is 0 in every byte.
class Canvas {
public:
    explicit Canvas(const IVec2<int>& size, FormatID format = BGRA8)
        : image(makeObject<Image>(format, size)) {
        std::memset(image->getBytePointer(), 0, image->getByteSize());
        renderer.setRenderTarget(image.get());
        renderer.start();
    }

    /// Ends the frame and begins the next one. @return the bytes of the target.
    std::vector<uint8> bytes() {
        renderer.stop();
        renderer.start();
        const uint8* const p = image->getBytePointer();
        return {p, p + image->getByteSize()};
    }
    /// Returns the four bytes of a BGRA8 pixel as 0xAARRGGBB.
    uint32 pixel(int x, int y) {
        renderer.stop();
        renderer.start();
        uint32 value;
        std::memcpy(&value, image->getBytePointer(y) + x * 4, sizeof value);
        return value;
    }
    /// Returns which pixels of a small target were drawn: rows of '#' and '.', each ended by '/'.
    std::string shape() {
        std::string rows;
        const size_t pixelBytes = image->getByteSize() / pixelCount();
        const std::vector<uint8> all = bytes();
        for (size_t i = 0; i < pixelCount(); ++i) {
            bool isDrawn = false;
            for (size_t b = 0; b < pixelBytes; ++b) isDrawn |= all[i * pixelBytes + b] != 0;
            rows += isDrawn ? '#' : '.';
            if ((i + 1) % static_cast<size_t>(image->getWidth()) == 0) rows += '/';
        }
        return rows;
    }

    SmartPointer<Image> image;
    RendererSoftware renderer;

private:
    size_t pixelCount() const {
        return static_cast<size_t>(image->getWidth()) * static_cast<size_t>(image->getHeight());
    }
};

} // namespace qel::test
