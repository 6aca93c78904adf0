// The windows of mapped files that a memory fault may hit.
#pragma once

#include <csignal>

namespace qel::platform {

/// Replaces the page of a mapped window that caused a SIGBUS with zeros. Handlers of that signal must call
/// it.
/// @return true if the fault was in a window; the access can then be repeated.
bool mendMappedWindow(const siginfo_t& info);

} // namespace qel::platform
