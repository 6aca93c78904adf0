// Reads the lines that a child process has written, without being blocked by a child that never stops
// writing.
#pragma once

#include <qel/foundation/base/string.h>
#include <qel/process/process.h>

namespace qel::internal {

/// Passes each line that is waiting on a child's standard output to @p takeOutput, and each line on its
/// standard error to @p takeError.
/// @param isRunning  true while the child runs. Then the number of lines taken from each stream is limited to
/// what suits one pass of the main loop; the others wait. After the child's end all remaining output is
/// taken, which the size of its pipes limits; output that a descendant writes later is not waited for.
/// @owner the caller holds @p process, because a function may release it.
template <typename TakeOutput, typename TakeError>
void takeLines(Process& process, bool isRunning, TakeOutput takeOutput, TakeError takeError) {
    constexpr int kMostWhileRunning = 2048;
    constexpr int kMostBehindEnd = 0x100000; // the number of empty lines that fit into a pipe
    const int most = isRunning ? kMostWhileRunning : kMostBehindEnd;
    String line;
    for (int count = 0; count < most && process.readLine(line); ++count) takeOutput(line);
    for (int count = 0; count < most && process.readErrLine(line); ++count) takeError(line);
}

} // namespace qel::internal
