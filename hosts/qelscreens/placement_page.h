// PlacementPage: menus that find a free place.
#pragma once

#include "hint_page.h"
#include "menu.h"
#include "widgets.h"

namespace qelscreens {

/// Buttons that open a menu, which RectSearch places beside them without covering another button, and a field
/// whose list RectSearchDropdown opens below or above it.
class PlacementPage : public HintPage {
    QEL_CLASS(PlacementPage, HintPage)

public:
    PlacementPage();

    void restyle(const Look& look) override;
    float draw(qel::Renderer& renderer, const qel::Rect& place, float visibleHeight) override;
    void handleTouches(qel::TouchState& touches) override;

private:
    void openMenu(size_t index);
    void openList();
    void choose(size_t index);

    qel::Vector<qel::SmartPointer<Button>> m_buttons;
    qel::SmartPointer<Button> m_field;
    qel::SmartPointer<Menu> m_menu;
    qel::SmartPointer<Menu> m_list;
    qel::Rect m_area;
    size_t m_chosen = 0;
};

} // namespace qelscreens
