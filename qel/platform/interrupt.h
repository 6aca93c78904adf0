// Requests of the user to end the process, and signals that must not end it.
#pragma once

#include <qel/platform/api.h>

namespace qel::platform {

/// From now on SIGINT (Ctrl-C), SIGTERM, SIGHUP and SIGQUIT do not end the process but set the flag that
/// wasInterrupted reads. A SIGHUP that the process was started to ignore (nohup) stays ignored.
/// Another call changes nothing. Nothing else in this library installs a handler for these signals.
/// @threads any thread.
QEL_API void installInterruptHandler();

/// Restores the handlers that installInterruptHandler replaced. Does nothing if it was not called.
/// @threads any thread.
QEL_API void removeInterruptHandler();

/// Returns true if an interrupt arrived, or setInterrupted(true) was called, since the flag was last cleared.
/// @threads any thread, also in signal handlers.
QEL_API bool wasInterrupted();

/// Sets or clears the flag.
/// @threads any thread, also in signal handlers.
QEL_API void setInterrupted(bool interrupted);

/// While an object of this class exists, a write by its thread to a pipe or socket that nobody reads fails
/// with EPIPE instead of ending the process with SIGPIPE. Other threads and the host's own handling of the
/// signal are not affected.
/// @threads must be created, used and destroyed on the same thread; may be nested.
class QEL_API BrokenPipeGuard {
public:
    BrokenPipeGuard();
    ~BrokenPipeGuard();
    BrokenPipeGuard(const BrokenPipeGuard&) = delete;
    BrokenPipeGuard& operator=(const BrokenPipeGuard&) = delete;

private:
    bool m_wasPending;
    bool m_wasBlocked;
};

} // namespace qel::platform
