#include <tests/scene/actors/recording_renderer.h>
#include <tests/support/system_fixture.h>

#include <qel/scene/graphs/prim_actor.h>

#include <climits>
#include <cmath>

namespace qel {
namespace {

class PrimActorTest : public test::SystemFixture {
protected:
    test::RecordingRenderer renderer;
    PrimActor actor;
};

TEST_F(PrimActorTest, TheTypeDecidesHowPointsAreJoined) {
    actor.vertices() = {{0, 0}, {1, 0}, {2, 1}, {3, 1}, {4, 2}};
    actor.setOffset({10, 20});
    EXPECT_EQ(renderer.record(actor).size(), 2u) << "the last point is alone";
    EXPECT_EQ(renderer.drawn[1].target, Rect(12, 21, 13, 21));
    EXPECT_EQ(renderer.record(actor.setType(PrimActor::Type::LineStrip)).size(), 4u);
    EXPECT_EQ(renderer.drawn[3].target, Rect(13, 21, 14, 22));
    EXPECT_EQ(renderer.record(actor.setType(PrimActor::Type::Triangles)).size(), 1u);
    EXPECT_EQ(renderer.drawn[0].points, (std::vector<IVec2<float>>{{10, 20}, {11, 20}, {12, 21}}));
    EXPECT_TRUE(renderer.record(actor.setType(static_cast<PrimActor::Type>(7))).empty());
    actor.vertices().clear();
    for (int type = 0; type < 3; ++type)
        EXPECT_TRUE(renderer.record(actor.setType(static_cast<PrimActor::Type>(type))).empty());
    EXPECT_TRUE(renderer.record(actor.addTriangle({}, {}, {}).setColor({1, 1, 1, 0.002f})).empty());
    actor.vertices().clear();
    actor.addQuad({0, 0}, {1, 0}, {1, 1}, {0, 1});
    EXPECT_EQ(actor.vertices(), (Vector<IVec2<float>>{{0, 0}, {1, 0}, {1, 1}, {0, 0}, {1, 1}, {0, 1}}));
}

TEST_F(PrimActorTest, ARingRunsClockwiseFromTheTop) {
    actor.createRingSegment(10, 20, 0, 16384);
    ASSERT_EQ(actor.vertices().size(), 16u * 6);
    const Vector<IVec2<float>>& v = actor.vertices();
    EXPECT_EQ(v[0], IVec2<float>(0, -20));
    EXPECT_EQ(v[1], IVec2<float>(0, -10));
    EXPECT_EQ(v[16 * 6 - 2], IVec2<float>(10, 0)) << "a quarter turn ends on the right";
    EXPECT_EQ(v[16 * 6 - 1], IVec2<float>(20, 0));
    actor.createRingSegment(10, 20, 49152, 49153);
    EXPECT_EQ(actor.vertices().size(), 6u) << "the earlier points are gone";
    EXPECT_EQ(actor.vertices()[0], IVec2<float>(-20, 0));
}

TEST_F(PrimActorTest, RingsOfAnyAnglesEnd) {
    const std::pair<IVec2<int>, size_t> cases[] = {{{5, 5}, 0},
                                                   {{6, 5}, 0},
                                                   {{INT_MAX, INT_MIN}, 0},
                                                   {{0, 1025}, 12},
                                                   {{-1024, 1024}, 12},
                                                   {{INT_MAX - 1, INT_MAX}, 6},
                                                   {{INT_MIN, INT_MIN + 1}, 6}};
    for (const auto& [angles, count] : cases)
        EXPECT_EQ(actor.createRingSegment(1, 2, angles.x, angles.y).vertices().size(), count) << angles.x;
    EXPECT_EQ(actor.createRingSegment(INFINITY, 2, 0, 1).vertices().size(), 6u);
}

} // namespace
} // namespace qel
