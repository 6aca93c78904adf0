// Where the running thread is on its stack.
#pragma once

#include <qel/platform/api.h>

#include <cstdint>

namespace qel::platform {

/// An address in the frame of this call. Deeper calls of the same thread have lower addresses, so that the
/// difference between two positions is the stack in bytes that lies between them.
/// @threads any thread; positions of different threads can't be compared.
QEL_API std::uintptr_t stackPosition();

} // namespace qel::platform
