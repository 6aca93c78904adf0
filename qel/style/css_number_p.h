// Numbers of stylesheets.
#pragma once

#include <string_view>

namespace qel::internal {

/// Reads a number as CSS writes it, such as "+1.5e3". A number that is too large becomes the largest one, one
/// that is too small becomes 0.
/// @param text  a number, which the tokenizer has checked.
float cssNumber(std::string_view text);

} // namespace qel::internal
