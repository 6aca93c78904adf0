#include <tests/render/canvas.h>
#include <tests/scene/actors/recording_renderer.h>
#include <tests/support/system_fixture.h>

#include <qel/imaging/pixels/image.h>
#include <qel/scene/actors/anim_color.h>
#include <qel/scene/actors/rect_actor.h>

#include <limits>

namespace qel {
namespace {

using test::Drawn;
using test::RecordingRenderer;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr IVec4<float> kWhite(1, 1, 1, 1);

class RectActorTest : public test::SystemFixture {
protected:
    SmartPointer<Sprite> makeSprite(const IVec2<int>& size) { return Sprite::createInternal(RGBA8, size); }
    Drawn drawOne() { return renderer.recordOne(actor); }

    RecordingRenderer renderer;
    RectActor actor;
};

TEST_F(RectActorTest, OnlyVisibleActorsAreDrawn) {
    actor.setBounds({0, 0, 10, 10}).setShadow(true);
    EXPECT_TRUE(renderer.record(static_cast<RectActor&>(actor.deactivate())).empty());
    actor.activate();
    renderer.pushClip({20, 20, 20, 30});
    EXPECT_TRUE(renderer.record(actor).empty()) << "everything is clipped";
    renderer.popClip();
    for (const Rect& bounds : {Rect(5, 5, 5, 9), Rect(5, 5, 9, 5), Rect(9, 9, 5, 5), Rect(kNaN, 0, 9, 9)})
        EXPECT_TRUE(renderer.record(actor.setBounds(bounds)).empty()) << bounds.x0;
    actor.setBounds({0, 0, 10, 10}).setShadow(false);
    const std::pair<float, size_t> cases[] = {{0.0039f, 0}, {0.00393f, 1}, {kNaN, 0}};
    for (const auto& [alpha, count] : cases)
        EXPECT_EQ(renderer.record(actor.setColor({1, 1, 1, alpha})).size(), count) << alpha;
}

TEST_F(RectActorTest, TheColorIsMultipliedByTheAnimatedOneAndTheTint) {
    AnimColor animated;
    animated.setColor({0.5f, 1, 1, 0.5f});
    renderer.pushColor({1, 0.5f, 1, 1});
    actor.setBounds({0, 0, 10, 10}).setColor({1, 1, 0.25f, 1}).setAnimColor(&animated);
    EXPECT_EQ(drawOne().tint, IVec4<float>(0.5f, 0.5f, 0.25f, 0.5f));
    EXPECT_EQ(renderer.getColor(), IVec4<float>(1, 0.5f, 1, 1)) << "the tint is restored";
}

TEST_F(RectActorTest, TheRotationOfTheDeviceReplacesTheOwnOne) {
    const SmartPointer<Texture> texture = test::makeNoise(renderer, RGBA8, {4, 2}, 1);
    actor.setBounds({0, 0, 8, 8}).setTexture(texture.get()).setRotation(Rotation::UpsideDown);
    EXPECT_EQ(drawOne().orientation, 2);
    actor.setAutoRotation(Rotation::FromDevice);
    const std::pair<int, int> cases[] = {{0, 0}, {1, 1}, {2, 3}};
    for (const auto& [device, orientation] : cases) {
        system().setCurrentRotation(device);
        EXPECT_EQ(drawOne().orientation, orientation) << device;
    }
}

// --- sprites ----------------------------------------------------------------------------------------

class RectActorSprite : public RectActorTest {
protected:
    RectActorSprite() { actor.setBounds({0, 0, 50, 40}); }
    /// Returns the size of the texture that is drawn.
    IVec2<int> drawnSize() {
        const Drawn drawn = drawOne();
        return drawn.texture != nullptr ? drawn.texture->getSize() : IVec2<int>();
    }
};

TEST_F(RectActorSprite, TheTextureHasTheSizeThatIsDrawn) {
    actor.setSprite(makeSprite({100, 100}));
    EXPECT_EQ(drawnSize(), IVec2<int>(50, 40));
    actor.setBounds({0, 0, 2, 200});
    EXPECT_EQ(drawnSize(), IVec2<int>(4, 100)) << "at least 4, at most the size of the picture";
    actor.setSprite(makeSprite({3, 100}));
    EXPECT_EQ(drawnSize(), IVec2<int>(3, 100)) << "the size of the picture wins";
}

TEST_F(RectActorSprite, TexelsThatCoverAPixelAreNotFiltered) {
    actor.setSprite(makeSprite({100, 100}));
    EXPECT_EQ(drawOne().filter, Filter::Nearest);
    actor.setSourceBounds({0, 0, 0.5f, 0.5f});
    EXPECT_EQ(drawOne().filter, Filter::Bilinear);
    actor.setSourceBounds({0, 0, 1, 1}).setBounds({0, 0, 150, 150});
    EXPECT_EQ(drawOne().filter, Filter::Bilinear);
    actor.setBounds({0.5f, 0, 50.5f, 40}).setPixelExact(false);
    EXPECT_EQ(drawOne().filter, Filter::Bilinear);
}

TEST_F(RectActorSprite, TheFunctionOfASpriteMayReplaceIt) {
    actor.setSprite(Sprite::createFromLambda([this](Image& image) {
        image.initialize(RGBA8, {8, 8});
        actor.setSprite(nullptr);
    }));
    EXPECT_EQ(drawOne().kind, "texture");
    EXPECT_EQ(drawOne().kind, "rect");
}

TEST_F(RectActorSprite, TheFunctionOfASpriteMayReleaseTheActor) {
    SmartPointer<RectActor> held(new RectActor);
    held->setBounds({0, 0, 8, 8}).setSprite(Sprite::createFromLambda([&held](Image& image) {
        image.initialize(RGBA8, {8, 8});
        held.reset();
    }));
    EXPECT_EQ(renderer.recordOne(*held).kind, "texture");
    EXPECT_FALSE(held);
}

TEST_F(RectActorSprite, ALazySpriteArrivesLaterAndFadesIn) {
    int calls = 0;
    actor.setLazyLoad(true).setSprite(Sprite::createFromLambda([&calls](Image& image) {
        ++calls;
        image.initialize(RGBA8, {50, 40});
    }));
    for (int frames = 0; frames < 2; ++frames) {
        EXPECT_TRUE(renderer.record(actor).empty()) << frames;
        passAfter(16);
        passAfter(16);
    }
    EXPECT_EQ(calls, 1);
    const std::pair<int, float> steps[] = {{0, 0.00284f}, {134, 0.25f}, {149, 0.99334f}, {1, 1}, {1000, 1}};
    for (const auto& [milliseconds, alpha] : steps) {
        passAfter(milliseconds);
        EXPECT_NEAR(drawOne().tint.w, alpha, 1e-4) << milliseconds;
        EXPECT_EQ(renderer.getColor(), kWhite);
    }
}

TEST_F(RectActorSprite, AFadeAsksForFurtherFrames) {
    actor.setLazyLoad(true).setSprite(makeSprite({50, 40}));
    EXPECT_TRUE(renderer.record(actor).empty());
    passAfter(16);
    clock.advanceMs(2000);
    system().getTime();
    EXPECT_TRUE(system().isLowPowerModeApplicable());
    actor.getSprite()->notifyImageChanged();
    actor.getSprite()->preloadTexture(&renderer, {50, 40});
    drawOne();
    EXPECT_FALSE(system().isLowPowerModeApplicable());
}

TEST_F(RectActorSprite, ALazyTextureOfAnotherRendererIsReplaced) {
    actor.setLazyLoad(true).setSprite(makeSprite({50, 40}));
    RecordingRenderer other;
    actor.getSprite()->preloadTexture(&other, {50, 40});
    EXPECT_TRUE(renderer.record(actor).empty());
    passAfter(16);
    EXPECT_EQ(drawOne().texture->getRenderer(), &renderer);
}

// --- hostile numbers --------------------------------------------------------------------------------

TEST_F(RectActorTest, AnyNumbersAreDrawnSafely) {
    test::Canvas canvas({16, 16});
    const SmartPointer<Texture> texture = test::makeNoise(canvas.renderer, RGBA8, {4, 2}, 1);
    const SmartPointer<Sprite> sprite = makeSprite({40, 20});
    const float numbers[] = {kNaN, kInfinity, -kInfinity, 3e38f, -3e38f, 1e9f, 1e-40f, -1, 0, 0.3f, 7};
    uint32 seed = 1;
    const auto draw = [&](uint32 count) { return (seed = seed * 1664525 + 1013904223) / 65536 % count; };
    const auto number = [&] { return numbers[draw(std::size(numbers))]; };
    for (int i = 0; i < 3000; ++i) {
        actor.setTexture(texture.get()).setSprite(draw(2) != 0 ? sprite.get() : nullptr);
        actor.setBounds({number(), number(), number(), number()});
        actor.setSourceBounds({number(), number(), number(), number()});
        actor.setFixedSize({number(), number()}).setPostScaleFactor(number());
        actor.setScaleMethod(static_cast<ScaleMethod>(draw(7)));
        actor.setHorizontalVariableAlign(number(), draw(2) != 0)
            .setVerticalAlign(static_cast<Align>(draw(5)));
        actor.setExtendMethod(static_cast<ExtendMethod>(draw(5))).setExtendCut(draw(32));
        actor.setRotation(static_cast<Rotation>(draw(10)))
            .setShadow(draw(2) != 0)
            .setPixelExact(draw(2) != 0);
        canvas.renderer.draw(&actor);
    }
    EXPECT_EQ(canvas.renderer.getColor(), kWhite);
}

} // namespace
} // namespace qel
