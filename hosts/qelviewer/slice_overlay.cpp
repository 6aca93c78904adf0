#include "slice_overlay.h"

#include "numbers.h"
#include "plane_colors.h"

#include <hosts/widgets/card.h>

#include <qel/foundation/base/object.h>
#include <qel/render/renderer.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>

namespace qelviewer {

namespace {

using qel::TextAlign;
using qelwidgets::Color;
using qelwidgets::drawRect;

constexpr Color kTextColor{0.85f, 0.88f, 0.9f, 1};
constexpr Color kLetterColor{0.98f, 0.85f, 0.45f, 1};
constexpr Color kMeasureColor{0.98f, 0.78f, 0.23f, 1};
constexpr float kLetterShare = 0.8f; // of the height of a button
constexpr double kScaleLengths[] = {500, 200, 100, 50,   20,   10,   5,    2,    1,
                                    0.5, 0.2, 0.1, 0.05, 0.02, 0.01, 5e-3, 2e-3, 1e-3};

const char* titleKey(Plane plane) {
    switch (plane) {
    case Plane::Axial:
        return "viewer-plane-axial";
    case Plane::Coronal:
        return "viewer-plane-coronal";
    default:
        return "viewer-plane-sagittal";
    }
}

/// Returns the plane whose slices follow each other along an axis of the volume.
Plane planeAlong(const ViewState& state, int axis) {
    for (const Plane plane : {Plane::Axial, Plane::Coronal})
        if (state.frame(plane).axes().inward.axis == axis) return plane;
    return Plane::Sagittal;
}

} // namespace

void SliceOverlay::restyle(const qelwidgets::Look& look) {
    m_look = look;
    m_labels.clear();
    m_title = qel::Object::tr(titleKey(m_plane));
}

void SliceOverlay::draw(qel::Renderer& renderer, const qel::Rect& place, const qel::Rect& picture) {
    m_place = place;
    m_picture = picture;
    m_labels.begin();
    if (m_state.showsCross) drawCross(renderer);
    drawMeasurements(renderer);
    drawLetters(renderer);
    drawCorners(renderer);
    drawScale(renderer);
}

qel::IVec2<float> SliceOverlay::pointOf(const qel::IVec3<double>& voxel) const {
    const qel::IVec2<double> place = frame().placeOf(voxel);
    return {m_picture.x0 + static_cast<float>(place.x) * m_picture.getWidth(),
            m_picture.y0 + static_cast<float>(place.y) * m_picture.getHeight()};
}

/// Draws the lines of the other planes, with gaps around the voxel and for the letters.
void SliceOverlay::drawCross(qel::Renderer& renderer) {
    const qel::IVec2<float> at = pointOf(m_state.cross);
    const float x = std::floor(at.x);
    const float y = std::floor(at.y);
    const float gap = std::floor(m_look.space);
    const qel::Rect free = qelwidgets::inset(m_place, std::floor(m_look.buttonHeight * kLetterShare));
    const qel::Rect shown(std::max(m_picture.x0, free.x0), std::max(m_picture.y0, free.y0),
                          std::min(m_picture.x1, free.x1), std::min(m_picture.y1, free.y1));
    Color across = planeColor(planeAlong(m_state, frame().axes().down.axis));
    Color down = planeColor(planeAlong(m_state, frame().axes().right.axis));
    across.w = down.w = 0.75f;
    drawRect(renderer, {shown.x0, y, std::max(shown.x0, x - gap), y + 1}, across);
    drawRect(renderer, {std::min(shown.x1, x + gap + 1), y, shown.x1, y + 1}, across);
    drawRect(renderer, {x, shown.y0, x + 1, std::max(shown.y0, y - gap)}, down);
    drawRect(renderer, {x, std::min(shown.y1, y + gap + 1), x + 1, shown.y1}, down);
}

void SliceOverlay::drawLetters(qel::Renderer& renderer) {
    const PlaneFrame::Letters& letters = frame().axes().letters;
    const qel::Rect inner = qelwidgets::inset(m_place, m_look.space / 2);
    qel::Font* const font = qel::Object::system()->getTheme()->mediumFont(qel::FontStyle::Bold);
    m_labels.draw(renderer, letters.left, inner,
                  {kLetterColor, TextAlign::Start, TextAlign::Center, font, true});
    m_labels.draw(renderer, letters.right, inner,
                  {kLetterColor, TextAlign::End, TextAlign::Center, font, true});
    m_labels.draw(renderer, letters.top, inner,
                  {kLetterColor, TextAlign::Center, TextAlign::Start, font, true});
    m_labels.draw(renderer, letters.bottom, inner,
                  {kLetterColor, TextAlign::Center, TextAlign::End, font, true});
}

void SliceOverlay::drawCorners(qel::Renderer& renderer) {
    const std::string slice =
        std::to_string(frame().sliceOf(m_state.cross) + 1) + " / " + std::to_string(frame().counts().z);
    const std::string window =
        std::string(qel::Object::tr("viewer-window-center")) + " " + formatShort(m_state.window.center, 2) +
        "   " + qel::Object::tr("viewer-window-width") + " " + formatShort(m_state.window.width, 2);
    drawCorner(renderer, m_title, {planeColor(m_plane)});
    drawCorner(renderer, slice, {kTextColor, TextAlign::End});
    drawCorner(renderer, window, {kTextColor, TextAlign::Start, TextAlign::End});
}

/// Draws a text in a corner, one line further inside if it would meet the letter in the middle. It is left
/// out of a narrow pane.
void SliceOverlay::drawCorner(qel::Renderer& renderer, const std::string& text, Labels::Style style) {
    qel::Rect inner = qelwidgets::inset(m_place, m_look.space / 2);
    const qel::IVec2<float> size = m_labels.measure(text, style);
    if (size.x > inner.getWidth()) return;
    const bool meetsLetter = size.x + m_look.space * 2 > inner.getWidth() / 2;
    if (meetsLetter && style.down == TextAlign::End)
        inner.y1 -= size.y;
    else if (meetsLetter)
        inner.y0 += size.y;
    style.hasBackdrop = true;
    m_labels.draw(renderer, text, inner, style);
}

/// Draws a line of a round length in millimetres, about a quarter of the pane long.
void SliceOverlay::drawScale(qel::Renderer& renderer) {
    const double pixelsPerMm = m_picture.getWidth() / frame().sizeMm().x;
    const qel::Rect inner = qelwidgets::inset(m_place, m_look.space / 2);
    for (const double mm : kScaleLengths) {
        const auto length = static_cast<float>(std::round(mm * pixelsPerMm));
        if (length > inner.getWidth() / 4) continue;
        const float bottom = inner.y1 - 1;
        const float tick = std::floor(m_look.space / 2);
        drawRect(renderer, {inner.x1 - length - 2, bottom - tick - 1, inner.x1 + 2, bottom + 2}, kBackdrop);
        drawRect(renderer, {inner.x1 - length, bottom, inner.x1, bottom + 1}, kTextColor);
        drawRect(renderer, {inner.x1 - length, bottom - tick, inner.x1 - length + 1, bottom}, kTextColor);
        drawRect(renderer, {inner.x1 - 1, bottom - tick, inner.x1, bottom}, kTextColor);
        const std::string text = mm < 10 ? formatShort(mm, 1) + " mm" : formatShort(mm / 10, 0) + " cm";
        m_labels.draw(renderer, text, {inner.x0, inner.y0, inner.x1 - tick, bottom - 2},
                      {kTextColor, TextAlign::End, TextAlign::End, nullptr, true});
        return;
    }
}

// --- measurements ------------------------------------------------------------------------------------------

void SliceOverlay::drawMeasurements(qel::Renderer& renderer) {
    const int slice = frame().sliceOf(m_state.cross);
    for (const Measurement& measurement : m_state.measurements)
        if (measurement.plane == m_plane && measurement.slice == slice)
            drawMeasurement(renderer, measurement);
}

void SliceOverlay::drawMeasurement(qel::Renderer& renderer, const Measurement& measurement) {
    qel::IVec2<float> last;
    renderer.pushColor(kMeasureColor);
    for (size_t i = 0; i < measurement.points.size(); ++i) {
        const qel::IVec2<float> at = pointOf(measurement.points[i]);
        if (i > 0) renderer.drawAALineInternal(last, at);
        renderer.drawRectInternal(
            {std::floor(at.x) - 2, std::floor(at.y) - 2, std::floor(at.x) + 3, std::floor(at.y) + 3});
        last = at;
    }
    renderer.popColor();
    drawResult(renderer, measurement.getText(m_state.study->header.orientation), last);
}

/// Draws the result of a measurement beside its last point, within the pane.
void SliceOverlay::drawResult(qel::Renderer& renderer, const std::string& text, qel::IVec2<float> point) {
    const qel::Rect inner = qelwidgets::inset(m_place, m_look.space / 2);
    const Labels::Style style{kMeasureColor, TextAlign::Start, TextAlign::Start, nullptr, true};
    const qel::IVec2<float> size = m_labels.measure(text, style);
    const float left = std::max(inner.x0, std::min(point.x + m_look.space, inner.x1 - size.x));
    const bool hasRoomBelow = point.y + size.y <= inner.y1;
    const float top = hasRoomBelow ? point.y : point.y - size.y;
    m_labels.draw(renderer, text, {left, top, left + size.x, top + size.y}, style);
}

} // namespace qelviewer
