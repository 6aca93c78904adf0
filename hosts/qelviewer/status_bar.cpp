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

void StatusBar::draw(qel::Renderer& renderer, const qel::Rect& place, const std::string& text) {
    qelwidgets::drawRect(renderer, place, m_look.bar);
    qelwidgets::drawRect(renderer, {place.x0, place.y0, place.x1, place.y0 + 1}, m_look.line);
    const float gap = std::floor(m_look.space);
    m_labels.begin();
    const float used = m_labels.draw(renderer, text, {place.x0 + gap, place.y0, place.x1, place.y1},
                                     {m_look.text, qel::TextAlign::Start, qel::TextAlign::Center});
    const qel::Rect rest(place.x0 + used + 3 * gap, place.y0, place.x1 - gap, place.y1);
    if (rest.getWidth() < 1) return;
    renderer.pushClip(rest.roundNearestAsInt());
    const qelwidgets::Color errorColor = qelwidgets::styleColor("TextActor", "color", "error", kErrorColor);
    m_labels.draw(renderer, m_message, rest,
                  {m_isError ? errorColor : m_look.faintText, qel::TextAlign::End, qel::TextAlign::Center});
    renderer.popClip();
}

} // namespace qelviewer
