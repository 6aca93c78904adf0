#include "placement_page.h"

#include <qel/render/renderer.h>
#include <qel/scene/actors/rect_search.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

namespace qelscreens {

namespace {

/// A button: the position of its centre in the page, 0 to 1, and its size in heights of a button.
struct ButtonPlace {
    float x, y, width, height;
};

constexpr ButtonPlace kPlaces[] = {{0, 0, 3, 1},       {0.5f, 0, 6, 1},     {1, 0, 3, 1},
                                   {0, 0.5f, 2.5f, 4}, {0.5f, 0.5f, 3, 1},  {1, 0.5f, 3, 1},
                                   {0, 1, 3, 1},       {0.7f, 0.85f, 2, 2}, {1, 1, 3, 1}};

std::vector<const char*> entryKeys() {
    return {"screens-menu-copy", "screens-menu-rotate", "screens-menu-measure", "screens-menu-delete"};
}

} // namespace

PlacementPage::PlacementPage()
    : HintPage("placement", "screens-placement-hint"),
      m_field(new Button([this](qel::uint32) { openList(); })),
      m_menu(new Menu(entryKeys(), [this](size_t index) { choose(index); })),
      m_list(new Menu(entryKeys(), [this](size_t index) { choose(index); })) {
    for (size_t i = 0; i < std::size(kPlaces); ++i)
        m_buttons.push_back(new Button([this, i](qel::uint32) { openMenu(i); }));
}

void PlacementPage::restyle(const Look& look) {
    HintPage::restyle(look);
    m_menu->close();
    m_list->close();
    m_menu->restyle(look);
    m_list->restyle(look);
    for (const auto& button : m_buttons) button->restyle(look, tr("screens-placement-menu"));
    m_field->restyle(look, qel::String(tr(entryKeys()[m_chosen])) + " …");
}

float PlacementPage::draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight) {
    const float space = look().space;
    m_area = {place.x0, place.y0, place.x1, place.y0 + visibleHeight};
    const qel::Rect inner = inset(m_area, space * 2);
    drawHint(renderer, {inner.x0, inner.y0 + 2 * look().buttonHeight, inner.x1, inner.y1});
    const float size = look().buttonHeight;
    for (size_t i = 0; i < std::size(kPlaces); ++i) {
        const ButtonPlace& at = kPlaces[i];
        const float width = std::min(at.width * size, inner.getWidth() / 4);
        const float left = inner.x0 + at.x * (inner.getWidth() - width);
        const float top = inner.y0 + at.y * (inner.getHeight() - at.height * size);
        m_buttons[i]->draw(renderer, {left, top, left + width, top + at.height * size});
    }
    const float left = inner.x0 + inner.getWidth() * 0.3f;
    const float top = inner.y0 + inner.getHeight() * 0.7f;
    const float width = std::min(6 * size, inner.getWidth() * 0.3f);
    m_field->draw(renderer, {left, top, left + width, top + size});
    m_menu->draw(renderer);
    m_list->draw(renderer);
    return visibleHeight;
}

void PlacementPage::handleTouches(qel::TouchState& touches) {
    m_menu->handleTouches(touches);
    m_list->handleTouches(touches);
    for (const auto& button : m_buttons) button->handleTouches(touches);
    m_field->handleTouches(touches);
}

/// Opens the menu beside a button, where it covers no other button.
void PlacementPage::openMenu(size_t index) {
    qel::RectSearch search;
    search.setScreenBounds(m_area);
    search.setButton(m_buttons[index]->getPlace());
    search.setPadding(look().space / 2);
    search.setSize(m_menu->getSize());
    for (size_t i = 0; i < m_buttons.size(); ++i)
        if (i != index) search.getAvoidRects().push_back(m_buttons[i]->getPlace());
    search.getAvoidRects().push_back(m_field->getPlace());
    qel::Rect place;
    if (search.search(place)) m_menu->open(place);
}

/// Opens the list below or above its field.
void PlacementPage::openList() {
    qel::RectSearchDropdown search;
    search.setScreenBounds(m_area);
    search.setAreaOfInterest(m_field->getPlace());
    search.setPadding(1);
    search.setSize({m_field->getPlace().getWidth(), m_list->getSize().y});
    qel::Rect place;
    search.search(place, 0);
    m_list->open(place);
}

void PlacementPage::choose(size_t index) {
    m_chosen = index;
    m_field->restyle(look(), qel::String(tr(entryKeys()[m_chosen])) + " …");
}

} // namespace qelscreens
