#include "panel_cards.h"

#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qelviewer {

namespace {

constexpr float kGap = 2;

} // namespace

PresetCard::PresetCard(ViewState& state) : Card("viewer-card-window"), m_state(state) {
    for (size_t i = 0; i <= windowPresets().size(); ++i)
        m_buttons.push_back(new qelwidgets::Button([this, i](qel::uint32) { choose(i); }));
}

ValueWindow PresetCard::windowOf(size_t index) const {
    if (index < windowPresets().size()) return windowPresets()[index].window;
    return m_state.study ? fullWindow(m_state.study->histogram) : ValueWindow();
}

void PresetCard::choose(size_t index) {
    if (m_state.study) m_state.window = windowOf(index);
}

void PresetCard::restyleContent() {
    qel::Font* const font = system()->getTheme()->smallMediumFont();
    for (size_t i = 0; i < m_buttons.size(); ++i) {
        const bool isPreset = i < windowPresets().size();
        const qel::String key = isPreset ? windowPresets()[i].key : "0";
        const qel::String name = tr(isPreset ? windowPresets()[i].text : "viewer-preset-full");
        m_buttons[i]->setAlign(qel::TextAlign::Start);
        m_buttons[i]->restyle(look(), key + "  " + name, font);
    }
}

/// Returns 2 if the widest label fits into half of the width, and 1 otherwise.
size_t PresetCard::columnsFor(float width) {
    float widest = 0;
    for (const auto& button : m_buttons) widest = std::max(widest, button->getLabelWidth());
    return 2 * (widest + look().space) + kGap <= width ? 2 : 1;
}

float PresetCard::measureContent(float width) {
    const size_t columns = columnsFor(width);
    const size_t rows = (m_buttons.size() + columns - 1) / columns;
    return static_cast<float>(rows) * (look().buttonHeight * 0.75f + kGap);
}

void PresetCard::drawContent(qel::Renderer& renderer, const qel::Rect& place) {
    const float height = look().buttonHeight * 0.75f;
    const size_t columns = columnsFor(place.getWidth());
    for (size_t i = 0; i < m_buttons.size(); ++i) {
        const bool isAlone = i % columns == 0 && i + 1 == m_buttons.size();
        qel::Rect row =
            qelwidgets::columnOf(place, static_cast<int>(i % columns), static_cast<int>(columns), kGap);
        if (isAlone) row.x1 = place.x1;
        const size_t line = i / columns;
        row.y0 = place.y0 + static_cast<float>(line) * (height + kGap);
        row.y1 = row.y0 + height;
        m_buttons[i]->setSelected(m_state.study && m_state.window == windowOf(i));
        m_buttons[i]->draw(renderer, row);
    }
}

void PresetCard::handleTouches(qel::TouchState& touches) {
    for (const auto& button : m_buttons) button->handleTouches(touches);
}

} // namespace qelviewer
