// The script functions of this host: the root table `host`.
#pragma once

namespace qelhost {

/// Adds the table `host` to the scripts' root table:
/// - `host.print(text)` prints a result line.
/// - `host.progress(text)` shows a progress line on a terminal; "" removes it.
/// - `host.interrupted()` returns true if the user wants the program to end; scripts then have half a second.
/// - `host.set_exit_status(status)` sets the exit status, from 0 to 255.
/// - `host.absolute_path(path)` returns the path from the root folder, without "." and "..".
void addScriptFunctions();

} // namespace qelhost
