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
