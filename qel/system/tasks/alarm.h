// Alarm: work that is done once after some seconds.
#pragma once

#include <qel/foundation/base/delegate.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

namespace internal {

/// A place in one of the scheduler's rings; a ring's own link marks its end.
struct AlarmLink {
    AlarmLink* next = this;
    AlarmLink* previous = this;
};

} // namespace internal

/// Fires once, on the main thread, after a number of seconds. It can be rescheduled at any time at next to no
/// cost. While it is scheduled the scheduler holds a reference, so its owner may release it.
/// @threads main thread.
class QEL_API Alarm : public Object, private internal::AlarmLink {
    QEL_CLASS(Alarm, Object)

public:
    Alarm() = default;
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;
    /// Cancels the alarm.
    ~Alarm() override;

    /// Schedules the alarm, in place of an earlier schedule. System must exist.
    /// @param seconds  units of 1024 ms, taken modulo 64.
    void scheduleInSeconds(int seconds);
    /// Cancels the alarm; has no effect if it is not scheduled. May delete the alarm.
    void cancel();
    /// Cancels the alarm and fires it at once if it is scheduled.
    void executeNowIfScheduled();
    /// Returns true if the alarm is scheduled.
    bool isScheduled() const { return m_scheduled; }

    Delegate<void()> trigger; ///< called when the alarm fires

private:
    friend class Scheduler;

    void link(AlarmLink& ring, uint32 slot);
    void unlink();

    uint32 m_slot = 0;
    bool m_scheduled = false;
};

} // namespace qel
