// Rescheduling timers: 100 of them in turn, each with a different delay from before.
#include <qel/system/core/system.h>
#include <qel/system/tasks/alarm.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#if QEL_PEER_LIBUV
#include <uv.h>
#endif

namespace {

constexpr std::size_t kTimers = 100;

/// Delays in seconds that differ from one call to the next.
class Delays {
public:
    int next() { return static_cast<int>(20 + (m_state = m_state * 1664525u + 1013904223u) % 32); }

private:
    uint32_t m_state = 1;
};

void rearmQel(benchmark::State& state) {
    qel::System::initialize({});
    {
        std::vector<qel::SmartPointer<qel::Alarm>> alarms;
        for (std::size_t i = 0; i < kTimers; ++i) alarms.emplace_back(new qel::Alarm);
        Delays delays;
        std::size_t i = 0;
        for (auto _ : state) {
            alarms[i]->scheduleInSeconds(delays.next());
            i = i + 1 == kTimers ? 0 : i + 1;
        }
    }
    qel::System::deinitialize();
}
BENCHMARK(rearmQel)->Name("Alarm/Rearm/qel");

#if QEL_PEER_LIBUV
void rearmLibuv(benchmark::State& state) {
    uv_loop_t loop;
    uv_loop_init(&loop);
    std::vector<uv_timer_t> timers(kTimers);
    for (uv_timer_t& timer : timers) uv_timer_init(&loop, &timer);
    Delays delays;
    std::size_t i = 0;
    for (auto _ : state) {
        const auto delayMs = static_cast<uint64_t>(delays.next()) * 1000;
        uv_timer_start(
            &timers[i], [](uv_timer_t*) {}, delayMs, 0);
        i = i + 1 == kTimers ? 0 : i + 1;
    }
    for (uv_timer_t& timer : timers) uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
}
BENCHMARK(rearmLibuv)->Name("Alarm/Rearm/libuv");
#endif

} // namespace
