#include "panel.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelviewer {

namespace {

constexpr float kWheelPixels = 48;

} // namespace

void Panel::setCards(std::vector<qelwidgets::Card*> cards) {
    m_cards = std::move(cards);
    m_scroll = 0;
}

void Panel::draw(qel::Renderer& renderer, const qel::Rect& place, const qelwidgets::Look& look) {
    m_place = place;
    const float gap = std::floor(look.space / 2);
    const qel::Rect inner = qelwidgets::inset(place, gap);
    float top = std::round(inner.y0 - m_scroll);
    renderer.pushClip(place.roundNearestAsInt());
    for (qelwidgets::Card* const card : m_cards) {
        const float height = std::ceil(card->measure(inner.getWidth()));
        card->draw(renderer, {inner.x0, top, inner.x1, top + height});
        top += height + gap;
    }
    renderer.popClip();
    m_hidden = std::max(0.0f, top + m_scroll - place.y1);
    m_scroll = std::clamp(m_scroll, 0.0f, m_hidden);
}

void Panel::handleTouches(qel::TouchState& touches) {
    touches.pushClip(m_place);
    if (qel::TouchButton* const wheel = touches.acquireBegin(this, m_place, qelwindow::kTouchWheel))
        m_scroll -= wheel->takeValue() * kWheelPixels;
    for (qelwidgets::Card* const card : m_cards) card->handleTouches(touches);
    touches.acquireBegin(this, m_place, qelwindow::kTouchPress);
    touches.popClip();
    while (const qel::TouchButton* const touch = touches.iterateOwned(this))
        if ((touch->getFlags() & qelwindow::kTouchPress) != 0 && !touch->isBegin())
            m_scroll -= touch->getPosition().y - touch->getPreviousPosition().y;
    m_scroll = std::clamp(m_scroll, 0.0f, m_hidden);
}

} // namespace qelviewer
