// Button: a rectangle with a label that can be pressed.
#pragma once

#include <hosts/widgets/card.h>

#include <functional>

namespace qelwidgets {

/// A button. It is pressed when a finger or a button of the mouse is released on it.
/// @threads main thread.
class Button : public qel::Object {
    QEL_CLASS(Button, qel::Object)

public:
    /// Creates a button. @param pressed  is called when it is pressed, with the flags of the touch.
    explicit Button(std::function<void(qel::uint32)> pressed);

    /// Sets the label, its font and the colours. @param font  null for the theme's medium font.
    void restyle(const Look& look, const qel::String& label, qel::Font* font = nullptr);
    /// Sets where the label is; in the middle initially.
    void setAlign(qel::TextAlign align) { m_label.setHorizontalAlign(align); }
    /// Draws the button.
    void draw(qel::Renderer& renderer, const qel::Rect& place);
    /// Draws the button as selected.
    void setSelected(bool selected) { m_isSelected = selected; }
    /// Returns the place of the last draw.
    const qel::Rect& getPlace() const { return m_place; }
    /// Returns the width of the label.
    float getLabelWidth();
    /// Claims touches, and reports when one is released on the button.
    void handleTouches(qel::TouchState& touches);

private:
    std::function<void(qel::uint32)> m_pressed;
    Look m_look;
    qel::Rect m_place;
    qel::TextActor m_label;
    bool m_isSelected = false;
    bool m_isDown = false;
};

} // namespace qelwidgets
