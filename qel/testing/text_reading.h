// Test seam: reading texts without laying them out.
#pragma once

#include <qel/platform/api.h>

namespace qel {
class TextActor;
}

namespace qel::seams {

/// Reads the text of @p actor into tokens and finds their directions, as TextActor::update() does first.
/// @threads main thread.
QEL_API void readTokens(TextActor& actor);

} // namespace qel::seams
