// What tests of queues share: a gate where tasks stop, and a short way to push callables.
#pragma once

#include <qel/system/tasks/task_queue.h>

#include <atomic>
#include <type_traits>
#include <utility>

namespace qel::test {

/// Threads that pass() wait until the gate is opened; the test can wait for their arrival.
class Gate {
public:
    /// Arrives at the gate and waits for it to open.
    void pass() {
        ++m_arrived;
        m_arrived.notify_all();
        m_open.wait(false);
    }
    /// Lets everybody through from now on.
    void open() {
        m_open = true;
        m_open.notify_all();
    }
    /// Blocks until @p count threads have arrived.
    void waitForArrivals(unsigned count) {
        for (unsigned seen = m_arrived; seen < count; seen = m_arrived) m_arrived.wait(seen);
    }

private:
    std::atomic<unsigned> m_arrived = 0;
    std::atomic<bool> m_open = false;
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
