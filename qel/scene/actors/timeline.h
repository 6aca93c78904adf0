// Timeline: the frames of an animated image and their times.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// Converts between frames and milliseconds. Times that would exceed 2^32 - 1 stay there.
class QEL_API Timeline {
public:
    /// Starts without frames.
    Timeline() = default;

    /// Sets @p count frames of @p duration milliseconds each.
    void initializeWithConstantTimeFrames(unsigned count, unsigned duration);
    /// Sets @p count frames.
    /// @param durations  the milliseconds of each frame; read for the call only. Null means no frames.
    void initializeWithVariableTimeFrames(unsigned count, const unsigned* durations);

    /// Returns the frame that is shown at @p time, counted in milliseconds from the start of the first one:
    /// the last frame past the end, -1 without frames. Of several frames that start at @p time, the first one
    /// after frame 0 is returned.
    int frameFromTime(uint32 time) const;
    /// Returns the start of @p frame: 0 for all frames before the second, the total time past the last.
    uint32 timeFromFrame(int frame) const;
    /// Returns the number of frames.
    unsigned getNumberOfFrames() const { return m_count; }
    /// Returns the time of all frames together in milliseconds.
    uint32 getTotalTime() const { return m_totalTime; }

private:
    uint32 start(uint32 frame) const;

    Vector<uint32> m_starts; // empty if all frames have the same duration
    uint32 m_totalTime = 0;
    uint32 m_count = 0;
    uint32 m_duration = 0;
};

} // namespace qel
