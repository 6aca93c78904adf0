#include <hosts/widgets/button.h>

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <cmath>
#include <utility>

namespace qelwidgets {

Button::Button(std::function<void(qel::uint32)> pressed) : m_pressed(std::move(pressed)) {
    m_label.setHorizontalAlign(qel::TextAlign::Center);
    m_label.setVerticalAlign(qel::TextAlign::Center);
}

void Button::restyle(const Look& look, const qel::String& label, qel::Font* font) {
    m_look = look;
    restyleText(m_label, label, font ? font : system()->getTheme()->mediumFont(), look.buttonText);
}

float Button::getLabelWidth() {
    return static_cast<float>(m_label.getActualSize().x);
}

void Button::draw(qel::Renderer& renderer, const qel::Rect& place) {
    m_place = place;
    drawRect(renderer, place, m_isDown || m_isSelected ? m_look.pressed : m_look.button);
    const bool isInMiddle = m_label.getHorizontalAlign() == qel::TextAlign::Center;
    const float margin = isInMiddle ? 0.0f : std::floor(m_look.space);
    m_label.setBounds({place.x0 + margin, place.y0, place.x1 - margin, place.y1});
    renderer.pushClip(place.roundNearestAsInt());
    renderer.draw(&m_label);
    renderer.popClip();
}

void Button::handleTouches(qel::TouchState& touches) {
    touches.acquireBegin(this, m_place, qelwindow::kTouchPress);
    m_isDown = false;
    qel::uint32 pressedBy = 0;
    while (qel::TouchButton* const touch = touches.iterateOwned(this)) {
        const bool isInside = contains(m_place, touch->getPosition());
        if (touch->isEnd() && isInside) pressedBy = touch->getFlags();
        m_isDown |= isInside && !touch->isEnd();
    }
    if (pressedBy != 0) m_pressed(pressedBy);
}

} // namespace qelwidgets
