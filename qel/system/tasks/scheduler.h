// Scheduler: the timing wheel that fires Alarms.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/system/tasks/alarm.h>

#include <array>

namespace qel {

/// A timing wheel of 64 slots that advances by one slot every 1024 ms, the "second" of this wheel. Scheduling
/// takes constant time and allocates nothing; a pass in which the wheel does not advance costs a subtraction.
/// @threads main thread.
class QEL_API Scheduler : public Object {
    QEL_CLASS(Scheduler, Object)

public:
    /// Creates an empty wheel that starts at the current time of System.
    Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;
    /// Cancels all alarms.
    ~Scheduler() override;

    /// Schedules @p alarm to fire after seconds - 1 to seconds units of 1024 ms; 0 means the next step of the
    /// wheel. An alarm that is already in that slot keeps its place among the others.
    /// @param seconds  taken modulo 64, negative numbers too.
    /// @owner  the wheel holds a reference until the alarm has fired or is cancelled.
    void scheduleInSeconds(Alarm* alarm, int seconds);
    /// Cancels @p alarm; has no effect if it is not scheduled. May delete the alarm.
    void cancel(Alarm* alarm);
    /// Cancels every alarm.
    void cancelAll();
    /// Advances the wheel to the current time and fires the alarms that are due; after a long stall each slot
    /// once. An alarm may schedule itself from its own trigger; with 0 seconds it runs again in the same
    /// step.
    void tick();
    /// Returns true if tick() would advance the wheel.
    bool isDue() const;

private:
    void fireSlot(internal::AlarmLink& ring);

    uint32 m_current = 0;
    uint32 m_lastTick;
    std::array<internal::AlarmLink, 64> m_slots;
};

} // namespace qel
