// RectSearch: a place for a menu near its button.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <array>

namespace qel {

/// Finds a place for a popup, a tooltip or a menu: near the button that opened it, inside the screen, and
/// clear of rectangles that must stay visible. Places above and below are preferred for a button that is
/// wider than tall, places beside it for any other.
/// @threads one thread.
class QEL_API RectSearch : public Object {
    QEL_CLASS(RectSearch, Object)

public:
    /// Returns the rectangles that must stay visible, to be filled by the caller. A place that touches one
    /// is not used.
    Vector<Rect>& getAvoidRects() { return m_avoidRects; }
    /// Sets the rectangle in which the result must lie.
    void setScreenBounds(const Rect& bounds) { m_screenBounds = bounds; }
    /// Sets the rectangle of the button.
    void setButton(const Rect& button) { m_button = button; }
    /// Sets the distance to the button in pixels; 1 initially.
    void setPadding(float paddingPx) { m_padding = paddingPx; }
    /// Sets the distance in pixels between the places that are tried around the button when the usual ones
    /// are not free; 1 initially. None are tried unless it is above 0, and at most 65,536 on each side.
    void setStep(float stepPx) { m_step = stepPx; }
    /// Sets the size of the place in pixels.
    void setSize(const IVec2<float>& sizePx) { m_size = sizePx; }

    /// Finds the best place. @return false, without changing @p out, if no place is free.
    bool search(Rect& out);
    /// Returns the score of the place that search() found, -1 if it found none.
    int getBestScore() const { return m_bestScore; }

private:
    void getEdgePositions();
    bool evaluatePosition(const IVec2<float>& position, int score);
    void walkAround(int scoreAbove, int scoreBeside);

    Vector<Rect> m_avoidRects;
    Rect m_screenBounds;
    Rect m_button;
    float m_padding = 1;
    float m_step = 1;
    IVec2<float> m_size;
    std::array<IVec2<float>, 4> m_middlePositions;   ///< above, right, below and left, in the middle
    std::array<IVec2<float>, 4> m_cornerPositions;   ///< clockwise from the left top
    std::array<IVec2<float>, 8> m_sidePositions;     ///< flush with a corner of the button
    std::array<IVec2<float>, 4> m_centeredPositions; ///< in the middle of the screen
    int m_bestScore = -1;
    Rect m_bestRect;
};

/// Places a dropdown below an area, or above it if there is more room.
/// @threads one thread.
class QEL_API RectSearchDropdown : public Object {
    QEL_CLASS(RectSearchDropdown, Object)

public:
    /// Sets the rectangle whose right, top and bottom edges limit the result.
    void setScreenBounds(const Rect& bounds) { m_screenBounds = bounds; }
    /// Sets the area that stays visible.
    void setAreaOfInterest(const Rect& area) { m_areaOfInterest = area; }
    /// Sets the distance to the area in pixels; 0 initially.
    void setPadding(float paddingPx) { m_padding = paddingPx; }
    /// Sets the wanted size in pixels; the height becomes less if there is not enough room.
    void setSize(const IVec2<float>& sizePx) { m_size = sizePx; }

    /// Places the dropdown. Without room the result is empty.
    /// @param bias  pixels by which the height above must exceed the one below to be preferred.
    /// @return true.
    bool search(Rect& out, int bias);
    /// Returns true if the last result is below the area.
    bool isPlacedBelow() const { return m_placedBelow; }
    /// Returns true if the last result is above the area.
    bool isPlacedAbove() const { return m_placedAbove; }

private:
    bool m_placedBelow = false;
    bool m_placedAbove = false;
    Rect m_screenBounds;
    Rect m_areaOfInterest;
    float m_padding = 0;
    IVec2<float> m_size;
};

} // namespace qel
