// Several threads at once, for tests of what they share.
#pragma once

#include <latch>
#include <thread>
#include <vector>

namespace qel::test {

/// Calls @p run(i) for every i below @p count, each on a thread of its own and all from the same moment on,
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
