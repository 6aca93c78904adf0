// What images ask about the renderer, which they cannot see.
#pragma once

#include <qel/platform/api.h>

namespace qel::internal {

/// Returns whether the application draws by the software renderer.
using SoftwareRendererQuery = bool (*)();

/// Sets what Image::optimizeLossyForTextureFrom() asks; null, the default, answers no. The renderer connects
/// it.
/// @threads any thread.
QEL_API void setSoftwareRendererQuery(SoftwareRendererQuery query);

/// Asks the query that is set.
bool isSoftwareRendererUsed();

} // namespace qel::internal
