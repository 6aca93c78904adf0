// Emissions with 1, 8 and 64 listeners, and connecting and disconnecting a listener.
#include <qel/foundation/base/signal.h>

#include <benchmark/benchmark.h>

#include <functional>
#include <vector>

#if QEL_PEER_SIGCPP
#include <sigc++/sigc++.h>
#endif
#if QEL_PEER_BOOST
#include <boost/signals2.hpp>
#endif

namespace {

struct Listener : qel::Object {
    void slotCalled(int n) { benchmark::DoNotOptimize(sum += n); }
    int sum = 0;
};

void emitFunctions(benchmark::State& state) {
    Listener listener;
    std::vector<std::function<void(int)>> list;
    for (int64_t i = 0; i < state.range(0); ++i) list.emplace_back([&](int n) { listener.slotCalled(n); });
    benchmark::DoNotOptimize(list.data());
    for (auto _ : state) {
        for (auto& function : list) function(1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(emitFunctions)->Name("Signal/Emit/std_function")->Arg(1)->Arg(8)->Arg(64);

void emitQel(benchmark::State& state) {
    Listener listener;
    qel::Signal<void(int)> signal;
    for (int64_t i = 0; i < state.range(0); ++i) signal.connect([&](int n) { listener.slotCalled(n); });
    for (auto _ : state) {
        signal(1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(emitQel)->Name("Signal/Emit/qel")->Arg(1)->Arg(8)->Arg(64);

void emitMemberQel(benchmark::State& state) {
    Listener listener;
    qel::Signal<void(int)> signal;
    for (int64_t i = 0; i < state.range(0); ++i) signal.connect(&listener, &Listener::slotCalled);
    for (auto _ : state) {
        signal(1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(emitMemberQel)->Name("Signal/EmitMember/qel")->Arg(1)->Arg(8)->Arg(64);

void connectQel(benchmark::State& state) {
    Listener listener;
    qel::Signal<void(int)> signal;
    signal.connect([](int) {});
    for (auto _ : state) {
        signal.disconnect(signal.connect([&](int n) { listener.slotCalled(n); }));
    }
}
BENCHMARK(connectQel)->Name("Signal/Connect/qel");

void connectMemberQel(benchmark::State& state) {
    Listener listener;
    qel::Signal<void(int)> signal;
    signal.connect([](int) {});
    for (auto _ : state) signal.disconnect(signal.connect(&listener, &Listener::slotCalled));
}
BENCHMARK(connectMemberQel)->Name("Signal/ConnectMember/qel");

#if QEL_PEER_SIGCPP
struct TrackedListener : sigc::trackable {
    void slotCalled(int n) { benchmark::DoNotOptimize(sum += n); }
    int sum = 0;
};

void emitSigcpp(benchmark::State& state) {
    Listener listener;
    sigc::signal<void(int)> signal;
    for (int64_t i = 0; i < state.range(0); ++i) signal.connect([&](int n) { listener.slotCalled(n); });
    for (auto _ : state) {
        signal.emit(1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(emitSigcpp)->Name("Signal/Emit/sigcpp")->Arg(1)->Arg(8)->Arg(64);

void emitMemberSigcpp(benchmark::State& state) {
    TrackedListener listener;
    sigc::signal<void(int)> signal;
    for (int64_t i = 0; i < state.range(0); ++i) {
        signal.connect(sigc::mem_fun(listener, &TrackedListener::slotCalled));
    }
    for (auto _ : state) {
        signal.emit(1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(emitMemberSigcpp)->Name("Signal/EmitMember/sigcpp")->Arg(1)->Arg(8)->Arg(64);

void connectSigcpp(benchmark::State& state) {
    Listener listener;
    sigc::signal<void(int)> signal;
    signal.connect([](int) {});
    for (auto _ : state) {
        sigc::connection connection = signal.connect([&](int n) { listener.slotCalled(n); });
        connection.disconnect();
    }
}
BENCHMARK(connectSigcpp)->Name("Signal/Connect/sigcpp");

void connectMemberSigcpp(benchmark::State& state) {
    TrackedListener listener;
    sigc::signal<void(int)> signal;
    signal.connect([](int) {});
    for (auto _ : state) {
        sigc::connection connection = signal.connect(sigc::mem_fun(listener, &TrackedListener::slotCalled));
        connection.disconnect();
    }
}
BENCHMARK(connectMemberSigcpp)->Name("Signal/ConnectMember/sigcpp");
#endif

#if QEL_PEER_BOOST
void emitSignals2(benchmark::State& state) {
    namespace bs = boost::signals2;
    Listener listener;
    typename bs::signal_type<void(int), bs::keywords::mutex_type<bs::dummy_mutex>>::type signal;
    for (int64_t i = 0; i < state.range(0); ++i) signal.connect([&](int n) { listener.slotCalled(n); });
    for (auto _ : state) {
        signal(1);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(emitSignals2)->Name("Signal/Emit/signals2")->Arg(1)->Arg(8)->Arg(64);

void connectSignals2(benchmark::State& state) {
    namespace bs = boost::signals2;
    Listener listener;
    typename bs::signal_type<void(int), bs::keywords::mutex_type<bs::dummy_mutex>>::type signal;
    signal.connect([](int) {});
    for (auto _ : state) {
        signal.connect([&](int n) { listener.slotCalled(n); }).disconnect();
    }
}
BENCHMARK(connectSignals2)->Name("Signal/Connect/signals2");
#endif

} // namespace
