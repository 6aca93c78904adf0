// Reads the values that the kernel shows as small text files under /proc.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace qel::platform {

/// Returns the whole content of @p path; empty if it cannot be read.
std::string readProcFile(const char* path);

/// Returns the number after @p label at the start of a line, such as "MemTotal:  16384 kB".
std::optional<std::uint64_t> procField(std::string_view text, std::string_view label);

/// Skips spaces and removes the next decimal number from the front of @p text. @return the number.
std::optional<std::uint64_t> takeNumber(std::string_view& text);

} // namespace qel::platform
