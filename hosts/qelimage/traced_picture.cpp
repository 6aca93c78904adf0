#include "traced_picture.h"

#include <qel/system/core/clock.h>
#include <qel/system/core/system.h>

namespace qelimage {

namespace {

constexpr qel::int64 kLoopMs = 131'072;    // after which the scene repeats
constexpr qel::int64 kReadableMs = 13'500; // when its whole word is seen from the front

/// While it exists, System::getTime() is at a moment of the scene.
class StoppedClock {
public:
    /// @param sceneMs  milliseconds from the start of the scene.
    explicit StoppedClock(qel::int64 sceneMs) {
        qel::Clock::install(&m_clock);
        m_clock.advanceMs(kLoopMs + sceneMs - qel::Object::system()->getTime() % kLoopMs);
    }
    ~StoppedClock() { qel::Clock::install(nullptr); }
    StoppedClock(const StoppedClock&) = delete;
    StoppedClock& operator=(const StoppedClock&) = delete;

private:
    qel::ManualClock m_clock{qel::Clock::current().steadyNanoseconds()};
};

} // namespace

qel::Image tracePicture(bool small) {
    const StoppedClock clock(kReadableMs);
    qel::Image image;
    image.synthesize(small);
    return image;
}

} // namespace qelimage
