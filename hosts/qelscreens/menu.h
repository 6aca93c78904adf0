// Menu: a list of entries beside what opened it.
#pragma once

#include "widgets.h"

#include <vector>

namespace qelscreens {

/// A list of entries that is placed by RectSearch or RectSearchDropdown and closes after a choice.
/// @threads main thread.
class Menu : public qel::Object {
    QEL_CLASS(Menu, qel::Object)

public:
    /// Creates a closed menu. @param chosen  is called with the index of the entry that was chosen.
    Menu(std::vector<const char*> entryKeys, std::function<void(size_t)> chosen);

    /// Sets the texts and fonts.
    void restyle(const Look& look);
    /// Returns the size of the open menu in pixels.
    qel::IVec2<float> getSize();
    /// Opens the menu at @p place.
    void open(const qel::Rect& place);
    /// Closes the menu.
    void close() { m_isOpen = false; }
    /// Returns true if the menu is open.
    bool isOpen() const { return m_isOpen; }
    /// Draws the menu if it is open.
    void draw(qel::Renderer& renderer);
    /// Claims all touches while the menu is open; those outside of it close it.
    void handleTouches(qel::TouchState& touches);

private:
    std::vector<const char*> m_entryKeys;
    std::function<void(size_t)> m_chosen;
    std::vector<qel::SmartPointer<Button>> m_entries;
    Look m_look;
    qel::Rect m_place;
    bool m_isOpen = false;
};

} // namespace qelscreens
