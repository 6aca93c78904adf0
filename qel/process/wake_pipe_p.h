// WakePipe: ends the wait of a thread that waits for streams.
#pragma once

#include <qel/platform/child_process.h>

#include <atomic>

namespace qel::internal {

/// A pipe that can be read after wake(). If no pipe can be created, isOpen() returns false and wake() does
/// nothing.
class WakePipe {
public:
    WakePipe() {
        if (platform::makePipe(m_pipe, kCapacity) || platform::setNonBlocking(m_pipe.reading)) m_pipe = {};
    }

    bool isOpen() const { return m_pipe.reading.isOpen(); }
    /// Returns the end to wait for.
    const platform::FileHandle& handle() const { return m_pipe.reading; }

    /// Ends the present wait, or else the next one. @threads any thread.
    void wake() {
        if (!isOpen() || m_isAwake.exchange(true)) return;
        size_t done = 0;
        if (m_pipe.writing.write("", 1, done)) m_isAwake = false;
    }
    /// Prepares the next wait. What was changed before a call of wake() that this call undoes is visible to
    /// the caller afterwards. @threads the thread that waits.
    void reset() {
        if (!m_isAwake) return;
        char byte = 0;
        size_t done = 0;
        // After an error the byte is still on its way and ends the next wait.
        if (!m_pipe.reading.read(&byte, 1, done)) m_isAwake = false;
    }

private:
    static constexpr size_t kCapacity = 4096;

    platform::Pipe m_pipe;
    std::atomic<bool> m_isAwake{false};
};

} // namespace qel::internal
