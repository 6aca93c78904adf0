#include "toolbar.h"

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelviewer {

namespace {

constexpr const char* kTexts[] = {"viewer-page-slices",    "viewer-page-volume",    "viewer-page-all",
                                  "viewer-tool-crosshair", "viewer-tool-window",    "viewer-tool-distance",
                                  "viewer-tool-angle",     "viewer-bar-screenshot", "viewer-bar-language",
                                  "viewer-bar-help"};
constexpr size_t kPages = 3;
constexpr size_t kTools = 4;
constexpr size_t kOthers = 3;

} // namespace

Toolbar::Toolbar(const ToolbarActions& actions) {
    const auto add = [this](const std::function<void()>& action) {
        m_buttons.push_back(new qelwidgets::Button([action](qel::uint32) { action(); }));
    };
    for (const Page page : {Page::Slices, Page::Volume, Page::All}) add([=] { actions.showPage(page); });
    for (const Tool tool : {Tool::Crosshair, Tool::Window, Tool::Distance, Tool::Angle})
        add([=] { actions.chooseTool(tool); });
    add(actions.saveScreenshot);
    add(actions.switchLanguage);
    add(actions.toggleHelp);
}

void Toolbar::restyle(const qelwidgets::Look& look) {
    m_look = look;
    qel::Font* const font = system()->getTheme()->smallMediumFont();
    for (size_t i = 0; i < m_buttons.size(); ++i) m_buttons[i]->restyle(look, tr(kTexts[i]), font);
}

float Toolbar::widthOf(size_t button) const {
    return std::ceil(m_buttons[button]->getLabelWidth()) + 2 * std::floor(m_look.space);
}

/// Returns the width of buttons beside each other.
float Toolbar::widthOf(size_t first, size_t count) const {
    float width = 0;
    for (size_t i = first; i < first + count; ++i) width += widthOf(i) + std::floor(m_look.space / 4);
    return width;
}

float Toolbar::layOut(float width) {
    const float gap = std::floor(m_look.space / 2);
    const float height = m_look.buttonHeight + std::floor(m_look.space) - 2 * gap;
    const float end = width - gap;
    qel::IVec2<float> at(gap, gap);
    const auto breakRow = [&](float needed) {
        if (at.x > gap && at.x + needed > end) at = {gap, at.y + height + gap};
    };
    m_places.clear();
    for (const size_t count : {kPages, kTools, kOthers}) {
        const size_t first = m_places.size();
        const float needed = widthOf(first, count);
        breakRow(needed);
        if (first + count == m_buttons.size() && at.y == gap) at.x = std::max(at.x, end - needed);
        for (size_t i = first; i < first + count; ++i) {
            breakRow(widthOf(i));
            m_places.emplace_back(at.x, at.y, at.x + widthOf(i), at.y + height);
            at.x += widthOf(i) + std::floor(m_look.space / 4);
        }
        at.x += 2 * gap;
    }
    return at.y + height + gap;
}

void Toolbar::draw(qel::Renderer& renderer, const qel::Rect& place, Page page, Tool tool) {
    m_place = place;
    qelwidgets::drawRect(renderer, place, m_look.bar);
    qelwidgets::drawRect(renderer, {place.x0, place.y1 - 1, place.x1, place.y1}, m_look.line);
    for (size_t i = 0; i < kPages; ++i) m_buttons[i]->setSelected(i == static_cast<size_t>(page));
    for (size_t i = 0; i < kTools; ++i) m_buttons[kPages + i]->setSelected(i == static_cast<size_t>(tool));
    renderer.pushClip(place.roundNearestAsInt());
    for (size_t i = 0; i < m_places.size(); ++i) m_buttons[i]->draw(renderer, m_places[i]);
    renderer.popClip();
}

void Toolbar::handleTouches(qel::TouchState& touches) {
    touches.pushClip(m_place);
    for (const auto& button : m_buttons) button->handleTouches(touches);
    touches.popClip();
}

} // namespace qelviewer
