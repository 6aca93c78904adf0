// LogBackend: where log lines go besides the console.
#pragma once

#include <qel/foundation/base/signal.h>
#include <qel/foundation/base/string.h>
#include <qel/foundation/base/types.h>
#include <qel/platform/api.h>

#include <cstddef>
#include <optional>
#include <utility>

namespace qel {

class LogDB;

/// A line kept for the database log.
struct LogMessage {
    /// Creates an empty line.
    LogMessage() = default;
    /// Creates a line with its stamp.
    LogMessage(int64 stamp, String line) : time(stamp), text(std::move(line)) {}

    /// UTC stamp of the line: 100 ns since 1601-01-01.
    int64 time = 0;
    /// The prefix and text of the line.
    String text;
};

/// The receiver of all log lines: it notifies listeners of each, keeps them for the database log if asked to,
/// and collects those tagged "[SUPPORT]" into batches for the support.
///
/// While no backend is registered, lines only reach the console, without a time.
///
/// Listeners run on the thread that logs, under the logging mutex: connect them before other threads log, be
/// fast, and neither log (such a line is dropped) nor call the functions here (which take the mutex).
class QEL_API LogBackend {
public:
    /// Creates the backend if it does not exist. Console times count from then on.
    /// @param keepMessages  whether to keep the lines for the database log until they are taken.
    /// @threads any thread, as all functions here.
    static void registerBackend(bool keepMessages);
    /// Bounds what is kept of each channel until it is taken; without this call there is no bound. Lines
    /// beyond it are dropped, and one line that states their number takes their place. Registers a backend if
    /// none is registered.
    /// @param lines  most lines of a channel. @param bytes  most bytes of their texts.
    static void limitMessages(size_t lines, size_t bytes);
    /// Destroys the backend with its listeners and the lines it kept.
    static void unregisterBackend();

    /// Returns the signal that is emitted with level and text of each line. Registers a backend if none
    /// exists.
    static Signal<void(int, const char*)>& getSignalNewLogMessage();
    /// Returns the signal that is emitted with each batch of support lines, which are only collected while it
    /// has a listener. Registers a backend if none exists.
    static Signal<void(const char*)>& getSignalNewSupportMessage();

    /// Sends the collected support lines if they are due: if they exceed 262,144 bytes, if the oldest is more
    /// than 30 minutes old, or if none arrived for 3 minutes and the last batch was sent more than an hour
    /// ago (or never). The host calls it regularly, from a thread of its choice.
    static void processSupportMessages();

    /// Removes and returns the oldest kept line of a channel, or nothing if no line is kept.
    /// @param channelIndex  0 for the customers' log, 1 for the technical log.
    static std::optional<LogMessage> takeMessage(unsigned channelIndex);
    /// Moves up to 512 kept lines of a channel, the oldest first, to @p logDB, in one transaction of its
    /// store. Others can log meanwhile. Defined in store/core/log_db.cpp.
    /// @return the number of lines moved. @threads that of @p logDB.
    static unsigned flushTo(unsigned channelIndex, LogDB* logDB);
};

} // namespace qel
