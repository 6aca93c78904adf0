// Codes and texts of failed system calls.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>

namespace qel::platform {

/// Returns the code of the calling thread's last failed system call (errno on Linux).
/// @threads any thread; each has its own code.
QEL_API std::int64_t lastErrorCode();

/// Returns the system's text for @p code, such as "No such file or directory", in English under every locale;
/// "Unknown error N" for an unknown code.
/// @threads any thread.
QEL_API std::string errorText(std::int64_t code);

} // namespace qel::platform
