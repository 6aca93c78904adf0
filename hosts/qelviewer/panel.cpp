#include "panel.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/system.h>

#include <cmath>
#include <span>
#include <utility>

namespace qelviewer {

void Panel::setCards(std::vector<qelwidgets::Card*> cards) {
    m_cards = std::move(cards);
    m_scroll.reset();
}

void Panel::draw(qel::Renderer& renderer, const qel::Rect& place, const qelwidgets::Look& look) {
    m_place = place;
    const float gap = std::floor(look.space / 2);
    const qel::Rect inner = qelwidgets::inset(place, gap);
    const float first = std::round(inner.y0 - m_scroll.getPosition());
    float top = first;
    renderer.pushClip(place.roundNearestAsInt());
    const size_t count = m_known < m_cards.size() ? ++m_known : m_cards.size();
    if (count < m_cards.size()) system()->delegateRequestFrame();
    for (qelwidgets::Card* const card : std::span(m_cards).first(count)) {
        const float height = std::ceil(card->measure(inner.getWidth()));
        card->draw(renderer, {inner.x0, top, inner.x1, top + height});
        top += height + gap;
    }
    m_scroll.setExtent(place, top - first + gap);
    m_scroll.drawBar(renderer, look);
    renderer.popClip();
}

void Panel::handleTouches(qel::TouchState& touches) {
    touches.pushClip(m_place);
    if (qel::TouchButton* const wheel = touches.acquireBegin(this, m_place, qelwindow::kTouchWheel))
        m_scroll.turnWheel(wheel->takeValue());
    for (qelwidgets::Card* const card : m_cards) card->handleTouches(touches);
    touches.acquireBegin(this, m_place, qelwindow::kTouchPress);
    touches.popClip();
    while (const qel::TouchButton* const touch = touches.iterateOwned(this))
        if ((touch->getFlags() & qelwindow::kTouchPress) != 0) m_scroll.follow(*touch);
}

} // namespace qelviewer
