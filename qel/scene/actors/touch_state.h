// TouchState: turns the platform's reports of touches into touches that live across frames.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/rect.h>
#include <qel/foundation/base/smart_pointer.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/scene/actors/raw_touch_list.h>
#include <qel/scene/actors/touch_button.h>

#include <deque>
#include <functional>

namespace qel {

/// The touches of the display and who owns them. In each frame a widget asks whether a new touch is for it,
/// and what its touches do; a touch that it has claimed stays its own until the touch ends.
///
/// A host pushes lists of touches from any thread. Its frame loop calls prepareNewTouches() before the
/// widgets run and processedTick() after them; nothing else calls these two.
///
/// Touches that are returned stay valid until the next call of prepareNewTouches(); keep a reference to use
/// them for longer. A null owner and an empty predicate claim and match nothing. Rectangles include their
/// edges.
/// @threads main thread, except pushRawTouchList(). System must exist.
class QEL_API TouchState : public Object {
    QEL_CLASS(TouchState, Object)

public:
    /// The list type under the name that belongs to touches.
    using RawTouchList = qel::RawTouchList;
    /// Decides about a touch.
    using TouchPredicate = std::function<bool(const TouchButton&)>;
    /// Decides about a position in pixels of the display.
    using PositionPredicate = std::function<bool(const IVec2<float>&)>;

    TouchState();
    ~TouchState() override;

    // --- frames -------------------------------------------------------------------------------------

    /// Appends the touches of @p list to those that wait for a frame; null is ignored.
    ///
    /// Each list has a frame of its own, so that a quick tap is seen to begin and to end. Only lists in which
    /// all touches just move are joined: positions are the newest, values are added and samples appended, at
    /// most 4,096 of a touch. When 4,096 lists wait, a further one replaces the last.
    /// @owner reads @p list during the call only. @threads any thread.
    void pushRawTouchList(const RawTouchList* list);
    /// Takes the first waiting list: begins, moves and ends touches.
    /// @return false if no list waits; then nothing changes.
    bool prepareNewTouches();
    /// Ends a frame: touches that have ended are removed, and none is new any more.
    void processedTick();

    // --- claiming -----------------------------------------------------------------------------------
    // A touch can be claimed in the frame in which it begins, if it has no owner and lies inside all clips.
    // Forms with a mask only regard touches that have at least one of its flags.

    /// Claims for @p owner the first touch less than @p radius pixels from @p center.
    /// @return the touch or null.
    TouchButton* acquireBegin(Object* owner, const IVec2<float>& center, float radius, uint32 mask);
    /// Claims for @p owner the first touch inside one of two rectangles. @return the touch or null.
    TouchButton* acquireBegin(Object* owner, const Rect& rect1, const Rect& rect2, uint32 mask);
    /// Claims for @p owner the first touch inside a rectangle. @return the touch or null.
    TouchButton* acquireBegin(Object* owner, const Rect& rect, uint32 mask);
    /// Claims for @p owner the first touch that @p predicate accepts. @return the touch or null.
    TouchButton* acquireBegin(Object* owner, const TouchPredicate& predicate);
    /// Claims for @p owner the first touch. @return the touch or null.
    TouchButton* acquireBegin(Object* owner, uint32 mask);
    /// Returns the first touch inside a rectangle that could be claimed, or null.
    TouchButton* checkBegin(const Rect& rect, uint32 mask);
    /// Returns the first touch whose position @p predicate accepts and that could be claimed, or null.
    TouchButton* checkBegin(const PositionPredicate& predicate, uint32 mask);
    /// Returns the first touch that @p predicate accepts and that could be claimed, or null.
    TouchButton* checkBegin(const TouchPredicate& predicate);
    /// Returns the first touch that could be claimed, or null.
    TouchButton* checkBegin(uint32 mask);

    // --- iterating ----------------------------------------------------------------------------------
    // Each call returns one touch that no such call has returned since clearIterated(), or null.

    /// Returns a touch that begins in this frame.
    TouchButton* iterateBegin();
    /// Returns a touch that ends in this frame.
    TouchButton* iterateEnd();
    /// Returns a touch of @p owner.
    TouchButton* iterateOwned(const Object* owner);
    /// Returns a touch of @p owner inside a rectangle.
    TouchButton* iterateOwned(const Object* owner, const Rect& rect);
    /// Returns a touch of @p owner that @p predicate accepts.
    TouchButton* iterateOwned(const Object* owner, const TouchPredicate& predicate);
    /// Returns a touch of @p owner that ends in this frame.
    TouchButton* iterateOwnedEnd(const Object* owner);
    /// Returns a touch of @p owner inside a rectangle that ends in this frame.
    TouchButton* iterateOwnedEnd(const Object* owner, const Rect& rect);
    /// Returns a touch of @p owner that ends in this frame and that @p predicate accepts.
    TouchButton* iterateOwnedEnd(const Object* owner, const TouchPredicate& predicate);
    /// Returns a touch of @p owner that does not end in this frame.
    TouchButton* iterateOwnedWithoutEnd(const Object* owner);
    /// Lets the functions above return every touch again. A frame calls it after prepareNewTouches(), which
    /// does not do so.
    void clearIterated();

    // --- asking -------------------------------------------------------------------------------------

    /// Returns the first touch of @p owner, or null; does not count as iterating.
    TouchButton* getFirstOwned(const Object* owner);
    /// Returns the first touch of @p owner inside a rectangle that has not been iterated, or null.
    TouchButton* getFirstOwned(const Object* owner, const Rect& rect);
    /// Makes @p to the owner of all touches of @p from; null leaves them without an owner.
    void transferOwner(const Object* from, Object* to);
    /// Takes all touches from their owners.
    void clearAllOwners();
    /// Returns the number of touches that have at least one flag of @p mask.
    unsigned getNumTouches(uint32 mask) const;
    /// Returns all touches, also those that end in this frame.
    const Vector<SmartPointer<TouchButton>>& getAllTouches() const { return m_active; }
    /// Returns true if lists wait or a touch has a flag other than 0x200, 0x400 and 0x10000.
    bool isTouched() const;

    // --- clips --------------------------------------------------------------------------------------

    /// Lets only touches inside @p rect, and inside all clips below, be claimed.
    void pushClip(const Rect& rect) { m_clips.push_back(rect); }
    /// Removes the last clip; does nothing if none exists.
    void popClip();

    // --- back button --------------------------------------------------------------------------------

    /// Notes that the user pressed the device's back button.
    void increaseBackPress() { ++m_backPressCount; }
    /// Takes one press. @return false if none is left.
    bool popBackPressed();
    /// Returns true if a press is left.
    bool isBackPressed() const { return m_backPressCount > 0; }

    /// Adds the members to the script class @p cls. Defined in touch_state_binding.cpp.
    static void bindSqVM(qelSq::Object* cls);

private:
    struct WaitingList {
        Vector<RawTouch> touches;
        bool isMovement; ///< the same touches as in the list before, so that a further movement can be joined
    };

    struct Shape {
        uint64 id;
        uint32 flags;

        bool operator==(const Shape&) const = default;
    };

    bool noteShapeLocked(const Vector<RawTouch>& touches) QEL_REQUIRES(m_mutex);
    bool takeList(Vector<RawTouch>& touches) QEL_EXCLUDES(m_mutex);
    void process(const RawTouch& raw);
    TouchButton* findActive(uint64 id) const;
    SmartPointer<TouchButton> takeBackEnded(const RawTouch& raw);
    void forgetOldTouches(uint32 now);
    bool canBeClaimed(const TouchButton& touch) const;
    template <typename Accepts>
    SmartPointer<TouchButton> find(const Accepts& accepts) const;
    template <typename Accepts>
    SmartPointer<TouchButton> findBegin(const Accepts& accepts) const;
    template <typename Accepts>
    TouchButton* claim(Object* owner, const Accepts& accepts);
    template <typename Accepts>
    TouchButton* iterate(const Accepts& accepts);

    Vector<SmartPointer<TouchButton>> m_active;
    std::deque<SmartPointer<TouchButton>> m_ended; ///< recently, the oldest first
    Vector<Rect> m_clips;
    uint32 m_backPressCount = 0;
    uint32 m_listNumber = 0;
    mutable Mutex m_mutex;
    std::deque<WaitingList> m_waiting QEL_GUARDED_BY(m_mutex);
    Vector<Shape> m_newest QEL_GUARDED_BY(m_mutex); ///< of the list that was pushed last
};

} // namespace qel
