// Alarm: work that is done once after some seconds.
#pragma once

#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

namespace internal {

/// A place in one of the scheduler's rings; a ring's own link stands for its end.
struct AlarmLink {
    AlarmLink* next = this;
    AlarmLink* previous = this;
};

} // namespace internal

/// Fires once after a number of seconds on the main thread. It can be armed anew at any time, at next to no
/// cost. While it is scheduled the scheduler holds a reference, so that its owner may let go of it.
/// @threads main thread.
class QEL_API Alarm : public Object, private internal::AlarmLink {
    QEL_CLASS(Alarm, Object)

public:
    Alarm() = default;
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;
    /// Cancels the alarm.
    ~Alarm() override;

    /// Fires in @p seconds, whatever was arranged before. Needs System.
    /// @param seconds  units of 1024 ms, taken modulo 64.
    void scheduleInSeconds(int seconds);
    /// Takes the alarm back; without an effect when it isn't scheduled. May delete the alarm.
    void cancel();
    /// When the alarm is scheduled: cancels it and fires at once.
    void executeNowIfScheduled();
    /// Whether the alarm will fire.
    bool isScheduled() const { return m_scheduled; }

    Delegate<void()> trigger; ///< the work

private:
    friend class Scheduler;

    void link(AlarmLink& ring, uint32 slot);
    void unlink();

    uint32 m_slot = 0;
    bool m_scheduled = false;
};

} // namespace qel
