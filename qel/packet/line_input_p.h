// LineInput: lines of text from a descriptor, with or without waiting.
#pragma once

#include <qel/foundation/base/line_splitter.h>
#include <qel/foundation/base/mutex.h>
#include <qel/foundation/base/string.h>
#include <qel/platform/file_system.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <thread>

namespace qel::internal {

/// Splits what is read from a descriptor into lines, without the line feed and a carriage return before it. A
/// last line without a line feed counts as a line; a line longer than kMaxLineSize is dropped and logged.
/// @threads one thread at a time.
class QEL_API LineInput {
public:
    /// The longest line accepted, in bytes. A packet with the largest payload has half that number of
    /// characters.
    static constexpr size_t kMaxLineSize = size_t(64) << 20;

    explicit LineInput(platform::FileHandle input) : m_input(std::move(input)) {}
    /// Waits for the helper thread if there is one, that is, for the end of the input.
    ~LineInput();
    LineInput(const LineInput&) = delete;
    LineInput& operator=(const LineInput&) = delete;

    /// Returns standard input. It is never destroyed, because its helper thread may wait for a line until the
    /// process ends.
    static LineInput& standardInput();

    /// Returns true if the last line was read and no other can follow.
    bool hasEnded();
    /// Returns true if the input ended because it could not be read, which was logged.
    bool hasFailed() const { return m_hasFailed; }
    /// Waits for the next line. @return false at the end of the input.
    bool waitForLine(String& line);
    /// Waits until tryLine() finds a line, the input has ended, or @p timeoutMs milliseconds have passed.
    /// Call it only after startThread().
    void waitForChange(unsigned timeoutMs);
    /// Starts the helper thread, which cannot be stopped. A second call has no effect.
    /// @errors throws std::system_error if the thread can't be started.
    void startThread();
    /// Removes a line that the helper thread has read. @return false if no line has arrived.
    bool tryLine(String& line);

private:
    void runThread();
    bool hasReadEnoughLocked() const QEL_REQUIRES(m_mutex);
    bool readLine(String& line);
    bool readMore();

    // Of the thread that reads: the helper once there is one.
    platform::FileHandle m_input;
    LineSplitter m_splitter{{.lineEnd = LineEnd::LineFeedAfterOptionalReturn, .longestLine = kMaxLineSize}};
    bool m_isExhausted = false;
    std::atomic<bool> m_hasFailed{false};

    Mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<String> m_lines QEL_GUARDED_BY(m_mutex);
    size_t m_waitingBytes QEL_GUARDED_BY(m_mutex) = 0; // of these lines
    bool m_hasEnded QEL_GUARDED_BY(m_mutex) = false;
    bool m_isStopping QEL_GUARDED_BY(m_mutex) = false;
    std::thread m_thread;
};

} // namespace qel::internal
