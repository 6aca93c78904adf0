// AnimColor: a colour that glides to its target.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// A colour that moves towards a wanted colour at a rate that does not depend on the frame rate: fades, hover
/// effects, showing and hiding. It steps when it is read, at most once in a pass of System::processEvents.
///
/// A change of the wanted colour registers the colour for the next flushLPM(), which starts the animation and
/// asks for frames; so an animation begins one frame after setColor().
/// @threads main thread; while animation is enabled, System must exist.
class QEL_API AnimColor {
public:
    /// Bits of queryGadgetNotificationMask().
    enum Notification : uint32 {
        kVisibilityChanged = 4, ///< isVisible() changed
        kOpacityChanged = 32,   ///< isOpaque() changed, or the colour is partly transparent
    };

    /// Starts as opaque white, without animation.
    AnimColor() = default;
    AnimColor(const AnimColor&) = delete;
    AnimColor& operator=(const AnimColor&) = delete;
    ~AnimColor();

    /// Returns the part of the distance that is left after a sixtieth of a second.
    static constexpr double constAnimationSpeed() { return 0.85; }
    /// Returns the least alpha that is visible: half a step of 8 bits.
    static constexpr float constAlphaVisibleThreshold() { return 0.0019607844f; }
    /// Returns the least alpha that is opaque.
    static constexpr float constAlphaOpaqueThreshold() { return 0.9980392f; }

    /// Lets later changes glide.
    void enableAnimation() { m_enabled = true; }
    /// Takes the wanted colour at once, and lets later changes act at once too.
    void disableAnimation();
    /// Takes the wanted colour at once; later changes glide as before.
    void skipAnimation();

    /// Sets the wanted colour. Without animation it is taken at once and without a notification.
    void setColor(const IVec4<float>& color);
    /// Changes the alpha of the wanted colour.
    void setAlpha(float alpha);
    /// Sets the alpha of the wanted colour to 1 or 0.
    void setOpaque(bool opaque) { setAlpha(opaque ? 1.0f : 0.0f); }

    /// Returns the current colour. Like all functions that read the current colour, it takes a step first.
    const IVec4<float>& getColor();
    /// Returns the current alpha.
    float getAlpha() { return getColor().w; }
    /// Returns true if the alpha is at least constAlphaOpaqueThreshold().
    bool isOpaque() { return isOpaque(getAlpha()); }
    /// Returns true if the alpha is at least constAlphaVisibleThreshold().
    bool isVisible() { return isVisible(getAlpha()); }
    /// Returns the alpha stretched so that both thresholds map to 0 and 1 exactly.
    float getClampedAlpha();

    /// Returns the alpha of the wanted colour.
    float getWantAlpha() const { return m_wanted.w; }
    /// Returns true if the wanted colour is opaque.
    bool wantsOpaque() const { return isOpaque(m_wanted.w); }
    /// Returns true if the wanted colour is invisible.
    bool wantsHidden() const { return !isVisible(m_wanted.w); }
    /// Returns true while the colour moves.
    bool isAnimating() const { return m_enabled && !m_done; }

    /// Takes the step of this pass, unless it has been taken.
    void animate();
    /// Takes a step, then returns the bits of Notification gathered since the last call.
    uint32 queryGadgetNotificationMask();

    /// Starts the colours whose wanted colour has changed and, if there is one, ends the low-power mode and
    /// asks the host for a frame. System calls it in each pass, after the scheduler.
    static void flushLPM();

private:
    static bool isVisible(float alpha) { return alpha >= constAlphaVisibleThreshold(); }
    static bool isOpaque(float alpha) { return alpha >= constAlphaOpaqueThreshold(); }
    void changeCurColor(const IVec4<float>& color);
    void enroll();
    void unregister();

    IVec4<float> m_current{1, 1, 1, 1};
    IVec4<float> m_wanted{1, 1, 1, 1};
    IVec4<float> m_registeredFrom;
    uint32 m_lastTick = 0;
    uint32 m_notification = 0;
    bool m_enabled = false;
    bool m_done = true;
    bool m_registered = false;
};

} // namespace qel
