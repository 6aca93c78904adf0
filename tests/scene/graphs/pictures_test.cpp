// Frames of graphs and bubbles; tests/scene/graphs/pictures.txt holds their hashes. Those with texts hold for
// one build of the font library only.
#include "graph_fixture.h"

#include <tests/support/picture_test.h>
#include <tests/support/source_dir.h>

#include <qel/plugins/resource_locator.h>
#include <qel/render/renderer_software.h>
#include <qel/scene/graphs/bubble_actor.h>
#include <qel/scene/graphs/bubble_actor_v2.h>
#include <qel/scene/graphs/graph_actor.h>
#include <qel/scene/graphs/prim_actor.h>

namespace qel {
namespace {

constexpr const char* kList = "tests/scene/graphs/pictures.txt";

using GraphPictures = test::GraphFixture;

TEST_F(GraphPictures, RingSegments) {
    test::expectFrame(kList, "rings", {200, 110}, [](RendererSoftware& r) {
        for (int i = 0; i < 6; ++i) {
            PrimActor ring;
            ring.createRingSegment(20, static_cast<float>(50 - i * 8), i * 9000, i * 9000 + 12'345 + i);
            const auto f = static_cast<float>(i);
            ring.setOffset({55 + 15 * f, 55}).setShadow(i % 2 == 0).setColor({1, 1 - f / 6, f / 6, 0.6f});
            r.draw(&ring);
        }
    });
}

TEST_F(GraphPictures, Graph) {
    std::vector<IVec2<float>> dose, pulse;
    for (int i = 0; i <= 40; ++i) {
        const auto x = static_cast<float>(i) / 10;
        dose.push_back({x, 1 - (x - 2) * (x - 2) / 4});
        pulse.push_back({x, i % 8 < 4 ? 0.25f : 0.6f});
    }
    test::expectFrame(kList, "graph", {400, 260}, [&](RendererSoftware& r) {
        GraphActor graph;
        graph.setBounds({5, 5, 395, 255}).setTitle("Dose").setHorizontalAxisLabel("hours");
        graph.setHorizontalAxisInterval(0, 4).setVerticalAxisInterval(0, 1.2f).setVerticalLines(3);
        graph.setVerticalAxisColor({0.5f, 1, 0.5f, 1}).setVerticalAxisLabel("mg");
        graph.addGraph(dose.data(), dose.size(), "dose", 3, {1, 0.6f, 0.2f, 1}, 1);
        graph.addGraph(pulse.data(), pulse.size(), "pulse", 1, {0.5f, 0.8f, 1, 1});
        r.draw(&graph);
    });
}

TEST_F(GraphPictures, Bubbles) {
    system().getResourceLocator()->addResourceDirectory(test::sourceDir() + "/resources"); // the border
    test::expectFrame(kList, "bubbles", {400, 200}, [&](RendererSoftware& r) {
        BubbleActor bubble;
        bubble.getTextActor().setText("A bubble").setColor({1, 1, 0.7f, 1});
        r.draw(&bubble.setPosition({110, 190}).setColor({0.2f, 0.4f, 0.6f, 1}));
        BubbleActorV2 second;
        second.getTextActor()->setText("A longer text that is wrapped to the width of its box");
        r.draw(&second.setTextBox({240, 20, 390, 180}));
    });
}

} // namespace
} // namespace qel
