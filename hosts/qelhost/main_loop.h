// Drives the passes of System.
#pragma once

namespace qelhost {

/// Runs passes until no script thread is active, or with @p stay for ever, or until an interrupt comes. The
/// scripts then have half a second to come to an end by themselves.
///
/// While scripts run, pass follows pass. Otherwise the loop sleeps between passes, a little longer each time,
/// up to 10 ms: an idle host costs next to nothing and still answers at once for what a person can tell.
void runMainLoop(bool stay);

} // namespace qelhost
