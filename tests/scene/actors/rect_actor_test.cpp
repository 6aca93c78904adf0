#include <tests/render/canvas.h>
#include <tests/scene/actors/recording_renderer.h>
#include <tests/support/system_fixture.h>
#include <tests/text/engine/allocation_count.h>

#include <qel/imaging/pixels/image.h>
#include <qel/scene/actors/anim_color.h>
#include <qel/scene/actors/rect_actor.h>

#include <limits>

namespace qel {

void PrintTo(const Rect& r, std::ostream* out) {
    *out << "(" << r.x0 << ", " << r.y0 << ", " << r.x1 << ", " << r.y1 << ")";
}

namespace {

using test::Drawn;
using test::RecordingRenderer;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr IVec4<float> kWhite(1, 1, 1, 1), kRed(1, 0, 0, 1), kGreen(0, 1, 0, 1), kBlue(0, 0, 1, 1);

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
    EXPECT_EQ(renderer.getColor(), kWhite);
    renderer.drawn.clear();
    renderer.draw(nullptr);
    EXPECT_TRUE(renderer.drawn.empty());
}

TEST_F(RectActorTest, TheColorIsMultipliedByTheAnimatedOneAndTheTint) {
    AnimColor animated;
    animated.setColor({0.5f, 1, 1, 0.5f});
    renderer.pushColor({1, 0.5f, 1, 1});
    actor.setBounds({0, 0, 10, 10}).setColor({1, 1, 0.25f, 1}).setAnimColor(&animated);
    EXPECT_EQ(drawOne().tint, IVec4<float>(0.5f, 0.5f, 0.25f, 0.5f));
    EXPECT_EQ(renderer.getColor(), IVec4<float>(1, 0.5f, 1, 1)) << "the tint is restored";
}

TEST_F(RectActorTest, APlainRectangleHasOneColorOrOnePerCorner) {
    actor.setBounds({1, 2, 11, 12}).setColor(kRed);
    EXPECT_EQ(drawOne().target, Rect(1, 2, 11, 12));
    EXPECT_TRUE(drawOne().corners.empty());
    EXPECT_EQ(actor.getDisplayRect(), Rect(1, 2, 11, 12));
    actor.setCornerColors(kRed, kGreen, kBlue, kWhite);
    EXPECT_EQ(drawOne().corners, (std::vector{kRed, kGreen, kBlue, kWhite}));
    EXPECT_TRUE(renderer.recordOne(actor.setColoredCorners(false)).corners.empty());
    for (const Drawn& side :
         renderer.record(actor.setColoredCorners(true).setOutline(true).setOutlineSize(50))) {
        EXPECT_EQ(side.target, Rect(1, 2, 11, 12)) << "an outline runs inside the bounds";
        EXPECT_TRUE(side.corners.empty()) << "an outline has one colour";
    }
}

// --- placement --------------------------------------------------------------------------------------

TEST_F(RectActorTest, ScalesAsTheLastCallStates) {
    const SmartPointer<Texture> texture = test::makeNoise(renderer, RGBA8, {40, 20}, 1);
    const auto place = [&](const auto& set) {
        RectActor each;
        set(each.setBounds({10, 20, 110, 100}).setTexture(texture.get()));
        const Rect target = renderer.recordOne(each).target;
        EXPECT_EQ(each.getDisplayRect(), target);
        return target;
    };
    const Rect inexact(0.5f, 0.25f, 10.25f, 10.75f);
    EXPECT_EQ(place([&](RectActor& a) { a.setBounds(inexact); }), Rect(1, 0, 11, 11)) << "whole pixels";
    EXPECT_EQ(place([&](RectActor& a) { a.setBounds(inexact).setPixelExact(false); }), inexact);
    EXPECT_EQ(place([](RectActor& a) {
                  a.setScaleMethod(ScaleMethod::Cover).setBounds({0, 0, 200, 40});
              }),
              Rect(0, -30, 200, 70))
        << "limited by the width";
    EXPECT_EQ(place([](RectActor& a) { a.setFixedWidth(60).setFixedHeight(40); }), Rect(20, 40, 100, 80));
    EXPECT_EQ(place([](RectActor& a) {
                  a.setFixedSize({20, 40}).setPostScaleFactor(0.5f);
              }),
              Rect(55, 50, 65, 70));
    EXPECT_EQ(place([](RectActor& a) { a.setScaleMethod(static_cast<ScaleMethod>(9)); }),
              Rect(10, 20, 110, 100))
        << "an unknown method stretches";
}

TEST_F(RectActorTest, ATextureNeedsOnePixelToBeDrawn) {
    actor.setBounds({0, 0, 8, 8});
    const std::pair<IVec2<int>, size_t> sizes[] = {{{0, 5}, 0}, {{5, 0}, 0}, {{1, 1}, 1}};
    for (const auto& [size, count] : sizes) {
        const SmartPointer<Texture> texture = renderer.createTexture();
        texture->upload(Image(RGBA8, size), false);
        EXPECT_EQ(renderer.record(actor.setTexture(texture.get())).size(), count) << size.x << " " << size.y;
    }
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

// --- parts ------------------------------------------------------------------------------------------

class RectActorParts : public RectActorTest {
protected:
    /// Draws a picture of 40 by 20 pixels in three or nine parts in bounds of 100 by 80.
    std::vector<Drawn> drawParts(ExtendMethod method, uint32 cut = 0) {
        actor.setBounds({0, 0, 100, 80}).setTexture(texture.get()).setFixedSize({40, 20});
        actor.setExtendMethod(method).setExtendCut(cut);
        return renderer.record(actor);
    }
    static void expectParts(const std::vector<Drawn>& drawn,
                            const std::vector<std::pair<Rect, Rect>>& sourcesAndTargets) {
        ASSERT_EQ(drawn.size(), sourcesAndTargets.size());
        for (size_t i = 0; i < drawn.size(); ++i) {
            EXPECT_EQ(drawn[i].source, sourcesAndTargets[i].first) << i;
            EXPECT_EQ(drawn[i].target, sourcesAndTargets[i].second) << i;
            EXPECT_EQ(drawn[i].filter, Filter::Bilinear) << i;
        }
    }

    SmartPointer<Texture> texture = test::makeNoise(renderer, RGBA8, {40, 20}, 1);
};

TEST_F(RectActorParts, CutPartsAreLeftOutAndTheOthersStay) {
    expectParts(drawParts(ExtendMethod::NineParts, 15), {{{0.25f, 0.25f, 0.75f, 0.75f}, {5, 5, 95, 75}}});
    expectParts(drawParts(ExtendMethod::ThreeAcross, RectActor::kCutLeft | RectActor::kCutTop),
                {{{0.75f, 0, 1, 1}, {90, 30, 100, 50}}, {{0.25f, 0, 0.75f, 1}, {10, 30, 90, 50}}});
    EXPECT_EQ(drawParts(ExtendMethod::NineParts, RectActor::kCutBottom).size(), 6u);
}

TEST_F(RectActorParts, AStretchedPictureGrowsAlongTheLongerSide) {
    const std::pair<Rect, size_t> cases[] = {{{0, 0, 100, 20}, 3}, {{0, 0, 20, 100}, 3}, {{0, 0, 50, 50}, 1}};
    actor.setTexture(texture.get()).setExtendMethod(ExtendMethod::NineParts);
    for (const auto& [bounds, parts] : cases)
        EXPECT_EQ(renderer.record(actor.setBounds(bounds)).size(), parts) << bounds.x1;
    EXPECT_EQ(renderer.drawn[0].source, Rect(0, 0, 1, 1)) << "equal sides: no extension";
}

TEST_F(RectActorParts, CornerColorsRunOverAllParts) {
    actor.setCornerColors({0, 0, 0, 1}, {0, 1, 0, 1}, {1, 1, 0, 1}, {1, 0, 0, 1});
    const Drawn right = drawParts(ExtendMethod::ThreeAcross)[1];
    ASSERT_EQ(right.corners.size(), 4u);
    EXPECT_FLOAT_EQ(right.corners[0].x, 0.9f);
    EXPECT_FLOAT_EQ(right.corners[2].y, 1);
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

TEST_F(RectActorSprite, TheTextureIsLargerWhenAPartIsShown) {
    actor.setSprite(makeSprite({200, 100}));
    const std::pair<Rect, IVec2<int>> cases[] = {{{0, 0, 0.5f, 1}, {100, 40}},
                                                 {{0.5f, 0, 0, 1}, {100, 40}},
                                                 {{0, 0, 0, 1}, {200, 100}},
                                                 {{0, 0.5f, 1, 0.5f}, {200, 100}},
                                                 {{0, 0, kNaN, 1}, {4, 40}}};
    for (const auto& [part, size] : cases) {
        actor.setSourceBounds(part);
        EXPECT_EQ(drawnSize(), size) << part.x0 << " " << part.x1;
    }
}

TEST_F(RectActorSprite, TheTextureOfATurnedPictureIsTurned) {
    actor.setSprite(makeSprite({200, 100})).setRotation(Rotation::Clockwise90);
    EXPECT_EQ(drawnSize(), IVec2<int>(40, 50));
    actor.setExtendMethod(ExtendMethod::NineParts).setFixedSize({30, 20});
    EXPECT_EQ(drawnSize(), IVec2<int>(30, 20));
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

TEST_F(RectActorSprite, PicturesWithoutPixelsDrawNothing) {
    actor.setSprite(makeSprite({0, 5}));
    EXPECT_TRUE(renderer.record(actor).empty());
    const SmartPointer<Sprite> sprite = makeSprite({5, 5});
    sprite->invalidate();
    actor.setSprite(sprite);
    EXPECT_EQ(drawOne().kind, "rect") << "an invalid sprite is no picture";
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

TEST_F(RectActorSprite, DrawingAllocatesNothing) {
    if (!test::countsAllocations())
        GTEST_SKIP() << "the thread sanitizer has allocation operators of its own";
    AnimColor animated;
    actor.setSprite(makeSprite({64, 64})).setAnimColor(&animated).setShadow(true);
    actor.setFixedSize({20, 20})
        .setExtendMethod(ExtendMethod::NineParts)
        .setCornerColors(kRed, kRed, kRed, kRed);
    test::IdleRenderer3D idle;
    idle.start();
    idle.draw(&actor);
    const size_t before = test::allocationCount();
    for (int i = 0; i < 10; ++i) idle.draw(&actor);
    EXPECT_EQ(test::allocationCount(), before);
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
