#include <qel/system/tasks/scheduler.h>

#include <qel/foundation/base/smart_pointer.h>
#include <qel/system/core/system.h>

#include <algorithm>

namespace qel {

namespace {

constexpr uint32 kUnitMs = 1024;

/// Returns the current time, truncated to whole units.
uint32 unitStart() {
    return Object::system()->getTimeFast() & ~(kUnitMs - 1);
}

} // namespace

Scheduler::Scheduler() : m_lastTick(unitStart()) {}

Scheduler::~Scheduler() {
    cancelAll();
}

void Scheduler::scheduleInSeconds(Alarm* alarm, int seconds) {
    const uint32 slot = (m_current + static_cast<uint32>(seconds)) % m_slots.size();
    if (alarm->m_scheduled) {
        if (alarm->m_slot == slot) return;
        alarm->unlink();
    } else {
        alarm->increaseReferenceCount();
    }
    alarm->link(m_slots[slot], slot);
}

void Scheduler::cancel(Alarm* alarm) {
    alarm->cancel();
}

void Scheduler::cancelAll() {
    for (internal::AlarmLink& ring : m_slots) {
        while (ring.next != &ring) static_cast<Alarm*>(ring.next)->cancel();
    }
}

bool Scheduler::isDue() const {
    return unitStart() != m_lastTick;
}

void Scheduler::tick() {
    const uint32 now = unitStart();
    if (now == m_lastTick) return;
    const uint32 steps = (now - m_lastTick) / kUnitMs;
    m_lastTick = now;
    for (uint32 step = std::min(steps, uint32{64}); step != 0; --step) {
        fireSlot(m_slots[m_current % m_slots.size()]);
        ++m_current;
    }
}

void Scheduler::fireSlot(internal::AlarmLink& ring) {
    while (ring.next != &ring) {
        Alarm* alarm = static_cast<Alarm*>(ring.next);
        alarm->unlink();
        alarm->trigger();
        alarm->decreaseReferenceCount();
    }
}

} // namespace qel
