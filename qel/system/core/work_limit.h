// WorkLimit: notices data that keeps a library busy.
#pragma once

#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

namespace qel {

/// Adds up the processor time that a kind of work takes on its thread, less what the amount of the work
/// explains. Libraries that read fonts limit many things, but not the time that a hostile file takes for each
/// character.
///
/// The system takes about as long to state the processor time as a library needs for a character. It is asked
/// every few milliseconds only, and after work that lasts longer than its amount explains, perhaps because
/// other threads have run meanwhile. Such work may be charged with those milliseconds too.
class QEL_API WorkLimit {
public:
    /// Starts to count.
    void begin();
    /// Adds the time since begin(). @param explainedSeconds  the time that this work may take.
    /// @return the seconds that all work so far has taken in excess; fast work earns no time for slow work.
    double end(double explainedSeconds);

private:
    int64 m_begin = 0;         ///< the time, in nanoseconds
    int64 m_asked = 0;         ///< the time at which the processor time was asked for; 0 at first
    int64 m_processorTime = 0; ///< of the thread at that time
    double m_excess = 0;
};

} // namespace qel
