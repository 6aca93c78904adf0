#include <tests/render/canvas.h>
#include <tests/support/log_capture.h>

#include <qel/foundation/base/weak_pointer.h>
#include <qel/render/texture_software.h>
#include <qel/testing/drawing.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

namespace qel {
namespace {

using test::Canvas;
using test::makeNoise;
using test::makeTexture;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

TEST(RendererSoftware, FormatsThatCannotBeDrawnOnAreRefused) {
    RendererSoftware renderer;
    const SmartPointer<Image> image = makeObject<Image>(RGB8, IVec2<int>(4, 4));
    test::LogCapture log;
    renderer.setRenderTarget(image.get());
    log.expect(3, "unsupported rendertarget format for softwarerendering, image->getImageFormat()=203");
    EXPECT_EQ(renderer.getRenderTarget(), nullptr);
}

TEST(RendererSoftware, ASolidRectangleStoresTheTint) {
    Canvas canvas({6, 4});
    canvas.renderer.pushColor({1, 0.5f, 0, 1});
    canvas.renderer.drawRectInternal({0.5f, 1.4f, 3.49f, 2.5f});
    EXPECT_EQ(canvas.shape(), "....../.##.../.##.../....../");
    EXPECT_EQ(canvas.pixel(1, 1), 0xFFFF8000u);
    canvas.renderer.popColor();
    canvas.renderer.pushColor({7, -2, kNan, 1});
    canvas.renderer.drawRectInternal({0, 0, 1, 1});
    EXPECT_EQ(canvas.pixel(0, 0), 0xFFFF0000u) << "colours outside the unit are clamped";
}

TEST(RendererSoftware, TheClipNeverReachesOutsideTheTarget) {
    Canvas canvas({8, 8});
    const SmartPointer<Image> small = makeObject<Image>(BGRA8, IVec2<int>(3, 2));
    std::memset(small->getBytePointer(), 0, small->getByteSize());
    canvas.renderer.setRenderTarget(small.get());
    EXPECT_EQ(canvas.renderer.getClip(), IVec4<int>(0, 0, 8, 8)) << "the clip is that of the frame";
    canvas.renderer.drawRectInternal({-5, -5, 50, 50});
    canvas.renderer.drawAALineInternal({-5, 1}, {50, 1});
    canvas.renderer.drawTriangleInternal({-50, -50}, {50, -50}, {0, 50});
    canvas.renderer.stop();
    EXPECT_EQ(small->getBytePointer(1)[11], 255);
}

TEST(RendererSoftware, ADrawingBeforeTheTargetChangesIsDrawnOnTheOldOne) {
    Canvas canvas({2, 2});
    canvas.renderer.drawRectInternal({0, 0, 1, 1});
    canvas.renderer.setRenderTarget(nullptr);
    EXPECT_EQ(canvas.image->getBytePointer()[0], 255);
    {
        RendererSoftware other;
        other.setRenderTarget(canvas.image.get());
        other.start();
        other.drawRectInternal({1, 1, 2, 2});
    }
    EXPECT_EQ(canvas.image->getBytePointer(1)[4], 255) << "the destructor draws what was recorded";
}

TEST(RendererSoftware, TheTargetMayBeSetAgain) {
    RendererSoftware renderer;
    renderer.setRenderTarget(new Image(BGRA8, {3, 2})); // held by the renderer alone
    renderer.setRenderTarget(renderer.getRenderTarget());
    EXPECT_EQ(renderer.getRenderTargetSize(), IVec2<int>(3, 2));
}

TEST(RendererSoftware, AStartForgetsDrawingOnATargetThatHasChanged) {
    Canvas canvas({100, 100});
    canvas.renderer.drawRectInternal({0, 0, 100, 100});
    canvas.image->free();
    canvas.image->initialize(BGRA8, {2, 2});
    std::memset(canvas.image->getBytePointer(), 0, canvas.image->getByteSize());
    canvas.renderer.start();
    EXPECT_EQ(canvas.shape(), "../../");
}

TEST(RendererSoftware, ATargetMayBeInitialisedAgainBetweenFrames) {
    Canvas canvas({3, 2});
    canvas.renderer.stop();
    canvas.image->initialize(BGRA8, {4, 5});
    EXPECT_EQ(canvas.renderer.getRenderTargetSize(), IVec2<int>(4, 5));
    canvas.renderer.clear({0, 0, 1, 1});
    EXPECT_EQ(canvas.pixel(3, 4), 0xFF0000FFu);
}

TEST(RendererSoftware, ADownloadShowsTheFrameSoFar) {
    Canvas canvas({2, 1});
    canvas.renderer.drawRectInternal({0, 0, 1, 1});
    Image copy;
    EXPECT_TRUE(canvas.renderer.downloadFramebuffer(copy));
    EXPECT_EQ(copy.getBytePointer()[0], 255);
    canvas.renderer.drawRectInternal({1, 0, 2, 1});
    EXPECT_EQ(copy.getBytePointer()[4], 0);
    EXPECT_EQ(canvas.pixel(1, 0), 0xFFFFFFFFu) << "the frame goes on";
    EXPECT_TRUE(canvas.renderer.downloadFramebuffer(*canvas.image)) << "into the target itself";
    EXPECT_EQ(canvas.image->getBytePointer()[0], 255);
}

TEST(RendererSoftware, RowsThatShareBytesAreDrawnInTheirOrder) {
    std::vector<std::vector<uint8>> frames;
    for (const seams::DrawingMode mode : {seams::DrawingMode::Plain, seams::DrawingMode::Inline}) {
        std::vector<uint8> memory(80, 7);
        const SmartPointer<Image> image = makeObject<Image>();
        image->initializeFromExtern(BGRA8, {8, 12}, {{memory.data(), memory.size()}}, {4}, {});
        ASSERT_TRUE(image->isInitialized());
        seams::setDrawingMode(mode);
        RendererSoftware renderer;
        renderer.setRenderTarget(image.get());
        renderer.start();
        renderer.drawAALineInternal({1, 0}, {6, 11});
        renderer.stop();
        seams::setDrawingMode(seams::DrawingMode::Default);
        frames.push_back(memory);
    }
    EXPECT_EQ(frames[0], frames[1]);
}

TEST(RendererSoftware, TargetsInForeignMemoryMayBeUpsideDown) {
    std::vector<uint8> memory(13 * 3, 7);
    const SmartPointer<Image> image = makeObject<Image>();
    image->initializeFromExtern(BGRA8, {3, 3}, {{memory.data() + 26, 13}}, {-13}, {});
    ASSERT_TRUE(image->isInitialized());
    RendererSoftware renderer;
    renderer.setRenderTarget(image.get());
    renderer.start();
    renderer.pushClip({0, 0, 3, 1});
    renderer.drawRectInternal({0, 0, 9, 9});
    renderer.stop();
    for (size_t i = 0; i < memory.size(); ++i) EXPECT_EQ(memory[i], i >= 26 && i < 38 ? 255 : 7) << i;
    Image copy;
    EXPECT_TRUE(renderer.downloadFramebuffer(copy));
    EXPECT_FALSE(copy.isExternal()) << "a download is a deep copy";
    EXPECT_EQ(copy.getBytePointer()[0], 255);
    EXPECT_EQ(copy.getBytePointer(1)[0], 7);
}

// --- shapes ---------------------------------------------------------------------------------------------

TEST(RendererSoftware, ATriangleCoversTheCentresInsideAndOnItsEdges) {
    Canvas canvas({5, 5});
    canvas.renderer.drawTriangleInternal({0, 0}, {4, 0}, {0, 4});
    EXPECT_EQ(canvas.shape(), "####./###../##.../#..../...../");
    Canvas turned({5, 5});
    turned.renderer.drawTriangleInternal({0, 4}, {4, 0}, {0, 0});
    EXPECT_EQ(turned.shape(), canvas.shape()) << "the winding does not matter";
}

TEST(RendererSoftware, NeighbouringTrianglesLeaveNoGap) {
    Canvas canvas({20, 20});
    canvas.renderer.drawTriangleInternal({0, 0}, {20, 0}, {7.3f, 11.7f});
    canvas.renderer.drawTriangleInternal({20, 0}, {20, 20}, {7.3f, 11.7f});
    canvas.renderer.drawTriangleInternal({20, 20}, {0, 20}, {7.3f, 11.7f});
    canvas.renderer.drawTriangleInternal({0, 20}, {0, 0}, {7.3f, 11.7f});
    EXPECT_EQ(canvas.shape().find('.'), std::string::npos);
}

TEST(RendererSoftware, ALineHasHalfTheCoverageAtItsEnds) {
    Canvas canvas({6, 4});
    canvas.renderer.drawAALineInternal({1.9f, 1.2f}, {4.1f, 1.9f});
    EXPECT_EQ(canvas.shape(), "....../.####./.####./....../");
    EXPECT_EQ(canvas.pixel(1, 1), 0xFF808080u);
    EXPECT_EQ(canvas.pixel(2, 2), 0xFF000000u) << "pixels without coverage take the tint's alpha too";
    canvas.renderer.pushColor({1, 1, 1, 0.5f});
    canvas.renderer.drawAALineInternal({0, 0}, {3, 0});
    EXPECT_EQ(canvas.pixel(1, 0), 0x80FFFFFFu) << "the tint's alpha does not weight a line";
}

TEST(RendererSoftware, HostileCoordinatesAreClippedOrDropped) {
    Canvas canvas({4, 4});
    RendererSoftware& r = canvas.renderer;
    for (const float bad : {kNan, kInfinity, -kInfinity}) {
        r.drawRectInternal({bad, 0, 4, 4});
        r.drawRectInternal({0, 0, 4, bad});
        r.drawAALineInternal({0, 0}, {bad, 4});
        r.drawAALineInternal({0, bad}, {4, 4});
    }
    r.drawRectInternal({3, 3, 1, 1});
    r.drawRectInternal({1e9f, 1e9f, 2e9f, 2e9f});
    EXPECT_EQ(canvas.shape(), "..../..../..../..../");
    r.drawRectInternal({-3e38f, 1, 3e38f, 2});
    r.drawAALineInternal({-1e9f, -1e9f}, {1e9f, 1e9f});
    EXPECT_EQ(canvas.shape(), "#.../####/.##./..##/");
    r.drawRectInternal({-1e9f, -1e9f, 1e9f, 1e9f});
    r.drawTriangleInternal({-3e38f, -3e38f}, {3e38f, -3e38f}, {0, 3e38f});
    EXPECT_EQ(canvas.shape(), "####/####/####/####/");
}

// --- textures -------------------------------------------------------------------------------------------

constexpr Rect kWhole(0, 0, 1, 1);

TEST(RendererSoftware, AnExactDrawWithABilinearFilterIsACopy) {
    Canvas canvas({67, 31});
    auto expected = test::noise(67 * 31 * 4, 5);
    for (size_t i = 3; i < expected.size(); i += 4) expected[i] = 255;
    const SmartPointer<Texture> opaque = makeTexture(canvas.renderer, BGRA8, {67, 31}, expected);
    canvas.renderer.drawTextureInternal(opaque.get(), kWhole, {0, 0, 67, 31}, 0);
    EXPECT_EQ(canvas.bytes(), expected);
}

TEST(RendererSoftware, BilinearSamplesMixNeighboursAndRepeatTheEdge) {
    Canvas canvas({8, 1}, L8);
    const SmartPointer<Texture> texture = makeTexture(canvas.renderer, L8, {2, 1}, {0, 200});
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 8, 1}, 0);
    EXPECT_EQ(canvas.bytes(), (std::vector<uint8>{0, 0, 25, 75, 125, 175, 200, 200}));
    texture->setFilter(Filter::Nearest);
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 8, 1}, 0);
    EXPECT_EQ(canvas.bytes(), (std::vector<uint8>{0, 0, 0, 0, 200, 200, 200, 200}));
}

TEST(RendererSoftware, TexturesWithoutPixelsDrawNothing) {
    Canvas canvas({2, 2});
    const SmartPointer<Texture> texture = canvas.renderer.createTexture();
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 2, 2}, 0);
    texture->declareExtern(L8, {2, 2});
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 2, 2}, 0);
    texture->upload(Image(L8, {0, 5}), false);
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 2, 2}, 0);
    canvas.renderer.drawTextureInternal(nullptr, kWhole, {0, 0, 2, 2}, 0);
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {kNan, 0, 2, 2}, 0);
    texture->upload(Image(L8, {1, 1}), false);
    for (const int orientation : {-1, 8, 1 << 30})
        canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 2, 2}, orientation);
    EXPECT_EQ(canvas.shape(), "../../");
}

TEST(RendererSoftware, AnUploadInTheFrameDoesNotChangeEarlierDraws) {
    Canvas canvas({2, 1}, L8);
    SmartPointer<Texture> texture = makeTexture(canvas.renderer, L8, {1, 1}, {10});
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 1, 1}, 0);
    texture->upload(Image(L8, {1, 1}), false);
    texture = makeTexture(canvas.renderer, L8, {1, 1}, {20});
    canvas.renderer.drawTextureInternal(texture.get(), kWhole, {1, 0, 2, 1}, 0);
    texture.reset();
    EXPECT_EQ(canvas.bytes(), (std::vector<uint8>{10, 20}));
}

TEST(RendererSoftware, AFrameKeepsFewReplacedPixels) {
    Canvas canvas({1, 1});
    const SmartPointer<Texture> texture = canvas.renderer.createTexture();
    const auto* const own = static_cast<TextureSoftware*>(texture.get());
    std::vector<WeakPointer<Image>> uploaded(3);
    for (WeakPointer<Image>& pixels : uploaded) { // 128 MiB each, of which one is read
        texture->upload(Image(A8, {16384, 8192}), false);
        pixels = own->getSharedImage().get();
        canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 1, 1}, 0);
    }
    EXPECT_EQ(uploaded[0].get(), nullptr);
    EXPECT_EQ(uploaded[1].get(), nullptr);
    EXPECT_NE(uploaded[2].get(), nullptr);
}

TEST(RendererSoftware, ATextureOfAForeignImageIsADeepCopy) {
    for (const bool moves : {false, true}) {
        Canvas canvas({2, 2}, L8);
        std::vector<uint8> memory{1, 2, 0, 3, 4};
        const SmartPointer<Texture> texture = canvas.renderer.createTexture();
        Image external;
        external.initializeFromExtern(L8, {2, 2}, {{memory.data(), memory.size()}}, {3}, {});
        moves ? texture->upload(std::move(external), false) : texture->upload(external, false);
        memory.assign(5, 99);
        canvas.renderer.drawTextureInternal(texture.get(), kWhole, {0, 0, 2, 2}, 0);
        EXPECT_EQ(canvas.bytes(), (std::vector<uint8>{1, 2, 3, 4})) << moves;
    }
}

TEST(RendererSoftware, ExtremeSourceRectanglesStayInsideTheTexture) {
    Canvas canvas({16, 16});
    const SmartPointer<Texture> texture = makeNoise(canvas.renderer, RGB8, {3, 5}, 2);
    for (const Rect& source : {Rect(-1e30f, 0, 1e30f, 1), Rect(0, 3e38f, 1, -3e38f), Rect(5, 5, 6, 6),
                               Rect(1, 1, 0, 0), Rect(0.5f, 0.5f, 0.5f, 0.5f)})
        for (int orientation = 0; orientation < 8; ++orientation)
            canvas.renderer.drawTextureInternal(texture.get(), source, {-1e9f, -20, 1e9f, 40}, orientation);
    EXPECT_EQ(canvas.shape().find('.'), std::string::npos);
}

// --- windows and palettes -------------------------------------------------------------------------------

TEST(RendererSoftware, AWindowScalesRawValues) {
    Canvas canvas({4, 1}, L8);
    const SmartPointer<Texture> texture =
        makeTexture(canvas.renderer, UInt16, {4, 1}, {0, 0, 100, 0, 164, 0, 0xFF, 0xFF});
    canvas.renderer.drawTextureScaledLookupInternal(texture.get(), kWhole, {0, 0, 4, 1}, 0, {100, 228},
                                                    nullptr);
    EXPECT_EQ(canvas.bytes(), (std::vector<uint8>{0, 0, 128, 255}));
    canvas.renderer.drawTextureScaledLookupInternal(texture.get(), kWhole, {0, 0, 4, 1}, 0, {150, 150},
                                                    nullptr);
    EXPECT_EQ(canvas.bytes(), (std::vector<uint8>{0, 0, 255, 255})) << "a window without width is a step";
    Canvas colored({1, 1});
    const SmartPointer<Texture> pixel = makeTexture(colored.renderer, RGBA8, {1, 1}, {255, 0, 255, 7});
    colored.renderer.pushColor({0, 0, 0, 0.5f});
    colored.renderer.drawTextureScaledLookupInternal(pixel.get(), kWhole, {0, 0, 1, 1}, 0, {0, 255}, nullptr);
    EXPECT_EQ(colored.pixel(0, 0), 0xFFFF00FFu) << "tint and alpha are ignored";
}

TEST(RendererSoftware, ALookupAlternatesItsTwoRowsLikeAChessboard) {
    Canvas canvas({4, 2}, L8);
    const SmartPointer<Texture> lookup = canvas.renderer.createGrayscaleRemapTexture({0, 0.5f, 1});
    const SmartPointer<Texture> texture = makeTexture(canvas.renderer, L8, {1, 1}, {50});
    canvas.renderer.pushClip({1, 0, 4, 2});
    canvas.renderer.drawTextureScaledLookupInternal(texture.get(), kWhole, {0, 0, 4, 2}, 0, {0, 100},
                                                    lookup.get());
    EXPECT_EQ(canvas.bytes(), (std::vector<uint8>{0, 127, 128, 127, 0, 128, 127, 128}));
}

TEST(RendererSoftware, ALookupMustHaveTwoRowsOfGrey) {
    Canvas canvas({1, 1});
    const SmartPointer<Texture> texture = makeTexture(canvas.renderer, L8, {1, 1}, {255});
    const SmartPointer<Texture> invalid[] = {
        makeTexture(canvas.renderer, L8, {2, 1}, {1, 2}), makeTexture(canvas.renderer, UInt8, {1, 2}, {1, 2}),
        canvas.renderer.createGrayscaleRemapTexture({}), canvas.renderer.createTexture()};
    test::LogCapture log;
    for (const SmartPointer<Texture>& lookup : invalid) {
        canvas.renderer.drawTextureScaledLookupInternal(texture.get(), kWhole, {0, 0, 1, 1}, 0, {0, 1},
                                                        lookup.get());
        log.expect(3, "invalid lookuptable");
    }
    EXPECT_EQ(canvas.shape(), "./");
}

TEST(RendererSoftware, APaletteColorsTheFrameAndKeepsItsAlpha) {
    Canvas canvas({4, 1});
    canvas.renderer.clear({0, 1, 0, 1});
    const SmartPointer<Texture> palette =
        makeTexture(canvas.renderer, RGBA8, {3, 1}, {9, 9, 9, 0, 255, 0, 0, 128, 0, 0, 255, 255});
    const SmartPointer<Texture> texture =
        makeTexture(canvas.renderer, UInt16, {4, 1}, {0, 0, 1, 0, 2, 0, 3, 0});
    canvas.renderer.drawTextureWithPalette(texture.get(), kWhole, {0, 0, 4, 1}, 0, palette.get(), nullptr);
    EXPECT_EQ(canvas.pixel(0, 0), 0xFF00FF00u);
    EXPECT_EQ(canvas.pixel(3, 0), 0xFF00FF00u) << "past the end of the palette";
    EXPECT_EQ(canvas.pixel(1, 0), 0xFF807F00u);
    EXPECT_EQ(canvas.pixel(2, 0), 0xFF0000FFu);
}

TEST(RendererSoftware, PalettesAndIndicesOfOtherFormatsAreReported) {
    Canvas canvas({1, 1});
    const SmartPointer<Texture> indices = makeTexture(canvas.renderer, L8, {1, 1}, {0});
    const SmartPointer<Texture> small = makeNoise(canvas.renderer, L8, {16, 8}, 1);
    test::LogCapture log;
    canvas.renderer.drawTextureWithPalette(indices.get(), kWhole, {0, 0, 1, 1}, 0, small.get(), nullptr);
    log.expect(3, "palette format or size not supported for software overlay, format=201, size=16x8");
    canvas.renderer.drawTextureWithPalette(indices.get(), kWhole, {0, 0, 1, 1}, 0, nullptr, nullptr);
    log.expect(3, "palette format or size not supported for software overlay, format=0, size=0x0");
}

TEST(RendererSoftware, AnInnerRendererUsesTheStacksOfTheOuterOne) {
    Canvas outer({4, 4});
    RendererSoftware inner(&outer.renderer);
    const SmartPointer<Image> image = makeObject<Image>(BGRA8, IVec2<int>(4, 4));
    std::memset(image->getBytePointer(), 0, image->getByteSize());
    inner.setRenderTarget(image.get());
    outer.renderer.pushClip({1, 1, 2, 2});
    outer.renderer.pushColor({1, 0, 0, 1});
    inner.drawRectInternal({0, 0, 4, 4});
    EXPECT_EQ(image->getBytePointer(1)[6], 255);
    EXPECT_EQ(image->getBytePointer(1)[4], 0);
    EXPECT_EQ(image->getBytePointer(0)[2], 0);
    EXPECT_EQ(inner.createTexture()->getRenderer(), &outer.renderer);
}

} // namespace
} // namespace qel
