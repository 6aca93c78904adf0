// Drives the passes of System.
#pragma once

namespace qelhost {

/// Runs passes until an interrupt arrives or, unless @p stay is true, until no script thread is active. After
/// an interrupt, the scripts have half a second to end by themselves.
///
/// While scripts run, there is no pause between passes. Otherwise the loop sleeps between passes, a little
/// longer each time, up to 10 ms, so that an idle host costs almost nothing and still seems to respond at
/// once.
void runMainLoop(bool stay);

} // namespace qelhost
