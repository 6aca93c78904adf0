#include "text_field.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <string_view>

namespace qelscreens {

namespace {

constexpr int kPlainLayout = 0;

} // namespace

TextField::TextField() {
    for (qel::TextActor* const text : {&m_text, &m_hint}) {
        text->setVerticalAlign(qel::TextAlign::Center);
        text->setTrimEOT(false);
    }
    m_text.setHorizontalAlign(qel::TextAlign::FollowCursor);
    updateText();
}

void TextField::restyle(const Look& look) {
    m_look = look;
    qel::Font* const font = system()->getTheme()->mediumFont();
    restyleText(m_text, m_text.getText(), font, look.text);
    restyleText(m_hint, tr("screens-field-hint"), font, look.faintText);
}

void TextField::draw(qel::Renderer& renderer, const qel::Rect& place) {
    m_place = place;
    drawRect(renderer, place, m_look.field);
    drawOutline(renderer, place, hasFocus() ? m_look.accent : m_look.line, 1);
    const qel::Rect inner{place.x0 + m_look.space, place.y0, place.x1 - m_look.space, place.y1};
    const qel::IVec4<int> clip = inner.roundNearestAsInt();
    renderer.pushClip(clip);
    qel::TextActor& shown = m_buffer.getText().empty() && !hasFocus() ? m_hint : m_text;
    shown.setBounds(inner);
    renderer.draw(&shown);
    renderer.popClip();
}

void TextField::handleTouches(qel::TouchState& touches) {
    if (hasFocus() && touches.checkBegin(qelwindow::kTouchPress) &&
        !touches.checkBegin(m_place, qelwindow::kTouchPress)) {
        system()->hideKeyboard(this);
        updateText();
    }
    if (const qel::TouchButton* const touch = touches.acquireBegin(this, m_place, qelwindow::kTouchPress)) {
        takeFocus();
        m_buffer.moveTo(indexAt(touch->getPosition()), false);
        if (touch->isDoubleTapBegin()) m_buffer.selectWord(m_buffer.getCursor());
        updateText();
    }
    while (const qel::TouchButton* const touch = touches.iterateOwned(this)) {
        if (touch->isBegin() || touch->getTapCount() > 1) continue;
        if (touch->getPosition() == touch->getPreviousPosition()) continue;
        m_buffer.moveTo(indexAt(touch->getPosition()), true);
        updateText();
    }
}

bool TextField::hasFocus() const {
    return system()->getKeyboardReceiver() == this;
}

void TextField::takeFocus() {
    const auto index = [](size_t value) { return static_cast<int>(value); };
    system()->showKeyboard(this, m_buffer.getText().c_str(), kPlainLayout,
                           {index(m_buffer.getAnchor()), index(m_buffer.getCursor())}, m_place, false, false);
    updateText();
}

void TextField::insertText(const std::string& text) {
    m_buffer.insert(text);
    updateText();
}

bool TextField::handleKey(const std::string& key) {
    std::string_view plain = key;
    const size_t shift = plain.find("shift+");
    const bool selecting = shift != plain.npos;
    std::string name = key;
    if (selecting) name.erase(shift, std::string_view("shift+").size());
    const bool isUsed = handleMovement(name, selecting) || handleCommand(name);
    if (isUsed) updateText();
    return isUsed;
}

bool TextField::handleMovement(const std::string& key, bool selecting) {
    if (key == "left" || key == "ctrl+left")
        m_buffer.step(false, key.size() > 4, selecting);
    else if (key == "right" || key == "ctrl+right")
        m_buffer.step(true, key.size() > 5, selecting);
    else if (key == "home" || key == "up")
        m_buffer.moveTo(0, selecting);
    else if (key == "end" || key == "down")
        m_buffer.moveTo(EditBuffer::kLongestText, selecting);
    else
        return false;
    return true;
}

bool TextField::handleCommand(const std::string& key) {
    if (key == "backspace" || key == "delete")
        m_buffer.erase(key == "delete");
    else if (key == "ctrl+a")
        m_buffer.selectAll();
    else if (key == "ctrl+c")
        copySelection();
    else if (key == "ctrl+x") {
        copySelection();
        m_buffer.insert("");
    } else if (key == "ctrl+v")
        m_buffer.insert(system()->delegateGetClipboardText());
    else if (key == "return" || key == "escape")
        system()->hideKeyboard(this);
    else
        return key.size() == 1 || key == "space"; // arrives as text as well
    return true;
}

void TextField::copySelection() const {
    const qel::String text = m_buffer.getSelectedText();
    if (!text.empty()) system()->delegateSetClipboardText(text.c_str());
}

/// No cursor can be shown after the last character, hence the space.
void TextField::updateText() {
    m_text.setText(m_buffer.getText() + " ");
    if (!hasFocus())
        m_text.setCursor(-1);
    else
        m_text.setCursorSelection(static_cast<int>(m_buffer.getCursor()),
                                  static_cast<int>(m_buffer.getAnchor()));
}

size_t TextField::indexAt(const qel::IVec2<float>& point) {
    const float middle = (m_place.y0 + m_place.y1) / 2;
    const int index = m_text.findCursorPosition({point.x, middle});
    if (index >= 0) return static_cast<size_t>(index);
    return point.x < m_place.x1 ? m_buffer.getCursor() : EditBuffer::kLongestText;
}

} // namespace qelscreens
