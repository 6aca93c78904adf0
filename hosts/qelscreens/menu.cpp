#include "menu.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelscreens {

Menu::Menu(std::vector<const char*> entryKeys, std::function<void(size_t)> chosen)
    : m_entryKeys(std::move(entryKeys)), m_chosen(std::move(chosen)) {
    for (size_t i = 0; i < m_entryKeys.size(); ++i) {
        m_entries.push_back(new Button([this, i](qel::uint32) {
            close();
            m_chosen(i);
        }));
    }
}

void Menu::restyle(const Look& look) {
    m_look = look;
    for (size_t i = 0; i < m_entries.size(); ++i) m_entries[i]->restyle(look, tr(m_entryKeys[i]));
}

qel::IVec2<float> Menu::getSize() {
    float width = 0;
    for (const auto& entry : m_entries) width = std::max(width, entry->getLabelWidth());
    const auto count = static_cast<float>(m_entries.size());
    return {std::ceil(width) + 4 * m_look.space, count * (m_look.buttonHeight + 1) + 1};
}

void Menu::open(const qel::Rect& place) {
    m_place = place;
    m_isOpen = true;
}

void Menu::draw(qel::Renderer& renderer) {
    if (!m_isOpen) return;
    drawRect(renderer, m_place, m_look.accent);
    qel::Rect row = inset(m_place, 1);
    renderer.pushClip(m_place.roundNearestAsInt());
    for (const auto& entry : m_entries) {
        row.y1 = row.y0 + m_look.buttonHeight;
        entry->draw(renderer, row);
        row.y0 = row.y1 + 1;
    }
    renderer.popClip();
}

void Menu::handleTouches(qel::TouchState& touches) {
    if (!m_isOpen) return;
    touches.pushClip(m_place);
    for (const auto& entry : m_entries) entry->handleTouches(touches);
    touches.popClip();
    if (touches.acquireBegin(this, qelwindow::kTouchPress)) close();
}

} // namespace qelscreens
