#include "panel_cards.h"

#include "numbers.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelviewer {

namespace {

constexpr qelwidgets::Color kBarColor{0.55f, 0.65f, 0.72f, 1};
constexpr qelwidgets::Color kWindowColor{0.98f, 0.78f, 0.23f, 0.22f};

/// Returns the counts of @p columns equal parts of the histogram, on a logarithmic scale from 0 to 1.
std::vector<float> columnHeights(const Histogram& histogram, size_t columns) {
    std::vector<float> heights(columns);
    double highest = 0;
    for (size_t i = 0; i < columns; ++i) {
        const size_t begin = i * histogram.counts.size() / columns;
        const size_t end = std::max(begin + 1, (i + 1) * histogram.counts.size() / columns);
        double count = 0;
        for (size_t bin = begin; bin < std::min(end, histogram.counts.size()); ++bin)
            count += static_cast<double>(histogram.counts[bin]);
        heights[i] = static_cast<float>(std::log1p(count));
        highest = std::max<double>(highest, heights[i]);
    }
    for (float& height : heights) height /= static_cast<float>(std::max(highest, 1e-9));
    return heights;
}

} // namespace

float HistogramCard::measureContent(float) {
    return look().buttonHeight * 3;
}

float HistogramCard::positionOf(double value) const {
    const Histogram& histogram = m_state.study->histogram;
    const double share = std::clamp((value - histogram.smallest) / fullWindow(histogram).width, 0.0, 1.0);
    return m_area.x0 + static_cast<float>(share) * m_area.getWidth();
}

void HistogramCard::drawContent(qel::Renderer& renderer, const qel::Rect& place) {
    m_area = place;
    m_area.y1 -= std::floor(look().buttonHeight * 0.6f);
    qelwidgets::drawRect(renderer, m_area, look().field);
    if (!m_state.study || m_state.study->histogram.counts.empty()) return;
    drawBars(renderer);
    drawWindow(renderer);
    m_labels.begin();
    const Histogram& histogram = m_state.study->histogram;
    const qel::Rect captions(place.x0, m_area.y1 + 2, place.x1, place.y1);
    qel::Font* const font = system()->getTheme()->smallFont();
    m_labels.draw(renderer, formatShort(histogram.smallest, 2), captions,
                  {look().faintText, qel::TextAlign::Start, qel::TextAlign::Start, font});
    m_labels.draw(renderer, formatShort(histogram.largest, 2), captions,
                  {look().faintText, qel::TextAlign::End, qel::TextAlign::Start, font});
}

void HistogramCard::drawBars(qel::Renderer& renderer) {
    const auto columns = static_cast<size_t>(std::max(1.0f, m_area.getWidth()));
    const std::vector<float> heights = columnHeights(m_state.study->histogram, columns);
    renderer.pushColor(kBarColor);
    for (size_t i = 0; i < columns; ++i) {
        const float left = m_area.x0 + static_cast<float>(i);
        renderer.drawRectInternal({left, m_area.y1 - heights[i] * m_area.getHeight(), left + 1, m_area.y1});
    }
    renderer.popColor();
}

/// Shades the window and draws the line from black to white.
void HistogramCard::drawWindow(qel::Renderer& renderer) {
    const float left = positionOf(m_state.window.lower());
    const float right = std::max(positionOf(m_state.window.upper()), left + 1);
    qelwidgets::drawRect(renderer, {left, m_area.y0, right, m_area.y1}, kWindowColor);
    renderer.pushColor(look().accent);
    renderer.drawAALineInternal({left, m_area.y1}, {right, m_area.y0});
    renderer.popColor();
}

void HistogramCard::handleTouches(qel::TouchState& touches) {
    touches.acquireBegin(this, m_area, qelwindow::kTouchPress);
    while (const qel::TouchButton* const touch = touches.iterateOwned(this)) {
        if (!m_state.study || m_area.getWidth() < 1) continue;
        const Histogram& histogram = m_state.study->histogram;
        const double share = (touch->getPosition().x - m_area.x0) / m_area.getWidth();
        m_state.window.center =
            histogram.smallest + std::clamp(share, 0.0, 1.0) * (histogram.largest - histogram.smallest);
    }
}

} // namespace qelviewer
