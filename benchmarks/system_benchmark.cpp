// The pass of an idle main loop, and the time from a program's start to its first pass.
#include <qel/system/core/system.h>
#include <qel/system/tasks/alarm.h>

#include <benchmark/benchmark.h>

#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <vector>

#if QEL_PEER_GLIB
#include <glib.h>
#endif
#if QEL_PEER_LIBUV
#include <uv.h>
#endif

extern char** environ;

namespace {

/// A System for one benchmark, without scripts or tasks, and with the given number of alarms.
class IdleSystem {
public:
    explicit IdleSystem(int64_t alarms) {
        qel::System::initialize({});
        for (int64_t i = 0; i < alarms; ++i) {
            m_alarms.emplace_back(new qel::Alarm);
            m_alarms.back()->scheduleInSeconds(static_cast<int>(40 + i % 20));
        }
    }
    ~IdleSystem() {
        m_alarms.clear();
        qel::System::deinitialize();
    }

private:
    std::vector<qel::SmartPointer<qel::Alarm>> m_alarms;
};

void idlePassQel(benchmark::State& state) {
    IdleSystem idle(state.range(0));
    qel::System& system = *qel::Object::system();
    for (auto _ : state) system.processEvents(0);
}
BENCHMARK(idlePassQel)->Name("IdlePass/Empty/qel")->Arg(0);
BENCHMARK(idlePassQel)->Name("IdlePass/Timers/qel")->Arg(1000);

#if QEL_PEER_GLIB
void idlePassGlib(benchmark::State& state) {
    GMainContext* const context = g_main_context_new();
    std::vector<GSource*> timers;
    for (int64_t i = 0; i < state.range(0); ++i) {
        GSource* const timer = g_timeout_source_new_seconds(static_cast<guint>(40 + i % 20));
        g_source_set_callback(
            timer, [](gpointer) -> gboolean { return G_SOURCE_REMOVE; }, nullptr, nullptr);
        g_source_attach(timer, context);
        timers.push_back(timer);
    }
    for (auto _ : state) g_main_context_iteration(context, FALSE);
    for (GSource* const timer : timers) {
        g_source_destroy(timer);
        g_source_unref(timer);
    }
    g_main_context_unref(context);
}
BENCHMARK(idlePassGlib)->Name("IdlePass/Empty/glib")->Arg(0);
BENCHMARK(idlePassGlib)->Name("IdlePass/Timers/glib")->Arg(1000);
#endif

#if QEL_PEER_LIBUV
void idlePassLibuv(benchmark::State& state) {
    uv_loop_t loop;
    uv_loop_init(&loop);
    std::vector<uv_timer_t> timers(static_cast<size_t>(state.range(0)));
    for (size_t i = 0; i < timers.size(); ++i) {
        uv_timer_init(&loop, &timers[i]);
        uv_timer_start(
            &timers[i], [](uv_timer_t*) {}, 40'000 + i % 20 * 1000, 0);
    }
    for (auto _ : state) uv_run(&loop, UV_RUN_NOWAIT);
    for (uv_timer_t& timer : timers) uv_close(reinterpret_cast<uv_handle_t*>(&timer), nullptr);
    uv_run(&loop, UV_RUN_DEFAULT);
    uv_loop_close(&loop);
}
BENCHMARK(idlePassLibuv)->Name("IdlePass/Empty/libuv")->Arg(0);
BENCHMARK(idlePassLibuv)->Name("IdlePass/Timers/libuv")->Arg(1000);
#endif

/// Runs the program @p path and waits for its end.
void startProgram(benchmark::State& state, const char* path) {
    char* const arguments[] = {const_cast<char*>(path), nullptr};
    for (auto _ : state) {
        pid_t child = 0;
        int status = -1;
        if (posix_spawn(&child, path, nullptr, nullptr, arguments, environ) != 0 ||
            waitpid(child, &status, 0) != child || status != 0) {
            state.SkipWithError("the program did not run");
            return;
        }
    }
}
BENCHMARK_CAPTURE(startProgram, qel, QEL_START_QEL)->Name("Start/FirstPass/qel")->UseRealTime();
BENCHMARK_CAPTURE(startProgram, iostream, QEL_START_IOSTREAM)
    ->Name("Start/FirstPass/iostream")
    ->UseRealTime();
#ifdef QEL_START_QT
BENCHMARK_CAPTURE(startProgram, qt, QEL_START_QT)->Name("Start/FirstPass/qt")->UseRealTime();
#endif

} // namespace
