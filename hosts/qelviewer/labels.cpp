#include "labels.h"

#include <hosts/widgets/card.h>

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <cmath>

namespace qelviewer {

namespace {

constexpr float kBackdropMargin = 3; // to the sides

/// Returns where a text of some length begins between two edges.
float startOf(qel::TextAlign align, float begin, float end, float length) {
    if (align == qel::TextAlign::Start) return begin;
    return align == qel::TextAlign::End ? end - length : (begin + end - length) / 2;
}

} // namespace

/// Returns the next actor, with the text.
qel::TextActor& Labels::prepare(const std::string& text, const Style& style) {
    if (m_used == m_actors.size()) m_actors.push_back(new qel::TextActor());
    qel::TextActor& actor = *m_actors[m_used];
    if (actor.getText() != text) actor.setText(qel::String(text));
    actor.setFont(style.font ? style.font : qel::Object::system()->getTheme()->smallMediumFont());
    actor.setColor(style.color);
    actor.setShadow(true);
    actor.setHorizontalAlign(style.across);
    actor.setVerticalAlign(style.down);
    return actor;
}

qel::IVec2<float> Labels::measure(const std::string& text, const Style& style) {
    return qel::IVec2<float>(prepare(text, style).getActualSize());
}

float Labels::draw(qel::Renderer& renderer, const std::string& text, const qel::Rect& place,
                   const Style& style) {
    qel::TextActor& actor = prepare(text, style);
    ++m_used;
    actor.setBounds(place);
    const qel::IVec2<float> size(actor.getActualSize());
    if (style.hasBackdrop && !text.empty()) {
        const float left = std::floor(startOf(style.across, place.x0, place.x1, size.x)) - kBackdropMargin;
        const float top = std::floor(startOf(style.down, place.y0, place.y1, size.y));
        const float right = left + std::ceil(size.x) + 2 * kBackdropMargin;
        qelwidgets::drawRect(renderer, {left, top, right, top + std::ceil(size.y)}, kBackdrop);
    }
    renderer.draw(&actor);
    return size.x;
}

} // namespace qelviewer
