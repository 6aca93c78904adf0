// TouchButton: a finger or pointer from its first contact to its last.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/foundation/base/weak_pointer.h>
#include <qel/platform/api.h>
#include <qel/scene/actors/raw_touch_list.h>

namespace qel {

/// A touch that lives across frames. Created and changed by TouchState.
/// @threads main thread; System must exist.
class QEL_API TouchButton : public Object {
    QEL_CLASS(TouchButton, Object)

public:
    /// Bits of getFlags() with a meaning of their own; the platform defines the others.
    enum Flag : uint32 {
        kPressed = 3,          ///< either bit: the touch can be part of a double tap
        kStartsOver = 0x10000, ///< the touch begins again and has no owner
    };

    /// Returns the position in pixels of the display.
    const IVec2<float>& getPosition() const { return m_position; }
    /// Returns the position before the last change.
    const IVec2<float>& getPreviousPosition() const { return m_previousPosition; }
    /// Returns the position at which the touch began.
    const IVec2<float>& getBeginPosition() const { return m_beginPosition; }
    /// Returns the kind of device and its state.
    uint32 getFlags() const { return m_flags; }
    /// Returns true in the frame in which the touch began.
    bool isBegin() const { return m_beginFlag; }
    /// Returns true in the frame in which the touch ended.
    bool isEnd() const { return m_endFlag; }
    /// Returns how many taps have followed each other quickly at about the same place, this one included.
    uint32 getTapCount() const { return m_tapCount; }
    /// Returns the sum of wheel movement or pressure since the touch began or takeValue() was called.
    float getValue() const { return m_value; }
    /// Returns getValue() and sets it to 0.
    float takeValue();
    /// Returns the places that the touch passed through since the last frame, the oldest first.
    const Vector<TouchSample>& getSamples() const { return m_samples; }
    /// Returns the time at which the touch began, a reading of System::getTime().
    uint32 getBeginTime() const { return m_beginTime; }
    /// Returns the time of the frame in which the touch ended.
    uint32 getEndTime() const { return m_endTime; }
    /// Returns the milliseconds since the touch began.
    uint32 touchTime() const;
    /// Returns the platform's identity of the touch.
    uint64 getRawId() const { return m_rawId; }
    /// Returns the object that claimed the touch; null if it has died or nobody has claimed the touch.
    Object* getOwner() const { return m_owner.get(); }
    /// Returns the object that owned the touch when it last ended, or null.
    Object* getLastOwner() const { return m_lastOwner.get(); }
    /// Makes @p owner the owner of the touch. A further tap counts as the first one if its owner is another
    /// object than that of the tap before.
    void setNewOwner(Object* owner);

    /// Makes isDoubleTapBegin() and isDoubleTapEnd() return false from now on.
    void disableMultiTap() { m_disabledMultiTap = true; }
    /// Returns true if a second or further tap begins: the one before was at most 250 ms long and ended at
    /// most 500 ms ago.
    bool isDoubleTapBegin() const;
    /// Returns true if a second or further tap ends, this one and the one before being at most 250 ms long.
    bool isDoubleTapEnd() const;

private:
    friend class TouchState;

    void begin(const RawTouch& raw);
    void resume(const RawTouch& raw);
    void start(const RawTouch& raw);
    void move(const RawTouch& raw, bool isRepeated);
    void end(uint32 now);
    void finishFrame();
    void take(const RawTouch& raw);
    bool isRepeatedTap() const;
    bool hasFlag(uint32 mask) const { return (m_flags & mask) != 0; }
    bool isOwnedBy(const Object* owner) const { return owner != nullptr && m_owner.get() == owner; }

    IVec2<float> m_position;
    IVec2<float> m_previousPosition;
    IVec2<float> m_beginPosition;
    uint32 m_flags = 0;
    bool m_beginFlag = false;
    bool m_endFlag = false;
    bool m_iterated = false;
    bool m_disabledMultiTap = false;
    uint32 m_tapCount = 1;
    float m_value = 0;
    Vector<TouchSample> m_samples;
    uint32 m_previousBeginTime = 0;
    uint32 m_previousEndTime = 0;
    uint32 m_beginTime = 0;
    uint32 m_endTime = 0;
    WeakPointer<Object> m_owner;
    WeakPointer<Object> m_lastOwner;
    uint64 m_rawId = 0;
    uint32 m_lastList = 0; ///< number of the list that mentioned the touch last
};

} // namespace qel
