// Pointers: the fingers and mouse buttons that touch a window.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/types.h>

#include <vector>

namespace qelwindow {

/// Bits of the flags of a touch. Only fingers and the left button take part in multiple taps.
enum TouchFlag : qel::uint32 {
    kTouchFinger = 0x1,       ///< a finger on a touch screen
    kTouchLeftButton = 0x2,   ///< the left button of the mouse
    kTouchRightButton = 0x4,  ///< the right button of the mouse
    kTouchMiddleButton = 0x8, ///< the middle button of the mouse
    kTouchHover = 0x200,      ///< the mouse without a pressed button
    kTouchWheel = 0x400,      ///< the wheel of the mouse; the value is the number of steps
};

/// The flags of everything that presses: fingers and buttons.
inline constexpr qel::uint32 kTouchPress =
    kTouchFinger | kTouchLeftButton | kTouchRightButton | kTouchMiddleButton;

/// A finger, a pressed button, the hovering mouse or a step of the wheel.
struct PointerTouch {
    qel::uint64 id = 0;         ///< distinguishes it from all others that exist at the same time
    qel::IVec2<float> position; ///< in pixels of the window
    qel::uint32 flags = 0;      ///< a bit of TouchFlag
    float value = 0;            ///< steps of the wheel, upwards
};

/// All touches that exist at a time. A touch that is missing in the next list has ended.
using PointerList = std::vector<PointerTouch>;

/// Follows fingers and the mouse, and describes each change by a list of all touches.
class Pointers {
public:
    /// The most fingers that are followed; further ones are ignored.
    static constexpr size_t kMostFingers = 64;

    /// Moves the mouse, with all its pressed buttons.
    void moveMouse(const qel::IVec2<float>& position);
    /// Presses a button. @param flag  the bit of the button.
    void pressButton(qel::uint32 flag, const qel::IVec2<float>& position);
    /// Releases a button; the mouse hovers after the last one.
    void releaseButton(qel::uint32 flag, const qel::IVec2<float>& position);
    /// Ends the hovering, because the mouse has left the window.
    void leaveMouse();
    /// Begins a touch, or moves the one of the same @p finger.
    void moveFinger(qel::uint64 finger, const qel::IVec2<float>& position);
    /// Ends the touch of @p finger.
    void liftFinger(qel::uint64 finger);
    /// Ends all touches, because the window no longer receives their ends.
    void liftAll();

    /// Returns the touches that exist now.
    const PointerList& getTouches() const { return m_touches; }
    /// Returns the touches that exist now, and one for @p steps of the wheel.
    PointerList withWheel(const qel::IVec2<float>& position, float steps) const;

private:
    void hover(const qel::IVec2<float>& position);
    void remove(qel::uint64 id);
    PointerTouch* find(qel::uint64 id);

    PointerList m_touches;
};

} // namespace qelwindow
