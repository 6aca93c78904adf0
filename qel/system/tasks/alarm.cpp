#include <qel/system/tasks/alarm.h>

#include <qel/system/core/system.h>
#include <qel/system/tasks/scheduler.h>

namespace qel {

Alarm::~Alarm() {
    if (m_scheduled) unlink(); // on the stack; an alarm that the wheel holds is not destroyed
}

void Alarm::scheduleInSeconds(int seconds) {
    system()->getScheduler()->scheduleInSeconds(this, seconds);
}

void Alarm::cancel() {
    if (!m_scheduled) return;
    unlink();
    decreaseReferenceCount();
}

void Alarm::executeNowIfScheduled() {
    if (!m_scheduled) return;
    const SmartPointer<Alarm> keepAlive(this);
    cancel();
    trigger();
}

void Alarm::link(AlarmLink& ring, uint32 slot) {
    next = &ring;
    previous = ring.previous;
    previous->next = this;
    ring.previous = this;
    m_slot = slot;
    m_scheduled = true;
}

void Alarm::unlink() {
    previous->next = next;
    next->previous = previous;
    m_scheduled = false;
}

} // namespace qel
