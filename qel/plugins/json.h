// Parses JSON from untrusted sources.
#pragma once

#include <nlohmann/json.hpp>

#include <string_view>

namespace qel::util {

/// The deepest nesting of arrays and objects that parseJSON() accepts.
inline constexpr int kMaximumJSONDepth = 512;

/// Parses @p text into @p result. It throws nothing.
/// @return false if @p text is not JSON or is nested too deeply; @p result is then null.
bool parseJSON(std::string_view text, nlohmann::json& result);

} // namespace qel::util
