#include "graphs_page.h"

#include <qel/render/renderer.h>
#include <qel/scene/graphs/bubble_actor.h>
#include <qel/scene/graphs/bubble_actor_v2.h>
#include <qel/scene/graphs/graph_actor.h>
#include <qel/scene/graphs/prim_actor.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelscreens {

namespace {

using Point = qel::IVec2<float>;

constexpr float kPi = 3.14159265f;
constexpr Color kBlue{0.36f, 0.68f, 0.86f, 1};

/// A pressure curve and a flow curve over two seconds.
class CurvesCard : public Card {
    QEL_CLASS(CurvesCard, Card)

public:
    CurvesCard() : Card("screens-curves-title") {}
    bool isWide() const override { return true; }

protected:
    void restyleContent() override {
        m_graph.clearGraphs();
        m_graph.setTitle(tr("screens-curves-caption"));
        m_graph.setHorizontalAxisLabel(tr("screens-curves-time"));
        m_graph.setVerticalAxisLabel(tr("screens-curves-value"));
        m_graph.setHorizontalAxisColor(look().faintText);
        m_graph.setVerticalAxisColor(look().faintText);
        m_graph.setHorizontalAxisInterval(0, kSeconds);
        m_graph.setVerticalAxisInterval(-1, 1.5f);
        m_graph.setVerticalLines(8);
        const qel::Vector<Point> pressure = curve(&pressureAt);
        const qel::Vector<Point> flow = curve(&flowAt);
        m_graph.addGraph(pressure.data(), static_cast<unsigned>(pressure.size()),
                         tr("screens-curves-pressure"), 2, look().accent, 1);
        m_graph.addGraph(flow.data(), static_cast<unsigned>(flow.size()), tr("screens-curves-flow"), 1,
                         kBlue);
    }
    float measureContent(float) override { return 9 * look().buttonHeight; }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        const qel::Rect plot(place.x0, place.y0, place.x1, place.y0 + 9 * look().buttonHeight);
        drawRect(renderer, plot, look().field);
        m_graph.setBounds(inset(plot, look().space / 2));
        renderer.draw(&m_graph);
    }

private:
    static constexpr float kSeconds = 2;
    static constexpr int kPoints = 400;

    static float pressureAt(float seconds) {
        const float beat = std::fmod(seconds, 0.8f) / 0.8f;
        return 0.6f + 0.6f * std::exp(-30 * (beat - 0.3f) * (beat - 0.3f)) +
               0.12f * std::exp(-300 * (beat - 0.55f) * (beat - 0.55f));
    }
    static float flowAt(float seconds) {
        return 0.7f * std::sin(seconds * 2 * kPi) * std::exp(-0.6f * seconds);
    }
    static qel::Vector<Point> curve(float (*valueAt)(float)) {
        qel::Vector<Point> points;
        for (int i = 0; i <= kPoints; ++i) {
            const float seconds = kSeconds * static_cast<float>(i) / kPoints;
            points.push_back({seconds, valueAt(seconds)});
        }
        return points;
    }

    qel::GraphActor m_graph;
};

/// Both kinds of bubbles.
class BubblesCard : public Card {
    QEL_CLASS(BubblesCard, Card)

public:
    BubblesCard() : Card("screens-bubbles-title") {}

protected:
    void restyleContent() override {
        qel::Font* const font = system()->getTheme()->smallMediumFont();
        restyleText(m_bubble.getTextActor(), tr("screens-bubbles-tip"), font, look().text);
        restyleText(*m_box.getTextActor(), tr("screens-bubbles-box"), font, look().text);
        const float margin = look().space;
        m_bubble.setColor(look().pressed)
            .setInnerMargin({margin, margin})
            .setTipSize({2 * margin, 2 * margin});
        m_box.getBackground()->setFixedSize({look().buttonHeight, look().buttonHeight});
        m_box.setMargin(look().space * 4);
    }
    float measureContent(float) override { return 7 * look().buttonHeight; }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        const float size = look().buttonHeight;
        const qel::Rect left = columnOf(place, 0, 2, look().space);
        const float margins = 2 * (look().space + m_bubble.getOuterMargin().x);
        m_bubble.getTextActor().setWordWrap(std::max(1, static_cast<int>(left.getWidth() - margins)));
        m_bubble.setPosition({std::round((left.x0 + left.x1) / 2), place.y0 + 6 * size});
        renderer.draw(&m_bubble);
        const qel::Rect right = columnOf(place, 1, 2, look().space);
        m_box.setTextBox({right.x0, place.y0 + size, right.x1, place.y0 + 6 * size});
        renderer.draw(&m_box);
    }

private:
    qel::BubbleActor m_bubble;
    qel::BubbleActorV2 m_box;
};

/// Ring segments, and a star of lines.
class FormsCard : public Card {
    QEL_CLASS(FormsCard, Card)

public:
    FormsCard() : Card("screens-forms-title") {}

protected:
    void restyleContent() override {
        const Color colors[kSegments] = {look().accent, look().pressed, kBlue, look().line};
        const float radius = 2.5f * look().buttonHeight;
        for (int i = 0; i < kSegments; ++i) {
            m_segments[i].createRingSegment(radius * 0.6f, radius, kStarts[i], kStarts[i + 1] - kGap);
            m_segments[i].setColor(colors[i]);
            m_segments[i].setShadow(true);
        }
        m_star.vertices().clear();
        for (int i = 0; i <= kStarPoints; ++i) {
            const float angle = static_cast<float>(i * kStarStep) * 2 * kPi / kStarPoints;
            m_star.vertices().push_back({radius * std::sin(angle), -radius * std::cos(angle)});
        }
        m_star.setType(qel::PrimActor::Type::LineStrip);
        m_star.setColor(look().accent);
    }
    float measureContent(float) override { return 5.5f * look().buttonHeight; }
    void drawContent(qel::Renderer& renderer, const qel::Rect& place) override {
        const float middle = place.y0 + 2.6f * look().buttonHeight;
        const auto centreOf = [&](int column) {
            const qel::Rect area = columnOf(place, column, 2, look().space);
            return Point{(area.x0 + area.x1) / 2, middle};
        };
        for (qel::PrimActor& segment : m_segments) {
            segment.setOffset(centreOf(0));
            renderer.draw(&segment);
        }
        m_star.setOffset(centreOf(1));
        renderer.draw(&m_star);
    }

private:
    static constexpr int kSegments = 4;
    static constexpr int kGap = 600; // of 65536
    static constexpr int kStarts[kSegments + 1] = {0, 26'000, 41'000, 56'000, 65'536};
    static constexpr int kStarPoints = 9;
    static constexpr int kStarStep = 4;

    qel::PrimActor m_segments[kSegments];
    qel::PrimActor m_star;
};

} // namespace

GraphsPage::GraphsPage() : Page("graphs") {
    add(new CurvesCard());
    add(new BubblesCard());
    add(new FormsCard());
}

} // namespace qelscreens
