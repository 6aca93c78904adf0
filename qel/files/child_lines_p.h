// Takes the lines that a child process has written, without being held up by one that never stops.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/process/process.h>

namespace qel::internal {

/// Hands each line that waits on a child's standard output to @p takeOutput and on its standard error to
/// @p takeError.
/// @param isRunning  whether the child runs. Then no more lines of each stream are taken than suit a pass of
///                   the main loop; the others wait. Behind its end all that it left is taken, which its
///                   pipes limit; what a descendant goes on to write is not waited for.
/// @owner the caller holds @p process, since a function may let go of it.
template <typename TakeOutput, typename TakeError>
void takeLines(Process& process, bool isRunning, TakeOutput takeOutput, TakeError takeError) {
    constexpr int kMostWhileRunning = 2048;
    constexpr int kMostBehindEnd = 0x100000; // as many as empty lines fit into a pipe
    const int most = isRunning ? kMostWhileRunning : kMostBehindEnd;
    String line;
    for (int count = 0; count < most && process.readLine(line); ++count) takeOutput(line);
    for (int count = 0; count < most && process.readErrLine(line); ++count) takeError(line);
}

} // namespace qel::internal
