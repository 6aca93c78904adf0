// The user's wish that the process end, and the signals that must not end it.
#pragma once

#include <qel/platform/api.h>

namespace qel::platform {

/// From now on Ctrl-C and its kin (SIGINT, SIGTERM, SIGHUP, SIGQUIT) do not end the process but set the flag
/// that wasInterrupted reads. A SIGHUP that the process was told to ignore (nohup) stays ignored.
/// Calling it again changes nothing. Nothing else of this library installs a handler for them.
/// @threads any thread.
QEL_API void installInterruptHandler();

/// Puts back what installInterruptHandler replaced. Without one, does nothing.
/// @threads any thread.
QEL_API void removeInterruptHandler();

/// Whether an interrupt came, or setInterrupted(true) was called, since the flag was last cleared.
/// @threads any thread, signal handlers too.
QEL_API bool wasInterrupted();

/// Sets or clears the flag.
/// @threads any thread, signal handlers too.
QEL_API void setInterrupted(bool interrupted);

/// While one exists, a write by its thread to a pipe or socket that nobody reads fails with EPIPE instead of
/// ending the process by SIGPIPE. It changes nothing for other threads and leaves the host's own handling of
/// the signal as it was.
/// @threads made, used and destroyed on one thread; may be nested.
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
