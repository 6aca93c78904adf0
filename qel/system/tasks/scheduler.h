// Scheduler: the timing wheel behind Alarm.
#pragma once

#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>
#include <qel/system/tasks/alarm.h>

#include <array>

namespace qel {

/// A wheel of 64 slots that moves on by one every 1024 ms, this wheel's "second". Scheduling costs the same
/// for any number of alarms and allocates nothing; a pass in which the wheel doesn't move costs a
/// subtraction.
/// @threads main thread.
class QEL_API Scheduler : public Object {
    QEL_CLASS(Scheduler, Object)

public:
    /// An empty wheel that starts at the System's present time.
    Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;
    /// Cancels all alarms.
    ~Scheduler() override;

    /// Lets @p alarm fire in about @p seconds units of 1024 ms, between seconds - 1 and seconds from now; 0
    /// is the next step of the wheel. An alarm that is already in that slot keeps its place among the others.
    /// @param seconds  taken modulo 64, negative numbers too.
    /// @owner  the wheel holds a reference until the alarm has fired or was cancelled.
    void scheduleInSeconds(Alarm* alarm, int seconds);
    /// Takes @p alarm off the wheel; without an effect when it isn't on it. May delete the alarm.
    void cancel(Alarm* alarm);
    /// Takes every alarm off the wheel.
    void cancelAll();
    /// Moves the wheel to the present time and fires what is due; after a long stall every slot once.
    /// An alarm may schedule itself from its own trigger; with 0 seconds it runs again in the same step.
    void tick();
    /// Whether tick() has a step to make.
    bool isDue() const;

private:
    void fireSlot(internal::AlarmLink& ring);

    uint32 m_current = 0;
    uint32 m_lastTick;
    std::array<internal::AlarmLink, 64> m_slots;
};

} // namespace qel
