// Codes and texts of failed operating-system calls.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>
#include <string>

namespace qel::platform {

/// The code that the calling thread's last failed system call left behind (errno here).
/// @threads any thread; each has a code of its own.
QEL_API std::int64_t lastErrorCode();

/// The system's text for @p code, as "No such file or directory", in English under every locale;
/// "Unknown error N" for a code that it does not know.
/// @threads any thread.
QEL_API std::string errorText(std::int64_t code);

} // namespace qel::platform
