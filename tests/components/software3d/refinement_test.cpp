// Pictures of volumes that become exact in the background, compared with those that are exact at once.
#include <tests/components/software3d/scene.h>
#include <tests/support/system_fixture.h>

#include <qel/foundation/base/weak_pointer.h>
#include <qel/software3d/seams.h>
#include <qel/software3d/software_volume_texture.h>
#include <qel/system/tasks/task_queue.h>
#include <qel/testing/machine.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <thread>
#include <utility>

namespace qel {
namespace {

using test::Scene;
using Bytes = std::vector<uint8>;

/// Lets the rows that are computed in the background wait until it is opened.
class RowGate {
public:
    RowGate() {
        seams::setBeforeRefinedRow([this] { pass(); });
    }
    ~RowGate() { seams::setBeforeRefinedRow({}); }

    void open() { setOpen(true); }
    void close() { setOpen(false); }
    /// Returns as soon as a row has arrived since the gate was closed.
    void awaitRow() {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_arrived > 0; });
    }
    int getPassed() {
        const std::lock_guard lock(m_mutex);
        return m_passed;
    }

private:
    void setOpen(bool isOpen) {
        const std::lock_guard lock(m_mutex);
        m_isOpen = isOpen;
        if (!isOpen) m_arrived = 0;
        m_changed.notify_all();
    }
    void pass() {
        std::unique_lock lock(m_mutex);
        ++m_arrived;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_isOpen; });
        ++m_passed;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_isOpen = true;
    int m_arrived = 0;
    int m_passed = 0;
};

double blobs(double x, double y, double z) {
    const double u = x * (1 - x) * 4, v = y * (1 - y) * 4, w = z * (1 - z) * 4;
    return 40000 * std::fabs(u * v * w - x * y);
}

class RefinementTest : public test::SystemFixture {
protected:
    void SetUp() override {
        SystemFixture::SetUp();
        startScene({70, 54});
    }

    void TearDown() override {
        gate.open();
        scene = nullptr;
        plain = nullptr;
        SystemFixture::TearDown();
    }

    void startScene(const IVec2<int>& size) {
        scene = std::make_unique<Scene>(size);
        scene->setVolume({20, 24, 18}, blobs);
        setMaterial(0.1f);
        scene->lookFrom({1.6f, 1.2f, -0.7f});
        scene->actor->setStepCount(24);
        scene->renderer->setProgressive(true);
    }

    void setMaterial(float opacity) {
        scene->setMaterial({{0, {1, 0, 0}}, {40000, {0, 1, 0.5f}}},
                           {{0, 0}, {8000, 0}, {20000, opacity}, {40000, 1}}, 64, {{0, 0.2f}, {4000, 1}});
    }

    /// Draws the scene by a renderer that is not progressive.
    Bytes drawPlainly() {
        plain = makeObject<SoftwareRenderer3D>();
        const SmartPointer<Image> image = makeObject<Image>(BGRA8, scene->target->getSize());
        plain->setRenderTarget(image.get());
        configure(*plain);
        drawWith(*plain);
        return {image->getBytePointer(), image->getBytePointer() + image->getByteSize()};
    }

    Bytes draw() {
        configure(*scene->renderer);
        drawWith(*scene->renderer);
        return scene->bytes();
    }

    Bytes drawRefined() {
        draw();
        scene->renderer->waitRefined();
        return draw();
    }

    void drawWith(SoftwareRenderer3D& renderer) {
        renderer.start3D();
        renderer.clear({0, 0, 0.2f, 1});
        operations(renderer);
        renderer.stop3D();
    }

    /// Sets what affects the picture and is no part of the actor.
    std::function<void(SoftwareRenderer3D&)> configure = [this](SoftwareRenderer3D& renderer) {
        renderer.setViewMatrix(scene->renderer->getViewMatrix());
        renderer.setProjectionMatrix(scene->renderer->getProjectionMatrix());
    };
    std::function<void(SoftwareRenderer3D&)> operations = [this](SoftwareRenderer3D& renderer) {
        scene->actor->onRender(&renderer);
    };

    RowGate gate;
    std::unique_ptr<Scene> scene;
    SmartPointer<SoftwareRenderer3D> plain;
};

TEST_F(RefinementTest, PicturesAreCoarseAtFirstAndExactInTheEnd) {
    gate.close();
    const Bytes coarse = draw();
    EXPECT_FALSE(scene->renderer->isRefined());
    const Bytes expected = drawPlainly();
    EXPECT_NE(coarse, expected);
    int64 difference = 0;
    for (size_t i = 0; i < coarse.size(); ++i) difference += std::abs(coarse[i] - expected[i]);
    EXPECT_LT(difference / static_cast<int64>(coarse.size()), 16)
        << "the coarse picture resembles the exact one";
    gate.open();
    scene->renderer->waitRefined();
    EXPECT_TRUE(scene->renderer->isRefined());
    EXPECT_EQ(draw(), expected);
}

TEST_F(RefinementTest, PicturesAreExactAtOnceUnlessProgressive) {
    const Bytes expected = drawPlainly();
    gate.close();
    draw();
    gate.open();
    scene->renderer->setProgressive(false);
    EXPECT_TRUE(scene->renderer->isRefined());
    EXPECT_EQ(draw(), expected);
}

TEST_F(RefinementTest, AFinishedPictureIsNotComputedAgain) {
    const Bytes expected = drawRefined();
    const int rows = gate.getPassed();
    EXPECT_EQ(draw(), expected);
    scene->renderer->pushColor({1, 0.5f, 1, 0.7f});
    EXPECT_NE(draw(), expected) << "the tint is applied to the picture";
    EXPECT_TRUE(scene->renderer->isRefined());
    EXPECT_EQ(gate.getPassed(), rows);
}

TEST_F(RefinementTest, ResultsAskForFramesUntilThePictureIsExact) {
    int requests = 0;
    system().delegateRequestFrame.connect([&] { ++requests; });
    draw();
    int passes = 0;
    while (!scene->renderer->isRefined()) {
        passAfter(16);
        draw();
        ++passes;
    }
    EXPECT_GT(requests, 0);
    EXPECT_LE(requests, passes + 1) << "one for all tiles of a pass, and one in the end";
    EXPECT_EQ(draw(), drawPlainly());
    requests = 0;
    passAfter(16);
    passAfter(16);
    EXPECT_EQ(requests, 0) << "the host may sleep";
}

TEST_F(RefinementTest, ResultsKeepTheHostAwake) {
    const auto idle = [this] {
        for (int i = 0; i < 6; ++i) passAfter(200);
    };
    idle();
    EXPECT_TRUE(system().isLowPowerModeApplicable());
    gate.close();
    draw();
    EXPECT_FALSE(system().isLowPowerModeApplicable());
    idle();
    EXPECT_TRUE(system().isLowPowerModeApplicable());
    gate.open();
    scene->renderer->waitRefined();
    EXPECT_FALSE(system().isLowPowerModeApplicable());
}

TEST_F(RefinementTest, StoppedTilesEndAtTheNextRow) {
    gate.close();
    draw();
    gate.awaitRow();
    scene->lookFrom({-1.6f, 1.2f, -0.7f});
    const int passed = gate.getPassed();
    scene->actor->setUsingClassified(false); // changes the preparation too
    draw();
    gate.open();
    scene->renderer->waitRefined();
    const int rows = gate.getPassed() - passed;
    EXPECT_EQ(draw(), drawPlainly());
    // What is computed for the second picture alone:
    scene->lookFrom({-1.6f, 1.3f, -0.7f});
    const int before = gate.getPassed();
    drawRefined();
    EXPECT_LE(rows, gate.getPassed() - before + 10) << "hardly more than the rows of one picture";
}

// Everything that the picture depends on starts a new one.

class RefinementChangeTest : public RefinementTest {
protected:
    /// Draws a volume and a mesh, so that the depths matter.
    void SetUp() override {
        RefinementTest::SetUp();
        operations = [this](SoftwareRenderer3D& renderer) {
            scene->actor->onRender(&renderer);
            MeshActor mesh;
            mesh.setMesh(box.get()).setColor({1, 1, 0, 1}).onRender(&renderer);
        };
        setBox(0.3);
    }
    void TearDown() override {
        box = nullptr;
        RefinementTest::TearDown();
    }
    void setBox(double z) {
        box = scene->renderer->createMesh();
        box->createBox(0.2, 0.6, 0.4, 0.5, z, z + 0.4);
    }
    /// Expects that a change leads to another picture, which becomes exact.
    void expectRestart(const char* name, const std::function<void(Scene&)>& change) {
        SCOPED_TRACE(name);
        startScene({64, 48});
        setBox(0.3);
        drawRefined();
        EXPECT_TRUE(scene->renderer->isRefined());
        gate.close();
        change(*scene);
        draw();
        EXPECT_FALSE(scene->renderer->isRefined());
        gate.open();
        scene->renderer->waitRefined();
        EXPECT_EQ(draw(), drawPlainly());
    }

    SmartPointer<Mesh> box;
};

TEST_F(RefinementChangeTest, OfTheActorStartOver) {
    expectRestart("model", [](Scene& s) { s.actor->setModelMatrix(Float4x4::Translation({0.1f, 0, 0})); });
    expectRestart("stored", [](Scene& s) { s.actor->setVolumeScaleBias({1.2f, 0}); });
    expectRestart("lookup", [](Scene& s) { s.actor->setLookupScaleBias({1e-5f, 0.1f}); });
    expectRestart("steps", [](Scene& s) { s.actor->setStepCount(25); });
    expectRestart("means", [](Scene& s) { s.actor->setUsingPreintegration(false); });
    expectRestart("classified", [](Scene& s) { s.actor->setUsingClassified(false); });
    expectRestart("gradient", [](Scene& s) { s.actor->setUsingGradientMultiplier(false); });
    expectRestart("local", [](Scene& s) { s.actor->setUsingLocalOcclusion(true); });
    expectRestart("global", [](Scene& s) { s.actor->setUsingGlobalOcclusion(true); });
    expectRestart("Sobel",
                  [](Scene& s) { s.actor->setVolumeGradientCalculation(VolumeGradientCalculation::Sobel); });
    expectRestart("filter", [](Scene& s) { s.texture->setFilter(Filter::Nearest); });
    expectRestart("material", [this](Scene&) { setMaterial(0.3f); });
    expectRestart("no weights", [](Scene& s) {
        s.actor->setGradientLookupTexture(nullptr).setGradientPreintegrationTexture(nullptr);
    });
}

TEST_F(RefinementChangeTest, OfTheVoxelsStartOver) {
    expectRestart("slice", [](Scene& s) {
        const std::vector<uint16> slice(20 * 24, 30000);
        s.texture->uploadData(9, 10, UInt16, slice.data());
    });
    expectRestart("volume", [](Scene& s) { s.setVolume({9, 11, 13}, blobs); });
    expectRestart("new size", [](Scene& s) { s.texture->initialize(UInt16, {3, 3, 3}); });
}

TEST_F(RefinementChangeTest, OfTheViewStartOver) {
    expectRestart("view", [](Scene& s) { s.lookFrom({1.6f, 1.21f, -0.7f}); });
    expectRestart("projection", [](Scene& s) {
        s.renderer->setProjectionMatrix(Float4x4::Perspective(0.8f, 1, 0.1f, 10));
    });
    expectRestart("mesh", [this](Scene&) { setBox(0.1); });
    const auto plainView = configure;
    const auto expectSettingRestarts = [&](const char* name,
                                           const std::function<void(SoftwareRenderer3D&)>& set) {
        configure = plainView;
        expectRestart(name, [&](Scene&) {
            configure = [=](SoftwareRenderer3D& renderer) {
                plainView(renderer);
                set(renderer);
            };
        });
    };
    expectSettingRestarts("box", [](SoftwareRenderer3D& r) { r.setClipBox({0.2f, 0, 0}, {1, 1, 1}); });
    expectSettingRestarts("plane", [](SoftwareRenderer3D& r) { r.setClipPlanes({{0, 1, 0, -0.4f}}); });
    expectSettingRestarts("viewport", [](SoftwareRenderer3D& r) { r.setViewport3D({3, 5, 60, 40}); });
}

TEST_F(RefinementTest, CoordinatesThatAreNotFiniteDoNotStartOver) {
    scene->actor->setLookupScaleBias({std::nanf(""), 0});
    const Bytes expected = drawRefined();
    EXPECT_TRUE(scene->renderer->isRefined());
    EXPECT_EQ(expected, drawPlainly());
}

// However a picture is reached, the finished one is the same.

TEST_F(RefinementTest, RandomMovesLeadToTheExactPicture) {
    std::mt19937 random(20261122);
    const auto pick = [&](int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); };
    const SmartPointer<VolumeActor> second = makeObject<VolumeActor>();
    const SmartPointer<Mesh> rod = scene->renderer->createMesh();
    rod->createCylinder(0.1, 1.5, 8, true);
    float planeAt = 0, rodAt = 0.5f;
    bool hasSecond = false;
    configure = [&](SoftwareRenderer3D& renderer) {
        renderer.setViewMatrix(scene->renderer->getViewMatrix());
        renderer.setProjectionMatrix(scene->renderer->getProjectionMatrix());
        renderer.setClipPlanes({{1, 0, 0, -planeAt}});
    };
    operations = [&](SoftwareRenderer3D& renderer) {
        scene->actor->onRender(&renderer);
        if (hasSecond) second->onRender(&renderer);
        MeshActor mesh;
        mesh.setMesh(rod.get()).setModelMatrix(Float4x4::Translation({rodAt, 0.5f, 0.5f}));
        mesh.onRender(&renderer);
    };
    const std::function<void()> moves[] = {
        [&] {
            scene->lookFrom({static_cast<float>(pick(5) - 2) + 0.1f, 1.5f, -0.5f});
        },
        [&] { planeAt = static_cast<float>(pick(4)) * 0.2f; },
        [&] { rodAt = static_cast<float>(pick(4)) * 0.3f; },
        [&] {
            scene->setVolume({8 + pick(9), 9, 10}, blobs);
        },
        [&] { setMaterial(static_cast<float>(pick(9)) / 9); },
        [&] { scene->actor->setUsingGlobalOcclusion(pick(2) == 0).setUsingPreintegration(pick(2) == 0); },
        [&] {
            scene->target->initialize(BGRA8, {40 + pick(40), 30 + pick(40)});
            scene->renderer->setRenderTarget(scene->target.get());
        },
        [&] {
            const std::vector<uint16> slice(size_t{500}, 25000);
            const int z = pick(8);
            scene->texture->uploadData(z, z + 1, UInt16, slice.data());
        },
        [&] {
            hasSecond = !hasSecond;
            second->setScalarTexture(scene->texture.get()).setVolumeScaleBias({1, 0});
            second->setLookupScaleBias(scene->actor->getLookupScaleBias())
                .setColorAlphaLookupTexture(scene->actor->getColorAlphaLookupTexture())
                .setUsingPreintegration(false)
                .setModelMatrix(Float4x4::Translation({0.6f, 0.2f, 0.4f}));
        },
        [&] { passAfter(16); },
        [&] { scene->renderer->waitRefined(); },
    };
    for (int round = 0; round < 16; ++round) {
        for (int i = pick(5); i >= 0; --i) {
            moves[pick(static_cast<int>(std::size(moves)))]();
            draw();
        }
        ASSERT_EQ(drawRefined(), drawPlainly()) << round;
        ASSERT_TRUE(scene->renderer->isRefined()) << round;
    }
}

TEST_F(RefinementTest, TilesThatEndDuringAPassAreNotLost) {
    startScene({40, 40});
    scene->actor->setUsingGradientMultiplier(false).setStepCount(1);
    for (int i = 0; i < 1000; ++i) {
        scene->lookFrom({1.6f, 1.2f, -0.7f - 0.0001f * static_cast<float>(i)});
        draw();
        while (!scene->renderer->isRefined()) passAfter(40);
        ASSERT_EQ(draw(), drawPlainly()) << i;
    }
}

TEST_F(RefinementTest, ViewsOfOneActorAreIndependent) {
    operations = [this](SoftwareRenderer3D& renderer) {
        for (const int left : {0, 35}) {
            renderer.setViewport3D({left, 0, left + 35, 50});
            scene->lookFrom({left == 0 ? 1.5f : -1.5f, 1, -1});
            renderer.setViewMatrix(scene->renderer->getViewMatrix());
            scene->actor->onRender(&renderer);
        }
    };
    const Bytes refined = drawRefined();
    EXPECT_TRUE(scene->renderer->isRefined());
    EXPECT_EQ(refined, drawPlainly());
}

TEST_F(RefinementTest, TargetsOfOneSizeStayRefined) {
    std::vector<SmartPointer<Image>> targets;
    for (int i = 0; i < 20; ++i) targets.push_back(makeObject<Image>(BGRA8, scene->target->getSize()));
    const auto drawAll = [&] {
        std::vector<Bytes> pictures;
        for (const SmartPointer<Image>& target : targets) {
            scene->target = target;
            scene->renderer->setRenderTarget(target.get());
            scene->lookFrom({1.6f, 1.2f, -0.1f * static_cast<float>(pictures.size() + 1)});
            pictures.push_back(draw());
        }
        return pictures;
    };
    drawAll();
    scene->renderer->waitRefined();
    const std::vector<Bytes> refined = drawAll();
    EXPECT_TRUE(scene->renderer->isRefined());
    EXPECT_EQ(refined.back(), drawPlainly());
    EXPECT_NE(refined.front(), refined.back());
}

TEST_F(RefinementTest, ATargetThatIsGoneLeavesItsViewToOthers) {
    const auto drawMoving = [&](float place) {
        scene->target = makeObject<Image>(BGRA8, IVec2<int>(70, 54));
        scene->renderer->setRenderTarget(scene->target.get());
        scene->lookFrom({1.6f, place, -0.7f});
        draw();
    };
    drawMoving(1);
    scene->renderer->waitRefined();
    const int before = gate.getPassed();
    drawMoving(1.1f);
    scene->renderer->waitRefined();
    const int rows = gate.getPassed() - before;
    gate.close();
    for (int i = 0; i < 30; ++i) drawMoving(1.2f + 0.01f * static_cast<float>(i));
    const int passed = gate.getPassed();
    gate.open();
    scene->renderer->waitRefined();
    EXPECT_LE(gate.getPassed() - passed, 2 * rows) << "the views of other targets are not computed";
    EXPECT_EQ(draw(), drawPlainly());
}

TEST_F(RefinementTest, ManyMaterialsStayRefined) {
    std::vector<SmartPointer<VolumeActor>> actors;
    for (int i = 1; i <= 20; ++i) {
        setMaterial(0.01f * static_cast<float>(i));
        actors.push_back(makeObject<VolumeActor>(*scene->actor));
    }
    operations = [&](SoftwareRenderer3D& renderer) {
        for (const SmartPointer<VolumeActor>& actor : actors) actor->onRender(&renderer);
    };
    drawRefined();
    EXPECT_TRUE(scene->renderer->isRefined());
}

TEST_F(RefinementTest, APictureReplacesThoseOfOtherSizes) {
    drawRefined();
    const int before = gate.getPassed();
    scene->lookFrom({1.5f, 1.2f, -0.7f});
    drawRefined();
    const int rows = gate.getPassed() - before;
    const auto expectFewRows = [&](int most, const std::function<void(int)>& setWidth) {
        gate.close();
        for (int width = 129; width >= 70; --width) {
            setWidth(width);
            draw();
        }
        const int passed = gate.getPassed();
        gate.open();
        scene->renderer->waitRefined();
        EXPECT_LE(gate.getPassed() - passed, most);
        EXPECT_EQ(draw(), drawPlainly());
    };
    expectFewRows(2 * rows, [&](int width) {
        scene->target->initialize(BGRA8, {width, 54});
        scene->renderer->setRenderTarget(scene->target.get());
    });
    expectFewRows(30 * rows, [&, base = configure](int width) {
        configure = [=](SoftwareRenderer3D& renderer) {
            base(renderer);
            renderer.setViewport3D({0, 0, width, 50});
        };
    });
}

TEST_F(RefinementTest, OneActorMayBeDrawnSeveralTimes) {
    int times = 0;
    operations = [&](SoftwareRenderer3D& renderer) {
        for (int i = 0; i < times; ++i) {
            const float x = 0.8f * static_cast<float>(i) / static_cast<float>(times);
            scene->actor->setModelMatrix(Float4x4::Translation({x, 0, x}));
            scene->actor->onRender(&renderer);
        }
    };
    for (const int each : {3, 20}) { // more than there are pictures of an actor
        times = each;
        const Bytes refined = drawRefined();
        EXPECT_TRUE(scene->renderer->isRefined()) << each;
        EXPECT_EQ(refined, drawPlainly()) << each;
    }
}

TEST_F(RefinementTest, ChangedVoxelsDoNotDisturbOtherViews) {
    scene = nullptr;
    System::deinitialize();
    seams::setProcessorCount(1); // one worker: nothing runs after the results are published
    System::initialize({});
    seams::setProcessorCount(0);
    startScene({70, 54});
    const auto other = makeObject<VolumeActor>(*scene->actor);
    const SmartPointer<VolumeTexture> first = scene->texture;
    scene->setVolume({9, 11, 13}, blobs);
    other->setModelMatrix(Float4x4::Translation({0.6f, 0.2f, 0.4f}));
    operations = [&](SoftwareRenderer3D& renderer) {
        scene->actor->onRender(&renderer);
        other->onRender(&renderer);
    };
    drawRefined();
    passAfter(16);
    other->setStepCount(30);
    gate.close();
    draw();
    gate.awaitRow();
    const std::vector<uint16> slice(20 * 24, 30000);
    first->uploadData(9, 10, UInt16, slice.data());
    gate.open();
    while (system().getGlobalMainQueue()->empty()) std::this_thread::yield(); // the stopped tile has ended
    scene->actor->setStepCount(20);
    EXPECT_EQ(drawRefined(), drawPlainly());
}

// The coarse picture takes a limited time.

class HastyClock : public ManualClock {
public:
    int64 steadyNanoseconds() override {
        if (isHasty) advanceMs(3);
        ++readings;
        return ManualClock::steadyNanoseconds();
    }
    std::atomic<bool> isHasty{false};
    std::atomic<int> readings{0};
};

TEST_F(RefinementTest, RowsAfterTheBudgetAreInterpolated) {
    HastyClock hasty;
    gate.close();
    const Bytes whole = draw();
    gate.open();
    startScene({70, 54});
    Clock::install(&hasty);
    hasty.isHasty = true;
    gate.close();
    const Bytes hurried = draw();
    hasty.isHasty = false;
    EXPECT_NE(hurried, whole);
    for (const int y : {20, 27, 34}) {
        const auto at = static_cast<size_t>(4 * (70 * y + 35));
        EXPECT_NE(hurried[at + 1], 0) << "every part shows something: " << y;
    }
    gate.open();
    scene->renderer->waitRefined();
    EXPECT_EQ(draw(), drawPlainly());
    Clock::install(&clock);
}

TEST_F(RefinementTest, TheTimeForTheFirstPictureDoesNotGrowWithItsSize) {
    HastyClock hasty;
    Clock::install(&hasty);
    for (const IVec2<int>& size : {IVec2<int>(120, 100), IVec2<int>(480, 400)}) {
        startScene(size);
        gate.close();
        hasty.isHasty = true;
        hasty.readings = 0;
        const Bytes hurried = draw();
        hasty.isHasty = false;
        EXPECT_LT(hasty.readings, 40) << "looks at the clock, one before each row";
        for (const int y : {3, 4, 5}) {
            const auto at = static_cast<size_t>(4 * (size.x * (y * size.y / 8) + size.x / 2));
            EXPECT_NE(hurried[at + 1], 0) << "every part shows something: " << y;
        }
        gate.open();
        scene->renderer->waitRefined();
        EXPECT_EQ(draw(), drawPlainly());
    }
    Clock::install(&clock);
}

// Everything may be destroyed while pictures are computed.

TEST_F(RefinementTest, AnythingMayBeDestroyedMeanwhile) {
    const std::pair<const char*, std::function<void()>> destructions[] = {
        {"everything", [this] { scene = nullptr; }},
        {"new voxels",
         [this] {
             scene->setVolume({5, 5, 5}, blobs);
         }},
        {"initialised voxels",
         [this] {
             scene->texture->initialize(UInt16, {5, 6, 7});
         }},
        {"no voxels",
         [this] {
             scene->texture->initialize(UInt16, {0, 6, 7});
         }},
        {"tables",
         [this] {
             scene->actor->setColorAlphaLookupTexture(nullptr).setColorAlphaPreintegrationTexture(nullptr);
         }},
        {"target", [this] { scene->renderer->setRenderTarget(nullptr); }},
        {"progress", [this] { scene->renderer->setProgressive(false); }},
        {"system", [] { System::deinitialize(); }},
    };
    for (const auto& [name, destroy] : destructions) {
        for (const bool hasArrived : {false, true}) {
            SCOPED_TRACE(name);
            if (internal::g_system == nullptr) System::initialize({});
            startScene({70, 54});
            scene->actor->setUsingGlobalOcclusion(true);
            gate.close();
            draw();
            if (hasArrived) gate.awaitRow();
            gate.open();
            destroy();
            if (internal::g_system != nullptr) passAfter(16);
            if (!scene || scene->renderer->getRenderTarget() == nullptr) continue;
            EXPECT_EQ(drawRefined(), drawPlainly());
        }
    }
}

TEST_F(RefinementTest, ASystemThatStartsAgainIsUsed) {
    draw();
    System::deinitialize();
    EXPECT_TRUE(scene->renderer->isRefined());
    EXPECT_EQ(draw(), drawPlainly()) << "without a System pictures are exact at once";
    System::initialize({});
    gate.close();
    draw();
    EXPECT_FALSE(scene->renderer->isRefined());
    gate.open();
    EXPECT_EQ(drawRefined(), drawPlainly());
}

TEST_F(RefinementTest, VolumesAreHeldUntilTheirPictureIsExact) {
    const WeakPointer<VolumeTexture> texture(scene->texture.get());
    gate.close();
    draw();
    scene->texture = nullptr;
    EXPECT_NE(texture.get(), nullptr);
    gate.open();
    scene->renderer->waitRefined();
    EXPECT_EQ(texture.get(), nullptr);
}

TEST_F(RefinementTest, ViewsThatAreNotDrawnAreDropped) {
    const WeakPointer<VolumeTexture> texture(scene->texture.get());
    gate.close();
    draw();
    gate.awaitRow();
    scene->texture = nullptr;
    operations = [](SoftwareRenderer3D&) {};
    for (int frame = 0; frame < 60; ++frame) draw();
    EXPECT_FALSE(scene->renderer->isRefined());
    for (int frame = 0; frame < 20; ++frame) draw();
    EXPECT_TRUE(scene->renderer->isRefined());
    const int passed = gate.getPassed();
    gate.open();
    scene->renderer->waitRefined();
    EXPECT_LE(gate.getPassed() - passed, 4) << "only rows that had begun are computed";
    EXPECT_EQ(texture.get(), nullptr);
}

} // namespace
} // namespace qel
