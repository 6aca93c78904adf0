// Reads the figures that the kernel shows as small text files under /proc.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qel::platform {

/// The whole content of @p path; empty if it cannot be read.
std::string readProcFile(const char* path);

/// The number behind @p label at the start of a line, as in "MemTotal:  16384 kB".
std::optional<std::uint64_t> procField(std::string_view text, std::string_view label);

/// Takes the next decimal number off the front of @p text, blanks skipped.
std::optional<std::uint64_t> takeNumber(std::string_view& text);

} // namespace qel::platform
