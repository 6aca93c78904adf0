// Frames of the software renderer, drawn in every way; tests/render/pictures.txt holds their hashes.
#include <tests/render/canvas.h>
#include <tests/support/log_capture.h>
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

/// Returns the texture of a smooth picture with a round hole, in RGBA8.
SmartPointer<Texture> makeBall(Renderer& renderer, int side) {
    std::vector<uint8> bytes;
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x) {
            const int dx = 2 * x + 1 - side, dy = 2 * y + 1 - side;
            const int distance = (dx * dx + dy * dy) * 255 / (side * side);
            bytes.insert(bytes.end(),
                         {static_cast<uint8>(255 * x / side), static_cast<uint8>(255 * y / side),
                          static_cast<uint8>(128), static_cast<uint8>(distance > 255 ? 0 : 255 - distance)});
        }
    return test::makeTexture(renderer, RGBA8, {side, side}, bytes);
}

TEST_F(SoftwarePictures, SpansOfEveryWidth) {
    expectFrames("spans", {70, 140}, [](RendererSoftware& r) {
        drawBackground(r);
        for (int width = 0; width <= 67; ++width)
            for (const float alpha : {1.0f, 0.4f}) {
                r.pushColor({1, 0.7f, 0.1f, alpha});
                const float top = static_cast<float>(2 * width + (alpha < 1));
                r.drawRectInternal({1, top, static_cast<float>(1 + width), top + 1});
                r.popColor();
            }
    });
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

TEST_F(SoftwarePictures, Dashes) {
    expectFrame("dashes", {120, 100}, BGRA8, [](RendererSoftware& r) {
        for (int i = 0; i < 10; ++i) {
            const float y = static_cast<float>(5 + i * 10);
            r.drawAADashedLineInternal({-200, y - 20}, {300, y + 10},
                                       {{static_cast<float>(i + 1), 3}, {static_cast<float>(i) / 2, 2.5f}});
        }
        r.drawAADashedLineInternal({-1e7f, 50}, {1e7f, 50}, {{7, 5}});
    });
}

// --- polygons -------------------------------------------------------------------------------------------

using Points = Vector<IVec2<float>>;

Points spiral(int turns) {
    Points points;
    for (const int side : {1, -1})
        for (int i = side > 0 ? 0 : turns * 16; i >= 0 && i <= turns * 16; i += side) {
            const double angle = i * 0.3926990816987241;
            const double radius = 4 + i * 40.0 / (turns * 16) + (side > 0 ? 3 : 0);
            points.emplace_back(static_cast<float>(std::round((50 + radius * std::cos(angle)) * 64) / 64),
                                static_cast<float>(std::round((50 + radius * std::sin(angle)) * 64) / 64));
        }
    return points;
}

Points comb(int teeth) {
    Points points{{5, 95}, {5, 90}};
    for (int i = 0; i < teeth; ++i) {
        const float x = 5 + 90 * static_cast<float>(i) / static_cast<float>(teeth);
        points.emplace_back(x, 10.0f);
        points.emplace_back(x + 40 / static_cast<float>(teeth), 90.0f);
    }
    points.emplace_back(95.0f, 95.0f);
    return points;
}

TEST_F(SoftwarePictures, Polygons) {
    const std::pair<const char*, Points> outlines[] = {
        {"star", {{50, 5}, {60, 40}, {95, 50}, {60, 60}, {50, 95}, {40, 60}, {5, 50}, {40, 40}}},
        {"bow-tie", {{5, 5}, {95, 95}, {95, 5}, {5, 95}}},
        {"pentagram", {{50, 5}, {78, 90}, {5, 38}, {95, 38}, {22, 90}}},
        {"repeated", {{5, 5}, {5, 5}, {95, 5}, {95, 5}, {95, 95}, {5, 95}, {5, 5}}},
        {"collinear", {{5, 50}, {30, 50}, {95, 50}, {60, 50}}},
        {"spike", {{5, 50}, {50, 50}, {50, 5}, {50, 95}, {50, 50}, {95, 50}, {95, 95}, {5, 95}}},
        {"touching", {{5, 5}, {50, 50}, {95, 5}, {95, 95}, {50, 50}, {5, 95}}},
        {"spiral", spiral(2)},
        {"long-spiral", spiral(6)},
        {"comb", comb(8)},
        {"fine-comb", comb(45)},
        {"outside", {{-1e6f, -1e6f}, {1e6f, 0}, {50, 60}, {0, 1e6f}}},
        {"huge", {{-3e38f, -3e38f}, {3e38f, -3e38f}, {50, 3e38f}}},
        {"points", Points(100, {50, 50})},
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

TEST_F(SoftwarePictures, NarrowTexturesTurned) {
    for (const FormatID format : {BGRA8, RGB8, L8, A8, UInt16})
        expectFrame("narrow-" + std::to_string(format), {88, 84}, BGRA8, [format](RendererSoftware& r) {
            drawBackground(r);
            for (const int width : {1, 2, 3, 4})
                for (const auto filter : {Filter::Nearest, Filter::Bilinear}) {
                    const SmartPointer<Texture> texture = makeNoise(r, format, {width, 20}, 31);
                    texture->setFilter(filter);
                    const auto left = filter == Filter::Nearest ? 2.0f : 45.0f;
                    const auto top = static_cast<float>(20 * width - 18);
                    r.drawTextureInternal(texture.get(), kWhole, {left, top, left + 40, top + 18}, 1);
                }
        });
}

TEST_F(SoftwarePictures, BlitsOfEveryWidth) {
    for (const FormatID format : {BGRA8, RGBA8, RGB8, L8, A8})
        expectFrame("blits-" + std::to_string(format), {70, 140}, BGRA8, [format](RendererSoftware& r) {
            drawBackground(r);
            const SmartPointer<Texture> texture = makeNoise(r, format, {68, 3}, 23);
            for (int width = 0; width <= 67; ++width)
                for (const float alpha : {1.0f, 0.6f}) {
                    const float top = static_cast<float>(2 * width + (alpha < 1));
                    r.pushColor({1, 1, alpha, alpha});
                    r.drawTextureInternal(texture.get(), {0, 0, static_cast<float>(width) / 68, 1.0f / 3},
                                          {1, top, static_cast<float>(1 + width), top + 1}, 0);
                    r.popColor();
                }
        });
}

TEST_F(SoftwarePictures, Windows) {
    for (const FormatID format : {L8, UInt16, RGB8, RGB565})
        expectFrame("window-" + std::to_string(format), {90, 64}, BGRA8, [format](RendererSoftware& r) {
            drawBackground(r);
            const SmartPointer<Texture> texture = makeNoise(r, format, {20, 15}, 77);
            const IVec2<float> window = format == UInt16   ? IVec2<float>(9000, 51000)
                                        : format == RGB565 ? IVec2<float>(5, 50)
                                                           : IVec2<float>(40, 200);
            const SmartPointer<Texture> lookup = r.createGrayscaleRemapTexture({0, 0.1f, 0.3f, 0.6f, 1});
            r.drawTextureScaledLookupInternal(texture.get(), kWhole, {2, 2, 43, 31}, 0, window, nullptr);
            r.drawTextureScaledLookupInternal(texture.get(), kWhole, {46, 2, 87, 31}, 0, window,
                                              lookup.get());
            texture->setFilter(Filter::Nearest);
            r.drawTextureScaledLookupInternal(texture.get(), kWhole, {2, 33, 43, 62}, 3, {window.y, window.x},
                                              nullptr);
            r.drawTextureScaledLookupInternal(texture.get(), kWhole, {46, 33, 87, 62}, 4,
                                              {window.x, window.x}, lookup.get());
        });
}

TEST_F(SoftwarePictures, WindowsOfEveryWidth) {
    for (const FormatID format : {L8, UInt16})
        expectFrame("window-widths-" + std::to_string(format), {69, 68}, BGRA8,
                    [format](RendererSoftware& r) {
                        const SmartPointer<Texture> texture = makeNoise(r, format, {68, 3}, 29);
                        const IVec2<float> window =
                            format == UInt16 ? IVec2<float>(9000, 51000) : IVec2<float>(40, 200);
                        for (int width = 0; width <= 67; ++width)
                            r.drawTextureScaledLookupInternal(
                                texture.get(), {0, 0, static_cast<float>(width) / 68, 1.0f / 3},
                                {1, static_cast<float>(width), static_cast<float>(1 + width),
                                 static_cast<float>(width + 1)},
                                0, window, nullptr);
                    });
}

TEST_F(SoftwarePictures, Palettes) {
    for (const FormatID format : {L8, UInt16, MP_RGB8_O16, MP_UInt16_O16})
        expectFrame("palette-" + std::to_string(format), {90, 64}, BGRA8, [format](RendererSoftware& r) {
            drawBackground(r);
            IVec4<float> colors[16];
            for (int i = 0; i < 16; ++i)
                colors[i] = {static_cast<float>(i % 4) / 3, static_cast<float>(i / 4) / 3, 0.5f, 0.15f};
            Image image;
            Renderer::createOverlay16BitPaletteImage(image, colors);
            const SmartPointer<Texture> palette = r.createTexture();
            palette->upload(image, false);
            const SmartPointer<Texture> texture = makeNoise(r, format, {12, 12}, 99);
            r.drawTextureWithPalette(texture.get(), kWhole, {2, 2, 43, 62}, 0, palette.get(), nullptr);
            r.pushColor({1, 0.5f, 1, 0.6f});
            texture->setFilter(Filter::Nearest);
            r.drawTextureWithPalette(texture.get(), kWhole, {46, 2, 87, 62}, 1, palette.get(), nullptr);
        });
}

TEST_F(SoftwarePictures, ClipsTintsAndStacks) {
    expectFrames("clips", {80, 60}, [](RendererSoftware& r) {
        drawBackground(r);
        const SmartPointer<Texture> ball = makeBall(r, 16);
        for (int i = 0; i < 6; ++i) {
            r.pushClip({i * 4, i * 3, 78 - i * 5, 58 - i * 2});
            r.pushColor({1, 0.9f, 0.8f, 0.8f});
            r.drawRectInternal({-100, -100, 100, 100});
            r.drawTextureInternal(ball.get(), kWhole, {-5, -5, 85, 65}, i);
            r.drawAALineInternal({-10, 0}, {90, 60});
            r.drawTriangleInternal({-20, 70}, {40, -30}, {100, 70});
        }
    });
}

TEST_F(SoftwarePictures, SmallestTargetsAndWidestTextures) {
    expectFrame("one-pixel", {1, 1}, BGRA8, [](RendererSoftware& r) {
        const SmartPointer<Texture> wide = makeNoise(r, L8, {16384, 1}, 3);
        r.drawTextureInternal(wide.get(), kWhole, {-3, -3, 5, 5}, 0);
        r.pushColor({0, 1, 0, 0.5f});
        r.drawAALineInternal({-5, -5}, {5, 5});
    });
    expectFrame("wide-texture", {200, 4}, BGRA8, [](RendererSoftware& r) {
        const SmartPointer<Texture> wide = makeNoise(r, RGBA8, {16384, 1}, 4);
        r.drawTextureInternal(wide.get(), kWhole, {0, 0, 200, 4}, 0);
    });
}

TEST_F(SoftwarePictures, ALargeMixedFrame) {
    expectFrame("mixed", {320, 240}, BGRA8, [](RendererSoftware& r) {
        drawBackground(r);
        const SmartPointer<Texture> ball = makeBall(r, 40);
        const SmartPointer<Texture> grey = makeNoise(r, UInt16, {31, 17}, 8);
        for (int i = 0; i < 300; ++i) {
            const float x = static_cast<float>(i * 71 % 300), y = static_cast<float>(i * 43 % 220);
            r.pushColor(
                {static_cast<float>(i % 7) / 6, static_cast<float>(i % 5) / 4, 0.6f, i % 4 == 0 ? 1 : 0.45f});
            if (i % 5 == 0) r.drawRectInternal({x, y, x + 30, y + 12});
            if (i % 5 == 1) r.drawTextureInternal(ball.get(), kWhole, {x, y, x + 26, y + 31}, i % 8);
            if (i % 5 == 2) r.drawAALineInternal({x, y}, {y, x});
            if (i % 5 == 3) r.drawTriangleInternal({x, y}, {x + 20, y + 5}, {x + 3, y + 25});
            if (i % 5 == 4)
                r.drawTextureScaledLookupInternal(grey.get(), kWhole, {x, y, x + 9, y + 9}, 0, {0, 60000},
                                                  nullptr);
            r.popColor();
        }
    });
}

} // namespace
} // namespace qel
