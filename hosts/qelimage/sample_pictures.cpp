#include "sample_pictures.h"

#include "painter.h"
#include "pixel_font.h"
#include "pixels.h"
#include "traced_picture.h"

#include <qel/imaging/pixels/qr_code_generator.h>
#include <qel/render/texture.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <utility>
#include <vector>

namespace qelimage {

namespace {

using qel::Image;

constexpr float kPi = std::numbers::pi_v<float>;
constexpr Color kClear(0, 0, 0, 0);

Color mixed(const Color& a, const Color& b, float share) {
    const auto mix = [share](float from, float to) { return from + (to - from) * share; };
    return {mix(a.x, b.x), mix(a.y, b.y), mix(a.z, b.z), mix(a.w, b.w)};
}

Color rainbow(float turn, float alpha = 1) {
    const auto channel = [turn](float shift) { return 0.5f + 0.5f * std::cos(2 * kPi * (turn + shift)); };
    return {channel(0), channel(2.0f / 3), channel(1.0f / 3), alpha};
}

Point onCircle(const Point& centre, float radius, float turn) {
    return {centre.x + radius * std::sin(2 * kPi * turn), centre.y - radius * std::cos(2 * kPi * turn)};
}

std::vector<Point> ellipse(const Point& centre, const Point& radii, float turn = 0) {
    constexpr int kCorners = 90;
    std::vector<Point> points;
    for (int i = 0; i < kCorners; ++i) {
        const Point p = onCircle({0, 0}, 1, float(i) / kCorners);
        const float sine = std::sin(2 * kPi * turn), cosine = std::cos(2 * kPi * turn);
        const float x = p.x * radii.x, y = p.y * radii.y;
        points.emplace_back(centre.x + x * cosine - y * sine, centre.y + x * sine + y * cosine);
    }
    return points;
}

void fillWithGradient(Painter& painter, const qel::Rect& area, const Color& top, const Color& bottom) {
    const int height = static_cast<int>(area.getHeight());
    for (int y = 0; y < height; ++y) {
        const float at = area.y0 + static_cast<float>(y);
        painter.fill(qel::Rect(area.x0, at, area.x1, at + 1),
                     mixed(top, bottom, static_cast<float>(y) / static_cast<float>(height)));
    }
}

/// The outline of hills from the left to the right edge of a picture, closed at its bottom.
std::vector<Point> hills(float width, float bottom, float level, float height, float phase) {
    std::vector<Point> points{{0, bottom}};
    for (float x = 0; x <= width; x += 4) {
        const float a = x / width * 2 * kPi;
        points.emplace_back(x, level - height *
                                           (std::sin(a * 1.5f + phase) + 0.5f * std::sin(a * 4 + 2 * phase)));
    }
    points.emplace_back(width, bottom);
    return points;
}

Image drawSunset() {
    return drawn({960, 640}, {0, 0, 0, 1}, [](Painter& painter) {
        fillWithGradient(painter, {0, 0, 960, 500}, {0.10f, 0.11f, 0.30f, 1}, {0.98f, 0.62f, 0.34f, 1});
        for (int ring = 12; ring >= 0; --ring) {
            const float radius = 60.0f + 14.0f * static_cast<float>(ring);
            painter.fill(ellipse({610, 360}, {radius, radius}), {1, 0.86f, 0.52f, ring == 0 ? 1.0f : 0.06f});
        }
        for (int layer = 0; layer < 4; ++layer) {
            const auto depth = static_cast<float>(layer);
            painter.fill(hills(960, 640, 420 + 55 * depth, 42 - 4 * depth, 1.7f * depth + 0.4f),
                         mixed({0.45f, 0.28f, 0.42f, 1}, {0.07f, 0.06f, 0.15f, 1}, depth / 3));
        }
    });
}

Image drawStar() {
    return drawn({512, 512}, kClear, [](Painter& painter) {
        for (int size = 5; size > 0; --size) {
            std::array<Point, 14> star;
            const float radius = 50.0f * static_cast<float>(size);
            for (int i = 0; i < 14; ++i)
                star[size_t(i)] = onCircle({256, 256}, i % 2 == 0 ? radius : radius * 0.5f, float(i) / 14);
            painter.fill(star, rainbow(0.02f + 0.11f * static_cast<float>(size)));
        }
    });
}

Image drawLines() {
    return drawn({480, 480}, {0.03f, 0.04f, 0.07f, 1}, [](Painter& painter) {
        constexpr int kCount = 96;
        for (int i = 0; i < kCount; ++i) {
            const float turn = float(i) / kCount;
            painter.drawLine(onCircle({240, 240}, 225, turn), onCircle({240, 240}, 225, turn * 2),
                             rainbow(turn, 0.8f));
        }
        painter.renderer().pushColor({1, 1, 1, 0.7f});
        const Point corners[] = {{4, 4}, {475, 4}, {475, 475}, {4, 475}};
        for (int i = 0; i < 4; ++i)
            painter.renderer().drawAADashedLineInternal(corners[i], corners[(i + 1) % 4], {{12, 6}, {2, 6}});
        painter.renderer().popColor();
    });
}

/// A section through a head, in 16 bits: an ellipse for each organ.
Image drawSection() {
    struct Organ {
        Point centre, radii;
        float turn;
        int value;
    };
    static const Organ kOrgans[] = {
        {{256, 256}, {178, 226}, 0, 3100},  {{256, 258}, {165, 211}, 0, 1040},
        {{202, 252}, {30, 88}, 0.05f, 990}, {{312, 256}, {34, 96}, -0.05f, 985},
        {{256, 152}, {56, 66}, 0, 1075},    {{256, 330}, {20, 20}, 0, 1100},
        {{236, 396}, {14, 8}, 0, 1130},     {{276, 398}, {9, 17}, 0, 1130},
    };
    Image section(qel::UInt16, {512, 512});
    if (!section) return section;
    for (int y = 0; y < 512; ++y) {
        for (int x = 0; x < 512; ++x) {
            int value = 0;
            for (const Organ& organ : kOrgans) {
                const float sine = std::sin(2 * kPi * organ.turn), cosine = std::cos(2 * kPi * organ.turn);
                const float dx = float(x) - organ.centre.x, dy = float(y) - organ.centre.y;
                const float u = (dx * cosine + dy * sine) / organ.radii.x;
                const float v = (dy * cosine - dx * sine) / organ.radii.y;
                if (u * u + v * v <= 1) value = organ.value;
            }
            const int noise = value == 0 ? 0 : (x * 7919 + y * 104729 + x * y * 31) % 17 - 8;
            reinterpret_cast<qel::uint16*>(section.getBytePointer(y))[x] =
                static_cast<qel::uint16>(value + noise);
        }
    }
    return section;
}

/// The same section through three windows.
Image drawWindows() {
    return drawn({1080, 376}, {0, 0, 0, 1}, [](Painter& painter) {
        const qel::SmartPointer<qel::Texture> section = painter.makeTexture(drawSection());
        const qel::IVec2<float> windows[] = {{0, 3200}, {900, 1200}, {970, 1060}};
        for (int i = 0; i < 3; ++i) {
            painter.renderer().drawTextureScaledLookupInternal(
                section.get(), {0, 0, 1, 1}, rectOf(8 + 356 * i, 8, 352, 360), 0, windows[i], nullptr);
        }
    });
}

Image drawOrientations() {
    return drawn({800, 420}, {0.16f, 0.18f, 0.22f, 1}, [](Painter& painter) {
        const qel::SmartPointer<qel::Texture> sunset = painter.makeTexture(drawSunset());
        for (int i = 0; i < 8; ++i) {
            const int left = 10 + i % 4 * 197, top = 10 + i / 4 * 202;
            painter.renderer().drawTextureInternal(sunset.get(), {0.25f, 0.1f, 0.95f, 0.95f},
                                                   rectOf(left, top, 189, 194), i);
        }
    });
}

/// Waves that overlap, computed pixel by pixel.
Image drawWaves() {
    Image image(qel::RGB8, {1600, 360});
    if (!image) return image;
    for (int y = 0; y < image.getHeight(); ++y) {
        qel::uint8* pixel = image.getBytePointer(y);
        for (int x = 0; x < image.getWidth(); ++x, pixel += 3) {
            const float u = float(x) / 90, v = float(y) / 90;
            const float height = std::sin(u) + std::sin(v * 1.3f + 1) + std::sin((u + v) * 0.7f) +
                                 std::sin(std::sqrt(u * u + v * v) * 1.1f);
            const Color color = rainbow(height / 8 + 0.55f);
            const float channels[] = {color.x, color.y, color.z};
            for (int c = 0; c < 3; ++c) pixel[c] = static_cast<qel::uint8>(channels[c] * 255);
        }
    }
    return image;
}

Image drawIcon() {
    return drawn({16, 16}, kClear, [](Painter& painter) {
        painter.fill(ellipse({8, 8}, {7.5f, 7.5f}), {0.20f, 0.55f, 0.90f, 1});
        painter.fill(rectOf(7, 3, 2, 10), {1, 1, 1, 1});
        painter.fill(rectOf(3, 7, 10, 2), {1, 1, 1, 1});
    });
}

Image drawRainbow() {
    return drawn({256, 512}, {0.05f, 0.05f, 0.06f, 1}, [](Painter& painter) {
        for (int i = 0; i < 16; ++i)
            painter.fill(rectOf(16, 16 + i * 30, 224, 28), rainbow(static_cast<float>(i) / 16));
    });
}

/// The section with two marks, each a bit of an overlay.
Image drawOverlay() {
    Image marks(qel::UInt16, {512, 512});
    if (!marks) return marks;
    for (int y = 0; y < 512; ++y) {
        for (int x = 0; x < 512; ++x) {
            const int dx = x - 256, dy = y - 330;
            const bool isInRing = std::abs(dx * dx + dy * dy - 60 * 60) < 900;
            const bool isInBox = x > 200 && x < 312 && y > 86 && y < 218 && (x + y) % 12 < 4;
            const qel::uint16 bits = static_cast<qel::uint16>((isInRing ? 1 : 0) | (isInBox ? 2 : 0));
            std::memcpy(marks.getBytePointer(y) + 2 * x, &bits, sizeof bits);
        }
    }
    Color colors[16] = {};
    colors[0] = {1, 0.35f, 0.25f, 0.8f};
    colors[1] = {0.3f, 0.9f, 0.6f, 0.6f};
    Image paletteImage;
    qel::Renderer::createOverlay16BitPaletteImage(paletteImage, colors);
    return drawn({400, 480}, {0, 0, 0, 1}, [&](Painter& painter) {
        const qel::Rect area = rectOf(-30, -16, 460, 512);
        const auto section = painter.makeTexture(drawSection());
        const auto indices = painter.makeTexture(std::move(marks), qel::Filter::Nearest);
        const auto palette = painter.makeTexture(std::move(paletteImage));
        painter.renderer().drawTextureScaledLookupInternal(section.get(), {0, 0, 1, 1}, area, 0, {900, 1200},
                                                           nullptr);
        painter.renderer().drawTextureWithPalette(indices.get(), {0, 0, 1, 1}, area, 0, palette.get(),
                                                  nullptr);
    });
}

Image drawWord() {
    return drawn({640, 400}, {0.11f, 0.13f, 0.17f, 1}, [](Painter& painter) {
        for (int i = 12; i >= 0; --i) {
            Image word = drawText("qel", 1000);
            const int left = (640 - word.getWidth() * 24) / 2 + 4 * i;
            painter.draw(std::move(word), left, 90 + 3 * i, 24,
                         i == 0 ? Color(1, 1, 1, 1) : rainbow(0.55f + 0.03f * static_cast<float>(i), 0.9f));
        }
    });
}

Image drawCode() {
    return enlarged(qel::QRCodeGenerator::generate("drawn by qelimage", 4), 8);
}

Image drawRays() {
    return tracePicture(true);
}

constexpr SamplePicture kPictures[] = {
    {"sunset.png", &drawSunset},   {"star.png", &drawStar},       {"lines.png", &drawLines},
    {"windows.png", &drawWindows}, {"overlay.png", &drawOverlay}, {"orientations.webp", &drawOrientations},
    {"waves.webp", &drawWaves},    {"icon.png", &drawIcon},       {"word.png", &drawWord},
    {"rainbow.bmp", &drawRainbow}, {"code.png", &drawCode},       {"raytraced.png", &drawRays},
};

} // namespace

std::span<const SamplePicture> samplePictures() {
    return kPictures;
}

} // namespace qelimage
