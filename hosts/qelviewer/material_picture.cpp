#include "material_picture.h"

#include "vectors.h"

#include <algorithm>
#include <cmath>

namespace qelviewer {

namespace {

using Color = qel::IVec3<float>;

constexpr Color kBackground{0.06f, 0.07f, 0.08f};

qel::uint8 byteOf(float value) {
    return static_cast<qel::uint8>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255));
}

void setPixel(qel::Image& image, int x, int y, const Color& color) {
    qel::uint8* const pixel = image.getBytePointer(y) + x * 4;
    pixel[0] = byteOf(color.z);
    pixel[1] = byteOf(color.y);
    pixel[2] = byteOf(color.x);
    pixel[3] = 255;
}

/// Returns the first and the last key of both curves.
qel::IVec2<float> keyRange(const qel::VolumeMaterial& material) {
    const auto& colors = material.getColorCurve();
    const auto& opacities = material.getOpacityCurve();
    return {std::min(colors.begin()->first, opacities.begin()->first),
            std::max(colors.rbegin()->first, opacities.rbegin()->first)};
}

} // namespace

qel::Image materialPicture(const qel::VolumeMaterial& material, const qel::IVec2<int>& size) {
    qel::Image image(qel::BGRA8, size);
    const bool isValid = material.isValid();
    const qel::IVec2<float> range = isValid ? keyRange(material) : qel::IVec2<float>();
    for (int x = 0; x < size.x; ++x) {
        const float share = (static_cast<float>(x) + 0.5f) / static_cast<float>(size.x);
        const float value = range.x + share * (range.y - range.x);
        const Color color = isValid ? material.getColorCurve().evaluate(value) : kBackground;
        // The square root makes small opacities visible.
        const float opacity =
            isValid ? std::sqrt(std::max(0.0f, material.getOpacityCurve().evaluate(value))) : 0;
        for (int y = 0; y < size.y; ++y) {
            const float height = 1 - (static_cast<float>(y) + 0.5f) / static_cast<float>(size.y);
            setPixel(image, x, y, height < opacity ? color : plus(times(color, 0.22f), kBackground));
        }
    }
    return image;
}

} // namespace qelviewer
