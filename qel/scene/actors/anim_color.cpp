#include <qel/scene/actors/anim_color.h>

#include <qel/foundation/base/object.h>
#include <qel/system/core/system.h>

#include <algorithm>
#include <cmath>
#include <unordered_set>
#include <utility>

namespace qel {

namespace {

using Registry = std::unordered_set<AnimColor*>;

/// The colours whose wanted colour was changed since the last flushLPM(). It is never destroyed, because
/// colours with static lifetime may die after it would.
Registry& registry() {
    static Registry& instance = *new Registry;
    return instance;
}

/// Returns the largest difference of a channel; infinity if one is not finite.
float distance(const IVec4<float>& a, const IVec4<float>& b) {
    float largest = 0;
    for (int i = 0; i < 4; ++i) {
        const float difference = std::fabs(a[i] - b[i]);
        if (!std::isfinite(difference)) return INFINITY;
        largest = std::max(largest, difference);
    }
    return largest;
}

/// Returns the part of the distance that is covered in a time. It is rounded, because the last bit of pow()
/// differs between processors and the colours of a frame must not.
float stepFraction(uint32 elapsedMs) {
    const double t = 1 - std::pow(AnimColor::constAnimationSpeed(), elapsedMs * 0.06);
    return static_cast<float>(std::ldexp(std::round(std::ldexp(t, 20)), -20));
}

/// Returns the colour that has covered a part of the way from @p a to @p b.
IVec4<float> between(const IVec4<float>& a, const IVec4<float>& b, float part) {
    IVec4<float> color;
    for (int i = 0; i < 4; ++i) color[i] = a[i] + (b[i] - a[i]) * part;
    return color;
}

constexpr float kArrivedDistance = 1.0f / 1024;

} // namespace

AnimColor::~AnimColor() {
    unregister();
}

void AnimColor::disableAnimation() {
    skipAnimation();
    m_enabled = false;
}

void AnimColor::skipAnimation() {
    m_current = m_wanted;
    m_done = true;
    unregister();
}

void AnimColor::setColor(const IVec4<float>& color) {
    if (m_wanted == color) return;
    const IVec4<float> wanted = color; // color may refer to a member
    if (!m_enabled)
        m_current = wanted;
    else if (!m_registered)
        enroll();
    m_wanted = wanted;
}

void AnimColor::setAlpha(float alpha) {
    if (m_wanted.w != alpha) setColor({m_wanted.x, m_wanted.y, m_wanted.z, alpha});
}

const IVec4<float>& AnimColor::getColor() {
    if (m_enabled) animate();
    return m_current;
}

float AnimColor::getClampedAlpha() {
    const float alpha = (getAlpha() - 0.0019607844f) / 0.9960784f;
    return alpha > 0 ? std::min(alpha, 1.0f) : 0.0f; // 0 for NaN
}

void AnimColor::animate() {
    System* const system = internal::g_system;
    const uint32 now = system->getPresentationTime();
    if (now == m_lastTick) return;
    const uint32 elapsed = now - std::exchange(m_lastTick, now);
    if (m_done) return;
    const IVec4<float> next = between(m_current, m_wanted, stepFraction(elapsed));
    const float delta = distance(m_wanted, m_current);
    // Large channels may be so far apart that a step is lost in rounding.
    m_done = delta < kArrivedDistance || !std::isfinite(delta) || next == m_current;
    if (!m_done) system->disableLowPowerModeShortly();
    changeCurColor(m_done ? m_wanted : next);
}

uint32 AnimColor::queryGadgetNotificationMask() {
    if (m_enabled) animate();
    return std::exchange(m_notification, 0);
}

// While a fade lasts, each step reports a change of the opacity: neither end state holds.
void AnimColor::changeCurColor(const IVec4<float>& color) {
    const float before = m_current.w;
    m_current = color;
    const float after = color.w;
    if (before == after) return;
    if (isVisible(before) != isVisible(after)) m_notification |= kVisibilityChanged;
    const bool isAtAnEnd = isOpaque(after) || !isVisible(after);
    if (isOpaque(before) != isOpaque(after) || !isAtAnEnd) m_notification |= kOpacityChanged;
}

void AnimColor::enroll() {
    m_registered = true;
    m_registeredFrom = m_wanted;
    animate();
    registry().insert(this);
}

void AnimColor::unregister() {
    if (std::exchange(m_registered, false)) registry().erase(this);
}

void AnimColor::flushLPM() {
    if (registry().empty()) return;
    bool hasStarted = false;
    for (AnimColor* const color : registry()) {
        color->m_registered = false;
        if (color->m_wanted == color->m_registeredFrom) continue;
        color->m_done = false;
        hasStarted = true;
    }
    registry().clear();
    if (!hasStarted) return;
    System* const system = internal::g_system;
    system->disableLowPowerModeShortly();
    if (system->delegateRequestFrame.isConnected()) system->delegateRequestFrame();
}

} // namespace qel
