#include "sample_sprites.h"

#include <algorithm>
#include <cmath>

namespace qelscreens {

namespace {

using Rgba = qel::IVec4<float>;

Rgba mix(const Rgba& a, const Rgba& b, float part) {
    return {a.x + (b.x - a.x) * part, a.y + (b.y - a.y) * part, a.z + (b.z - a.z) * part,
            a.w + (b.w - a.w) * part};
}

void setPixel(qel::uint8* pixel, const Rgba& color) {
    for (int i = 0; i < 4; ++i)
        pixel[i] = static_cast<qel::uint8>(std::lround(std::clamp(color[i], 0.0f, 1.0f) * 255.0f));
}

/// Fills an image with the colours of a function of the position from (0, 0) to (1, 1).
template <class ColorAt>
void paint(qel::Image& image, const qel::IVec2<int>& size, ColorAt colorAt) {
    image.initialize(qel::RGBA8, size);
    for (int y = 0; y < size.y; ++y) {
        for (int x = 0; x < size.x; ++x) {
            const float u = (static_cast<float>(x) + 0.5f) / static_cast<float>(size.x);
            const float v = (static_cast<float>(y) + 0.5f) / static_cast<float>(size.y);
            setPixel(image.getBytePointer(y) + x * 4, colorAt(u, v));
        }
    }
}

/// Returns how far a point is inside of an edge: 0 to 1 within a pixel of it.
float coverage(float distance, float pixel) {
    return std::clamp(0.5f - distance / pixel, 0.0f, 1.0f);
}

Rgba landscapeAt(float u, float v) {
    constexpr float kPixel = 1.0f / 128;
    Rgba color = mix({0.16f, 0.36f, 0.62f, 1}, {0.95f, 0.75f, 0.55f, 1}, v / 0.75f);
    const float toSun = std::hypot((u - 0.26f) * 1.5f, v - 0.32f) - 0.13f;
    color = mix(color, {1, 0.93f, 0.6f, 1}, coverage(toSun, kPixel));
    const float farHill = 0.62f - 0.14f * std::sin(u * 5.2f + 0.6f);
    color = mix(color, {0.25f, 0.37f, 0.42f, 1}, coverage(farHill - v, kPixel));
    const float nearHill = 0.78f - 0.1f * std::sin(u * 4.1f + 3.4f);
    color = mix(color, {0.13f, 0.24f, 0.2f, 1}, coverage(nearHill - v, kPixel));
    return color;
}

Rgba frameAt(float u, float v) {
    constexpr float kPixel = 1.0f / 64;
    constexpr float kRadius = 0.2f;
    const float x = std::max(std::abs(u - 0.5f) - (0.48f - kRadius), 0.0f);
    const float y = std::max(std::abs(v - 0.5f) - (0.48f - kRadius), 0.0f);
    const float outside = std::hypot(x, y) - kRadius;
    const float border = std::abs(outside + 0.05f) - 0.04f;
    Rgba color{0.2f, 0.28f, 0.36f, coverage(outside, kPixel)};
    return mix(color, {0.98f, 0.78f, 0.23f, 1}, coverage(border, kPixel));
}

/// Returns a sprite that is drawn by @p colorAt. Smaller formats would show steps in its smooth colours.
template <class ColorAt>
qel::SmartPointer<qel::Sprite> spriteOf(const qel::IVec2<int>& size, ColorAt colorAt) {
    auto sprite =
        qel::Sprite::createFromLambda([=](qel::Image& image) { paint(image, size, colorAt); }, size);
    sprite->setAllowLossyConversion(false);
    return sprite;
}

} // namespace

qel::SmartPointer<qel::Sprite> landscapeSprite() {
    return spriteOf({192, 128}, &landscapeAt);
}

qel::SmartPointer<qel::Sprite> frameSprite() {
    return spriteOf({64, 64}, &frameAt);
}

} // namespace qelscreens
