#include "toolbar.h"

#include <qel/render/renderer.h>
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

float Toolbar::widthOf(size_t first, size_t count) const {
    float width = 0;
    for (size_t i = first; i < first + count; ++i)
        width += std::ceil(m_buttons[i]->getLabelWidth()) + 2 * std::floor(m_look.space) +
                 std::floor(m_look.space / 4);
    return width;
}

float Toolbar::drawRow(qel::Renderer& renderer, size_t first, size_t count, float left,
                       const qel::Rect& row) {
    for (size_t i = first; i < first + count; ++i) {
        const float width = std::ceil(m_buttons[i]->getLabelWidth()) + 2 * std::floor(m_look.space);
        m_buttons[i]->draw(renderer, {left, row.y0, left + width, row.y1});
        left += width + std::floor(m_look.space / 4);
    }
    return left;
}

void Toolbar::draw(qel::Renderer& renderer, const qel::Rect& place, Page page, Tool tool) {
    qelwidgets::drawRect(renderer, place, m_look.bar);
    qelwidgets::drawRect(renderer, {place.x0, place.y1 - 1, place.x1, place.y1}, m_look.line);
    for (size_t i = 0; i < kPages; ++i) m_buttons[i]->setSelected(i == static_cast<size_t>(page));
    for (size_t i = 0; i < kTools; ++i) m_buttons[kPages + i]->setSelected(i == static_cast<size_t>(tool));
    const float gap = std::floor(m_look.space / 2);
    const qel::Rect row = qelwidgets::inset(place, gap);
    const float middle = drawRow(renderer, 0, kPages, row.x0, row) + 2 * gap;
    const float end = drawRow(renderer, kPages, kTools, middle, row) + 2 * gap;
    drawRow(renderer, kPages + kTools, kOthers, std::max(end, row.x1 - widthOf(kPages + kTools, kOthers)),
            row);
}

void Toolbar::handleTouches(qel::TouchState& touches) {
    for (const auto& button : m_buttons) button->handleTouches(touches);
}

} // namespace qelviewer
