// Messages of a service to the system's service manager, and what the manager requires.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace qel::platform {

/// Reports a change of state to the service manager in the form of sd_notify(3): lines such as "READY=1",
/// "STOPPING=1" or "WATCHDOG=1". The manager listens at the socket named by $NOTIFY_SOCKET.
/// @return true if it was sent; false also if there is no manager.
/// @threads any thread, but not while another thread changes the environment.
QEL_API bool notifyServiceManager(std::string_view state);

/// Returns the microseconds within which the service manager expects "WATCHDOG=1" from this process, from
/// $WATCHDOG_USEC and $WATCHDOG_PID; 0 if it expects none.
/// @threads see notifyServiceManager.
QEL_API std::uint64_t watchdogMicroseconds();

/// Returns the folder of the administrator's unit files for the service manager of the machine, or of this
/// user.
/// @return empty if the user has no home folder.
/// @threads see notifyServiceManager.
QEL_API std::string serviceUnitFolder(bool ofUser);

} // namespace qel::platform
