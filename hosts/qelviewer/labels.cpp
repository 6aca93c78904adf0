#include "labels.h"

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

namespace qelviewer {

float Labels::draw(qel::Renderer& renderer, const std::string& text, const qel::Rect& place,
                   const Style& style) {
    if (m_used == m_actors.size()) m_actors.push_back(new qel::TextActor());
    qel::TextActor& actor = *m_actors[m_used++];
    if (actor.getText() != text) actor.setText(qel::String(text));
    actor.setFont(style.font ? style.font : qel::Object::system()->getTheme()->smallMediumFont());
    actor.setColor(style.color);
    actor.setShadow(true);
    actor.setHorizontalAlign(style.across);
    actor.setVerticalAlign(style.down);
    actor.setBounds(place);
    renderer.draw(&actor);
    return static_cast<float>(actor.getActualSize().x);
}

} // namespace qelviewer
