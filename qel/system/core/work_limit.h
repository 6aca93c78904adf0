// WorkLimit: notices data that keeps a library busy.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// Adds up the processor time that a kind of work takes on its thread, less what the amount of the work
/// explains. Libraries that read fonts limit many things, but not the time that a hostile file takes for each
/// character.
class QEL_API WorkLimit {
public:
    /// Starts to count.
    void begin();
    /// Adds the time since begin(). @param explainedSeconds  the time that this work may take.
    /// @return the seconds that all work so far has taken in excess; fast work earns no time for slow work.
    double end(double explainedSeconds);

private:
    int64 m_begin = 0;
    double m_excess = 0;
};

} // namespace qel
