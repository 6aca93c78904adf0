#include "panel_cards.h"

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <cmath>

namespace qelviewer {

namespace {

constexpr float kNameShare = 0.42f;

} // namespace

float TableCard::rowHeight() const {
    return std::ceil(static_cast<float>(system()->getTheme()->smallFont()->getLineHeight()) * 1.2f);
}

float TableCard::measureContent(float) {
    return static_cast<float>(m_rows().size()) * rowHeight();
}

void TableCard::drawContent(qel::Renderer& renderer, const qel::Rect& place) {
    m_labels.begin();
    qel::Font* const font = system()->getTheme()->smallFont();
    const float middle = std::floor(place.x0 + place.getWidth() * kNameShare);
    float top = place.y0;
    renderer.pushClip(place.roundNearestAsInt());
    for (const auto& [name, value] : m_rows()) {
        const float bottom = top + rowHeight();
        renderer.pushClip(qel::Rect(place.x0, top, middle - look().space / 2, bottom).roundNearestAsInt());
        m_labels.draw(renderer, name, {place.x0, top, middle, bottom},
                      {look().faintText, qel::TextAlign::Start, qel::TextAlign::Start, font});
        renderer.popClip();
        m_labels.draw(renderer, value, {middle, top, place.x1, bottom},
                      {look().text, qel::TextAlign::Start, qel::TextAlign::Start, font});
        top = bottom;
    }
    renderer.popClip();
}

} // namespace qelviewer
