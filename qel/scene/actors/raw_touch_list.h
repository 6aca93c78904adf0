// RawTouchList: the touches of the display at one moment, as the platform reports them.
#pragma once

#include <qel/foundation/base/containers.h>
#include <qel/foundation/base/ivec.h>
#include <qel/foundation/base/object.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// A place that a touch passed through between two frames.
struct TouchSample {
    IVec2<float> position; ///< in pixels of the display
    uint32 time = 0;       ///< a reading of System::getTime()
};

/// A touch as the platform reports it.
struct RawTouch {
    uint64 id = 0;               ///< identifies the finger or pointer while it touches the display
    IVec2<float> position;       ///< in pixels of the display
    uint32 time = 0;             ///< a reading of System::getTime()
    uint32 flags = 0;            ///< bits of TouchButton::Flag, and others of the platform
    float value = 0;             ///< movement of the wheel, or pressure, since the last list
    Vector<TouchSample> samples; ///< the places since the last list; may be empty
};

/// All touches that exist at one moment. A touch that is missing has ended.
class QEL_API RawTouchList : public Object {
    QEL_CLASS(RawTouchList, Object)

public:
    /// The touches; no more than 256 are used.
    Vector<RawTouch> touches;
};

} // namespace qel
