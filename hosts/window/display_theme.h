// DisplayTheme: adapts the theme of System to the window and to the user's scale.
#pragma once

#include <hosts/window/window.h>

namespace qelwindow {

/// Sets the sizes and fonts of the theme. Theme::setDevice() resets the user's scale, so it is applied again
/// each time.
/// @threads main thread.
class DisplayTheme {
public:
    /// The least scale that a user can choose.
    static constexpr float kLeastScale = 0.5f;
    /// The largest scale that a user can choose.
    static constexpr float kLargestScale = 4.0f;

    /// @param window  must outlive this object.
    explicit DisplayTheme(const Window& window) : m_window(window) {}

    /// Adapts the theme to the size of the window and to its display.
    void adaptToWindow();
    /// Applies another scale. @param scale  limited to kLeastScale to kLargestScale; NaN counts as 1.
    void setUserScale(float scale);
    /// Returns the user's scale; 1 initially.
    float getUserScale() const { return m_userScale; }

private:
    const Window& m_window;
    float m_userScale = 1;
};

} // namespace qelwindow
