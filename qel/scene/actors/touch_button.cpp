#include <qel/scene/actors/touch_button.h>

#include <qel/system/core/system.h>

#include <cmath>
#include <utility>

namespace qel {

namespace {

constexpr int32 kShortTapMs = 250;
constexpr int32 kDoubleTapPauseMs = 500;

/// Returns the milliseconds from @p earlier to @p later; negative if the order is the other one. A touch and
/// the frame in which it ends read their times on different threads, and readings wrap after 49 days.
int32 elapsed(uint32 earlier, uint32 later) {
    return static_cast<int32>(later - earlier);
}

} // namespace

float TouchButton::takeValue() {
    return std::exchange(m_value, 0.0f);
}

uint32 TouchButton::touchTime() const {
    return system()->getTimeFast() - m_beginTime;
}

void TouchButton::setNewOwner(Object* owner) {
    if (m_tapCount >= 2 && owner != m_lastOwner.get()) m_tapCount = 1;
    m_owner = owner;
}

bool TouchButton::isDoubleTapBegin() const {
    return m_beginFlag && isRepeatedTap() && elapsed(m_previousEndTime, m_beginTime) <= kDoubleTapPauseMs;
}

bool TouchButton::isDoubleTapEnd() const {
    return m_endFlag && isRepeatedTap() && elapsed(m_beginTime, m_endTime) <= kShortTapMs;
}

/// Returns true if a short tap came before.
bool TouchButton::isRepeatedTap() const {
    return !m_disabledMultiTap && m_tapCount >= 2 &&
           elapsed(m_previousBeginTime, m_previousEndTime) <= kShortTapMs;
}

// --- changes by TouchState ---------------------------------------------------------------------------

/// Starts a touch that was not there before.
void TouchButton::begin(const RawTouch& raw) {
    m_position = raw.position;
    m_previousBeginTime = m_previousEndTime = m_endTime = raw.time;
    start(raw);
}

/// Starts the next tap of a touch that has ended.
void TouchButton::resume(const RawTouch& raw) {
    ++m_tapCount;
    m_previousBeginTime = m_beginTime;
    m_previousEndTime = m_endTime;
    start(raw);
}

void TouchButton::start(const RawTouch& raw) {
    m_rawId = raw.id;
    m_beginFlag = true;
    m_beginPosition = raw.position;
    m_beginTime = raw.time;
    take(raw);
}

/// Continues the touch. With a flag of the platform it begins again, and another object can claim it.
/// @param isRepeated  the same list has mentioned the touch before.
void TouchButton::move(const RawTouch& raw, bool isRepeated) {
    if (!isRepeated) m_beginFlag = false;
    take(raw);
    if ((raw.flags & kStartsOver) == 0) return;
    m_beginFlag = true;
    m_beginPosition = raw.position;
    m_owner = nullptr;
}

/// Ends the touch unless the list of this frame mentions it.
void TouchButton::end(uint32 now) {
    m_endFlag = true;
    m_endTime = now;
}

/// Ends the frame in which the touch began or ended.
void TouchButton::finishFrame() {
    m_beginFlag = false;
    m_samples.clear();
    if (!m_endFlag) return;
    m_lastOwner = m_owner.get();
    m_owner = nullptr;
    m_iterated = false;
}

/// Takes position, flags, value and samples.
void TouchButton::take(const RawTouch& raw) {
    m_endFlag = false;
    m_previousPosition = m_position;
    m_position = raw.position;
    m_flags = raw.flags;
    if (const float sum = m_value + raw.value; std::isfinite(sum)) m_value = sum;
    m_samples = raw.samples;
}

} // namespace qel
