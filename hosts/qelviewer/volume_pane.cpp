#include "volume_pane.h"

#include "vectors.h"

#include <hosts/widgets/card.h>
#include <hosts/window/pointers.h>

#include <qel/render/renderer.h>
#include <qel/scene/actors/touch_state.h>
#include <qel/style/theme.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qelviewer {

namespace {

using qel::TextAlign;

constexpr qelwidgets::Color kBackground{0, 0, 0, 1};
constexpr qelwidgets::Color kTitleColor{0.85f, 0.88f, 0.9f, 1};
constexpr qelwidgets::Color kNearColor{0.98f, 0.85f, 0.45f, 1};
constexpr qelwidgets::Color kFarColor{0.98f, 0.85f, 0.45f, 0.4f};
constexpr float kTurn = 3.5f; // radians for a drag across the whole pane
constexpr float kWheelZoom = 1.15f;
/// The most pixels of a picture that changes from frame to frame.
constexpr qel::int64 kMostChanging = 600'000;
constexpr qel::uint32 kSettledMs = 150; // without a change
/// The pause between two pictures that are refined: at least this time, and this number of times as long as
/// drawing one takes.
constexpr qel::uint32 kRefinementMs = 50;
constexpr qel::uint32 kPauseFactor = 4;

/// Returns the size of a picture that changes from frame to frame, for a pane of some size.
qel::IVec2<int> sizeWhileChanging(const qel::IVec2<int>& size) {
    qel::IVec2<int> smaller = size;
    for (int divisor = 2; qel::int64{smaller.x} * smaller.y > kMostChanging; ++divisor)
        smaller = {std::max(1, size.x / divisor), std::max(1, size.y / divisor)};
    return smaller;
}

qel::IVec2<int> sizeOf(const qel::IVec4<int>& pixels) {
    return {pixels.z - pixels.x, pixels.w - pixels.y};
}

} // namespace

VolumePane::VolumePane(ViewState& state, VolumeScene& scene) : m_state(state), m_scene(scene) {}

void VolumePane::restyle(const qelwidgets::Look& look) {
    m_look = look;
    m_labels.clear();
    m_title = tr("viewer-volume");
}

bool VolumePane::takeDoubleTap() {
    return std::exchange(m_wasDoubleTap, false);
}

// --- drawing -----------------------------------------------------------------------------------------------

VolumePane::Key VolumePane::currentKey(const qel::IVec2<int>& size) const {
    return {size,
            m_state.camera.getPseudoMatrix(),
            m_state.zoom,
            m_state.cross,
            m_state.clipLower,
            m_state.clipUpper,
            m_state.showsCross,
            m_state.showsBox,
            m_state.isShaded};
}

bool VolumePane::isOutdated(const Key& key) const {
    return !m_texture || m_isOutdated || !(key == m_key);
}

bool VolumePane::isExact() const {
    const qel::IVec2<int> size = sizeOf(m_place.roundNearestAsInt());
    if (!m_state.study || size.x < 1 || size.y < 1) return true;
    return m_isExact && !isOutdated(currentKey(size));
}

/// Few refined pictures are shown before the exact one, because drawing them delays it. A picture that was
/// small is drawn in its full size when it has not changed for a while.
bool VolumePane::update(qel::Renderer& renderer) {
    const qel::IVec2<int> size = sizeOf(m_place.roundNearestAsInt());
    if (m_isUpdated || !m_state.study || size.x < 1 || size.y < 1) return false;
    const Key key = currentKey(size);
    const bool hasChanged = isOutdated(key);
    const qel::uint32 now = system()->getTime();
    const bool isRefined = m_scene.getRenderer()->isRefined();
    if (hasChanged) m_changedAt = now;
    const bool grows = m_isSmall && now - m_changedAt >= kSettledMs;
    const bool isDue = isRefined || now - m_drawnAt >= m_pauseMs;
    if (!hasChanged && !grows && (m_isExact || m_isSmall || !isDue)) return false;
    const qel::IVec2<int> pictureSize = hasChanged ? sizeWhileChanging(size) : size;
    m_isUpdated = true;
    m_isSmall = pictureSize != size;
    m_isExact = !hasChanged && !grows && isRefined;
    m_key = key;
    drawPicture(renderer, pictureSize);
    m_drawnAt = system()->getTime();
    m_pauseMs = std::max(kRefinementMs, kPauseFactor * (m_drawnAt - now));
    return true;
}

void VolumePane::drawPicture(qel::Renderer& renderer, const qel::IVec2<int>& size) {
    m_isOutdated = false;
    if (!m_texture) m_texture = renderer.createTexture();
    m_texture->upload(m_scene.draw(m_state, size), false);
}

void VolumePane::draw(qel::Renderer& renderer, const qel::Rect& place) {
    m_place = place;
    m_isUpdated = false;
    const qel::IVec4<int> pixels = place.roundNearestAsInt();
    const qel::IVec2<int> size = sizeOf(pixels);
    qelwidgets::drawRect(renderer, place, kBackground);
    if (!m_state.study || size.x < 1 || size.y < 1) return;
    const Key key = currentKey(size);
    if (m_scene.getRenderer()->isProgressive()) {
        // The last pixels may have become known after update(); the frame that they requested is this one.
        const bool lacksPixels = !m_isExact && m_scene.getRenderer()->isRefined();
        if (isOutdated(key) || m_isSmall || lacksPixels) system()->delegateRequestFrame();
    } else if (isOutdated(key)) {
        m_key = key;
        drawPicture(renderer, size);
    }
    if (!m_texture) return;
    renderer.pushClip(pixels);
    const qel::Rect target(static_cast<float>(pixels.x), static_cast<float>(pixels.y),
                           static_cast<float>(pixels.z), static_cast<float>(pixels.w));
    renderer.drawTextureInternal(m_texture.get(), {0, 0, 1, 1}, target, 0);
    m_labels.begin();
    m_labels.draw(renderer, m_title, qelwidgets::inset(place, m_look.space / 2), {kTitleColor});
    drawLetters(renderer);
    renderer.popClip();
}

void VolumePane::drawLetters(qel::Renderer& renderer) {
    if (!m_state.showsBox) return;
    qel::Font* const font = system()->getTheme()->mediumFont(qel::FontStyle::Bold);
    const float half = m_look.buttonHeight;
    for (const SceneLetter& letter : m_scene.getLetters(m_state, m_key.size)) {
        const qel::IVec2<float> at(m_place.x0 + letter.position.x, m_place.y0 + letter.position.y);
        m_labels.draw(
            renderer, letter.text, {at.x - half, at.y - half, at.x + half, at.y + half},
            {letter.isInFront ? kNearColor : kFarColor, TextAlign::Center, TextAlign::Center, font});
    }
}

// --- touches -----------------------------------------------------------------------------------------------

void VolumePane::handleTouches(qel::TouchState& touches) {
    if (qel::TouchButton* const wheel = touches.acquireBegin(this, m_place, qelwindow::kTouchWheel))
        m_state.zoomVolume(std::pow(kWheelZoom, wheel->takeValue()));
    while (const qel::TouchButton* const touch = touches.acquireBegin(this, m_place, qelwindow::kTouchPress))
        m_wasDoubleTap |= touch->isDoubleTapBegin();
    std::vector<const qel::TouchButton*> held;
    while (const qel::TouchButton* const touch = touches.iterateOwned(this))
        if ((touch->getFlags() & qelwindow::kTouchPress) != 0 && !touch->isEnd()) held.push_back(touch);
    if (held.empty() || held.front()->isBegin()) return;
    const qel::IVec2<float> step = minus(held.front()->getPosition(), held.front()->getPreviousPosition());
    if (held.size() > 1) {
        const auto distance = [](const qel::IVec2<float>& a, const qel::IVec2<float>& b) {
            return std::max(1.0f, std::hypot(a.x - b.x, a.y - b.y));
        };
        m_state.zoomVolume(distance(held[0]->getPosition(), held[1]->getPosition()) /
                           distance(held[0]->getPreviousPosition(), held[1]->getPreviousPosition()));
    } else if ((held.front()->getFlags() & qelwindow::kTouchRightButton) != 0) {
        m_state.zoomVolume(std::exp(-step.y / std::max(100.0f, m_place.getHeight()) * 2));
    } else {
        turn(step);
    }
}

/// Turns the volume so that its front follows the pointer.
void VolumePane::turn(const qel::IVec2<float>& step) {
    const float side = std::max(100.0f, std::min(m_place.getWidth(), m_place.getHeight()));
    m_state.camera.rotateX(step.x / side * kTurn);
    m_state.camera.rotateY(step.y / side * kTurn);
}

} // namespace qelviewer
