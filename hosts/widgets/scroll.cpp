#include <hosts/widgets/scroll.h>

#include <hosts/widgets/card.h>

#include <qel/scene/actors/touch_state.h>

#include <algorithm>
#include <cmath>

namespace qelwidgets {

namespace {

constexpr float kWheelPixels = 48;
constexpr float kLeastBar = 12; // pixels

} // namespace

void Scroll::setExtent(const qel::Rect& place, float contentHeight) {
    m_place = place;
    m_hidden = std::max(0.0f, contentHeight - place.getHeight());
    moveBy(0);
}

void Scroll::moveBy(float pixels) {
    m_position = std::clamp(m_position + pixels, 0.0f, m_hidden);
}

void Scroll::turnWheel(float steps) {
    moveBy(-steps * kWheelPixels);
}

void Scroll::follow(const qel::TouchButton& touch) {
    if (!touch.isBegin() && !touch.isEnd()) moveBy(touch.getPreviousPosition().y - touch.getPosition().y);
}

void Scroll::drawBar(qel::Renderer& renderer, const Look& look) const {
    const float height = m_place.getHeight();
    if (!isNeeded() || height < 1) return;
    const float width = std::max(2.0f, std::floor(look.space / 3));
    const float length =
        std::clamp(height * height / (height + m_hidden), std::min(kLeastBar, height), height);
    const float top = std::floor(m_place.y0 + (height - length) * m_position / m_hidden);
    const float right = m_place.x1 - 1;
    drawRect(renderer, {right - width, top, right, top + std::ceil(length)}, look.line);
}

} // namespace qelwidgets
