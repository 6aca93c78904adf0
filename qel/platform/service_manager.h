// What a service tells the system's service manager, and what that expects of it.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace qel::platform {

/// Tells the service manager a change of state, in the form of sd_notify(3): lines as "READY=1",
/// "STOPPING=1", "WATCHDOG=1". The manager is found at the socket that $NOTIFY_SOCKET names.
/// @return whether it was told; false too when no manager asked for it.
/// @threads any thread that does not run beside a change of the environment.
QEL_API bool notifyServiceManager(std::string_view state);

/// Microseconds within which the service manager wants to hear "WATCHDOG=1" from this process, by
/// $WATCHDOG_USEC and $WATCHDOG_PID; 0 when it does not.
/// @threads as notifyServiceManager.
QEL_API std::uint64_t watchdogMicroseconds();

/// Where the administrator's unit files of the service manager stand: those of the machine, or of this user.
/// @return empty when the user has no home.
/// @threads as notifyServiceManager.
QEL_API std::string serviceUnitFolder(bool ofUser);

} // namespace qel::platform
