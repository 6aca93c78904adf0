// Random bytes from the operating system.
#pragma once

#include <qel/platform/api.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace qel::platform {

/// Fills @p bytes from the kernel's random source. After the machine's start it waits until that source is
/// seeded.
/// @return false if there is no such source; the content of @p bytes is then unspecified.
/// @threads any thread.
QEL_API bool fillRandom(std::span<std::byte> bytes);

} // namespace qel::platform
