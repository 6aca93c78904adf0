// Test seam: how SoftwareRenderer3D skips transparent parts of volumes.
#pragma once

#include <qel/platform/api.h>

namespace qel::seams {

/// Sets whether rays skip blocks of voxels that are transparent, which they do initially. The pixels are the
/// same. @threads while nothing is drawn.
QEL_API void setBrickSkipping(bool isOn);

} // namespace qel::seams
