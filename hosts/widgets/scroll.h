// Scroll: the position of content that may be higher than its place.
#pragma once

#include <hosts/widgets/look.h>

#include <qel/foundation/base/rect.h>

namespace qel {
class Renderer;
class TouchButton;
} // namespace qel

namespace qelwidgets {

/// How far content is moved up in its place, in pixels.
/// @threads main thread.
class Scroll {
public:
    /// Sets the place and the height of the content, and limits the position to them.
    void setExtent(const qel::Rect& place, float contentHeight);
    /// Returns the pixels above the place.
    float getPosition() const { return m_position; }
    /// Returns true if the content is higher than its place.
    bool isNeeded() const { return m_hidden > 0; }
    /// Shows the start of the content.
    void reset() { m_position = 0; }
    /// Shows what is @p pixels further down.
    void moveBy(float pixels);
    /// Shows what the steps of a wheel lead to.
    void turnWheel(float steps);
    /// Follows a touch that drags the content.
    void follow(const qel::TouchButton& touch);
    /// Draws a bar at the right edge of the place that shows which part of the content is visible; nothing if
    /// all is.
    void drawBar(qel::Renderer& renderer, const Look& look) const;

private:
    qel::Rect m_place;
    float m_position = 0;
    float m_hidden = 0; ///< height of what does not fit
};

} // namespace qelwidgets
