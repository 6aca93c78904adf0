// The windows of mapped files that a memory fault may lie in.
#pragma once

#include <csignal>

namespace qel::platform {

/// Mends the page of a mapped window that a fault of type SIGBUS came from, by zeros. To be called by
/// handlers of that signal. @return whether it was one: the touch can be done again.
bool mendMappedWindow(const siginfo_t& info);

} // namespace qel::platform
