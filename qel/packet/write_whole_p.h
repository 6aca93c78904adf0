// Writing of whole texts and records.
#pragma once

#include <qel/platform/file_system.h>

#include <string_view>

namespace qel::internal {

/// Writes all bytes, in as many calls as it takes, and waits while a pipe is full.
platform::FileError writeWhole(platform::FileHandle& file, std::string_view bytes);

} // namespace qel::internal
