// Test seams: how SoftwareRenderer3D computes the rays through volumes.
#pragma once

#include <qel/platform/api.h>

namespace qel::seams {

/// Sets whether rays skip blocks of voxels that are transparent, which they do initially. The pixels are the
/// same. @threads while nothing is drawn.
QEL_API void setBrickSkipping(bool isOn);
/// Sets whether rays are computed by vector instructions, as they are initially, or one after the other by
/// plain functions, which skip nothing. The pixels are the same. @threads while nothing is drawn.
QEL_API void setVectorRays(bool isOn);

} // namespace qel::seams
