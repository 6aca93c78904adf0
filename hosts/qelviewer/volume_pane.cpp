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
constexpr qel::uint32 kRefinementMs = 50; // at least between two pictures that are refined

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

/// Draws the picture if it has changed or can be refined. Few refined pictures are shown before the exact
/// one, because drawing them delays it.
void VolumePane::updateTexture(qel::Renderer& renderer, const qel::IVec2<int>& size) {
    const Key key = currentKey(size);
    const bool hasChanged = !m_texture || m_isOutdated || !(key == m_key);
    if (!hasChanged && m_isExact) return;
    const qel::SoftwareRenderer3D& volumes = *m_scene.getRenderer();
    const qel::uint32 now = system()->getTime();
    if (!hasChanged && !volumes.isRefined() && now - m_drawnAt < kRefinementMs) return;
    m_drawnAt = now;
    m_isExact = !volumes.isProgressive() || (!hasChanged && volumes.isRefined());
    m_isOutdated = false;
    m_key = key;
    if (!m_texture) m_texture = renderer.createTexture();
    m_texture->upload(m_scene.draw(m_state, size), false);
}

void VolumePane::draw(qel::Renderer& renderer, const qel::Rect& place) {
    m_place = place;
    const qel::IVec4<int> pixels = place.roundNearestAsInt();
    const qel::IVec2<int> size(pixels.z - pixels.x, pixels.w - pixels.y);
    qelwidgets::drawRect(renderer, place, kBackground);
    if (!m_state.study || size.x < 1 || size.y < 1) return;
    updateTexture(renderer, size);
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
