// Frames of the software renderer, drawn in every way; tests/render/pictures.txt holds their hashes.
#include <tests/render/canvas.h>
#include <tests/support/picture_test.h>
#include <tests/support/system_fixture.h>

#include <cmath>

namespace qel {
namespace {

using test::makeNoise;

constexpr const char* kList = "tests/render/pictures.txt";
constexpr Rect kWhole(0, 0, 1, 1);

constexpr FormatID kTargets[] = {BGRA8, L8, L16};

/// The frames are drawn by several threads, so they need a System.
class SoftwarePictures : public test::SystemFixture {
protected:
    static void expectFrame(const std::string& name, const IVec2<int>& size, FormatID target,
                            const std::function<void(RendererSoftware&)>& draw) {
        test::expectPicture(kList, {name, size, target, draw});
    }
    /// Draws on all kinds of targets.
    static void expectFrames(const std::string& name, const IVec2<int>& size,
                             const std::function<void(RendererSoftware&)>& draw) {
        for (const FormatID target : kTargets)
            expectFrame(name + "-" + std::to_string(target), size, target, draw);
    }
};

/// Fills the target with a pattern that shows what is drawn on it.
void drawBackground(RendererSoftware& r) {
    const IVec2<int> size = r.getRenderTargetSize();
    r.clear({0.1f, 0.2f, 0.3f, 1});
    for (int i = 0; i < size.x; i += 8) {
        r.pushColor({0.9f, static_cast<float>(i % 32) / 32, 0.5f, 1});
        r.drawRectInternal({static_cast<float>(i), 0, static_cast<float>(i + 4), static_cast<float>(size.y)});
        r.popColor();
    }
}

/// Returns the texture of a letter F, which looks different in every orientation: red, with a green foot.
SmartPointer<Texture> makeLetter(Renderer& renderer) {
    const char* const rows[] = {".......", ".#####.", ".#.....", ".####..", ".#.....", ".+.....", "......."};
    std::vector<uint8> bytes;
    for (const char* const row : rows)
        for (const char* c = row; *c != '\0'; ++c) {
            const uint8 ink = *c == '.' ? 30 : 230;
            const uint8 red = *c == '+' ? 30 : ink, green = *c == '+' ? 230 : 30;
            bytes.insert(bytes.end(), {red, green, 30});
        }
    return test::makeTexture(renderer, RGB8, {7, 7}, bytes);
}

TEST_F(SoftwarePictures, EveryAlphaOnEveryGrey) {
    expectFrames("alphas", {256, 256}, [](RendererSoftware& r) {
        for (int x = 0; x < 256; ++x) {
            const float grey = static_cast<float>(x) / 255;
            r.pushColor({grey, grey, 1 - grey, 1});
            r.drawRectInternal({static_cast<float>(x), 0, static_cast<float>(x + 1), 256});
            r.popColor();
        }
        for (int y = 0; y < 256; ++y) {
            r.pushColor({0.8f, 0.35f, 0.1f, static_cast<float>(y) / 255});
            r.drawRectInternal({0, static_cast<float>(y), 256, static_cast<float>(y + 1)});
            r.popColor();
        }
    });
}

TEST_F(SoftwarePictures, Lines) {
    expectFrames("lines", {120, 120}, [](RendererSoftware& r) {
        drawBackground(r);
        for (int i = 0; i < 48; ++i) {
            const float angle = static_cast<float>(i) * 0.1309f;
            r.pushColor({1, 1, static_cast<float>(i) / 48, 1});
            r.drawAALineInternal(
                {60, 60}, {60 + std::round(55 * std::cos(angle)), 60 + std::round(55 * std::sin(angle))});
            r.popColor();
        }
        r.drawAALineInternal({-1e9f, 30}, {1e9f, 90});
        r.drawAALineInternal({30, -1e9f}, {90, 1e9f});
        r.drawAALineInternal({5, 5}, {5, 5});
    });
}

// --- polygons -------------------------------------------------------------------------------------------

TEST_F(SoftwarePictures, Polygons) {
    const std::pair<const char*, Vector<IVec2<float>>> outlines[] = {
        {"star", {{50, 5}, {60, 40}, {95, 50}, {60, 60}, {50, 95}, {40, 60}, {5, 50}, {40, 40}}},
        {"bow-tie", {{5, 5}, {95, 95}, {95, 5}, {5, 95}}},
        {"pentagram", {{50, 5}, {78, 90}, {5, 38}, {95, 38}, {22, 90}}},
        {"spike", {{5, 50}, {50, 50}, {50, 5}, {50, 95}, {50, 50}, {95, 50}, {95, 95}, {5, 95}}},
        {"touching", {{5, 5}, {50, 50}, {95, 5}, {95, 95}, {50, 50}, {5, 95}}},
        {"huge", {{-3e38f, -3e38f}, {3e38f, -3e38f}, {50, 3e38f}}},
    };
    for (const auto& [name, points] : outlines)
        expectFrame(std::string("polygon-") + name, {100, 100}, BGRA8,
                    [&points = points](RendererSoftware& r) {
                        r.clear({0, 0, 0, 1});
                        r.pushColor({0.2f, 0.9f, 0.4f, 0.75f});
                        r.drawFilledPolygonInternal(static_cast<int>(points.size()), points.data());
                    });
}

// --- textures -------------------------------------------------------------------------------------------

TEST_F(SoftwarePictures, TextureFormatsBilinearAndNearest) {
    const FormatID formats[] = {A8,   UInt8, UInt16, X16,    UInt8x2, LA8,         RGB8,
                                BGR8, RGBA8, BGRA8,  RGB565, RGBA4,   MP_RGB8_O16, Y1U2V2};
    for (const FormatID format : formats)
        expectFrame("format-" + std::to_string(format), {90, 64}, BGRA8, [format](RendererSoftware& r) {
            drawBackground(r);
            const SmartPointer<Texture> texture = makeNoise(r, format, {14, 10}, static_cast<uint32>(format));
            r.drawTextureInternal(texture.get(), kWhole, {2, 2, 43, 31}, 0);
            texture->setFilter(Filter::Nearest);
            r.drawTextureInternal(texture.get(), kWhole, {46, 2, 87, 31}, 0);
            r.pushColor({1, 0.8f, 0.6f, 0.5f});
            r.drawTextureInternal(texture.get(), {0.1f, 0.2f, 0.8f, 0.9f}, {46, 33, 87, 62}, 0);
            texture->setFilter(Filter::Bilinear);
            r.drawTextureInternal(texture.get(), {0.1f, 0.2f, 0.8f, 0.9f}, {2, 33, 43, 62}, 0);
        });
}

TEST_F(SoftwarePictures, Orientations) {
    for (int orientation = 0; orientation < 8; ++orientation)
        expectFrame(
            "orientation-" + std::to_string(orientation), {96, 80}, BGRA8,
            [orientation](RendererSoftware& r) {
                drawBackground(r);
                const SmartPointer<Texture> letter = makeLetter(r);
                const SmartPointer<Texture> noise = makeNoise(r, RGB8, {9, 5}, 11);
                const bool isTurned = orientation % 2 != 0;
                r.drawTextureInternal(letter.get(), kWhole, {2, 2, 37, 37}, orientation);
                r.drawTextureInternal(letter.get(), kWhole, {40, 2, 47, 9}, orientation);
                r.drawTextureInternal(noise.get(), kWhole,
                                      isTurned ? Rect(40, 12, 45, 21) : Rect(40, 12, 49, 17), orientation);
                letter->setFilter(Filter::Nearest);
                r.pushClip({55, 4, 90, 70});
                r.drawTextureInternal(letter.get(), kWhole, {51.5f, -1, 93, 37}, orientation);
                r.drawTextureInternal(letter.get(), {0.9f, 0.8f, 0.1f, 0.1f}, {44, 42, 95, 78}, orientation);
                r.popClip();
                letter->setFilter(Filter::Bilinear);
                r.drawTextureInternal(letter.get(), {0.2f, 0, 0.9f, 0.8f}, {2, 42, 50, 78}, orientation);
            });
}

} // namespace
} // namespace qel
