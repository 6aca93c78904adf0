#include "graph_fixture.h"

#include <qel/scene/graphs/bubble_actor.h>
#include <qel/scene/graphs/bubble_actor_v2.h>

namespace qel {
namespace {

using test::Drawn;

class BubbleTest : public test::GraphFixture {
protected:
    test::RecordingRenderer renderer;
};

TEST_F(BubbleTest, TheBoxIsCenteredOverItsTip) {
    BubbleActor bubble;
    bubble.getTextActor().setText("Hello");
    const IVec2<float> text(bubble.getTextActor().getActualSize());
    bubble.setPosition({100, 90}).setTipSize({20, 10}).setInnerMargin({5, 6}).setOuterMargin({1, 2});
    bubble.setColor({1, 0, 0, 1});
    const float width = text.x + 12, height = text.y + 16;
    const Rect box(110 - width / 2, 80 - height, 110 + width / 2, 80);
    EXPECT_EQ(bubble.getBoundingBox(), box);
    const std::vector<Drawn> drawn = renderer.record(bubble);
    ASSERT_EQ(drawn.size(), 4u) << "the text has a shadow";
    EXPECT_EQ(drawn[0].target, box);
    EXPECT_EQ(drawn[0].tint, IVec4<float>(1, 0, 0, 1));
    EXPECT_EQ(drawn[1].points, (std::vector<IVec2<float>>{{110, 80}, {104, 80}, {100, 90}}));
    EXPECT_EQ(drawn[2].tint, IVec4<float>(0.1f, 0.1f, 0.1f, 0.8f)) << "the colour is that of the box only";
    EXPECT_EQ(drawn[3].target, Rect(box.x0 + 6, box.y0 + 8, box.x1 - 6, box.y1 - 8));
}

TEST_F(BubbleTest, TheSecondFormWrapsItsTextInABox) {
    BubbleActorV2 bubble;
    EXPECT_EQ(bubble.getMargin(), static_cast<float>(system().getTheme()->buttonSpacing()));
    EXPECT_EQ(bubble.getBackground()->getSprite(), system().getSprite("border-white-filled.webp"));
    bubble.getBackground()->setSprite(nullptr);
    bubble.getTextActor()->setText("one two three four five six seven");
    bubble.setTextBox({10, 10, 60, 90}).setMargin(8);
    renderer.record(bubble);
    const std::vector<Drawn> drawn = renderer.record(bubble);
    ASSERT_EQ(drawn.size(), 2u);
    EXPECT_EQ(drawn[0].target, Rect(10, 10, 60, 90));
    EXPECT_EQ(drawn[1].target, Rect(14, 14, 56, 86));
    bubble.getTextActor()->deactivate();
    bubble.getBackground()->deactivate();
    EXPECT_TRUE(renderer.record(bubble).empty());
}

} // namespace
} // namespace qel
