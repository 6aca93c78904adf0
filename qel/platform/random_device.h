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

/// What fillRandom calls in place of the machine's source.
using RandomFunction = bool (*)(std::span<std::byte> bytes);

/// Puts @p function in place of the machine's source, so that a test can foresee or fail it; nullptr puts the
/// machine's back.
/// @threads any thread.
QEL_API void replaceRandom(RandomFunction function);

} // namespace qel::platform
