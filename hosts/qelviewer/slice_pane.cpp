#include "slice_pane.h"

#include "vectors.h"

#include <hosts/widgets/card.h>
#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelviewer {

namespace {

using qelwidgets::contains;

constexpr qelwidgets::Color kBackground{0, 0, 0, 1};
constexpr double kFarthestNumber = 1e30; // of a window; differences are within the range of float

/// Returns the start of a picture along an axis: in the middle, or with @p center (0 to 1) in the middle
/// if it is larger than its place.
float startOf(float begin, float end, float length, double center) {
    const float room = end - begin;
    if (length <= room) return begin + (room - length) / 2;
    return std::clamp(begin + room / 2 - static_cast<float>(center) * length, end - length, begin);
}

} // namespace

SlicePane::SlicePane(Plane plane, ViewState& state)
    : m_plane(plane),
      m_state(state),
      m_overlay(plane, state),
      m_loader([this](const SliceKey& key, qel::Image&& voxels) {
          show(key, std::move(voxels));
          system()->delegateRequestFrame();
      }) {}

bool SlicePane::takeDoubleTap() {
    return std::exchange(m_wasDoubleTap, false);
}

// --- drawing -----------------------------------------------------------------------------------------------

qel::Rect SlicePane::pictureFor(const qel::Rect& place) const {
    const qel::IVec2<double> mm = m_state.frame(m_plane).sizeMm();
    const double scale = std::min(place.getWidth() / mm.x, place.getHeight() / mm.y) * m_state.sliceZoom;
    const auto width = static_cast<float>(mm.x * scale);
    const auto height = static_cast<float>(mm.y * scale);
    const qel::IVec2<double> center = m_state.frame(m_plane).placeOf(m_state.sliceCenter);
    const float left = startOf(place.x0, place.x1, width, center.x);
    const float top = startOf(place.y0, place.y1, height, center.y);
    return {left, top, left + width, top + height};
}

/// Reads the slice, or requests it and keeps another slice of the same volume meanwhile.
void SlicePane::updateTexture(qel::Renderer& renderer) {
    const SliceFrame& frame = m_state.frame(m_plane);
    const SliceKey key{m_state.study, frame.sliceOf(m_state.cross)};
    if (!m_texture) m_texture = renderer.createTexture();
    if (key == m_shown) return m_loader.cancel();
    if (m_isProgressive && !isQuick(frame)) {
        if (m_shown.study != m_state.study) m_shown = {};
        return m_loader.request(key, frame);
    }
    show(key, sliceImage(*key.study->volume, frame, key.slice));
}

void SlicePane::clear() {
    m_loader.cancel();
    m_shown = {};
}

void SlicePane::show(const SliceKey& key, qel::Image&& voxels) {
    m_texture->upload(std::move(voxels), false);
    m_shown = key;
}

void SlicePane::draw(qel::Renderer& renderer, const qel::Rect& place) {
    m_place = place;
    qelwidgets::drawRect(renderer, place, kBackground);
    if (!m_state.study || place.getWidth() < 1 || place.getHeight() < 1) return;
    updateTexture(renderer);
    m_picture = pictureFor(place);
    renderer.pushClip(place.roundNearestAsInt());
    const qel::IVec2<float>& scaleBias = m_state.study->header.scaleBias;
    const auto stored = [&scaleBias](double value) {
        const double number = (value - scaleBias.y) / scaleBias.x;
        return static_cast<float>(std::clamp(number, -kFarthestNumber, kFarthestNumber));
    };
    const qel::IVec2<float> window(stored(m_state.window.lower()), stored(m_state.window.upper()));
    if (m_shown.study)
        renderer.drawTextureScaledLookupInternal(m_texture.get(), {0, 0, 1, 1}, m_picture, 0, window,
                                                 nullptr);
    m_overlay.draw(renderer, place, m_picture);
    renderer.popClip();
}

// --- touches -----------------------------------------------------------------------------------------------

std::optional<qel::IVec3<double>> SlicePane::voxelAt(const qel::IVec2<float>& point) const {
    if (!m_state.study || !contains(m_place, point) || !contains(m_picture, point)) return std::nullopt;
    return nearestVoxel(point, currentSlice());
}

/// Returns the number of the slice with the crosshair.
int SlicePane::currentSlice() const {
    return m_state.frame(m_plane).sliceOf(m_state.cross);
}

/// Returns the voxel of a slice at a point, or that at the nearest point of the slice.
qel::IVec3<double> SlicePane::nearestVoxel(const qel::IVec2<float>& point, int slice) const {
    const SliceFrame& frame = m_state.frame(m_plane);
    const qel::IVec2<double> place(std::clamp((point.x - m_picture.x0) / m_picture.getWidth(), 0.0f, 1.0f),
                                   std::clamp((point.y - m_picture.y0) / m_picture.getHeight(), 0.0f, 1.0f));
    return frame.voxelAt(place, slice);
}

void SlicePane::handleTouches(qel::TouchState& touches) {
    if (qel::TouchButton* const wheel = touches.acquireBegin(this, m_place, qelwindow::kTouchWheel))
        m_state.moveCross(m_state.frame(m_plane).moved(m_state.cross, static_cast<int>(-wheel->takeValue())));
    while (const qel::TouchButton* const touch = touches.acquireBegin(this, m_place, qelwindow::kTouchPress))
        m_wasDoubleTap |= touch->isDoubleTapBegin();
    while (const qel::TouchButton* const touch = touches.iterateOwned(this))
        if (m_state.study) follow(*touch);
}

void SlicePane::follow(const qel::TouchButton& touch) {
    if ((touch.getFlags() & qelwindow::kTouchRightButton) != 0)
        dragWindow(touch);
    else if ((touch.getFlags() & qelwindow::kTouchMiddleButton) != 0)
        pan(touch);
    else if ((touch.getFlags() & qelwindow::kTouchPress) != 0)
        useTool(touch);
}

void SlicePane::useTool(const qel::TouchButton& touch) {
    switch (m_state.tool) {
    case Tool::Crosshair:
        return m_state.moveCross(nearestVoxel(touch.getPosition(), currentSlice()));
    case Tool::Window:
        return dragWindow(touch);
    case Tool::Distance:
        return measure(touch, Measurement::Kind::Distance);
    case Tool::Angle:
        return measure(touch, Measurement::Kind::Angle);
    }
}

/// A drag sets two points. The third point of an angle is set by a second drag or tap. Points stay in the
/// slice in which the measurement began, even if others are shown meanwhile.
void SlicePane::measure(const qel::TouchButton& touch, Measurement::Kind kind) {
    if (touch.isBegin()) {
        const int slice = currentSlice();
        m_state.beginPoint(kind, m_plane, slice, nearestVoxel(touch.getPosition(), slice));
    } else if (m_state.isMeasuring && !m_state.measurements.empty()) {
        Measurement& measurement = m_state.measurements.back();
        if (measurement.plane == m_plane)
            measurement.points.back() = nearestVoxel(touch.getPosition(), measurement.slice);
    }
    if (touch.isEnd()) m_state.endPoint();
}

void SlicePane::dragWindow(const qel::TouchButton& touch) {
    if (touch.isBegin() || touch.isEnd()) return; // a touch that ends keeps its last step
    const qel::IVec2<float> step = minus(touch.getPosition(), touch.getPreviousPosition());
    const double side = std::max(100.0f, std::min(m_place.getWidth(), m_place.getHeight()));
    m_state.dragWindow(-step.y / side / 2, step.x / side / 2);
}

void SlicePane::pan(const qel::TouchButton& touch) {
    if (touch.isBegin() || touch.isEnd() || m_picture.getWidth() < 1 || m_picture.getHeight() < 1) return;
    const SliceFrame& frame = m_state.frame(m_plane);
    const qel::IVec2<float> step = minus(touch.getPosition(), touch.getPreviousPosition());
    qel::IVec2<double> place = frame.placeOf(m_state.sliceCenter);
    place.x = std::clamp(place.x - step.x / m_picture.getWidth(), 0.0, 1.0);
    place.y = std::clamp(place.y - step.y / m_picture.getHeight(), 0.0, 1.0);
    m_state.sliceCenter = frame.voxelAt(place, frame.sliceOf(m_state.sliceCenter));
}

} // namespace qelviewer
