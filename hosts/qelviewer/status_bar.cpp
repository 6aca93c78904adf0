#include "status_bar.h"

#include <hosts/widgets/card.h>

#include <qel/foundation/base/string.h>
#include <qel/render/renderer.h>

#include <cmath>

namespace qelviewer {

namespace {

constexpr qelwidgets::Color kErrorColor{0.96f, 0.45f, 0.3f, 1};

} // namespace

void StatusBar::restyle(const qelwidgets::Look& look) {
    m_look = look;
    m_labels.clear();
}

void StatusBar::setMessage(const std::string& message, bool isError) {
    m_message = qel::String(message).utf8_fix(); // it may name a file
    m_isError = isError;
}

void StatusBar::dismissError() {
    if (m_isError) setMessage("", false);
}

void StatusBar::draw(qel::Renderer& renderer, const qel::Rect& place, const std::string& text) {
    qelwidgets::drawRect(renderer, place, m_look.bar);
    qelwidgets::drawRect(renderer, {place.x0, place.y0, place.x1, place.y0 + 1}, m_look.line);
    const float gap = std::floor(m_look.space);
    const Labels::Style style{m_look.text, qel::TextAlign::Start, qel::TextAlign::Center};
    m_labels.begin();
    const float needed = m_isError ? m_labels.measure(m_message, style).x + 4 * gap : 0;
    qel::Rect rest(place.x0 + gap, place.y0, place.x1 - gap, place.y1);
    if (m_labels.measure(text, style).x + needed <= place.getWidth() || !m_isError)
        rest.x0 += m_labels.draw(renderer, text, {rest.x0, place.y0, place.x1, place.y1}, style) + 2 * gap;
    if (rest.getWidth() < 1) return;
    renderer.pushClip(rest.roundNearestAsInt());
    const qelwidgets::Color errorColor = qelwidgets::styleColor("TextActor", "color", "error", kErrorColor);
    m_labels.draw(renderer, m_message, rest,
                  {m_isError ? errorColor : m_look.faintText, qel::TextAlign::End, qel::TextAlign::Center});
    renderer.popClip();
}

} // namespace qelviewer
