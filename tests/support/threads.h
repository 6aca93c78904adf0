// Runs several threads at once, for tests of shared state.
#pragma once

#include <latch>
#include <thread>
#include <vector>

namespace qel::test {

/// Calls @p run(i) for every i below @p count, each on its own thread and all starting at the same moment,
/// and waits for them.
template <typename Run>
void onThreads(int count, const Run& run) {
    std::latch start(count);
    std::vector<std::jthread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&run, &start, i] {
            start.arrive_and_wait();
            run(i);
        });
    }
}

} // namespace qel::test
