// Floating-point numbers as a fresh std::ostream prints them.
#pragma once

#include <qel/platform/api.h>

#include <cstddef>

namespace qel::logging {

/// Room for any number that writeGeneral() writes.
inline constexpr std::size_t kNumberTextSize = 32;

/// Writes @p value with up to six significant digits, as printf("%g") does in the "C" locale, to the
/// kNumberTextSize bytes at @p out, without a terminating zero. @return the end of the text.
QEL_API char* writeGeneral(char* out, double value);

} // namespace qel::logging
