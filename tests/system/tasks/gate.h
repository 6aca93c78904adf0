// What tests of queues share: a gate where tasks stop, and a short way to push callables.
#pragma once

#include <qel/system/tasks/task_queue.h>

#include <condition_variable>
#include <mutex>
#include <type_traits>
#include <utility>

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
    void waitForArrivals(unsigned count) {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_arrived >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    unsigned m_arrived = 0;
    bool m_open = false;
};

/// A task made of @p callable, which may take a TaskContext&.
template <typename F>
TaskQueue::Task* task(F callable) {
    if constexpr (std::is_invocable_v<F, TaskContext&>)
        return new TaskQueue::LambdaTask(std::move(callable));
    else
        return new TaskQueue::LambdaNoContextTask(std::move(callable));
}

/// Pushes @p callable to run @p count times, at a workload of one each.
template <typename F>
void push(TaskQueue& queue, unsigned count, F callable) {
    queue.pushTaskN(count, task(std::move(callable)), 1);
}

} // namespace qel::test
