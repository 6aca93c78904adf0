// Toolbar: the buttons above the panes.
#pragma once

#include "view_state.h"

#include <hosts/widgets/button.h>

#include <functional>
#include <vector>

namespace qelviewer {

/// What panes are shown.
enum class Page { Slices, Volume, All };

/// What the buttons do.
struct ToolbarActions {
    std::function<void(Page)> showPage;   ///< shows a page
    std::function<void(Tool)> chooseTool; ///< chooses a tool
    std::function<void()> saveScreenshot; ///< saves a picture of the window
    std::function<void()> switchLanguage; ///< switches between English and German
    std::function<void()> toggleHelp;     ///< shows or hides the help
};

/// Buttons for pages on the left, for tools in the middle and for everything else on the right. They continue
/// in more rows if the window is narrow.
/// @threads main thread.
class Toolbar : public qel::Object {
    QEL_CLASS(Toolbar, qel::Object)

public:
    explicit Toolbar(const ToolbarActions& actions);

    /// Takes over the theme and the language.
    void restyle(const qelwidgets::Look& look);
    /// Places the buttons in rows. @return the height of the toolbar.
    float layOut(float width);
    /// Draws the buttons at their places. @param place  begins at the top left corner of the window.
    void draw(qel::Renderer& renderer, const qel::Rect& place, Page page, Tool tool);
    /// Handles the touches of the last place.
    void handleTouches(qel::TouchState& touches);

private:
    float widthOf(size_t button) const;
    float widthOf(size_t first, size_t count) const;

    qelwidgets::Look m_look;
    std::vector<qel::SmartPointer<qelwidgets::Button>> m_buttons; ///< pages, tools, others
    std::vector<qel::Rect> m_places;                              ///< of the buttons
    qel::Rect m_place;
};

} // namespace qelviewer
