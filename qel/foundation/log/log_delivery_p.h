// Delivers finished lines to the console and the backend.
#pragma once

#include <qel/foundation/log/line_builder_p.h>

namespace qel::logging {

/// Returns whether a line of this kind can reach the console or a backend at all.
bool isDeliverable(int level);

/// Delivers a finished line to the console and the backend. @threads any thread; takes the logging mutex.
void deliverLine(int level, int channels, const LineBuilder& line);

} // namespace qel::logging
