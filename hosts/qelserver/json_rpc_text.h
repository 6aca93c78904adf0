// Splits JSON text into the texts of its values, which preserves every number and escape as written.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace qelserver {

// Arguments of these functions are valid JSON, possibly with spaces around it. Results point into the
// argument and have no spaces around them.

/// Returns the texts of the elements of an array, at most @p most of them.
std::vector<std::string_view> elementsOfArray(std::string_view array, std::size_t most);
/// Returns the text of the value of the member @p name of an object; if there are several, of the last one.
/// @return nothing if the member does not exist, or if @p object is another kind of value.
std::optional<std::string_view> memberOfObject(std::string_view object, std::string_view name);

} // namespace qelserver
