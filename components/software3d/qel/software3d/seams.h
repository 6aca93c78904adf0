// Test seams: how SoftwareRenderer3D computes the pictures of volumes.
#pragma once

#include <qel/platform/api.h>

#include <functional>

namespace qel::seams {

/// Sets whether rays skip blocks of voxels that are transparent, which they do initially. The pixels are the
/// same. @threads while nothing is drawn.
QEL_API void setBrickSkipping(bool isOn);
/// Sets whether rays are computed by vector instructions, as they are initially, or one after the other by
/// plain functions, which skip nothing. The pixels are the same. @threads while nothing is drawn.
QEL_API void setVectorRays(bool isOn);
/// Calls @p hook before each four rows of a tile that are computed in the background, on the thread that
/// computes them. An empty function removes the hook. @threads while nothing is computed in the background.
QEL_API void setBeforeRefinedRow(std::function<void()> hook);

} // namespace qel::seams
