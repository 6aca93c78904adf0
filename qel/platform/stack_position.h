// The position of the running thread on its stack.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>

namespace qel::platform {

/// Returns an address in the frame of this call. Deeper calls of the same thread have lower addresses, so the
/// difference between two positions is the number of stack bytes between them.
/// @threads any thread; positions of different threads cannot be compared.
QEL_API std::uintptr_t stackPosition();

} // namespace qel::platform
