// Randomness from the machine.
#pragma once

#include <qel/platform/api.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qel::platform {

/// Fills @p bytes from the kernel's random source, waiting for it to be seeded after the machine's start.
/// @return false if there is no such source; @p bytes is then undetermined.
/// @threads any thread.
QEL_API bool fillRandom(std::span<std::byte> bytes);

} // namespace qel::platform
