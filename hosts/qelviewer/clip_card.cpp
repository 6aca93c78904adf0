#include "panel_cards.h"
#include "vectors.h"

#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelviewer {

namespace {

constexpr float kLeastShare = 0.02f; // of the volume that stays between two handles

std::string lettersOf(const Study& study, int axis, double sign) {
    const Orientation& orientation = study.header.orientation;
    if (!orientation.isPatient) return sign < 0 ? "" : std::string(1, "xyz"[axis]);
    return directionLetters(times(orientation.axis[axis], sign));
}

} // namespace

float ClipCard::measureContent(float) {
    return 3 * look().buttonHeight * 0.7f;
}

void ClipCard::drawContent(qel::Renderer& renderer, const qel::Rect& place) {
    const float row = look().buttonHeight * 0.7f;
    m_labels.begin();
    for (int axis = 0; axis < 3; ++axis) {
        const float middle = std::floor(place.y0 + (static_cast<float>(axis) + 0.5f) * row);
        m_tracks[axis] = {place.x0 + look().buttonHeight, middle - row / 2, place.x1 - look().buttonHeight,
                          middle + row / 2};
        drawSlider(renderer, axis);
    }
}

void ClipCard::drawSlider(qel::Renderer& renderer, int axis) {
    const qel::Rect& track = m_tracks[axis];
    const float middle = (track.y0 + track.y1) / 2;
    const float left = track.x0 + m_state.clipLower[axis] * track.getWidth();
    const float right = track.x0 + m_state.clipUpper[axis] * track.getWidth();
    const float handle = std::max(3.0f, std::floor(look().buttonHeight / 8));
    qelwidgets::drawRect(renderer, {track.x0, middle - 1, track.x1, middle + 1}, look().line);
    qelwidgets::drawRect(renderer, {left, middle - 2, right, middle + 2}, look().accent);
    for (const float x : {left, right})
        qelwidgets::drawRect(renderer, {x - handle, track.y0 + 3, x + handle, track.y1 - 3},
                             look().buttonText);
    if (!m_state.study) return;
    const float edge = look().buttonHeight;
    const Labels::Style style{look().text, qel::TextAlign::Center, qel::TextAlign::Center};
    m_labels.draw(renderer, lettersOf(*m_state.study, axis, -1),
                  {track.x0 - edge, track.y0, track.x0 - handle, track.y1}, style);
    m_labels.draw(renderer, lettersOf(*m_state.study, axis, 1),
                  {track.x1 + handle, track.y0, track.x1 + edge, track.y1}, style);
}

void ClipCard::handleTouches(qel::TouchState& touches) {
    for (int axis = 0; axis < 3; ++axis)
        if (touches.acquireBegin(this, m_tracks[axis], qelwindow::kTouchPress)) m_heldAxis = axis;
    while (const qel::TouchButton* const touch = touches.iterateOwned(this))
        if (m_heldAxis >= 0) drag(m_heldAxis, touch->getPosition().x, touch->isBegin());
}

/// Moves the handle that was nearer when the drag began.
void ClipCard::drag(int axis, float position, bool isBegin) {
    const qel::Rect& track = m_tracks[axis];
    if (track.getWidth() < 1) return;
    const float share = std::clamp((position - track.x0) / track.getWidth(), 0.0f, 1.0f);
    float& lower = m_state.clipLower[axis];
    float& upper = m_state.clipUpper[axis];
    if (isBegin) m_isUpperHeld = std::abs(share - upper) < std::abs(share - lower);
    if (m_isUpperHeld)
        upper = std::max(share, lower + kLeastShare);
    else
        lower = std::min(share, upper - kLeastShare);
}

} // namespace qelviewer
