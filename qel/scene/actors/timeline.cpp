#include <qel/scene/actors/timeline.h>

#include <algorithm>

namespace qel {

namespace {

uint32 saturate(uint64 time) {
    return static_cast<uint32>(std::min<uint64>(time, UINT32_MAX));
}

} // namespace

void Timeline::initializeWithConstantTimeFrames(unsigned count, unsigned duration) {
    m_starts.clear();
    m_count = count;
    m_duration = duration;
    m_totalTime = saturate(uint64{count} * duration);
}

void Timeline::initializeWithVariableTimeFrames(unsigned count, const unsigned* durations) {
    if (durations == nullptr) count = 0;
    m_starts.resize(count);
    m_count = count;
    uint64 time = 0;
    for (unsigned i = 0; i < count; ++i) {
        m_starts[i] = saturate(time);
        time += durations[i];
    }
    m_totalTime = saturate(time);
}

int Timeline::frameFromTime(uint32 time) const {
    if (m_count < 2) return static_cast<int>(m_count) - 1;
    uint32 first = 1; // the first frame that does not start before time
    uint32 end = m_count;
    while (first < end) {
        const uint32 middle = first + (end - first) / 2;
        if (start(middle) < time)
            first = middle + 1;
        else
            end = middle;
    }
    const bool startsNow = first < m_count && start(first) == time;
    return static_cast<int>(startsNow ? first : first - 1);
}

uint32 Timeline::timeFromFrame(int frame) const {
    if (frame < 1) return 0;
    const uint32 index = static_cast<uint32>(frame);
    return index < m_count ? start(index) : m_totalTime;
}

uint32 Timeline::start(uint32 frame) const {
    return m_starts.empty() ? saturate(uint64{frame} * m_duration) : m_starts[frame];
}

} // namespace qel
