// Gate: where tasks of a test stop until the test lets them go on.
#pragma once

#include <condition_variable>
#include <mutex>

namespace qel::test {

/// Threads that pass() wait until the gate is opened; the test can wait for their arrival.
class Gate {
public:
    /// Arrives at the gate and waits for it to open.
    void pass() {
        std::unique_lock lock(m_mutex);
        ++m_arrived;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
    }
    /// Lets everybody through from now on.
    void open() {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    /// Blocks until @p count threads have arrived.
    void waitForArrivals(int count) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_arrived >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_arrived = 0;
    bool m_open = false;
};

} // namespace qel::test
