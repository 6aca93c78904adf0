#include "graph_fixture.h"

#include <qel/scene/graphs/graph_actor.h>

#include <gmock/gmock.h>

#include <cmath>
#include <limits>

namespace qel {
namespace {

using test::Drawn;
using testing::AllOf;
using testing::Ge;
using testing::Le;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr IVec4<float> kRed(1, 0, 0, 1);

/// The plot of bounds of 200 by 100 is the rectangle from (15, 12.5) to (195, 97.5).
class GraphActorTest : public test::GraphFixture {
protected:
    GraphActorTest() { actor.setBounds({0, 0, 200, 100}); }
    std::vector<Rect> drawnLines(const IVec4<float>& color) {
        std::vector<Rect> lines;
        for (const Drawn& d : renderer.record(actor))
            if (d.kind == "line" && d.tint == color) lines.push_back(d.target);
        return lines;
    }
    void addGraph(const std::vector<IVec2<float>>& points, float width = 1, float shading = 0) {
        actor.addGraph(points.data(), points.size(), "curve", width, kRed, shading);
    }

    test::RecordingRenderer renderer;
    GraphActor actor;
};

TEST_F(GraphActorTest, PointsAreMappedIntoThePlot) {
    actor.setHorizontalAxisInterval(10, 20).setVerticalAxisInterval(-1, 1);
    addGraph({{10, -1}, {15, 1}, {20, 0}});
    EXPECT_EQ(drawnLines(kRed), (std::vector<Rect>{{15, 97.5f, 105, 12.5f}, {105, 12.5f, 195, 55}}));
    EXPECT_EQ(drawnLines({1, 1, 1, 1}), (std::vector<Rect>{{15, 97.5f, 195, 97.5f}, {15, 12.5f, 15, 97.5f}}));
    renderer.pushClip({0, 0, 200, 12});
    EXPECT_TRUE(drawnLines(kRed).empty()) << "the plot is outside the clip";
}

TEST_F(GraphActorTest, GuideLinesDivideThePlotEvenly) {
    actor.setVerticalLines(2).setHorizontalAxisInterval(0, 3).setHorizontalAxisColor({1, 1, 0, 1});
    EXPECT_EQ(drawnLines({0.3f, 0.3f, 0, 0.3f}),
              (std::vector<Rect>{{75, 12.5f, 75, 97.5f}, {135, 12.5f, 135, 97.5f}}));
    const std::pair<int, size_t> cases[] = {{-5, 0}, {0, 0}, {179, 179}, {2'000'000'000, 180}};
    for (const auto& [count, lines] : cases) {
        actor.setVerticalLines(count);
        EXPECT_EQ(drawnLines({0.3f, 0.3f, 0, 0.3f}).size(), lines) << count;
    }
}

TEST_F(GraphActorTest, GuideLinesFarFromTheClipTakeNoTime) {
    actor.setVerticalLines(std::numeric_limits<int>::max()).setBounds({0, 0, 1e30f, 100});
    EXPECT_LT(drawnLines({0.3f, 0.3f, 0.3f, 0.3f}).size(), 300u);
    actor.setBounds({-1e7f, 0, 1e7f, 100});
    EXPECT_THAT(drawnLines({0.3f, 0.3f, 0.3f, 0.3f}).size(), AllOf(Ge(200u), Le(203u)));
}

TEST_F(GraphActorTest, NumbersWithoutAPlaceDrawNoCurve) {
    const std::vector<std::vector<IVec2<float>>> curves = {
        {}, {{0, 0}}, {{kNaN, 0}, {1, 1}}, {{0, 0}, {1, INFINITY}}, {{3e38f, 0}, {-3e38f, 1}}};
    for (const std::vector<IVec2<float>>& points : curves) addGraph(points, 1, 1);
    EXPECT_TRUE(drawnLines(kRed).empty());
    EXPECT_EQ(renderer.count("triangle"), 0);
    addGraph({{0, 0}, {1, 1}, {kNaN, 1}, {0, 1}, {1, 0}});
    EXPECT_EQ(drawnLines(kRed).size(), 2u) << "there is a gap at the point that is not finite";
    for (const auto& [begin, end] : {std::pair{1.0f, 1.0f}, {kNaN, 1.0f}, {0.0f, INFINITY}}) {
        actor.setHorizontalAxisInterval(begin, end).setVerticalAxisInterval(0, 1);
        EXPECT_TRUE(drawnLines(kRed).empty()) << begin;
        actor.setHorizontalAxisInterval(0, 1).setVerticalAxisInterval(begin, end);
        EXPECT_TRUE(drawnLines(kRed).empty()) << begin;
    }
}

TEST_F(GraphActorTest, BoundsOfAnySizeAreDrawnUnlessInvisible) {
    addGraph({{0, 0}, {1, 1}}, 2, 1);
    actor.setVerticalLines(1000).setTitle("title");
    for (const Rect& bounds : {Rect(0, 0, 1e30f, 1e30f), Rect(-INFINITY, 0, INFINITY, 1),
                               Rect(0, 0, 1e-30f, 1), Rect(-3e38f, -3e38f, 3e38f, 3e38f)})
        EXPECT_FALSE(renderer.record(actor.setBounds(bounds)).empty()) << bounds.x1;
    EXPECT_TRUE(renderer.record(actor.setBounds({5, 5, 5, 9})).empty());
    actor.setBounds({0, 0, 200, 100});
    EXPECT_TRUE(renderer.record(actor.setColor({1, 1, 1, 0.002f})).empty());
}

} // namespace
} // namespace qel
