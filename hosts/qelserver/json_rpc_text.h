// Cuts JSON text into the texts of its values, which keeps every number and escape as it was written.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace qelserver {

// All texts here are valid JSON, maybe with spaces around it; what is returned has none and points into it.

/// The texts of the elements of an array, at most @p most of them.
std::vector<std::string_view> elementsOfArray(std::string_view array, std::size_t most);
/// The text of the value of the member @p name of an object; of several, the last one.
/// @return nothing if there is none, or if @p object is another value.
std::optional<std::string_view> memberOfObject(std::string_view object, std::string_view name);

} // namespace qelserver
