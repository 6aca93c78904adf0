// Test seam: how much time a shaper may take.
#pragma once

#include <qel/platform/api.h>

namespace qel::seams {

/// Sets the seconds of processor time that a font may take in addition to those that are due to the length of
/// its texts; 1 initially. With a negative number each font is too slow.
QEL_API void setShapingAllowance(double seconds);

} // namespace qel::seams
