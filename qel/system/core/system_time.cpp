#include <qel/system/core/system.h>

#include <qel/system/core/clock.h>

#include <fmt/format.h>

namespace qel {

namespace {

constexpr int64 kTicksPerSecond = 10'000'000;

} // namespace

uint32 System::getTime() {
    const int64 elapsed = Clock::current().steadyNanoseconds() / 1'000'000 - m_steadyBaseMs;
    const uint32 reading = static_cast<uint32>(elapsed);
    const uint32 time = reading != 0 ? reading : 1;
    m_timeFast.store(time, std::memory_order_relaxed);
    return time;
}

uint32 System::getTimeFastNotZero() const {
    const uint32 time = getTimeFast();
    return time != 0 ? time : 1;
}

int64 System::getUTCDateTime() {
    const int64 now = getUTCDateTimeStatic();
    m_lastUTC.store(now, std::memory_order_relaxed);
    return now;
}

int64 System::getUTCDateTimeUnique() {
    const int64 now = getUTCDateTimeStatic();
    int64 last = getUTCDateTimeFast();
    int64 unique = 0;
    do unique = std::max(last + 1, now);
    while (!m_lastUTC.compare_exchange_weak(last, unique, std::memory_order_relaxed));
    return unique;
}

int64 System::getUTCDateTimeStatic() {
    return Clock::current().utcTicks();
}

String System::getUptime() {
    const int64 seconds = (getUTCDateTime() - m_firstUTC) / kTicksPerSecond;
    return fmt::format("{}:{:02}:{:02}:{:02}", seconds / 86400, seconds / 3600 % 24, seconds / 60 % 60,
                       seconds % 60);
}

void System::setDeadlineIn(unsigned milliseconds) {
    // 0 means "no deadline", so a deadline of 0 is moved by one millisecond.
    const uint32 deadline = getTime() + milliseconds;
    m_deadline.store(deadline != 0 ? deadline : 1, std::memory_order_relaxed);
}

bool System::isDeadlineExceeded() {
    return isDeadlineExceededIn(0);
}

bool System::isDeadlineExceededIn(unsigned milliseconds) {
    const uint32 deadline = m_deadline.load(std::memory_order_relaxed);
    return deadline != 0 && static_cast<int32>(getTime() - deadline + milliseconds) > 0;
}

void System::stayAlive() {
    m_stayAliveTime = getTimeFast();
}

bool System::shouldStayAlive() const {
    return getTimeFast() - m_stayAliveTime < 30'000;
}

} // namespace qel
