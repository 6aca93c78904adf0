// Parsing of JSON that may hold anything.
#pragma once

#include <nlohmann/json.hpp>

#include <string_view>

namespace qel::util {

/// Deepest nesting of arrays and objects that parseJSON() takes.
inline constexpr int kMaximumJSONDepth = 512;

/// Parses @p text into @p result. No exception leaves it.
/// @return false for what is no JSON or is nested too deeply; @p result is then null.
bool parseJSON(std::string_view text, nlohmann::json& result);

} // namespace qel::util
