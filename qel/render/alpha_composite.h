// alphaComposite: one colour over another.
#pragma once

#include <qel/foundation/base/ivec.h>
#include <qel/platform/api.h>

namespace qel::util {

/// Returns @p top drawn over @p bottom. The colours are not multiplied by their alpha. A result with an alpha
/// below 1e-5 is (0, 0, 0, 0).
QEL_API IVec4<float> alphaComposite(const IVec4<float>& top, const IVec4<float>& bottom);

} // namespace qel::util
