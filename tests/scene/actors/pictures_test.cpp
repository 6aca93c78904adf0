// Frames of actors, drawn in every way; tests/scene/actors/pictures.txt holds their hashes.
#include <tests/render/canvas.h>
#include <tests/support/picture_test.h>
#include <tests/support/shipped_fonts.h>
#include <tests/support/system_fixture.h>

#include <qel/scene/actors/rect_actor.h>
#include <qel/style/theme.h>

namespace qel {
namespace {

constexpr const char* kList = "tests/scene/actors/pictures.txt";

using ActorPictures = test::SystemFixture;

/// Returns the sprite of a frame with round corners, an arrow to the right, and a green mark on the left top.
SmartPointer<Sprite> makeArrow(int width, int height) {
    return Sprite::createFromLambda([width, height](Image& image) {
        image.initialize(RGBA8, {width, height});
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                const int edge = std::min({x, y, width - 1 - x, height - 1 - y});
                const bool isMark = x < width / 4 && y < height / 4 && edge > 1;
                const bool isArrow =
                    2 * x > width && 4 * x < 3 * width && std::abs(2 * y - height) < 3 * width - 4 * x;
                const bool isCorner = std::min(x, width - 1 - x) + std::min(y, height - 1 - y) < 3;
                uint8* const p = image.getBytePointer(y) + x * 4;
                p[0] = static_cast<uint8>(edge < 2 || isArrow ? 250 : 40 + x * 100 / width);
                p[1] = static_cast<uint8>(edge < 2 || isMark ? 250 : 40 + y * 100 / height);
                p[2] = static_cast<uint8>(edge < 2 ? 250 : 60);
                p[3] = static_cast<uint8>(isCorner ? 0 : 255);
            }
    });
}

/// Draws cells with dark bounds next to each other, and a frame around what an actor states to display.
class Cells {
public:
    explicit Cells(RendererSoftware& renderer) : m_renderer(renderer) {}
    void draw(RectActor& actor, float width = 60, float height = 50) {
        const Rect bounds(m_x, m_y, m_x + width, m_y + height);
        RectActor background;
        m_renderer.draw(&background.setColor({0, 0, 0, 0.5f}).setBounds(bounds));
        m_renderer.draw(&actor.setBounds(bounds));
        RectActor frame;
        frame.setOutline(true).setOutlineSize(1).setColor({1, 1, 0, 0.4f});
        m_renderer.draw(&frame.setBounds(actor.getDisplayRect()));
        m_x += width + 5;
        if (m_x + width > static_cast<float>(m_renderer.getRenderTargetSize().x)) m_x = 5, m_y += height + 5;
    }

private:
    RendererSoftware& m_renderer;
    float m_x = 5;
    float m_y = 5;
};

TEST_F(ActorPictures, ScaleMethodsAndAlignments) {
    const SmartPointer<Sprite> sprite = makeArrow(40, 20);
    test::expectFrame(kList, "scale-methods", {400, 175}, [&](RendererSoftware& r) {
        Cells cells(r);
        for (int method = 0; method < 6; ++method) {
            RectActor actor;
            actor.setSprite(sprite).setFixedSize({48, 16}).setScaleMethod(static_cast<ScaleMethod>(method));
            r.pushClip({0, 0, 400, 60});
            cells.draw(actor);
            r.popClip();
        }
        for (int i = 0; i < 12; ++i) {
            RectActor actor;
            actor.setSprite(sprite).setFixedSize({40, 20});
            actor.setHorizontalAlign(static_cast<Align>(i % 3 - 1));
            actor.setVerticalVariableAlign(static_cast<float>(i) / 12, i % 2 == 1);
            cells.draw(actor);
        }
    });
}

TEST_F(ActorPictures, ThreeAndNineParts) {
    const SmartPointer<Sprite> sprite = makeArrow(32, 32);
    test::expectFrame(kList, "parts", {340, 285}, [&](RendererSoftware& r) {
        Cells cells(r);
        for (int method = 0; method < 4; ++method)
            for (const uint32 cut : {0u, 5u, 10u, 15u}) {
                RectActor actor;
                actor.setSprite(sprite).setFixedSize({32, 24});
                actor.setExtendMethod(static_cast<ExtendMethod>(method)).setExtendCut(cut);
                cells.draw(actor, 78, 65);
            }
    });
}

TEST_F(ActorPictures, TurnedPlacements) {
    const SmartPointer<Sprite> sprite = makeArrow(40, 24);
    test::expectFrame(kList, "turned-placements", {395, 445}, [&](RendererSoftware& r) {
        Cells cells(r);
        for (int i = 0; i < 48; ++i) {
            const int kind = i % 6;
            RectActor actor;
            actor.setSprite(sprite).setRotation(static_cast<Rotation>(i / 6 + (kind == 5 ? 8 : 0)));
            actor.setHorizontalAlign(static_cast<Align>(kind - 1))
                .setVerticalAlign(static_cast<Align>(2 - kind));
            if (kind >= 3)
                actor.setHorizontalVariableAlign(0.25f, kind == 3).setVerticalVariableAlign(0.1f, true);
            if (kind == 4) actor.setFixedSize({40, 24}).setExtendMethod(ExtendMethod::NineParts);
            if (kind == 5) actor.setFixedHeight(12);
            if (kind < 4) actor.setFixedSize({30, 15});
            cells.draw(actor);
        }
    });
}

TEST_F(ActorPictures, ShadowsOutlinesAndTints) {
    const SmartPointer<Sprite> sprite = makeArrow(40, 20);
    test::addShippedFonts();
    system().getTheme()->setDeviceForce(320, 0, 400, 300, 1, 1);
    test::expectFrame(kList, "shadows", {270, 120}, [&](RendererSoftware& r) {
        Cells cells(r);
        for (int i = 0; i < 8; ++i) {
            RectActor actor;
            actor.setShadow(i % 2 == 1).setColor({1, 0.8f, i < 4 ? 0.4f : 1, i < 6 ? 1 : 0.5f});
            if (i >= 4)
                actor.setSprite(sprite).setScaleMethod(ScaleMethod::FitInside).setPostScaleFactor(0.8f);
            if (i == 2 || i == 3) actor.setOutline(true).setOutlineSize(4);
            if (i == 0) actor.setCornerColors({1, 0, 0, 1}, {0, 1, 0, 1}, {0, 0, 1, 1}, {1, 1, 1, 1});
            cells.draw(actor);
        }
    });
    Object::discardSingletons(); // the files of fonts
}

// The filter belongs to the operation, though the texture is shared.
TEST_F(ActorPictures, OneTextureDrawnWithBothFilters) {
    const SmartPointer<Sprite> sprite = makeArrow(40, 20);
    test::expectFrame(kList, "both-filters", {110, 60}, [&](RendererSoftware& r) {
        RectActor actor;
        actor.setSprite(sprite).setPixelExact(false);
        r.draw(&actor.setBounds({5, 5, 45, 25}));
        r.draw(&actor.setBounds({60.5f, 5.5f, 100.5f, 25.5f}));
        r.draw(&actor.setBounds({5, 30, 45, 50}));
    });
}

} // namespace
} // namespace qel
