#include <tests/support/idle_renderer_3d.h>
#include <tests/support/log_capture.h>
#include <tests/support/system_fixture.h>

#include <qel/imaging/pixels/image.h>
#include <qel/render/alpha_composite.h>
#include <qel/render/render_timer.h>
#include <qel/system/core/application.h>

#include <cmath>
#include <memory>
#include <string>

namespace qel {
namespace {

using Line = std::pair<IVec2<float>, IVec2<float>>;

/// Notes what the front end asks of a back end.
class NotingRenderer : public test::IdleRenderer3D {
public:
    void startInternal() override { calls += "start "; }
    void stopInternal() override { calls += "stop "; }
    void flushInternal() override { calls += "flush "; }
    void clearInternal(const IVec4<float>&) override { calls += "clear "; }
    void setViewportInternal(const IVec4<int>& rect) override { viewport = rect; }
    void drawAALineInternal(const IVec2<float>& from, const IVec2<float>& to) override {
        lines.emplace_back(from, to);
    }
    void drawTriangleInternal(const IVec2<float>&, const IVec2<float>&, const IVec2<float>&) override {
        ++triangles;
    }
    IVec2<int> getMaximumTextureSize() override { return {1, 1}; }

    std::string calls;
    IVec4<int> viewport{-1, -1, -1, -1};
    Vector<Line> lines;
    int triangles = 0;
};

class RendererTest : public test::SystemFixture {
protected:
    NotingRenderer renderer;
};

TEST_F(RendererTest, AFrameStartsWithTheWholeTargetAsClip) {
    EXPECT_EQ(renderer.getClip(), IVec4<int>());
    EXPECT_FALSE(renderer.isAllClipped());
    renderer.start();
    EXPECT_EQ(renderer.getClip(), IVec4<int>(0, 0, 100, 50));
    EXPECT_EQ(renderer.viewport, IVec4<int>(0, 0, 100, 50));
    renderer.pushClip({10, 10, 20, 20});
    renderer.flush();
    renderer.clear({});
    renderer.stop();
    EXPECT_EQ(renderer.calls, "start flush clear stop ");
}

TEST_F(RendererTest, AClipOutsideTheOneBelowClipsEverything) {
    renderer.start();
    renderer.pushClip({10, 10, 20, 20});
    renderer.pushClip({30, 5, 40, 15});
    EXPECT_EQ(renderer.getClip(), IVec4<int>(30, 10, 20, 15)) << "the intersection is inverted";
    EXPECT_TRUE(renderer.isAllClipped());
    EXPECT_EQ(renderer.viewport, IVec4<int>());
    renderer.popClip();
    EXPECT_FALSE(renderer.isAllClipped());
    EXPECT_EQ(renderer.viewport, IVec4<int>(10, 10, 20, 20));
}

TEST_F(RendererTest, ColorsMultiply) {
    renderer.pushColor({1, 1, 1, 0.5f});
    renderer.pushColor({1, 0.5f, 1, 0.5f});
    EXPECT_EQ(renderer.getColor(), IVec4<float>(1, 0.5f, 1, 0.25f));
    renderer.replaceColor({0.5f, 1, 1, 1});
    EXPECT_EQ(renderer.getColor(), IVec4<float>(0.5f, 1, 1, 0.5f))
        << "replaces the product with the one below";
    renderer.popColor();
    renderer.popColor();
    renderer.replaceColor({0, 0, 0, 1});
    EXPECT_EQ(renderer.getColor(), IVec4<float>(0, 0, 0, 1)) << "nothing is below the first colour";
}

TEST_F(RendererTest, StacksMayBeAThousandDeep) {
    renderer.start();
    for (int i = 0; i < 1000; ++i) {
        renderer.pushClip({i / 100, 0, 100, 50});
        renderer.pushColor({1, 1, 1, 1});
    }
    EXPECT_EQ(renderer.getClip(), IVec4<int>(9, 0, 100, 50));
    for (int i = 0; i < 2000; ++i) {
        renderer.popClip();
        renderer.popColor();
    }
    EXPECT_EQ(renderer.getClip(), IVec4<int>(0, 0, 100, 50)) << "the first entry of each stack stays";
    EXPECT_EQ(renderer.getColor(), IVec4<float>(1, 1, 1, 1));
}

TEST_F(RendererTest, ADashIsCutAtTheEndOfTheLine) {
    renderer.start();
    renderer.drawAADashedLineInternal({0, 0}, {12, 0}, {{10, 5}});
    EXPECT_EQ(renderer.lines, (Vector<Line>{{{0, 0}, {10, 0}}}));
    renderer.lines.clear();
    renderer.drawAADashedLineInternal({0, 0}, {0, 10}, {{4, 2}, {1, 1}});
    EXPECT_EQ(renderer.lines, (Vector<Line>{{{0, 0}, {0, 4}}, {{0, 6}, {0, 7}}, {{0, 8}, {0, 10}}}));
}

TEST_F(RendererTest, APatternThatDoesNotAdvanceDrawsNothing) {
    renderer.start();
    const Vector<Vector<IVec2<float>>> patterns{{}, {{0, 0}}, {{-5, 2}, {NAN, -2}}, {{0, 0}, {INFINITY, 0}}};
    test::LogCapture log;
    for (size_t i = 0; i < patterns.size(); ++i) {
        renderer.drawAADashedLineInternal({0, 0}, {50, 0}, patterns[i]);
        if (i != 2) log.expect(2, "Cannot draw dashed line without dashes specified");
    }
    EXPECT_EQ(renderer.lines.size(), 49u) << "the third pattern advances by gaps of 2 pixels";
}

TEST_F(RendererTest, DashesOfLongLinesAreDrawnInsideTheClipOnly) {
    renderer.start();
    renderer.drawAADashedLineInternal({-1e7f, 20}, {1e7f, 20}, {{10, 10}});
    EXPECT_GT(renderer.lines.size(), 3u);
    EXPECT_LT(renderer.lines.size(), 40u);
    renderer.lines.clear();
    renderer.drawAADashedLineInternal({-1e7f, 70}, {1e7f, 70}, {{10, 10}});
    EXPECT_EQ(renderer.lines.size(), 0u);
    renderer.drawAADashedLineInternal({0, 0}, {INFINITY, NAN}, {{10, 10}});
    EXPECT_EQ(renderer.lines.size(), 0u);
}

TEST_F(RendererTest, TheDashesOfALineHaveABound) {
    renderer.start();
    renderer.drawAADashedLineInternal({0, 0}, {50, 0}, {{1e-5f, 1e-5f}, {2e-5f, 0}});
    EXPECT_GT(renderer.lines.size(), 60'000u);
    EXPECT_LE(renderer.lines.size(), 65'536u + 2);
}

TEST_F(RendererTest, APolygonThatIsNoneDrawsNothing) {
    const IVec2<float> points[] = {{0, 0}, {10, 0}, {NAN, 10}};
    renderer.drawFilledPolygonInternal(3, points);
    renderer.drawFilledPolygonInternal(2, points);
    renderer.drawFilledPolygonInternal(-1, points);
    renderer.drawFilledPolygonInternal(3, nullptr);
    renderer.pushColor({1, 1, 1, 0.001f});
    const IVec2<float> triangle[] = {{0, 0}, {10, 0}, {0, 10}};
    renderer.drawFilledPolygonInternal(3, triangle);
    EXPECT_EQ(renderer.triangles, 0);
}

TEST_F(RendererTest, ADestroyedRendererIsForgotten) {
    Application* const application = system().getApplication();
    auto dying = std::make_unique<NotingRenderer>();
    const SmartPointer<Mesh> mesh = dying->createMesh();
    const SmartPointer<Texture> texture = dying->createTexture();
    application->setRenderer(dying.get());
    EXPECT_EQ(application->getRenderer(), dying.get());
    EXPECT_EQ(mesh->getRenderer(), dying.get());
    dying.reset();
    EXPECT_EQ(application->getRenderer(), nullptr);
    EXPECT_EQ(mesh->getRenderer(), nullptr);
    EXPECT_EQ(texture->getRenderer(), nullptr);
}

TEST_F(RendererTest, ThePaletteComposesTheColorsOfTheBits) {
    IVec4<float> colors[16];
    for (int i = 0; i < 16; ++i) colors[i] = {static_cast<float>(i) / 15, 0.5f, 1, 0.3f};
    Image palette;
    Renderer::createOverlay16BitPaletteImage(palette, colors);
    EXPECT_EQ(palette.getImageFormat(), RGBA8);
    EXPECT_EQ(palette.getSize(), IVec2<int>(256, 256));
    for (const unsigned word : {0u, 1u, 0x8000u, 0x1234u, 0xFFFFu}) {
        IVec4<float> color;
        for (int bit = 0; bit < 16; ++bit)
            if ((word >> bit & 1) != 0) color = util::alphaComposite(color, colors[bit]);
        const uint8* const pixel = palette.getBytePointer() + word * 4;
        for (int i = 0; i < 4; ++i) EXPECT_EQ(pixel[i], std::lround(color[i] * 255)) << word << ":" << i;
    }
}

TEST_F(RendererTest, ATimerMeasuresTheTimeBetweenStarts) {
    const std::unique_ptr<RenderTimer> timer(renderer.createRenderTimer());
    timer->start();
    clock.advanceNs(2'345'678);
    timer->stop();
    timer->start();
    EXPECT_TRUE(timer->hasStarted());
    EXPECT_EQ(timer->elapsed(), 2.345);
}

} // namespace
} // namespace qel
