// What this host adds to the scripts: the root table `host`.
#pragma once

namespace qelhost {

/// Adds the table `host` to the scripts' root table:
/// - `host.print(text)` prints a result line.
/// - `host.progress(text)` shows a line of progress on a terminal; "" removes it.
/// - `host.interrupted()` returns whether the user wants the program to end; scripts then have half a second.
/// - `host.set_exit_status(status)` asks for an exit status of 0 to 255.
/// - `host.absolute_path(path)` returns a path from the root folder on, without "." and "..".
void addScriptFunctions();

} // namespace qelhost
